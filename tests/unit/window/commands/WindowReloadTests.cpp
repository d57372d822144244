// Reverting and reloading: the questions before, the state that is kept, the messages after.

#include <cerrno>
#include <filesystem>

#include "support/WindowFixture.h"

namespace quillmor::test {
namespace {

class WindowReload : public WindowFixture {
 protected:
  void SetUp() override {
    file = folder.write("data.bin", "0123456789");
    editor = openEditor(file);
  }

  void expectRevertQuestion(const std::string& answer) {
    platform.alerts.expect(
        "Revert Changes?",
        "Discard unsaved changes to data.bin and reload the version currently on disk?", answer);
  }

  void expectReplaceQuestion(const std::string& answer) {
    platform.alerts.expect("Replace Current Document?",
                           "The current document has unsaved changes. Save before opening another "
                           "file in this window?",
                           answer);
  }

  void revert() {
    expectRevertQuestion("Revert");
    editor->perform("forwardRevertDocument:");
    platform.executor.runAll();
  }

  void setBookmarks(std::initializer_list<std::int64_t> offsets) {
    for (const std::int64_t offset : offsets) {
      editor.editor().setCaretOffset(offset);
      platform.alerts.expect("Bookmarks",
                             "Added bookmark at 0x0000000" + std::string(1, hex(offset)) + ".");
      editor->perform("forwardAddBookmark:");
    }
  }

  static char hex(std::int64_t value) { return "0123456789ABCDEF"[value]; }

  FileLocation file = FileLocation::fromPath("/");
  EditorUnderTest editor;
};

TEST_F(WindowReload, revertBringsBackWhatIsOnDisk) {
  type(editor, "xyz");
  revert();
  EXPECT_EQ(editor.text(), "0123456789");
  EXPECT_FALSE(editor.window->isEdited);
  EXPECT_FALSE(editor.document->isDocumentEdited());
}

TEST_F(WindowReload, revertAsksWithAWarningAndTwoButtons) {
  expectRevertQuestion("Cancel");
  editor->perform("forwardRevertDocument:");
  const Alert& alert = platform.alerts.shown().back();
  EXPECT_EQ(alert.style, AlertStyle::warning);
  EXPECT_EQ(alert.buttons, (std::vector<std::string>{"Revert", "Cancel"}));
}

TEST_F(WindowReload, revertCancelledChangesNothing) {
  type(editor, "xyz");
  expectRevertQuestion("Cancel");
  editor->perform("forwardRevertDocument:");
  EXPECT_FALSE(platform.executor.hasWork());
  EXPECT_EQ(editor.text(), "xyz3456789");
  EXPECT_TRUE(editor.window->isEdited);
}

TEST_F(WindowReload, withoutAFileIsRefused) {
  auto untitled = makeEditor("x");
  platform.alerts.expect("Revert", "Current document has no file path.");
  untitled->perform("forwardRevertDocument:");
  platform.alerts.expect("Reload from Disk", "Current document has no file path.");
  untitled->perform("forwardReloadFromDisk:");
  EXPECT_EQ(platform.alerts.shown().back().buttons, std::vector<std::string>{"OK"});
  EXPECT_FALSE(platform.executor.hasWork());
}

TEST_F(WindowReload, keepsCaretAndSelectionWhereTheyFit) {
  editor.editor().setCaretOffset(7);
  editor.editor().setSelection({3, 4});
  folder.write("data.bin", "abcdefghij");
  revert();
  EXPECT_EQ(editor.text(), "abcdefghij");
  EXPECT_EQ(editor.editor().caretOffset(), 7);
  EXPECT_EQ(editor.editor().selection(), (HexSelection{3, 4}));
}

TEST_F(WindowReload, clipsCaretSelectionAndBookmarksToAShorterFile) {
  setBookmarks({0, 4, 5, 6, 9});
  editor.editor().setCaretOffset(8);
  editor.editor().setSelection({3, 6});
  folder.write("data.bin", "abcde");
  revert();
  EXPECT_EQ(editor.editor().caretOffset(), 5);
  EXPECT_EQ(editor.editor().selection(), (HexSelection{3, 2}));
  // The one exactly at the new end stays.
  EXPECT_EQ(editor->bookmarks().offsets(), (std::vector<std::int64_t>{0, 4, 5}));
}

TEST_F(WindowReload, emptiesTheUndoHistory) {
  type(editor, "xyz");
  editor->perform("forwardUndo:");
  ASSERT_TRUE(editor.document->undoManager().canUndo());
  ASSERT_TRUE(editor.document->undoManager().canRedo());
  revert();
  EXPECT_FALSE(editor.document->undoManager().canUndo());
  EXPECT_FALSE(editor.document->undoManager().canRedo());
  editor->perform("forwardUndo:");
  EXPECT_EQ(platform.beeper.count, 1);
  EXPECT_EQ(editor.text(), "0123456789");
}

TEST_F(WindowReload, makesTheReloadedStateTheSavedOne) {
  type(editor, "xyz");
  revert();
  type(editor, "a");
  EXPECT_TRUE(editor.window->isEdited);
  editor->perform("forwardUndo:");
  EXPECT_FALSE(editor.window->isEdited);
  EXPECT_EQ(editor.text(), "0123456789");
}

TEST_F(WindowReload, revertFailsUnderItsOwnTitleAndKeepsTheDocument) {
  type(editor, "xyz");
  std::filesystem::remove(file.path());
  expectRevertQuestion("Revert");
  platform.alerts.expect("Revert Failed", Error::posix(ENOENT).message());
  editor->perform("forwardRevertDocument:");
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "xyz3456789");
  EXPECT_TRUE(editor.window->isEdited);
  EXPECT_TRUE(editor.document->undoManager().canUndo());
  EXPECT_FALSE(editor->isBusy());
}

TEST_F(WindowReload, stoppedKeepsTheDocumentAndSaysNothing) {
  type(editor, "xyz");
  expectRevertQuestion("Revert");
  editor->perform("forwardRevertDocument:");
  editor->stopCurrentOperation();
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "xyz3456789");
  EXPECT_TRUE(editor.window->isEdited);
}

TEST_F(WindowReload, reloadOfAnUnchangedDocumentAsksNothingAndReportsSuccess) {
  folder.write("data.bin", "changed elsewhere");
  editor.editor().setCaretOffset(4);
  platform.alerts.expect("Reload from Disk", "Reloaded: data.bin");
  editor->perform("forwardReloadFromDisk:");
  EXPECT_EQ(editor.window->statusText, "Opening data.bin");
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "changed elsewhere");
  EXPECT_EQ(editor.editor().caretOffset(), 4);
}

TEST_F(WindowReload, reloadAfterDontSaveLosesTheChanges) {
  type(editor, "xyz");
  expectReplaceQuestion("Don't Save");
  platform.alerts.expect("Reload from Disk", "Reloaded: data.bin");
  editor->perform("forwardReloadFromDisk:");
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "0123456789");
  EXPECT_FALSE(editor.window->isEdited);
  EXPECT_FALSE(editor.document->undoManager().canUndo());
}

TEST_F(WindowReload, reloadAfterSaveShowsWhatWasSaved) {
  type(editor, "xyz");
  expectReplaceQuestion("Save");
  platform.alerts.expect("Reload from Disk", "Reloaded: data.bin");
  editor->perform("forwardReloadFromDisk:");
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "xyz3456789");
  EXPECT_EQ(TemporaryFolder::read(file), "xyz3456789");
  EXPECT_FALSE(editor.window->isEdited);
}

TEST_F(WindowReload, reloadCancelledChangesNothing) {
  type(editor, "xyz");
  expectReplaceQuestion("Cancel");
  editor->perform("forwardReloadFromDisk:");
  EXPECT_FALSE(platform.executor.hasWork());
  EXPECT_EQ(editor.text(), "xyz3456789");
}

TEST_F(WindowReload, reloadEndsWhenSavingFails) {
  type(editor, "xyz");
  std::filesystem::remove(file.path());
  std::filesystem::create_directory(file.path());
  expectReplaceQuestion("Save");
  platform.alerts.expect("The file has been changed by another program.",
                         "Saving now replaces those changes by the bytes in this window.",
                         "Overwrite");
  platform.alerts.expect("Save Failed", "Could not open the document output file.");
  editor->perform("forwardReloadFromDisk:");
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "xyz3456789");
  EXPECT_TRUE(editor.window->isEdited);
}

TEST_F(WindowReload, reloadFailsUnderItsOwnTitle) {
  std::filesystem::remove(file.path());
  platform.alerts.expect("Reload Failed", Error::posix(ENOENT).message());
  editor->perform("forwardReloadFromDisk:");
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "0123456789");
}

TEST_F(WindowReload, afterItSavingAsksNothing) {
  folder.write("data.bin", "changed elsewhere");
  revert();
  type(editor, "C");
  editor->perform("forwardSaveDocument:");
  platform.executor.runAll();
  EXPECT_EQ(TemporaryFolder::read(file), "Changed elsewhere");
}

TEST_F(WindowReload, isCompleteEvenWhenTheWindowCannotBeTold) {
  type(editor, "J");
  folder.write("data.bin", "abcdef");
  editor.window->identityFailures = 2;
  expectRevertQuestion("Revert");
  platform.alerts.expect("Revert Failed", Error::posix(ENOMEM).message());
  editor->perform("forwardRevertDocument:");
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "abcdef");
  EXPECT_EQ(editor.editor().storage(), editor.document->storage());
  EXPECT_FALSE(editor.document->undoManager().canUndo());
  EXPECT_TRUE(editor.document->knownFile().has_value());
  EXPECT_FALSE(editor->isBusy());
  editor.editor().setCaretOffset(0);
  type(editor, "A");
  editor->perform("forwardSaveDocument:");
  platform.executor.runAll();
  EXPECT_EQ(TemporaryFolder::read(file), "Abcdef");
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), "abcdef");
}

}  // namespace
}  // namespace quillmor::test
