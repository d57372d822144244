// Taking back editing commands and doing them again.

#include <utility>

#include "support/WindowFixture.h"

namespace quillmor::test {
namespace {

constexpr const char* kContent = "abcdef";
constexpr const char* kFillQuestion = "Enter a pattern to repeat across the selected bytes.";
constexpr const char* kFillInsertQuestion =
    "No selection is active. Enter a pattern and length to insert filled bytes at the current "
    "offset.";
constexpr const char* kInsertQuestion = "Enter bytes to insert at the current offset.";

/// What "redo" brings back, for every command that goes through another path of undo.
class WindowRedo : public WindowFixture {
 protected:
  /// Undoes and redoes the one step of `editor`, and looks at the bytes and bookmarks on the way.
  static void expectRedo(const EditorUnderTest& editor, const std::string& before,
                         const std::string& name) {
    const std::string after = editor.text();
    const auto bookmarksAfter = editor->bookmarks().offsets();
    EXPECT_NE(after, before);
    editor->perform("forwardUndo:");
    EXPECT_EQ(editor.text(), before);
    EXPECT_FALSE(editor.document->isDocumentEdited());
    EXPECT_EQ(editor->bookmarks().offsets(), (std::vector<std::int64_t>{0, 4, 6}));
    EXPECT_EQ(editor.document->undoManager().redoActionName(), name);
    editor->perform("forwardRedo:");
    EXPECT_EQ(editor.text(), after);
    EXPECT_TRUE(editor.document->isDocumentEdited());
    EXPECT_EQ(editor->bookmarks().offsets(), bookmarksAfter);
    editor->perform("forwardUndo:");
    EXPECT_EQ(editor.text(), before);
    EXPECT_FALSE(editor.document->undoManager().canUndo());
  }

  /// "abcdef" with bookmarks at 0, 4 and its end.
  EditorUnderTest editorWithBookmarks(HexSelection selection) {
    auto editor = makeEditor(kContent);
    for (const std::int64_t offset : {0, 4, 6}) {
      platform.alerts.expect("Bookmarks",
                             "Added bookmark at 0x0000000" + std::to_string(offset) + ".");
      editor.editor().setCaretOffset(offset);
      editor->perform("forwardAddBookmark:");
    }
    editor.editor().setCaretOffset(selection.start);
    editor.editor().setSelection(selection);
    return editor;
  }
};

TEST_F(WindowRedo, cropsAgain) {
  auto editor = editorWithBookmarks({1, 4});
  platform.alerts.expect("Crop to Selection",
                         "Keep only the selected 4 byte(s) and remove everything else?", "Crop");
  editor->perform("forwardCropToSelection:");
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "bcde");
  EXPECT_EQ(editor->bookmarks().offsets(), std::vector<std::int64_t>{3});
  expectRedo(editor, kContent, "Crop to Selection");
}

TEST_F(WindowRedo, insertsBytesAgain) {
  auto editor = editorWithBookmarks({2, 0});
  platform.alerts.expect("Insert Bytes", kInsertQuestion, "OK", {"", "2E 2D", "2"});
  editor->perform("forwardInsertBytes:");
  EXPECT_EQ(editor.text(), "ab.-.-cdef");
  EXPECT_EQ(editor->bookmarks().offsets(), (std::vector<std::int64_t>{0, 8, 10}));
  expectRedo(editor, kContent, "Insert Bytes");
}

TEST_F(WindowRedo, insertsFilesAgain) {
  const std::pair<std::string_view, const char*> commands[] = {
      {"forwardInsertFileAtOffset:", "Insert File"},
      {"forwardAppendFileToEnd:", "Append File"},
  };
  for (const auto& [command, name] : commands) {
    auto editor = editorWithBookmarks({2, 0});
    platform.filePanels.openAnswers.push_back({folder.write("part.bin", "123")});
    editor->perform(command);
    platform.executor.runAll();
    expectRedo(editor, kContent, name);
  }
}

TEST_F(WindowRedo, fillsAgain) {
  auto editor = editorWithBookmarks({1, 4});
  platform.alerts.expect("Fill Selection", kFillQuestion, "OK", {"", "2E 2D"});
  editor->perform("forwardFillSelection:");
  EXPECT_EQ(editor.text(), "a.-.-f");
  expectRedo(editor, kContent, "Fill Selection");
}

TEST_F(WindowRedo, fillsWithZeroAndFFAgain) {
  const std::pair<std::string_view, const char*> commands[] = {
      {"forwardFillSelectionWithZero:", "Fill Selection with 00"},
      {"forwardFillSelectionWithFF:", "Fill Selection with FF"},
  };
  for (const auto& [command, name] : commands) {
    auto editor = editorWithBookmarks({1, 4});
    editor->perform(command);
    expectRedo(editor, kContent, name);
  }
}

TEST_F(WindowRedo, insertsFillsAgain) {
  auto editor = editorWithBookmarks({5, 0});
  platform.alerts.expect("Fill Selection", kFillInsertQuestion, "OK", {"", "0x2E", "3"});
  editor->perform("forwardFillSelection:");
  EXPECT_EQ(editor.text(), "abcde...f");
  expectRedo(editor, kContent, "Fill Selection");
}

TEST_F(WindowRedo, writesBitsAndValuesAgain) {
  auto bits = editorWithBookmarks({1, 0});
  platform.alerts.expect("Bit Editor", "Enter 8 bits for the current byte.", "OK", {"01111010"});
  bits->perform("forwardBitEditor:");
  EXPECT_EQ(bits.text(), "azcdef");
  EXPECT_EQ(bits.document->undoManager().undoActionName(), "Edit Bits");
  expectRedo(bits, kContent, "Edit Bits");
  auto value = editorWithBookmarks({1, 0});
  platform.alerts.expect("Edit Current Value", "Select a type and enter a value.", "Apply",
                         {"", "0x7A"});
  value->perform("forwardEditCurrentValue:");
  EXPECT_EQ(value.text(), "azcdef");
  expectRedo(value, kContent, "Edit Value");
}

}  // namespace
}  // namespace quillmor::test
