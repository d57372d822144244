// Opening another file into a window that already shows a document, and dropping one on it.

#include <filesystem>

#include "fileaccess/URLReservations.h"
#include "support/WindowFixture.h"

namespace quillmor::test {
namespace {

class WindowReplacing : public WindowFixture {
 protected:
  void SetUp() override {
    old = folder.write("old.bin", "old bytes");
    next = folder.write("next.bin", "next");
    editor = openEditor(old);
  }

  void expectQuestion(const std::string& answer) {
    platform.alerts.expect("Replace Current Document?",
                           "The current document has unsaved changes. Save before opening another "
                           "file in this window?",
                           answer);
  }

  OpenCurrentResult open(const FileLocation& location) {
    std::optional<OpenCurrentResult> ended;
    editor->commands().replacement().openURLInCurrentWindow(
        location, [&](OpenCurrentResult result) { ended = result; });
    platform.executor.runAll();
    EXPECT_TRUE(ended.has_value());
    return ended.value_or(OpenCurrentResult::failed);
  }

  FileLocation old = FileLocation::fromPath("/");
  FileLocation next = FileLocation::fromPath("/");
  EditorUnderTest editor;
};

TEST_F(WindowReplacing, startsAtTheBeginningOfTheNewFile) {
  type(editor, "x");
  editor->perform("forwardUndo:");
  editor.editor().setCaretOffset(3);
  platform.alerts.expect("Bookmarks", "Added bookmark at 0x00000003.");
  editor->perform("forwardAddBookmark:");
  editor.editor().setSelection({1, 4});
  EXPECT_EQ(open(next), OpenCurrentResult::opened);
  EXPECT_EQ(editor.text(), "next");
  EXPECT_EQ(editor.editor().storage(), editor.document->storage());
  EXPECT_EQ(editor.editor().caretOffset(), 0);
  EXPECT_EQ(editor.editor().selection(), HexSelection{});
  EXPECT_TRUE(editor->bookmarks().offsets().empty());
  EXPECT_FALSE(editor.document->undoManager().canUndo());
  EXPECT_FALSE(editor.document->undoManager().canRedo());
  EXPECT_EQ(editor.window->title, "next.bin");
  EXPECT_EQ(editor.window->represented, next);
  EXPECT_FALSE(editor.window->isEdited);
}

TEST_F(WindowReplacing, remembersTheCaretOfTheOldFileAndNoneOfAnUntitledOne) {
  editor.editor().setCaretOffset(5);
  open(next);
  EXPECT_EQ(platform.defaults.integers.at("Quillmor.session.offset." + old.path()), 5);
  EXPECT_FALSE(platform.defaults.integers.contains("Quillmor.session.offset." + next.path()));

  platform.defaults.integers.clear();
  editor = makeEditor("untitled");
  editor.editor().setCaretOffset(2);
  open(old);
  EXPECT_TRUE(platform.defaults.integers.empty());
}

TEST_F(WindowReplacing, remembersNoCaretWhenTheNewFileCannotBeRead) {
  editor.editor().setCaretOffset(5);
  platform.alerts.expect("Open Failed", Error::posix(ENOENT).message());
  EXPECT_EQ(open(folder.location("missing")), OpenCurrentResult::failed);
  EXPECT_TRUE(platform.defaults.integers.empty());
  EXPECT_EQ(editor.text(), "old bytes");
  EXPECT_EQ(editor.editor().caretOffset(), 5);
}

TEST_F(WindowReplacing, asksWithAWarningAndThreeButtons) {
  type(editor, "x");
  expectQuestion("Cancel");
  open(next);
  const Alert& alert = platform.alerts.shown().back();
  EXPECT_EQ(alert.style, AlertStyle::warning);
  EXPECT_EQ(alert.buttons, (std::vector<std::string>{"Save", "Don't Save", "Cancel"}));
}

TEST_F(WindowReplacing, savesFirstWhenAskedTo) {
  type(editor, "x");
  expectQuestion("Save");
  EXPECT_EQ(open(next), OpenCurrentResult::opened);
  EXPECT_EQ(TemporaryFolder::read(old), "xld bytes");
  EXPECT_EQ(editor.text(), "next");
}

TEST_F(WindowReplacing, savesAnUntitledDocumentUnderANewName) {
  editor = makeEditor();
  type(editor, "new");
  expectQuestion("Save");
  platform.filePanels.saveAnswers.push_back(folder.location("made.bin"));
  EXPECT_EQ(open(next), OpenCurrentResult::opened);
  EXPECT_EQ(folder.read("made.bin"), "new");
  EXPECT_EQ(editor.text(), "next");
}

TEST_F(WindowReplacing, isCancelledWithTheSavePanel) {
  editor = makeEditor();
  type(editor, "new");
  expectQuestion("Save");
  platform.filePanels.saveAnswers.push_back(std::nullopt);
  EXPECT_EQ(open(next), OpenCurrentResult::cancelled);
  EXPECT_EQ(editor.text(), "new");
  EXPECT_TRUE(editor.window->isEdited);
}

TEST_F(WindowReplacing, losesTheChangesOnDontSave) {
  type(editor, "x");
  expectQuestion("Don't Save");
  EXPECT_EQ(open(next), OpenCurrentResult::opened);
  EXPECT_EQ(TemporaryFolder::read(old), "old bytes");
  EXPECT_FALSE(editor.window->isEdited);
}

TEST_F(WindowReplacing, cancelledKeepsEverything) {
  type(editor, "x");
  expectQuestion("Cancel");
  EXPECT_EQ(open(next), OpenCurrentResult::cancelled);
  EXPECT_EQ(editor.text(), "xld bytes");
  EXPECT_TRUE(editor.document->undoManager().canUndo());
}

TEST_F(WindowReplacing, endsWhenSavingFails) {
  type(editor, "x");
  std::filesystem::remove(old.path());
  std::filesystem::create_directory(old.path());
  expectQuestion("Save");
  platform.alerts.expect("The file has been changed by another program.",
                         "Saving now replaces those changes by the bytes in this window.",
                         "Overwrite");
  platform.alerts.expect("Save Failed", "Could not open the document output file.");
  EXPECT_EQ(open(next), OpenCurrentResult::failed);
  EXPECT_EQ(editor.text(), "xld bytes");
  EXPECT_TRUE(editor.window->isEdited);
}

TEST_F(WindowReplacing, isCancelledWhenTheUserKeepsAnotherProgramsChange) {
  type(editor, "x");
  folder.write("old.bin", "other program");
  expectQuestion("Save");
  platform.alerts.expect("The file has been changed by another program.",
                         "Saving now replaces those changes by the bytes in this window.",
                         "Cancel");
  EXPECT_EQ(open(next), OpenCurrentResult::cancelled);
  EXPECT_EQ(TemporaryFolder::read(old), "other program");
  EXPECT_EQ(editor.text(), "xld bytes");
}

TEST_F(WindowReplacing, withTheFileItShowsAlreadyAsksNothing) {
  type(editor, "x");
  EXPECT_EQ(open(old), OpenCurrentResult::broughtToFront);
  EXPECT_EQ(editor.text(), "xld bytes");
  EXPECT_TRUE(editor.window->isEdited);
}

TEST_F(WindowReplacing, letsTheOldFileBeOpenedInAnotherWindow) {
  open(next);
  auto other = makeEditor();
  other->commands().replacement().openURLInCurrentWindow(old, [](auto) {});
  platform.executor.runAll();
  EXPECT_EQ(other.text(), "old bytes");
}

TEST_F(WindowReplacing, byADroppedFile) {
  editor->commands().replacement().openDroppedFile(next);
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "next");
}

TEST_F(WindowReplacing, byADroppedFileAsksAboutUnsavedChanges) {
  type(editor, "x");
  expectQuestion("Cancel");
  editor->commands().replacement().openDroppedFile(next);
  EXPECT_FALSE(platform.executor.hasWork());
  EXPECT_EQ(editor.text(), "xld bytes");
}

TEST_F(WindowReplacing, byADroppedFileIsRefusedWhileBusy) {
  BusyScope busy = editor->context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  platform.alerts.expect("Open Dropped File",
                         "Another operation is already running. Wait for it to finish before "
                         "opening a dropped file.");
  editor->commands().replacement().openDroppedFile(next);
  EXPECT_FALSE(platform.executor.hasWork());
  busy.end();
  EXPECT_EQ(editor.text(), "old bytes");
}

TEST_F(WindowReplacing, opensNothingWhenTheWindowHasBecomeBusyDuringTheQuestion) {
  for (const char* const answer : {"Don't Save", "Save"}) {
    SCOPED_TRACE(answer);
    type(editor, "x");
    const std::string before = editor.text();
    BusyScope busy;
    platform.alerts.expect("Replace Current Document?",
                           "The current document has unsaved changes. Save before opening another "
                           "file in this window?",
                           answer);
    platform.alerts.expect(
        "Open", "Another operation is already running. Wait for it to finish before editing.");
    platform.alerts.duringNext(
        [&] { busy = editor->context().frame().beginBusyStatus("Working…"); });
    std::optional<OpenCurrentResult> ended;
    editor->commands().replacement().openURLInCurrentWindow(next,
                                                            [&](auto result) { ended = result; });
    EXPECT_EQ(ended, OpenCurrentResult::failed);
    EXPECT_TRUE(busy);
    EXPECT_FALSE(platform.executor.hasWork());
    EXPECT_EQ(editor.text(), before);
    EXPECT_TRUE(editor.document->isDocumentEdited());
  }
}

TEST_F(WindowReplacing, preparationReportsAReservedFileUnderTheGivenTitle) {
  type(editor, "x");
  const auto writing = SecureFileAccess::reserveOutputURL(next);
  platform.alerts.expect("Some Title",
                         "next.bin is currently being written by another save or export. Wait for "
                         "that operation to finish before opening or reading it.");
  std::optional<DocumentReplacementPreparation> ended;
  editor->commands().replacement().prepareToReplaceCurrentDocument(
      next, {.failure = "Some Title", .busy = "Open"}, [&](auto result) { ended = result; });
  EXPECT_EQ(ended, DocumentReplacementPreparation::failed);
}

}  // namespace
}  // namespace quillmor::test
