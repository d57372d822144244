#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "editor/HexEditorState.h"
#include "support/EditorDoubles.h"

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Edits = std::vector<test::AnnouncedEdit>;
using test::EditorFixture;

TEST(HexEditorTyping, theSameTwoDigitsAreNoEdit) {
  EditorFixture f({0x41, 0x42});
  f.type("4");
  EXPECT_TRUE(f.state->pendingLowNibbleEditAnnouncement());
  EXPECT_FALSE(f.state->editingHighNibble());
  EXPECT_EQ(f.state->caretOffset(), 0);
  f.type("1");
  EXPECT_TRUE(f.delegate->announced.empty());
  EXPECT_EQ(f.delegate->edits, 0);
  EXPECT_EQ(f.state->caretOffset(), 1);
  EXPECT_TRUE(f.state->editingHighNibble());
  EXPECT_FALSE(f.state->pendingLowNibbleEditAnnouncement());
}

TEST(HexEditorTyping, aChangedSecondDigitIsAnnouncedOnce) {
  EditorFixture f({0x41, 0x42});
  f.type("42");
  EXPECT_EQ(f.bytes(), (Bytes{0x42, 0x42}));
  EXPECT_EQ(f.delegate->announced, (Edits{{0, 1, 1}}));
  EXPECT_EQ(f.delegate->edits, 1);
  EXPECT_EQ(f.state->caretOffset(), 1);
}

TEST(HexEditorTyping, aChangedFirstDigitAnnouncesForBoth) {
  EditorFixture f({0x41, 0x42});
  f.type("7");
  EXPECT_EQ(f.bytes(), (Bytes{0x71, 0x42}));
  EXPECT_FALSE(f.state->editingHighNibble());
  EXPECT_EQ(f.state->caretOffset(), 0);
  f.type("f");
  EXPECT_EQ(f.bytes(), (Bytes{0x7F, 0x42}));
  EXPECT_EQ(f.delegate->announced, (Edits{{0, 1, 1}}));
  EXPECT_EQ(f.delegate->edits, 2);
  EXPECT_EQ(f.state->caretOffset(), 1);
}

TEST(HexEditorTyping, anUnchangedSecondDigitAfterAChangedFirstOnlyMovesOn) {
  EditorFixture f({0x41});
  f.type("71");
  EXPECT_EQ(f.bytes(), (Bytes{0x71}));
  EXPECT_EQ(f.delegate->edits, 1);
  EXPECT_EQ(f.state->caretOffset(), 1);
}

TEST(HexEditorTyping, insertModeMakesOneByteOfTwoDigits) {
  EditorFixture f({0x11, 0x22});
  f.state->setInsertMode(true);
  f.state->setCaretOffset(1);
  f.type("A");
  EXPECT_EQ(f.bytes(), (Bytes{0x11, 0xA0, 0x22}));
  EXPECT_EQ(f.state->caretOffset(), 1);
  f.type("B");
  EXPECT_EQ(f.bytes(), (Bytes{0x11, 0xAB, 0x22}));
  EXPECT_EQ(f.state->caretOffset(), 2);
  EXPECT_EQ(f.delegate->announced, (Edits{{1, 0, 1}}));
}

TEST(HexEditorTyping, aDigitAtTheEndAppendsInEitherMode) {
  for (const bool insertMode : {false, true}) {
    EditorFixture f({0x11});
    f.state->setInsertMode(insertMode);
    f.state->setCaretOffset(1);
    f.type("5");
    EXPECT_EQ(f.bytes(), (Bytes{0x11, 0x50}));
    EXPECT_EQ(f.delegate->announced, (Edits{{1, 0, 1}}));
    f.type("c");
    EXPECT_EQ(f.bytes(), (Bytes{0x11, 0x5C}));
    EXPECT_EQ(f.state->caretOffset(), 2);
  }
}

TEST(HexEditorTyping, aZeroDigitInsertedAtTheEndIsAnEditToo) {
  EditorFixture f;
  f.type("00");
  EXPECT_EQ(f.bytes(), (Bytes{0x00}));
  EXPECT_EQ(f.delegate->announced, (Edits{{0, 0, 1}}));
  EXPECT_EQ(f.delegate->edits, 1);
  EXPECT_EQ(f.state->caretOffset(), 1);
}

TEST(HexEditorTyping, aDigitReplacesTheSelectionByTheByteBeingTyped) {
  for (const bool insertMode : {false, true}) {
    auto f = EditorFixture::counting(8);
    f.state->setInsertMode(insertMode);
    f.state->setCaretOffset(6);
    f.state->setSelection({.start = 2, .length = 4});
    f.type("9");
    EXPECT_EQ(f.bytes(), (Bytes{0, 1, 0x90, 6, 7}));
    EXPECT_EQ(f.state->caretOffset(), 2);
    EXPECT_EQ(f.state->selection(), HexSelection{});
    f.type("e");
    EXPECT_EQ(f.bytes(), (Bytes{0, 1, 0x9E, 6, 7}));
    EXPECT_EQ(f.state->caretOffset(), 3);
    EXPECT_EQ(f.delegate->announced, (Edits{{2, 4, 1}}));
  }
}

TEST(HexEditorTyping, aSecondDigitPastTheEndCountsAsAFirst) {
  EditorFixture f({0x11});
  f.state->mouseDown(f.hexPoint(1, 1));
  ASSERT_EQ(f.state->caretOffset(), 1);
  ASSERT_FALSE(f.state->editingHighNibble());
  f.type("5");
  EXPECT_EQ(f.bytes(), (Bytes{0x11, 0x50}));
  EXPECT_EQ(f.delegate->announced, (Edits{{1, 0, 1}}));
}

TEST(HexEditorTyping, aSecondDigitAfterAClickOnItIsAnnounced) {
  EditorFixture f({0x11, 0x22});
  f.state->mouseDown(f.hexPoint(1, 1));
  f.state->mouseUp();
  f.type("5");
  EXPECT_EQ(f.bytes(), (Bytes{0x11, 0x25}));
  EXPECT_EQ(f.delegate->announced, (Edits{{1, 1, 1}}));
  EXPECT_EQ(f.delegate->unannouncedEdits, 0);
  f.state->mouseDown(f.hexPoint(0, 1));
  f.state->mouseUp();
  f.type("1");
  EXPECT_EQ(f.delegate->edits, 1);
}

TEST(HexEditorTyping, aMoveBetweenTheDigitsStartsANewByte) {
  EditorFixture f({0x11, 0x22});
  f.type("5");
  f.press(KeyPress::Key::right);
  f.type("6");
  EXPECT_EQ(f.bytes(), (Bytes{0x51, 0x62}));
}

TEST(HexEditorTyping, theHexColumnTakesHexDigitsOnly) {
  EditorFixture f({0x00});
  for (const char* text : {"g", "G", " ", "-", "x", "\r", "\x1b", "\xEF\xBC\x91", "\xC3\xA9"}) {
    f.state->handleTextInput(text);
  }
  EXPECT_EQ(f.beeper->count, 9);
  EXPECT_EQ(f.delegate->edits, 0);
  f.state->handleTextInput("");
  EXPECT_EQ(f.beeper->count, 9);
  f.state->handleTextInput("Az");
  EXPECT_EQ(f.bytes(), (Bytes{0xA0})) << "only the first character counts";
}

TEST(HexEditorTyping, everyHexDigitIsTaken) {
  const std::string digits = "0123456789abcdefABCDEF";
  for (std::size_t i = 0; i < digits.size(); ++i) {
    EditorFixture f;
    f.type(digits.substr(i, 1));
    const auto value = i < 16 ? i : i - 6;
    EXPECT_EQ(f.bytes(), (Bytes{static_cast<std::uint8_t>(value << 4)})) << digits[i];
  }
}

TEST(HexEditorTyping, theAsciiColumnTakesPrintableCharactersOnly) {
  EditorFixture f({1, 2, 3});
  f.state->setEditingArea(EditingArea::ascii);
  for (const char* text : {"\x1f", "\x7f", "\r", "\xC3\xA9"}) f.state->handleTextInput(text);
  EXPECT_EQ(f.beeper->count, 4);
  EXPECT_EQ(f.delegate->edits, 0);
  f.type(" ~");
  EXPECT_EQ(f.bytes(), (Bytes{0x20, 0x7E, 3}));
  EXPECT_EQ(f.beeper->count, 4);
}

TEST(HexEditorTyping, charactersOverwriteOrInsert) {
  EditorFixture f({'a', 'b', 'c'});
  f.state->setEditingArea(EditingArea::ascii);
  f.type("X");
  EXPECT_EQ(f.bytes(), (Bytes{'X', 'b', 'c'}));
  EXPECT_EQ(f.state->caretOffset(), 1);
  f.state->setInsertMode(true);
  f.type("Y");
  EXPECT_EQ(f.bytes(), (Bytes{'X', 'Y', 'b', 'c'}));
  EXPECT_EQ(f.state->caretOffset(), 2);
  f.state->setInsertMode(false);
  f.state->setCaretOffset(4);
  f.type("Z");
  EXPECT_EQ(f.bytes(), (Bytes{'X', 'Y', 'b', 'c', 'Z'}));
  EXPECT_EQ(f.state->caretOffset(), 5);
  EXPECT_EQ(f.delegate->announced, (Edits{{0, 1, 1}, {1, 0, 1}, {4, 0, 1}}));
}

TEST(HexEditorTyping, theCharacterThatIsThereIsNoEdit) {
  EditorFixture f({'a', 'b'});
  f.state->setEditingArea(EditingArea::ascii);
  f.delegate->clear();
  f.type("a");
  EXPECT_EQ(f.delegate->edits, 0);
  EXPECT_TRUE(f.delegate->announced.empty());
  EXPECT_GT(f.delegate->statusUpdates, 0);
  EXPECT_EQ(f.state->caretOffset(), 1);
}

TEST(HexEditorTyping, aCharacterReplacesTheSelection) {
  EditorFixture f({'a', 'b', 'c', 'd'});
  f.state->setEditingArea(EditingArea::ascii);
  f.state->setCaretOffset(3);
  f.state->setSelection({.start = 1, .length = 2});
  f.type("b");
  EXPECT_EQ(f.bytes(), (Bytes{'a', 'b', 'd'}));
  EXPECT_EQ(f.state->caretOffset(), 2);
  EXPECT_EQ(f.state->selection(), HexSelection{});
  EXPECT_EQ(f.delegate->announced, (Edits{{1, 2, 1}}));
}

TEST(HexEditorTyping, anEditBeyondTheMaximumBeepsAndChangesNothing) {
  EditorFixture f({1, 2, 3});
  f.state->setMaximumByteCount(3);
  f.state->setInsertMode(true);
  f.type("A");
  f.state->setEditingArea(EditingArea::ascii);
  f.type("A");
  EXPECT_EQ(f.beeper->count, 2);
  EXPECT_EQ(f.bytes(), (Bytes{1, 2, 3}));
  EXPECT_TRUE(f.delegate->announced.empty());
  f.state->setMaximumByteCount(4);
  f.type("A");
  EXPECT_EQ(f.bytes(), (Bytes{'A', 1, 2, 3}));
}

TEST(HexEditorTyping, isRefusedWhileEditingIsDisabled) {
  EditorFixture f({1});
  f.state->setEditingEnabled(false);
  f.state->editHexNibble(5);
  f.state->editByte(5);
  EXPECT_EQ(f.beeper->count, 2);
  EXPECT_EQ(f.bytes(), (Bytes{1}));
}

TEST(HexEditorTyping, growingOverARowLaysOutAgain) {
  EditorFixture f(Bytes(16 * 30 - 1));
  f.state->setCaretOffset(16 * 30 - 1);
  f.type("AB");
  EXPECT_EQ(f.surface->sizeChanges, 1);
  EXPECT_EQ(f.state->geometry().desiredDocumentSize().height, 20 * 32);
}

}  // namespace
}  // namespace quillmor
