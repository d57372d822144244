// The notice in the status area of an editor window: what it says of what was refused, not found or
// failed, and how long it stays.

#include <gmock/gmock.h>

#include <cerrno>

#include "document/UndoRecords.h"
#include "support/FaultySystemCalls.h"
#include "support/WindowFixture.h"

namespace quillmor::test {
namespace {

class WindowNotices : public WindowFixture {
 protected:
  static SearchRequest text(std::string searched, std::string replacement = "") {
    return {.searchText = std::move(searched), .replaceText = std::move(replacement)};
  }

  static SearchRequest numbers(SearchMode mode, std::string searched,
                               std::string replacement = "") {
    return {.mode = mode, .searchText = std::move(searched), .replaceText = std::move(replacement)};
  }

  /// The command was refused with one beep and this notice.
  void expectRefused(const EditorUnderTest& editor, const std::string& notice) {
    EXPECT_EQ(editor.window->notice, notice);
    EXPECT_EQ(std::exchange(platform.beeper.count, 0), 1);
  }

  static void press(const EditorUnderTest& editor, KeyPress::Key key) {
    editor.editor().keyDown({.key = key, .characters = {}});
  }
};

TEST_F(WindowNotices, sayWhichCharactersAColumnTakes) {
  auto editor = makeEditor("hello");
  typeHex(editor, "g");
  expectRefused(editor, "Only the digits 0 to 9 and A to F can be typed in this column.");
  type(editor, "\t");
  expectRefused(editor, "Only printable ASCII characters can be typed in this column.");
}

TEST_F(WindowNotices, sayThatTheDocumentCannotGrow) {
  auto editor = makeEditor("hello");
  editor.editor().setInsertMode(true);
  editor.editor().setMaximumByteCount(6);
  editor.editor().setSelection({0, 1});
  editor->commands().replacing().performReplace(text("h", "long"));
  expectRefused(editor, "The document would grow beyond its size limit.");
  editor.editor().setMaximumByteCount(5);
  editor.editor().setSelection({});
  type(editor, "x");
  expectRefused(editor, "The document is at its size limit.");
}

TEST_F(WindowNotices, sayThatAnOperationIsRunning) {
  auto editor = makeEditor("hello");
  BusyScope busy = editor->context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  type(editor, "x");
  expectRefused(editor, "The document cannot be edited while an operation is running.");
  editor->perform("forwardUndo:");
  expectRefused(editor, "Another operation is already running.");
  editor->perform("forwardRedo:");
  expectRefused(editor, "Another operation is already running.");
  busy.end();
}

TEST_F(WindowNotices, sayThatThereIsNothingToUndoOrRedo) {
  auto editor = makeEditor("hello");
  editor->perform("forwardUndo:");
  expectRefused(editor, "There is nothing to undo.");
  editor->perform("forwardRedo:");
  expectRefused(editor, "There is nothing to redo.");
}

TEST_F(WindowNotices, sayThatThereIsNothingToPaste) {
  auto editor = makeEditor("hello");
  editor->perform("forwardPaste:");
  expectRefused(editor, "The clipboard holds nothing to paste.");
  platform.pasteboard.setBytes(ByteBuffer(), "");
  editor->perform("forwardPaste:");
  expectRefused(editor, "The clipboard holds nothing to paste.");
}

TEST_F(WindowNotices, sayThatNothingWasFound) {
  auto editor = makeEditor("hello");
  editor->commands().searching().performFind(text("z"), false);
  expectRefused(editor, "No match found.");
  editor->perform("forwardFindPrevious:");
  expectRefused(editor, "No match found.");
  platform.alerts.expect("Search Results", "No matches found.");
  editor->commands().searching().performSearchAll(text("z"));
  platform.executor.runAll();
  expectRefused(editor, "No matches found.");
  platform.alerts.expect("Replace All", "No matches were replaced.");
  editor->commands().replacing().performReplaceAll(text("z", "y"));
  platform.executor.runAll();
  expectRefused(editor, "No matches were replaced.");
}

TEST_F(WindowNotices, sayThatAWildcardPatternWasNotFound) {
  auto editor = makeEditor("hello");
  platform.alerts.expect("Find Wildcard/Mask",
                         "Enter hex bytes with ?? wildcards. Example: F0 ?? E6 0F", "OK", {"00"});
  platform.alerts.expect("Find Wildcard/Mask", "No match found.");
  editor->perform("forwardFindWildcardMask:");
  platform.executor.runAll();
  EXPECT_EQ(editor.window->notice, "No match found.");
}

TEST_F(WindowNotices, sayWhatCannotBeSearchedFor) {
  auto editor = makeEditor("hello");
  editor->perform("forwardFindNext:");
  expectRefused(editor, "Nothing to search for was entered.");
  editor->commands().searching().performFind({}, false);
  expectRefused(editor, "Nothing to search for was entered.");
  editor->commands().searching().performFind(numbers(SearchMode::hexValues, "zz"), false);
  expectRefused(editor, "The search text cannot be read as hexadecimal bytes.");
  editor->commands().searching().performSearchAll(numbers(SearchMode::integerNumber, "one"));
  expectRefused(editor, "The search text cannot be read as an integer.");
  editor->commands().replacing().performReplace(numbers(SearchMode::floatingPointNumber, "nan"));
  expectRefused(editor, "The search text cannot be read as a floating-point number.");
  SearchRequest ascii = text("é");
  ascii.textEncoding = SearchTextEncoding::ascii;
  editor->commands().replacing().performReplaceAll(ascii);
  expectRefused(editor, "The search text cannot be read as text in that encoding.");
}

TEST_F(WindowNotices, sayWhatCannotReplaceAMatch) {
  auto editor = makeEditor("\x01z");
  editor.editor().setSelection({0, 1});
  editor->commands().replacing().performReplace(numbers(SearchMode::integerNumber, "1", "300"));
  expectRefused(editor, "The replacement is not a number that fits in the place of the match.");
  editor->commands().replacing().performReplaceAll(numbers(SearchMode::hexValues, "01", "x"));
  expectRefused(editor, "The replacement cannot be read as hexadecimal bytes.");
}

TEST_F(WindowNotices, sayThatAChangeWasTooLargeToBeUndone) {
  auto editor = makeEditor();
  const std::int64_t tooMuch = UndoRecords::maxUndoSnapshotBytes + 1;
  editor.document->readData(ByteBuffer::filled(tooMuch, 'a'));
  editor.editor().setCaretOffset(tooMuch);
  editor.editor().setSelection({0, tooMuch});
  editor->perform("forwardDeleteSelection:");
  EXPECT_EQ(editor.editor().caretOffset(), 0);
  EXPECT_EQ(editor.window->notice, "This change was too large to be undone.");
  editor.document->readData(ByteBuffer::filled(tooMuch, 'a'));
  platform.alerts.expect("Replace All", "1 occurrence(s) replaced.");
  editor.document->storage()->bytes.set(5, 'b');
  editor->commands().replacing().performReplaceAll(text("b", "c"));
  EXPECT_EQ(editor.window->notice, "");
  platform.executor.runAll();
  EXPECT_EQ(editor.window->notice, "This change was too large to be undone.");
  type(editor, "z");
  EXPECT_EQ(editor.window->notice, "");
}

TEST_F(WindowNotices, goWithTheNextCommandCaretMoveOrEdit) {
  auto editor = makeEditor("hello");
  const auto refused = [&] {
    typeHex(editor, "g");
    EXPECT_NE(editor.window->notice, "");
  };
  refused();
  editor->perform("forwardCopyCurrentOffset:");
  EXPECT_EQ(editor.window->notice, "");
  refused();
  press(editor, KeyPress::Key::right);
  EXPECT_EQ(editor.window->notice, "");
  refused();
  typeHex(editor, "4");
  EXPECT_EQ(editor.window->notice, "");
  refused();
  editor.editor().setSelection({1, 2});
  EXPECT_EQ(editor.window->notice, "");
  refused();
  editor->commands().searching().performFind(text("l"), false);
  EXPECT_EQ(editor.window->notice, "");
}

TEST_F(WindowNotices, goWithADigitThatChangesNothingYet) {
  auto editor = makeEditor("A");
  typeHex(editor, "g");
  typeHex(editor, "4");
  EXPECT_FALSE(editor.document->isDocumentEdited());
  EXPECT_EQ(editor.window->notice, "");
}

TEST_F(WindowNotices, stayWhenTheCaretCannotMoveAndWhileAnOperationEnds) {
  auto editor = makeEditor("hello");
  typeHex(editor, "g");
  const std::string notice = editor.window->notice;
  press(editor, KeyPress::Key::left);
  EXPECT_EQ(editor.window->notice, notice);
  press(editor, KeyPress::Key::deleteBackward);
  EXPECT_EQ(editor.window->notice, notice);
  BusyScope busy = editor->context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  busy.end();
  EXPECT_EQ(editor.window->notice, notice);
}

TEST_F(WindowNotices, leaveTheStatusTextAlone) {
  auto editor = makeEditor("hello");
  typeHex(editor, "g");
  EXPECT_EQ(editor.window->statusText,
            "Size: 5 bytes  |  Offset: 0x00000000  |  Mode: Overwrite  |  Selection: 0");
}

TEST_F(WindowNotices, giveTheReasonOfAFailedSaveDuringAndAfterItsAlert) {
  const std::string message = "Could not write the document data. The file is incomplete now.";
  const std::string notice = message + " (No space left on device)";
  auto editor = openEdited(folder.write("data.bin", "hello"));
  platform.alerts.expect("Save Failed", message);
  std::string during;
  platform.alerts.duringNext([&] { during = editor.window->notice; });
  editor->perform("forwardSaveDocument:");
  {
    FaultySystemCalls calls;
    calls.fail(SystemCall::write, FaultySystemCalls::kEvery, ENOSPC);
    const ScopedSystemCalls scope(calls);
    platform.executor.runAll();
  }
  EXPECT_EQ(during, notice);
  EXPECT_EQ(editor.window->notice, notice);
  editor->perform("forwardSaveDocument:");
  EXPECT_EQ(editor.window->notice, "");
  platform.executor.runAll();
  EXPECT_EQ(folder.read("data.bin"), "Jello");
}

TEST_F(WindowNotices, giveTheReasonOfAFailedExport) {
  auto editor = makeEditor("hello");
  platform.filePanels.saveAnswers.push_back(folder.location("out.txt"));
  platform.alerts.expect("Export Hex Dump Failed", "Could not write the output data.");
  editor->perform("forwardExportHexDump:");
  FaultySystemCalls calls;
  calls.fail(SystemCall::write, FaultySystemCalls::kEvery, EDQUOT);
  const ScopedSystemCalls scope(calls);
  platform.executor.runAll();
  EXPECT_EQ(editor.window->notice, "Could not write the output data. (Disk quota exceeded)");
}

TEST_F(WindowNotices, repeatNoAlertThatTellsTheReasonItself) {
  auto editor = openEditor(folder.write("data.bin", "hello"));
  platform.alerts.expect("Compare With File Failed", Error::posix(ENOENT).message());
  platform.filePanels.openAnswers.push_back({folder.location("missing")});
  editor->perform("forwardCompareWithFile:");
  platform.executor.runAll();
  EXPECT_EQ(editor.window->notice, "");
}

TEST_F(WindowNotices, nameADroppedFileThatCouldNotBeOpened) {
  auto editor = makeEditor("hello");
  const auto file = folder.write("fw.bin", "x");
  platform.alerts.expect("Open Failed", "Could not open the selected file for reading.");
  editor->commands().replacement().openDroppedFile(file);
  {
    FaultySystemCalls calls;
    calls.fail(SystemCall::open, FaultySystemCalls::kEvery, EACCES);
    const ScopedSystemCalls scope(calls);
    platform.executor.runAll();
  }
  EXPECT_EQ(editor.window->notice, "Could not open fw.bin: Permission denied");
  editor->commands().replacement().openDroppedFile(file);
  EXPECT_EQ(editor.window->notice, "");
  platform.executor.runAll();
}

TEST_F(WindowNotices, writeOutWhatANameWouldDoToTheText) {
  auto editor = makeEditor("hello");
  platform.alerts.expect("Open Failed", Error::posix(ENOENT).message());
  editor->commands().replacement().openDroppedFile(folder.location("a\nb\xFF"));
  platform.executor.runAll();
  EXPECT_EQ(editor.window->notice, "Could not open a\\x0Ab\\xFF: No such file or directory");
}

TEST_F(WindowNotices, nameAFileDroppedWhileAnOperationIsRunning) {
  auto editor = makeEditor("hello");
  BusyScope busy = editor->context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  platform.alerts.expect("Open Dropped File",
                         "Another operation is already running. Wait for it to finish before "
                         "opening a dropped file.");
  editor->commands().replacement().openDroppedFile(folder.location("fw.bin"));
  EXPECT_EQ(editor.window->notice, "Could not open fw.bin: Another operation is already running.");
  busy.end();
}

TEST_F(WindowNotices, areNotShownOnceTheWindowHasGone) {
  auto editor = makeEditor("hello");
  editor->windowWillClose();
  editor->context().messages().showNotice("Too late.");
  EXPECT_EQ(editor.window->notice, "");
}

}  // namespace
}  // namespace quillmor::test
