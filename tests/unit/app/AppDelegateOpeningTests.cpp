// Files handed to the application: into which window they go, what is joined, what is replied.

#include <gmock/gmock.h>

#include <filesystem>
#include <new>

#include "document/QuillmorResourceLimits.h"
#include "fileaccess/URLReservations.h"
#include "support/ApplicationFixture.h"
#include "support/FaultySystemCalls.h"

namespace quillmor::test {
namespace {

class AppOpening : public ApplicationFixture {
 protected:
  void expectFailure(const std::string& message) { platform.alerts.expect("Open Failed", message); }

  /// Lets one background step and what it posts happen.
  void step() {
    platform.executor.runOneWork();
    platform.executor.runPosted();
  }

  std::string noticeAt(std::size_t index) const { return editorAt(index).window->notice; }

  const std::string missing = Error::posix(ENOENT).message();
};

TEST_F(AppOpening, startsWithAnUntitledDocumentWhenNothingIsOpen) {
  delegate.openUntitledDocumentIfNeeded();
  ASSERT_EQ(application.windows.size(), 1U);
  EXPECT_EQ(editorAt(0).window->title, "Untitled");
  EXPECT_FALSE(editorAt(0).window->isEdited);
}

TEST_F(AppOpening, reopeningShowsTheFirstDocumentsWindow) {
  delegate.newDocument();
  delegate.newDocument();
  delegate.openUntitledDocumentIfNeeded();
  EXPECT_EQ(application.windows.size(), 2U);
  EXPECT_EQ(editorAt(0).window->broughtToFront, 1);
}

TEST_F(AppOpening, putsTheFirstFileIntoTheCurrentWindowAndOthersIntoNewOnes) {
  delegate.newDocument();
  EXPECT_TRUE(
      openFiles({folder.write("a", "1"), folder.write("b", "22"), folder.write("c", "333")}));
  ASSERT_EQ(application.windows.size(), 3U);
  EXPECT_EQ(editorAt(0).text(), "1");
  EXPECT_EQ(editorAt(1).text(), "22");
  EXPECT_EQ(editorAt(2).text(), "333");
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_FALSE(editorAt(i).document->isPendingInitialLoad);
    EXPECT_FALSE(editorAt(i).window->isEdited);
  }
}

TEST_F(AppOpening, opensOneFileAfterTheOther) {
  delegate.openFiles({folder.write("a", "1"), folder.write("b", "22"), folder.write("c", "333")},
                     [](bool) {});
  EXPECT_EQ(application.windows.size(), 1U);
  step();
  EXPECT_EQ(application.windows.size(), 2U);
  EXPECT_TRUE(editorAt(1).document->isPendingInitialLoad);
  EXPECT_EQ(editorAt(1).window->statusText, "Opening b");
  step();
  EXPECT_EQ(application.windows.size(), 3U);
  step();
  step();
  EXPECT_EQ(editorAt(2).text(), "333");
}

TEST_F(AppOpening, goesOnWithTheNextRequestWhenAnErrorDropsTheOneBefore) {
  delegate.newDocument();
  std::vector<std::string> replies;
  const auto remember = [&](const std::string& name) {
    return [&replies, name](bool opened) { replies.push_back(name + (opened ? " yes" : " no")); };
  };
  delegate.openFiles({folder.location("none")}, remember("first"));
  delegate.openFiles({folder.write("b", "22")}, remember("second"));
  platform.alerts.duringNext([] { throw std::bad_alloc(); });
  EXPECT_ANY_THROW(platform.executor.runAll());
  platform.executor.runAll();
  EXPECT_EQ(replies, (std::vector<std::string>{"first no", "second yes"}));
  EXPECT_EQ(editorAt(0).text(), "22");
}

TEST_F(AppOpening, makesAWindowWhenThereIsNone) {
  EXPECT_TRUE(openFiles({folder.write("a", "1")}));
  ASSERT_EQ(application.windows.size(), 1U);
  EXPECT_EQ(editorAt(0).text(), "1");
}

TEST_F(AppOpening, asksAboutUnsavedChangesOfTheCurrentWindow) {
  auto editor = newEditedDocument("abc");
  platform.alerts.expect("Replace Current Document?",
                         "The current document has unsaved changes. Save before opening another "
                         "file in this window?",
                         "Cancel");
  EXPECT_FALSE(openFiles({folder.write("a", "1")}));
  EXPECT_EQ(editor.text(), "abc");
}

TEST_F(AppOpening, repliesFalseWhenAnyFileFailsAndOpensTheOthers) {
  delegate.newDocument();
  expectFailure(missing);
  EXPECT_FALSE(
      openFiles({folder.write("a", "1"), folder.location("none"), folder.write("c", "3")}));
  EXPECT_EQ(openWindowCount(), 2U);
  EXPECT_EQ(editorAt(0).text(), "1");
  EXPECT_EQ(editorAt(2).text(), "3");
  EXPECT_EQ(delegate.documents().documents().size(), 2U);

  expectFailure(missing);
  EXPECT_FALSE(openFiles({folder.location("none")}));
}

TEST_F(AppOpening, fallsBackToAnUntitledDocument) {
  expectFailure(missing);
  EXPECT_FALSE(openFiles({folder.location("none")}));
  EXPECT_EQ(openWindowCount(), 1U);
  EXPECT_EQ(delegate.currentHexWindowController()->document().displayName(), "Untitled");
}

TEST_F(AppOpening, fallsBackWhenTheOnlyWindowClosesMeanwhile) {
  delegate.newDocument();
  std::optional<bool> reply;
  delegate.openFiles({folder.write("a", "1")}, [&](bool opened) { reply = opened; });
  editorAt(0).window->closeWindow();
  expectFailure("The editor window was closed before the file finished opening.");
  platform.executor.runAll();
  EXPECT_EQ(reply, false);
  EXPECT_EQ(openWindowCount(), 1U);
  EXPECT_EQ(delegate.currentHexWindowController()->document().displayName(), "Untitled");
}

TEST_F(AppOpening, ofNothingRepliesAtOnce) {
  EXPECT_TRUE(openFiles({}));
  EXPECT_EQ(openWindowCount(), 1U);
}

TEST_F(AppOpening, bringsAFileThatIsOpenToTheFront) {
  const auto file = folder.write("a", "1");
  std::filesystem::create_hard_link(file.path(), folder.location("hard").path());
  EXPECT_TRUE(openFiles({file}));
  delegate.newDocument();
  EXPECT_TRUE(openFiles({file, folder.location("hard"), file}));
  EXPECT_EQ(application.windows.size(), 2U);
  EXPECT_EQ(editorAt(0).window->broughtToFront, 3);
  EXPECT_EQ(editorAt(1).text(), "");
}

TEST_F(AppOpening, ofTheSameFileTwiceInOneRequestMakesOneWindow) {
  const auto file = folder.write("a", "1");
  EXPECT_TRUE(openFiles({folder.write("b", "2"), file, file}));
  EXPECT_EQ(openWindowCount(), 2U);
}

TEST_F(AppOpening, waitsForAnEarlierRequest) {
  std::vector<int> replies;
  delegate.openFiles({folder.write("a", "1")}, [&](bool) { replies.push_back(1); });
  delegate.openFiles({folder.write("b", "2")}, [&](bool) { replies.push_back(2); });
  delegate.openFiles({folder.write("c", "3")}, [&](bool) { replies.push_back(3); });
  EXPECT_EQ(editorAt(0).window->statusText, "Opening a");
  platform.executor.runAll();
  EXPECT_EQ(replies, (std::vector{1, 2, 3}));
  EXPECT_EQ(application.windows.size(), 1U) << "each went into the current window";
  EXPECT_EQ(editorAt(0).text(), "3");
}

TEST_F(AppOpening, joinsAFileThatIsAlreadyBeingOpened) {
  const auto file = folder.write("b", "22");
  FaultySystemCalls calls;
  const ScopedSystemCalls scope(calls);
  std::vector<std::string> replies;
  delegate.openFiles({folder.write("a", "1"), file},
                     [&](bool opened) { replies.push_back(opened ? "first" : "first failed"); });
  step();
  ASSERT_EQ(editorAt(1).window->statusText, "Opening b");
  delegate.openFiles({file}, [&](bool opened) { replies.push_back(opened ? "second" : "failed"); });
  platform.executor.runAll();
  EXPECT_EQ(openWindowCount(), 2U);
  EXPECT_EQ(calls.count(SystemCall::open), 2) << "each file is read once";
  EXPECT_THAT(replies, testing::UnorderedElementsAre("first", "second"));
}

TEST_F(AppOpening, tellsEverybodyWhoJoinedOfAFailureWithOneAlert) {
  std::vector<bool> replies;
  const auto remember = [&](bool opened) { replies.push_back(opened); };
  delegate.openFiles({folder.write("a", "1"), folder.location("none")}, remember);
  step();
  delegate.openFiles({folder.location("none")}, remember);
  delegate.openFiles({folder.location("none"), folder.write("c", "3")}, remember);
  expectFailure(missing);
  platform.executor.runAll();
  EXPECT_EQ(replies, (std::vector{false, false, false}));
  EXPECT_EQ(openWindowCount(), 1U);
  EXPECT_EQ(editorAt(0).text(), "3");
}

TEST_F(AppOpening, namesTheFileThatCouldNotBeOpenedInTheCurrentWindow) {
  delegate.newDocument();
  expectFailure(missing);
  EXPECT_FALSE(openFiles({folder.location("fw.bin")}));
  EXPECT_EQ(noticeAt(0), "Could not open fw.bin: No such file or directory");
  EXPECT_TRUE(openFiles({folder.write("fw.bin", "1")}));
  EXPECT_EQ(noticeAt(0), "");
}

TEST_F(AppOpening, namesEachFileThatCouldNotBeOpenedInItsTurn) {
  std::vector<std::string> notices;
  for (int alert = 0; alert < 3; ++alert) expectFailure(missing);
  const auto remember = [&] { notices.push_back(noticeAt(0)); };
  platform.alerts.duringNext([&] {
    remember();
    platform.alerts.duringNext([&] {
      remember();
      platform.alerts.duringNext(remember);
    });
  });
  openFiles({folder.location("a"), folder.location("b"), folder.location("c")});
  EXPECT_THAT(notices, testing::ElementsAre("Could not open a: No such file or directory",
                                            "Could not open b: No such file or directory",
                                            "Could not open c: No such file or directory"));
  EXPECT_EQ(noticeAt(0), "Could not open c: No such file or directory");
}

TEST_F(AppOpening, namesAFileThatWasNotOpenedIntoABusyWindow) {
  delegate.newDocument();
  BusyScope busy = editorAt(0)->context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  expectFailure("Another operation is already running.");
  EXPECT_FALSE(openFiles({folder.write("fw.bin", "1")}));
  EXPECT_EQ(noticeAt(0), "Could not open fw.bin: Another operation is already running.");
  busy.end();
}

TEST_F(AppOpening, givesTheSystemsReasonInThePlaceOfASentenceWithoutOne) {
  delegate.newDocument();
  const auto file = folder.write("fw.bin", "1");
  FaultySystemCalls calls;
  calls.fail(SystemCall::open, FaultySystemCalls::kEvery, EACCES);
  const ScopedSystemCalls scope(calls);
  expectFailure("Could not open the selected file for reading.");
  EXPECT_FALSE(openFiles({file}));
  EXPECT_EQ(noticeAt(0), "Could not open fw.bin: Permission denied");
}

TEST_F(AppOpening, fromThePanelStartsInTheFolderOfTheCurrentFile) {
  platform.filePanels.openAnswers.push_back({folder.write("a", "1"), folder.write("b", "2")});
  delegate.perform("forwardOpenDocument:");
  platform.executor.runAll();
  EXPECT_EQ(openWindowCount(), 2U);
  platform.filePanels.openAnswers.push_back({});
  delegate.perform("forwardOpenDocument:");
  EXPECT_FALSE(platform.executor.hasWork());
}

TEST_F(AppOpening, isRefusedWhileTheCurrentWindowIsBusy) {
  delegate.newDocument();
  auto editor = editorAt(0);
  BusyScope busy = editor->context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  EXPECT_FALSE(delegate.validateMenuItem("forwardOpenDocument:"));
  expectFailure("Another operation is already running.");
  EXPECT_FALSE(openFiles({folder.write("a", "1")}));
  busy.end();
  EXPECT_EQ(editor.text(), "");
}

TEST_F(AppOpening, stoppedClosesTheNewWindowWithoutAnAlert) {
  std::optional<bool> reply;
  delegate.openFiles({folder.write("a", "1"), folder.write("b", "2")},
                     [&](bool opened) { reply = opened; });
  step();
  editorAt(1)->stopCurrentOperation();
  platform.executor.runAll();
  EXPECT_EQ(reply, false);
  EXPECT_EQ(openWindowCount(), 1U);
  EXPECT_TRUE(editorAt(1).window->closed);
}

TEST_F(AppOpening, nowReadsTheFileBeforeItsWindowExists) {
  const auto file = folder.write("a", "hello");
  const auto controller = delegate.openNow(file);
  EXPECT_EQ(editorAt(0).controller, controller);
  EXPECT_EQ(editorAt(0).text(), "hello");
  EXPECT_EQ(editorAt(0).window->title, "a");
  EXPECT_NO_THROW(SecureFileAccess::reserveOutputURL(file)) << "the reservation is let go of";
}

TEST_F(AppOpening, nowFailsWithoutLeavingADocument) {
  std::filesystem::create_directory(folder.location("inner").path());
  for (const char* name : {"inner", "none"}) {
    const auto place = folder.location(name);
    EXPECT_THROW(delegate.openNow(place), Error) << name;
    EXPECT_NO_THROW(SecureFileAccess::reserveOutputURL(place)) << name;
  }
  EXPECT_TRUE(application.windows.empty());
  EXPECT_TRUE(delegate.documents().documents().empty());
}

}  // namespace
}  // namespace quillmor::test
