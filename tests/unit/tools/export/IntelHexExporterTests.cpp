#include "tools/export/IntelHexExporter.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "base/ByteUnits.h"
#include "support/ErrorMatchers.h"
#include "support/ExporterFixture.h"
#include "support/MemoryProbes.h"
#include "support/RandomBytes.h"
#include "support/ReservedZeros.h"

namespace quillmor::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t k4GiB = 4'294'967'296;
constexpr const char* kTooMany = "Intel HEX export supports at most 4 GiB of addressable data.";

std::string fileOf(std::span<const std::uint8_t> bytes) {
  TaskProgress progress;
  const std::string text =
      collected([&](const TextSink& sink) { IntelHexExporter::produce(bytes, sink, progress); });
  EXPECT_TRUE(bytes.empty() || progress.fraction() == 1);
  return text;
}

/// A record with its checksum, made from all of its bytes but that.
std::string record(const Bytes& bytes) {
  std::string text = ":";
  unsigned sum = 0;
  for (const std::uint8_t byte : bytes) {
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02X", static_cast<unsigned>(byte));
    text += digits;
    sum += byte;
  }
  char digits[3];
  std::snprintf(digits, sizeof digits, "%02X", (0x100 - sum % 0x100) % 0x100);
  return text + digits + "\n";
}

/// The file as it is described: record after record, byte after byte.
std::string plainFileOf(const Bytes& bytes) {
  std::string text;
  for (std::size_t at = 0; at < bytes.size(); at += 16) {
    const auto byteOf = [](std::size_t value) { return static_cast<std::uint8_t>(value & 0xFF); };
    if (at % 0x10000 == 0) text += record({2, 0, 0, 4, byteOf(at >> 24), byteOf(at >> 16)});
    const auto count = std::min<std::size_t>(16, bytes.size() - at);
    Bytes data = {byteOf(count), byteOf(at >> 8), byteOf(at), 0};
    for (std::size_t i = at; i < at + count; ++i) data.push_back(bytes[i]);
    text += record(data);
  }
  return text + ":00000001FF\n";
}

TEST(IntelHexDataLine, hasLengthAddressTypeAndChecksum) {
  EXPECT_EQ(IntelHexExporter::dataLine(bytesOf("Hello, Intel HEX"), 0x10),
            ":1000100048656C6C6F2C20496E74656C204845589F\n");
  EXPECT_EQ(IntelHexExporter::dataLine(bytesOf("!"), 0xFFFF), ":01FFFF0021E0\n");
  EXPECT_EQ(IntelHexExporter::dataLine(Bytes(16, 0xFF), 0xFFF0),
            ":10FFF000FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF11\n");
}

TEST(IntelHexDataLine, hasTheLowHalfOfTheAddress) {
  EXPECT_EQ(IntelHexExporter::dataLine(bytesOf("!"), 0x1234'5678), ":015678002110\n");
  EXPECT_EQ(IntelHexExporter::dataLine(bytesOf("!"), 0xFFFF'FFFF), ":01FFFF0021E0\n");
}

TEST(IntelHexDataLine, hasAChecksumOf0WhenTheSumIs) {
  EXPECT_EQ(IntelHexExporter::dataLine(Bytes{0xFF}, 0), ":01000000FF00\n");
}

TEST(IntelHexDataLine, holdsUpTo255Bytes) {
  const Bytes bytes(255, 0xAB);
  Bytes whole = {255, 0x12, 0x34, 0};
  whole.insert(whole.end(), bytes.begin(), bytes.end());
  EXPECT_EQ(IntelHexExporter::dataLine(bytes, 0x1234), record(whole));
}

TEST(IntelHex, ofNothingIsTheEndRecord) {
  EXPECT_EQ(fileOf({}), ":00000001FF\n");
}

TEST(IntelHex, beginsWithAnExtendedLinearAddress) {
  EXPECT_EQ(fileOf(bytesOf("Hello, Intel HEX!")),
            ":020000040000FA\n"
            ":1000000048656C6C6F2C20496E74656C20484558AF\n"
            ":0100100021CE\n"
            ":00000001FF\n");
}

TEST(IntelHex, hasAnotherExtendedLinearAddressWhereTheUpperHalfChanges) {
  const std::string text = fileOf(Bytes(0x10010));
  EXPECT_TRUE(
      text.ends_with(":10FFE0000000000000000000000000000000000011\n"
                     ":10FFF0000000000000000000000000000000000001\n"
                     ":020000040001F9\n"
                     ":1000000000000000000000000000000000000000F0\n"
                     ":00000001FF\n"));
  EXPECT_EQ(text.size(), 2 * 16 + 0x1001 * 44 + 12U);
}

TEST(IntelHex, hasNoAddressRecordWithoutData) {
  EXPECT_TRUE(fileOf(Bytes(0x10000))
                  .ends_with(":10FFF0000000000000000000000000000000000001\n:00000001FF\n"));
  EXPECT_TRUE(fileOf(Bytes(0x10001)).ends_with(":020000040001F9\n:0100000000FF\n:00000001FF\n"));
}

TEST(IntelHex, countsUpperAddressesInBothBytes) {
  EXPECT_TRUE(fileOf(Bytes(0x100'0001))
                  .ends_with(":10FFF0000000000000000000000000000000000001\n"
                             ":020000040100F9\n"
                             ":0100000000FF\n"
                             ":00000001FF\n"));
}

TEST(IntelHex, isItsRecordsAtEveryLengthAndAcrossItsPieces) {
  const Bytes bytes = randomBytes(3 * 65536 + 33, 1);
  for (std::ptrdiff_t length = 0; length <= 100; ++length) {
    const Bytes some(bytes.begin(), bytes.begin() + length);
    ASSERT_TRUE(fileOf(some) == plainFileOf(some)) << length;
  }
  EXPECT_TRUE(fileOf(bytes) == plainFileOf(bytes));
}

TEST(IntelHex, isHandedOnInPiecesOfAtMostAMebibyte) {
  const Bytes bytes(4 * kMiB);
  std::size_t pieces = 0;
  std::size_t total = 0;
  TaskProgress progress;
  const TextSink sink = [&](std::string_view piece) {
    EXPECT_LE(piece.size(), BufferedText::kCapacity);
    total += piece.size();
    ++pieces;
  };
  IntelHexExporter::produce(bytes, sink, progress);
  EXPECT_EQ(total, 64 * 16 + bytes.size() / 16 * 44 + 12);
  EXPECT_LE(pieces, total / BufferedText::kCapacity * 5 / 4 + 1);
}

TEST(IntelHex, stopsWhenAskedTo) {
  const Bytes bytes(4 * kMiB);
  TaskProgress progress;
  int pieces = 0;
  const TextSink sink = [&](std::string_view) {
    ++pieces;
    progress.requestStop();
  };
  EXPECT_THAT([&] { IntelHexExporter::produce(bytes, sink, progress); },
              testing::Throws<Error>(testing::Property(&Error::isStopped, true)));
  EXPECT_EQ(pieces, 1);
}

TEST(IntelHex, refusesMoreThan4GiBBeforeAnythingIsHandedOn) {
  EXPECT_EQ(IntelHexExporter::kMaximumByteCount, std::int64_t{0x1'0000'0000});
  const ReservedZeros zeros(k4GiB + 1);
  TaskProgress progress;
  const TextSink sink = [](std::string_view) { ADD_FAILURE() << "handed on in vain"; };
  EXPECT_THAT([&] { IntelHexExporter::produce(zeros.span(), sink, progress); },
              failsWith(2301, kTooMany));
}

TEST(IntelHex, takes4GiB) {
  const ReservedZeros zeros(k4GiB);
  TaskProgress progress;
  std::string begin;
  const TextSink sink = [&](std::string_view piece) {
    begin = piece.substr(0, 16);
    progress.requestStop();
  };
  EXPECT_THAT([&] { IntelHexExporter::produce(zeros.span(), sink, progress); },
              testing::Throws<Error>(testing::Property(&Error::isStopped, true)));
  EXPECT_EQ(begin, ":020000040000FA\n");
}

#if QUILLMOR_MEMORY_IS_MEASURABLE
TEST(IntelHex, takesLittleMemoryBesideTheDocument) {
  const ReservedZeros zeros(64 * kMiB);
  std::int64_t length = 0;
  const TextSink sink = [&length](std::string_view piece) { length += std::ssize(piece); };
  TaskProgress progress;
  EXPECT_LE(peakMemoryGrowth([&] { IntelHexExporter::produce(zeros.span(), sink, progress); }),
            16 * kMiB);
  EXPECT_EQ(length, 1024 * 16 + 64 * kMiB / 16 * 44 + 12);
}
#endif

class IntelHexFile : public ExporterTest {
 protected:
  const Bytes bytes_ = randomBytes(400'001, 2);
  const Export writing_ = [this](const ExportTarget& target, TaskProgress& progress) {
    IntelHexExporter::write(bytes_, target, progress);
  };
};

TEST_F(IntelHexFile, holdsAllBytes) {
  expectWrites(writing_, plainFileOf(bytes_));
}

TEST_F(IntelHexFile, ofNothingIsTheEndRecord) {
  TaskProgress progress;
  IntelHexExporter::write({}, {existing, {}}, progress);
  EXPECT_EQ(folder.read("existing.txt"), ":00000001FF\n");
}

TEST_F(IntelHexFile, isRefusedForMoreThan4GiBBeforeTheDestinationIsLookedAt) {
  const ReservedZeros zeros(k4GiB + 1);
  TaskProgress progress;
  EXPECT_THAT(
      [&] {
        IntelHexExporter::write(zeros.span(), {existing, {existing}}, progress);
      },
      failsWith(2301, kTooMany));
  EXPECT_TRUE(calls.log().empty());
  expectNothingHappened();
}

TEST_F(IntelHexFile, isStoppedUntilItIsInstalled) {
  expectStopsAtEveryStage(writing_, plainFileOf(bytes_));
}

TEST_F(IntelHexFile, leavesTheDestinationWhenItFails) {
  expectLeavesTheDestinationWhenItFails(writing_);
}

}  // namespace
}  // namespace quillmor::test
