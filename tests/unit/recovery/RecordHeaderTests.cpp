#include "recovery/RecordHeader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <random>

#include "recovery/Crc32c.h"
#include "recovery/LittleEndian.h"
#include "support/ErrorMatchers.h"

namespace quillmor {
namespace {

using test::failsWith;
using test::failsWithPosix;

constexpr const char* kDamaged = "The recovery record is damaged.";

RecordHeader fullHeader() {
  RecordHeader header;
  header.kind = RecordKind::unsavedChanges;
  header.payloadByteCount = 1234567890123;
  for (std::size_t i = 0; i < 32; ++i) header.payloadDigest[i] = static_cast<std::uint8_t>(i * 7);
  header.file = StableFileStatus{.device = 1,
                                 .inode = 0xFFFFFFFFFFFFFFFF,
                                 .mode = 0100644,
                                 .size = 4711,
                                 .modificationSeconds = -5,
                                 .modificationNanoseconds = 999999999,
                                 .changeSeconds = 1700000000,
                                 .changeNanoseconds = 1};
  header.created = {.seconds = 1700000001, .nanoseconds = 999999999};
  header.processID = 0xFFFFFFFF;
  header.bootID.fill(0xAB);
  header.writerNumber = 0xFEDCBA9876543210;
  header.caretOffset = 7;
  header.selection = {3, 4};
  header.bookmarkCount = RecordHeader::kMaximumBookmarkCount;
  header.untitledNumber = 2;
  header.path = "/folder/\xFF name";
  return header;
}

TEST(RecordHeader, isReadAsItWasWritten) {
  EXPECT_EQ(RecordHeader::decoded(fullHeader().encoded()), fullHeader());
  RecordHeader journal;
  journal.kind = RecordKind::journal;
  journal.baseID = "0123456789abcdef-01234567-89AB-4DEF-8123-456789ABCDEF";
  EXPECT_EQ(RecordHeader::decoded(journal.encoded()), journal);
  EXPECT_EQ(RecordHeader::decoded(RecordHeader().encoded()), RecordHeader());
}

TEST(RecordHeader, ofAJournalMayHaveTheDigestOfItsFile) {
  RecordHeader journal;
  journal.kind = RecordKind::journal;
  journal.file = StableFileStatus{.size = 4711};
  EXPECT_EQ(journal.baseDigest(), std::nullopt) << "as older versions have left it";
  const ContentDigest digest{.byteCount = 4711, .lanes = {1, 0xFFFFFFFFFFFFFFFF, 0, 1U << 31}};
  journal.setBaseDigest(digest);
  EXPECT_EQ(RecordHeader::decoded(journal.encoded()).baseDigest(), digest);
  journal.file.reset();
  EXPECT_EQ(journal.baseDigest(), std::nullopt) << "of which file?";
}

TEST(RecordHeader, takesPathsUpToTheLimitOfTheSystem) {
  RecordHeader header;
  header.path = "/" + std::string(RecordHeader::kMaximumPathByteCount - 1, 'x');
  EXPECT_EQ(RecordHeader::decoded(header.encoded()), header);
  header.path += 'x';
  EXPECT_THAT([&] { header.encoded(); },
              failsWithPosix(ENAMETOOLONG, Error::posix(ENAMETOOLONG).message()));
}

TEST(RecordHeader, isNotBelievedWhenAnyBitIsWrong) {
  const auto bytes = fullHeader().encoded();
  for (std::size_t bit = 0; bit < bytes.size() * 8; bit += bit < 2400 ? 1 : 97) {
    auto changed = bytes;
    changed[bit / 8] = static_cast<std::uint8_t>(changed[bit / 8] ^ (1 << (bit % 8)));
    EXPECT_THROW(RecordHeader::decoded(changed), Error) << bit;
  }
}

TEST(RecordHeader, isNotReadFromTooFewBytes) {
  const auto bytes = fullHeader().encoded();
  EXPECT_THAT([&] { RecordHeader::decoded(std::span(bytes).first(bytes.size() - 1)); },
              failsWith(3101, kDamaged));
  EXPECT_THAT([&] { RecordHeader::decoded({}); }, failsWith(3101, kDamaged));
}

TEST(RecordHeader, ofANewerVersionIsLeftAlone) {
  auto bytes = fullHeader().encoded();
  putLittleEndian<std::uint32_t>(bytes, 8, RecordHeader::kVersion + 1);
  EXPECT_THAT([&] { RecordHeader::decoded(bytes); },
              failsWith(3102, "The recovery record was written by a newer version of Quillmor."));
}

/// The header with one field changed by somebody who can compute the check.
RecordHeader decodedWith(std::size_t at, std::uint64_t value, std::size_t byteCount) {
  auto bytes = fullHeader().encoded();
  for (std::size_t i = 0; i < byteCount; ++i)
    bytes[at + i] = static_cast<std::uint8_t>(value >> (8 * i));
  putLittleEndian(bytes, bytes.size() - 4, crc32c(std::span(bytes).first(bytes.size() - 4)));
  return RecordHeader::decoded(bytes);
}

TEST(RecordHeader, withImpossibleValuesIsRefusedThoughItsCheckIsRight) {
  const auto refused = failsWith(3101, kDamaged);
  const std::uint64_t negative = 0x8000000000000000;
  EXPECT_THAT([&] { decodedWith(8, 0, 4); }, refused);   // version 0
  EXPECT_THAT([&] { decodedWith(12, 0, 4); }, refused);  // kind
  EXPECT_THAT([&] { decodedWith(12, 4, 4); }, refused);
  EXPECT_THAT([&] { decodedWith(12, 3, 4); }, refused);  // a journal with a payload
  EXPECT_THAT([&] { decodedWith(16, negative, 8); }, refused);
  EXPECT_THAT([&] { decodedWith(56, 2, 4); }, refused);  // neither with nor without a file
  EXPECT_THAT([&] { decodedWith(60, RecordHeader::kMaximumPathByteCount + 1, 4); }, refused);
  EXPECT_THAT([&] { decodedWith(88, negative, 8); }, refused);  // the file's size
  EXPECT_THAT([&] { decodedWith(136, 1000000000, 4); }, refused);
  EXPECT_THAT([&] { decodedWith(160, negative, 8); }, refused);
  EXPECT_THAT([&] { decodedWith(168, negative, 8); }, refused);
  EXPECT_THAT([&] { decodedWith(176, negative, 8); }, refused);
  EXPECT_THAT([&] { decodedWith(184, RecordHeader::kMaximumBookmarkCount + 1, 4); }, refused);
  EXPECT_THAT([&] { decodedWith(192, 'x', 1); }, refused);  // a base without an ID
  EXPECT_THAT([&] { decodedWith(256, 'x', 1); }, refused);  // a relative path
  EXPECT_THAT([&] { decodedWith(258, 0, 1); }, refused);    // a path with a NUL
  EXPECT_EQ(decodedWith(136, 999999999, 4), fullHeader());
}

TEST(RecordHeader, ofAnOlderVersionTellsNothingOfItsWriter) {
  constexpr std::size_t kWriterAt = 4352;
  RecordHeader expected = fullHeader();
  expected.writerNumber = 0;
  EXPECT_EQ(decodedWith(kWriterAt, 0, 8), expected);
  expected.writerNumber = 0xFFFFFFFFFFFFFFFF;
  EXPECT_EQ(decodedWith(kWriterAt, 0xFFFFFFFFFFFFFFFF, 8), expected);
}

TEST(RecordHeader, tellsItsWriterBesideTheLongestPath) {
  RecordHeader header = fullHeader();
  header.path = "/" + std::string(RecordHeader::kMaximumPathByteCount - 1, 'x');
  EXPECT_EQ(RecordHeader::decoded(header.encoded()), header);
}

TEST(RecordHeader, ofRandomBytesIsRefused) {
  std::mt19937 random(7);
  std::vector<std::uint8_t> bytes(RecordHeader::kByteCount);
  for (int i = 0; i < 200; ++i) {
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
    EXPECT_THROW(RecordHeader::decoded(bytes), Error);
  }
}

TEST(RecordID, hasSixteenDigitsAndAUUID) {
  EXPECT_TRUE(isRecordID("0123456789abcdef-01234567-89AB-4DEF-8123-456789ABCDEF"));
  EXPECT_FALSE(isRecordID("0123456789ABCDEF-01234567-89AB-4DEF-8123-456789ABCDEF"));
  EXPECT_FALSE(isRecordID("0123456789abcde-01234567-89AB-4DEF-8123-456789ABCDEF"));
  EXPECT_FALSE(isRecordID("0123456789abcdef_01234567-89AB-4DEF-8123-456789ABCDEF"));
  EXPECT_FALSE(isRecordID("0123456789abcdef-01234567-89AB-4DEF-8123-456789ABCDEFx"));
  EXPECT_FALSE(isRecordID(""));
}

}  // namespace
}  // namespace quillmor
