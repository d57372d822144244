// The end of the session: unsaved changes outlive the application, whoever ends it.

#include <gmock/gmock.h>

#include <cerrno>

#include "recovery/JournalReader.h"
#include "recovery/RecordStore.h"
#include "support/ApplicationFixture.h"
#include "support/FaultySystemCalls.h"

namespace quillmor::test {
namespace {

class SessionEnd : public ApplicationFixture {
 protected:
  ~SessionEnd() override {
    // Before the delegate that they belong to.
    for (const auto& shown : application.windows) shown.controller->windowWillClose();
  }

  /// The documents as the records that were left have them.
  std::vector<std::string> recovered() const {
    std::vector<std::string> texts;
    for (const ListedRecord& record : store.list()) {
      const bool isJournal = record.header->kind == RecordKind::journal;
      const ByteBuffer bytes = isJournal
                                   ? replayJournal(store.readJournal(record).span(),
                                                   ByteBuffer(bytesOfFile(record.header->path)), {})
                                         .bytes
                                   : store.read(record).payload;
      texts.emplace_back(bytes.span().begin(), bytes.span().end());
    }
    return texts;
  }

  static std::vector<std::uint8_t> bytesOfFile(const std::string& path) {
    if (path.empty()) return {};
    const std::string text = TemporaryFolder::read(FileLocation::fromPath(path));
    return {text.begin(), text.end()};
  }

  EditorUnderTest newEdited(std::string_view text) {
    recording.newDocument();
    platform.executor.runAll();
    const auto& shown = application.windows.back();
    EditorUnderTest editor{shown.controller->session().sharedDocument(), shown.controller,
                           shown.window};
    editor->editor().setEditingArea(EditingArea::ascii);
    editor->editor().setInsertMode(true);
    editor->editor().handleTextInput(text.substr(0, 1));
    return editor;
  }

  const RecordStore store{folder.location("state/recovery")};
  AppDelegate recording{platform.services(), application, &store};
};

TEST_F(SessionEnd, keepsTheChangesOfAllDocumentsAndAsksNothing) {
  newEdited("a");
  newEdited("b");
  recording.endSession();
  EXPECT_EQ(application.terminations, 1);
  EXPECT_TRUE(platform.alerts.shown().empty());
  EXPECT_THAT(recovered(), testing::UnorderedElementsAre("a", "b"));
}

TEST_F(SessionEnd, leavesTheRecordsWhenTheWindowsCloseAfterwards) {
  const auto editor = newEdited("a");
  recording.endSession();
  editor.window->closeWindow();
  platform.executor.runAll();
  EXPECT_THAT(recovered(), testing::ElementsAre("a"));
}

TEST_F(SessionEnd, ofSavedDocumentsLeavesNothing) {
  recording.newDocument();
  platform.executor.runAll();
  recording.endSession();
  EXPECT_EQ(application.terminations, 1);
  EXPECT_TRUE(store.list().empty());
}

TEST_F(SessionEnd, isRefusedOnceWhenChangesCannotBeKept) {
  newEdited("a");
  FaultySystemCalls calls;
  calls.fail(SystemCall::openat, FaultySystemCalls::kEvery, ENOSPC);
  const ScopedSystemCalls scope(calls);
  platform.alerts.expect("Unsaved Changes Cannot Be Kept",
                         "Quillmor was asked to end, but the unsaved changes of \"Untitled\" could "
                         "not be recorded. Save them, or they will be lost.");
  recording.endSession();
  EXPECT_EQ(application.terminations, 0);
  recording.endSession();
  EXPECT_EQ(application.terminations, 1);
}

TEST_F(SessionEnd, ofADocumentThatLeavesNoTraceLosesItsChangesAndAsksNothing) {
  const auto editor = newEdited("a");
  platform.alerts.expect("Leave No Trace of \"Untitled\"?",
                         "Its history and the records of its unsaved changes are removed, and none "
                         "are kept until this window closes or you choose this again. After a "
                         "crash its unsaved changes cannot be recovered.",
                         "Leave No Trace");
  editor->perform("forwardLeaveNoTrace:");
  newEdited("b");
  recording.endSession();
  EXPECT_EQ(application.terminations, 1);
  platform.executor.runAll();
  EXPECT_THAT(recovered(), testing::ElementsAre("b"));
}

TEST_F(SessionEnd, ofAPrivateProcessEndsTheFirstTime) {
  AppDelegate secret(platform.services(), application, &store, Traces::none);
  secret.newDocument();
  platform.executor.runAll();
  const auto& shown = application.windows.back();
  shown.controller->editor().setEditingArea(EditingArea::ascii);
  shown.controller->editor().handleTextInput("a");
  platform.executor.runAll();
  secret.endSession();
  EXPECT_EQ(application.terminations, 1);
  shown.controller->windowWillClose();
  platform.executor.runAll();
  EXPECT_TRUE(store.list().empty());
}

TEST_F(SessionEnd, withAUserToAskReviewsTheDocuments) {
  newEdited("a");
  std::vector<bool> answers;
  const auto review = [&] {
    recording.reviewForSessionEnd([&](bool mayEnd) { answers.push_back(mayEnd); });
    platform.executor.runAll();
  };
  expectSaveQuestion("Untitled", "Cancel");
  review();
  expectSaveQuestion("Untitled", "Don't Save");
  review();
  EXPECT_THAT(answers, testing::ElementsAre(false, true));
  EXPECT_EQ(application.terminations, 0);
}

TEST_F(SessionEnd, isPutOffWhileADocumentIsBeingSaved) {
  const auto file = folder.write("data.bin", "old");
  recording.openFiles({file}, [](bool) {});
  platform.executor.runAll();
  const auto& shown = application.windows.back();
  shown.controller->editor().handleTextInput("4");
  shown.controller->perform("forwardSaveDocument:");
  EXPECT_THAT(platform.workspace.holdReasons, testing::ElementsAre("Saving data.bin"));
  EXPECT_EQ(platform.workspace.holdCount(), 1);
  platform.executor.runAll();
  EXPECT_EQ(platform.workspace.holdCount(), 0);
}

}  // namespace
}  // namespace quillmor::test
