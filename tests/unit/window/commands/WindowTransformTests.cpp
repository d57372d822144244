// Rewriting the selection from an editor window, and cropping to it.

#include <functional>
#include <utility>

#include "search/typed/TypedInput.h"
#include "support/MemoryProbes.h"
#include "support/WindowFixture.h"
#include "window/commands/WindowLimits.h"

namespace quillmor::test {
namespace {

constexpr const char* kBusy =
    "Another operation is already running. Wait for it to finish before editing.";
constexpr const char* kPatternMessage =
    "Enter a byte pattern. The pattern is repeated across the active selection.";

class WindowTransforms : public WindowFixture {
 protected:
  EditorUnderTest editorWithSelection(std::string_view content, HexSelection selection) {
    auto editor = makeEditor(content);
    editor.editor().setSelection(selection);
    return editor;
  }

  void expectPattern(const std::string& title, const std::string& pattern,
                     const std::string& button = "OK") {
    platform.alerts.expect(title, kPatternMessage, button, {"", pattern});
  }

  static void expectPlace(const EditorUnderTest& editor, std::int64_t caret,
                          HexSelection selection) {
    EXPECT_EQ(editor.editor().caretOffset(), caret);
    EXPECT_EQ(editor.editor().selection(), selection);
  }

  static std::string undoName(const EditorUnderTest& editor) {
    return editor.document->undoManager().undoActionName();
  }
};

TEST_F(WindowTransforms, invertAndLeaveTheRangeSelected) {
  auto editor = editorWithSelection(std::string("a\x00\xFF\x0Fz", 5), {1, 3});
  editor.editor().setCaretOffset(4);
  editor.editor().setSelection({1, 3});
  editor->perform("forwardInvertSelection:");
  EXPECT_EQ(editor.text(), std::string("a\xFF\x00\xF0z", 5));
  expectPlace(editor, 1, {1, 3});
  EXPECT_EQ(undoName(editor), "Invert Selection");
}

TEST_F(WindowTransforms, invertingTwiceRestoresTheBytesAndLeavesTwoSteps) {
  auto editor = editorWithSelection("hello", {0, 5});
  editor->perform("forwardInvertSelection:");
  editor->perform("forwardInvertSelection:");
  EXPECT_EQ(editor.text(), "hello");
  editor->perform("forwardUndo:");
  EXPECT_NE(editor.text(), "hello");
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), "hello");
  EXPECT_FALSE(editor.document->undoManager().canUndo());
}

TEST_F(WindowTransforms, reverse) {
  auto editor = editorWithSelection("abcdef", {1, 4});
  editor->perform("forwardReverseSelection:");
  EXPECT_EQ(editor.text(), "aedcbf");
  EXPECT_EQ(undoName(editor), "Reverse Selection");
}

TEST_F(WindowTransforms, swapPairsAndSayWhatWasLeft) {
  auto editor = editorWithSelection("abcdefg", {0, 7});
  platform.alerts.expect("Swap Selection 16-bit Endian",
                         "Completed. 1 trailing byte(s) were left unchanged because the selection "
                         "length is not divisible by 2.");
  editor->perform("forwardSwapSelection16:");
  EXPECT_EQ(editor.text(), "badcfeg");
  EXPECT_EQ(undoName(editor), "Swap Selection 16-bit Endian");
}

TEST_F(WindowTransforms, swapGroupsOfFour) {
  auto editor = editorWithSelection("abcdefgh", {0, 8});
  editor->perform("forwardSwapSelection32:");
  EXPECT_EQ(editor.text(), "dcbahgfe");
  EXPECT_EQ(undoName(editor), "Swap Selection 32-bit Endian");
  editor.editor().setSelection({1, 7});
  platform.alerts.expect("Swap Selection 32-bit Endian",
                         "Completed. 3 trailing byte(s) were left unchanged because the selection "
                         "length is not divisible by 4.");
  editor->perform("forwardSwapSelection32:");
  EXPECT_EQ(editor.text(), "dhabcgfe");
}

TEST_F(WindowTransforms, speakOfLeftBytesOnlyWhenOthersWereSwapped) {
  auto equal = editorWithSelection("aaaaabc", {0, 5});
  equal->perform("forwardSwapSelection16:");
  equal->perform("forwardSwapSelection32:");
  EXPECT_EQ(equal.text(), "aaaaabc");
  EXPECT_FALSE(equal.document->undoManager().canUndo());
  std::string content;
  for (std::int64_t i = 0; i <= backgroundEditThresholdBytes; ++i) content += i % 2 ? 'b' : 'a';
  auto large = editorWithSelection(content, {0, backgroundEditThresholdBytes + 1});
  large->perform("forwardSwapSelection16:");
  ASSERT_TRUE(large->isBusy());
  large->stopCurrentOperation();
  platform.executor.runAll();
  EXPECT_EQ(large.text(), content);
  EXPECT_TRUE(platform.alerts.shown().empty());
  platform.alerts.expect("Swap Selection 16-bit Endian",
                         "Completed. 1 trailing byte(s) were left unchanged because the selection "
                         "length is not divisible by 2.");
  large->perform("forwardSwapSelection16:");
  platform.executor.runAll();
  EXPECT_NE(large.text(), content);
}

TEST_F(WindowTransforms, refuseSelectionsShorterThanAGroup) {
  auto editor = editorWithSelection("abc", {0, 3});
  platform.alerts.expect("Swap Selection 32-bit Endian",
                         "Selection must contain at least 4 bytes.");
  editor->perform("forwardSwapSelection32:");
  editor.editor().setSelection({0, 1});
  platform.alerts.expect("Swap Selection 16-bit Endian",
                         "Selection must contain at least 2 bytes.");
  editor->perform("forwardSwapSelection16:");
  EXPECT_EQ(editor.text(), "abc");
  EXPECT_FALSE(editor.document->undoManager().canUndo());
}

TEST_F(WindowTransforms, combineWithAPatternThatStartsAtTheSelection) {
  auto editor = editorWithSelection("abcdef", {1, 5});
  expectPattern("XOR Selection", "20 00");
  editor->perform("forwardXorSelection:");
  EXPECT_EQ(editor.text(), "aBcDeF");
  EXPECT_EQ(undoName(editor), "XOR Selection");
  expectPattern("AND Selection", "DF DF");
  editor->perform("forwardAndSelection:");
  EXPECT_EQ(editor.text(), "aBCDEF");
  EXPECT_EQ(undoName(editor), "AND Selection");
  expectPattern("OR Selection", "20 00 00");
  editor->perform("forwardOrSelection:");
  EXPECT_EQ(editor.text(), "abCDeF");
  EXPECT_EQ(undoName(editor), "OR Selection");
  expectPlace(editor, 1, {1, 5});
}

TEST_F(WindowTransforms, offerTwoWaysToTypeAPattern) {
  auto editor = editorWithSelection("abc", {0, 3});
  expectPattern("XOR Selection", "x", "Cancel");
  editor->perform("forwardXorSelection:");
  const auto& fields = platform.alerts.shown()[0].fields;
  ASSERT_EQ(fields.size(), 2U);
  EXPECT_EQ(fields[0].choices, (std::vector<std::string>{"Hex", "Text"}));
  EXPECT_EQ(fields[0].selectedChoice, 0U);
  EXPECT_EQ(editor.text(), "abc");
}

TEST_F(WindowTransforms, thatChangeNothingRecordNothing) {
  auto editor = editorWithSelection("abc", {0, 3});
  expectPattern("XOR Selection", "00 00");
  editor->perform("forwardXorSelection:");
  EXPECT_FALSE(editor.document->undoManager().canUndo());
  EXPECT_FALSE(editor.document->isDocumentEdited());
}

TEST_F(WindowTransforms, sayThatAPatternIsNone) {
  auto editor = editorWithSelection("abc", {0, 3});
  for (const char* pattern : {"", "xyz", "FFF", "0x", "F F0F"}) {
    platform.alerts.expectRefusedAnswer("OR Selection", kPatternMessage, "OK", {"", pattern},
                                        "Enter a valid byte pattern.");
    editor->perform("forwardOrSelection:");
  }
  EXPECT_EQ(editor.text(), "abc");
}

TEST_F(WindowTransforms, readOneUnbrokenWordAsHexadecimal) {
  const std::pair<const char*, std::string> readings[] = {
      {"FF", "\xFF\xFF"}, {"a5", "\xA5\xA5"},      {"0xFF", "\xFF\xFF"},
      {"F", "\x0F\x0F"},  {"FF00", {"\xFF\0", 2}}, {"FF 01", "\xFF\x01"},
  };
  for (const auto& [typed, expected] : readings) {
    auto editor = editorWithSelection(std::string(2, '\0'), {0, 2});
    expectPattern("OR Selection", typed);
    editor->perform("forwardOrSelection:");
    EXPECT_EQ(editor.text(), expected) << typed;
  }
  auto inverted = editorWithSelection("ab", {0, 2});
  expectPattern("XOR Selection", "FF");
  inverted->perform("forwardXorSelection:");
  EXPECT_EQ(inverted.text(), "\x9E\x9D");
  auto kept = editorWithSelection("ab", {0, 2});
  expectPattern("AND Selection", "0F");
  kept->perform("forwardAndSelection:");
  EXPECT_EQ(kept.text(), "\x01\x02");
}

TEST_F(WindowTransforms, readTextOnlyWhenTheUserSaysSo) {
  auto editor = editorWithSelection(std::string(2, '\0'), {0, 2});
  expectPattern("XOR Selection", "FF");
  platform.alerts.chooseInNext(0, 1);
  editor->perform("forwardXorSelection:");
  EXPECT_EQ(editor.text(), "FF");
}

TEST_F(WindowTransforms, sayHowThePatternWillBeRead) {
  auto editor = editorWithSelection("abc", {0, 3});
  expectPattern("XOR Selection", "", "Cancel");
  editor->perform("forwardXorSelection:");
  const auto note = [&](const std::string& typed, std::size_t mode) {
    return platform.alerts.shown()[0].fields.at(1).note(
        {.texts = {"", typed}, .selectedChoices = {mode, 0}});
  };
  EXPECT_EQ(note("FF", 0), "1 byte: FF");
  EXPECT_EQ(note("FF", 1), "text, 2 bytes: 46 46");
  EXPECT_EQ(note("xyz", 0), "not hexadecimal bytes");
}

TEST_F(WindowTransforms, refuseWhileBusyAndWithoutASelection) {
  auto editor = makeEditor("abcdef");
  const std::pair<const char*, std::string_view> commands[] = {
      {"Invert Selection", "forwardInvertSelection:"},
      {"Reverse Selection", "forwardReverseSelection:"},
      {"Swap Selection 16-bit Endian", "forwardSwapSelection16:"},
      {"Swap Selection 32-bit Endian", "forwardSwapSelection32:"},
      {"XOR Selection", "forwardXorSelection:"},
      {"AND Selection", "forwardAndSelection:"},
      {"OR Selection", "forwardOrSelection:"},
      {"Crop to Selection", "forwardCropToSelection:"},
      {"Fill Selection with 00", "forwardFillSelectionWithZero:"},
      {"Fill Selection with FF", "forwardFillSelectionWithFF:"},
  };
  for (const auto& [title, command] : commands) {
    platform.alerts.expect(title, "Select one or more bytes first.");
    editor->perform(command);
  }
  editor.editor().setSelection({0, 4});
  BusyScope busy = editor->context().frame().beginBusyStatus("Working…");
  for (const auto& [title, command] : commands) {
    platform.alerts.expect(title, kBusy);
    editor->perform(command);
  }
  EXPECT_EQ(editor.text(), "abcdef");
}

TEST_F(WindowTransforms, runInTheBackgroundFromOneMebibyteOn) {
  const std::pair<const char*, std::string_view> commands[] = {
      {"Inverting selection…", "forwardInvertSelection:"},
      {"Reversing selection…", "forwardReverseSelection:"},
      {"Swapping selection bytes…", "forwardSwapSelection16:"},
      {"Swapping selection bytes…", "forwardSwapSelection32:"},
      {"Filling selection…", "forwardFillSelectionWithZero:"},
      {"Filling selection…", "forwardFillSelectionWithFF:"},
  };
  for (const auto& [status, command] : commands) {
    std::string content(backgroundEditThresholdBytes + 4, 'a');
    content[1] = 'b';
    auto editor = editorWithSelection(content, {0, backgroundEditThresholdBytes});
    editor->perform(command);
    EXPECT_TRUE(editor->isBusy());
    EXPECT_EQ(editor.window->statusText, status);
    EXPECT_TRUE(editor.text() == content);
    platform.executor.runAll();
    EXPECT_FALSE(editor.text() == content);
    EXPECT_EQ(editor.text().substr(backgroundEditThresholdBytes), "aaaa");
    editor->perform("forwardUndo:");
    EXPECT_TRUE(editor.text() == content);
    editor.editor().setSelection({0, backgroundEditThresholdBytes - 1});
    if (command == "forwardSwapSelection16:" || command == "forwardSwapSelection32:") continue;
    editor->perform(command);
    EXPECT_FALSE(editor->isBusy());
    EXPECT_FALSE(editor.text() == content);
  }
}

TEST_F(WindowTransforms, withPatternsShowTheirStatus) {
  const std::tuple<const char*, const char*, std::string_view> commands[] = {
      {"XOR Selection", "Applying XOR…", "forwardXorSelection:"},
      {"AND Selection", "Processing selection…", "forwardAndSelection:"},
      {"OR Selection", "Processing selection…", "forwardOrSelection:"},
  };
  for (const auto& [title, status, command] : commands) {
    auto editor = editorWithSelection(std::string(backgroundEditThresholdBytes, 'a'),
                                      {0, backgroundEditThresholdBytes});
    expectPattern(title, "02 03");
    editor->perform(command);
    EXPECT_EQ(editor.window->statusText, status);
    editor->stopCurrentOperation();
    platform.executor.runAll();
    EXPECT_FALSE(editor->isBusy());
    EXPECT_FALSE(editor.document->isDocumentEdited());
  }
}

TEST_F(WindowTransforms, cropKeepsOnlyTheSelection) {
  auto editor = makeEditor("0123456789");
  for (const std::int64_t offset : {1, 2, 4, 5, 6}) {
    platform.alerts.expect("Bookmarks",
                           "Added bookmark at 0x0000000" + std::to_string(offset) + ".");
    editor.editor().setCaretOffset(offset);
    editor->perform("forwardAddBookmark:");
  }
  editor.editor().setSelection({2, 4});
  platform.alerts.expect("Crop to Selection",
                         "Keep only the selected 4 byte(s) and remove everything else?", "Crop");
  editor->perform("forwardCropToSelection:");
  EXPECT_TRUE(editor->isBusy());
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "2345");
  EXPECT_EQ(editor->bookmarks().offsets(), (std::vector<std::int64_t>{0, 2, 3}));
  expectPlace(editor, 0, {});
  EXPECT_EQ(undoName(editor), "Crop to Selection");
  EXPECT_EQ(platform.alerts.shown().back().buttons, (std::vector<std::string>{"Crop", "Cancel"}));
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), "0123456789");
  EXPECT_EQ(editor->bookmarks().offsets(), (std::vector<std::int64_t>{1, 2, 4, 5, 6}));
  EXPECT_FALSE(editor.document->isDocumentEdited());
}

TEST_F(WindowTransforms, cropKeepsOnlyWhatTheUserWasAskedAbout) {
  auto editor = editorWithSelection("0123456789", {2, 4});
  platform.alerts.duringNext([&] { editor.editor().setSelection({3, 4}); });
  platform.alerts.expect("Crop to Selection",
                         "Keep only the selected 4 byte(s) and remove everything else?", "Crop");
  editor->perform("forwardCropToSelection:");
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "0123456789");
}

TEST_F(WindowTransforms, cropCanBeCancelledAndStopped) {
  auto editor = editorWithSelection("0123456789", {2, 4});
  const char* question = "Keep only the selected 4 byte(s) and remove everything else?";
  platform.alerts.expect("Crop to Selection", question, "Cancel");
  editor->perform("forwardCropToSelection:");
  EXPECT_FALSE(editor->isBusy());
  platform.alerts.expect("Crop to Selection", question, "Crop");
  editor->perform("forwardCropToSelection:");
  editor->stopCurrentOperation();
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "0123456789");
}

TEST_F(WindowTransforms, sayThatCroppingOrTransformingFailed) {
  auto editor = makeEditor();
  editor.document->readData(ByteBuffer::filled(8 * backgroundEditThresholdBytes, 'a'));
  editor.editor().setSelection({1, 4 * backgroundEditThresholdBytes});
  const auto runOutOfMemory = [](const std::function<void()>& work) {
    const NoMoreAddressSpace none;
    work();
  };
  platform.executor.aroundNextWork(runOutOfMemory);
  platform.alerts.expect("Crop to Selection",
                         "Keep only the selected 4194304 byte(s) and remove everything else?",
                         "Crop");
  platform.alerts.expect("Crop to Selection Failed", "Cannot allocate memory");
  editor->perform("forwardCropToSelection:");
  platform.executor.runAll();
  platform.executor.aroundNextWork(runOutOfMemory);
  platform.alerts.expect("Invert Selection Failed", "Cannot allocate memory");
  editor->perform("forwardInvertSelection:");
  platform.executor.runAll();
  EXPECT_FALSE(editor.document->isDocumentEdited());
  EXPECT_FALSE(editor.document->undoManager().canUndo());
}

TEST_F(WindowTransforms, croppingToEverythingChangesNothing) {
  auto editor = editorWithSelection("0123", {0, 4});
  platform.alerts.expect("Crop to Selection",
                         "Keep only the selected 4 byte(s) and remove everything else?", "Crop");
  editor->perform("forwardCropToSelection:");
  platform.executor.runAll();
  EXPECT_FALSE(editor.document->isDocumentEdited());
  EXPECT_FALSE(editor.document->undoManager().canUndo());
}

}  // namespace
}  // namespace quillmor::test
