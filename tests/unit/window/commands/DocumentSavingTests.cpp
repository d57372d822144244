// Saving through the window's commands: what reaches the disk, what is asked, what is refused.

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "fileaccess/URLReservations.h"
#include "support/WindowFixture.h"

namespace quillmor::test {
namespace {

class DocumentSaving : public WindowFixture {
 protected:
  static struct stat statusOf(const FileLocation& location) {
    struct stat status {};
    EXPECT_EQ(::lstat(location.path().c_str(), &status), 0);
    return status;
  }
};

TEST_F(DocumentSaving, writesTheBytesAndKeepsInodeModeAndLinks) {
  const auto file = folder.write("data.bin", "hello");
  std::filesystem::create_hard_link(file.path(), folder.location("second").path());
  ::chmod(file.path().c_str(), 0640);
  const auto before = statusOf(file);
  auto editor = openEdited(file);
  EXPECT_TRUE(editor.window->isEdited);
  editor->perform("forwardSaveDocument:");
  EXPECT_TRUE(editor->isBusy());
  platform.executor.runAll();
  EXPECT_FALSE(editor->isBusy());
  EXPECT_FALSE(editor.window->isEdited);
  EXPECT_EQ(TemporaryFolder::read(file), "Jello");
  const auto after = statusOf(file);
  EXPECT_EQ(after.st_ino, before.st_ino);
  EXPECT_EQ(after.st_mode, before.st_mode);
  EXPECT_EQ(after.st_nlink, 2U);
}

TEST_F(DocumentSaving, showsTheFileNameWhileItSaves) {
  const auto file = folder.write("data.bin", "hello");
  auto editor = openEdited(file);
  editor->perform("forwardSaveDocument:");
  platform.executor.runOneWork();
  platform.executor.runPosted();
  EXPECT_EQ(editor.window->statusText, "Saving data.bin");
  EXPECT_FALSE(editor.window->toolbarEnabled);
  platform.executor.runAll();
  EXPECT_TRUE(editor.window->toolbarEnabled);
}

TEST_F(DocumentSaving, writesTheBytesAsTheyWereWhenItBegan) {
  const auto file = folder.write("data.bin", "hello");
  auto editor = openEdited(file);
  editor->perform("forwardSaveDocument:");
  platform.executor.runOneWork();
  platform.executor.runPosted();
  editor.document->storage()->bytes.set(1, 'u');
  platform.executor.runAll();
  EXPECT_EQ(TemporaryFolder::read(file), "Jello");
}

TEST_F(DocumentSaving, ofAnUntitledDocumentAsksForAPlace) {
  auto editor = makeEditor();
  type(editor, "new");
  platform.filePanels.saveAnswers.push_back(folder.location("made.bin"));
  editor->perform("forwardSaveDocument:");
  platform.executor.runAll();
  EXPECT_EQ(platform.filePanels.suggestedNames, std::vector<std::string>{"Untitled"});
  EXPECT_EQ(TemporaryFolder::read(folder.location("made.bin")), "new");
  EXPECT_EQ(editor.window->title, "made.bin");
  EXPECT_FALSE(editor.window->isEdited);
}

TEST_F(DocumentSaving, cancelledInThePanelChangesNothing) {
  auto editor = makeEditor();
  type(editor, "new");
  platform.filePanels.saveAnswers.push_back(std::nullopt);
  editor->perform("forwardSaveDocument:");
  platform.executor.runAll();
  EXPECT_TRUE(editor.window->isEdited);
  EXPECT_FALSE(editor->isBusy());
}

TEST_F(DocumentSaving, asMovesTheDocumentToTheNewFile) {
  const auto file = folder.write("data.bin", "hello");
  auto editor = openEdited(file);
  platform.filePanels.saveAnswers.push_back(folder.location("copy.bin"));
  editor->perform("forwardSaveDocumentAs:");
  platform.executor.runAll();
  EXPECT_EQ(TemporaryFolder::read(file), "hello");
  EXPECT_EQ(TemporaryFolder::read(folder.location("copy.bin")), "Jello");
  EXPECT_EQ(editor.window->title, "copy.bin");
  EXPECT_EQ(editor.document->location(), folder.location("copy.bin"));
}

TEST_F(DocumentSaving, asksBeforeItOverwritesAFileThatAnotherProgramChanged) {
  const auto file = folder.write("data.bin", "hello");
  auto editor = openEdited(file);
  folder.write("data.bin", "other program");
  platform.alerts.expect("The file has been changed by another program.",
                         "Saving now replaces those changes by the bytes in this window.",
                         "Cancel");
  editor->perform("forwardSaveDocument:");
  platform.executor.runAll();
  EXPECT_EQ(TemporaryFolder::read(file), "other program");
  EXPECT_TRUE(editor.window->isEdited);
  EXPECT_EQ(platform.alerts.shown().back().defaultButton, 0U);
  EXPECT_EQ(platform.alerts.shown().back().buttons.front(), "Cancel");

  platform.alerts.expect("The file has been changed by another program.",
                         "Saving now replaces those changes by the bytes in this window.",
                         "Overwrite");
  editor->perform("forwardSaveDocument:");
  platform.executor.runAll();
  EXPECT_EQ(TemporaryFolder::read(file), "Jello");
  EXPECT_FALSE(editor.window->isEdited);
}

TEST_F(DocumentSaving, asksWhenTheFileHasGone) {
  const auto file = folder.write("data.bin", "hello");
  auto editor = openEdited(file);
  std::filesystem::remove(file.path());
  platform.alerts.expect("The file has been changed by another program.",
                         "Saving now replaces those changes by the bytes in this window.",
                         "Overwrite");
  editor->perform("forwardSaveDocument:");
  platform.executor.runAll();
  EXPECT_EQ(TemporaryFolder::read(file), "Jello");
}

TEST_F(DocumentSaving, twiceInARowAsksNothing) {
  const auto file = folder.write("data.bin", "hello");
  auto editor = openEdited(file);
  editor->perform("forwardSaveDocument:");
  platform.executor.runAll();
  type(editor, "E");
  editor->perform("forwardSaveDocument:");
  platform.executor.runAll();
  EXPECT_EQ(TemporaryFolder::read(file), "JEllo");
}

TEST_F(DocumentSaving, whileAnExportWritesTheFileFails) {
  const auto file = folder.write("data.bin", "hello");
  auto editor = openEdited(file);
  const auto writing = SecureFileAccess::reserveOutputURL(file);
  platform.alerts.expect(
      "Save Failed",
      "Another operation is already reading or writing data.bin. Choose a different "
      "destination or wait for that operation to finish.");
  editor->perform("forwardSaveDocument:");
  platform.executor.runAll();
  EXPECT_EQ(TemporaryFolder::read(file), "hello");
  EXPECT_TRUE(editor.window->isEdited);
  EXPECT_FALSE(editor->isBusy());
}

TEST_F(DocumentSaving, neverLandsOnAnotherOpenDocumentsFile) {
  const auto first = folder.write("first.bin", "first");
  const auto second = folder.write("second.bin", "second");
  std::filesystem::create_hard_link(first.path(), folder.location("link.bin").path());
  auto one = openEditor(first);
  auto two = openEditor(second);
  for (const char* name : {"first.bin", "link.bin"}) {
    platform.filePanels.saveAnswers.push_back(folder.location(name));
    platform.alerts.expect(
        "Save Failed", std::string("Choose a different output destination. Writing to ") + name +
                           " would overwrite an open document or another input file.");
    two->perform("forwardSaveDocumentAs:");
    platform.executor.runAll();
    EXPECT_EQ(TemporaryFolder::read(first), "first");
  }
}

TEST_F(DocumentSaving, throughASymbolicLinkIsRefused) {
  const auto file = folder.write("data.bin", "hello");
  std::filesystem::create_symlink(file.path(), folder.location("link.bin").path());
  auto editor = makeEditor("other");
  platform.filePanels.saveAnswers.push_back(folder.location("link.bin"));
  platform.alerts.expect("Save Failed", "Could not open the document output file.");
  editor->perform("forwardSaveDocumentAs:");
  platform.executor.runAll();
  EXPECT_EQ(TemporaryFolder::read(file), "hello");
}

TEST_F(DocumentSaving, intoAMissingFolderFails) {
  auto editor = makeEditor("x");
  platform.filePanels.saveAnswers.push_back(folder.location("missing/data.bin"));
  platform.alerts.expect("Save Failed", "Could not open the document output file.");
  editor->perform("forwardSaveDocumentAs:");
  platform.executor.runAll();
  EXPECT_FALSE(editor->isBusy());
}

TEST_F(DocumentSaving, ofAFileOpenedThroughALinkWritesTheRealFile) {
  const auto file = folder.write("data.bin", "hello");
  std::filesystem::create_symlink(file.path(), folder.location("link.bin").path());
  auto editor = openEditor(folder.location("link.bin"));
  EXPECT_EQ(editor.document->location(), file);
  EXPECT_EQ(editor.window->title, "data.bin");
  type(editor, "J");
  editor->perform("forwardSaveDocument:");
  platform.executor.runAll();
  EXPECT_EQ(TemporaryFolder::read(file), "Jello");
  EXPECT_TRUE(std::filesystem::is_symlink(folder.location("link.bin").path()));
}

TEST_F(DocumentSaving, asThroughDotsBehindALinkStaysWithTheFileThatWasWritten) {
  std::filesystem::create_directories(folder.location("far/sub").path());
  std::filesystem::create_directory_symlink("far/sub", folder.location("link").path());
  auto editor = makeEditor();
  type(editor, "new");
  platform.filePanels.saveAnswers.push_back(folder.location("link/../out.bin"));
  editor->perform("forwardSaveDocumentAs:");
  platform.executor.runAll();
  EXPECT_EQ(editor.document->location(), folder.location("far/out.bin"));
  EXPECT_EQ(folder.read("far/out.bin"), "new");
}

TEST_F(DocumentSaving, keepsFileNamesThatAreNotUtf8) {
  const auto file = folder.write("b\xFFn.\xFE", "hello");
  auto editor = openEditor(file);
  EXPECT_EQ(editor.text(), "hello");
  type(editor, "J");
  editor->perform("forwardSaveDocument:");
  platform.executor.runAll();
  EXPECT_EQ(TemporaryFolder::read(file), "Jello");
}

TEST_F(DocumentSaving, stoppedBeforeItTouchesTheFileIsCancelledWithoutAnAlert) {
  const auto file = folder.write("data.bin", "hello");
  auto editor = openEdited(file);
  std::optional<DocumentSaveOutcome> outcome;
  DocumentSaver::Hooks hooks;
  hooks.progress = std::make_shared<TaskProgress>();
  hooks.willWrite = [progress = hooks.progress] { progress->requestStop(); };
  hooks.completion = [&](const DocumentSaveOutcome& ended) { outcome = ended; };
  saver.save(editor.document, file, DocumentSaveOperation::save, std::move(hooks));
  platform.executor.runAll();
  ASSERT_TRUE(outcome.has_value());
  EXPECT_EQ(outcome->result, DocumentSaveResult::cancelled);
  EXPECT_FALSE(outcome->error.has_value());
  EXPECT_TRUE(editor.document->isDocumentEdited());
  EXPECT_EQ(TemporaryFolder::read(file), "hello");
}

TEST_F(DocumentSaving, isRefusedWhileBusy) {
  const auto file = folder.write("data.bin", "hello");
  auto editor = openEditor(file);
  BusyScope busy = editor->context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  const std::string busyText =
      "Another operation is already running. Wait for it to finish before editing.";
  platform.alerts.expect("Save", busyText);
  editor->perform("forwardSaveDocument:");
  platform.alerts.expect("Save As", busyText);
  editor->perform("forwardSaveDocumentAs:");
  platform.alerts.expect("Revert", busyText);
  editor->perform("forwardRevertDocument:");
  platform.alerts.expect("Reload from Disk", busyText);
  editor->perform("forwardReloadFromDisk:");
  busy.end();
}

TEST_F(DocumentSaving, aFailedWriteLeavesTheDocumentEdited) {
  const auto file = folder.write("data.bin", "hello");
  auto editor = openEdited(file);
  // A folder in the file's place makes opening it for writing fail.
  std::filesystem::remove(file.path());
  std::filesystem::create_directory(file.path());
  platform.alerts.expect("The file has been changed by another program.",
                         "Saving now replaces those changes by the bytes in this window.",
                         "Overwrite");
  platform.alerts.expect("Save Failed", "Could not open the document output file.");
  editor->perform("forwardSaveDocument:");
  platform.executor.runAll();
  EXPECT_TRUE(editor.window->isEdited);
  std::filesystem::remove(file.path());
}

TEST_F(DocumentSaving, withoutASnapshotOffTheMainThreadFails) {
  auto document = documents.makeUntitledDocument(platform.executor);
  std::string message;
  int code = 0;
  platform.executor.runDetached([&] {
    try {
      document->bytesToWrite();
    } catch (const Error& error) {
      message = error.message();
      code = error.code();
    }
  });
  platform.executor.runOneWork();
  EXPECT_EQ(code, 1210);
  EXPECT_EQ(message, "The asynchronous document save did not have a valid content snapshot.");
}

TEST_F(DocumentSaving, onTheMainThreadWritesTheCurrentBytes) {
  auto editor = makeEditor("bytes");
  EXPECT_EQ(editor.document->bytesToWrite(), editor.document->data());
}

TEST_F(DocumentSaving, asksAgainOnlyUntilUndoLeadsBackToWhatWasSaved) {
  const auto file = folder.write("data.bin", "hello");
  auto editor = openEdited(file);
  editor->perform("forwardSaveDocument:");
  platform.executor.runAll();
  editor->perform("forwardUndo:");
  EXPECT_TRUE(editor.window->isEdited);
  editor->perform("forwardRedo:");
  EXPECT_FALSE(editor.window->isEdited);
  editor->perform("forwardUndo:");
  type(editor, "C");
  editor->perform("forwardUndo:");
  EXPECT_TRUE(editor.window->isEdited);
}

}  // namespace
}  // namespace quillmor::test
