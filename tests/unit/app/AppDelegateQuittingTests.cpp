// Quitting: never while an editor is busy, never past unsaved changes without asking.

#include <filesystem>

#include "support/ApplicationFixture.h"

namespace quillmor::test {
namespace {

class AppQuitting : public ApplicationFixture {
 protected:
  void quit() {
    delegate.requestQuit();
    platform.executor.runAll();
  }

  void expectOperationInProgress() {
    platform.alerts.expect("Operation in Progress",
                           "Wait for the current operation to finish before quitting Quillmor.");
  }

  /// An editor of a file, with one unsaved change at its first byte.
  EditorUnderTest editedFile(std::string_view name) {
    delegate.openNow(folder.write(name, "hello"));
    auto editor = editorAt(application.windows.size() - 1);
    typeInto(editor);
    return editor;
  }

  static void typeInto(const EditorUnderTest& editor) {
    editor.editor().setCaretOffset(0);
    editor.editor().setEditingArea(EditingArea::ascii);
    editor.editor().handleTextInput("J");
  }
};

TEST_F(AppQuitting, withoutChangesAsksNothing) {
  delegate.newDocument();
  quit();
  EXPECT_EQ(application.terminations, 1);
}

TEST_F(AppQuitting, withoutAnyWindow) {
  quit();
  EXPECT_EQ(application.terminations, 1);
}

TEST_F(AppQuitting, isRefusedWhileABackgroundSaveRuns) {
  auto editor = editedFile("a");
  editor->perform("forwardSaveDocument:");
  expectOperationInProgress();
  delegate.perform("requestQuit:");
  EXPECT_EQ(platform.alerts.shown().back().buttons, std::vector<std::string>{"OK"});
  EXPECT_EQ(application.terminations, 0);
  expectOperationInProgress();
  EXPECT_FALSE(delegate.applicationShouldTerminate());
  platform.executor.runAll();
  EXPECT_EQ(application.terminations, 0) << "the application keeps running";
  EXPECT_EQ(folder.read("a"), "Jello");
  quit();
  EXPECT_EQ(application.terminations, 1);
}

TEST_F(AppQuitting, isRefusedWhileAnyEditorIsBusyNotOnlyTheCurrentOne) {
  auto other = editedFile("a");
  delegate.newDocument();
  BusyScope busy = other->context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  expectOperationInProgress();
  quit();
  EXPECT_EQ(application.terminations, 0);
  busy.end();
}

TEST_F(AppQuitting, reviewsEveryUnsavedDocument) {
  editedFile("a");
  delegate.newDocument();
  editedFile("b");
  editedFile("c");
  expectSaveQuestion("c", "Save");
  expectSaveQuestion("b", "Don't Save");
  expectSaveQuestion("a", "Save");
  quit();
  EXPECT_EQ(application.terminations, 1);
  EXPECT_EQ(folder.read("a"), "Jello");
  EXPECT_EQ(folder.read("b"), "hello");
  EXPECT_EQ(folder.read("c"), "Jello");
}

TEST_F(AppQuitting, showsTheDocumentItAsksAbout) {
  auto editor = editedFile("a");
  delegate.newDocument();
  expectSaveQuestion("a", "Cancel");
  quit();
  EXPECT_EQ(editor.window->broughtToFront, 1);
}

TEST_F(AppQuitting, endsWithTheFirstCancel) {
  auto first = editedFile("a");
  editedFile("b");
  expectSaveQuestion("b", "Don't Save");
  expectSaveQuestion("a", "Cancel");
  quit();
  EXPECT_EQ(application.terminations, 0);
  EXPECT_EQ(openWindowCount(), 2U);
  EXPECT_TRUE(first.window->isEdited);

  // A new attempt asks about all of them again.
  expectSaveQuestion("b", "Don't Save");
  expectSaveQuestion("a", "Don't Save");
  quit();
  EXPECT_EQ(application.terminations, 1);
}

TEST_F(AppQuitting, endsWhenASaveFails) {
  editedFile("a");
  std::filesystem::remove(folder.location("a").path());
  std::filesystem::create_directory(folder.location("a").path());
  expectSaveQuestion("a", "Save");
  platform.alerts.expect("The file has been changed by another program.",
                         "Saving now replaces those changes by the bytes in this window.",
                         "Overwrite");
  platform.alerts.expect("Save Failed", "Could not open the document output file.");
  quit();
  EXPECT_EQ(application.terminations, 0);
}

TEST_F(AppQuitting, asksForAPlaceForAnUntitledDocument) {
  newEditedDocument("new");
  expectSaveQuestion("Untitled", "Save");
  platform.filePanels.saveAnswers.push_back(std::nullopt);
  quit();
  EXPECT_EQ(application.terminations, 0);
  expectSaveQuestion("Untitled", "Save");
  platform.filePanels.saveAnswers.push_back(folder.location("made"));
  quit();
  EXPECT_EQ(application.terminations, 1);
  EXPECT_EQ(folder.read("made"), "new");
}

TEST_F(AppQuitting, ignoresASecondRequestDuringTheReview) {
  editedFile("a");
  expectSaveQuestion("a", "Save");
  delegate.requestQuit();
  delegate.requestQuit();
  platform.executor.runAll();
  EXPECT_EQ(application.terminations, 1);
}

TEST_F(AppQuitting, asksAboutChangesMadeWhileAnotherDocumentWasSaved) {
  auto clean = editedFile("a");
  clean->perform("forwardSaveDocument:");
  platform.executor.runAll();
  auto discarded = editedFile("b");
  editedFile("c");
  expectSaveQuestion("c", "Save");
  delegate.requestQuit();
  typeInto(discarded);
  clean.editor().setCaretOffset(1);
  clean.editor().handleTextInput("X");
  expectSaveQuestion("b", "Don't Save");
  expectSaveQuestion("a", "Cancel");
  platform.executor.runAll();
  EXPECT_EQ(application.terminations, 0);
  EXPECT_EQ(clean.text(), "JXllo");
}

TEST_F(AppQuitting, asksAgainAboutADocumentChangedAfterItsAnswer) {
  editedFile("saved");
  auto discarded = editedFile("discarded");
  expectSaveQuestion("discarded", "Don't Save");
  expectSaveQuestion("saved", "Save");
  delegate.requestQuit();
  discarded.editor().handleTextInput("X");
  expectSaveQuestion("discarded", "Cancel");
  platform.executor.runAll();
  EXPECT_EQ(application.terminations, 0);
}

TEST_F(AppQuitting, isRefusedWhenAnotherWindowBecameBusyDuringTheReview) {
  editedFile("a");
  delegate.newDocument();
  auto other = editorAt(1);
  expectSaveQuestion("a", "Save");
  delegate.requestQuit();
  BusyScope busy = other->context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  expectOperationInProgress();
  platform.executor.runAll();
  EXPECT_EQ(application.terminations, 0);
  busy.end();
}

}  // namespace
}  // namespace quillmor::test
