// What --in-place does to the file itself.

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "blackbox/cli/ChangeTest.h"
#include "recovery/RecordNames.h"

namespace quillmor::test {
namespace {

namespace fs = std::filesystem;

class CliInPlaceTest : public ChangeTest {
 protected:
  CliInPlaceTest() { folder.write("in.bin", "ABCD"); }

  void expectInverted(const std::string& name) const {
    expectOutput({"transform", "invert", name, "--in-place"}, 0, "Changed 4 byte(s)\n");
    EXPECT_EQ(folder.read("in.bin"), "\xBE\xBD\xBC\xBB");
  }
};

TEST_F(CliInPlaceTest, theFileStaysTheSameFile) {
  ASSERT_EQ(::chmod((folder.path() / "in.bin").c_str(), 0751), 0);
  fs::create_hard_link(folder.path() / "in.bin", folder.path() / "hard.bin");
  const FileState before = stateOf("in.bin");
  expectInverted("in.bin");
  const FileState after = stateOf("in.bin");
  EXPECT_EQ(after.inode, before.inode);
  EXPECT_EQ(after.mode, before.mode);
  EXPECT_EQ(folder.read("hard.bin"), folder.read("in.bin"));
  EXPECT_THAT(names(), testing::ElementsAre("hard.bin", "in.bin"));
}

TEST_F(CliInPlaceTest, linksAreFollowedToTheRealFile) {
  fs::create_symlink("in.bin", folder.path() / "first");
  fs::create_symlink(folder.path() / "first", folder.path() / "second");
  const FileState before = stateOf("second");
  expectInverted("second");
  EXPECT_TRUE(stateOf("second") == before);
  EXPECT_EQ(fs::read_symlink(folder.path() / "first"), "in.bin");
  EXPECT_THAT(names(), testing::ElementsAre("first", "in.bin", "second"));
}

TEST_F(CliInPlaceTest, aFileThatMayNotBeWrittenIsRefused) {
  ASSERT_EQ(::chmod((folder.path() / "in.bin").c_str(), 0444), 0);
  const FileState before = stateOf("in.bin");
  // Only root's capabilities would let it write the file all the same.
  const std::string user = ::geteuid() == 0 ? "setpriv --bounding-set=-all " : "";
  const CliRun ended = runShell(user + "\"$CLI\" transform invert in.bin --in-place");
  EXPECT_EQ(ended.status, 2);
  EXPECT_EQ(ended.output, "");
  EXPECT_EQ(ended.errors,
            "quillmor-cli: Could not open the document output file. (Permission denied)\n");
  EXPECT_TRUE(stateOf("in.bin") == before);
}

TEST_F(CliInPlaceTest, aFileThatWouldPassTheSizeLimitIsLeftAlone) {
  const std::string old(1000, 'a');
  folder.write("in.bin", old);
  const CliRun ended = runShell("ulimit -f 1; exec \"$CLI\" replace in.bin a bb --in-place");
  EXPECT_EQ(ended.status, 2);
  EXPECT_EQ(ended.output, "");
  EXPECT_EQ(ended.errors, "quillmor-cli: Could not write the document data. (File too large)\n");
  EXPECT_TRUE(folder.read("in.bin") == old);
  EXPECT_THAT(names(), testing::ElementsAre("in.bin"));
}

TEST_F(CliInPlaceTest, aFileThatPassesTheSizeLimitAlreadyIsLeftAlone) {
  folder.write("in.bin", std::string(2000, 'a'));
  const FileState before = stateOf("in.bin");
  const CliRun ended = runShell("ulimit -f 1; exec \"$CLI\" transform invert in.bin --in-place");
  EXPECT_EQ(ended.status, 2);
  EXPECT_EQ(ended.output, "");
  EXPECT_EQ(ended.errors, "quillmor-cli: Could not write the document data. (File too large)\n");
  EXPECT_TRUE(stateOf("in.bin") == before);
}

TEST_F(CliInPlaceTest, theFileIsReadBackOnRequest) {
  expectOutput({"transform", "invert", "in.bin", "--in-place", "--verify"}, 0,
               "Changed 4 byte(s)\n");
  EXPECT_EQ(folder.read("in.bin"), "\xBE\xBD\xBC\xBB");
  EXPECT_TRUE(fs::is_empty(state.path() / "quillmor/recovery"));
}

TEST_F(CliInPlaceTest, readingBackIsForFilesSavedInPlace) {
  const CliRun ended = run({"transform", "invert", "in.bin", "-o", "out.bin", "--verify"});
  EXPECT_EQ(ended.status, 2);
  EXPECT_THAT(ended.errors, testing::HasSubstr("--verify goes with --in-place."));
  EXPECT_THAT(names(), testing::ElementsAre("in.bin"));
}

TEST_F(CliInPlaceTest, nothingIsSavedWithoutASafetyCopy) {
  const CliRun ended = runShell(
      "ulimit -f 4; head -c 3000 /dev/zero > big.bin; "
      "$CLI transform invert big.bin --in-place");
  EXPECT_EQ(ended.status, 2);
  EXPECT_EQ(ended.errors,
            "quillmor-cli: There is no place for a safety copy of the new bytes. Nothing was "
            "saved. (File too large)\n");
  EXPECT_EQ(folder.read("big.bin"), std::string(3000, '\0'));
  EXPECT_THAT(names(), testing::ElementsAre("big.bin", "in.bin"));
}

/// The lock by which a running editor says that it has a file open, in a home of the test's own.
class CliOpenFileTest : public CliInPlaceTest {
 protected:
  CliOpenFileTest() {
    const fs::path directory = folder.path() / "home/.local/state/quillmor/recovery";
    fs::create_directories(directory);
    fs::permissions(directory, fs::perms::owner_all);
    lockPath = directory / (pathHash((folder.path() / "in.bin").native()) + ".lock");
  }

  CliRun invertInPlace() const {
    return runShell(
        "unset XDG_STATE_HOME; HOME=$PWD/home \"$CLI\" transform invert in.bin --in-place");
  }

  fs::path lockPath;
};

TEST_F(CliOpenFileTest, aFileThatIsOpenInAnEditorIsRefused) {
  const int descriptor = ::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  ASSERT_EQ(::flock(descriptor, LOCK_EX | LOCK_NB), 0);
  const FileState before = stateOf("in.bin");
  const CliRun ended = invertInPlace();
  EXPECT_EQ(ended.status, 2);
  EXPECT_EQ(ended.output, "");
  EXPECT_EQ(ended.errors, "quillmor-cli: This file is open in another Quillmor.\n");
  EXPECT_TRUE(stateOf("in.bin") == before);
  ::close(descriptor);
  EXPECT_EQ(invertInPlace().status, 0);
  EXPECT_EQ(folder.read("in.bin"), "\xBE\xBD\xBC\xBB");
  EXPECT_FALSE(fs::exists(lockPath));
}

}  // namespace
}  // namespace quillmor::test
