// Closing an editor window: when it is refused, what is asked, and what is left behind.

#include <filesystem>

#include "support/WindowFixture.h"

namespace quillmor::test {
namespace {

class WindowClosing : public WindowFixture {
 protected:
  void SetUp() override {
    file = folder.write("data.bin", "hello");
    editor = openEditor(file);
  }

  void expectQuestion(const std::string& name, const std::string& answer) {
    platform.alerts.expect("Do you want to save the changes you made to \"" + name + "\"?",
                           "Your changes will be lost if you don't save them.", answer);
  }

  bool requestClose() {
    std::optional<bool> ended;
    editor->requestClose([&](bool mayClose) { ended = mayClose; });
    platform.executor.runAll();
    EXPECT_TRUE(ended.has_value());
    return ended.value_or(false);
  }

  FileLocation file = FileLocation::fromPath("/");
  EditorUnderTest editor;
};

TEST_F(WindowClosing, isAllowedWithoutChangesAndAsksNothing) {
  EXPECT_TRUE(editor->windowShouldClose());
  EXPECT_TRUE(requestClose());
}

TEST_F(WindowClosing, duringABackgroundSaveIsRefused) {
  type(editor, "J");
  editor->perform("forwardSaveDocument:");
  const std::string text =
      "Wait for the current file operation to finish before closing this editor window.";
  platform.alerts.expect("Operation in Progress", text);
  EXPECT_FALSE(editor->windowShouldClose());
  platform.alerts.expect("Operation in Progress", text);
  bool mayClose = true;
  editor->requestClose([&](bool answer) { mayClose = answer; });
  EXPECT_FALSE(mayClose);
  EXPECT_EQ(platform.alerts.shown().back().buttons, std::vector<std::string>{"OK"});
  platform.executor.runAll();
  EXPECT_EQ(TemporaryFolder::read(file), "Jello");
  EXPECT_TRUE(editor->windowShouldClose());
}

TEST_F(WindowClosing, asksAboutUnsavedChanges) {
  type(editor, "J");
  expectQuestion("data.bin", "Cancel");
  EXPECT_FALSE(requestClose());
  EXPECT_EQ(platform.alerts.shown().back().buttons,
            (std::vector<std::string>{"Save", "Don't Save", "Cancel"}));
  expectQuestion("data.bin", "Don't Save");
  EXPECT_TRUE(requestClose());
  EXPECT_EQ(TemporaryFolder::read(file), "hello");
}

TEST_F(WindowClosing, afterSaving) {
  type(editor, "J");
  expectQuestion("data.bin", "Save");
  EXPECT_TRUE(requestClose());
  EXPECT_EQ(TemporaryFolder::read(file), "Jello");
}

TEST_F(WindowClosing, waitsForTheSave) {
  type(editor, "J");
  expectQuestion("data.bin", "Save");
  bool ended = false;
  editor->requestClose([&](bool) { ended = true; });
  EXPECT_FALSE(ended);
  EXPECT_TRUE(editor->isBusy());
  platform.executor.runAll();
  EXPECT_TRUE(ended);
}

TEST_F(WindowClosing, isOffWhenSavingFails) {
  type(editor, "J");
  std::filesystem::remove(file.path());
  std::filesystem::create_directory(file.path());
  expectQuestion("data.bin", "Save");
  platform.alerts.expect("The file has been changed by another program.",
                         "Saving now replaces those changes by the bytes in this window.",
                         "Overwrite");
  platform.alerts.expect("Save Failed", "Could not open the document output file.");
  EXPECT_FALSE(requestClose());
  EXPECT_EQ(editor.text(), "Jello");
  EXPECT_TRUE(editor.window->isEdited);
}

TEST_F(WindowClosing, ofAnUntitledDocumentAsksForAPlace) {
  editor = makeEditor();
  type(editor, "new");
  const std::string name = editor.document->displayName();
  expectQuestion(name, "Save");
  platform.filePanels.saveAnswers.push_back(std::nullopt);
  EXPECT_FALSE(requestClose());
  expectQuestion(name, "Save");
  platform.filePanels.saveAnswers.push_back(folder.location("made.bin"));
  EXPECT_TRUE(requestClose());
  EXPECT_EQ(folder.read("made.bin"), "new");
}

TEST_F(WindowClosing, remembersTheCaretUnderTheFilesPath) {
  editor.editor().setCaretOffset(3);
  editor.window->closeWindow();
  EXPECT_EQ(platform.defaults.integers.at("Quillmor.session.offset." + file.path()), 3);
}

TEST_F(WindowClosing, remembersNoCaretOfAnUntitledDocument) {
  auto untitled = makeEditor("abc");
  untitled.editor().setCaretOffset(2);
  untitled.window->closeWindow();
  EXPECT_TRUE(platform.defaults.integers.empty());
}

TEST_F(WindowClosing, removesUndoDragsAndUtilityWindows) {
  type(editor, "J");
  editor.window->closeWindow();
  EXPECT_FALSE(editor.document->undoManager().canUndo());
  EXPECT_TRUE(editor.window->dragsUnregistered);
  EXPECT_TRUE(editor.window->utilityWindowsClosed);
}

TEST_F(WindowClosing, closesTheDocumentWithItsLastWindow) {
  ASSERT_EQ(documents.documents().size(), 1U);
  const std::weak_ptr<HexDocument> document = editor.document;
  editor.window->closeWindow();
  EXPECT_TRUE(documents.documents().empty());
  editor = {};
  EXPECT_TRUE(document.expired());
}

TEST_F(WindowClosing, happensOnlyOnce) {
  editor.editor().setCaretOffset(3);
  editor.window->closeWindow();
  platform.defaults.integers.clear();
  editor->windowWillClose();
  EXPECT_TRUE(platform.defaults.integers.empty());
}

TEST_F(WindowClosing, leavesTheWindowAloneAfterwards) {
  editor.window->closeWindow();
  const auto status = editor.window->statusHistory;
  editor->perform("forwardGoToEnd:");
  editor->context().updateStatus();
  editor->activate();
  editor->context().showUtilityReport("Report", "text");
  editor->documentIdentityDidChange();
  EXPECT_EQ(editor.window->statusHistory, status);
  EXPECT_EQ(editor.window->broughtToFront, 0);
  EXPECT_TRUE(editor.window->reports.empty());
}

}  // namespace
}  // namespace quillmor::test
