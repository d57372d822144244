#include "fileaccess/SystemCalls.h"

#include <dirent.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <set>

#include "fileaccess/FileDescriptor.h"
#include "fileaccess/FileWriting.h"
#include "fileaccess/UUID.h"
#include "support/ErrorMatchers.h"
#include "support/FileAccessTest.h"

namespace quillmor {
namespace {

namespace fs = std::filesystem;
using namespace SecureFileAccess;
using test::failsWithPosix;
using test::FaultySystemCalls;
using test::SystemCall;

class SystemCallsTest : public testing::Test {
 protected:
  std::string path(std::string_view name) const { return folder.location(name).path(); }

  test::TemporaryFolder folder;
  SystemCalls real;
};

TEST_F(SystemCallsTest, opensReadsWritesAndCloses) {
  const int descriptor = real.open(path("a").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0640);
  ASSERT_GE(descriptor, 0);
  EXPECT_EQ(real.write(descriptor, "hello", 5), 5);
  std::array<char, 8> text{};
  EXPECT_EQ(real.pread(descriptor, text.data(), 3, 1), 3);
  EXPECT_STREQ(text.data(), "ell");
  EXPECT_EQ(real.fsync(descriptor), 0);
  EXPECT_EQ(real.close(descriptor), 0);
  EXPECT_EQ(real.fsync(descriptor), -1);
  EXPECT_EQ(errno, EBADF);
}

TEST_F(SystemCallsTest, tellsAndChangesTheStatus) {
  folder.write("a", "hello");
  const int descriptor = real.open(path("a").c_str(), O_RDWR, 0);
  EXPECT_EQ(real.fchmod(descriptor, 0601), 0);
  EXPECT_EQ(real.ftruncate(descriptor, 3), 0);
  struct stat ofDescriptor {};
  struct stat ofPath {};
  EXPECT_EQ(real.fstat(descriptor, &ofDescriptor), 0);
  EXPECT_EQ(real.fstatat(AT_FDCWD, path("a").c_str(), &ofPath, AT_SYMLINK_NOFOLLOW), 0);
  EXPECT_EQ(ofDescriptor.st_size, 3);
  EXPECT_EQ(ofDescriptor.st_mode & 0777, 0601U);
  EXPECT_EQ(ofDescriptor.st_ino, ofPath.st_ino);
  EXPECT_EQ(real.close(descriptor), 0);
}

TEST_F(SystemCallsTest, asksForAccess) {
  folder.write("a", "");
  EXPECT_EQ(real.access(path("a").c_str(), R_OK), 0);
  EXPECT_EQ(real.access(path("b").c_str(), R_OK), -1);
  EXPECT_EQ(errno, ENOENT);
}

TEST_F(SystemCallsTest, movesLinksAndRemoves) {
  folder.write("a", "one");
  folder.write("b", "two");
  EXPECT_EQ(
      real.renameat2(AT_FDCWD, path("a").c_str(), AT_FDCWD, path("b").c_str(), RENAME_NOREPLACE),
      -1);
  EXPECT_EQ(errno, EEXIST);
  EXPECT_EQ(real.rename(path("a").c_str(), path("b").c_str()), 0);
  EXPECT_EQ(real.link(path("b").c_str(), path("c").c_str()), 0);
  EXPECT_EQ(real.unlink(path("b").c_str()), 0);
  EXPECT_EQ(folder.read("c"), "one");
  EXPECT_THAT(folder.names(), testing::ElementsAre("c"));
}

TEST_F(SystemCallsTest, givesRandomBytes) {
  std::array<std::uint64_t, 2> numbers{};
  EXPECT_EQ(real.getrandom(numbers.data(), sizeof(numbers), 0), 16);
  EXPECT_NE(numbers[0], numbers[1]);
}

TEST_F(SystemCallsTest, duplicatesAndLocksDescriptors) {
  folder.write("a", "");
  const int first = real.open(path("a").c_str(), O_RDONLY, 0);
  const int second = real.fcntl(first, F_DUPFD_CLOEXEC, 0);
  EXPECT_EQ(::fcntl(second, F_GETFD), FD_CLOEXEC);
  const int other = real.open(path("a").c_str(), O_RDONLY, 0);
  EXPECT_EQ(real.flock(first, LOCK_EX | LOCK_NB), 0);
  EXPECT_EQ(real.flock(second, LOCK_EX | LOCK_NB), 0);
  EXPECT_EQ(real.flock(other, LOCK_EX | LOCK_NB), -1);
  EXPECT_EQ(errno, EWOULDBLOCK);
  for (const int descriptor : {first, second, other}) EXPECT_EQ(real.close(descriptor), 0);
}

TEST_F(SystemCallsTest, listsADirectory) {
  folder.write("a", "");
  const int descriptor = real.open(folder.path().c_str(), O_RDONLY | O_DIRECTORY, 0);
  alignas(dirent64) std::array<char, 4096> buffer{};
  const ssize_t size = real.getdents64(descriptor, buffer.data(), buffer.size());
  ASSERT_GT(size, 0);
  EXPECT_NE(std::string_view(buffer.data(), static_cast<std::size_t>(size))
                .find(std::string_view("a\0", 2)),
            std::string_view::npos);
  EXPECT_EQ(real.getdents64(descriptor, buffer.data(), buffer.size()), 0);
  EXPECT_EQ(real.close(descriptor), 0);
}

TEST_F(SystemCallsTest, changesOwnersAndAttributes) {
  folder.write("a", "");
  const int descriptor = real.open(path("a").c_str(), O_RDWR, 0);
  EXPECT_EQ(real.fchown(descriptor, ::geteuid(), ::getegid()), 0);
  std::array<char, 8> value{};
  const bool isSet = real.fsetxattr(descriptor, "user.test", "abc", 3, 0) == 0;
  EXPECT_TRUE(isSet || errno == EOPNOTSUPP);
  EXPECT_EQ(real.lgetxattr(path("a").c_str(), "user.test", value.data(), value.size()),
            isSet ? 3 : -1);
  real.fremovexattr(descriptor, "user.test");
  EXPECT_EQ(real.lgetxattr(path("a").c_str(), "user.test", value.data(), value.size()), -1);
  EXPECT_EQ(real.close(descriptor), 0);
}

TEST_F(SystemCallsTest, areReplacedForAScopeAndScopesNest) {
  SystemCalls& usual = SystemCalls::current();
  SystemCalls outer;
  SystemCalls inner;
  {
    const ScopedSystemCalls outerScope(outer);
    {
      const ScopedSystemCalls innerScope(inner);
      EXPECT_EQ(&SystemCalls::current(), &inner);
    }
    EXPECT_EQ(&SystemCalls::current(), &outer);
  }
  EXPECT_EQ(&SystemCalls::current(), &usual);
}

TEST(LastSystemError, takesTheNumberOfTheCall) {
  errno = ENOSPC;
  const Error error = lastSystemError("No room.");
  EXPECT_THAT(error, test::isError(ErrorDomain::posix, ENOSPC, "No room."));
  EXPECT_EQ(error.reason(), "No space left on device");
  errno = EACCES;
  EXPECT_EQ(lastSystemError().code(), EACCES);
}

class FileDescriptorTest : public test::FileAccessTest {
 protected:
  FileDescriptor openForWriting(std::string_view name) {
    return FileDescriptor(
        openFile(folder.location(name), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
  }

  const std::span<const std::uint8_t> abc = test::bytesOf("abc");
  const WriteMessages messages = {.couldNotWrite = "cannot", .stopped = "stopped"};
};

TEST_F(FileDescriptorTest, isClosedOnceByWhoeverOwnsItLast) {
  {
    FileDescriptor first = openForWriting("a");
    const FileDescriptor second(std::move(first));
    EXPECT_TRUE(second.isOpen());
  }
  EXPECT_EQ(calls.count(SystemCall::close), 1);
}

TEST_F(FileDescriptorTest, isNotClosedAgainAfterAFailedClose) {
  {
    FileDescriptor handle = openForWriting("a");
    calls.fail(SystemCall::close, 1, EIO);
    EXPECT_THAT([&] { handle.close(); }, failsWithPosix(EIO));
    EXPECT_FALSE(handle.isOpen());
    handle.close();
  }
  EXPECT_EQ(calls.count(SystemCall::close), 1);
}

TEST_F(FileDescriptorTest, isClosedByAnInterruptedClose) {
  {
    FileDescriptor handle = openForWriting("a");
    calls.fail(SystemCall::close, 1, EINTR);
    EXPECT_NO_THROW(handle.close());
  }
  EXPECT_EQ(calls.count(SystemCall::close), 1);
}

TEST_F(FileDescriptorTest, reportsAFailedFlush) {
  const FileDescriptor handle = openForWriting("a");
  calls.fail(SystemCall::fsync, 1, EINTR);
  calls.fail(SystemCall::fsync, 2, EDQUOT);
  EXPECT_THAT([&] { handle.synchronize(); }, failsWithPosix(EDQUOT));
  EXPECT_EQ(calls.count(SystemCall::fsync), 2);
}

TEST_F(FileDescriptorTest, takesAllBytesHoweverFewAtATime) {
  const FileDescriptor handle = openForWriting("a");
  calls.limitCount(SystemCall::write, FaultySystemCalls::kEvery, 2);
  writeAll(abc, handle, messages);
  EXPECT_EQ(folder.read("a"), "abc");
  EXPECT_THAT(calls.requestedCounts(SystemCall::write), testing::ElementsAre(3U, 1U));
}

TEST_F(FileDescriptorTest, isWrittenInSlices) {
  constexpr std::size_t kSlice = 8388608;
  const std::string content = test::patternedText(kSlice + 3);
  const FileDescriptor handle = openForWriting("a");
  TaskProgress progress;
  progress.setTotal(static_cast<std::int64_t>(content.size()));
  writeAll(test::bytesOf(content), handle, messages, &progress);
  EXPECT_EQ(folder.read("a"), content);
  EXPECT_EQ(progress.fraction(), 1);
  EXPECT_THAT(calls.requestedCounts(SystemCall::write), testing::ElementsAre(kSlice, 3U));
}

/// The disk is told to begin after each whole slice, on request. That is a hint and may fail.
TEST_F(FileDescriptorTest, letsTheDiskBeginEarly) {
  constexpr std::size_t kSlice = 8388608;
  const std::vector<std::pair<std::size_t, int>> hints = {
      {kSlice - 1, 0}, {kSlice, 1}, {kSlice + 1, 1}, {2 * kSlice, 2}};
  calls.fail(SystemCall::sync_file_range, FaultySystemCalls::kEvery, EIO);
  for (const auto& [size, count] : hints) {
    const int before = calls.count(SystemCall::sync_file_range);
    const std::string content = test::patternedText(size);
    const FileDescriptor handle = openForWriting("of" + std::to_string(size));
    writeAll(test::bytesOf(content), handle, messages, nullptr, WriteBack::afterEachSlice);
    EXPECT_EQ(folder.read("of" + std::to_string(size)), content);
    EXPECT_EQ(calls.count(SystemCall::sync_file_range) - before, count) << size;
  }
  const int before = calls.count(SystemCall::sync_file_range);
  writeAll(test::bytesOf(test::patternedText(kSlice)), openForWriting("b"), messages);
  EXPECT_EQ(calls.count(SystemCall::sync_file_range), before);
}

TEST_F(FileDescriptorTest, reportsFailedAndEmptyWrites) {
  const FileDescriptor handle = openForWriting("a");
  calls.fail(SystemCall::write, 1, ENOSPC);
  calls.fail(SystemCall::write, 2, 0);
  calls.limitCount(SystemCall::write, 3, 0);
  EXPECT_THAT([&] { writeAll(abc, handle, messages); }, failsWithPosix(ENOSPC, "cannot"));
  EXPECT_THAT([&] { writeAll(abc, handle, messages); }, failsWithPosix(EIO, "cannot"));
  EXPECT_THAT([&] { writeAll(abc, handle, messages); }, failsWithPosix(EIO, "stopped"));
}

TEST_F(FileDescriptorTest, ofADirectoryIsFlushed) {
  const auto directory = FileLocation::fromPath(folder.path().native());
  synchronizeDirectory(directory);
  EXPECT_EQ(calls.count(SystemCall::fsync), 1);
  calls.fail(SystemCall::fsync, 2, EIO);
  EXPECT_THAT([&] { synchronizeDirectory(directory); }, failsWithPosix(EIO));
  calls.fail(SystemCall::open, 3, EMFILE);
  EXPECT_THAT([&] { synchronizeDirectory(directory); }, failsWithPosix(EMFILE));
}

TEST_F(FileDescriptorTest, ofADirectoryThatCannotBeFlushedIsNoFailure) {
  const auto directory = FileLocation::fromPath(folder.path().native());
  calls.fail(SystemCall::open, 1, EACCES);
  EXPECT_NO_THROW(synchronizeDirectory(directory));
  calls.fail(SystemCall::fsync, 1, EINVAL);
  EXPECT_NO_THROW(synchronizeDirectory(directory));
  EXPECT_EQ(calls.count(SystemCall::fsync), 1);
}

class UUIDTest : public test::FileAccessTest {};

TEST_F(UUIDTest, hasItsStandardForm) {
  const auto form =
      testing::MatchesRegex("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
  std::set<std::string> seen;
  for (int i = 0; i < 100; ++i) {
    const std::string uuid = makeUUID();
    EXPECT_THAT(uuid, form);
    seen.insert(uuid);
  }
  EXPECT_EQ(seen.size(), 100U);
}

TEST_F(UUIDTest, isTold) {
  for (int i = 0; i < 100; ++i) EXPECT_TRUE(isUUID(makeUUID()));
  EXPECT_TRUE(isUUID("01234567-89AB-4DEF-8123-456789ABCDEF"));
  for (const char* text :
       {"", "01234567-89AB-4DEF-8123-456789ABCDE", "01234567-89AB-4DEF-8123-456789ABCDEF0",
        "01234567-89ab-4DEF-8123-456789ABCDEF", "01234567-89AB-1DEF-8123-456789ABCDEF",
        "01234567-89AB-4DEF-C123-456789ABCDEF", "0123456789AB-4DEF-8123-456789ABCDEF-",
        "G1234567-89AB-4DEF-8123-456789ABCDEF"})
    EXPECT_FALSE(isUUID(text)) << text;
}

TEST_F(UUIDTest, isFilledHoweverFewBytesComeAtATime) {
  calls.interruptEveryCall();
  calls.limitCount(SystemCall::getrandom, FaultySystemCalls::kEvery, 5);
  EXPECT_EQ(makeUUID().size(), 36U);
  EXPECT_EQ(calls.count(SystemCall::getrandom), 8);
}

TEST_F(UUIDTest, needsRandomNumbers) {
  calls.fail(SystemCall::getrandom, 1, ENOSYS);
  EXPECT_THAT([] { makeUUID(); }, failsWithPosix(ENOSYS));
}

TEST_F(UUIDTest, hasANumberBesideIt) {
  EXPECT_NE(randomNumber(), 0U);
  EXPECT_NE(randomNumber(), randomNumber());
  calls.fail(SystemCall::getrandom, FaultySystemCalls::kEvery, ENOSYS);
  EXPECT_THAT([] { randomNumber(); }, failsWithPosix(ENOSYS));
}

}  // namespace
}  // namespace quillmor
