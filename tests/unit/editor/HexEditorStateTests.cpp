// The state's fields, the mouse and the keyboard. Typing and replacing have files of their own.

#include "editor/HexEditorState.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/EditorDoubles.h"

namespace quillmor {
namespace {

using test::EditorFixture;
using Key = KeyPress::Key;

TEST(HexEditorState, beginsEmptyInOverwriteMode) {
  test::CountingBeeper beeper;
  const HexEditorState state(beeper);
  EXPECT_EQ(state.storage()->count(), 0);
  EXPECT_EQ(state.bytesPerRow(), 16);
  EXPECT_FALSE(state.insertMode());
  EXPECT_EQ(state.caretOffset(), 0);
  EXPECT_EQ(state.selection(), HexSelection{});
  EXPECT_TRUE(state.isEditingEnabled());
  EXPECT_EQ(state.maximumByteCount(), kMaxInt64);
  EXPECT_EQ(state.editingArea(), EditingArea::hex);
  EXPECT_TRUE(state.editingHighNibble());
  EXPECT_FALSE(state.pendingLowNibbleEditAnnouncement());
  EXPECT_EQ(state.trackingDragStart(), std::nullopt);
  EXPECT_EQ(state.selectionAnchor(), std::nullopt);
}

TEST(HexEditorState, clampsTheBytesPerRow) {
  EditorFixture f;
  f.state->setBytesPerRow(4);
  EXPECT_EQ(f.state->bytesPerRow(), 8);
  f.state->setBytesPerRow(100);
  EXPECT_EQ(f.state->bytesPerRow(), 32);
  f.state->setBytesPerRow(-1);
  EXPECT_EQ(f.state->bytesPerRow(), 8);
}

TEST(HexEditorState, currentBytesPerRowCauseNoLayout) {
  auto f = EditorFixture::counting(1000);
  const int before = f.surface->redraws;
  f.state->setBytesPerRow(16);
  EXPECT_EQ(f.surface->sizeChanges, 0);
  EXPECT_EQ(f.surface->redraws, before);
  f.state->setBytesPerRow(8);
  EXPECT_EQ(f.surface->sizeChanges, 1);
  EXPECT_GT(f.surface->redraws, before);
  f.state->setBytesPerRow(1);
  EXPECT_EQ(f.surface->sizeChanges, 1) << "clamped to the current value";
}

TEST(HexEditorState, settingTheCaretClampsScrollsAndReports) {
  auto f = EditorFixture::counting(40);
  f.state->setCaretOffset(-7);
  EXPECT_EQ(f.state->caretOffset(), 0);
  f.state->setCaretOffset(1000);
  EXPECT_EQ(f.state->caretOffset(), 40);
  ASSERT_FALSE(f.surface->scrolledTo.empty());
  EXPECT_EQ(f.surface->scrolledTo.back(), f.state->caretDrawingRect().enlarged(4, 2));
  EXPECT_EQ(f.delegate->statusUpdates, 2);
  EXPECT_EQ(f.surface->redraws, 2);
  EXPECT_EQ(f.surface->caretChanges, 2);
}

TEST(HexEditorState, settingTheCaretExpectsAFirstDigitAndForgetsTheAnchor) {
  auto f = EditorFixture::counting(40);
  f.state->mouseDown(f.hexPoint(5, 1));
  ASSERT_FALSE(f.state->editingHighNibble());
  ASSERT_EQ(f.state->selectionAnchor(), 5);
  f.state->setCaretOffset(5);
  EXPECT_TRUE(f.state->editingHighNibble());
  EXPECT_EQ(f.state->selectionAnchor(), std::nullopt);
}

TEST(HexEditorState, settingTheCaretDropsADeferredAnnouncement) {
  EditorFixture f({0x41});
  f.type("4");
  ASSERT_TRUE(f.state->pendingLowNibbleEditAnnouncement());
  f.state->setCaretOffset(0);
  EXPECT_FALSE(f.state->pendingLowNibbleEditAnnouncement());
}

TEST(HexEditorState, settingTheSelectionReportsAndRedraws) {
  auto f = EditorFixture::counting(40);
  f.state->setSelection({.start = -5, .length = 900});
  EXPECT_EQ(f.state->selection(), (HexSelection{-5, 900})) << "kept as given";
  EXPECT_EQ(f.delegate->statusUpdates, 1);
  EXPECT_EQ(f.surface->redraws, 1);
}

TEST(HexEditorState, disablingEditingRedrawsForTheCaret) {
  EditorFixture f;
  f.state->setEditingEnabled(false);
  EXPECT_EQ(f.surface->redraws, 1);
  f.state->setEditingEnabled(false);
  EXPECT_EQ(f.surface->redraws, 1);
}

TEST(HexEditorState, clampedOffsetStopsAtTheEnds) {
  auto f = EditorFixture::counting(10);
  EXPECT_EQ(f.state->clampedOffset(4, 3), 7);
  EXPECT_EQ(f.state->clampedOffset(4, -5), 0);
  EXPECT_EQ(f.state->clampedOffset(4, 7), 10);
  EXPECT_EQ(f.state->clampedOffset(4, kMaxInt64), 10);
  EXPECT_EQ(f.state->clampedOffset(-4, kMinInt64), 0);
}

TEST(HexEditorState, worksWithoutDelegateAndSurface) {
  test::CountingBeeper beeper;
  HexEditorState state(beeper);
  state.keyDown({.characters = "A"});
  state.keyDown({.characters = "5"});
  EXPECT_EQ(test::bytesOf(state), (std::vector<std::uint8_t>{0xA5}));
}

TEST(HexEditorState, tellsASurfaceThatItIsNoLongerUsed) {
  EditorFixture f;
  f.state->setSurface(f.surface.get());
  EXPECT_EQ(f.surface->detachments, 0);
  f.state->setSurface(nullptr);
  EXPECT_EQ(f.surface->detachments, 1);
  f.state->setSurface(f.surface.get());
  f.state.reset();
  EXPECT_EQ(f.surface->detachments, 2);
}

TEST(HexEditorState, tellsItsSurfaceOnceAboutEveryChangeOfBytes) {
  auto f = EditorFixture::counting(40);
  int changes = 0;
  const auto expectOneMore = [&](const char* what) {
    EXPECT_EQ(f.surface->contentChanges, ++changes) << what;
  };
  f.type("A");
  expectOneMore("first digit");
  f.type("B");
  expectOneMore("second digit");
  f.state->editByte('x');
  expectOneMore("character");
  f.state->setInsertMode(true);
  f.type("C");
  expectOneMore("inserted byte");
  f.press(Key::deleteForward);
  expectOneMore("deleted byte");
  f.state->paste(std::vector<std::uint8_t>{1, 2, 3});
  expectOneMore("paste");
  f.state->replaceSelection(std::vector<std::uint8_t>{1, 2, 3});
  expectOneMore("replacement");
  f.delegate->rememberBytes();
  f.state->setStorage(std::make_shared<HexStorage>());
  f.state->recalcMetrics();
  expectOneMore("another document");
  f.state->setBytesPerRow(8);
  expectOneMore("rows of another length");
}

TEST(HexEditorState, tellsItsSurfaceNothingAboutBytesThatStayAsTheyAre) {
  EditorFixture f({0x41, 0x42});
  f.type("4");
  f.type("1");
  f.state->setEditingArea(EditingArea::ascii);
  f.type("B");
  f.press(Key::left);
  f.state->setSelection({.start = 0, .length = 2});
  EXPECT_EQ(f.surface->contentChanges, 0);
}

TEST(HexEditorState, theFirstDigitMovesTheCaretToTheSecond) {
  EditorFixture f({0x41, 0x42});
  f.type("4");
  EXPECT_EQ(f.surface->caretChanges, 1) << "though no byte has changed";
  f.state->setCaretOffset(1);
  f.type("7");
  EXPECT_EQ(f.surface->caretChanges, 3);
}

// Mouse

TEST(HexEditorStateMouse, aClickSetsCaretColumnAndFocus) {
  auto f = EditorFixture::counting(40);
  f.state->mouseDown(f.asciiPoint(18));
  EXPECT_EQ(f.surface->focusRequests, 1);
  EXPECT_EQ(f.state->editingArea(), EditingArea::ascii);
  EXPECT_EQ(f.state->caretOffset(), 18);
  EXPECT_EQ(f.state->selection(), (HexSelection{18, 0}));
  EXPECT_EQ(f.state->trackingDragStart(), 18);
  EXPECT_EQ(f.state->selectionAnchor(), 18);
  EXPECT_TRUE(f.state->editingHighNibble());
  f.state->mouseUp();
  EXPECT_EQ(f.state->trackingDragStart(), std::nullopt);
  f.state->mouseDown(f.hexPoint(3));
  EXPECT_EQ(f.state->editingArea(), EditingArea::hex);
  EXPECT_EQ(f.state->caretOffset(), 3);
  EXPECT_TRUE(f.state->editingHighNibble());
}

TEST(HexEditorStateMouse, aClickOnTheSecondDigitExpectsTheSecondDigit) {
  auto f = EditorFixture::counting(40);
  f.state->mouseDown(f.hexPoint(3, 1));
  EXPECT_FALSE(f.state->editingHighNibble());
  f.state->mouseDown(f.hexPoint(3, 2));
  EXPECT_FALSE(f.state->editingHighNibble()) << "the gap belongs to the digit before it";
  f.state->mouseDown({f.state->geometry().hexStart() - 1, f.hexPoint(3).y});
  EXPECT_TRUE(f.state->editingHighNibble()) << "left of the hex cells";
  f.state->mouseDown(f.asciiPoint(3));
  EXPECT_TRUE(f.state->editingHighNibble());
}

TEST(HexEditorStateMouse, aDigitAfterAClickOnTheSecondDigitIsAnEditOfItsOwn) {
  EditorFixture f({0x11, 0x22, 0x33});
  f.state->mouseDown(f.hexPoint(1, 1));
  f.type("7");
  EXPECT_EQ(f.bytes(), (std::vector<std::uint8_t>{0x11, 0x27, 0x33}));
  EXPECT_EQ(f.delegate->announced, (std::vector<test::AnnouncedEdit>{{1, 1, 1}}));
  EXPECT_EQ(f.delegate->edits, 1);
  EXPECT_EQ(f.state->caretOffset(), 2);
}

TEST(HexEditorStateMouse, draggingSelectsBothEnds) {
  auto f = EditorFixture::counting(40);
  f.state->mouseDown(f.hexPoint(5));
  f.state->mouseDragged(f.hexPoint(9));
  EXPECT_EQ(f.state->selection(), (HexSelection{5, 5}));
  EXPECT_EQ(f.state->caretOffset(), 9);
  EXPECT_EQ(f.state->selectionAnchor(), 5);
  f.state->mouseDragged(f.hexPoint(2));
  EXPECT_EQ(f.state->selection(), (HexSelection{2, 4}));
  f.state->mouseDragged(f.hexPoint(5));
  EXPECT_EQ(f.state->selection(), (HexSelection{5, 1}));
}

TEST(HexEditorStateMouse, draggingOntoTheEndAddsNoByte) {
  auto f = EditorFixture::counting(40);
  f.state->mouseDown(f.hexPoint(38));
  f.state->mouseDragged({f.hexPoint(38).x, 5000});
  EXPECT_EQ(f.state->caretOffset(), 40);
  EXPECT_EQ(f.state->selection(), (HexSelection{38, 2}));
}

TEST(HexEditorStateMouse, draggingNeedsAPressBefore) {
  auto f = EditorFixture::counting(40);
  f.state->mouseDragged(f.hexPoint(9));
  EXPECT_EQ(f.state->caretOffset(), 0);
  f.state->mouseDown(f.hexPoint(5));
  f.state->mouseUp();
  f.state->mouseDragged(f.hexPoint(9));
  EXPECT_EQ(f.state->caretOffset(), 5);
}

TEST(HexEditorStateMouse, isSilentlyRefusedWhileEditingIsDisabled) {
  auto f = EditorFixture::counting(40);
  f.state->mouseDown(f.hexPoint(2));
  f.state->setEditingEnabled(false);
  f.state->mouseDragged(f.hexPoint(9));
  f.state->mouseDown(f.asciiPoint(7));
  EXPECT_EQ(f.state->caretOffset(), 2);
  EXPECT_EQ(f.state->editingArea(), EditingArea::hex);
  EXPECT_EQ(f.surface->focusRequests, 1);
  EXPECT_EQ(f.beeper->count, 0);
}

// Keyboard

TEST(HexEditorStateKeyboard, arrowsMoveByBytesAndRows) {
  auto f = EditorFixture::counting(100);
  f.state->setCaretOffset(40);
  f.press(Key::left);
  EXPECT_EQ(f.state->caretOffset(), 39);
  f.press(Key::right);
  EXPECT_EQ(f.state->caretOffset(), 40);
  f.press(Key::down);
  EXPECT_EQ(f.state->caretOffset(), 56);
  f.press(Key::up);
  EXPECT_EQ(f.state->caretOffset(), 40);
  f.state->setBytesPerRow(8);
  f.press(Key::down);
  EXPECT_EQ(f.state->caretOffset(), 48);
}

TEST(HexEditorStateKeyboard, arrowsStopSilentlyAtTheEnds) {
  auto f = EditorFixture::counting(20);
  f.press(Key::left);
  f.press(Key::up);
  EXPECT_EQ(f.state->caretOffset(), 0);
  f.press(Key::down);
  f.press(Key::down);
  EXPECT_EQ(f.state->caretOffset(), 20);
  f.press(Key::right);
  EXPECT_EQ(f.state->caretOffset(), 20);
  EXPECT_EQ(f.beeper->count, 0);
}

TEST(HexEditorStateKeyboard, shiftRightSelectsTheAnchorByteAndTheByteUnderTheCaret) {
  auto f = EditorFixture::counting(8);
  f.state->setCaretOffset(5);
  f.press(Key::right, true);
  EXPECT_EQ(f.state->selection(), (HexSelection{5, 2}));
  EXPECT_EQ(f.state->caretOffset(), 6);
  EXPECT_EQ(f.state->selectionAnchor(), 5);
  f.press(Key::left, true);
  EXPECT_EQ(f.state->selection(), (HexSelection{5, 1}));
  EXPECT_EQ(f.state->caretOffset(), 5);
}

TEST(HexEditorStateKeyboard, extendingOntoTheEndCountsNoByteThere) {
  auto f = EditorFixture::counting(7);
  f.state->setCaretOffset(5);
  f.press(Key::right, true);
  EXPECT_EQ(f.state->selection(), (HexSelection{5, 2}));
  f.press(Key::right, true);
  EXPECT_EQ(f.state->caretOffset(), 7);
  EXPECT_EQ(f.state->selection(), (HexSelection{5, 2}));
}

TEST(HexEditorStateKeyboard, extendingPassesOverTheAnchor) {
  auto f = EditorFixture::counting(100);
  f.state->setCaretOffset(20);
  f.press(Key::down, true);
  EXPECT_EQ(f.state->selection(), (HexSelection{20, 17}));
  f.press(Key::up, true);
  f.press(Key::up, true);
  EXPECT_EQ(f.state->caretOffset(), 4);
  EXPECT_EQ(f.state->selection(), (HexSelection{4, 17}));
}

TEST(HexEditorStateKeyboard, extendsAGivenSelectionFromItsFarEnd) {
  auto f = EditorFixture::counting(100);
  f.state->setCaretOffset(10);
  f.state->setSelection({.start = 10, .length = 5});
  f.press(Key::left, true);
  EXPECT_EQ(f.state->selectionAnchor(), 14);
  EXPECT_EQ(f.state->selection(), (HexSelection{9, 6}));

  f.state->setCaretOffset(15);
  f.state->setSelection({.start = 10, .length = 5});
  f.press(Key::right, true);
  EXPECT_EQ(f.state->selectionAnchor(), 10);
  EXPECT_EQ(f.state->selection(), (HexSelection{10, 7}));
}

TEST(HexEditorStateKeyboard, aPlainArrowClearsTheSelection) {
  auto f = EditorFixture::counting(100);
  f.state->setCaretOffset(20);
  f.press(Key::right, true);
  f.press(Key::right);
  EXPECT_EQ(f.state->selection(), HexSelection{});
  EXPECT_EQ(f.state->selectionAnchor(), std::nullopt);
  EXPECT_EQ(f.state->caretOffset(), 22);
}

TEST(HexEditorStateKeyboard, keysWithoutTextAndCommandKeysGoToTheToolkit) {
  EditorFixture f({0x10});
  EXPECT_FALSE(f.state->keyDown({.characters = {}}));
  EXPECT_FALSE(f.state->keyDown({.command = true, .characters = "a"}));
  EXPECT_TRUE(f.state->keyDown({.characters = "a"}));
  EXPECT_TRUE(f.state->keyDown({.key = Key::left, .command = true, .characters = {}}));
  EXPECT_EQ(f.beeper->count, 0);
}

TEST(HexEditorStateKeyboard, refusesBeforeLookingForText) {
  EditorFixture f({0x10});
  f.state->setEditingEnabled(false);
  EXPECT_TRUE(f.state->keyDown({.characters = {}}));
  EXPECT_EQ(f.beeper->count, 1);
}

TEST(HexEditorStateKeyboard, namedKeysNeedNoText) {
  auto f = EditorFixture::counting(10);
  EXPECT_TRUE(f.state->keyDown({.key = Key::right, .characters = {}}));
  EXPECT_TRUE(f.state->keyDown({.key = Key::deleteBackward, .characters = "\b"}));
  EXPECT_EQ(f.state->storage()->count(), 9);
}

TEST(HexEditorStateKeyboard, everyKeyIsRefusedWhileEditingIsDisabled) {
  auto f = EditorFixture::counting(10);
  f.state->setCaretOffset(3);
  f.state->setEditingEnabled(false);
  f.press(Key::left);
  f.press(Key::deleteBackward);
  f.press(Key::deleteForward);
  f.type("A");
  EXPECT_EQ(f.beeper->count, 4);
  EXPECT_EQ(f.state->caretOffset(), 3);
  EXPECT_EQ(f.state->storage()->count(), 10);
}

}  // namespace
}  // namespace quillmor
