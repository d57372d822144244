// What happens to unsaved changes, and to the changes of other programs.

#include <gmock/gmock.h>

#include <filesystem>

#include "blackbox/BlackBoxTest.h"

namespace quillmor::test {
namespace {

using testing::UnorderedElementsAre;

constexpr const char* kSaveQuestion = R"(Do you want to save the changes you made to "data.bin"?)";
constexpr const char* kChangedQuestion = "The file has been changed by another program.";

/// A file of four bytes, opened, its first byte overwritten by "z".
class ChangedDocumentTest : public BlackBoxTest {
 protected:
  ChangedDocumentTest() : file(folder.write("data.bin", "ABCD")) {
    start({file.path()});
    expectStatus(Status{.size = 4});
    type("7a");
    expectTitle("data.bin*");
  }

  const FileLocation file;
};

TEST_F(ChangedDocumentTest, cancellingTheQuestionKeepsTheWindowAndTheChanges) {
  for (const char* key : {"ctrl+w", "ctrl+q"}) {
    press({key});
    const ShownAlert question = expectAlert(kSaveQuestion);
    EXPECT_THAT(question.buttons, UnorderedElementsAre("Save", "Don't Save", "Cancel"));
    press({"Escape"});
    expectNoAlert();
    expectTitle("data.bin*");
    expectStatus(Status{.size = 4, .offset = 1});
  }
  EXPECT_TRUE(isRunning());
  EXPECT_EQ(TemporaryFolder::read(file), "ABCD");
}

TEST_F(ChangedDocumentTest, quittingWithoutSavingLeavesTheFileUntouched) {
  press({"ctrl+q"});
  expectAlert(kSaveQuestion);
  clickButton("Don't Save");
  expectQuit();
  EXPECT_EQ(TemporaryFolder::read(file), "ABCD");
}

TEST_F(ChangedDocumentTest, closingTheLastWindowWithoutSavingQuits) {
  press({"ctrl+w"});
  expectAlert(kSaveQuestion);
  clickButton("Don't Save");
  expectQuit();
  EXPECT_EQ(TemporaryFolder::read(file), "ABCD");
}

TEST_F(ChangedDocumentTest, returnAnswersTheQuestionBySaving) {
  press({"ctrl+q"});
  EXPECT_EQ(expectAlert(kSaveQuestion).focusedButton, "Save");
  expectQuitBy({"Return"});
  EXPECT_EQ(TemporaryFolder::read(file), "zBCD");
}

TEST_F(ChangedDocumentTest, anotherProgramsChangeIsOverwrittenOnlyWhenTheUserSaysSo) {
  folder.write("data.bin", "theirs");
  press({"ctrl+s"});
  const ShownAlert question = expectAlert(kChangedQuestion);
  EXPECT_THAT(question.buttons, UnorderedElementsAre("Cancel", "Overwrite"));
  EXPECT_EQ(question.focusedButton, "Cancel");
  press({"Return"});
  expectNoAlert();
  expectTitle("data.bin*");
  EXPECT_EQ(TemporaryFolder::read(file), "theirs");

  press({"ctrl+s"});
  expectAlert(kChangedQuestion);
  clickButton("Overwrite");
  expectTitle("data.bin");
  EXPECT_EQ(TemporaryFolder::read(file), "zBCD");

  // What was just written is no other program's change.
  type("79");
  press({"ctrl+s"});
  expectContent(file, "zyCD");
  expectTitle("data.bin");
  expectQuitBy({"ctrl+q"});
}

TEST_F(ChangedDocumentTest, aFileReplacedByAnotherProgramIsAskedAboutToo) {
  const FileLocation other = folder.write("other", "ABCD");
  std::filesystem::rename(other.path(), file.path());
  press({"ctrl+s"});
  expectAlert(kChangedQuestion);
  press({"Escape"});
  expectNoAlert();
  EXPECT_EQ(TemporaryFolder::read(file), "ABCD");
}

/// A save that the system refuses for want of room. The file is written in place, so it may have
/// lost bytes by then; the document must not lose any.
class FullDiskTest : public BlackBoxTest {
 protected:
  /// With the document open and no room for one more byte.
  void insertOneByteAndFailToSaveIt(const std::string& reason) {
    expectStatus(Status{.size = 4096});
    press({"ctrl+i"});
    type("7a");
    expectStatus(Status{.size = 4097, .offset = 1, .mode = "Insert"});
    press({"ctrl+s"});
    const ShownAlert alert = expectAlert("Save Failed");
    EXPECT_THAT(alert.texts, testing::Contains("Could not write the document data."));
    EXPECT_THAT(alert.buttons, testing::ElementsAre("OK"));
    press({"Return"});
    expectNoAlert();
    expectTitle("data.bin*");
    expectStatus(Status{.size = 4097, .offset = 1, .mode = "Insert"});
    expectNotice("Could not write the document data. (" + reason + ")");
    EXPECT_TRUE(isRunning());
  }

  /// The failed save was no other program's change, so nothing is asked.
  void saveAndQuit() {
    press({"ctrl+s"});
    expectTitle("data.bin");
    expectQuitBy({"ctrl+q"});
  }

  const std::string content = std::string(4096, 'x');
};

TEST_F(FullDiskTest, aFileThatMayNotGrowFailsToSaveUntilTheDocumentFits) {
  const FileLocation file = folder.write("data.bin", content);
  startThrough({"prlimit", "--fsize=4096"}, {file.path()});
  insertOneByteAndFailToSaveIt("File too large");
  press({"Delete"});
  expectStatus(Status{.size = 4096, .offset = 1, .mode = "Insert"});
  // A copy of these bytes is larger than a file may be.
  press({"ctrl+s"});
  const ShownAlert question = expectAlert("Save Without a Safety Copy?");
  EXPECT_THAT(question.buttons, UnorderedElementsAre("Cancel", "Save Anyway"));
  press({"Return"});
  expectNoAlert();
  expectTitle("data.bin*");
  press({"ctrl+s"});
  expectAlert("Save Without a Safety Copy?");
  clickButton("Save Anyway");
  expectTitle("data.bin");
  expectQuitBy({"ctrl+q"});
  EXPECT_EQ(TemporaryFolder::read(file), "z" + content.substr(1));
}

TEST_F(FullDiskTest, aFullFileSystemFailsToSaveUntilThereIsRoomAgain) {
  const std::filesystem::path disk = folder.path() / "disk";
  std::filesystem::create_directory(disk);
  ChildProcess mount({"mount", "-t", "tmpfs", "-o", "size=64k", "none", disk.native()},
                     desktop().environment());
  if (mount.waitForExit() != 0) GTEST_SKIP() << "no file system may be mounted: " << mount.errors();
  const FileLocation file = folder.write("disk/data.bin", content);
  start({file.path()});
  folder.write("disk/filler", std::string(1 << 17, 'f'));
  insertOneByteAndFailToSaveIt("No space left on device");
  std::filesystem::remove(disk / "filler");
  saveAndQuit();
  EXPECT_EQ(TemporaryFolder::read(file), "z" + content);
  ChildProcess unmount({"umount", disk.native()}, desktop().environment());
  EXPECT_EQ(unmount.waitForExit(), 0) << unmount.errors();
}

}  // namespace
}  // namespace quillmor::test
