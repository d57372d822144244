// A document that is to leave no trace, as its user meets it.

#include "window/commands/SafetyCommands.h"

#include <gmock/gmock.h>

#include <cerrno>

#include "support/FaultySystemCalls.h"
#include "support/MemorySafetyCopies.h"
#include "support/WindowFixture.h"

namespace quillmor::test {
namespace {

using namespace std::chrono_literals;

constexpr const char* kText =
    "Its history and the records of its unsaved changes are removed, and none are kept until this "
    "window closes or you choose this again. After a crash its unsaved changes cannot be "
    "recovered.";
constexpr const char* kAgainText =
    "Unsaved changes of \"data.bin\" are recorded again, so that they can be recovered, and its "
    "history begins anew.";
constexpr const char* kOnNotice =
    "No history and no unsaved changes are kept until this window closes or Leave No Trace is "
    "chosen again.";
constexpr const char* kOffNotice = "History and unsaved changes are kept again.";

class LeaveNoTrace : public WindowFixture {
 protected:
  explicit LeaveNoTrace(std::shared_ptr<SafetyCopies> safetyCopies = nullptr)
      : WindowFixture(std::move(safetyCopies)) {
    records = &store;
  }

  void choose(const EditorUnderTest& editor, const std::string& answer = "",
              const std::string& text = kText) {
    if (!answer.empty()) platform.alerts.expect("Leave No Trace of \"data.bin\"?", text, answer);
    editor->perform("forwardLeaveNoTrace:");
  }

  void chooseAgain(const EditorUnderTest& editor, const std::string& answer) {
    platform.alerts.expect("Keep History and Records Again?", kAgainText, answer);
    editor->perform("forwardLeaveNoTrace:");
  }

  /// An editor with a recorded unsaved change.
  EditorUnderTest recordedEditor() {
    EditorUnderTest editor = openEdited(folder.write("data.bin", "hello"));
    platform.executor.runAll();
    EXPECT_EQ(store.list().size(), 1U);
    return editor;
  }

  void passAMinute() {
    platform.executor.advance(1min);
    platform.executor.runAll();
  }

  bool hasSavedOffset() const {
    return platform.defaults.integers.contains("Quillmor.session.offset." +
                                               folder.location("data.bin").path());
  }

  RecordStore store{folder.location("state/records")};
};

TEST_F(LeaveNoTrace, removesWhatWasKeptAndKeepsNothingMore) {
  const EditorUnderTest editor = recordedEditor();
  ASSERT_EQ(editor->context().history().stepCount(), 1);
  choose(editor, "Leave No Trace");
  EXPECT_EQ(editor.window->notice, kOnNotice);
  EXPECT_EQ(editor->context().history().stepCount(), 0);
  EXPECT_EQ(store.list().size(), 1U) << "the disk is left to another thread";
  platform.executor.runAll();
  EXPECT_TRUE(store.list().empty());
  type(editor, "EL");
  passAMinute();
  EXPECT_TRUE(store.list().empty());
  EXPECT_EQ(editor->context().history().stepCount(), 0);
  EXPECT_EQ(editor->unsavedChanges().bytesOnDisk(), 0);
}

TEST_F(LeaveNoTrace, asksFirstAndCancelChangesNothing) {
  const EditorUnderTest editor = recordedEditor();
  choose(editor, "Cancel");
  ASSERT_EQ(platform.alerts.shown().size(), 1U);
  EXPECT_EQ(platform.alerts.shown()[0].buttons.front(), "Cancel") << "the default";
  EXPECT_EQ(editor.window->notice, "");
  EXPECT_EQ(editor->context().history().stepCount(), 1);
  platform.executor.runAll();
  EXPECT_EQ(store.list().size(), 1U);
}

TEST_F(LeaveNoTrace, chosenAgainKeepsWhatIsUnsavedAgain) {
  const EditorUnderTest editor = recordedEditor();
  choose(editor, "Leave No Trace");
  type(editor, "E");
  platform.executor.runAll();
  chooseAgain(editor, "Keep Again");
  EXPECT_EQ(editor.window->notice, kOffNotice);
  passAMinute();
  EXPECT_TRUE(editor->unsavedChanges().keepNow());
  ASSERT_EQ(store.list().size(), 1U);
  EXPECT_EQ(store.list()[0].header->kind, RecordKind::unsavedChanges);
  const ByteBuffer kept = store.read(store.list()[0]).payload;
  EXPECT_EQ(kept, editor.document->storage()->bytes);
  type(editor, "L");
  EXPECT_EQ(editor->context().history().stepCount(), 1);
}

TEST_F(LeaveNoTrace, chosenAgainWithoutUnsavedChangesWritesNothing) {
  const EditorUnderTest editor = openEditor(folder.write("data.bin", "hello"));
  choose(editor, "Leave No Trace");
  chooseAgain(editor, "Keep Again");
  passAMinute();
  EXPECT_TRUE(store.list().empty());
}

TEST_F(LeaveNoTrace, chosenAgainAsksFirstAndCancelKeepsNothing) {
  const EditorUnderTest editor = recordedEditor();
  choose(editor, "Leave No Trace");
  platform.executor.runAll();
  chooseAgain(editor, "Cancel");
  ASSERT_EQ(platform.alerts.shown().size(), 2U);
  EXPECT_EQ(platform.alerts.shown()[1].buttons.front(), "Cancel") << "the default";
  EXPECT_EQ(editor.window->notice, "");
  type(editor, "E");
  passAMinute();
  EXPECT_TRUE(store.list().empty());
  EXPECT_EQ(editor->context().history().stepCount(), 0);
}

TEST_F(LeaveNoTrace, savesNoOffsetOfTheSession) {
  const EditorUnderTest editor = openEditor(folder.write("data.bin", "hello"));
  choose(editor, "Leave No Trace");
  editor.window->closeWindow();
  EXPECT_FALSE(hasSavedOffset());
  const EditorUnderTest kept = openEditor(folder.location("data.bin"));
  kept.window->closeWindow();
  EXPECT_TRUE(hasSavedOffset());
}

TEST_F(LeaveNoTrace, lastsWhileOtherFilesAreOpenedInTheWindow) {
  const EditorUnderTest editor = openEditor(folder.write("data.bin", "hello"));
  choose(editor, "Leave No Trace");
  editor->commands().replacement().openURLInCurrentWindow(folder.write("other.bin", "other"),
                                                          [](OpenCurrentResult) {});
  platform.executor.runAll();
  type(editor, "X");
  passAMinute();
  EXPECT_TRUE(store.list().empty());
  EXPECT_FALSE(hasSavedOffset());
}

TEST_F(LeaveNoTrace, isOfOneWindowOnly) {
  const EditorUnderTest editor = openEditor(folder.write("data.bin", "hello"));
  const EditorUnderTest other = openEdited(folder.write("other.bin", "hello"));
  choose(editor, "Leave No Trace");
  type(editor, "J");
  platform.executor.runAll();
  ASSERT_EQ(store.list().size(), 1U);
  EXPECT_EQ(store.list()[0].header->path, folder.location("other.bin").path());
}

TEST_F(LeaveNoTrace, asksNothingOfAWindowThatClosesDuringTheQuestion) {
  const EditorUnderTest editor = recordedEditor();
  platform.alerts.duringNext([&] { editor.window->closeWindow(); });
  choose(editor, "Leave No Trace");
  platform.executor.runAll();
  EXPECT_EQ(store.list().size(), 1U) << "the window had closed before the answer";
}

TEST_F(LeaveNoTrace, isAllThatAPrivateProcessKnows) {
  traces = Traces::none;
  const EditorUnderTest editor = openEdited(folder.write("data.bin", "hello"));
  passAMinute();
  EXPECT_TRUE(store.list().empty());
  EXPECT_EQ(editor->context().history().stepCount(), 0);
  choose(editor);
  EXPECT_EQ(editor.window->notice, "Quillmor was started with --private: nothing is kept.");
  type(editor, "E");
  passAMinute();
  EXPECT_TRUE(store.list().empty());
  editor.window->closeWindow();
  EXPECT_FALSE(hasSavedOffset());
}

class LeaveNoTraceOfATornFile : public LeaveNoTrace {
 protected:
  LeaveNoTraceOfATornFile() : LeaveNoTraceOfATornFile(std::make_shared<MemorySafetyCopies>()) {}
  explicit LeaveNoTraceOfATornFile(const std::shared_ptr<MemorySafetyCopies>& safetyCopies)
      : LeaveNoTrace(safetyCopies), copies(safetyCopies) {}

  void save(const EditorUnderTest& editor) {
    editor->perform("forwardSaveDocument:");
    platform.executor.runAll();
  }

  void tear(const EditorUnderTest& editor) {
    FaultySystemCalls faulty;
    faulty.fail(SystemCall::write, 1, EIO);
    const ScopedSystemCalls scope(faulty);
    platform.alerts.expect("Save Failed",
                           "Could not write the document data. The file is incomplete now. Its new "
                           "bytes are kept for recovery.");
    save(editor);
  }

  const std::shared_ptr<MemorySafetyCopies> copies;
};

TEST_F(LeaveNoTraceOfATornFile, saysThatTheNewBytesStayUntilASaveSucceeds) {
  const EditorUnderTest editor = recordedEditor();
  tear(editor);
  choose(
      editor, "Leave No Trace",
      std::string(kText) + " The kept bytes of the save that failed stay until a save succeeds.");
  platform.executor.runAll();
  EXPECT_TRUE(store.list().empty());
  EXPECT_EQ(copies->kept.size(), 1U);
  save(editor);
  EXPECT_TRUE(copies->kept.empty());
  chooseAgain(editor, "Keep Again");
  choose(editor, "Cancel");
}

}  // namespace
}  // namespace quillmor::test
