// Commands on so many bytes that a limit decides what becomes of them.

#include <filesystem>
#include <functional>
#include <utility>

#include "document/UndoRecords.h"
#include "search/typed/TypedInput.h"
#include "support/WindowFixture.h"
#include "window/commands/WindowLimits.h"

namespace quillmor::test {
namespace {

constexpr std::int64_t kUndoLimit = UndoRecords::maxUndoSnapshotBytes;
constexpr const char* kPatternMessage =
    "Enter a byte pattern. The pattern is repeated across the active selection.";
constexpr const char* kFillQuestion = "Enter a pattern to repeat across the selected bytes.";
constexpr const char* kFillInsertQuestion =
    "No selection is active. Enter a pattern and length to insert filled bytes at the current "
    "offset.";

class WindowLargeEdits : public WindowFixture {
 protected:
  /// A document of `count` times "a" with `selection`, without unsaved changes.
  EditorUnderTest editorOf(std::int64_t count, HexSelection selection) {
    auto editor = makeEditor();
    editor.document->readData(ByteBuffer::filled(count, 'a'));
    editor.editor().setSelection(selection);
    return editor;
  }

  /// An undo step that a command without one has to take with it.
  static void typeOneByte(const EditorUnderTest& editor, std::int64_t offset) {
    const HexSelection selection = editor.editor().selection();
    editor.editor().setSelection({});
    editor.editor().setCaretOffset(offset);
    type(editor, "b");
    editor.editor().setSelection(selection);
  }

  static const ByteBuffer& bytesOf(const EditorUnderTest& editor) {
    return editor.document->storage()->bytes;
  }

  static UndoManager& undoOf(const EditorUnderTest& editor) {
    return editor.document->undoManager();
  }

  void crop(const EditorUnderTest& editor, std::int64_t length) {
    platform.alerts.expect(
        "Crop to Selection",
        "Keep only the selected " + std::to_string(length) + " byte(s) and remove everything else?",
        "Crop");
    editor->perform("forwardCropToSelection:");
    platform.executor.runAll();
  }
};

TEST_F(WindowLargeEdits, areUndoableUpTo64MiB) {
  for (const std::string_view command :
       {"forwardInvertSelection:", "forwardFillSelectionWithZero:"}) {
    auto editor = editorOf(kUndoLimit + 2, {1, kUndoLimit});
    typeOneByte(editor, 0);
    const ByteBuffer before = bytesOf(editor);
    editor->perform(command);
    platform.executor.runAll();
    const ByteBuffer after = bytesOf(editor);
    EXPECT_FALSE(after == before);
    EXPECT_EQ(after.size(), before.size());
    EXPECT_EQ(after[0], 'b');
    EXPECT_EQ(after[kUndoLimit + 1], 'a');
    editor->perform("forwardUndo:");
    EXPECT_TRUE(bytesOf(editor) == before);
    editor->perform("forwardRedo:");
    EXPECT_TRUE(bytesOf(editor) == after);
    editor->perform("forwardUndo:");
    editor->perform("forwardUndo:");
    EXPECT_FALSE(editor.document->isDocumentEdited());
    EXPECT_TRUE(bytesOf(editor) == ByteBuffer::filled(kUndoLimit + 2, 'a'));
  }
}

TEST_F(WindowLargeEdits, takeTheHistoryWithThemAbove64MiB) {
  for (const std::string_view command :
       {"forwardInvertSelection:", "forwardFillSelectionWithZero:"}) {
    auto editor = editorOf(kUndoLimit + 2, {1, kUndoLimit + 1});
    typeOneByte(editor, 0);
    editor->perform(command);
    platform.executor.runAll();
    EXPECT_FALSE(undoOf(editor).canUndo());
    EXPECT_TRUE(editor.document->isDocumentEdited());
    EXPECT_EQ(bytesOf(editor)[0], 'b');
    EXPECT_NE(bytesOf(editor)[1], 'a');
    EXPECT_NE(bytesOf(editor)[kUndoLimit + 1], 'a');
    EXPECT_EQ(editor.editor().caretOffset(), 1);
    EXPECT_EQ(editor.editor().selection(), (HexSelection{1, kUndoLimit + 1}));
  }
}

TEST_F(WindowLargeEdits, thatChangeNothingKeepTheHistory) {
  auto editor = editorOf(kUndoLimit + 2, {1, kUndoLimit + 1});
  typeOneByte(editor, 0);
  editor->perform("forwardReverseSelection:");
  platform.executor.runAll();
  EXPECT_EQ(undoOf(editor).undoActionName(), "Edit");
  editor->perform("forwardUndo:");
  EXPECT_FALSE(editor.document->isDocumentEdited());
}

TEST_F(WindowLargeEdits, canBeFollowedByStepsOfTheirOwn) {
  auto editor = editorOf(kUndoLimit + 1, {0, kUndoLimit + 1});
  editor->perform("forwardInvertSelection:");
  platform.executor.runAll();
  const ByteBuffer inverted = bytesOf(editor);
  editor.editor().setSelection({0, 4});
  editor->perform("forwardFillSelectionWithZero:");
  EXPECT_FALSE(bytesOf(editor) == inverted);
  editor->perform("forwardUndo:");
  EXPECT_TRUE(bytesOf(editor) == inverted);
  EXPECT_FALSE(undoOf(editor).canUndo());
  EXPECT_TRUE(editor.document->isDocumentEdited());
}

TEST_F(WindowLargeEdits, cropADocumentOf64MiBAsOneStep) {
  auto editor = editorOf(kUndoLimit, {1, 3});
  crop(editor, 3);
  EXPECT_EQ(editor.text(), "aaa");
  editor->perform("forwardUndo:");
  EXPECT_EQ(bytesOf(editor).size(), kUndoLimit);
  EXPECT_FALSE(editor.document->isDocumentEdited());
  editor->perform("forwardRedo:");
  EXPECT_EQ(editor.text(), "aaa");
}

TEST_F(WindowLargeEdits, cropALargerDocumentWithoutAStep) {
  auto editor = editorOf(kUndoLimit + 1, {0, 3});
  typeOneByte(editor, 0);
  crop(editor, 3);
  EXPECT_EQ(editor.text(), "baa");
  EXPECT_FALSE(undoOf(editor).canUndo());
  EXPECT_TRUE(editor.document->isDocumentEdited());
  EXPECT_EQ(editor.editor().caretOffset(), 0);
}

TEST_F(WindowLargeEdits, markADocumentThatWasCroppedWithoutAStep) {
  auto editor = editorOf(kUndoLimit + 1, {0, 3});
  EXPECT_FALSE(editor.window->isEdited);
  crop(editor, 3);
  EXPECT_EQ(editor.text(), "aaa");
  EXPECT_FALSE(undoOf(editor).canUndo());
  EXPECT_TRUE(editor.document->isDocumentEdited());
  EXPECT_TRUE(editor.window->isEdited);
  typeOneByte(editor, 0);
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), "aaa");
  EXPECT_TRUE(editor.document->isDocumentEdited()) << "the file holds more";
}

class WindowSmallEdits : public WindowLargeEdits {
 protected:
  static constexpr std::int64_t kLength = backgroundEditThresholdBytes - 1;

  EditorUnderTest editorBelowTheThreshold() {
    auto editor = editorOf(kLength + 2, {1, kLength});
    editor.document->storage()->bytes.set(1, 'b');
    return editor;
  }
};

TEST_F(WindowSmallEdits, combineAtOnce) {
  const std::pair<const char*, std::string_view> commands[] = {
      {"XOR Selection", "forwardXorSelection:"},
      {"AND Selection", "forwardAndSelection:"},
      {"OR Selection", "forwardOrSelection:"},
  };
  for (const auto& [title, command] : commands) {
    auto editor = editorBelowTheThreshold();
    const ByteBuffer before = bytesOf(editor);
    platform.alerts.expect(title, kPatternMessage, "OK", {"", "1E 9C"});
    editor->perform(command);
    EXPECT_FALSE(editor->isBusy());
    EXPECT_FALSE(platform.executor.hasWork());
    EXPECT_FALSE(bytesOf(editor) == before);
  }
}

TEST_F(WindowSmallEdits, swapAtOnce) {
  const std::tuple<const char*, const char*, const char*, std::string_view> commands[] = {
      {"Swap Selection 16-bit Endian", "1", "2", "forwardSwapSelection16:"},
      {"Swap Selection 32-bit Endian", "3", "4", "forwardSwapSelection32:"},
  };
  for (const auto& [title, trailing, size, command] : commands) {
    auto editor = editorBelowTheThreshold();
    const ByteBuffer before = bytesOf(editor);
    platform.alerts.expect(title, "Completed. " + std::string(trailing) +
                                      " trailing byte(s) were left unchanged because the "
                                      "selection length is not divisible by " +
                                      size + ".");
    editor->perform(command);
    EXPECT_FALSE(editor->isBusy());
    EXPECT_FALSE(platform.executor.hasWork());
    EXPECT_FALSE(bytesOf(editor) == before);
  }
}

TEST_F(WindowSmallEdits, fillAtOnce) {
  auto editor = editorBelowTheThreshold();
  platform.alerts.expect("Fill Selection", kFillQuestion, "OK", {"", "0x63"});
  editor->perform("forwardFillSelection:");
  EXPECT_FALSE(editor->isBusy());
  EXPECT_EQ(bytesOf(editor)[kLength], 'c');
  EXPECT_EQ(bytesOf(editor)[kLength + 1], 'a');
}

TEST_F(WindowSmallEdits, copyAndCutAtOnce) {
  auto editor = editorBelowTheThreshold();
  editor->perform("forwardCopy:");
  EXPECT_FALSE(editor->isBusy());
  EXPECT_EQ(platform.pasteboard.heldBytes->size(), kLength);
  platform.pasteboard.heldBytes.reset();
  editor->perform("forwardCut:");
  EXPECT_FALSE(editor->isBusy());
  EXPECT_EQ(platform.pasteboard.heldBytes->size(), kLength);
  EXPECT_EQ(editor.text(), "aa");
}

TEST_F(WindowSmallEdits, copyAsTextAtOnce) {
  auto editor = editorBelowTheThreshold();
  for (const char* action :
       {"forwardCopyAsHex:", "forwardCopyAsCArray:", "forwardCopyAsSwiftArray:",
        "forwardCopyAsBase64:", "forwardCopyAsPythonBytes:", "forwardCopyAsJSONByteArray:"}) {
    platform.pasteboard.heldText.reset();
    editor.editor().setSelection({1, kLength});
    editor->perform(action);
    EXPECT_FALSE(editor->isBusy());
    EXPECT_TRUE(platform.pasteboard.heldText.has_value()) << action;
    editor.editor().setSelection({1, kLength + 1});
    editor->perform(action);
    EXPECT_TRUE(editor->isBusy()) << action;
    platform.executor.runAll();
  }
}

class WindowLargeInsertions : public WindowLargeEdits {
 protected:
  /// A file of `size` bytes that takes no room on the disk.
  FileLocation sparseFile(std::int64_t size) {
    const auto file = folder.write("sparse.bin", "");
    std::filesystem::resize_file(file.path(), static_cast<std::uintmax_t>(size));
    return file;
  }

  void insertFile(const EditorUnderTest& editor, std::int64_t size) {
    platform.filePanels.openAnswers.push_back({sparseFile(size)});
    editor->perform("forwardInsertFileAtOffset:");
    platform.executor.runAll();
  }
};

TEST_F(WindowLargeInsertions, takeAFileOfAsManyBytesAsOneCommandMayMake) {
  auto editor = makeEditor("ab");
  editor.editor().setMaximumByteCount(2 * maxGeneratedInputBytes);
  editor.editor().setCaretOffset(1);
  insertFile(editor, maxGeneratedInputBytes);
  const ByteBuffer& bytes = bytesOf(editor);
  ASSERT_EQ(bytes.size(), maxGeneratedInputBytes + 2);
  EXPECT_EQ(bytes[0], 'a');
  EXPECT_EQ(bytes[1], 0);
  EXPECT_EQ(bytes[maxGeneratedInputBytes], 0);
  EXPECT_EQ(bytes[maxGeneratedInputBytes + 1], 'b');
  EXPECT_FALSE(undoOf(editor).canUndo());
  EXPECT_TRUE(editor.document->isDocumentEdited());
}

TEST_F(WindowLargeInsertions, refuseAFileOfOneByteMore) {
  auto editor = makeEditor("ab");
  editor.editor().setMaximumByteCount(2 * maxGeneratedInputBytes);
  platform.alerts.expect("Insert File Failed",
                         "The selected file is too large to insert safely in one operation.");
  insertFile(editor, maxGeneratedInputBytes + 1);
  platform.filePanels.openAnswers.push_back({folder.location("sparse.bin")});
  platform.alerts.expect("Append File Failed",
                         "The selected file is too large to append safely in one operation.");
  editor->perform("forwardAppendFileToEnd:");
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "ab");
}

TEST_F(WindowLargeInsertions, refuseAFillOfMoreThanOneCommandMayMake) {
  auto editor = makeEditor("ab");
  editor.editor().setMaximumByteCount(2 * maxGeneratedInputBytes);
  platform.alerts.expectRefusedAnswer("Fill Selection", kFillInsertQuestion, "OK",
                                      {"", "0x00", "268435457"},
                                      "Requested operation would generate 268435457 byte(s). The "
                                      "safety limit is 268435456 bytes to "
                                      "avoid memory pressure.");
  editor->perform("forwardFillSelection:");
  EXPECT_EQ(editor.text(), "ab");
}

TEST_F(WindowLargeInsertions, refuseToFillASelectionOfMoreThanOneCommandMayMake) {
  auto editor = editorOf(maxGeneratedInputBytes + 1, {0, maxGeneratedInputBytes + 1});
  platform.alerts.expect("Fill Selection", kFillQuestion, "OK", {"", "0x00"});
  platform.alerts.expect("Fill Selection",
                         "Requested operation would generate 268435457 byte(s). The safety limit "
                         "is 268435456 bytes to avoid memory pressure.");
  editor->perform("forwardFillSelection:");
  EXPECT_FALSE(platform.executor.hasWork());
  EXPECT_FALSE(editor.document->isDocumentEdited());
}

TEST_F(WindowLargeInsertions, refuseToTransformASelectionOfMoreThanOneCommandMayMake) {
  auto editor = editorOf(maxGeneratedInputBytes + 1, {0, maxGeneratedInputBytes + 1});
  const std::pair<const char*, std::string_view> commands[] = {
      {"Invert Selection", "forwardInvertSelection:"},
      {"Swap Selection 32-bit Endian", "forwardSwapSelection32:"},
      {"AND Selection", "forwardAndSelection:"},
      {"Fill Selection with FF", "forwardFillSelectionWithFF:"},
      {"Crop to Selection", "forwardCropToSelection:"},
  };
  for (const auto& [title, command] : commands) {
    platform.alerts.expect(title,
                           "Selected range is 268435457 byte(s). The in-memory edit safety limit "
                           "is 268435456 bytes to avoid memory pressure.");
    editor->perform(command);
    EXPECT_FALSE(platform.executor.hasWork());
  }
  EXPECT_FALSE(editor.document->isDocumentEdited());
}

}  // namespace
}  // namespace quillmor::test
