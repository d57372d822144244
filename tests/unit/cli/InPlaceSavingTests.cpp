#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

#include "cli/InPlaceSaving.h"
#include "support/ErrorMatchers.h"
#include "support/FileAccessTest.h"
#include "support/MemorySafetyCopies.h"
#include "support/Stopping.h"

namespace quillmor::cli {
namespace {

using test::failsWith;
using test::failsWithPosix;
using test::FaultySystemCalls;
using test::isStopped;
using test::SystemCall;

class InPlaceSavingTest : public test::FileAccessTest {
 protected:
  InPlaceSavingTest()
      : file(folder.write("data.bin", "old bytes")),
        snapshot(SecureFileAccess::readSnapshot(file, std::nullopt)) {}

  void save(std::string_view changed = "new bytes, and more") {
    saveInPlace(file, snapshot, ByteBuffer(test::bytesOf(changed)), copies, progress);
  }

  /// The number of the first such call of the save.
  int next(SystemCall kind) const { return calls.count(kind) + 1; }

  std::string written() const { return test::TemporaryFolder::read(file); }

  const FileLocation file;
  const ReadSnapshot snapshot;
  const std::shared_ptr<test::MemorySafetyCopies> copies =
      std::make_shared<test::MemorySafetyCopies>();
  TaskProgress progress;
};

constexpr const char* kChanged = "The file has been changed by another program. Nothing was saved.";
constexpr const char* kCouldNotWrite = "Could not write the document data.";
constexpr const char* kKept =
    " The new bytes are kept: \"quillmor-cli recover COPY -o OUT\" writes them.";

TEST_F(InPlaceSavingTest, theChangedBytesBecomeTheFile) {
  save();
  EXPECT_EQ(written(), "new bytes, and more");
  EXPECT_TRUE(test::isUnreserved(file));
  EXPECT_EQ(folder.names().size(), 1U);
}

TEST_F(InPlaceSavingTest, aFileThatIsLongerByNowIsLeftAlone) {
  folder.append("data.bin", "!");
  EXPECT_THAT([&] { save(); }, failsWith(2001, kChanged));
  EXPECT_EQ(written(), "old bytes!");
}

TEST_F(InPlaceSavingTest, aFileRewrittenMeanwhileIsLeftAlone) {
  folder.write("data.bin", "OLD BYTES");
  // Timestamps may be as coarse as the time that the test takes.
  std::filesystem::last_write_time(folder.path() / "data.bin", {});
  EXPECT_THAT([&] { save(); }, failsWith(2001, kChanged));
  EXPECT_EQ(written(), "OLD BYTES");
}

TEST_F(InPlaceSavingTest, aFileInThePlaceOfTheOneReadIsLeftAlone) {
  folder.write("other.bin", "old bytes");
  std::filesystem::rename(folder.path() / "other.bin", folder.path() / "data.bin");
  EXPECT_THAT([&] { save(); }, failsWith(2001, kChanged));
  EXPECT_EQ(written(), "old bytes");
}

TEST_F(InPlaceSavingTest, aFileThatHasGoneIsNotMadeAnew) {
  std::filesystem::remove(folder.path() / "data.bin");
  EXPECT_THAT([&] { save(); }, failsWith(2001, kChanged));
  EXPECT_FALSE(folder.exists("data.bin"));
}

TEST_F(InPlaceSavingTest, aFileReplacedAfterTheLookIsLeftAlone) {
  folder.write("other.bin", "another file");
  calls.before(SystemCall::open, next(SystemCall::open), [&] {
    std::filesystem::rename(folder.path() / "other.bin", folder.path() / "data.bin");
  });
  EXPECT_THAT([&] { save(); }, failsWith(2001, kChanged));
  EXPECT_EQ(written(), "another file");
}

TEST_F(InPlaceSavingTest, otherPermissionsTimesAndLinksAloneAreNoChange) {
  std::filesystem::permissions(file.path(), std::filesystem::perms(0600));
  std::filesystem::last_write_time(folder.path() / "data.bin", {});
  std::filesystem::create_hard_link(file.path(), folder.path() / "hard.bin");
  save();
  EXPECT_EQ(written(), "new bytes, and more");
}

TEST_F(InPlaceSavingTest, aLimitOfFileSizesIsLookedAtBeforeTheFileIsTouched) {
  calls.limitFileSize(9);
  EXPECT_THAT([&] { save("ten bytes!"); }, failsWithPosix(EFBIG, kCouldNotWrite));
  EXPECT_EQ(calls.count(SystemCall::ftruncate), 0);
  EXPECT_EQ(written(), "old bytes");
  save("nine byte");
  EXPECT_EQ(written(), "nine byte");
}

TEST_F(InPlaceSavingTest, fewerBytesThanTheLimitOfFileSizesAreFine) {
  calls.limitFileSize(9);
  save("8 bytes!");
  EXPECT_EQ(written(), "8 bytes!");
}

TEST_F(InPlaceSavingTest, aRequestToStopBeforeTheSaveIsHeeded) {
  progress.requestStop();
  EXPECT_THAT([&] { save(); }, isStopped());
  EXPECT_EQ(written(), "old bytes");
}

TEST_F(InPlaceSavingTest, aRequestToStopAfterTheSaveComesTooLate) {
  calls.before(SystemCall::write, 1, [&] { progress.requestStop(); });
  save();
  EXPECT_EQ(written(), "new bytes, and more");
  // The program does not end as if nothing had been saved.
  progress.checkpoint();
}

TEST_F(InPlaceSavingTest, aFailureHalfWayPutsTheOldBytesBack) {
  calls.limitCount(SystemCall::write, 1, 4);
  calls.fail(SystemCall::write, 2, ENOSPC);
  EXPECT_THAT([&] { save(); }, failsWithPosix(ENOSPC, kCouldNotWrite));
  EXPECT_EQ(written(), "old bytes");
  EXPECT_TRUE(test::isUnreserved(file));
}

TEST_F(InPlaceSavingTest, aFailureAfterTheWriteDoesToo) {
  calls.fail(SystemCall::fsync, 1, EIO);
  EXPECT_THAT([&] { save(); }, failsWithPosix(EIO));
  EXPECT_EQ(written(), "old bytes");
}

TEST_F(InPlaceSavingTest, aFailedLookAtTheCompleteFileIsNoFailure) {
  calls.fail(SystemCall::fstat, next(SystemCall::fstat) + 1, EIO);
  save();
  EXPECT_EQ(written(), "new bytes, and more");
}

TEST_F(InPlaceSavingTest, aCompleteFileIsNotCalledIncomplete) {
  // The file was opened and closed once before, to see whether it may be written.
  calls.fail(SystemCall::close, next(SystemCall::close) + 1, EIO);
  calls.fail(SystemCall::open, next(SystemCall::open) + 2, EMFILE);
  EXPECT_THAT([&] { save(); }, failsWithPosix(EIO, Error::posix(EIO).message() +
                                                       " The file has the new bytes." + kKept));
  EXPECT_EQ(written(), "new bytes, and more");
  EXPECT_THAT(copies->kept, testing::ElementsAre("new bytes, and more"));
}

TEST_F(InPlaceSavingTest, oldBytesThatCannotBePutBackAreTold) {
  calls.limitCount(SystemCall::write, 1, 4);
  calls.fail(SystemCall::write, 2, ENOSPC);
  calls.fail(SystemCall::write, 3, ENOSPC);
  EXPECT_THAT([&] { save(); }, failsWithPosix(ENOSPC, std::string(kCouldNotWrite) +
                                                          " The file is incomplete now." + kKept));
  EXPECT_THAT(copies->kept, testing::ElementsAre("new bytes, and more"));
}

TEST_F(InPlaceSavingTest, theOldBytesArePutBackAlsoWhenNobodyKnowsWhatHasBecomeOfTheFile) {
  calls.limitCount(SystemCall::write, 1, 4);
  calls.fail(SystemCall::write, 2, EIO);
  calls.before(SystemCall::write, 2,
               [&] { calls.fail(SystemCall::fstatat, FaultySystemCalls::kEvery, EIO); });
  EXPECT_THAT([&] { save(); }, failsWithPosix(EIO, kCouldNotWrite));
  EXPECT_EQ(written(), "old bytes");
}

TEST_F(InPlaceSavingTest, aFileThatTookThePlaceOfTheTornOneIsLeftAlone) {
  folder.write("other.bin", "another file");
  calls.limitCount(SystemCall::write, 1, 4);
  calls.before(SystemCall::write, 2, [&] {
    std::filesystem::rename(folder.path() / "other.bin", folder.path() / "data.bin");
  });
  calls.fail(SystemCall::write, 2, EIO);
  EXPECT_THAT([&] { save(); }, failsWithPosix(EIO, std::string(kCouldNotWrite) + kKept));
  EXPECT_EQ(written(), "another file");
}

TEST_F(InPlaceSavingTest, aFailureBeforeTheWriteTouchesNothing) {
  calls.fail(SystemCall::ftruncate, 1, EIO);
  EXPECT_THAT([&] { save("NEW BYTES"); },
              failsWithPosix(EIO, "Could not prepare the document output file."));
  EXPECT_EQ(written(), "old bytes");
  EXPECT_EQ(calls.count(SystemCall::write), 0);
  EXPECT_EQ(SecureFileAccess::readSnapshot(file, std::nullopt).status, snapshot.status);
}

TEST_F(InPlaceSavingTest, aFileThatTheDiskHasOtherwiseKeepsTheCopy) {
  copies->digest = "another one than that of the bytes on the disk";
  EXPECT_THAT(
      [&] {
        saveInPlace(file, snapshot, ByteBuffer(test::bytesOf("new")), copies, progress,
                    {.verifies = true});
      },
      failsWith(2007, std::string("The bytes read back from the disk are not those that were "
                                  "saved.") +
                          kKept));
  EXPECT_THAT(copies->kept, testing::ElementsAre("new"));
}

}  // namespace
}  // namespace quillmor::cli
