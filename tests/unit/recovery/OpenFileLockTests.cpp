// The lock of an open file: one for all documents of a process, none for two processes.

#include "recovery/OpenFileLock.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <optional>

#include "recovery/RecordNames.h"
#include "support/FileAccessTest.h"

namespace quillmor {
namespace {

namespace fs = std::filesystem;
using test::FaultySystemCalls;
using test::SystemCall;

class OpenFileLockTest : public test::FileAccessTest {
 protected:
  std::shared_ptr<const OpenFileLock> take() const { return OpenFileLock::take(directory, file); }

  fs::path lockPath() const { return folder.path() / "state" / (pathHash(file.path()) + ".lock"); }
  bool isLockFileThere() const { return fs::exists(lockPath()); }

  /// What another process of the user would find.
  bool isFreeForOthers() const {
    const int descriptor = ::open(lockPath().c_str(), O_RDWR | O_CLOEXEC);
    if (descriptor < 0) return true;
    const bool isFree = ::flock(descriptor, LOCK_EX | LOCK_NB) == 0;
    ::close(descriptor);
    return isFree;
  }

  const FileLocation file = folder.write("data.bin", "ABCD");
  const FileLocation directory = folder.location("state");
};

/// Another process that holds the lock file, as the system sees it: an open file of its own.
class OtherHolder {
 public:
  explicit OtherHolder(const fs::path& path)
      : path_(path), descriptor_(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
    EXPECT_EQ(::flock(descriptor_, LOCK_EX | LOCK_NB), 0);
  }
  ~OtherHolder() { letGo(); }
  void letGo() {
    if (descriptor_ < 0) return;
    ::unlink(path_.c_str());
    ::close(std::exchange(descriptor_, -1));
  }

 private:
  const fs::path path_;
  int descriptor_;
};

TEST_F(OpenFileLockTest, isHeldAsLongAsTheFileIsOpenHere) {
  auto lock = take();
  EXPECT_FALSE(lock->isHeldByAnother());
  EXPECT_FALSE(isFreeForOthers());
  EXPECT_EQ(test::TemporaryFolder::read(FileLocation::fromPath(lockPath().native())),
            std::to_string(::getpid()) + "\n");
  lock.reset();
  EXPECT_FALSE(isLockFileThere());
}

TEST_F(OpenFileLockTest, isPrivate) {
  const auto lock = take();
  struct stat status {};
  ASSERT_EQ(::stat(lockPath().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0600U);
  ASSERT_EQ(::stat(directory.path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0700U);
}

TEST_F(OpenFileLockTest, isSharedByTheDocumentsOfAProcess) {
  auto first = take();
  fs::create_symlink("data.bin", folder.path() / "link");
  auto second = OpenFileLock::take(directory, folder.location("link"));
  EXPECT_FALSE(second->isHeldByAnother());
  first.reset();
  EXPECT_FALSE(isFreeForOthers());
  second.reset();
  EXPECT_FALSE(isLockFileThere());
  EXPECT_FALSE(take()->isHeldByAnother());
}

TEST_F(OpenFileLockTest, isOfOneFile) {
  const auto lock = take();
  const auto other = OpenFileLock::take(directory, folder.write("other.bin", ""));
  EXPECT_FALSE(other->isHeldByAnother());
  EXPECT_EQ(std::distance(fs::directory_iterator(folder.path() / "state"), {}), 2);
}

TEST_F(OpenFileLockTest, ofAnotherProcessIsFoundAndLeftAlone) {
  fs::create_directory(folder.path() / "state");
  fs::permissions(folder.path() / "state", fs::perms::owner_all);
  OtherHolder other(lockPath());
  EXPECT_TRUE(take()->isHeldByAnother());
  EXPECT_TRUE(isLockFileThere());
  other.letGo();
  EXPECT_FALSE(take()->isHeldByAnother());
}

TEST_F(OpenFileLockTest, isFoundInARealOtherProcess) {
  const auto lock = take();
  const pid_t child = ::fork();
  if (child == 0) {
    // The table of locks came along; a file opened anew is as that of any other program.
    const int descriptor = ::open(lockPath().c_str(), O_RDWR);
    const bool isHeld = ::flock(descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    ::_exit(isHeld ? 7 : 1);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 7);
}

TEST_F(OpenFileLockTest, ofAKilledProcessIsNobodys) {
  const pid_t child = ::fork();
  if (child == 0) {
    const auto lock = take();
    ::raise(SIGKILL);
  }
  ::waitpid(child, nullptr, 0);
  ASSERT_TRUE(isLockFileThere());
  auto lock = take();
  EXPECT_FALSE(lock->isHeldByAnother());
  EXPECT_FALSE(isFreeForOthers());
  lock.reset();
  EXPECT_FALSE(isLockFileThere());
}

TEST_F(OpenFileLockTest, isTakenAnewWhenItsFileVanishedInBetween) {
  // The other process removes its file and ends between our open and our lock.
  fs::create_directory(folder.path() / "state");
  fs::permissions(folder.path() / "state", fs::perms::owner_all);
  std::optional<OtherHolder> other(lockPath());
  calls.before(SystemCall::flock, 1, [&] { other.reset(); });
  const auto lock = take();
  EXPECT_FALSE(lock->isHeldByAnother());
  EXPECT_FALSE(isFreeForOthers());
  EXPECT_TRUE(isLockFileThere());
  EXPECT_EQ(calls.count(SystemCall::flock), 2);
}

TEST_F(OpenFileLockTest, isMissingWithoutHarmWhereItCannotBeKept) {
  folder.write("state", "a file in the place of the directory");
  EXPECT_FALSE(take()->isHeldByAnother());
}

TEST_F(OpenFileLockTest, isMissingWithoutHarmInADirectoryOfOthers) {
  fs::create_directory(folder.path() / "state");
  fs::permissions(folder.path() / "state", fs::perms::all);
  EXPECT_FALSE(take()->isHeldByAnother());
  EXPECT_FALSE(isLockFileThere());
}

TEST_F(OpenFileLockTest, neverFollowsALink) {
  const FileLocation target = folder.write("target", "untouched");
  fs::create_directory(folder.path() / "state");
  fs::permissions(folder.path() / "state", fs::perms::owner_all);
  fs::create_symlink(target.path(), lockPath());
  EXPECT_FALSE(take()->isHeldByAnother());
  EXPECT_EQ(test::TemporaryFolder::read(target), "untouched");
}

TEST_F(OpenFileLockTest, survivesTheFailureOfAnyCall) {
  take();
  const std::size_t callCount = calls.log().size();
  for (int nth = 1; nth <= static_cast<int>(callCount); ++nth) {
    SCOPED_TRACE(nth);
    FaultySystemCalls failing;
    const ScopedSystemCalls scope(failing);
    failing.failCall(nth, EIO);
    EXPECT_FALSE(take()->isHeldByAnother());
  }
  EXPECT_FALSE(take()->isHeldByAnother());
}

TEST_F(OpenFileLockTest, isTakenThroughInterruptions) {
  calls.interruptEveryCall();
  const auto lock = take();
  EXPECT_FALSE(lock->isHeldByAnother());
  EXPECT_FALSE(isFreeForOthers());
}

TEST_F(OpenFileLockTest, ofAnotherProcessHasASentence) {
  EXPECT_EQ(openInAnotherProcessError().message(), "This file is open in another Quillmor.");
}

}  // namespace
}  // namespace quillmor
