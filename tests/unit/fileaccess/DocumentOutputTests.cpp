#include "fileaccess/DocumentOutput.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "support/ErrorMatchers.h"
#include "support/FileAccessTest.h"

namespace quillmor {
namespace {

namespace fs = std::filesystem;
using namespace SecureFileAccess;
using test::failsWith;
using test::failsWithPosix;
using test::FaultySystemCalls;
using test::SystemCall;

constexpr const char* kCouldNotOpen = "Could not open the document output file.";
constexpr const char* kNotRegular = "The document output destination must be a regular file.";

class DocumentOutput : public test::FileAccessTest {
 protected:
  StableFileStatus save(const FileLocation& location, TaskProgress* progress = nullptr) {
    return writeDocumentBytes(test::bytesOf(content), documentDestination(location), progress);
  }

  const std::string content = test::patternedText(300000);
  const FileLocation data = folder.write("data.bin", std::string(500000, 'o'));
};

TEST_F(DocumentOutput, rewritesAFileInPlace) {
  fs::permissions(data.path(), fs::perms(0640));
  fs::create_hard_link(data.path(), folder.path() / "hard.bin");
  const auto before = fileStatus(data, FollowSymlinks::no);
  const auto returned = save(data);
  EXPECT_THAT(calls.log(),
              testing::ElementsAre(SystemCall::fstatat, SystemCall::fstatat, SystemCall::open,
                                   SystemCall::flock, SystemCall::fstat, SystemCall::ftruncate,
                                   SystemCall::fallocate, SystemCall::write, SystemCall::fsync,
                                   SystemCall::fstat, SystemCall::close));
  const auto after = fileStatus(data, FollowSymlinks::no);
  EXPECT_EQ(folder.read("data.bin"), content);
  EXPECT_EQ(folder.read("hard.bin"), content);
  EXPECT_EQ(returned, after);
  EXPECT_EQ(after.identity(), before.identity());
  EXPECT_EQ(after.mode, before.mode);
  EXPECT_EQ(fs::hard_link_count(data.path()), 2U);
}

TEST_F(DocumentOutput, createsAFileAndFlushesItsDirectory) {
  const mode_t mask = ::umask(027);
  const auto status = save(folder.location("new.bin"));
  ::umask(mask);
  EXPECT_EQ(folder.read("new.bin"), content);
  EXPECT_EQ(status.mode & 0777U, 0640U);
  EXPECT_EQ(calls.count(SystemCall::fsync), 2);
  EXPECT_EQ(calls.count(SystemCall::open), 2);
}

TEST_F(DocumentOutput, writesAnEmptyDocument) {
  EXPECT_EQ(writeDocumentBytes({}, documentDestination(data)).size, 0);
  EXPECT_EQ(folder.read("data.bin"), "");
}

TEST_F(DocumentOutput, writesFilesWhoseNamesAreNotUtf8) {
  save(folder.location("\xFF\xFE.bin"));
  EXPECT_EQ(folder.read("\xFF\xFE.bin"), content);
}

TEST_F(DocumentOutput, refusesWhatIsNotALocalFile) {
  EXPECT_THAT([&] { save(FileLocation::fromURL("https://example.org/data.bin")); },
              failsWith(1205, "Document output must be a local file URL."));
}

TEST_F(DocumentOutput, refusesALink) {
  fs::create_symlink(data.path(), folder.path() / "link.bin");
  EXPECT_THAT([&] { save(folder.location("link.bin")); }, failsWithPosix(ELOOP, kCouldNotOpen));
  EXPECT_EQ(folder.read("data.bin"), std::string(500000, 'o'));
}

TEST_F(DocumentOutput, refusesADirectoryAndAMissingDirectory) {
  EXPECT_THAT([&] { save(FileLocation::fromPath(folder.path().native())); },
              failsWithPosix(EISDIR, kCouldNotOpen));
  EXPECT_THAT([&] { save(folder.location("missing/data.bin")); },
              failsWithPosix(ENOENT, kCouldNotOpen));
}

TEST_F(DocumentOutput, refusesADevice) {
  EXPECT_THAT([&] { save(FileLocation::fromPath("/dev/null")); }, failsWith(1210, kNotRegular));
}

TEST_F(DocumentOutput, refusesAFifoWithoutWaitingForAReader) {
  const auto fifo = folder.location("fifo");
  ASSERT_EQ(::mkfifo(fifo.path().c_str(), 0600), 0);
  EXPECT_THAT([&] { save(fifo); }, failsWithPosix(ENXIO, kCouldNotOpen));
  SystemCalls real;
  const int reader = real.open(fifo.path().c_str(), O_RDONLY | O_NONBLOCK, 0);
  EXPECT_THAT([&] { save(fifo); }, failsWith(1210, kNotRegular));
  real.close(reader);
}

TEST_F(DocumentOutput, refusesAPathNoFileSystemTakes) {
  EXPECT_THAT([&] { save(FileLocation::fromURL("file:///tmp/a%00b")); },
              failsWithPosix(EINVAL, kCouldNotOpen));
}

TEST_F(DocumentOutput, reportsAReadOnlyFile) {
  fs::permissions(folder.path(), fs::perms::all);
  fs::permissions(data.path(), fs::perms(0444));
  EXPECT_EQ(test::inRestrictedProcess(test::kNoSizeLimit,
                                      [&] { return test::errorText([&] { save(data); }); }),
            std::string("13 ") + kCouldNotOpen);
  EXPECT_EQ(folder.read("data.bin"), std::string(500000, 'o'));
}

TEST_F(DocumentOutput, reportsAFileThatMayNotBecomeSoLarge) {
  fs::permissions(data.path(), fs::perms(0666));
  fs::permissions(folder.path(), fs::perms::all);
  EXPECT_EQ(
      test::inRestrictedProcess(100000, [&] { return test::errorText([&] { save(data); }); }),
      std::to_string(EFBIG) + " Could not write the document data. The file is incomplete now.");
}

TEST_F(DocumentOutput, resumesShortWrites) {
  calls.limitCount(SystemCall::write, FaultySystemCalls::kEvery, 70001);
  save(data);
  EXPECT_EQ(folder.read("data.bin"), content);
}

TEST_F(DocumentOutput, repeatsWhatWasInterruptedButNeverTheClose) {
  calls.interruptEveryCall();
  save(folder.location("new.bin"));
  EXPECT_EQ(folder.read("new.bin"), content);
  EXPECT_EQ(calls.count(SystemCall::close), 3) << "both descriptors of the file, its directory's";
}

TEST_F(DocumentOutput, reportsEveryFailingCall) {
  const auto saveFails = [&](SystemCall kind, int nth, int errorNumber, const auto& expectation) {
    FaultySystemCalls faulty;
    const ScopedSystemCalls scope(faulty);
    faulty.fail(kind, nth, errorNumber);
    EXPECT_THAT([&] { save(data); }, expectation);
    EXPECT_EQ(faulty.count(SystemCall::close), kind == SystemCall::open ? 0 : 1);
  };
  saveFails(SystemCall::open, 1, EROFS, failsWithPosix(EROFS, kCouldNotOpen));
  saveFails(SystemCall::fstat, 1, EIO,
            failsWithPosix(EIO, "Could not validate the document output file."));
  EXPECT_EQ(folder.read("data.bin"), std::string(500000, 'o')) << "untouched so far";
  saveFails(SystemCall::ftruncate, 1, EPERM,
            failsWithPosix(EPERM, "Could not prepare the document output file."));
  EXPECT_EQ(folder.read("data.bin"), std::string(500000, 'o')) << "untouched so far";
  for (const int errorNumber : {ENOSPC, EIO, EDQUOT})
    saveFails(SystemCall::write, 1, errorNumber,
              failsWithPosix(errorNumber,
                             "Could not write the document data. The file is incomplete now."));
  saveFails(SystemCall::fsync, 1, EIO,
            failsWithPosix(EIO, Error::posix(EIO).message() + " The file is incomplete now."));
  saveFails(SystemCall::close, 1, ENOSPC, failsWithPosix(ENOSPC));
}

TEST_F(DocumentOutput, isCompleteEvenWhenItCannotBeLookedAtAgain) {
  const auto before = fileStatus(data, FollowSymlinks::no);
  calls.fail(SystemCall::fstat, 2, EIO);
  const StableFileStatus status = save(data);
  EXPECT_EQ(folder.read("data.bin"), content);
  EXPECT_EQ(status.identity(), before.identity());
  EXPECT_EQ(status.size, std::ssize(content));
  // So that the next save compares the bytes.
  EXPECT_NE(status, fileStatus(data, FollowSymlinks::no));
}

TEST_F(DocumentOutput, leavesAFileAloneThatAnotherQuillmorWrites) {
  const int descriptor = ::open(data.path().c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(::flock(descriptor, LOCK_EX), 0);
  EXPECT_THAT([&] { save(data); },
              testing::Throws<Error>(testing::ResultOf(isChangedDestination, true)));
  EXPECT_EQ(folder.read("data.bin"), std::string(500000, 'o'));
  ::close(descriptor);
  save(data);
  EXPECT_EQ(folder.read("data.bin"), content);
}

TEST_F(DocumentOutput, takesTheRoomItNeedsBeforeTheFileIsTouched) {
  const auto small = folder.write("small.bin", "old");
  for (const int errorNumber : {ENOSPC, EDQUOT, EFBIG}) {
    FaultySystemCalls faulty;
    faulty.fail(SystemCall::fallocate, 1, errorNumber);
    const ScopedSystemCalls scope(faulty);
    EXPECT_THAT([&] { save(small); },
                failsWithPosix(errorNumber, "Could not write the document data."));
    EXPECT_EQ(folder.read("small.bin"), "old");
    EXPECT_EQ(faulty.count(SystemCall::ftruncate), 0);
  }
}

TEST_F(DocumentOutput, reportsAWriteThatStops) {
  calls.limitCount(SystemCall::write, 1, 1000);
  calls.limitCount(SystemCall::write, 2, 0);
  EXPECT_THAT([&] { save(data); },
              failsWithPosix(EIO,
                             "The document write stopped before all data was saved. The file is "
                             "incomplete now."));
}

TEST_F(DocumentOutput, reportsADirectoryThatCannotBeFlushed) {
  calls.fail(SystemCall::fsync, 2, EIO);
  EXPECT_THAT([&] { save(folder.location("new.bin")); }, failsWithPosix(EIO));
  EXPECT_FALSE(folder.exists("new.bin"));
}

TEST_F(DocumentOutput, reportsAPlaceThatCannotBeLookedAt) {
  calls.fail(SystemCall::fstatat, 1, EIO);
  EXPECT_THAT([&] { save(data); }, failsWithPosix(EIO, kCouldNotOpen));
  EXPECT_THAT([&] { save(folder.location("data.bin/x")); }, failsWithPosix(ENOTDIR, kCouldNotOpen));
  EXPECT_THAT([&] { save(folder.location(std::string(300, 'n'))); },
              failsWithPosix(ENAMETOOLONG, kCouldNotOpen));
}

TEST_F(DocumentOutput, stopsOnlyBeforeTheFileIsTouched) {
  TaskProgress progress;
  calls.before(SystemCall::write, 1, [&] { progress.requestStop(); });
  save(data, &progress);
  EXPECT_EQ(folder.read("data.bin"), content);
  EXPECT_EQ(progress.fraction(), 1);
  EXPECT_THAT([&] { save(folder.location("new.bin"), &progress); },
              testing::Throws<Error>(testing::Property(&Error::isStopped, true)));
  EXPECT_FALSE(folder.exists("new.bin"));
}

TEST_F(DocumentOutput, survivesAnySingleFailingCall) {
  save(folder.location("new.bin"));
  const auto cleanLog = calls.log();
  for (std::size_t nth = 1; nth <= cleanLog.size(); ++nth) {
    FaultySystemCalls faulty;
    const ScopedSystemCalls scope(faulty);
    fs::remove(folder.path() / "new.bin");
    faulty.failCall(static_cast<int>(nth), EIO);
    const std::int64_t descriptors = test::openDescriptorCount();
    const std::string error = test::errorText([&] { save(folder.location("new.bin")); });
    EXPECT_EQ(test::openDescriptorCount(), descriptors) << "call " << nth;
    if (error == "no error") {
      EXPECT_EQ(folder.read("new.bin"), content) << "call " << nth;
    } else {
      EXPECT_FALSE(folder.exists("new.bin")) << "call " << nth;
    }
    // Locks and reservations that the file system does not have, a look at the complete file, and
    // the end of the directory's flush.
    const SystemCall kind = cleanLog[nth - 1];
    const bool isSecondLook =
        kind == SystemCall::fstat &&
        std::count(cleanLog.begin(), cleanLog.begin() + static_cast<std::ptrdiff_t>(nth), kind) ==
            2;
    const bool mayFailUnnoticed = kind == SystemCall::flock || kind == SystemCall::fallocate ||
                                  isSecondLook || nth + 1 >= cleanLog.size();
    EXPECT_EQ(error == "no error", mayFailUnnoticed) << "call " << nth << ": " << error;
  }
}

}  // namespace
}  // namespace quillmor
