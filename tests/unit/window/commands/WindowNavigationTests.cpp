// Going to places, view settings, the offset of the last session, and the simple editing commands.

#include <limits>

#include "support/WindowFixture.h"

namespace quillmor::test {
namespace {

constexpr const char* kBusy =
    "Another operation is already running. Wait for it to finish before editing.";
constexpr const char* kGoToText = "Enter decimal, 0xHEX, HEX, or HEXh offset.";
constexpr const char* kRangeText =
    "Enter a start offset and length. Values may be decimal, 0xHEX, HEX, or HEXh.";

class WindowNavigation : public WindowFixture {
 protected:
  void SetUp() override {
    editor.editor().setCaretOffset(100);
    editor.editor().setSelection({10, 20});
  }

  void goTo(const std::string& answer, const std::string& button = "OK") {
    platform.alerts.expect("Go to Offset", kGoToText, button, {answer});
    editor->perform("forwardGoToOffset:");
  }

  void select(const std::string& start, const std::string& length) {
    platform.alerts.expect("Select Range", kRangeText, "OK", {start, length});
    editor->perform("forwardSelectRange:");
  }

  void expectPlace(std::int64_t caret, HexSelection selection) {
    EXPECT_EQ(editor.editor().caretOffset(), caret);
    EXPECT_EQ(editor.editor().selection(), selection);
  }

  void expectUnmoved() { expectPlace(100, {10, 20}); }

  EditorUnderTest editor = makeEditor(std::string(4096, 'x'));
};

TEST_F(WindowNavigation, showsThePlaceInTheStatusLine) {
  editor.editor().setSelection({});
  editor.editor().setCaretOffset(496);
  EXPECT_EQ(editor.window->statusText,
            "Size: 4096 bytes  |  Offset: 0x000001F0  |  Mode: Overwrite  |  Selection: 0");
  EXPECT_FALSE(editor.window->inspectorText.empty());
}

TEST_F(WindowNavigation, goesToAnOffsetAndClearsTheSelection) {
  goTo("0x1F0");
  expectPlace(496, {});
  editor.editor().setSelection({10, 20});
  goTo("17");
  expectPlace(17, {});
  goTo("0");
  expectPlace(0, {});
}

TEST_F(WindowNavigation, goesNoFartherThanTheEnd) {
  goTo("4096");
  expectPlace(4096, {});
  goTo("4097");
  expectPlace(4096, {});
  goTo("9223372036854775807");
  expectPlace(4096, {});
}

TEST_F(WindowNavigation, asksForTheOffsetInAForm) {
  goTo("1");
  const Alert& alert = platform.alerts.shown().back();
  EXPECT_EQ(alert.buttons, (std::vector<std::string>{"OK", "Cancel"}));
  EXPECT_EQ(alert.formWidth, 420);
  ASSERT_EQ(alert.fields.size(), 1U);
  EXPECT_EQ(alert.fields[0].label, "Offset:");
  EXPECT_EQ(alert.fields[0].placeholder, "0x1000");
}

TEST_F(WindowNavigation, goesNowhereOnCancelOrAnAnswerThatIsNoOffset) {
  goTo("5", "Cancel");
  expectUnmoved();
  for (const char* answer : {"", "xyz", "-1", "-0x10", "0x", "99999999999999999999", "1 2"}) {
    platform.alerts.expectRefusedAnswer("Go to Offset", kGoToText, "OK", {answer},
                                        "Enter a valid offset.");
    editor->perform("forwardGoToOffset:");
    expectUnmoved();
  }
}

TEST_F(WindowNavigation, asksAgainWithWhatWasTypedUntilTheAnswerIsAnOffset) {
  platform.alerts.expect("Go to Offset", kGoToText, "OK", {"0x1G"});
  platform.alerts.expect("Go to Offset", "Enter a valid offset.");
  platform.alerts.expect("Go to Offset", kGoToText, "OK", {"-16"});
  platform.alerts.expect("Go to Offset", "Enter a valid offset.");
  goTo("0x10");
  expectPlace(16, {});
  ASSERT_EQ(platform.alerts.shown().size(), 5U);
  EXPECT_EQ(platform.alerts.shown()[2].fields.at(0).text, "0x1G");
  EXPECT_EQ(platform.alerts.shown()[4].fields.at(0).text, "-16");
}

TEST_F(WindowNavigation, putsTheFocusIntoTheRefusedField) {
  platform.alerts.expectRefusedAnswer("Select Range", kRangeText, "OK", {"0x10", "many"},
                                      "Enter a valid start offset and length.");
  editor->perform("forwardSelectRange:");
  EXPECT_EQ(platform.alerts.shown().back().focusedField, 1U);
  platform.alerts.expectRefusedAnswer("Select Range", kRangeText, "OK", {"here", "many"},
                                      "Enter a valid start offset and length.");
  editor->perform("forwardSelectRange:");
  EXPECT_EQ(platform.alerts.shown().back().focusedField, 0U);
}

TEST_F(WindowNavigation, saysHowOffsetsAndLengthsWillBeRead) {
  goTo("1", "Cancel");
  const auto offsetNote = platform.alerts.shown().back().fields.at(0).note;
  EXPECT_EQ(offsetNote({.texts = {"1000h"}, .selectedChoices = {0}}), "0x00001000 (4096)");
  platform.alerts.expect("Select Range", kRangeText, "Cancel", {"1", "2"});
  editor->perform("forwardSelectRange:");
  const auto& range = platform.alerts.shown().back().fields;
  const AlertResponse typed{.texts = {"0x10", "1F"}, .selectedChoices = {0, 0}};
  EXPECT_EQ(range.at(0).note(typed), "0x00000010 (16)");
  EXPECT_EQ(range.at(1).note(typed), "31 (0x1F)");
}

TEST_F(WindowNavigation, measuresTheDocumentAfterTheQuestion) {
  platform.alerts.expect("Go to Offset", kGoToText, "OK", {"4000"});
  platform.alerts.duringNext([this] { editor.document->storage()->bytes = ByteBuffer(); });
  editor->perform("forwardGoToOffset:");
  expectPlace(0, {});
}

TEST_F(WindowNavigation, selectsARange) {
  select("0x10", "16");
  expectPlace(16, {16, 16});
  const Alert& alert = platform.alerts.shown().back();
  EXPECT_EQ(alert.buttons, (std::vector<std::string>{"OK", "Cancel"}));
  EXPECT_EQ(alert.fields.size(), 2U);
  select("5", "0");
  expectPlace(5, {5, 0});
}

TEST_F(WindowNavigation, clipsTheSelectedRange) {
  select("4090", "100");
  expectPlace(4090, {4090, 6});
  select("5000", "10");
  EXPECT_EQ(editor.editor().caretOffset(), 4096);
  EXPECT_EQ(editor.editor().selection().length, 0);
  select("1", "9223372036854775807");
  expectPlace(1, {1, 4095});
}

TEST_F(WindowNavigation, selectsNothingOnCancelOrAnAnswerThatIsNoRange) {
  platform.alerts.expect("Select Range", kRangeText, "Cancel", {"1", "2"});
  editor->perform("forwardSelectRange:");
  expectUnmoved();
  const std::vector<std::string> answers[] = {
      {"", ""}, {"1", ""}, {"", "1"}, {"-1", "4"}, {"1", "-4"}, {"1", "99999999999999999999"}};
  for (const auto& answer : answers) {
    platform.alerts.expectRefusedAnswer("Select Range", kRangeText, "OK", answer,
                                        "Enter a valid start offset and length.");
    editor->perform("forwardSelectRange:");
    expectUnmoved();
  }
}

TEST_F(WindowNavigation, goesToStartAndEnd) {
  editor->perform("forwardGoToEnd:");
  expectPlace(4096, {});
  editor.editor().setSelection({10, 20});
  editor->perform("forwardGoToStart:");
  expectPlace(0, {});
}

TEST_F(WindowNavigation, isRefusedWhileBusy) {
  BusyScope busy = editor->context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  platform.alerts.expect("Go to Offset", kBusy);
  editor->perform("forwardGoToOffset:");
  platform.alerts.expect("Select Range", kBusy);
  editor->perform("forwardSelectRange:");
  platform.alerts.expect("Delete", kBusy);
  editor->perform("forwardDeleteSelection:");
  platform.alerts.expect("Toggle Insert Mode", kBusy);
  editor->perform("forwardToggleInsertMode:");
  busy.end();
  expectUnmoved();
  EXPECT_FALSE(editor.editor().insertMode());
}

TEST_F(WindowNavigation, selectsAllFromTheStart) {
  editor->perform("forwardSelectAll:");
  expectPlace(0, {0, 4096});
}

TEST_F(WindowNavigation, deletesTheSelectionOrTheByteAtTheCaret) {
  editor->perform("forwardDeleteSelection:");
  EXPECT_EQ(editor.text().size(), 4076U);
  expectPlace(10, {});
  editor->perform("forwardDeleteSelection:");
  EXPECT_EQ(editor.text().size(), 4075U);
  EXPECT_EQ(editor.editor().caretOffset(), 10);
  editor->perform("forwardUndo:");
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text().size(), 4096U);
  expectUnmoved();
}

TEST_F(WindowNavigation, copiesTheOffsetInAtLeastEightDigits) {
  editor.editor().setCaretOffset(0xAB);
  editor->perform("forwardCopyCurrentOffset:");
  EXPECT_EQ(platform.pasteboard.heldText, "0x000000AB");
}

TEST_F(WindowNavigation, remembersBytesPerRow) {
  for (const std::int64_t value : {8, 32, 16}) {
    editor->perform("forwardBytesPerRow" + std::to_string(value) + ":");
    EXPECT_EQ(editor.editor().bytesPerRow(), value);
    EXPECT_EQ(makeEditor().editor().bytesPerRow(), value);
    EXPECT_EQ(platform.defaults.integers.at("com.tenvale.Quillmor.bytesPerRow"), value);
  }
}

TEST_F(WindowNavigation, takesOnlyOfferedNumbersOfBytesPerRow) {
  for (const std::int64_t value : {24, 0, -8, 9, 64}) {
    platform.defaults.integers["com.tenvale.Quillmor.bytesPerRow"] = value;
    EXPECT_EQ(makeEditor().editor().bytesPerRow(), 16) << value;
  }
}

TEST_F(WindowNavigation, remembersInsertMode) {
  EXPECT_FALSE(editor.editor().insertMode());
  editor->perform("forwardToggleInsertMode:");
  EXPECT_TRUE(editor.editor().insertMode());
  EXPECT_EQ(editor.window->statusText,
            "Size: 4096 bytes  |  Offset: 0x00000064  |  Mode: Insert  |  Selection: 20");
  EXPECT_TRUE(platform.defaults.booleans.at("com.tenvale.Quillmor.insertMode"));
  EXPECT_TRUE(makeEditor().editor().insertMode());
  editor->perform("forwardToggleInsertMode:");
  EXPECT_FALSE(makeEditor().editor().insertMode());
}

TEST_F(WindowNavigation, needsAFileForTheLastSessionsOffset) {
  platform.alerts.expect("Session", "Current document has no file path.");
  editor->perform("forwardRestoreLastSessionOffset:");
  expectUnmoved();
}

TEST_F(WindowNavigation, restoresTheLastSessionsOffsetWithinTheFile) {
  const auto file = folder.write("data.bin", "0123456789");
  editor = openEditor(file);
  const std::string key = "Quillmor.session.offset." + file.path();
  platform.alerts.expect("Session", "No saved offset for this file.");
  editor->perform("forwardRestoreLastSessionOffset:");
  for (const std::int64_t offset : {0, 4, 10}) {
    editor.editor().setSelection({1, 2});
    platform.defaults.integers[key] = offset;
    editor->perform("forwardRestoreLastSessionOffset:");
    expectPlace(offset, {offset, 0});
  }
  for (const std::int64_t offset : {std::int64_t{-1}, std::int64_t{11}, INT64_MAX, INT64_MIN}) {
    platform.defaults.integers[key] = offset;
    platform.alerts.expect("Session", "The saved offset is outside the current file.");
    editor->perform("forwardRestoreLastSessionOffset:");
    expectPlace(10, {10, 0});
  }
}

}  // namespace
}  // namespace quillmor::test
