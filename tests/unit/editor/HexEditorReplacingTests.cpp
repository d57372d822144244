#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>

#include "editor/HexEditorState.h"
#include "support/EditorDoubles.h"

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Edits = std::vector<test::AnnouncedEdit>;
using Key = KeyPress::Key;
using test::EditorFixture;

TEST(HexEditorDeleting, backspaceAndForwardDeleteRemoveOneByte) {
  auto f = EditorFixture::counting(5);
  f.state->setCaretOffset(3);
  f.press(Key::deleteBackward);
  EXPECT_EQ(f.bytes(), (Bytes{0, 1, 3, 4}));
  EXPECT_EQ(f.state->caretOffset(), 2);
  f.press(Key::deleteForward);
  EXPECT_EQ(f.bytes(), (Bytes{0, 1, 4}));
  EXPECT_EQ(f.state->caretOffset(), 2);
  EXPECT_EQ(f.delegate->announced, (Edits{{2, 1, 0}, {2, 1, 0}}));
  EXPECT_EQ(f.delegate->edits, 2);
}

TEST(HexEditorDeleting, showsWhatIsThereEvenWhenAccountingForItFails) {
  auto f = EditorFixture::counting(5);
  f.delegate->failsAfterEdits = true;
  const int contentChanges = f.surface->contentChanges;
  const int caretChanges = f.surface->caretChanges;
  EXPECT_THROW(f.state->deleteSelectionOrByte(/*backward=*/false), std::bad_alloc);
  EXPECT_EQ(f.bytes(), (Bytes{1, 2, 3, 4}));
  EXPECT_EQ(f.surface->contentChanges, contentChanges + 1);
  EXPECT_EQ(f.surface->caretChanges, caretChanges + 1);
}

TEST(HexEditorDeleting, doesNothingAtTheEnds) {
  auto f = EditorFixture::counting(2);
  f.press(Key::deleteBackward);
  f.state->setCaretOffset(2);
  f.press(Key::deleteForward);
  EXPECT_EQ(f.bytes(), (Bytes{0, 1}));
  EXPECT_EQ(f.beeper->count, 0);
  EXPECT_EQ(f.delegate->edits, 0);
}

TEST(HexEditorDeleting, removesTheSelection) {
  for (const bool backward : {false, true}) {
    auto f = EditorFixture::counting(6);
    f.state->setCaretOffset(4);
    f.state->setSelection({.start = 4, .length = 100});
    f.state->deleteSelectionOrByte(backward);
    EXPECT_EQ(f.bytes(), (Bytes{0, 1, 2, 3}));
    EXPECT_EQ(f.state->caretOffset(), 4);
    EXPECT_EQ(f.state->selection(), HexSelection{});
    EXPECT_EQ(f.delegate->announced, (Edits{{4, 2, 0}}));
  }
}

TEST(HexEditorDeleting, neverAsksForTheMaximum) {
  auto f = EditorFixture::counting(6);
  f.state->setMaximumByteCount(2);
  f.press(Key::deleteForward);
  EXPECT_EQ(f.state->storage()->count(), 5);
  EXPECT_EQ(f.beeper->count, 0);
}

TEST(HexEditorReplacing, putsBytesInPlaceOfTheSelectionAndSelectsThem) {
  auto f = EditorFixture::counting(6);
  f.state->setSelection({.start = 1, .length = 2});
  f.state->replaceSelection(Bytes{0xAA, 0xBB, 0xCC});
  EXPECT_EQ(f.bytes(), (Bytes{0, 0xAA, 0xBB, 0xCC, 3, 4, 5}));
  EXPECT_EQ(f.state->selection(), (HexSelection{1, 3}));
  EXPECT_EQ(f.state->caretOffset(), 4);
  EXPECT_EQ(f.delegate->announced, (Edits{{1, 2, 3}}));
}

TEST(HexEditorReplacing, overwritesAtTheCaretAndGrowsAtTheEnd) {
  auto f = EditorFixture::counting(4);
  f.state->setCaretOffset(2);
  f.state->replaceSelection(Bytes{7, 8, 9});
  EXPECT_EQ(f.bytes(), (Bytes{0, 1, 7, 8, 9}));
  EXPECT_EQ(f.delegate->announced, (Edits{{2, 2, 3}}));
  EXPECT_EQ(f.state->caretOffset(), 5);
  EXPECT_EQ(f.state->selection(), (HexSelection{2, 3}));
}

TEST(HexEditorReplacing, insertsAtTheCaretInInsertMode) {
  auto f = EditorFixture::counting(3);
  f.state->setInsertMode(true);
  f.state->setCaretOffset(1);
  f.state->replaceSelection(Bytes{9, 9});
  EXPECT_EQ(f.bytes(), (Bytes{0, 9, 9, 1, 2}));
  EXPECT_EQ(f.delegate->announced, (Edits{{1, 0, 2}}));
}

TEST(HexEditorReplacing, noBytesRemoveTheSelectionOrDoNothing) {
  auto f = EditorFixture::counting(3);
  f.state->replaceSelection({});
  EXPECT_EQ(f.delegate->edits, 0);
  f.state->setSelection({.start = 0, .length = 2});
  f.state->replaceSelection({});
  EXPECT_EQ(f.bytes(), (Bytes{2}));
  EXPECT_EQ(f.delegate->announced, (Edits{{0, 2, 0}}));
  EXPECT_EQ(f.state->selection(), (HexSelection{0, 0}));
}

TEST(HexEditorReplacing, beyondTheMaximumBeepsAndChangesNothing) {
  auto f = EditorFixture::counting(3);
  f.state->setMaximumByteCount(4);
  f.state->setSelection({.start = 1, .length = 1});
  f.state->replaceSelection(Bytes{1, 2, 3});
  f.state->paste(Bytes{1, 2, 3});
  EXPECT_EQ(f.beeper->count, 2);
  EXPECT_EQ(f.bytes(), (Bytes{0, 1, 2}));
  EXPECT_EQ(f.state->selection(), (HexSelection{1, 1}));
  EXPECT_TRUE(f.delegate->announced.empty());
}

TEST(HexEditorReplacing, canApplyEditSurvivesHostileCounts) {
  auto f = EditorFixture::counting(3);
  EXPECT_TRUE(f.state->canApplyEdit(-5, -5));
  EXPECT_TRUE(f.state->canApplyEdit(kMaxInt64, kMaxInt64)) << "all three bytes go";
  EXPECT_EQ(f.beeper->count, 0);
  EXPECT_FALSE(f.state->canApplyEdit(0, kMaxInt64)) << "the new count overflows";
  EXPECT_EQ(f.beeper->count, 1);
}

TEST(HexEditorPasting, overwritesAndSelectsNothing) {
  auto f = EditorFixture::counting(6);
  f.state->setCaretOffset(1);
  f.state->paste(Bytes{9, 9});
  EXPECT_EQ(f.bytes(), (Bytes{0, 9, 9, 3, 4, 5}));
  EXPECT_EQ(f.state->selection(), HexSelection{});
  EXPECT_EQ(f.state->caretOffset(), 3);
  EXPECT_EQ(f.delegate->announced, (Edits{{1, 2, 2}}));
}

TEST(HexEditorPasting, theSameBytesOverASelectionAreNoEdit) {
  auto f = EditorFixture::counting(6);
  f.state->setSelection({.start = 2, .length = 2});
  f.state->paste(Bytes{2, 3});
  EXPECT_EQ(f.delegate->edits, 0);
  EXPECT_TRUE(f.delegate->announced.empty());
  EXPECT_EQ(f.state->caretOffset(), 4);
  EXPECT_EQ(f.state->selection(), HexSelection{});
}

TEST(HexEditorPasting, theSameBytesAtTheCaretAreNoEdit) {
  auto f = EditorFixture::counting(6);
  f.state->setCaretOffset(4);
  f.state->paste(Bytes{4, 5});
  EXPECT_EQ(f.delegate->edits, 0);
  EXPECT_EQ(f.state->caretOffset(), 6);
  f.state->setCaretOffset(4);
  f.state->paste(Bytes{4, 5, 6});
  EXPECT_EQ(f.bytes(), (Bytes{0, 1, 2, 3, 4, 5, 6})) << "one byte too many to be the same";
  EXPECT_EQ(f.delegate->announced, (Edits{{4, 2, 3}}));
}

TEST(HexEditorPasting, theSameBytesInInsertModeAreInserted) {
  auto f = EditorFixture::counting(2);
  f.state->setInsertMode(true);
  f.state->paste(Bytes{0, 1});
  EXPECT_EQ(f.bytes(), (Bytes{0, 1, 0, 1}));
}

TEST(HexEditorPasting, nothingPastedDoesNothing) {
  auto f = EditorFixture::counting(2);
  f.state->setSelection({.start = 0, .length = 1});
  f.state->paste({});
  EXPECT_EQ(f.bytes(), (Bytes{0, 1}));
  EXPECT_EQ(f.beeper->count, 0);
}

TEST(HexEditorPasting, everyChangeIsRefusedWhileEditingIsDisabled) {
  auto f = EditorFixture::counting(2);
  f.state->setEditingEnabled(false);
  f.state->paste(Bytes{9});
  f.state->paste({});
  f.state->replaceSelection(Bytes{9});
  f.state->deleteSelectionOrByte(false);
  EXPECT_EQ(f.beeper->count, 4);
  EXPECT_EQ(f.bytes(), (Bytes{0, 1}));
}

}  // namespace
}  // namespace quillmor
