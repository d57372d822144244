// The history of a window's document through its command, and its states in new windows.

#include "window/commands/HistoryCommands.h"

#include "document/QuillmorResourceLimits.h"
#include "support/ApplicationFixture.h"

namespace quillmor::test {
namespace {

class HistoryCommandsTest : public ApplicationFixture {
 protected:
  EditorUnderTest open(const std::string& content) {
    EXPECT_TRUE(openFiles({folder.write("data.bin", content)}));
    EditorUnderTest editor = editorAt(0);
    editor.editor().setEditingArea(EditingArea::ascii);
    return editor;
  }

  static void type(const EditorUnderTest& editor, std::string_view text) {
    for (const char character : text) editor.editor().handleTextInput({&character, 1});
  }

  void openState(const EditorUnderTest& editor, std::int64_t state) {
    editor->commands().history().openState(state);
    platform.executor.runAll();
  }
};

TEST_F(HistoryCommandsTest, showsTheList) {
  const auto editor = open("hello");
  delegate.perform("forwardShowHistory:");
  EXPECT_EQ(editor.window->historyWindowsOpened, 1);
  EXPECT_TRUE(delegate.validateMenuItem("forwardShowHistory:"));
}

TEST_F(HistoryCommandsTest, saysThatADocumentKeepsNone) {
  const auto editor = open("hello");
  editor->context().history().setEnabled(false);
  platform.alerts.expect("History", "This document keeps no history.");
  delegate.perform("forwardShowHistory:");
  EXPECT_EQ(editor.window->historyWindowsOpened, 0);
}

TEST_F(HistoryCommandsTest, opensAStateAsAnUnsavedDocumentInANewWindow) {
  const auto editor = open("hello");
  type(editor, "JE");
  editor->perform("forwardUndo:");
  ASSERT_EQ(editor->context().history().stepCount(), 3);
  const std::vector<std::string> states = {"hello", "Jello", "JEllo", "Jello"};
  const std::vector<std::int64_t> carets = {0, 1, 2, 1};
  for (std::size_t state = 0; state < states.size(); ++state) {
    openState(editor, static_cast<std::int64_t>(state));
    const auto opened = editorAt(state + 1);
    EXPECT_EQ(opened.text(), states[state]);
    EXPECT_EQ(opened.editor().caretOffset(), carets[state]);
    EXPECT_FALSE(opened.document->location());
    EXPECT_TRUE(opened.document->isDocumentEdited());
    EXPECT_TRUE(opened.window->isEdited);
    EXPECT_EQ(opened->context().history().stepCount(), 0) << "it has a history of its own";
    opened->windowWillClose();
  }
  EXPECT_EQ(editor.text(), "Jello");
  EXPECT_EQ(editor->context().history().stepCount(), 3);
  EXPECT_EQ(folder.read("data.bin"), "hello");
}

TEST_F(HistoryCommandsTest, goesOnOverASave) {
  const auto editor = open("hello");
  type(editor, "J");
  delegate.perform("forwardSaveDocument:");
  platform.executor.runAll();
  ASSERT_EQ(folder.read("data.bin"), "Jello");
  openState(editor, 0);
  EXPECT_EQ(editorAt(1).text(), "hello");
}

TEST_F(HistoryCommandsTest, beginsAnewWithTheBytesOfTheDisk) {
  const auto editor = open("hello");
  type(editor, "J");
  platform.alerts.acceptAnything();
  delegate.perform("forwardRevertDocument:");
  platform.executor.runAll();
  ASSERT_EQ(editor.text(), "hello");
  EXPECT_EQ(editor->context().history().stepCount(), 0);
  type(editor, "J");
  EXPECT_EQ(editor->context().history().stepCount(), 1);
  editor->commands().replacement().openURLInCurrentWindow(folder.write("other.bin", "other"),
                                                          [](auto) {});
  platform.executor.runAll();
  EXPECT_EQ(editor->context().history().stepCount(), 0);
  EXPECT_FALSE(editor->context().history().hasForgotten());
}

TEST_F(HistoryCommandsTest, opensNothingOfAStateThatIsNotKept) {
  const auto editor = open("hello");
  type(editor, "J");
  for (const std::int64_t state : {std::int64_t{2}, std::int64_t{1}}) {
    if (state == 1) editor->context().history().setEnabled(false);
    platform.alerts.expect("History", "The bytes of this state are no longer kept.");
    openState(editor, state);
  }
  EXPECT_EQ(openWindowCount(), 1U);
}

TEST_F(HistoryCommandsTest, opensNothingWhileAnotherOperationRuns) {
  const auto editor = open("hello");
  type(editor, "J");
  const BusyScope busy = editor->context().frame().beginBusyStatus("Working…");
  platform.alerts.acceptAnything();
  openState(editor, 0);
  EXPECT_EQ(openWindowCount(), 1U);
  EXPECT_FALSE(platform.alerts.shown().empty());
}

TEST_F(HistoryCommandsTest, opensNothingWhenItIsStopped) {
  const auto editor = open("hello");
  type(editor, "J");
  editor->commands().history().openState(0);
  EXPECT_TRUE(editor->isBusy());
  editor->stopCurrentOperation();
  platform.executor.runAll();
  EXPECT_EQ(openWindowCount(), 1U);
  EXPECT_FALSE(editor->isBusy());
}

TEST_F(HistoryCommandsTest, opensNothingOnceTheWindowHasClosed) {
  const auto editor = open("hello");
  type(editor, "J");
  editor->commands().history().openState(0);
  editor->windowWillClose();
  platform.executor.runAll();
  EXPECT_EQ(openWindowCount(), 0U);
}

TEST_F(HistoryCommandsTest, makesNoWindowForMoreBytesThanADocumentMayHave) {
  const auto limit = QuillmorResourceLimits::maximumDocumentByteCount();
  EXPECT_THROW(delegate.openUntitled(ByteBuffer::uninitialized(limit + 1), {}), Error);
  EXPECT_EQ(openWindowCount(), 0U);
  delegate.openUntitled(ByteBuffer{1, 2}, {.caretOffset = 1});
  EXPECT_EQ(openWindowCount(), 1U);
}

}  // namespace
}  // namespace quillmor::test
