// The values at the caret: the detail report and the two small editors.

#include "support/WindowFixture.h"

namespace quillmor::test {
namespace {

constexpr const char* kBusy =
    "Another operation is already running. Wait for it to finish before editing.";
constexpr const char* kEdit = "Edit Current Value";
constexpr const char* kEditMessage = "Select a type and enter a value.";
constexpr const char* kBits = "Bit Editor";
constexpr const char* kBitsMessage = "Enter 8 bits for the current byte.";

class WindowValues : public WindowFixture {
 protected:
  void edit(const EditorUnderTest& editor, std::size_t type, const std::string& value,
            const std::string& button = "Apply") {
    platform.alerts.expect(kEdit, kEditMessage, button, {"", value});
    platform.alerts.chooseInNext(0, type);
    editor->perform("forwardEditCurrentValue:");
  }

  void editBits(const EditorUnderTest& editor, const std::string& bits,
                const std::string& button = "OK") {
    platform.alerts.expect(kBits, kBitsMessage, button, {bits});
    editor->perform("forwardBitEditor:");
  }
};

TEST_F(WindowValues, areReportedInDetail) {
  auto editor = makeEditor(std::string("\x00\x00\x80\x3F!", 5));
  editor->perform("forwardShowDataInspectorDetail:");
  ASSERT_EQ(editor.window->reports.size(), 1U);
  EXPECT_EQ(editor.window->reports[0].first, "Data Inspector");
  EXPECT_EQ(editor.window->reports[0].second,
            "Offset: 0x00000000\nUInt8: 0\nInt8: 0\nHex: 0x00\n"
            "UInt16 LE: 0x0000 / 0\nUInt16 BE: 0x0000 / 0\n"
            "UInt32 LE: 0x3F800000 / 1065353216\nUInt32 BE: 0x0000803F / 32831\n"
            "Float32 LE: 1.0");
}

TEST_F(WindowValues, areNotReportedAtTheEnd) {
  auto editor = makeEditor("a");
  editor.editor().setCaretOffset(1);
  platform.alerts.expect("Data Inspector", "Caret is at EOF.");
  editor->perform("forwardShowDataInspectorDetail:");
  EXPECT_TRUE(editor.window->reports.empty());
  EXPECT_EQ(editor.window->inspectorText, "EOF");
}

TEST_F(WindowValues, ofTheLastByteAreThreeOnTheLine) {
  auto editor = makeEditor("ab");
  editor.editor().setCaretOffset(1);
  EXPECT_EQ(editor.window->inspectorText, "UInt8: 98  |  Int8: 98  |  Hex: 0x62");
}

TEST_F(WindowValues, areWrittenOverTheBytesAtTheCaret) {
  auto editor = makeEditor("abcdef");
  editor.editor().setCaretOffset(1);
  edit(editor, 4, "0x11223344");
  EXPECT_EQ(editor.text(),
            "a\x11\x22\x33\x44"
            "f");
  EXPECT_EQ(editor.editor().caretOffset(), 1);
  EXPECT_EQ(editor.editor().selection(), (HexSelection{1, 4}));
  EXPECT_EQ(editor.document->undoManager().undoActionName(), "Edit Value");
  edit(editor, 3, "0x11223344");
  EXPECT_EQ(editor.text(),
            "a\x44\x33\x22\x11"
            "f");
  edit(editor, 0, "FFh");
  EXPECT_EQ(editor.text(),
            "a\xFF\x33\x22\x11"
            "f");
  edit(editor, 5, "A");
  EXPECT_EQ(editor.text(),
            "aA\x33\x22\x11"
            "f");
  for (int step = 0; step < 4; ++step) editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), "abcdef");
  EXPECT_FALSE(editor.document->isDocumentEdited());
}

TEST_F(WindowValues, areOfferedInSixTypes) {
  auto editor = makeEditor("abcdef");
  edit(editor, 0, "1", "Cancel");
  const Alert& form = platform.alerts.shown()[0];
  EXPECT_EQ(form.buttons, (std::vector<std::string>{"Apply", "Cancel"}));
  EXPECT_EQ(form.formWidth, 420);
  ASSERT_EQ(form.fields.size(), 2U);
  EXPECT_EQ(form.fields[0].label, "Type:");
  EXPECT_EQ(form.fields[0].choices,
            (std::vector<std::string>{"UInt8", "UInt16 LE", "UInt16 BE", "UInt32 LE", "UInt32 BE",
                                      "ASCII Character"}));
  EXPECT_EQ(form.fields[1].label, "Value:");
  EXPECT_EQ(form.fields[1].placeholder, "Value");
  EXPECT_EQ(editor.text(), "abcdef");
}

TEST_F(WindowValues, outOfTheTypesRangeAreRefused) {
  auto editor = makeEditor("abcdef");
  const std::pair<std::size_t, const char*> wrong[] = {
      {0, "0x1FF"}, {0, "-1"}, {0, ""}, {1, "65536"}, {3, "4294967296"}, {5, "\xC3\xA9"}, {5, "AB"},
  };
  for (const auto& [type, value] : wrong) {
    platform.alerts.expectRefusedAnswer(kEdit, kEditMessage, "Apply", {"", value},
                                        "Invalid value for selected type.");
    platform.alerts.chooseInNext(0, type);
    editor->perform("forwardEditCurrentValue:");
  }
  EXPECT_EQ(editor.text(), "abcdef");
  EXPECT_FALSE(editor.document->undoManager().canUndo());
}

TEST_F(WindowValues, keepTheTypeAndTheTextOfARefusedAnswer) {
  auto editor = makeEditor("abcdef");
  platform.alerts.expect(kEdit, kEditMessage, "Apply", {"", "70000"});
  platform.alerts.chooseInNext(0, 2);
  platform.alerts.expect(kEdit, "Invalid value for selected type.");
  platform.alerts.expect(kEdit, kEditMessage, "Apply", {"", "0x7A7B"});
  editor->perform("forwardEditCurrentValue:");
  const Alert& again = platform.alerts.shown()[2];
  EXPECT_EQ(again.fields[0].selectedChoice, 2U);
  EXPECT_EQ(again.fields[1].text, "70000");
  EXPECT_EQ(again.focusedField, 1U);
}

TEST_F(WindowValues, areShownAsBytesWhileTheyAreTyped) {
  auto editor = makeEditor("abcdef");
  edit(editor, 0, "1", "Cancel");
  const auto note = [&](const std::string& typed, std::size_t type) {
    return platform.alerts.shown()[0].fields.at(1).note(
        {.texts = {"", typed}, .selectedChoices = {type, 0}});
  };
  EXPECT_EQ(note("0x11223344", 3), "4 bytes: 44 33 22 11");
  EXPECT_EQ(note("0x11223344", 4), "4 bytes: 11 22 33 44");
  EXPECT_EQ(note("256", 0), "not a value of this type");
  EXPECT_EQ(note("", 0), "");
  editBits(editor, "1", "Cancel");
  const auto bits = platform.alerts.shown()[1].fields.at(0).note;
  EXPECT_EQ(bits({.texts = {"11110000"}, .selectedChoices = {0}}), "1 byte: F0");
  EXPECT_EQ(bits({.texts = {"1111000"}, .selectedChoices = {0}}), "not 8 bits");
}

TEST_F(WindowValues, thatDoNotFitBeforeTheEndAreRefused) {
  auto editor = makeEditor("ab");
  editor.editor().setCaretOffset(1);
  platform.alerts.expectRefusedAnswer(kEdit, kEditMessage, "Apply", {"", "1"},
                                      "Selected type does not fit before EOF.");
  platform.alerts.chooseInNext(0, 1);
  editor->perform("forwardEditCurrentValue:");
  EXPECT_EQ(editor.text(), "ab");
}

TEST_F(WindowValues, areWrittenWhereTheCaretIsAfterTheDialog) {
  auto editor = makeEditor("abcdef");
  platform.alerts.duringNext([&] { editor.editor().setCaretOffset(5); });
  edit(editor, 0, "0x5A");
  EXPECT_EQ(editor.text(), "abcdeZ");
}

TEST_F(WindowValues, alreadyPresentRecordNothing) {
  auto editor = makeEditor("abcdef");
  edit(editor, 0, "0x61");
  EXPECT_FALSE(editor.document->undoManager().canUndo());
  EXPECT_FALSE(editor.document->isDocumentEdited());
}

TEST_F(WindowValues, areNotEditedWhileBusyOrAtTheEnd) {
  auto editor = makeEditor("a");
  editor.editor().setCaretOffset(1);
  platform.alerts.expect(kEdit, "Caret is at EOF.");
  editor->perform("forwardEditCurrentValue:");
  platform.alerts.expect(kBits, "Caret is at EOF.");
  editor->perform("forwardBitEditor:");
  BusyScope busy = editor->context().frame().beginBusyStatus("Working…");
  platform.alerts.expect(kEdit, kBusy);
  editor->perform("forwardEditCurrentValue:");
  platform.alerts.expect(kBits, kBusy);
  editor->perform("forwardBitEditor:");
}

TEST_F(WindowValues, canBeEditedBitByBit) {
  auto editor = makeEditor("ab");
  editor.editor().setCaretOffset(1);
  editBits(editor, "00000001");
  EXPECT_EQ(platform.alerts.shown()[0].fields[0].text, "01100010");
  EXPECT_EQ(editor.text(), "a\x01");
  EXPECT_EQ(editor.editor().caretOffset(), 1);
  EXPECT_EQ(editor.editor().selection(), (HexSelection{1, 1}));
  editBits(editor, "00000001");
  editBits(editor, "11111111", "Cancel");
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), "ab");
  EXPECT_FALSE(editor.document->undoManager().canUndo());
}

TEST_F(WindowValues, wrongBitsAreRefused) {
  auto editor = makeEditor("ab");
  for (const char* bits : {"", "0", "0000000", "0000000x", "1111 111"}) {
    platform.alerts.expectRefusedAnswer(kBits, kBitsMessage, "OK", {bits},
                                        "Invalid bit string. Enter exactly 8 bits.");
    editor->perform("forwardBitEditor:");
  }
  for (const std::string& bits : {std::string("000000000"), std::string(10'000, '1')}) {
    platform.alerts.expectRefusedAnswer(kBits, kBitsMessage, "OK", {bits}, "Input is too large.");
    editor->perform("forwardBitEditor:");
  }
  EXPECT_EQ(editor.text(), "ab");
  EXPECT_FALSE(editor.document->undoManager().canUndo());
}

}  // namespace
}  // namespace quillmor::test
