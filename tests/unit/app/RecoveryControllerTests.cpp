// What the user can recover, and when the records of recovered documents go.

#include "app/RecoveryController.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

#include "document/QuillmorResourceLimits.h"
#include "support/ApplicationFixture.h"
#include "support/RecoveryFixture.h"

namespace quillmor::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class AppRecovery : public ApplicationFixture {
 protected:
  ~AppRecovery() override {
    // The windows go before the application that they belong to.
    for (const auto& shown : application.windows) shown.controller->windowWillClose();
    application.windows.clear();
  }

  void start() {
    app.openUntitledDocumentIfNeeded();
    app.offerRecovery();
    platform.executor.runAll();
  }

  void open(const FileLocation& location) {
    app.openFiles({location}, [](bool) {});
    platform.executor.runAll();
  }

  /// The list, which must be there.
  RecoveryController& list() const {
    if (application.recovery == nullptr) throw std::logic_error("no list");
    return *application.recovery;
  }
  std::vector<std::string> listedIDs() const {
    std::vector<std::string> ids;
    if (application.recovery == nullptr) return ids;
    for (const RecoveryEntry& entry : list().entries()) ids.push_back(entry.id());
    return ids;
  }

  void recover(const std::vector<std::string>& ids) {
    list().recover(ids);
    platform.executor.runAll();
  }

  void perform(const EditorUnderTest& editor, std::string_view action) {
    editor->perform(action);
    platform.executor.runAll();
  }

  /// The bytes in all records that there are.
  std::vector<std::string> keptPayloads() const {
    std::vector<std::string> payloads;
    for (const ListedRecord& record : records.store.list())
      payloads.push_back(textOf(records.store.read(record).payload.span()));
    return payloads;
  }

  /// Closes the window as the user does, who answers the question so.
  void close(const EditorUnderTest& editor, const std::string& name, const std::string& answer) {
    expectSaveQuestion(name, answer);
    editor->requestClose([&](bool mayClose) {
      if (mayClose) editor.window->closeWindow();
    });
    platform.executor.runAll();
  }

  const FileLocation file = folder.write("data.bin", "on disk");
  const LeftRecords records{folder};
  AppDelegate app{platform.services(), application, &records.store};
};

TEST_F(AppRecovery, showsNoListWhenThereIsNothingToRecover) {
  start();
  EXPECT_EQ(application.recoveryListsShown, 0);
  const std::string id = records.leaveUnsaved(file, "on disk");
  app.offerRecovery();
  platform.executor.runAll();
  EXPECT_EQ(application.recoveryListsShown, 0);
  EXPECT_FALSE(records.exists(id));
}

TEST_F(AppRecovery, showsTheListOnceAndChangesNothing) {
  const std::string first = records.leaveUnsaved(file, "first");
  const std::string second = records.leaveUnsaved(std::nullopt, "second");
  start();
  EXPECT_EQ(application.recoveryListsShown, 1);
  EXPECT_THAT(listedIDs(), testing::UnorderedElementsAre(first, second));
  EXPECT_THAT(list().messages(), IsEmpty());
  EXPECT_EQ(TemporaryFolder::read(file), "on disk");
  EXPECT_EQ(application.windows.size(), 1U);
}

TEST_F(AppRecovery, recoversIntoTheUnusedWindowOfTheStart) {
  const std::string id = records.leaveUnsaved(
      file, "unsaved", {.caretOffset = 3, .selection = {2, 4}, .bookmarks = {0, 7}});
  start();
  recover({id});
  ASSERT_EQ(application.windows.size(), 1U);
  const EditorUnderTest editor = editorAt(0);
  EXPECT_EQ(editor.text(), "unsaved");
  EXPECT_EQ(editor.document->location(), file);
  EXPECT_EQ(editor.window->title, "data.bin");
  EXPECT_TRUE(editor.window->isEdited);
  EXPECT_EQ(editor.editor().caretOffset(), 3);
  EXPECT_EQ(editor.editor().selection(), (HexSelection{2, 4}));
  EXPECT_THAT(editor->bookmarks().offsets(), ElementsAre(0, 7));
  EXPECT_EQ(application.recovery, nullptr);
  // Nothing is written, and nothing removed.
  EXPECT_EQ(TemporaryFolder::read(file), "on disk");
  EXPECT_TRUE(records.exists(id));
}

TEST_F(AppRecovery, recoversSeveralOneAfterAnother) {
  const std::string first = records.leaveUnsaved(file, "first");
  const std::string second = records.leaveUnsaved(std::nullopt, "second");
  const std::string third = records.leaveUnsaved(folder.write("other", ""), "third");
  start();
  list().recover({first, third});
  EXPECT_EQ(list().activity(), "Recovering data.bin");
  platform.executor.runAll();
  EXPECT_EQ(editorAt(0).text(), "first");
  EXPECT_EQ(editorAt(1).text(), "third");
  EXPECT_THAT(listedIDs(), ElementsAre(second));
  EXPECT_EQ(list().activity(), "");
}

TEST_F(AppRecovery, theRecordGoesWhenTheDocumentIsSaved) {
  const std::string id = records.leaveUnsaved(file, "unsaved");
  start();
  recover({id});
  perform(editorAt(0), "forwardSaveDocument:");
  EXPECT_EQ(TemporaryFolder::read(file), "unsaved");
  EXPECT_FALSE(editorAt(0).window->isEdited);
  EXPECT_FALSE(records.exists(id));
}

TEST_F(AppRecovery, theRecordGoesWhenTheDocumentHasOneOfItsOwn) {
  const std::string id =
      records.leaveUnsaved(file, "unsaved", {.caretOffset = 3, .selection = {3, 0}});
  start();
  recover({id});
  EXPECT_EQ(records.store.list().size(), 1U);
  EXPECT_TRUE(editorAt(0)->unsavedChanges().keepNow());
  platform.executor.runAll();
  EXPECT_FALSE(records.exists(id));
  const auto kept = records.store.list();
  ASSERT_EQ(kept.size(), 1U);
  EXPECT_TRUE(kept[0].belongsToRunningProcess);
  EXPECT_EQ(textOf(records.store.read(kept[0]).payload.span()), "unsaved");
  EXPECT_EQ(kept[0].header->caretOffset, 3);
}

TEST_F(AppRecovery, theRecordStaysWhenTheSaveFails) {
  const std::string id = records.leaveUnsaved(file, "unsaved");
  start();
  recover({id});
  std::filesystem::remove(file.path());
  std::filesystem::create_directory(file.path());
  platform.alerts.acceptAnything();
  perform(editorAt(0), "forwardSaveDocument:");
  EXPECT_TRUE(editorAt(0).window->isEdited);
  EXPECT_TRUE(records.exists(id));
}

TEST_F(AppRecovery, theRecordGoesWhenTheUserGivesTheChangesUp) {
  const std::string id = records.leaveUnsaved(file, "unsaved");
  start();
  recover({id});
  close(editorAt(0), "data.bin", "Cancel");
  EXPECT_TRUE(records.exists(id));
  close(editorAt(0), "data.bin", "Don't Save");
  EXPECT_FALSE(records.exists(id));
  EXPECT_EQ(TemporaryFolder::read(file), "on disk");
}

TEST_F(AppRecovery, theChangesStayWhenTheWindowGoesWithoutAnAnswer) {
  const std::string id = records.leaveUnsaved(file, "unsaved");
  start();
  recover({id});
  editorAt(0).window->closeWindow();
  platform.executor.runAll();
  EXPECT_THAT(keptPayloads(), ElementsAre("unsaved"));
}

TEST_F(AppRecovery, anAnswerThatWasFollowedByAnEditCountsNoMore) {
  const std::string id = records.leaveUnsaved(file, "unsaved");
  start();
  recover({id});
  expectSaveQuestion("data.bin", "Don't Save");
  editorAt(0)->requestClose([](bool) {});
  editorAt(0).editor().handleTextInput("4");
  editorAt(0).window->closeWindow();
  platform.executor.runAll();
  EXPECT_THAT(keptPayloads(), ElementsAre("Ensaved"));
}

TEST_F(AppRecovery, revertingARecoveredDocumentGivesItsChangesUp) {
  const std::string id = records.leaveUnsaved(file, "unsaved");
  start();
  recover({id});
  platform.alerts.expect(
      "Revert Changes?",
      "Discard unsaved changes to data.bin and reload the version currently on disk?", "Revert");
  perform(editorAt(0), "forwardRevertDocument:");
  EXPECT_EQ(editorAt(0).text(), "on disk");
  EXPECT_FALSE(records.exists(id));
}

TEST_F(AppRecovery, savingAsksWhenAnotherProgramHasChangedTheFile) {
  const std::string id = records.leaveUnsaved(file, "unsaved");
  folder.write("data.bin", "by another program");
  start();
  recover({id});
  platform.alerts.expect("The file has been changed by another program.",
                         "Saving now replaces those changes by the bytes in this window.",
                         "Cancel");
  perform(editorAt(0), "forwardSaveDocument:");
  EXPECT_EQ(TemporaryFolder::read(file), "by another program");
  EXPECT_TRUE(records.exists(id));
}

TEST_F(AppRecovery, anInterruptedSaveIsFinishedWithoutAQuestion) {
  const std::string id = records.leave(RecordKind::save, file, "new bytes");
  folder.write("data.bin", "new");
  start();
  recover({id});
  perform(editorAt(0), "forwardSaveDocument:");
  EXPECT_EQ(TemporaryFolder::read(file), "new bytes");
  EXPECT_FALSE(records.exists(id));
}

TEST_F(AppRecovery, aDocumentWhoseFileHasGoneIsUntitled) {
  const std::string id = records.leaveUnsaved(file, "unsaved");
  std::filesystem::remove(file.path());
  start();
  recover({id});
  EXPECT_EQ(editorAt(0).text(), "unsaved");
  EXPECT_FALSE(editorAt(0).document->location());
  EXPECT_TRUE(editorAt(0).window->isEdited);
  EXPECT_FALSE(folder.exists("data.bin"));
}

TEST_F(AppRecovery, anOpenFileWithoutChangesGetsTheRecoveredOnes) {
  const std::string id = records.leaveUnsaved(file, "unsaved");
  app.newDocument();
  open(file);
  EXPECT_THAT(listedIDs(), ElementsAre(id));
  app.newDocument();
  recover({id});
  EXPECT_EQ(application.windows.size(), 2U);
  EXPECT_EQ(editorAt(0).text(), "unsaved");
  EXPECT_TRUE(editorAt(0).window->isEdited);
  EXPECT_GT(editorAt(0).window->broughtToFront, 0);
}

TEST_F(AppRecovery, anOpenFileWithChangesIsLeftAlone) {
  const std::string id = records.leaveUnsaved(file, "unsaved");
  app.newDocument();
  open(file);
  editorAt(0).editor().handleTextInput("4");
  editorAt(0).editor().handleTextInput("a");
  platform.alerts.expect(
      "Recover Failed",
      "\"data.bin\" is open with unsaved changes. Save or close it, then recover it.");
  recover({id});
  EXPECT_EQ(editorAt(0).text(), "Jn disk");
  EXPECT_THAT(listedIDs(), ElementsAre(id));
}

TEST_F(AppRecovery, theSecondRecordOfAFileWaitsForTheFirst) {
  const std::string first = records.leaveUnsaved(file, "first");
  const std::string second = records.leaveUnsaved(file, "second");
  start();
  platform.alerts.expect(
      "Recover Failed",
      "\"data.bin\" is open with unsaved changes. Save or close it, then recover it.");
  recover({first, second});
  EXPECT_EQ(editorAt(0).text(), "first");
  EXPECT_THAT(listedIDs(), ElementsAre(second));
}

TEST_F(AppRecovery, openingAFileOffersItsRecordsAlone) {
  const std::string id = records.leaveUnsaved(file, "unsaved");
  records.leaveUnsaved(std::nullopt, "other");
  app.newDocument();
  open(file);
  EXPECT_THAT(listedIDs(), ElementsAre(id));
}

TEST_F(AppRecovery, openingAFileOffersTheRecordsBesideIt) {
  const FileLocation openToAll = folder.location("open to all");
  std::filesystem::create_directory(openToAll.path());
  ::chmod(openToAll.path().c_str(), 0755);
  const std::string id =
      RecordStore(openToAll)
          .write(LeftRecords::contentOf(RecordKind::unsavedChanges, file), bytesOf("unsaved"))
          ->id();
  app.newDocument();
  open(file);
  EXPECT_THAT(listedIDs(), ElementsAre(id));
}

TEST_F(AppRecovery, aRecoveredDocumentIsNotOfferedAgain) {
  const std::string id = records.leaveUnsaved(file, "unsaved");
  start();
  recover({id});
  app.offerRecovery();
  platform.executor.runAll();
  EXPECT_EQ(application.recovery, nullptr);
}

TEST_F(AppRecovery, laterLeavesEverythingForTheNextTime) {
  const std::string id = records.leaveUnsaved(file, "unsaved");
  start();
  list().later();
  EXPECT_EQ(application.recovery, nullptr);
  EXPECT_TRUE(records.exists(id));
  app.offerRecovery();
  platform.executor.runAll();
  EXPECT_THAT(listedIDs(), ElementsAre(id));
}

TEST_F(AppRecovery, laterStopsWhatIsBeingDone) {
  const std::string id = records.leaveUnsaved(file, "unsaved");
  start();
  list().recover({id});
  list().later();
  platform.executor.runAll();
  EXPECT_EQ(editorAt(0).text(), "");
  EXPECT_TRUE(records.exists(id));
}

TEST_F(AppRecovery, discardAsksFirst) {
  const std::string id = records.leaveUnsaved(file, "unsaved");
  start();
  for (const std::string answer : {"Cancel", "Discard"}) {
    platform.alerts.expect("Discard the unsaved changes of \"data.bin\"?",
                           "They cannot be recovered afterwards.", answer);
    list().discard({id});
    const Alert& question = platform.alerts.shown().back();
    EXPECT_EQ(question.buttons.at(question.defaultButton), "Cancel");
    EXPECT_EQ(question.buttons.at(question.cancelButton), "Cancel");
    platform.executor.runAll();
    EXPECT_EQ(records.exists(id), answer == "Cancel");
  }
  EXPECT_EQ(application.recovery, nullptr);
  EXPECT_EQ(TemporaryFolder::read(file), "on disk");
}

TEST_F(AppRecovery, discardAsksOnceForSeveral) {
  const std::string first = records.leaveUnsaved(file, "first");
  const std::string second = records.leaveUnsaved(file, "second");
  const std::string third = records.leaveUnsaved(file, "third");
  start();
  platform.alerts.expect("Discard the unsaved changes of 2 documents?",
                         "They cannot be recovered afterwards.", "Discard");
  list().discard({first, third});
  platform.executor.runAll();
  EXPECT_THAT(listedIDs(), ElementsAre(second));
  EXPECT_FALSE(records.exists(first));
  EXPECT_TRUE(records.exists(second));
}

TEST_F(AppRecovery, aRecordThatCannotBeRemovedStaysInTheList) {
  const std::string id = records.leaveUnsaved(file, "unsaved");
  start();
  const auto folderOfRecords = records.path(id).parent_path();
  ::chmod(folderOfRecords.c_str(), 0755);
  platform.alerts.expect("Discard the unsaved changes of \"data.bin\"?",
                         "They cannot be recovered afterwards.", "Discard");
  platform.alerts.expect("Discard Failed", Error::posix(EPERM).message());
  list().discard({id});
  platform.executor.runAll();
  ::chmod(folderOfRecords.c_str(), 0700);
  EXPECT_THAT(listedIDs(), ElementsAre(id));
  EXPECT_TRUE(records.exists(id));
}

TEST_F(AppRecovery, differencesAreShownInAReport) {
  const std::string id = records.leaveUnsaved(file, "on Disk!");
  start();
  list().showDifferences({id});
  platform.executor.runAll();
  ASSERT_EQ(editorAt(0).window->reports.size(), 1U);
  const auto& [title, report] = editorAt(0).window->reports.front();
  EXPECT_EQ(title, "Unsaved Changes of data.bin");
  EXPECT_THAT(report, HasSubstr("\n0x00000003  1 byte  64 -> 44\n"
                                "0x00000007  0 -> 1 byte  (none) -> 21\n\nRanges: 2"));
  EXPECT_THAT(listedIDs(), ElementsAre(id));
}

TEST_F(AppRecovery, aRecordDamagedMeanwhileIsNotRecovered) {
  const std::string id = records.leaveUnsaved(file, "unsaved");
  start();
  records.damage(id, RecordHeader::kByteCount);
  platform.alerts.expect("Recover Failed", "The recovery record is damaged.");
  recover({id});
  EXPECT_EQ(editorAt(0).text(), "");
  EXPECT_THAT(listedIDs(), ElementsAre(id));
}

TEST_F(AppRecovery, editsThatWereNotRecordedWholeAreMentioned) {
  const std::string id =
      records.store.createJournal(LeftRecords::contentOf(RecordKind::journal, std::nullopt))->id();
  std::ofstream(records.path(id), std::ios::app | std::ios::binary) << "part of an edit";
  start();
  EXPECT_THAT(listedIDs(), testing::ElementsAre(id));
  EXPECT_THAT(list().messages(),
              testing::ElementsAre("\"Untitled\": The last edits were not recorded whole and are "
                                   "left out."));
}

TEST_F(AppRecovery, damagedAndNewerRecordsAreMentioned) {
  const std::string damaged = records.leaveUnsaved(file, "unsaved");
  const std::string newer = records.leaveUnsaved(file, "unsaved");
  records.damage(damaged, 20);
  std::fstream(records.path(newer), std::ios::in | std::ios::out | std::ios::binary)
      .seekp(8)
      .put(2);
  start();
  EXPECT_THAT(list().entries(), IsEmpty());
  EXPECT_THAT(
      list().messages(),
      ElementsAre("1 record damaged, kept as \".bad\" in " + records.store.directory().path() +
                      ": " + damaged + ".qrec",
                  "1 record of a newer version of Quillmor, left alone: " + newer + ".qrec"));
  // A newer one alone is no reason to bother the user at every start.
  list().later();
  app.offerRecovery();
  platform.executor.runAll();
  EXPECT_EQ(application.recovery, nullptr);
}

TEST_F(AppRecovery, withoutRecordsNothingIsLookedFor) {
  records.leaveUnsaved(file, "unsaved");
  delegate.openUntitledDocumentIfNeeded();
  delegate.offerRecovery();
  platform.executor.runAll();
  EXPECT_EQ(application.recovery, nullptr);
}

}  // namespace
}  // namespace quillmor::test
