// What must hold when memory runs out, when another program interferes, and when the user is faster
// than the work.

#include <gmock/gmock.h>

#include <filesystem>
#include <new>

#include "fileaccess/URLReservations.h"
#include "support/ApplicationFixture.h"
#include "support/ErrorMatchers.h"
#include "support/MemoryProbes.h"

namespace quillmor::test {
namespace {

constexpr const char* kChangedOnDisk = "The file has been changed by another program.";
constexpr const char* kChangedOnDiskText =
    "Saving now replaces those changes by the bytes in this window.";

class WindowRobustness : public WindowFixture {};

TEST_F(WindowRobustness, anEditThatRunsOutOfMemoryLeavesNoUndoStep) {
  auto editor = makeEditor();
  editor.document->readData(ByteBuffer::filled(32 * 1024 * 1024, 0x55));
  editor.editor().setInsertMode(true);
  editor.editor().setCaretOffset(16);
  platform.alerts.expect("Bookmarks", "Added bookmark at 0x00000010.");
  editor->perform("forwardAddBookmark:");
  const ByteBuffer before = editor.document->storage()->bytes;
  {
    // The bytes are shared, so that inserting needs memory for a copy of them.
    const NoMoreAddressSpace none;
    EXPECT_THROW(editor.editor().editByte('x'), std::bad_alloc);
  }
  EXPECT_TRUE(editor.document->storage()->bytes == before);
  editor->perform("forwardUndo:");
  EXPECT_TRUE(editor.document->storage()->bytes == before);
  EXPECT_EQ(editor->bookmarks().offsets(), std::vector<std::int64_t>{16});
  EXPECT_FALSE(editor.document->undoManager().canRedo());
  editor.editor().editByte('x');
  editor->perform("forwardUndo:");
  EXPECT_TRUE(editor.document->storage()->bytes == before);
}

TEST_F(WindowRobustness, aFileBeingOpenedIsReservedUntilItIsShown) {
  const auto file = folder.write("data.bin", "hello");
  auto editor = makeEditor();
  editor->commands().replacement().openURLInCurrentWindow(file, [](OpenCurrentResult) {});
  platform.executor.runOneWork();
  EXPECT_THAT([&] { SecureFileAccess::reserveOutputURL(file); },
              failsWith(1207,
                        "Another operation is already reading or writing data.bin. Choose a "
                        "different destination or wait for that operation to finish."));
  platform.executor.runPosted();
  EXPECT_EQ(editor.text(), "hello");
  EXPECT_NO_THROW(SecureFileAccess::reserveOutputURL(file));
}

TEST_F(WindowRobustness, stoppingAfterTheLastByteStillOpensNothing) {
  const auto file = folder.write("data.bin", "hello");
  auto editor = makeEditor("old");
  editor->commands().replacement().openURLInCurrentWindow(file, [](OpenCurrentResult) {});
  platform.executor.runOneWork();
  editor->stopCurrentOperation();
  platform.executor.runPosted();
  EXPECT_EQ(editor.text(), "old");
  EXPECT_FALSE(editor->isBusy());
}

TEST_F(WindowRobustness, aSaveThatNeverTouchedTheFileAdoptsNobodysFile) {
  const auto file = folder.write("data.bin", "hello");
  auto editor = openEdited(file);
  std::filesystem::remove(file.path());
  std::filesystem::create_directory(file.path());
  platform.alerts.expect(kChangedOnDisk, kChangedOnDiskText, "Overwrite");
  platform.alerts.expect("Save Failed", "Could not open the document output file.");
  editor->perform("forwardSaveDocument:");
  platform.executor.runAll();
  std::filesystem::remove(file.path());
  folder.write("data.bin", "another program's");
  platform.alerts.expect(kChangedOnDisk, kChangedOnDiskText, "Cancel");
  editor->perform("forwardSaveDocument:");
  platform.executor.runAll();
  EXPECT_EQ(folder.read("data.bin"), "another program's");
}

TEST_F(WindowRobustness, savingAsOntoItsOwnChangedFileAsksToo) {
  const auto file = folder.write("data.bin", "hello");
  auto editor = openEdited(file);
  folder.write("data.bin", "another program's");
  platform.filePanels.saveAnswers.push_back(file);
  platform.alerts.expect(kChangedOnDisk, kChangedOnDiskText, "Cancel");
  editor->perform("forwardSaveDocumentAs:");
  platform.executor.runAll();
  EXPECT_EQ(folder.read("data.bin"), "another program's");
}

TEST_F(WindowRobustness, aSaveWhoseStepFailsUnforeseenStillEnds) {
  auto document = documents.makeUntitledDocument(platform.executor);
  std::optional<DocumentSaveOutcome> ended;
  DocumentSaver::Hooks hooks;
  hooks.confirmOverwritingChangedFile = [] { return true; };
  hooks.willWrite = [] { throw std::bad_alloc(); };
  hooks.completion = [&](const DocumentSaveOutcome& outcome) { ended = outcome; };
  const auto file = folder.location("data.bin");
  saver.save(document, file, DocumentSaveOperation::saveAs, std::move(hooks));
  platform.executor.runAll();
  ASSERT_TRUE(ended.has_value());
  EXPECT_EQ(ended->result, DocumentSaveResult::failed);
  EXPECT_EQ(ended->error->message(), Error::posix(ENOMEM).message());
  EXPECT_NO_THROW(SecureFileAccess::reserveOutputURL(file));
}

TEST_F(WindowRobustness, reloadingAFileThatAnotherWindowShowsReportsNoSuccess) {
  const auto first = folder.write("first.bin", "first");
  const auto second = folder.write("second.bin", "second");
  auto one = openEditor(first);
  auto two = openEditor(second);
  std::filesystem::remove(second.path());
  std::filesystem::create_hard_link(first.path(), second.path());
  two->perform("forwardReloadFromDisk:");
  platform.executor.runAll();
  EXPECT_EQ(two.text(), "second");
  EXPECT_EQ(one.window->broughtToFront, 1);
}

TEST_F(WindowRobustness, copiesTheFilesPathAndRevealsIt) {
  const auto file = folder.write("data.bin", "hello");
  auto editor = openEditor(file);
  editor->perform("forwardCopyFilePath:");
  EXPECT_EQ(platform.pasteboard.heldText, file.path());
  editor->perform("forwardRevealInFinder:");
  EXPECT_EQ(platform.workspace.revealed, std::vector<FileLocation>{file});
}

TEST_F(WindowRobustness, neitherCopiesNorRevealsAFileThatDoesNotExistYet) {
  auto editor = makeEditor();
  platform.alerts.expect("Copy File Path", "Current document has no file path.");
  editor->perform("forwardCopyFilePath:");
  platform.alerts.expect("Reveal in Finder", "Current document has no file path.");
  editor->perform("forwardRevealInFinder:");
  EXPECT_TRUE(platform.workspace.revealed.empty());
}

TEST_F(WindowRobustness, aSaveThatCannotEvenSayThatItFailedEndsOnce) {
  auto editor = openEdited(folder.write("data.bin", "hello"));
  platform.executor.failNextWork();
  platform.alerts.duringNext([&] {
    platform.alerts.duringNext([] { throw std::bad_alloc(); });
    throw std::bad_alloc();
  });
  int ends = 0;
  EXPECT_THROW(editor->commands().saving().saveCurrentDocument([&](auto) { ++ends; }), Error);
  platform.executor.runAll();
  EXPECT_EQ(ends, 1);
  EXPECT_EQ(platform.alerts.shown().size(), 2U);
  EXPECT_FALSE(editor->isBusy());
}

TEST_F(WindowRobustness, showsWhatUndoAndRedoHaveRestoredWhateverFails) {
  auto editor = makeEditor("abc");
  type(editor, "J");
  const auto expectShown = [&] {
    const std::string shown = editor.window->statusText;
    editor->context().updateStatus();
    EXPECT_EQ(shown, editor.window->statusText);
  };
  editor.window->identityFailures = 2;
  EXPECT_THROW(editor->perform("forwardUndo:"), std::bad_alloc);
  EXPECT_EQ(editor.text(), "abc");
  expectShown();
  editor.window->identityFailures = 2;
  EXPECT_THROW(editor->perform("forwardRedo:"), std::bad_alloc);
  EXPECT_EQ(editor.text(), "Jbc");
  expectShown();
}

class ApplicationRobustness : public ApplicationFixture {};

TEST_F(ApplicationRobustness, aCommandThatRunsOutOfMemoryShowsAnAlertAndKeepsTheDocument) {
  delegate.newDocument();
  auto editor = editorAt(0);
  editor.document->readData(ByteBuffer::filled(32 * 1024 * 1024, 0x55));
  const ByteBuffer before = editor.document->storage()->bytes;
  platform.alerts.expect("Delete Failed", "Cannot allocate memory");
  {
    const NoMoreAddressSpace none;
    editor.editor().setCaretOffset(16 * 1024 * 1024);
    delegate.perform("forwardDeleteSelection:");
  }
  EXPECT_TRUE(editor.document->storage()->bytes == before);
  EXPECT_FALSE(editor.document->undoManager().canRedo());
}

TEST_F(ApplicationRobustness, quittingStopsWhenAnotherWindowGetsBusyDuringTheReview) {
  auto first = newEditedDocument("a");
  auto second = newEditedDocument("b");
  BusyScope busy;
  platform.alerts.duringNext([&] {
    busy = first->context().frame().beginBusyStatus("Working…");
    ASSERT_TRUE(busy);
  });
  expectSaveQuestion(second.document->displayName(), "Don't Save");
  platform.alerts.expect("Operation in Progress",
                         "Wait for the current operation to finish before quitting Quillmor.");
  delegate.requestQuit();
  EXPECT_EQ(application.terminations, 0);
  busy.end();
}

}  // namespace
}  // namespace quillmor::test
