#include "fileaccess/StableReading.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <limits>

#include "base/ByteUnits.h"
#include "fileaccess/URLReservations.h"
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

constexpr const char* kChanged = "The file changed while it was being read. Try again.";
constexpr const char* kNotRegular = "Only regular files can be opened as binary documents.";

std::string exceedsLimit(std::int64_t limit) {
  return "The selected file exceeds the safe in-memory limit of " + std::to_string(limit) +
         " bytes.";
}

/// Two whole chunks and a part of a third.
const std::string& sharedContent() {
  static const std::string content = test::patternedText(2 * kMiB + 12345);
  return content;
}

class StableReading : public test::FileAccessTest {
 protected:
  void TearDown() override {
    EXPECT_TRUE(test::isUnreserved(data));
    FileAccessTest::TearDown();
  }

  std::string contentOf(const FileLocation& location) {
    return test::textOf(readSnapshot(location, std::nullopt).bytes.span());
  }

  const std::string& content = sharedContent();
  const FileLocation data = folder.write("data.bin", content);
};

TEST_F(StableReading, readsAWholeFileInChunksOfOneMebibyte) {
  EXPECT_EQ(contentOf(data), content);
  EXPECT_THAT(calls.requestedCounts(SystemCall::pread), testing::ElementsAre(kMiB, kMiB, 12345, 1));
}

TEST_F(StableReading, readsAnEmptyFile) {
  const auto snapshot = readSnapshot(folder.write("empty.bin", ""), std::nullopt);
  EXPECT_EQ(snapshot.bytes.size(), 0);
  EXPECT_THAT(calls.requestedCounts(SystemCall::pread), testing::ElementsAre(std::size_t{1}));
}

TEST_F(StableReading, tellsTheStatusAndTheModificationDate) {
  const auto time = std::chrono::sys_seconds(std::chrono::seconds(1000000000));
  const auto fraction = std::chrono::milliseconds(250);
  fs::last_write_time(data.path(), std::chrono::file_clock::from_sys(time + fraction));
  const auto snapshot = readSnapshot(data, std::nullopt);
  EXPECT_EQ(snapshot.modificationDate, 1000000000.25);
  EXPECT_EQ(snapshot.status, fileStatus(data, FollowSymlinks::yes));
  EXPECT_EQ(snapshot.status.size, static_cast<std::int64_t>(content.size()));
}

TEST_F(StableReading, readsExactlyTheLimitAndNotAByteMore) {
  const auto size = static_cast<std::int64_t>(content.size());
  EXPECT_EQ(readData(data, size).size(), size);
  const int readCount = calls.count(SystemCall::pread);
  EXPECT_THAT([&] { readData(data, size - 1); }, failsWith(1205, exceedsLimit(size - 1)));
  EXPECT_EQ(calls.count(SystemCall::pread), readCount) << "refused before any data is read";
}

TEST_F(StableReading, refusesANegativeLimitBeforeOpening) {
  EXPECT_THAT([&] { readSnapshot(data, -1); }, failsWith(1205, "The file size limit is invalid."));
  EXPECT_EQ(calls.count(SystemCall::open), 0);
  EXPECT_EQ(readData(folder.write("empty.bin", ""), 0).size(), 0);
}

TEST_F(StableReading, resumesShortReads) {
  calls.limitCount(SystemCall::pread, FaultySystemCalls::kEvery, 100003);
  EXPECT_EQ(contentOf(data), content);
}

TEST_F(StableReading, repeatsWhatWasInterrupted) {
  calls.interruptEveryCall();
  EXPECT_EQ(contentOf(data), content);
}

TEST_F(StableReading, followsLinks) {
  fs::create_symlink(data.path(), folder.path() / "link.bin");
  EXPECT_EQ(contentOf(folder.location("link.bin")), content);
}

TEST_F(StableReading, readsFilesWhoseNamesAreNotUtf8) {
  EXPECT_EQ(contentOf(folder.write("\xFF\xFE.bin", "abc")), "abc");
}

TEST_F(StableReading, refusesAFileThatGrew) {
  calls.before(SystemCall::pread, 2, [&] { folder.append("data.bin", "x"); });
  EXPECT_THAT([&] { readSnapshot(data, std::nullopt); }, failsWith(1204, kChanged));
}

TEST_F(StableReading, refusesAFileThatGrewWithinTheLimit) {
  calls.before(SystemCall::pread, 2, [&] { folder.append("data.bin", "x"); });
  EXPECT_THAT([&] { readSnapshot(data, static_cast<std::int64_t>(content.size()) + 1); },
              failsWith(1204, kChanged));
}

TEST_F(StableReading, refusesAFileThatGrewBeyondTheLimit) {
  const auto limit = static_cast<std::int64_t>(content.size());
  calls.before(SystemCall::pread, 2, [&] { folder.append("data.bin", "x"); });
  EXPECT_THAT([&] { readSnapshot(data, limit); }, failsWith(1205, exceedsLimit(limit)));
}

TEST_F(StableReading, refusesAFileThatGrewRightBeforeTheLastLook) {
  calls.before(SystemCall::fstat, 2, [&] { folder.append("data.bin", "x"); });
  EXPECT_THAT([&] { readSnapshot(data, std::nullopt); }, failsWith(1204, kChanged));
}

TEST_F(StableReading, refusesAFileThatShrank) {
  calls.before(SystemCall::pread, 2, [&] { fs::resize_file(data.path(), 5); });
  EXPECT_THAT([&] { readSnapshot(data, std::nullopt); }, failsWith(1204, kChanged));
}

TEST_F(StableReading, refusesAFileThatWasReplacedByAnEqualOne) {
  const auto twin = folder.write("twin.bin", content);
  fs::last_write_time(twin.path(), fs::last_write_time(data.path()));
  calls.before(SystemCall::pread, 2, [&] { fs::rename(twin.path(), data.path()); });
  EXPECT_THAT([&] { readSnapshot(data, std::nullopt); }, failsWith(1204, kChanged));
}

TEST_F(StableReading, refusesALinkThatWasTurnedToAnotherFile) {
  const auto link = folder.location("link.bin");
  folder.write("twin.bin", content);
  fs::create_symlink(data.path(), link.path());
  calls.before(SystemCall::pread, 2, [&] {
    fs::remove(link.path());
    fs::create_symlink(folder.path() / "twin.bin", link.path());
  });
  EXPECT_THAT([&] { readSnapshot(link, std::nullopt); }, failsWith(1204, kChanged));
}

TEST_F(StableReading, looksAtTheOpenFileAsWellAsAtThePath) {
  calls.before(SystemCall::fstat, 2,
               [&] { calls.alterStatus([](struct stat& status) { ++status.st_ctim.tv_nsec; }); });
  calls.before(SystemCall::fstatat, 3, [&] { calls.alterStatus(nullptr); });
  EXPECT_THAT([&] { readSnapshot(data, std::nullopt); }, failsWith(1204, kChanged));
}

TEST_F(StableReading, refusesAFileWhoseModeOrTimesChanged) {
  calls.before(SystemCall::pread, 2, [&] {
    fs::permissions(data.path(), fs::perms::owner_read | fs::perms::owner_write);
  });
  fs::permissions(data.path(), fs::perms::owner_read);
  EXPECT_THAT([&] { readSnapshot(data, std::nullopt); }, failsWith(1204, kChanged));
}

TEST_F(StableReading, refusesAFileThatWasOverwrittenInPlace) {
  calls.before(SystemCall::pread, 2, [&] {
    fs::last_write_time(data.path(), fs::last_write_time(data.path()) + std::chrono::seconds(1));
  });
  EXPECT_THAT([&] { readSnapshot(data, std::nullopt); }, failsWith(1204, kChanged));
}

TEST_F(StableReading, reportsAFileThatWentAway) {
  calls.before(SystemCall::pread, 2, [&] { fs::remove(data.path()); });
  EXPECT_THAT([&] { readSnapshot(data, std::nullopt); }, failsWithPosix(ENOENT));
}

TEST_F(StableReading, comparesAllEightFieldsOfTheStatus) {
  const StableFileStatus status = {1, 2, 3, 4, 5, 6, 7, 8};
  EXPECT_EQ(status, (StableFileStatus{1, 2, 3, 4, 5, 6, 7, 8}));
  EXPECT_NE(status, (StableFileStatus{0, 2, 3, 4, 5, 6, 7, 8}));
  EXPECT_NE(status, (StableFileStatus{1, 0, 3, 4, 5, 6, 7, 8}));
  EXPECT_NE(status, (StableFileStatus{1, 2, 0, 4, 5, 6, 7, 8}));
  EXPECT_NE(status, (StableFileStatus{1, 2, 3, 0, 5, 6, 7, 8}));
  EXPECT_NE(status, (StableFileStatus{1, 2, 3, 4, 0, 6, 7, 8}));
  EXPECT_NE(status, (StableFileStatus{1, 2, 3, 4, 5, 0, 7, 8}));
  EXPECT_NE(status, (StableFileStatus{1, 2, 3, 4, 5, 6, 0, 8}));
  EXPECT_NE(status, (StableFileStatus{1, 2, 3, 4, 5, 6, 7, 0}));
}

TEST_F(StableReading, refusesWhatIsNotALocalFile) {
  const auto url = FileLocation::fromURL("https://example.org/data.bin");
  EXPECT_THAT([&] { readSnapshot(url, std::nullopt); },
              failsWith(1200, "The selected item is not a local file URL."));
  EXPECT_THAT([&] { validateReadableFileURL(url); },
              failsWith(1200, "The selected item is not a local file URL."));
}

TEST_F(StableReading, refusesADirectoryBeforeAnyOpen) {
  EXPECT_THAT([&] { readSnapshot(FileLocation::fromPath(folder.path().native()), std::nullopt); },
              failsWith(1201, "Directories cannot be opened as binary files."));
  EXPECT_EQ(calls.count(SystemCall::open), 0);
}

TEST_F(StableReading, refusesAFifoWithoutWaitingForAWriter) {
  const auto fifo = folder.location("fifo");
  ASSERT_EQ(::mkfifo(fifo.path().c_str(), 0600), 0);
  EXPECT_THAT([&] { readSnapshot(fifo, std::nullopt); }, failsWith(1203, kNotRegular));
  EXPECT_THAT([&] { openStableReadHandle(fifo); }, failsWith(1203, kNotRegular));
}

TEST_F(StableReading, refusesDevices) {
  for (const char* device : {"/dev/zero", "/dev/null"}) {
    const auto location = FileLocation::fromPath(device);
    EXPECT_THAT([&] { readSnapshot(location, std::nullopt); }, failsWith(1203, kNotRegular));
    EXPECT_THAT([&] { openStableReadHandle(location); }, failsWith(1203, kNotRegular));
  }
}

TEST_F(StableReading, refusesASocket) {
  const auto location = folder.location("socket");
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  ASSERT_LT(location.path().size(), sizeof(address.sun_path));
  std::strcpy(address.sun_path, location.path().c_str());
  const int server = ::socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_EQ(::bind(server, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
  EXPECT_THAT([&] { readSnapshot(location, std::nullopt); }, failsWith(1203, kNotRegular));
  EXPECT_THAT([&] { openStableReadHandle(location); },
              failsWithPosix(ENXIO, "Could not open the selected file for reading."));
  ::close(server);
}

TEST_F(StableReading, refusesAFileThatBecameAFifoBeforeTheOpen) {
  calls.before(SystemCall::open, 1, [&] {
    fs::remove(data.path());
    ASSERT_EQ(::mkfifo(data.path().c_str(), 0600), 0);
  });
  EXPECT_THAT([&] { readSnapshot(data, std::nullopt); }, failsWith(1203, kNotRegular));
}

TEST_F(StableReading, refusesAnUnreadableFile) {
  calls.fail(SystemCall::access, 1, EACCES);
  EXPECT_THAT([&] { readSnapshot(data, std::nullopt); },
              failsWith(1202, "The selected file is not readable."));
  EXPECT_EQ(calls.count(SystemCall::open), 0);
}

TEST_F(StableReading, refusesAFileWithoutReadPermission) {
  fs::permissions(folder.path(), fs::perms::all);
  fs::permissions(data.path(), fs::perms::none);
  EXPECT_EQ(test::inRestrictedProcess(
                0, [&] { return test::errorText([&] { readSnapshot(data, std::nullopt); }); }),
            "1202 The selected file is not readable.");
}

TEST_F(StableReading, reportsAMissingFile) {
  EXPECT_THAT([&] { readSnapshot(folder.location("missing"), std::nullopt); },
              failsWithPosix(ENOENT));
  EXPECT_THAT([&] { openStableReadHandle(folder.location("missing")); },
              failsWithPosix(ENOENT, "Could not open the selected file for reading."));
}

TEST_F(StableReading, refusesAPathNoFileSystemTakes) {
  const auto location = FileLocation::fromURL("file:///tmp/a%00b");
  EXPECT_THAT([&] { readSnapshot(location, std::nullopt); }, failsWithPosix(EINVAL));
  EXPECT_THAT([&] { openStableReadHandle(location); },
              failsWithPosix(EINVAL, "Could not open the selected file for reading."));
  EXPECT_EQ(calls.log().size(), 0U);
}

TEST_F(StableReading, takesANumberlessFailureForAnInputOutputError) {
  calls.fail(SystemCall::open, 1, 0);
  calls.fail(SystemCall::fstat, 1, 0);
  EXPECT_THAT([&] { openStableReadHandle(data); },
              failsWithPosix(EIO, "Could not open the selected file for reading."));
  EXPECT_THAT([&] { openStableReadHandle(data); }, failsWithPosix(EIO));
}

TEST_F(StableReading, reportsEveryFailingCall) {
  const auto readFails = [&](SystemCall kind, int nth, const auto& expectation) {
    FaultySystemCalls faulty;
    const ScopedSystemCalls scope(faulty);
    faulty.fail(kind, nth, EIO);
    EXPECT_THAT([&] { readSnapshot(data, std::nullopt); }, expectation);
    EXPECT_EQ(faulty.count(SystemCall::open),
              faulty.count(SystemCall::close) + (kind == SystemCall::open ? 1 : 0));
    EXPECT_TRUE(test::isUnreserved(data));
  };
  readFails(SystemCall::fstatat, 2, failsWithPosix(EIO));  // the first finds the reservation's keys
  readFails(SystemCall::access, 1, failsWith(1202, "The selected file is not readable."));
  readFails(SystemCall::open, 1,
            failsWithPosix(EIO, "Could not open the selected file for reading."));
  readFails(SystemCall::fstat, 1, failsWithPosix(EIO));
  for (int nth = 1; nth <= 4; ++nth) readFails(SystemCall::pread, nth, failsWithPosix(EIO));
  readFails(SystemCall::fstat, 2, failsWithPosix(EIO));
  readFails(SystemCall::fstatat, 3, failsWithPosix(EIO));
}

TEST_F(StableReading, doesNotMindAFailingCloseAfterAStableRead) {
  calls.fail(SystemCall::close, 1, EIO);
  EXPECT_EQ(contentOf(data), content);
  EXPECT_EQ(calls.count(SystemCall::close), 1);
}

TEST_F(StableReading, refusesASizeTheSystemCannotMean) {
  calls.alterStatus([](struct stat& status) { status.st_size = -1; });
  EXPECT_THAT(
      [&] { readSnapshot(data, std::nullopt); },
      failsWith(1203,
                "Only regular files with a supported size can be opened as binary documents."));
}

TEST_F(StableReading, measuresRegularFilesOnly) {
  const auto unsupported = failsWith(
      1203, "Only regular files with a supported size can be opened as binary documents.");
  EXPECT_EQ(byteSize({.mode = S_IFREG | 0600, .size = 7}), 7);
  EXPECT_THAT([] { byteSize({.mode = S_IFDIR | 0700, .size = 7}); }, unsupported);
  EXPECT_THAT([] { byteSize({.mode = S_IFREG, .size = -7}); }, unsupported);
}

TEST_F(StableReading, reportsAFileTooLargeForMemory) {
  calls.alterStatus(
      [](struct stat& status) { status.st_size = std::numeric_limits<std::int64_t>::max() / 2; });
  EXPECT_THAT([&] { readSnapshot(data, std::nullopt); }, failsWithPosix(ENOMEM));
}

TEST_F(StableReading, refusesAFileThatHasMoreBytesThanItSays) {
  const auto endless = FileLocation::fromPath("/proc/self/status");
  EXPECT_THAT([&] { readSnapshot(endless, std::nullopt); }, failsWith(1204, kChanged));
  EXPECT_THAT([&] { readSnapshot(endless, 0); }, failsWith(1204, kChanged));
}

TEST_F(StableReading, refusesAFileThatIsBeingWritten) {
  const auto output = reserveOutputURL(data);
  EXPECT_THAT([&] { readSnapshot(data, std::nullopt); },
              failsWith(1208,
                        "data.bin is currently being written by another save or export. Wait for "
                        "that operation to finish before opening or reading it."));
  EXPECT_EQ(calls.count(SystemCall::open), 0);
}

TEST_F(StableReading, holdsItsReservationWhileItReads) {
  bool wasReserved = false;
  calls.before(SystemCall::pread, 1, [&] { wasReserved = !test::isUnreserved(data); });
  readData(data, std::nullopt);
  EXPECT_TRUE(wasReserved);
}

TEST_F(StableReading, leavesTheReservationToACallerWhoHoldsIt) {
  const auto reservation = reserveReadURL(data);
  validateReadableFileURL(data);
  EXPECT_EQ(test::textOf(stableBytes(data, std::nullopt).bytes.span()), content);
  EXPECT_FALSE(test::isUnreserved(data));
}

TEST_F(StableReading, tellsItsProgress) {
  TaskProgress progress;
  double half = -1;
  calls.before(SystemCall::pread, 2, [&] { half = progress.fraction(); });
  readData(data, std::nullopt, &progress);
  EXPECT_DOUBLE_EQ(half, static_cast<double>(kMiB) / static_cast<double>(content.size()));
  EXPECT_EQ(progress.fraction(), 1);
}

TEST_F(StableReading, stopsBetweenTwoChunks) {
  TaskProgress progress;
  calls.before(SystemCall::pread, 2, [&] { progress.requestStop(); });
  EXPECT_THAT([&] { readData(data, std::nullopt, &progress); },
              testing::Throws<Error>(testing::Property(&Error::isStopped, true)));
  EXPECT_EQ(calls.count(SystemCall::pread), 2);
}

TEST_F(StableReading, processesAFileWithoutKeepingIt) {
  std::vector<std::size_t> sizes;
  std::string text;
  const StableFile file(data);
  EXPECT_EQ(file.size(), std::ssize(content));
  file.forEachChunk([&](std::span<const std::uint8_t> chunk) {
    sizes.push_back(chunk.size());
    text += test::textOf(chunk);
  });
  EXPECT_EQ(text, content);
  EXPECT_THAT(sizes, testing::ElementsAre(kMiB, kMiB, 12345));
}

TEST_F(StableReading, tellsItsProgressAndStopsBetweenTwoChunksToo) {
  TaskProgress progress;
  const StableFile file(data);
  progress.setTotal(file.size());
  file.forEachChunk([](auto) {}, &progress);
  EXPECT_EQ(progress.fraction(), 1);
  int chunks = 0;
  const auto process = [&](auto) {
    ++chunks;
    progress.requestStop();
  };
  EXPECT_THAT([&] { file.forEachChunk(process, &progress); },
              testing::Throws<Error>(testing::Property(&Error::isStopped, true)));
  EXPECT_EQ(chunks, 1);
}

TEST_F(StableReading, processesAnEmptyFile) {
  int chunks = 0;
  StableFile(folder.write("empty.bin", ""), 0).forEachChunk([&](auto) { ++chunks; });
  EXPECT_EQ(chunks, 0);
}

TEST_F(StableReading, processesUnderTheSameChecks) {
  const auto process = [&](std::optional<std::int64_t> limit) {
    StableFile(data, limit).forEachChunk([](auto) {});
  };
  EXPECT_THAT([&] { process(-1); }, failsWith(1205, "The file size limit is invalid."));
  EXPECT_THAT([&] { process(5); }, failsWith(1205, exceedsLimit(5)));
  calls.before(SystemCall::pread, 2, [&] { folder.append("data.bin", "x"); });
  EXPECT_THAT([&] { process(std::nullopt); }, failsWith(1204, kChanged));
}

TEST_F(StableReading, endsWithWhatTheProcessingThrows) {
  EXPECT_THAT(
      [&] { StableFile(data).forEachChunk([](auto) { throw Error::quillmor(42, "enough"); }); },
      failsWith(42, "enough"));
  EXPECT_EQ(calls.count(SystemCall::pread), 1);
}

TEST_F(StableReading, survivesAnySingleFailingCall) {
  readSnapshot(data, std::nullopt);
  const auto callCount = static_cast<int>(calls.log().size());
  constexpr int kCallsForTheReservation = 2;
  for (const int errorNumber : {EIO, ENOMEM, EACCES}) {
    for (int nth = 1; nth <= callCount; ++nth) {
      FaultySystemCalls faulty;
      const ScopedSystemCalls scope(faulty);
      faulty.failCall(nth, errorNumber);
      const std::int64_t descriptors = test::openDescriptorCount();
      const std::string error = test::errorText([&] { EXPECT_EQ(contentOf(data), content); });
      const auto failed = calls.log()[static_cast<std::size_t>(nth - 1)];
      const bool mayFailUnnoticed = nth <= kCallsForTheReservation || failed == SystemCall::close;
      EXPECT_EQ(error == "no error", mayFailUnnoticed) << "call " << nth << ": " << error;
      EXPECT_EQ(test::openDescriptorCount(), descriptors) << "call " << nth;
      EXPECT_TRUE(test::isUnreserved(data)) << "call " << nth;
    }
  }
}

}  // namespace
}  // namespace quillmor
