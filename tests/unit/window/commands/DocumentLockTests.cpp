// The lock of the file that a window's document is open from: what the user is told when another
// process has it, and what that process is told of ours.

#include "window/commands/DocumentLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <filesystem>

#include "recovery/RecordNames.h"
#include "support/WindowFixture.h"

namespace quillmor::test {
namespace {

namespace fs = std::filesystem;

constexpr const char* kOpenElsewhere = "This file is open in another Quillmor.";

class DocumentLockTest : public WindowFixture {
 protected:
  DocumentLockTest() {
    records = &store;
    fs::create_directory(folder.path() / "state");
    fs::permissions(folder.path() / "state", fs::perms::owner_all);
  }
  ~DocumentLockTest() override {
    for (const auto& document : std::vector(documents.documents())) {
      for (const auto& window : std::vector(document->windowControllers()))
        std::dynamic_pointer_cast<HexWindowController>(window)->windowWillClose();
    }
    platform.executor.runAll();
  }

  fs::path lockPath(const FileLocation& of) const {
    return folder.path() / "state" / (pathHash(of.path()) + ".lock");
  }

  /// Locks a file as another process would, until the test lets it go.
  int lockElsewhere(const FileLocation& of) const {
    const int descriptor = ::open(lockPath(of).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    EXPECT_EQ(::flock(descriptor, LOCK_EX | LOCK_NB), 0);
    return descriptor;
  }
  bool isHeldHere(const FileLocation& of) const {
    const int descriptor = ::open(lockPath(of).c_str(), O_RDWR | O_CLOEXEC);
    if (descriptor < 0) return false;
    const bool isFree = ::flock(descriptor, LOCK_EX | LOCK_NB) == 0;
    ::close(descriptor);
    return !isFree;
  }

  void expectQuestion(const std::string& answer) {
    platform.alerts.expect(
        kOpenElsewhere, "Saving now replaces the bytes that the other Quillmor has read.", answer);
  }

  void save(const EditorUnderTest& editor) {
    editor->perform("forwardSaveDocument:");
    platform.executor.runAll();
    EXPECT_FALSE(editor->isBusy());
  }

  const RecordStore store{folder.location("state")};
  const FileLocation file = folder.write("data.bin", "hello");
};

TEST_F(DocumentLockTest, isHeldFromOpeningToClosing) {
  auto editor = openEditor(file);
  EXPECT_TRUE(isHeldHere(file));
  EXPECT_EQ(editor.window->notice, "");
  editor.window->closeWindow();
  platform.executor.runAll();
  EXPECT_FALSE(isHeldHere(file));
  EXPECT_FALSE(fs::exists(lockPath(file)));
}

TEST_F(DocumentLockTest, goesOverToTheNextFileOfTheWindow) {
  auto editor = openEditor(file);
  const FileLocation next = folder.write("next.bin", "next");
  editor->commands().replacement().openURLInCurrentWindow(next, [](OpenCurrentResult) {});
  platform.executor.runAll();
  EXPECT_FALSE(isHeldHere(file));
  EXPECT_TRUE(isHeldHere(next));
}

TEST_F(DocumentLockTest, ofAnotherProcessIsNoticedWhenTheFileIsOpened) {
  const int other = lockElsewhere(file);
  auto editor = openEditor(file);
  EXPECT_EQ(editor.text(), "hello");
  EXPECT_EQ(editor.window->notice, kOpenElsewhere);
  ::close(other);
}

TEST_F(DocumentLockTest, ofAnotherProcessIsAskedAboutBeforeASave) {
  const int other = lockElsewhere(file);
  auto editor = openEdited(file);
  expectQuestion("Cancel");
  save(editor);
  EXPECT_EQ(platform.alerts.shown().back().defaultButton, 0U);
  EXPECT_EQ(TemporaryFolder::read(file), "hello");
  EXPECT_TRUE(editor.window->isEdited);

  expectQuestion("Save Anyway");
  save(editor);
  EXPECT_EQ(TemporaryFolder::read(file), "Jello");
  EXPECT_FALSE(editor.window->isEdited);

  // The answer was for one save.
  type(editor, "u");
  expectQuestion("Cancel");
  save(editor);
  ::close(other);
}

TEST_F(DocumentLockTest, isTakenByASaveOnceTheOtherProcessHasEnded) {
  const int other = lockElsewhere(file);
  auto editor = openEdited(file);
  ::close(other);
  save(editor);
  EXPECT_EQ(TemporaryFolder::read(file), "Jello");
  EXPECT_TRUE(isHeldHere(file));
}

TEST_F(DocumentLockTest, isNotAskedForAgainWhileItIsHeld) {
  auto editor = openEditor(file);
  EXPECT_FALSE(editor->context().documentLock().mayBeOpenElsewhere(file));
  EXPECT_TRUE(editor->context().documentLock().mayBeOpenElsewhere(folder.location("copy.bin")));
  editor->perform("forwardSaveDocument:");
  platform.executor.runOneWork();
  platform.executor.runPosted();
  EXPECT_EQ(editor.window->statusText, "Saving data.bin");
  platform.executor.runAll();
  EXPECT_TRUE(isHeldHere(file));
}

TEST_F(DocumentLockTest, movesWithSaveAs) {
  auto editor = openEdited(file);
  const FileLocation copy = folder.location("copy.bin");
  platform.filePanels.saveAnswers.push_back(copy);
  editor->perform("forwardSaveDocumentAs:");
  platform.executor.runAll();
  EXPECT_FALSE(isHeldHere(file));
  EXPECT_TRUE(isHeldHere(copy));
}

TEST_F(DocumentLockTest, ofTheDestinationIsAskedAboutBeforeSaveAs) {
  const FileLocation taken = folder.write("taken.bin", "theirs");
  const int other = lockElsewhere(taken);
  auto editor = openEdited(file);
  platform.filePanels.saveAnswers.push_back(taken);
  expectQuestion("Cancel");
  editor->perform("forwardSaveDocumentAs:");
  platform.executor.runAll();
  EXPECT_EQ(TemporaryFolder::read(taken), "theirs");
  EXPECT_TRUE(isHeldHere(file));
  ::close(other);
}

TEST_F(DocumentLockTest, ofAFailedSaveAsIsLetGo) {
  auto editor = openEdited(file);
  fs::create_directory(folder.path() / "folder");
  const FileLocation destination = folder.location("folder");
  platform.filePanels.saveAnswers.push_back(destination);
  platform.alerts.acceptAnything();
  editor->perform("forwardSaveDocumentAs:");
  platform.executor.runAll();
  EXPECT_FALSE(isHeldHere(destination));
  EXPECT_TRUE(isHeldHere(file));
}

TEST_F(DocumentLockTest, isLetGoWhenTheWindowClosesBeforeItIsTaken) {
  auto editor = makeEditor();
  editor->commands().replacement().openURLInCurrentWindow(file, [](OpenCurrentResult) {});
  platform.executor.runOneWork();
  platform.executor.runPosted();
  // The file is shown, and its lock is being taken.
  EXPECT_EQ(editor.text(), "hello");
  platform.executor.runOneWork();
  editor.window->closeWindow();
  platform.executor.runAll();
  EXPECT_FALSE(fs::exists(lockPath(file)));
}

TEST_F(DocumentLockTest, isNothingWithoutRecords) {
  records = nullptr;
  auto editor = openEdited(file);
  save(editor);
  EXPECT_EQ(TemporaryFolder::read(file), "Jello");
  EXPECT_TRUE(fs::is_empty(folder.path() / "state"));
}

}  // namespace
}  // namespace quillmor::test
