#include "fileaccess/StableFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

#include "fileaccess/URLReservations.h"
#include "support/ErrorMatchers.h"
#include "support/FileAccessTest.h"
#include "support/Stopping.h"

namespace quillmor {
namespace {

using test::failsWith;
using test::failsWithPosix;
using test::SystemCall;

constexpr const char* kChanged = "The file changed while it was being read. Try again.";

class StableFiles : public test::FileAccessTest {
 protected:
  void TearDown() override {
    EXPECT_TRUE(test::isUnreserved(data));
    FileAccessTest::TearDown();
  }

  static std::string textAt(const StableFile& file, std::int64_t offset, std::size_t count) {
    std::vector<std::uint8_t> room(count);
    file.read(offset, room);
    return test::textOf(room);
  }

  const FileLocation data = folder.write("data.bin", "0123456789");
};

TEST_F(StableFiles, areReadInAnyPlace) {
  const StableFile file(data, 10);
  EXPECT_EQ(file.size(), 10);
  EXPECT_EQ(textAt(file, 7, 3), "789");
  EXPECT_EQ(textAt(file, 0, 10), "0123456789");
  EXPECT_EQ(textAt(file, 10, 0), "");
  file.requireUnchanged();
}

TEST_F(StableFiles, mayBeEmpty) {
  const StableFile file(folder.write("empty.bin", ""), 0);
  EXPECT_EQ(file.size(), 0);
  file.requireUnchanged();
}

TEST_F(StableFiles, goOnAfterShortAndInterruptedReads) {
  calls.limitCount(SystemCall::pread, test::FaultySystemCalls::kEvery, 3);
  calls.interruptEveryCall();
  const StableFile file(data);
  EXPECT_EQ(textAt(file, 1, 8), "12345678");
  file.requireUnchanged();
}

TEST_F(StableFiles, refuseWhatIsNoDocument) {
  EXPECT_THAT([&] { StableFile(folder.location("none")); }, failsWithPosix(ENOENT));
  EXPECT_THAT([&] { StableFile(FileLocation::fromPath(folder.path().string())); },
              failsWith(1201, "Directories cannot be opened as binary files."));
  EXPECT_THAT([&] { StableFile(FileLocation::fromPath("/dev/null")); },
              failsWith(1203, "Only regular files can be opened as binary documents."));
  EXPECT_THAT([&] { StableFile(data, 9); },
              failsWith(1205, "The selected file exceeds the safe in-memory limit of 9 bytes."));
}

TEST_F(StableFiles, reportReadsThatFail) {
  calls.fail(SystemCall::pread, 1, EIO);
  const StableFile file(data);
  EXPECT_THAT([&] { textAt(file, 0, 1); }, failsWithPosix(EIO));
}

TEST_F(StableFiles, noticeThatTheFileHasBecomeShorter) {
  const StableFile file(data);
  std::filesystem::resize_file(data.path(), 4);
  EXPECT_THAT([&] { textAt(file, 0, 10); }, failsWith(1204, kChanged));
  EXPECT_THAT([&] { file.requireUnchanged(); }, failsWith(1204, kChanged));
}

TEST_F(StableFiles, noticeThatTheFileHasGrown) {
  const StableFile file(data, 10);
  const StableFile unlimited(data);
  folder.write("data.bin", "0123456789a");
  EXPECT_THAT([&] { file.requireUnchanged(); },
              failsWith(1205, "The selected file exceeds the safe in-memory limit of 10 bytes."));
  EXPECT_THAT([&] { unlimited.requireUnchanged(); }, failsWith(1204, kChanged));
}

TEST_F(StableFiles, noticeWhatTheStatusAloneTells) {
  const StableFile file(data);
  calls.alterStatus([](struct stat& status) { ++status.st_mtim.tv_nsec; });
  EXPECT_THAT([&] { file.requireUnchanged(); }, failsWith(1204, kChanged));
}

TEST_F(StableFiles, noticeAnotherFileInTheirPlace) {
  const StableFile file(data);
  folder.write("new.bin", "0123456789");
  std::filesystem::rename(folder.location("new.bin").path(), data.path());
  EXPECT_THAT([&] { file.requireUnchanged(); }, failsWith(1204, kChanged));
}

TEST_F(StableFiles, reportAStatusThatCannotBeRead) {
  const StableFile file(data);
  calls.fail(SystemCall::fstat, calls.count(SystemCall::fstat) + 1, EIO);
  EXPECT_THAT([&] { file.requireUnchanged(); }, failsWithPosix(EIO));
}

TEST_F(StableFiles, areOpenedUnderAReservationOfTheCaller) {
  const auto reservation = SecureFileAccess::reserveOutputURL(data);
  EXPECT_THAT([&] { StableFile file(data); }, testing::Throws<Error>());
  EXPECT_EQ(textAt(StableFile::reservedByCaller(data, 10), 0, 10), "0123456789");
  EXPECT_THAT([&] { StableFile::reservedByCaller(data, 9); },
              failsWith(1205, "The selected file exceeds the safe in-memory limit of 9 bytes."));
}

TEST_F(StableFiles, areNotReadWholeWhenTheyChange) {
  calls.before(SystemCall::pread, 1, [&] { std::filesystem::resize_file(data.path(), 4); });
  EXPECT_THAT([&] { StableFile(data, 10).readAll(); }, failsWith(1204, kChanged));
  TaskProgress progress;
  progress.requestStop();
  EXPECT_THAT([&] { StableFile(data, 10).readAll(&progress); }, test::isStopped());
}

/// Without faults: two threads are at work.
TEST(LargeStableFiles, areReadWholeByTwoThreads) {
  const test::TemporaryFolder folder;
  for (const std::size_t size :
       {std::size_t{4} << 20, (std::size_t{4} << 20) + 1, (std::size_t{13} << 20) + 12345}) {
    const std::string content = test::patternedText(size);
    const auto location = folder.write("large.bin", content);
    TaskProgress progress;
    const ByteBuffer bytes = StableFile(location).readAll(&progress);
    EXPECT_TRUE(test::textOf(bytes.span()) == content) << size;
    EXPECT_EQ(progress.fraction(), 1);
  }
}

}  // namespace
}  // namespace quillmor
