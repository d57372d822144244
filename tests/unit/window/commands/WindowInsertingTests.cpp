// Filling the selection, inserting typed bytes and files.

#include <functional>
#include <utility>

#include "search/typed/TypedInput.h"
#include "support/FaultySystemCalls.h"
#include "support/MemoryProbes.h"
#include "support/WindowFixture.h"
#include "window/commands/WindowLimits.h"

namespace quillmor::test {
namespace {

constexpr const char* kBusy =
    "Another operation is already running. Wait for it to finish before editing.";
constexpr const char* kFillQuestion = "Enter a pattern to repeat across the selected bytes.";
constexpr const char* kFillInsertQuestion =
    "No selection is active. Enter a pattern and length to insert filled bytes at the current "
    "offset.";
constexpr const char* kInsertQuestion = "Enter bytes to insert at the current offset.";

class WindowInserting : public WindowFixture {
 protected:
  void fill(const EditorUnderTest& editor, const std::string& pattern) {
    platform.alerts.expect("Fill Selection", kFillQuestion, "OK", {"", pattern});
    editor->perform("forwardFillSelection:");
  }

  void insertFill(const EditorUnderTest& editor, const std::string& pattern,
                  const std::string& length) {
    platform.alerts.expect("Fill Selection", kFillInsertQuestion, "OK", {"", pattern, length});
    editor->perform("forwardFillSelection:");
  }

  void insert(const EditorUnderTest& editor, const std::string& pattern, const std::string& count) {
    platform.alerts.expect("Insert Bytes", kInsertQuestion, "OK", {"", pattern, count});
    editor->perform("forwardInsertBytes:");
  }

  void bookmark(const EditorUnderTest& editor, std::int64_t offset) {
    platform.alerts.expect("Bookmarks",
                           "Added bookmark at 0x0000000" + std::to_string(offset) + ".");
    editor.editor().setCaretOffset(offset);
    editor->perform("forwardAddBookmark:");
  }

  static std::string undoName(const EditorUnderTest& editor) {
    return editor.document->undoManager().undoActionName();
  }
};

TEST_F(WindowInserting, fillsTheSelectionWithAPattern) {
  auto editor = makeEditor("0123456789");
  editor.editor().setSelection({1, 5});
  fill(editor, "61 62");
  EXPECT_EQ(editor.text(), "0ababa6789");
  EXPECT_EQ(editor.editor().caretOffset(), 1);
  EXPECT_EQ(editor.editor().selection(), (HexSelection{1, 5}));
  EXPECT_EQ(undoName(editor), "Fill Selection");
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), "0123456789");
}

TEST_F(WindowInserting, fillsWithZeroAndFF) {
  auto editor = makeEditor("abcdef");
  editor.editor().setSelection({1, 2});
  editor->perform("forwardFillSelectionWithZero:");
  EXPECT_EQ(editor.text(), std::string("a\0\0def", 6));
  EXPECT_EQ(undoName(editor), "Fill Selection with 00");
  editor->perform("forwardFillSelectionWithFF:");
  EXPECT_EQ(editor.text(),
            "a\xFF\xFF"
            "def");
  EXPECT_EQ(undoName(editor), "Fill Selection with FF");
}

TEST_F(WindowInserting, insertsAFillWhereNothingIsSelected) {
  auto editor = makeEditor("abc");
  editor.editor().setCaretOffset(1);
  insertFill(editor, "2E 2D", "3");
  EXPECT_EQ(editor.text(), "a.-.bc");
  EXPECT_EQ(undoName(editor), "Fill Selection");
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), "abc");
}

TEST_F(WindowInserting, refusesFillsWithoutLength) {
  auto editor = makeEditor("abc");
  for (const char* length : {"0", "-1"}) {
    platform.alerts.expectRefusedAnswer("Fill Selection", kFillInsertQuestion, "OK",
                                        {"", "0x00", length}, "Length must be greater than zero.");
    editor->perform("forwardFillSelection:");
  }
  platform.alerts.expectRefusedAnswer("Fill Selection", kFillInsertQuestion, "OK",
                                      {"", "0x00", "many"}, "Enter a valid length.");
  editor->perform("forwardFillSelection:");
  platform.alerts.expectRefusedAnswer("Fill Selection", kFillInsertQuestion, "OK", {"", "", "1"},
                                      "Enter a valid byte pattern.");
  editor->perform("forwardFillSelection:");
  platform.alerts.expect("Fill Selection", kFillInsertQuestion, "Cancel", {"", "0x00", "1"});
  editor->perform("forwardFillSelection:");
  EXPECT_EQ(editor.text(), "abc");
}

TEST_F(WindowInserting, fillsInTheBackgroundFromOneMebibyteOn) {
  auto editor = makeEditor(std::string(backgroundEditThresholdBytes, 'a'));
  editor.editor().setSelection({0, backgroundEditThresholdBytes});
  fill(editor, "0x62");
  EXPECT_TRUE(editor->isBusy());
  EXPECT_EQ(editor.window->statusText, "Generating fill bytes…");
  platform.executor.runAll();
  EXPECT_TRUE(editor.text() == std::string(backgroundEditThresholdBytes, 'b'));
  editor.editor().setSelection({});
  insertFill(editor, "0x63", "0x100000");
  EXPECT_EQ(editor.window->statusText, "Generating fill bytes…");
  editor->stopCurrentOperation();
  platform.executor.runAll();
  EXPECT_EQ(editor.document->storage()->count(), backgroundEditThresholdBytes);
}

TEST_F(WindowInserting, saysThatFillingFailed) {
  auto editor = makeEditor(std::string(4 * backgroundEditThresholdBytes, 'a'));
  editor.editor().setSelection({0, 4 * backgroundEditThresholdBytes});
  const auto runOutOfMemory = [](const std::function<void()>& work) {
    const NoMoreAddressSpace none;
    work();
  };
  platform.executor.aroundNextWork(runOutOfMemory);
  platform.alerts.expect("Fill Selection", kFillQuestion, "OK", {"", "0x62"});
  platform.alerts.expect("Fill Selection Failed", "Cannot allocate memory");
  editor->perform("forwardFillSelection:");
  platform.executor.runAll();
  platform.executor.aroundNextWork(runOutOfMemory);
  platform.alerts.expect("Fill Selection with FF Failed", "Cannot allocate memory");
  editor->perform("forwardFillSelectionWithFF:");
  platform.executor.runAll();
  platform.executor.aroundNextWork(runOutOfMemory);
  platform.alerts.expect("Insert Bytes", kInsertQuestion, "OK", {"", "0x61", "0x400000"});
  platform.alerts.expect("Insert Bytes Failed", "Cannot allocate memory");
  editor->perform("forwardInsertBytes:");
  platform.executor.runAll();
  EXPECT_FALSE(editor.document->isDocumentEdited());
}

TEST_F(WindowInserting, saysWhenTheSelectionChangedMeanwhile) {
  auto editor = makeEditor(std::string(backgroundEditThresholdBytes, 'a'));
  editor.editor().setSelection({0, backgroundEditThresholdBytes});
  fill(editor, "0x62");
  editor.document->storage()->bytes.truncate(10);
  platform.alerts.expect("Fill Selection Failed",
                         "The selected range changed before the operation completed.");
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), std::string(10, 'a'));
}

TEST_F(WindowInserting, insertsBytesAndMovesBookmarks) {
  auto editor = makeEditor("abcdef");
  for (const std::int64_t offset : {1, 2, 4}) bookmark(editor, offset);
  editor.editor().setCaretOffset(2);
  insert(editor, "2E 2D", "2");
  EXPECT_EQ(editor.text(), "ab.-.-cdef");
  EXPECT_EQ(editor->bookmarks().offsets(), (std::vector<std::int64_t>{1, 6, 8}));
  EXPECT_EQ(undoName(editor), "Insert Bytes");
  EXPECT_EQ(editor.editor().caretOffset(), 6);
  EXPECT_EQ(editor.editor().selection(), (HexSelection{2, 4}));
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), "abcdef");
  EXPECT_EQ(editor->bookmarks().offsets(), (std::vector<std::int64_t>{1, 2, 4}));
  EXPECT_FALSE(editor.document->isDocumentEdited());
}

TEST_F(WindowInserting, saysWhenNothingWouldBeInserted) {
  auto editor = makeEditor("abc");
  platform.alerts.expectRefusedAnswer("Insert Bytes", kInsertQuestion, "OK", {"", "0x00", "0"},
                                      "No bytes were generated.");
  editor->perform("forwardInsertBytes:");
  platform.alerts.expectRefusedAnswer("Insert Bytes", kInsertQuestion, "OK", {"", "0x00", "-1"},
                                      "Enter a valid repeat count.");
  editor->perform("forwardInsertBytes:");
  platform.alerts.expectRefusedAnswer("Insert Bytes", kInsertQuestion, "OK", {"", "0x00", "x"},
                                      "Enter a valid repeat count.");
  editor->perform("forwardInsertBytes:");
  platform.alerts.expect("Insert Bytes", kInsertQuestion, "Cancel", {"", "0x00", "1"});
  editor->perform("forwardInsertBytes:");
  EXPECT_EQ(editor.text(), "abc");
}

TEST_F(WindowInserting, refusesTooMuchBeforeTakingMemory) {
  auto editor = makeEditor("abc");
  const std::pair<const char*, const char*> tooMany[] = {
      {"0x7FFFFFFFFFFFFFFF", "9223372036854775807"},
      {"0x4000000000000000", "9223372036854775807"},
      {"134217729", "268435458"},
  };
  for (const auto& [count, total] : tooMany) {
    platform.alerts.expectRefusedAnswer(
        "Insert Bytes", kInsertQuestion, "OK", {"", "00 01", count},
        "Requested operation would generate " + std::string(total) +
            " byte(s). The safety limit is 268435456 bytes to avoid memory "
            "pressure.");
    const NoMoreAddressSpace none;
    editor->perform("forwardInsertBytes:");
  }
  editor.editor().setMaximumByteCount(6);
  const char* refused =
      "The resulting document would exceed Quillmor's safe in-memory document limit of 6 bytes.";
  platform.alerts.expectRefusedAnswer("Insert Bytes", kInsertQuestion, "OK", {"", "00 01", "2"},
                                      refused);
  editor->perform("forwardInsertBytes:");
  platform.alerts.expectRefusedAnswer("Fill Selection", kFillInsertQuestion, "OK",
                                      {"", "0x00", "4"}, refused);
  editor->perform("forwardFillSelection:");
  EXPECT_EQ(editor.text(), "abc");
  insertFill(editor, "0x2E", "3");
  EXPECT_EQ(editor.text(), "...abc");
}

TEST_F(WindowInserting, checksTheSizeOfAFillByItsOwnLimit) {
  auto editor = makeEditor();
  editor.document->storage()->bytes = ByteBuffer::uninitialized(maxGeneratedInputBytes + 1);
  editor.editor().recalcMetrics();
  editor.editor().setSelection({0, maxGeneratedInputBytes + 1});
  platform.alerts.expect("Fill Selection", kFillQuestion, "OK", {"", "00 01"});
  platform.alerts.expect("Fill Selection",
                         "Requested operation would generate 268435457 byte(s). The safety limit "
                         "is 268435456 bytes to avoid memory pressure.");
  editor->perform("forwardFillSelection:");
  EXPECT_FALSE(editor->isBusy());
  editor.editor().setSelection({1, maxGeneratedInputBytes});
  platform.alerts.expect("Fill Selection", kFillQuestion, "OK", {"", "00 01"});
  editor->perform("forwardFillSelection:");
  EXPECT_TRUE(editor->isBusy());
  editor->stopCurrentOperation();
  platform.executor.runAll();
}

TEST_F(WindowInserting, asksAgainForASelectionThatWentDuringTheQuestion) {
  auto editor = makeEditor("abcdef");
  editor.editor().setSelection({0, 3});
  platform.alerts.duringNext([&] { editor.editor().setSelection({}); });
  platform.alerts.expect("Fill Selection", kFillQuestion, "OK", {"", "00 01"});
  platform.alerts.expect("Fill Selection", "Select one or more bytes first.");
  editor->perform("forwardFillSelection:");
  EXPECT_EQ(editor.text(), "abcdef");
}

TEST_F(WindowInserting, insertsManyBytesInTheBackground) {
  auto editor = makeEditor("abc");
  insert(editor, "0x2E", "0xFFFFF");
  EXPECT_FALSE(editor->isBusy());
  editor->perform("forwardUndo:");
  insert(editor, "0x2E", "0x100000");
  EXPECT_EQ(editor.window->statusText, "Generating bytes…");
  platform.executor.runAll();
  EXPECT_TRUE(editor.text() == std::string(0x100000, '.') + "abc");
  EXPECT_EQ(editor.editor().selection(), (HexSelection{0, 0x100000}));
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), "abc");
  editor->perform("forwardRedo:");
  EXPECT_TRUE(editor.text() == std::string(0x100000, '.') + "abc");
  editor.editor().setCaretOffset(0x100001);
  editor.editor().setSelection({});
  insert(editor, "0x2D", "0x100000");
  platform.executor.runAll();
  EXPECT_TRUE(editor.text() ==
              std::string(0x100000, '.') + "a" + std::string(0x100000, '-') + "bc");
}

TEST_F(WindowInserting, refusesWhileBusy) {
  auto editor = makeEditor("abc");
  BusyScope busy = editor->context().frame().beginBusyStatus("Working…");
  const std::pair<const char*, std::string_view> commands[] = {
      {"Fill Selection", "forwardFillSelection:"},
      {"Insert Bytes", "forwardInsertBytes:"},
      {"Insert File at Offset", "forwardInsertFileAtOffset:"},
      {"Append File to End", "forwardAppendFileToEnd:"},
  };
  for (const auto& [title, command] : commands) {
    platform.alerts.expect(title, kBusy);
    editor->perform(command);
  }
  EXPECT_EQ(editor.text(), "abc");
}

class WindowInsertingFiles : public WindowInserting {
 protected:
  void choose(const FileLocation& file) { platform.filePanels.openAnswers.push_back({file}); }
};

TEST_F(WindowInsertingFiles, insertsAtTheCaretAndAppends) {
  auto editor = makeEditor("abcd");
  bookmark(editor, 3);
  editor.editor().setCaretOffset(2);
  choose(folder.write("part.bin", "123"));
  editor->perform("forwardInsertFileAtOffset:");
  EXPECT_EQ(editor.window->statusText, "Reading file to insert…");
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "ab123cd");
  EXPECT_EQ(editor->bookmarks().offsets(), std::vector<std::int64_t>{6});
  EXPECT_EQ(undoName(editor), "Insert File");
  choose(folder.location("part.bin"));
  editor->perform("forwardAppendFileToEnd:");
  EXPECT_EQ(editor.window->statusText, "Reading file to append…");
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "ab123cd123");
  EXPECT_EQ(undoName(editor), "Append File");
  editor->perform("forwardUndo:");
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), "abcd");
  EXPECT_EQ(editor->bookmarks().offsets(), std::vector<std::int64_t>{3});
}

TEST_F(WindowInsertingFiles, doesNothingWhenNoneIsChosen) {
  auto editor = makeEditor("abcd");
  platform.filePanels.openAnswers.push_back({});
  editor->perform("forwardInsertFileAtOffset:");
  EXPECT_FALSE(editor->isBusy());
}

TEST_F(WindowInsertingFiles, saysThatAFileIsEmpty) {
  auto editor = makeEditor("abcd");
  folder.write("empty.bin", "");
  choose(folder.location("empty.bin"));
  platform.alerts.expect("Insert File at Offset",
                         "The selected file is empty. No bytes were inserted.");
  editor->perform("forwardInsertFileAtOffset:");
  platform.executor.runAll();
  choose(folder.location("empty.bin"));
  platform.alerts.expect("Append File to End",
                         "The selected file is empty. No bytes were appended.");
  editor->perform("forwardAppendFileToEnd:");
  platform.executor.runAll();
  EXPECT_FALSE(editor.document->isDocumentEdited());
}

TEST_F(WindowInsertingFiles, refusesFilesLargerThanTheRoomLeft) {
  auto editor = makeEditor("abcd");
  editor.editor().setMaximumByteCount(7);
  folder.write("part.bin", "1234");
  choose(folder.location("part.bin"));
  platform.alerts.expect("Insert File Failed",
                         "The selected file is too large to insert safely in one operation.");
  editor->perform("forwardInsertFileAtOffset:");
  platform.executor.runAll();
  choose(folder.location("part.bin"));
  platform.alerts.expect("Append File Failed",
                         "The selected file is too large to append safely in one operation.");
  editor->perform("forwardAppendFileToEnd:");
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "abcd");
  choose(folder.write("part.bin", "123"));
  editor->perform("forwardAppendFileToEnd:");
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "abcd123");
  const char* full = "The document has reached Quillmor's safe in-memory document limit.";
  platform.alerts.expect("Insert File at Offset", full);
  editor->perform("forwardInsertFileAtOffset:");
  platform.alerts.expect("Append File to End", full);
  editor->perform("forwardAppendFileToEnd:");
}

TEST_F(WindowInsertingFiles, saysWhyAFileCannotBeRead) {
  auto editor = makeEditor("abcd");
  choose(folder.location("missing.bin"));
  platform.alerts.expect("Insert File Failed", "No such file or directory");
  editor->perform("forwardInsertFileAtOffset:");
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "abcd");
}

TEST_F(WindowInsertingFiles, insertsNothingOfAFileThatChangesWhileItIsRead) {
  auto editor = makeEditor("abcd");
  choose(folder.write("part.bin", "123"));
  FaultySystemCalls calls;
  calls.before(SystemCall::pread, 1, [this] { folder.write("part.bin", "12345"); });
  const ScopedSystemCalls scope(calls);
  platform.alerts.expect("Insert File Failed",
                         "The file changed while it was being read. Try again.");
  editor->perform("forwardInsertFileAtOffset:");
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "abcd");
}

TEST_F(WindowInsertingFiles, stopsSilently) {
  auto editor = makeEditor("abcd");
  choose(folder.write("part.bin", "123"));
  editor->perform("forwardAppendFileToEnd:");
  editor->stopCurrentOperation();
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "abcd");
}

}  // namespace
}  // namespace quillmor::test
