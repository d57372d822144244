#include <QAccessible>

#include "EditorViewFixture.h"
#include "ui/editor/HexEditorAccessible.h"

namespace quillmor {
namespace {

class HexEditorAccessibility : public test::EditorViewTest {
 protected:
  void SetUp() override {
    setCountingBytes(100);
    state.setBytesPerRow(8);
  }

  QAccessibleInterface& accessible() { return *QAccessible::queryAccessibleInterface(&view); }
  QAccessibleTextInterface& text() { return *accessible().textInterface(); }
  QString allText() { return text().text(0, text().characterCount()); }
};

TEST_F(HexEditorAccessibility, isANamedEditableText) {
  EXPECT_EQ(accessible().role(), QAccessible::EditableText);
  EXPECT_EQ(accessible().text(QAccessible::Name), "Hex editor");
  EXPECT_TRUE(accessible().state().focusable);
  EXPECT_TRUE(accessible().state().multiLine);
  EXPECT_TRUE(accessible().state().editable);
  state.setEditingEnabled(false);
  EXPECT_TRUE(accessible().state().readOnly);
}

TEST_F(HexEditorAccessibility, readsTheVisibleRowsOnly) {
  EXPECT_TRUE(allText().startsWith("00000000  00 01 02 03 04 05 06 07  ........\n"));
  EXPECT_TRUE(allText().contains("00000040  40 41 42 43 44 45 46 47  @ABCDEFG\n"));
  EXPECT_EQ(allText(), accessible().text(QAccessible::Value));

  setBytes(ByteBuffer::uninitialized(std::int64_t{1} << 30));
  state.setCaretOffset(state.storage()->count());
  EXPECT_LT(text().characterCount(), 45 * 40);
  EXPECT_TRUE(allText().endsWith("40000000    \n"));
  EXPECT_EQ(text().cursorPosition(), text().characterCount() - 3);
}

TEST_F(HexEditorAccessibility, tellsAndMovesTheCaret) {
  state.setCaretOffset(9);
  const int second = 44;
  EXPECT_EQ(text().cursorPosition(), second + 10 + 3);
  text().setCursorPosition(second + 10 + 6);
  EXPECT_EQ(state.caretOffset(), 10);
  text().setCursorPosition(text().cursorPosition() + 21);
  EXPECT_EQ(state.editingArea(), EditingArea::ascii);
  setCountingBytes(8000);
  view.scrollTo({0, 2000});
  EXPECT_EQ(text().cursorPosition(), -1) << "scrolled out of sight";
}

TEST_F(HexEditorAccessibility, tellsAndSetsTheSelection) {
  EXPECT_EQ(text().selectionCount(), 0);
  state.setSelection({.start = 1, .length = 2});
  EXPECT_EQ(text().selectionCount(), 1);
  int start = 0;
  int end = 0;
  text().selection(0, &start, &end);
  EXPECT_EQ(text().text(start, end), "01 02");
  text().setSelection(0, 10, 10 + 8);
  EXPECT_EQ(state.selection(), (HexSelection{0, 3}));
  text().removeSelection(0);
  EXPECT_EQ(state.selection(), HexSelection{});
  text().addSelection(13, 15);
  EXPECT_EQ(state.selection(), (HexSelection{1, 1}));
}

TEST_F(HexEditorAccessibility, selectsBytesOnly) {
  setCountingBytes(16);
  const int second = 44;
  text().setSelection(0, 10, second + 5);
  EXPECT_EQ(state.selection(), (HexSelection{0, 8})) << "ends among the second row's offset";
  text().setSelection(0, second + 10, text().characterCount());
  EXPECT_EQ(state.selection(), (HexSelection{8, 8})) << "ends in the empty row";
  EXPECT_EQ(state.caretOffset(), 15);
  text().setSelection(0, 2, 7);
  EXPECT_EQ(state.selection(), HexSelection{}) << "an offset";
  text().setSelection(0, 2 * second, text().characterCount());
  EXPECT_EQ(state.selection(), HexSelection{}) << "the empty row";
  EXPECT_EQ(state.caretOffset(), 15);
}

TEST_F(HexEditorAccessibility, changesNothingWhileEditingIsDisabled) {
  state.setEditingEnabled(false);
  text().setCursorPosition(16);
  text().setSelection(0, 10, 18);
  EXPECT_EQ(state.caretOffset(), 0);
  EXPECT_EQ(state.selection(), HexSelection{});
}

TEST_F(HexEditorAccessibility, readsLinesAndCharacters) {
  int start = 0;
  int end = 0;
  const QString second = "00000008  08 09 0A 0B 0C 0D 0E 0F  ........\n";
  EXPECT_EQ(text().textAtOffset(50, QAccessible::LineBoundary, &start, &end), second);
  EXPECT_EQ(start, 44);
  EXPECT_TRUE(text()
                  .textBeforeOffset(50, QAccessible::LineBoundary, &start, &end)
                  .startsWith("00000000  00"));
  EXPECT_TRUE(text()
                  .textAfterOffset(50, QAccessible::LineBoundary, &start, &end)
                  .startsWith("00000010  10"));
  EXPECT_EQ(text().textAtOffset(44 + 7, QAccessible::CharBoundary, &start, &end), "8");
  EXPECT_EQ(text().textAfterOffset(44 + 6, QAccessible::CharBoundary, &start, &end), "8");
  EXPECT_EQ(text().textBeforeOffset(44 + 8, QAccessible::CharBoundary, &start, &end), "8");
}

TEST_F(HexEditorAccessibility, charactersLieWhereTheyAreSeen) {
  view.scrollTo({0, 10});
  state.setCaretOffset(9);
  const QRect rect = text().characterRect(text().cursorPosition());
  const QPoint inViewport = view.viewport()->mapFromGlobal(rect.center());
  EXPECT_EQ(geometry().offsetFor(view.documentPoint(inViewport), state.shape(), 0), 9);
  EXPECT_EQ(text().offsetAtPoint(rect.center()), text().cursorPosition());
  EXPECT_EQ(text().offsetAtPoint(view.viewport()->mapToGlobal(QPoint(5, -500))), -1);
}

TEST_F(HexEditorAccessibility, scrollsToAnyPart) {
  window.resize(760, 200);
  QApplication::processEvents();
  view.scrollTo({0, 30});
  text().scrollToSubstring(0, 5);
  EXPECT_EQ(view.scrollPosition().y, geometry().rowHeight());
}

TEST_F(HexEditorAccessibility, announcesTheCaretAndTheSelection) {
  state.setCaretOffset(1);
  const auto moved = HexEditorAccessible::caretEvent(view);
  ASSERT_EQ(moved->type(), QAccessible::TextCaretMoved);
  EXPECT_EQ(moved->object(), &view);
  EXPECT_EQ(static_cast<QAccessibleTextCursorEvent&>(*moved).cursorPosition(), 13);

  state.setSelection({.start = 1, .length = 2});
  const auto selected = HexEditorAccessible::caretEvent(view);
  ASSERT_EQ(selected->type(), QAccessible::TextSelectionChanged);
  const auto& selection = static_cast<QAccessibleTextSelectionEvent&>(*selected);
  EXPECT_EQ(selection.selectionStart(), 13);
  EXPECT_EQ(selection.selectionEnd(), 18);
  EXPECT_EQ(selection.cursorPosition(), 13);
}

/// Assistive technology that knows the text as it is.
class HexEditorListener : public HexEditorAccessibility {
 protected:
  void SetUp() override {
    HexEditorAccessibility::SetUp();
    known = allText();
  }

  struct Update {
    int position = -1;
    QString removed = {};
    QString inserted = {};
    bool operator==(const Update&) const = default;
  };

  /// What is told now; none when nothing is.
  std::optional<Update> update() {
    const auto event = HexEditorAccessible::textEvent(view, known);
    EXPECT_EQ(known, allText());
    if (!event) return std::nullopt;
    EXPECT_EQ(event->object(), &view);
    EXPECT_EQ(event->type(), QAccessible::TextUpdated);
    if (event->type() != QAccessible::TextUpdated) return std::nullopt;
    const auto& update = static_cast<QAccessibleTextUpdateEvent&>(*event);
    return Update{update.changePosition(), update.textRemoved(), update.textInserted()};
  }

  QString known;
};

TEST_F(HexEditorListener, hearsWhichDigitsWereTyped) {
  state.setCaretOffset(1);
  QTest::keyClick(&view, 'E');
  EXPECT_EQ(update(), (Update{13, "0", "E"}));
  QTest::keyClick(&view, 'F');
  EXPECT_EQ(update(), (Update{14, "1", "F"}));
  QTest::keyClick(&view, '0');
  EXPECT_EQ(update(), std::nullopt) << "the digit was there";
}

TEST_F(HexEditorListener, hearsWhatIsPastedDeletedAndReplaced) {
  state.paste(std::vector<std::uint8_t>{0xFF, 0xFE});
  EXPECT_EQ(update(), (Update{10, "00 01", "FF FE"}));

  QString expected = known;
  state.setCaretOffset(0);
  state.deleteSelectionOrByte(false);
  const auto deleted = update();
  ASSERT_TRUE(deleted);
  EXPECT_EQ(expected.replace(deleted->position, deleted->removed.size(), deleted->inserted), known);

  expected = known;
  setBytes(ByteBuffer::filled(30, 0x41));
  const auto reloaded = update();
  ASSERT_TRUE(reloaded);
  EXPECT_EQ(expected.replace(reloaded->position, reloaded->removed.size(), reloaded->inserted),
            known);
  EXPECT_EQ(update(), std::nullopt);
}

TEST_F(HexEditorListener, hearsOfChangesAmongEqualBytes) {
  setBytes(ByteBuffer::filled(30, 0));
  known = allText();
  state.setInsertMode(true);
  state.editByte(0);
  QString rebuilt = known;
  const auto inserted = update();
  ASSERT_TRUE(inserted);
  EXPECT_EQ(rebuilt.replace(inserted->position, inserted->removed.size(), inserted->inserted),
            known);
}

TEST_F(HexEditorListener, whoKnewNothingHearsThatAllRowsAreNew) {
  known.clear();
  const auto event = HexEditorAccessible::textEvent(view, known);
  ASSERT_TRUE(event);
  EXPECT_EQ(event->type(), QAccessible::VisibleDataChanged);
  EXPECT_EQ(event->object(), &view);
  EXPECT_EQ(known, allText());
}

}  // namespace
}  // namespace quillmor
