// Copy, Cut, Paste and the commands that copy as text.

#include <functional>
#include <utility>

#include "platform/RunInBackground.h"
#include "search/typed/TypedInput.h"
#include "support/FailingAllocation.h"
#include "support/MemoryProbes.h"
#include "support/WindowFixture.h"
#include "window/commands/WindowLimits.h"

namespace quillmor::test {
namespace {

constexpr const char* kBusy =
    "Another operation is already running. Wait for it to finish before editing.";
constexpr const char* kTooLarge =
    "The selected range is too large to place on the pasteboard safely. Export the selection to a "
    "file instead.";
constexpr const char* kTooLargeAsText =
    "The selected range is too large to convert into clipboard text safely. Export the range to a "
    "file instead.";

class WindowClipboard : public WindowFixture {
 protected:
  EditorUnderTest editorWithSelection(std::string_view content, HexSelection selection) {
    auto editor = makeEditor(content);
    editor.editor().setSelection(selection);
    return editor;
  }

  std::string heldBytes() const {
    const auto bytes = platform.pasteboard.heldBytes->span();
    return {bytes.begin(), bytes.end()};
  }

  void paste(const EditorUnderTest& editor, const std::string& text) {
    platform.pasteboard.setText(text);
    editor->perform("forwardPaste:");
  }

  static constexpr std::pair<const char*, const char*> kCopiesAsText[] = {
      {"forwardCopyAsHex:", "Copy as Hex"},
      {"forwardCopyAsCArray:", "Copy as C Array"},
      {"forwardCopyAsSwiftArray:", "Copy as Swift Array"},
      {"forwardCopyAsBase64:", "Copy as Base64"},
      {"forwardCopyAsPythonBytes:", "Copy as Python Bytes"},
      {"forwardCopyAsJSONByteArray:", "Copy as JSON Byte Array"},
  };
};

TEST_F(WindowClipboard, copyPublishesBytesAndTheirHexText) {
  auto editor = editorWithSelection("a\xDE\xADz", {1, 2});
  editor->perform("forwardCopy:");
  EXPECT_EQ(heldBytes(), "\xDE\xAD");
  EXPECT_EQ(platform.pasteboard.heldText, "DE AD");
  EXPECT_EQ(editor.text(), "a\xDE\xADz");
  EXPECT_FALSE(editor.document->isDocumentEdited());
}

TEST_F(WindowClipboard, pasteTakesTheBytesBeforeTheText) {
  auto editor = editorWithSelection("ab", {0, 2});
  platform.pasteboard.setBytes({0x31, 0x32}, "DE AD BE EF");
  editor->perform("forwardPaste:");
  EXPECT_EQ(editor.text(), "12");
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), "ab");
}

TEST_F(WindowClipboard, copyWithoutASelectionTakesTheByteAtTheCaret) {
  auto editor = makeEditor("abc");
  editor.editor().setCaretOffset(1);
  editor->perform("forwardCopy:");
  EXPECT_EQ(heldBytes(), "b");
  editor.editor().setCaretOffset(3);
  platform.pasteboard.setText("before");
  editor->perform("forwardCopy:");
  editor->perform("forwardCut:");
  for (const auto& [action, title] : kCopiesAsText) editor->perform(action);
  EXPECT_EQ(platform.pasteboard.heldText, "before");
}

TEST_F(WindowClipboard, cutRemovesWhatItPublished) {
  auto editor = editorWithSelection("abcdef", {1, 3});
  editor->perform("forwardCut:");
  EXPECT_EQ(heldBytes(), "bcd");
  EXPECT_EQ(editor.text(), "aef");
  EXPECT_EQ(editor.editor().caretOffset(), 1);
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), "abcdef");
  editor.editor().setSelection({});
  editor.editor().setCaretOffset(5);
  editor->perform("forwardCut:");
  EXPECT_EQ(heldBytes(), "f");
  EXPECT_EQ(editor.text(), "abcde");
}

TEST_F(WindowClipboard, undoingACutBringsCaretAndSelectionBack) {
  auto editor = editorWithSelection("abcdef", {1, 3});
  editor.editor().setCaretOffset(3);
  editor->perform("forwardCut:");
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.editor().selection(), (HexSelection{1, 3}));
  EXPECT_EQ(editor.editor().caretOffset(), 3);
  editor.editor().setSelection({});
  editor->perform("forwardCut:");
  EXPECT_EQ(editor.text(), "abcef");
  EXPECT_EQ(editor.editor().selection(), HexSelection());
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), "abcdef");
  EXPECT_EQ(editor.editor().selection(), HexSelection()) << "nothing was selected";
  EXPECT_EQ(editor.editor().caretOffset(), 3);
}

TEST_F(WindowClipboard, cutInTheBackgroundRemovesWhatItPublishedWhateverIsSelectedMeanwhile) {
  std::string content(backgroundEditThresholdBytes + 2, 'a');
  content.front() = 'x';
  content.back() = 'z';
  const HexSelection selection{1, backgroundEditThresholdBytes};
  auto editor = editorWithSelection(content, selection);
  editor.editor().setCaretOffset(backgroundEditThresholdBytes);
  editor->perform("forwardCut:");
  ASSERT_TRUE(editor->isBusy());
  editor->perform("forwardSelectAll:");
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "xz");
  EXPECT_EQ(platform.pasteboard.heldBytes->size(), backgroundEditThresholdBytes);
  EXPECT_EQ(editor.editor().caretOffset(), 1);
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), content);
  EXPECT_EQ(editor.editor().selection(), selection);
  EXPECT_EQ(editor.editor().caretOffset(), backgroundEditThresholdBytes);
}

#if QUILLMOR_NEW_CAN_FAIL

TEST_F(WindowClipboard, cutThatRunsOutOfMemoryShowsTheCaretAndTheSelectionThatThereAre) {
  platform.alerts.acceptAnything();
  const std::string content(backgroundEditThresholdBytes + 2, 'a');
  bool hasFailed = true;
  for (int number = 1; hasFailed; ++number) {
    auto editor = editorWithSelection(content, {1, backgroundEditThresholdBytes});
    editor->perform("forwardCut:");
    editor->perform("forwardSelectAll:");
    platform.executor.runOneWork();
    {
      const FailingAllocation failing(number);
      resultOf([&] { return platform.executor.runPosted(), Done(); });
      hasFailed = failing.hasFailed();
    }
    const std::string shown = editor.window->statusText;
    editor->context().updateStatus();
    EXPECT_EQ(shown, editor.window->statusText) << "allocation " << number;
    editor.window->closeWindow();
  }
}

#endif

TEST_F(WindowClipboard, cutRemovesNothingThatThePasteboardRefused) {
  auto editor = editorWithSelection("abcdef", {1, 3});
  platform.pasteboard.refuses = true;
  const char* refused = "The pasteboard rejected the selected data. Nothing was removed.";
  platform.alerts.expect("Copy", refused);
  editor->perform("forwardCut:");
  platform.alerts.expect("Copy", refused);
  editor->perform("forwardCopy:");
  EXPECT_EQ(editor.text(), "abcdef");
  EXPECT_FALSE(editor.document->isDocumentEdited());
}

TEST_F(WindowClipboard, copiesAsTextInSixStyles) {
  auto editor = editorWithSelection("\xDE\xAD\xBE\xEF", {0, 4});
  const std::pair<const char*, const char*> expected[] = {
      {"forwardCopyAsHex:", "DE AD BE EF"},
      {"forwardCopyAsCArray:", "{ 0xDE, 0xAD, 0xBE, 0xEF }"},
      {"forwardCopyAsSwiftArray:", "[0xDE, 0xAD, 0xBE, 0xEF]"},
      {"forwardCopyAsBase64:", "3q2+7w=="},
      {"forwardCopyAsPythonBytes:", "b\"\\xde\\xad\\xbe\\xef\""},
      {"forwardCopyAsJSONByteArray:", "[222, 173, 190, 239]"},
  };
  platform.pasteboard.heldBytes = ByteBuffer{1, 2};
  for (const auto& [action, text] : expected) {
    editor->perform(action);
    EXPECT_EQ(platform.pasteboard.heldText, text);
    EXPECT_FALSE(platform.pasteboard.heldBytes);
  }
}

TEST_F(WindowClipboard, saysThatThePasteboardRefusedTheText) {
  auto editor = editorWithSelection("abc", {0, 3});
  platform.pasteboard.refuses = true;
  for (const auto& [action, title] : kCopiesAsText) {
    platform.alerts.expect(title, "The pasteboard rejected the converted text.");
    editor->perform(action);
  }
}

TEST_F(WindowClipboard, refusesWhatIsTooLarge) {
  auto editor = makeEditor();
  editor.document->storage()->bytes = ByteBuffer::filled(maxClipboardTextSourceBytes + 1, 'a');
  editor.editor().setSelection({0, maxClipboardTextSourceBytes + 1});
  platform.pasteboard.setText("before");
  platform.alerts.expect("Copy", kTooLarge);
  editor->perform("forwardCopy:");
  platform.alerts.expect("Cut", kTooLarge);
  editor->perform("forwardCut:");
  for (const auto& [action, title] : kCopiesAsText) {
    platform.alerts.expect(title, kTooLargeAsText);
    editor->perform(action);
  }
  EXPECT_EQ(platform.pasteboard.heldText, "before");
  EXPECT_FALSE(editor->isBusy());
  editor.editor().setSelection({1, maxClipboardTextSourceBytes});
  editor->perform("forwardCopy:");
  platform.executor.runAll();
  EXPECT_EQ(platform.pasteboard.heldBytes->size(), maxClipboardTextSourceBytes);
}

TEST_F(WindowClipboard, refusesWhileBusy) {
  auto editor = editorWithSelection("abc", {0, 3});
  platform.pasteboard.setText("before");
  BusyScope busy = editor->context().frame().beginBusyStatus("Working…");
  platform.alerts.expect("Copy", kBusy);
  editor->perform("forwardCopy:");
  platform.alerts.expect("Cut", kBusy);
  editor->perform("forwardCut:");
  for (const auto& [action, title] : kCopiesAsText) {
    platform.alerts.expect(title, kBusy);
    editor->perform(action);
  }
  platform.alerts.expect("Paste Failed", "Another operation is already running.");
  editor->perform("forwardPaste:");
  platform.alerts.expect("Copy Selection Range", kBusy);
  editor->perform("forwardCopySelectionRange:");
  EXPECT_EQ(platform.pasteboard.heldText, "before");
  EXPECT_EQ(editor.text(), "abc");
}

TEST_F(WindowClipboard, preparesLargeSelectionsInTheBackground) {
  auto editor = editorWithSelection(std::string(backgroundEditThresholdBytes, 'a'),
                                    {0, backgroundEditThresholdBytes});
  editor->perform("forwardCopy:");
  EXPECT_EQ(editor.window->statusText, "Preparing copy…");
  EXPECT_FALSE(platform.pasteboard.heldBytes);
  platform.executor.runAll();
  EXPECT_EQ(platform.pasteboard.heldBytes->size(), backgroundEditThresholdBytes);
  editor->perform("forwardCopyAsBase64:");
  EXPECT_EQ(editor.window->statusText, "Preparing copy…");
  platform.executor.runAll();
  EXPECT_FALSE(platform.pasteboard.heldBytes);
  editor->perform("forwardCut:");
  EXPECT_EQ(editor.window->statusText, "Preparing cut…");
  editor->stopCurrentOperation();
  platform.executor.runAll();
  EXPECT_EQ(editor.document->storage()->count(), backgroundEditThresholdBytes);
  editor->perform("forwardCut:");
  platform.executor.runAll();
  EXPECT_EQ(editor.document->storage()->count(), 0);
}

#if QUILLMOR_NEW_CAN_FAIL
TEST_F(WindowClipboard, saysThatCopyingFailed) {
  auto editor = editorWithSelection(std::string(maxClipboardTextSourceBytes, 'a'),
                                    {0, maxClipboardTextSourceBytes});
  const std::pair<const char*, const char*> commands[] = {
      {"forwardCopy:", "Copy Failed"},
      {"forwardCut:", "Cut Failed"},
      {"forwardCopyAsHex:", "Copy as Hex Failed"},
      {"forwardCopyAsCArray:", "Copy as C Array Failed"},
      {"forwardCopyAsSwiftArray:", "Copy as Swift Array Failed"},
      {"forwardCopyAsBase64:", "Copy as Base64 Failed"},
      {"forwardCopyAsPythonBytes:", "Copy as Python Bytes Failed"},
      {"forwardCopyAsJSONByteArray:", "Copy as JSON Byte Array Failed"},
  };
  for (const auto& [action, title] : commands) {
    platform.executor.aroundNextWork([](const std::function<void()>& work) {
      const NoMoreAddressSpace none;
      work();
    });
    platform.alerts.expect(title, "Cannot allocate memory");
    editor->perform(action);
    platform.executor.runAll();
  }
  EXPECT_EQ(editor.document->storage()->count(), maxClipboardTextSourceBytes);
}
#endif

TEST_F(WindowClipboard, pastesHexTextAsBytesAndOtherTextAsItIs) {
  auto editor = makeEditor();
  paste(editor, "de ad");
  EXPECT_EQ(editor.text(), "\xDE\xAD");
  paste(editor, "hello");
  EXPECT_EQ(editor.text(), "\xDE\xADhello");
}

TEST_F(WindowClipboard, pastesAsTheEditingModeSays) {
  auto editor = makeEditor("abcdef");
  editor.editor().setCaretOffset(2);
  paste(editor, "XYZ!");
  EXPECT_EQ(editor.text(), "abXYZ!");
  editor.editor().setInsertMode(true);
  editor.editor().setCaretOffset(0);
  paste(editor, "..");
  EXPECT_EQ(editor.text(), "..abXYZ!");
}

TEST_F(WindowClipboard, beepsWhenThereIsNothingToPaste) {
  auto editor = makeEditor("abc");
  editor->perform("forwardPaste:");
  EXPECT_EQ(platform.beeper.count, 1);
  paste(editor, "");
  EXPECT_EQ(platform.beeper.count, 2);
  platform.pasteboard.setBytes({}, "");
  editor->perform("forwardPaste:");
  EXPECT_EQ(platform.beeper.count, 3);
  EXPECT_EQ(editor.text(), "abc");
}

TEST_F(WindowClipboard, refusesTextOverTheLimit) {
  auto editor = makeEditor("abc");
  platform.alerts.expect("Paste",
                         "Clipboard text is too large to paste safely. The text source limit is "
                         "16777216 bytes.");
  paste(editor, std::string(maxClipboardTextSourceBytes + 1, 'x'));
  EXPECT_EQ(editor.text(), "abc");
  for (const std::int64_t count : {maxClipboardTextSourceBytes - 1, maxClipboardTextSourceBytes}) {
    editor->perform("forwardSelectAll:");
    paste(editor, std::string(static_cast<std::size_t>(count), 'x'));
    platform.executor.runAll();
    EXPECT_EQ(editor.document->storage()->count(), count);
  }
}

TEST_F(WindowClipboard, takesHexTextOfAsManyCharactersAsOneCommandMayRead) {
  // Up to the limit the characters may be digits of bytes; longer text is its own bytes.
  for (const std::int64_t count : {maxTextInputCharacters - 2, maxTextInputCharacters}) {
    auto editor = makeEditor();
    paste(editor, std::string(static_cast<std::size_t>(count), '0'));
    platform.executor.runAll();
    EXPECT_EQ(editor.document->storage()->count(), count / 2);
  }
  auto editor = makeEditor();
  paste(editor, std::string(static_cast<std::size_t>(maxTextInputCharacters + 2), '0'));
  platform.executor.runAll();
  EXPECT_EQ(editor.document->storage()->count(), maxTextInputCharacters + 2);
}

TEST_F(WindowClipboard, readsLongTextInTheBackground) {
  auto editor = makeEditor();
  paste(editor, std::string(1'048'575, 'x'));
  EXPECT_FALSE(editor->isBusy());
  EXPECT_EQ(editor.document->storage()->count(), 1'048'575);
  paste(editor, std::string(1'048'576, 'x'));
  EXPECT_TRUE(editor->isBusy());
  EXPECT_EQ(editor.window->statusText, "Preparing paste…");
  editor->stopCurrentOperation();
  platform.executor.runAll();
  EXPECT_EQ(editor.document->storage()->count(), 1'048'575);
}

TEST_F(WindowClipboard, refusesToPasteOverTheDocumentLimit) {
  auto editor = makeEditor("abcdef");
  editor.editor().setMaximumByteCount(8);
  const char* refused =
      "The resulting document would exceed Quillmor's safe in-memory document limit of 8 bytes.";
  editor.editor().setInsertMode(true);
  platform.alerts.expect("Paste", refused);
  paste(editor, "xyz");
  EXPECT_EQ(editor.text(), "abcdef");
  paste(editor, "xy");
  EXPECT_EQ(editor.text(), "xyabcdef");
  // Overwriting and replacing need less room.
  editor.editor().setInsertMode(false);
  editor.editor().setCaretOffset(5);
  paste(editor, "uvw");
  EXPECT_EQ(editor.text(), "xyabcuvw");
  editor.editor().setSelection({0, 4});
  paste(editor, "WXYZ");
  EXPECT_EQ(editor.text(), "WXYZcuvw");
  editor.editor().setSelection({});
  editor.editor().setCaretOffset(7);
  platform.alerts.expect("Paste", refused);
  paste(editor, "xy");
  EXPECT_EQ(editor.text(), "WXYZcuvw");
}

TEST_F(WindowClipboard, pastesAsManyBytesAsOneCommandMayMake) {
  auto editor = makeEditor();
  for (const std::int64_t count : {maxGeneratedInputBytes - 1, maxGeneratedInputBytes}) {
    editor->perform("forwardSelectAll:");
    platform.pasteboard.heldBytes = ByteBuffer::uninitialized(count);
    editor->perform("forwardPaste:");
    EXPECT_EQ(editor.document->storage()->count(), count);
  }
}

TEST_F(WindowClipboard, refusesMoreBytesThanOneCommandMayMake) {
  auto editor = makeEditor();
  platform.pasteboard.heldBytes = ByteBuffer::uninitialized(maxGeneratedInputBytes + 1);
  platform.alerts.expect("Paste",
                         "Requested operation would generate 268435457 byte(s). The safety limit "
                         "is 268435456 bytes to avoid memory pressure.");
  editor->perform("forwardPaste:");
  EXPECT_EQ(editor.document->storage()->count(), 0);
  EXPECT_EQ(platform.pasteboard.greatestByteCountAsked, maxGeneratedInputBytes);
}

#if QUILLMOR_NEW_CAN_FAIL
TEST_F(WindowClipboard, saysThatPastingFailed) {
  auto editor = makeEditor("abc");
  platform.executor.aroundNextWork([](const std::function<void()>& work) {
    const NoMoreAddressSpace none;
    work();
  });
  platform.alerts.expect("Paste Failed", "Cannot allocate memory");
  paste(editor, std::string(maxClipboardTextSourceBytes, 'x'));
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "abc");
}
#endif

TEST_F(WindowClipboard, copiesOffsetsAndRanges) {
  auto editor = editorWithSelection(std::string(5000, 'a'), {0x10, 0x1000});
  editor->perform("forwardCopySelectionRange:");
  EXPECT_EQ(platform.pasteboard.heldText, "0x00000010 - 0x0000100F");
  editor.editor().setCaretOffset(0xAB);
  editor->perform("forwardCopyCurrentOffset:");
  EXPECT_EQ(platform.pasteboard.heldText, "0x000000AB");
  editor.editor().setSelection({});
  platform.alerts.expect("Copy Selection Range", "Select one or more bytes first.");
  editor->perform("forwardCopySelectionRange:");
  EXPECT_EQ(platform.pasteboard.heldText, "0x000000AB");
}

}  // namespace
}  // namespace quillmor::test
