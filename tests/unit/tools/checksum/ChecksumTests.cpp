#include "base/ByteUnits.h"
#include "base/MessageDigest.h"
#include "kernels/Crc32Kernels.h"
#include "tools/checksum/Checksum.h"

#include <gmock/gmock.h>

#include <limits>
#include <numeric>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "fileaccess/StableFile.h"
#include "support/FileAccessTest.h"
#include "support/RandomBytes.h"
#include "support/TemporaryFolder.h"
#include "tools/analysis/ByteStatistics.h"
#include "tools/checksum/ChecksumPasses.h"

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Checksum::BasicValues;
using View = std::span<const std::uint8_t>;

const auto stops = testing::Throws<Error>(testing::Property(&Error::isStopped, true));

constexpr auto kCrc32Table = crc32ByteTable();

View bytesOf(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// By the definitions, a byte at a time.
BasicValues naiveValues(View bytes) {
  std::uint32_t crc = 0xFFFFFFFF;
  std::uint32_t low = 1;
  std::uint32_t high = 0;
  std::uint32_t sum = 0;
  for (const std::uint8_t byte : bytes) {
    crc = kCrc32Table[(crc ^ byte) & 0xFF] ^ (crc >> 8);
    low = (low + byte) % 65'521;
    high = (high + low) % 65'521;
    sum += byte;
  }
  return {~crc, high << 16 | low, static_cast<std::uint8_t>(sum), static_cast<std::uint16_t>(sum),
          sum};
}

std::string reportOf(View bytes, HexSelection selection = {}) {
  TaskProgress progress;
  return Checksum::report(bytes, selection, progress);
}

std::string rangeReportOf(View bytes, HexSelection range) {
  TaskProgress progress;
  return Checksum::rangeReport(bytes, range, progress);
}

std::string firstLines(const std::string& text, int count) {
  std::size_t end = 0;
  for (int i = 0; i < count; ++i) end = text.find('\n', end) + 1;
  return text.substr(0, end - 1);
}

std::string withoutFirstLines(const std::string& text, int count) {
  return text.substr(firstLines(text, count).size() + 1);
}

const std::string kLinesAboutDigits =
    "CRC32: CBF43926\n"
    "Adler32: 091E01DE\n"
    "SUM8: DD\n"
    "SUM16: 01DD\n"
    "SUM32: 000001DD\n"
    "MD5: 25f9e794323b453885f5181f1b624d0b\n"
    "SHA-1: f7c3bc1d808e04732adf679965ccc34ca7ae3441\n"
    "SHA-256: 15e2b0d3c33891ebb0f1ef609ec419420c20e320ce94c65fbc8c3312448eb225\n"
    "Entropy: 3.1699 bits/byte";

const std::string kLinesAboutNothing =
    "CRC32: 00000000\n"
    "Adler32: 00000001\n"
    "SUM8: 00\n"
    "SUM16: 0000\n"
    "SUM32: 00000000\n"
    "MD5: d41d8cd98f00b204e9800998ecf8427e\n"
    "SHA-1: da39a3ee5e6b4b0d3255bfef95601890afd80709\n"
    "SHA-256: e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855\n"
    "Entropy: 0.0000 bits/byte";

TEST(BasicValues, areThePublishedOnesOfTheNineDigits) {
  const BasicValues expected = {0xCBF43926, 0x091E01DE, 0xDD, 0x01DD, 0x01DD};
  EXPECT_EQ(Checksum::basicValues(bytesOf("123456789")), expected);
}

TEST(BasicValues, ofNoBytesAreTheInitialOnes) {
  const BasicValues expected = {0, 1, 0, 0, 0};
  EXPECT_EQ(Checksum::basicValues({}), expected);
  EXPECT_EQ(BasicValues(), expected);
}

TEST(BasicValues, areThePublishedOnesOfTexts) {
  EXPECT_EQ(Checksum::basicValues(bytesOf("a")).crc32, 0xE8B7BE43);
  EXPECT_EQ(Checksum::basicValues(bytesOf("abc")).crc32, 0x352441C2);
  EXPECT_EQ(Checksum::basicValues(bytesOf("abc")).adler32, 0x024D0127U);
  EXPECT_EQ(Checksum::basicValues(bytesOf("Wikipedia")).adler32, 0x11E60398U);
  const std::string_view fox = "The quick brown fox jumps over the lazy dog";
  EXPECT_EQ(Checksum::basicValues(bytesOf(fox)).crc32, 0x414FA339U);
  EXPECT_EQ(Checksum::basicValues(bytesOf(fox)).adler32, 0x5BDC0FDAU);
}

TEST(BasicValues, agreeWithTheDefinitionsAtEveryLength) {
  const Bytes random = test::randomBytes(70'000, 17);
  std::vector<std::size_t> lengths(601);
  std::iota(lengths.begin(), lengths.end(), 0U);
  for (const std::size_t around : {5552U, 2 * 5552U, 3 * 5552U, 65536U}) {
    for (std::size_t length = around - 3; length <= around + 3; ++length) lengths.push_back(length);
  }
  for (const std::size_t length : lengths) {
    const View bytes = View(random).last(length);
    ASSERT_EQ(Checksum::basicValues(bytes), naiveValues(bytes)) << length;
  }
}

TEST(BasicValues, keepTheirSumsWithin32BitsForTheLargestBytes) {
  for (const std::size_t length : {5551U, 5552U, 5553U, 65'521U, 1'000'000U}) {
    const Bytes bytes(length, 0xFF);
    EXPECT_EQ(Checksum::basicValues(bytes), naiveValues(bytes)) << length;
  }
}

TEST(BasicValues, cutTheByteSumTo8And16And32Bits) {
  // 16,843,010 bytes of FF sum up to 2^32 + 254.
  const auto values = Checksum::basicValues(Bytes(16'843'010, 0xFF));
  EXPECT_EQ(values.sum32, 254U);
  EXPECT_EQ(values.sum16, 254U);
  EXPECT_EQ(values.sum8, 254U);
  const auto small = Checksum::basicValues(Bytes(258, 0xFF));
  EXPECT_EQ(small.sum32, 65'790U);
  EXPECT_EQ(small.sum16, 254U);
}

TEST(Crc32Table, isThatOfTheReflectedPolynomial) {
  EXPECT_EQ(kCrc32Table[0], 0U);
  EXPECT_EQ(kCrc32Table[1], 0x77073096U);
  EXPECT_EQ(kCrc32Table[2], 0xEE0E612CU);
  EXPECT_EQ(kCrc32Table[128], 0xEDB88320U);
  EXPECT_EQ(kCrc32Table[255], 0x2D02EF8DU);
}

TEST(ChecksumReport, isAboutTheWholeDocumentWithoutSelection) {
  EXPECT_EQ(reportOf(bytesOf("123456789")), "Full document\nSize: 9 bytes\n" + kLinesAboutDigits);
}

TEST(ChecksumReport, isAboutTheSelection) {
  EXPECT_EQ(reportOf(bytesOf("abc123456789def"), {3, 9}),
            "Selection 0x00000003 - 0x0000000B\nSize: 9 bytes\n" + kLinesAboutDigits);
}

TEST(ChecksumReport, sparesTheBytesOutsideTheSelection) {
  const std::string text = reportOf(bytesOf("xA"), {1, 1});
  EXPECT_EQ(firstLines(text, 2), "Selection 0x00000001 - 0x00000001\nSize: 1 bytes");
  EXPECT_TRUE(text.ends_with("\nEntropy: 0.0000 bits/byte"));
}

TEST(ChecksumReport, clipsTheSelection) {
  const std::string expected =
      "Selection 0x00000003 - 0x0000000B\nSize: 9 bytes\n" + kLinesAboutDigits;
  EXPECT_EQ(reportOf(bytesOf("abc123456789"), {3, 10}), expected);
  EXPECT_EQ(reportOf(bytesOf("abc123456789"), {3, std::numeric_limits<std::int64_t>::max()}),
            expected);
  EXPECT_EQ(firstLines(reportOf(bytesOf("123456789"), {-5, 6}), 2),
            "Selection 0x00000000 - 0x00000000\nSize: 1 bytes");
}

TEST(ChecksumReport, takesASelectionOutsideTheDocumentForNone) {
  const std::string expected = "Full document\nSize: 9 bytes\n" + kLinesAboutDigits;
  EXPECT_EQ(reportOf(bytesOf("123456789"), {9, 5}), expected);
  EXPECT_EQ(reportOf(bytesOf("123456789"), {4, 0}), expected);
  EXPECT_EQ(reportOf(bytesOf("123456789"), {4, -2}), expected);
  EXPECT_EQ(reportOf(bytesOf("123456789"), {-5, 5}), expected);
}

TEST(ChecksumReport, saysSoMuchAboutAnEmptyDocument) {
  const std::string expected = "Full document\nSize: 0 bytes\n" + kLinesAboutNothing;
  EXPECT_EQ(reportOf({}), expected);
  EXPECT_EQ(reportOf({}, {3, 4}), expected);
}

TEST(ChecksumReport, showsTheLargestEntropy) {
  Bytes bytes(256);
  std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
  EXPECT_TRUE(reportOf(bytes).ends_with("\nEntropy: 8.0000 bits/byte"));
}

TEST(RangeChecksumReport, isAboutTheRange) {
  EXPECT_EQ(rangeReportOf(bytesOf("abc123456789def"), {3, 9}),
            "Range: 0x00000003 - 0x0000000B\nLength: 9 bytes\n" + kLinesAboutDigits);
}

TEST(RangeChecksumReport, clipsTheRange) {
  EXPECT_EQ(rangeReportOf(bytesOf("abc123456789"), {3, 10}),
            "Range: 0x00000003 - 0x0000000B\nLength: 9 bytes\n" + kLinesAboutDigits);
  EXPECT_EQ(rangeReportOf(bytesOf("abc123456789"), {3, std::numeric_limits<std::int64_t>::max()}),
            "Range: 0x00000003 - 0x0000000B\nLength: 9 bytes\n" + kLinesAboutDigits);
}

TEST(RangeChecksumReport, saysThatTheRangeIsEmpty) {
  const auto text = [](const std::string& offset) {
    return "Range: empty at 0x" + offset + "\nLength: 0 bytes\n" + kLinesAboutNothing;
  };
  EXPECT_EQ(rangeReportOf(bytesOf("123456789"), {5, 0}), text("00000005"));
  EXPECT_EQ(rangeReportOf(bytesOf("123456789"), {9, 1}), text("00000009"));
  EXPECT_EQ(rangeReportOf(bytesOf("123456789"), {1000, 20}), text("00000009"));
  EXPECT_EQ(rangeReportOf({}, {0, 0}), text("00000000"));
  EXPECT_EQ(rangeReportOf({}, {7, 7}), text("00000000"));
}

TEST(RangeChecksumReport, andTheReportOfASelectionSayTheSame) {
  const Bytes bytes = test::randomBytes(3 * kMiB + 5, 8);
  const HexSelection range = {1001, 2 * kMiB + 77};
  const std::string selected = reportOf(bytes, range);
  EXPECT_EQ(firstLines(selected, 2), "Selection 0x000003E9 - 0x00200435\nSize: 2097229 bytes");
  EXPECT_TRUE(withoutFirstLines(selected, 2) == withoutFirstLines(rangeReportOf(bytes, range), 2));
}

std::string digestOf(const char* algorithm, View bytes) {
  MessageDigest digest(algorithm);
  digest.add(bytes);
  return digest.finished();
}

/// Sizes around the pieces that the passes work in, and around the size that is worth two threads.
TEST(ChecksumPasses, comeToWhatOnePassOverAllBytesComesTo) {
  const Bytes random = test::randomBytes(2 * kMiB + 1, 23);
  for (const std::int64_t size : {std::int64_t{1}, kMiB / 8 - 1, kMiB / 8, kMiB / 8 + 1, kMiB / 2 - 1, kMiB / 2,
                                 kMiB / 2 + 1, 2 * kMiB + 1}) {
    const View bytes = View(random).first(static_cast<std::size_t>(size));
    TaskProgress progress;
    const auto all = Checksum::allValues(ByteSource(bytes), progress);
    EXPECT_EQ(all.basic, naiveValues(bytes)) << size;
    EXPECT_EQ(all.counts, byteCounts(bytes)) << size;
    const Checksum::Digests expected = {digestOf("MD5", bytes), digestOf("SHA1", bytes),
                                        digestOf("SHA256", bytes)};
    EXPECT_EQ(all.digests, expected) << size;
    EXPECT_EQ(progress.fraction(), 1) << size;
  }
}

TEST(ChecksumPasses, readAFileAsTheyReadMemory) {
  const Bytes bytes = test::randomBytes(kMiB + 77, 31);
  const test::TemporaryFolder folder;
  const auto location =
      folder.write("data", {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  const StableFile file(location);
  for (const HexSelection selection : {HexSelection{}, HexSelection{5, 600'000}, HexSelection{9, 1},
                                       HexSelection{kMiB, 500}, HexSelection{2 * kMiB, 5}}) {
    TaskProgress progress;
    EXPECT_EQ(Checksum::report(file, selection, progress),
              Checksum::report(bytes, selection, progress));
    EXPECT_EQ(Checksum::rangeReport(file, selection, progress),
              Checksum::rangeReport(bytes, selection, progress));
  }
}

TEST(ChecksumPasses, countEveryByteOnceWhicheverPassIsAhead) {
  const Bytes bytes = test::randomBytes(kMiB, 29);
  const ByteCounts expected = byteCounts(bytes);
  for (int repetition = 0; repetition < 20; ++repetition) {
    TaskProgress progress;
    ASSERT_EQ(Checksum::allValues(ByteSource(bytes), progress).counts, expected);
  }
}

TEST(ChecksumPasses, advanceByTheBytesOfTheScopeOnly) {
  const Bytes bytes = test::randomBytes(700'001, 1);
  TaskProgress progress;
  Checksum::report(bytes, {1, 600'001}, progress);
  EXPECT_EQ(progress.fraction(), 1);
  progress.setTotal(2 * 600'001);
  EXPECT_EQ(progress.fraction(), 0.5);
}

TEST(ChecksumPasses, stopBeforeTheyBegin) {
  const Bytes bytes(100, 1);
  TaskProgress progress;
  progress.requestStop();
  EXPECT_THAT([&] { Checksum::report(bytes, {}, progress); }, stops);
  EXPECT_THAT([&] { Checksum::rangeReport(bytes, {1, 5}, progress); }, stops);
  EXPECT_EQ(progress.fraction(), 0);
  EXPECT_THAT([&] { Checksum::rangeReport(bytes, {1, 0}, progress); }, stops);
}

class ChecksumPassesOverAFile : public test::FileAccessTest {};

TEST_F(ChecksumPassesOverAFile, readNothingMoreAfterAStop) {
  // Few enough bytes for one thread: the passes come one after the other, four pieces each.
  const StableFile file(folder.write("file", std::string(500'000, 'x')));
  TaskProgress whole;
  Checksum::report(file, {}, whole);
  EXPECT_EQ(calls.count(test::SystemCall::pread), 8);
  TaskProgress progress;
  calls.before(test::SystemCall::pread, 8 + 6, [&] { progress.requestStop(); });
  EXPECT_THAT([&] { Checksum::report(file, {}, progress); }, stops);
  EXPECT_EQ(calls.count(test::SystemCall::pread), 8 + 6);
}

TEST(ChecksumPasses, stopOnTheirWay) {
  const Bytes bytes(64 * kMiB, 1);
  TaskProgress progress;
  std::thread stopper([&] {
    while (progress.fraction() <= 0) std::this_thread::yield();
    progress.requestStop();
  });
  EXPECT_THAT([&] { Checksum::report(bytes, {}, progress); }, stops);
  stopper.join();
  EXPECT_GT(progress.fraction(), 0);
  EXPECT_LT(progress.fraction(), 1);
}

}  // namespace
}  // namespace quillmor
