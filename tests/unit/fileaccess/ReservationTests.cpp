#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <thread>
#include <vector>

#include "fileaccess/FileReservationRegistry.h"
#include "fileaccess/URLReservations.h"
#include "support/ErrorMatchers.h"
#include "support/FileAccessTest.h"

namespace quillmor {
namespace {

namespace fs = std::filesystem;
using namespace SecureFileAccess;
using test::failsWith;

constexpr const char* kBeingWritten =
    "data.bin is currently being written by another save or export. Wait for that operation to "
    "finish before opening or reading it.";
constexpr const char* kConflict =
    "Another operation is already reading or writing data.bin. Choose a different destination or "
    "wait for that operation to finish.";

class Reservations : public test::FileAccessTest {
 protected:
  const FileLocation data = folder.write("data.bin", "content");
  const FileLocation notAFile = FileLocation::fromURL("https://example.org/data.bin");
};

TEST_F(Reservations, letReadsShareAFileAndKeepOutputsOut) {
  const auto first = reserveReadURL(data);
  const auto second = reserveReadURL(data);
  EXPECT_THAT([&] { reserveOutputURL(data); }, failsWith(1207, kConflict));
  first->release();
  EXPECT_THAT([&] { reserveOutputURL(data); }, failsWith(1207, kConflict));
  second->release();
  EXPECT_NO_THROW(reserveOutputURL(data));
}

TEST_F(Reservations, letAnOutputExcludeReadsAndOutputs) {
  const auto output = reserveOutputURL(data);
  EXPECT_THAT([&] { reserveReadURL(data); }, failsWith(1208, kBeingWritten));
  EXPECT_THAT([&] { reserveOutputURL(data); }, failsWith(1207, kConflict));
  output->release();
  EXPECT_NO_THROW(reserveReadURL(data));
}

TEST_F(Reservations, knowAFileThroughLinks) {
  fs::create_symlink(data.path(), folder.path() / "soft.bin");
  fs::create_hard_link(data.path(), folder.path() / "hard.bin");
  const auto output = reserveOutputURL(data);
  EXPECT_THAT([&] { reserveReadURL(folder.location("soft.bin")); },
              failsWith(1208,
                        "soft.bin is currently being written by another save or export. Wait for "
                        "that operation to finish before opening or reading it."));
  EXPECT_THAT([&] { reserveReadURL(folder.location("hard.bin")); },
              failsWith(1208,
                        "hard.bin is currently being written by another save or export. Wait for "
                        "that operation to finish before opening or reading it."));
  EXPECT_THAT([&] { reserveOutputURL(folder.location("hard.bin")); },
              failsWith(1207,
                        "Another operation is already reading or writing hard.bin. Choose a "
                        "different destination or wait for that operation to finish."));
}

TEST_F(Reservations, keepAnOutputOutThroughAHardLinkOfAFileBeingRead) {
  fs::create_hard_link(data.path(), folder.path() / "hard.bin");
  const auto read = reserveReadURL(folder.location("hard.bin"));
  EXPECT_THAT([&] { reserveOutputURL(data); }, failsWith(1207, kConflict));
}

TEST_F(Reservations, knowAFileThatDoesNotExistYetByItsPath) {
  const auto missing = folder.location("new.bin");
  const auto output = reserveOutputURL(missing);
  folder.write("new.bin", "appeared");
  EXPECT_THAT([&] { reserveReadURL(missing); },
              failsWith(1208,
                        "new.bin is currently being written by another save or export. Wait for "
                        "that operation to finish before opening or reading it."));
}

TEST_F(Reservations, knowAFileThatDoesNotExistYetThroughALinkedFolder) {
  fs::create_directory(folder.path() / "real");
  fs::create_directory_symlink("real", folder.path() / "linked");
  {
    const auto output = reserveOutputURL(folder.location("linked/new.bin"));
    EXPECT_THAT([&] { reserveReadURL(folder.location("real/new.bin")); },
                failsWith(1208,
                          "new.bin is currently being written by another save or export. Wait for "
                          "that operation to finish before opening or reading it."));
    EXPECT_THAT([&] { reserveOutputURL(folder.location("real/new.bin")); },
                failsWith(1207,
                          "Another operation is already reading or writing new.bin. Choose a "
                          "different destination or wait for that operation to finish."));
  }
  EXPECT_NO_THROW(reserveOutputURL(folder.location("real/new.bin")));
}

TEST_F(Reservations, standardizeThePath) {
  const auto output = reserveOutputURL(folder.location("new.bin"));
  EXPECT_THAT([&] { reserveReadURL(folder.location("./x/../new.bin")); }, testing::Throws<Error>());
}

TEST_F(Reservations, refuseWhatIsNotALocalFile) {
  EXPECT_THAT([&] { reserveReadURL(notAFile); },
              failsWith(1200, "The selected item is not a local file URL."));
  EXPECT_THAT([&] { validateURLIsNotReservedForReading(notAFile); },
              failsWith(1200, "The selected item is not a local file URL."));
  EXPECT_THAT([&] { reserveOutputURL(notAFile); },
              failsWith(1200, "The output destination is not a local file URL."));
}

TEST_F(Reservations, checkForReadingWithoutReserving) {
  EXPECT_NO_THROW(validateURLIsNotReservedForReading(data));
  {
    const auto output = reserveOutputURL(data);
    EXPECT_THAT([&] { validateURLIsNotReservedForReading(data); }, failsWith(1208, kBeingWritten));
  }
  const auto read = reserveReadURL(data);
  EXPECT_NO_THROW(validateURLIsNotReservedForReading(data));
  read->release();
  EXPECT_TRUE(test::isUnreserved(data));
}

TEST_F(Reservations, areReleasedOnceHoweverOftenAsked) {
  auto first = reserveReadURL(data);
  const auto second = reserveReadURL(data);
  first->release();
  first->release();
  first.reset();
  EXPECT_FALSE(test::isUnreserved(data));
  second->release();
  EXPECT_TRUE(test::isUnreserved(data));

  auto output = reserveOutputURL(data);
  output->release();
  const auto next = reserveOutputURL(data);
  output.reset();
  EXPECT_FALSE(test::isUnreserved(data));
}

TEST_F(Reservations, areReleasedWithTheirToken) {
  reserveOutputURL(data);
  reserveReadURL(data);
  EXPECT_TRUE(test::isUnreserved(data));
}

TEST_F(Reservations, releaseTheKeysTheyWereTakenWith) {
  const auto output = reserveOutputURL(data);
  fs::remove(data.path());
  folder.write("data.bin", "another file");
  output->release();
  EXPECT_TRUE(test::isUnreserved(data));
}

TEST_F(Reservations, needNoStatus) {
  calls.fail(test::SystemCall::fstatat, test::FaultySystemCalls::kEvery, EACCES);
  const auto output = reserveOutputURL(data);
  EXPECT_THAT([&] { reserveReadURL(data); }, failsWith(1208, kBeingWritten));
}

TEST(FileReservationRegistry, refusesReadsBeyondTheLargestCount) {
  FileReservationRegistry registry(2);
  const ReservationKeys keys = {.canonicalPath = "/data.bin", .identity = FileIdentity{1, 2}};
  const ReservationKeys samePath = {.canonicalPath = "/data.bin", .identity = std::nullopt};
  const ReservationKeys sameFile = {.canonicalPath = "/other", .identity = FileIdentity{1, 2}};
  const auto tooMany = failsWith(1209,
                                 "Too many concurrent read operations are active for data.bin. "
                                 "Wait for existing operations to finish and try again.");
  const auto first = registry.reserveRead(keys, "data.bin");
  const auto second = registry.reserveRead(keys, "data.bin");
  EXPECT_THAT([&] { registry.reserveRead(keys, "data.bin"); }, tooMany);
  EXPECT_THAT([&] { registry.reserveRead(samePath, "data.bin"); }, tooMany);
  EXPECT_THAT([&] { registry.reserveRead(sameFile, "data.bin"); }, tooMany);
  second->release();
  EXPECT_NO_THROW(registry.reserveRead(keys, "data.bin"));
}

TEST(FileReservationRegistry, changesNothingWhenItRefuses) {
  FileReservationRegistry registry;
  const ReservationKeys keys = {.canonicalPath = "/data.bin", .identity = FileIdentity{1, 2}};
  const ReservationKeys sameFile = {.canonicalPath = "/other", .identity = FileIdentity{1, 2}};
  const auto read = registry.reserveRead(keys, "data.bin");
  EXPECT_THROW(registry.reserveOutput(sameFile, "other"), Error);
  read->release();
  const auto output = registry.reserveOutput(keys, "data.bin");
  EXPECT_THROW(registry.reserveRead(sameFile, "other"), Error);
  output->release();
  const ReservationKeys other = {.canonicalPath = "/other", .identity = std::nullopt};
  EXPECT_NO_THROW(registry.reserveOutput(other, "other"));
}

TEST(FileReservationRegistry, neverLetsReadersAndAWriterInTogether) {
  FileReservationRegistry registry;
  const ReservationKeys keys = {.canonicalPath = "/data.bin", .identity = FileIdentity{1, 2}};
  std::atomic<int> readers{0};
  std::atomic<int> writers{0};
  std::atomic<int> violations{0};
  std::atomic<int> admitted{0};
  const auto work = [&](bool writes) {
    for (int i = 0; i < 5000; ++i) {
      try {
        if (writes) {
          const auto output = registry.reserveOutput(keys, "data.bin");
          if (++writers != 1 || readers != 0) ++violations;
          --writers;
          ++admitted;
        } else {
          const auto read = registry.reserveRead(keys, "data.bin");
          ++readers;
          if (writers != 0) ++violations;
          --readers;
          ++admitted;
        }
      } catch (const Error& error) {
        if (error.code() != 1207 && error.code() != 1208) ++violations;
      }
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) threads.emplace_back(work, i % 2 == 0);
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(violations, 0);
  EXPECT_GT(admitted, 0);
  EXPECT_NO_THROW(registry.reserveOutput(keys, "data.bin"));
}

TEST(FileReservation, isOfNothingUntilItBegins) {
  int released = 0;
  {
    ReadReservation reservation;
    reservation.release();
    reservation.begin([&released] { ++released; });
    EXPECT_EQ(released, 0);
  }
  EXPECT_EQ(released, 1);
}

TEST(FileReservation, isReleasedOnceByManyThreads) {
  for (int round = 0; round < 200; ++round) {
    std::atomic<int> released{0};
    ReadReservation reservation;
    reservation.begin([&released] { ++released; });
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) threads.emplace_back([&reservation] { reservation.release(); });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(released, 1);
  }
}

TEST_F(Reservations, areHeldByADocumentUntilAllAreReleased) {
  ReadReservationHolder holder;
  const auto read = reserveReadURL(data);
  holder.add(read);
  holder.add(reserveReadURL(data));
  EXPECT_FALSE(test::isUnreserved(data));
  holder.releaseAll();
  EXPECT_TRUE(test::isUnreserved(data)) << "also the one that somebody else still shares";
  holder.releaseAll();
}

TEST_F(Reservations, canBeTakenOutOfTheHolderAgain) {
  ReadReservationHolder holder;
  const auto read = reserveReadURL(data);
  holder.add(read);
  EXPECT_EQ(holder.remove(*read), read);
  EXPECT_EQ(holder.remove(*read), nullptr);
  holder.releaseAll();
  EXPECT_FALSE(test::isUnreserved(data));
}

TEST_F(Reservations, areReleasedWithTheHolder) {
  {
    ReadReservationHolder holder;
    holder.add(reserveReadURL(data));
  }
  EXPECT_TRUE(test::isUnreserved(data));
}

TEST_F(Reservations, tellTheSameFileByPathLinkOrIdentity) {
  fs::create_symlink(data.path(), folder.path() / "soft.bin");
  fs::create_hard_link(data.path(), folder.path() / "hard.bin");
  folder.write("twin.bin", "content");
  EXPECT_TRUE(urlsReferToSameFile(data, data));
  EXPECT_TRUE(urlsReferToSameFile(data, folder.location("./data.bin")));
  EXPECT_TRUE(urlsReferToSameFile(data, folder.location("soft.bin")));
  EXPECT_TRUE(urlsReferToSameFile(data, folder.location("hard.bin")));
  EXPECT_FALSE(urlsReferToSameFile(data, folder.location("twin.bin")));
  EXPECT_FALSE(urlsReferToSameFile(data, folder.location("missing.bin")));
  EXPECT_TRUE(urlsReferToSameFile(folder.location("missing"), folder.location("missing")));
  EXPECT_FALSE(urlsReferToSameFile(folder.location("missing"), folder.location("missing too")));
}

TEST_F(Reservations, callNoTwoLocationsTheSameThatAreNotLocalFiles) {
  EXPECT_FALSE(urlsReferToSameFile(notAFile, notAFile));
  EXPECT_FALSE(urlsReferToSameFile(data, notAFile));
  EXPECT_FALSE(urlsReferToSameFile(notAFile, data));
}

TEST(FileIdentity, isEqualWhenBothNumbersAre) {
  EXPECT_EQ((FileIdentity{1, 2}), (FileIdentity{1, 2}));
  EXPECT_NE((FileIdentity{1, 2}), (FileIdentity{2, 2}));
  EXPECT_NE((FileIdentity{1, 2}), (FileIdentity{1, 3}));
  EXPECT_NE(std::hash<FileIdentity>{}({1, 2}), std::hash<FileIdentity>{}({2, 1}));
}

}  // namespace
}  // namespace quillmor
