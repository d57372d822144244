// Undo through the editor's controller: what typing records, the limits of the history, and that a
// document never looks saved while its bytes differ from the file.

#include <algorithm>
#include <random>

#include "support/WindowFixture.h"

namespace quillmor::test {
namespace {

constexpr std::int64_t kRecordLimit = 67'108'864;

class WindowUndo : public WindowFixture {
 protected:
  /// Clicks on the second digit of the byte at `offset` in the hex column.
  static void clickOnSecondDigit(const EditorUnderTest& editor, std::int64_t offset) {
    HexEditorState& state = editor.editor();
    state.setFontMetrics(8, 13);
    state.recalcMetrics();
    const HexEditorGeometry& geometry = state.geometry();
    state.mouseDown({geometry.hexCellX(offset % state.bytesPerRow()) + 1.5 * geometry.charWidth(),
                     geometry.rowTop(offset / state.bytesPerRow()) + 5});
    state.mouseUp();
    ASSERT_EQ(state.caretOffset(), offset);
    ASSERT_FALSE(state.editingHighNibble());
  }

  EditorUnderTest openWith(std::string_view content) {
    return openEditor(folder.write("data.bin", content));
  }

  void save(const EditorUnderTest& editor) {
    editor->perform("forwardSaveDocument:");
    platform.executor.runAll();
  }
};

TEST_F(WindowUndo, takesBackTypedCharactersOneByOne) {
  auto editor = openWith("hello");
  type(editor, "JA");
  EXPECT_EQ(editor.text(), "JAllo");
  EXPECT_EQ(editor.document->undoManager().undoActionName(), "Edit");
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), "Jello");
  EXPECT_EQ(editor.editor().caretOffset(), 1);
  EXPECT_TRUE(editor.window->isEdited);
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), "hello");
  EXPECT_FALSE(editor.window->isEdited);
  editor->perform("forwardRedo:");
  editor->perform("forwardRedo:");
  EXPECT_EQ(editor.text(), "JAllo");
  EXPECT_TRUE(editor.window->isEdited);
}

TEST_F(WindowUndo, takesBothDigitsOfAByteBackAtOnce) {
  auto editor = openWith("hello");
  typeHex(editor, "4a");
  EXPECT_EQ(editor.text(), "Jello");
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), "hello");
  EXPECT_FALSE(editor.window->isEdited);
  editor->perform("forwardRedo:");
  EXPECT_EQ(editor.text(), "Jello");
}

TEST_F(WindowUndo, takesBackAByteInsertedDigitByDigit) {
  auto editor = openWith("hello");
  editor->perform("forwardToggleInsertMode:");
  editor.editor().setCaretOffset(5);
  typeHex(editor, "21");
  EXPECT_EQ(editor.text(), "hello!");
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), "hello");
  EXPECT_FALSE(editor.window->isEdited);
}

TEST_F(WindowUndo, withAnUnchangedFirstDigitRecordsTheSecond) {
  auto editor = openWith("hello");
  typeHex(editor, "6");
  EXPECT_FALSE(editor.window->isEdited);
  typeHex(editor, "a");
  EXPECT_EQ(editor.text(), "jello");
  EXPECT_TRUE(editor.window->isEdited);
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), "hello");
  EXPECT_FALSE(editor.window->isEdited);
}

TEST_F(WindowUndo, recordsNothingForDigitsThatChangeNothing) {
  auto editor = makeEditor("AB");
  typeHex(editor, "41");
  EXPECT_EQ(editor.editor().caretOffset(), 1);
  EXPECT_FALSE(editor.document->undoManager().canUndo());
  EXPECT_FALSE(editor.window->isEdited);
}

TEST_F(WindowUndo, recordsNothingForBytesPastedOverThemselves) {
  auto editor = makeEditor("ABCD");
  editor.editor().setSelection({1, 2});
  const std::uint8_t same[] = {'B', 'C'};
  editor.editor().paste(same);
  EXPECT_EQ(editor.editor().caretOffset(), 3);
  EXPECT_FALSE(editor.document->undoManager().canUndo());
  EXPECT_FALSE(editor.window->isEdited);
}

TEST_F(WindowUndo, takesBackADigitTypedAfterAClickOnIt) {
  auto editor = openWith("hello");
  clickOnSecondDigit(editor, 1);
  typeHex(editor, "f");
  EXPECT_EQ(editor.text(), "hollo");
  EXPECT_TRUE(editor.window->isEdited);
  type(editor, "x");
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), "hollo");
  EXPECT_TRUE(editor.window->isEdited);
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), "hello");
  EXPECT_FALSE(editor.window->isEdited);
  EXPECT_EQ(editor.editor().caretOffset(), 1);
  editor->perform("forwardRedo:");
  EXPECT_EQ(editor.text(), "hollo");
  save(editor);
  EXPECT_EQ(folder.read("data.bin"), "hollo");
}

TEST_F(WindowUndo, recordsNothingForTheDigitThatIsThereAfterAClickOnIt) {
  auto editor = openWith("hello");
  clickOnSecondDigit(editor, 1);
  typeHex(editor, "5");
  EXPECT_FALSE(editor.document->undoManager().canUndo());
  EXPECT_FALSE(editor.window->isEdited);
}

TEST_F(WindowUndo, takesBackASecondDigitThatForwardDeleteHasPutUnderTheCaret) {
  auto editor = openWith("hello");
  typeHex(editor, "4");
  editor->perform("forwardDeleteSelection:");
  EXPECT_EQ(editor.text(), "ello");
  typeHex(editor, "f");
  EXPECT_EQ(editor.text(), "ollo");
  editor->perform("forwardUndo:");
  editor->perform("forwardUndo:");
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), "hello");
  EXPECT_FALSE(editor.window->isEdited);
}

TEST_F(WindowUndo, marksADocumentSavedBetweenTwoDigits) {
  auto editor = openWith("hello");
  typeHex(editor, "4");
  EXPECT_EQ(editor.text(), "Hello");
  save(editor);
  EXPECT_FALSE(editor.window->isEdited);
  typeHex(editor, "a");
  EXPECT_EQ(editor.text(), "Jello");
  EXPECT_TRUE(editor.window->isEdited);
  editor->perform("forwardUndo:");
  editor->perform("forwardRedo:");
  EXPECT_EQ(editor.text(), "Jello");
  EXPECT_TRUE(editor.window->isEdited) << "the file holds Hello";
}

TEST_F(WindowUndo, beepsWhenThereIsNothingToUndoOrWhileBusy) {
  auto editor = openWith("hello");
  editor->perform("forwardUndo:");
  editor->perform("forwardRedo:");
  EXPECT_EQ(platform.beeper.count, 2);
  type(editor, "J");
  BusyScope busy = editor->context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  editor->perform("forwardUndo:");
  editor->perform("forwardRedo:");
  busy.end();
  EXPECT_EQ(platform.beeper.count, 4);
  EXPECT_EQ(editor.text(), "Jello");
}

TEST_F(WindowUndo, keepsAsManyStepsAsTheDocumentLimitAllows) {
  auto editor = openWith(std::string(64, 'a'));
  const int cap = editor.document->undoManager().levelsOfUndo();
  EXPECT_GE(cap, 4);
  EXPECT_LE(cap, 16);
  type(editor, std::string(static_cast<std::size_t>(cap) + 1, 'b'));
  for (int i = 0; i < cap; ++i) editor->perform("forwardUndo:");
  EXPECT_FALSE(editor.document->undoManager().canUndo());
  EXPECT_EQ(editor.text().substr(0, 2), "ba");
  EXPECT_TRUE(editor.window->isEdited);
  for (int i = 0; i < cap; ++i) editor->perform("forwardRedo:");
  EXPECT_EQ(editor.text()[static_cast<std::size_t>(cap)], 'b');
}

TEST_F(WindowUndo, recordsTheRemovalOf64MebibytesAndForgetsItsHistoryAtOneByteMore) {
  auto editor = makeEditor();
  editor.document->readData(ByteBuffer::uninitialized(2 * kRecordLimit + 10));
  editor.editor().setSelection({0, kRecordLimit});
  editor->perform("forwardDeleteSelection:");
  EXPECT_TRUE(editor.document->undoManager().canUndo());
  editor.editor().setSelection({0, kRecordLimit + 1});
  editor->perform("forwardDeleteSelection:");
  EXPECT_EQ(editor.document->storage()->count(), 9);
  EXPECT_FALSE(editor.document->undoManager().canUndo());
  EXPECT_TRUE(editor.window->isEdited);
  // Later steps never lead back past the unrecorded one.
  type(editor, "x");
  editor->perform("forwardUndo:");
  EXPECT_TRUE(editor.window->isEdited);
}

TEST_F(WindowUndo, restoresEverythingFromASnapshotAndTakesItForwardAgain) {
  auto editor = openWith("hello");
  editor.editor().setCaretOffset(3);
  editor.editor().setSelection({1, 2});
  editor->session().installDocument(ByteBuffer{'Z'}, {}, "Fill",
                                    {.caretOffset = 1, .selection = {0, 1}});
  EXPECT_TRUE(editor.window->isEdited);
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), "hello");
  EXPECT_EQ(editor.editor().caretOffset(), 3);
  EXPECT_EQ(editor.editor().selection(), (HexSelection{1, 2}));
  EXPECT_FALSE(editor.window->isEdited);
  editor->perform("forwardRedo:");
  EXPECT_EQ(editor.text(), "Z");
  EXPECT_EQ(editor.editor().caretOffset(), 1);
  EXPECT_EQ(editor.editor().selection(), (HexSelection{0, 1}));
  EXPECT_TRUE(editor.window->isEdited);
}

TEST_F(WindowUndo, ofAnUnrecordedCommandIsGone) {
  auto editor = openWith("hello");
  type(editor, "J");
  editor->session().installDocument(ByteBuffer::uninitialized(kRecordLimit + 1), {}, "Fill", {});
  EXPECT_FALSE(editor.document->undoManager().canUndo());
  EXPECT_TRUE(editor.window->isEdited);
}

/// Random typing, clicking, undoing, redoing, saving and reloading in one editor.
class RandomUser {
 public:
  RandomUser(unsigned seed, std::function<void(std::int64_t)> click)
      : random_(seed), click_(std::move(click)) {}

  std::int64_t below(std::int64_t bound) {
    return std::uniform_int_distribution<std::int64_t>(0, bound - 1)(random_);
  }

  void act(const EditorUnderTest& editor, const std::function<void()>& save) {
    HexEditorState& state = editor.editor();
    const std::int64_t count = state.storage()->count();
    switch (below(12)) {
      case 0:
        return state.setCaretOffset(below(count + 1));
      case 1:
        return state.setSelection({below(count + 1), below(4)});
      case 2:
        return state.deleteSelectionOrByte(below(2) == 0);
      case 3:
        return editor->perform("forwardToggleInsertMode:");
      case 4:
        return state.setEditingArea(EditingArea::ascii);
      case 5:
        return editor->perform("forwardUndo:");
      case 6:
        return editor->perform("forwardRedo:");
      case 7:
        return save();
      case 8:
        if (count > 0) click_(below(count));
        return;
      default:
        state.setEditingArea(EditingArea::hex);
        return state.handleTextInput(std::string(1, "0123456789abcdef"[below(16)]));
    }
  }

 private:
  std::mt19937 random_;
  std::function<void(std::int64_t)> click_;
};

TEST_F(WindowUndo, neverMakesADocumentLookSavedWhoseBytesDifferFromTheFile) {
  int timesUnedited = 0;
  for (unsigned seed = 0; seed < 15; ++seed) {
    const auto file = folder.write("data.bin", "0123");
    auto editor = openEditor(file);
    RandomUser user(seed, [&](std::int64_t offset) { clickOnSecondDigit(editor, offset); });
    std::string onDisk = "0123";
    for (int step = 0; step < 200; ++step) {
      user.act(editor, [&] {
        save(editor);
        onDisk = editor.text();
      });
      const bool isEdited = editor.document->isDocumentEdited();
      ASSERT_EQ(editor.window->isEdited, isEdited);
      if (isEdited) continue;
      ++timesUnedited;
      ASSERT_EQ(editor.text(), onDisk) << "seed " << seed << ", step " << step;
    }
    ASSERT_EQ(folder.read("data.bin"), onDisk);
    editor.window->closeWindow();
  }
  EXPECT_GT(timesUnedited, 200) << "the test would mean little otherwise";
}

}  // namespace
}  // namespace quillmor::test
