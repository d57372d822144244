#include "tools/analysis/ByteStatistics.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <numeric>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "base/ByteUnits.h"
#include "kernels/ByteTally.h"
#include "support/CommaLocale.h"
#include "support/GuardedBytes.h"
#include "support/RandomBytes.h"
#include "tools/analysis/AnalysisText.h"
#include "tools/checksum/Checksum.h"

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;
using View = std::span<const std::uint8_t>;

const auto stops = testing::Throws<Error>(testing::Property(&Error::isStopped, true));

Bytes allValues() {
  Bytes bytes(256);
  std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
  return bytes;
}

ByteCounts naiveCounts(View bytes) {
  ByteCounts counts{};
  for (const std::uint8_t byte : bytes) ++counts[byte];
  return counts;
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

std::string statisticsOf(const Bytes& bytes, StatisticsScope scope = StatisticsScope::document) {
  TaskProgress progress;
  return selectionStatisticsReport(bytes, scope, progress);
}

TEST(ByteTally, agreesWithAPlainLoopAtEveryLengthWithoutLeavingItsMemory) {
  GuardedBytes memory(600);
  const Bytes random = test::randomBytes(600, 2);
  for (std::size_t length = 0; length <= random.size(); ++length) {
    const View bytes = View(random).first(length);
    const ByteCounts expected = naiveCounts(bytes);
    for (const View placed : {memory.atEnd(bytes), memory.atStart(bytes)}) {
      ByteCounts counts{};
      addTally(counts, byteTally(placed));
      ASSERT_EQ(counts, expected) << length;
    }
  }
}

TEST(ByteTally, agreesWithAPlainLoopAtEveryAlignment) {
  const Bytes random = test::randomBytes(1000, 3);
  for (std::size_t offset = 0; offset < 65; ++offset) {
    const View bytes = View(random).subspan(offset, 900);
    ByteCounts counts{};
    addTally(counts, byteTally(bytes));
    ASSERT_EQ(counts, naiveCounts(bytes)) << offset;
  }
}

/// From 8 MiB on the work is shared.
TEST(ByteCounts, agreeWithAPlainLoopOnOneThreadAndOnTwo) {
  const Bytes random = test::randomBytes(8 * kMiB + 3, 4);
  for (const std::int64_t size : {std::int64_t{0}, std::int64_t{1}, kMiB + 1, 8 * kMiB + 3}) {
    const View bytes = View(random).first(static_cast<std::size_t>(size));
    const ByteCounts expected = naiveCounts(bytes);
    TaskProgress progress;
    EXPECT_EQ(byteCounts(bytes, &progress), expected) << size;
    EXPECT_EQ(byteCounts(bytes), expected) << size;
    if (size > 0) {
      EXPECT_EQ(progress.fraction(), 1) << size;
    }
  }
}

TEST(ByteCounts, agreeWithAPlainLoopAboutRuns) {
  // Runs of every length around the groups that are counted at once, at changing places.
  Bytes bytes = {1, 2, 3};
  for (std::size_t length = 1; length < 300; ++length) {
    bytes.insert(bytes.end(), length, length % 2 == 0 ? 0x00 : 0xFF);
    if (length % 3 == 0) bytes.push_back(static_cast<std::uint8_t>(length));
  }
  // Words that look like runs: all eight the same, of two bytes; equal bytes, one of them other.
  for (int i = 0; i < 200; ++i) bytes.push_back(i % 2 == 0 ? 7 : 8);
  for (int i = 0; i < 200; ++i) bytes.push_back(i == 133 ? 7 : 9);
  for (std::size_t from = 0; from < 64; ++from) {
    const View part = View(bytes).subspan(from);
    ASSERT_EQ(byteCounts(part), naiveCounts(part)) << from;
  }
}

TEST(ByteCounts, stopWhenAskedTo) {
  const Bytes bytes(16 * kMiB, 1);
  TaskProgress stopped;
  stopped.requestStop();
  EXPECT_THAT([&] { byteCounts(bytes, &stopped); }, stops);
  EXPECT_EQ(stopped.fraction(), 0);
  EXPECT_THAT([&] { selectionStatisticsReport(bytes, StatisticsScope::document, stopped); }, stops);
}

TEST(EntropyValue, isZeroForNoBytesAndForOneValue) {
  EXPECT_EQ(entropyValue(View()), 0);
  EXPECT_EQ(entropyValue(ByteCounts{}), 0);
  for (const std::size_t size : {1U, 3U, 100'000U}) {
    const double entropy = entropyValue(Bytes(size, 0x41));
    EXPECT_EQ(entropy, 0);
    EXPECT_FALSE(std::signbit(entropy));
  }
  EXPECT_FALSE(std::signbit(entropyValue(View())));
}

TEST(EntropyValue, isExactForPowersOfTwo) {
  EXPECT_EQ(entropyValue(allValues()), 8);
  EXPECT_EQ(entropyValue(Bytes{1, 2}), 1);
  EXPECT_EQ(entropyValue(Bytes{1, 2, 3, 4}), 2);
  EXPECT_EQ(entropyValue(Bytes{1, 1, 2, 3}), 1.5);
}

TEST(EntropyValue, isShannonsSum) {
  // 1/3 and 2/3.
  EXPECT_NEAR(entropyValue(Bytes{7, 7, 9}), 0.9182958340544896, 1e-15);
  EXPECT_NEAR(entropyValue(Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9}), std::log2(9.0), 1e-14);
}

TEST(EntropyValue, neverPassesItsBounds) {
  for (std::int64_t each = 1; each < 2000; ++each) {
    ByteCounts counts;
    counts.fill(each);
    counts[7] += each % 3;
    const double entropy = entropyValue(counts);
    ASSERT_LE(entropy, 8) << each;
    ASSERT_GT(entropy, 7.9) << each;
  }
}

TEST(EntropyValue, takesTheLargestCounts) {
  ByteCounts counts{};
  counts[0] = counts[1] = std::numeric_limits<std::int64_t>::max() / 2;
  EXPECT_EQ(entropyValue(counts), 1);
}

TEST(SelectionStatistics, ofASelectedByte) {
  EXPECT_EQ(statisticsOf({0x41}, StatisticsScope::selection),
            "Scope: Selection\n"
            "Length: 1 bytes\n"
            "Entropy: 0.0000 bits/byte\n"
            "Unique byte values: 1\n"
            "Minimum byte: 0x41\n"
            "Maximum byte: 0x41\n"
            "00 bytes: 0\n"
            "FF bytes: 0\n"
            "Printable ASCII bytes: 1");
}

TEST(SelectionStatistics, ofADocument) {
  EXPECT_EQ(statisticsOf({0x00, 0x00, 0xFF, 0x1F, 0x20, 0x7E, 0x7F, 0x80}),
            "Scope: Document\n"
            "Length: 8 bytes\n"
            "Entropy: 2.7500 bits/byte\n"
            "Unique byte values: 7\n"
            "Minimum byte: 0x00\n"
            "Maximum byte: 0xFF\n"
            "00 bytes: 2\n"
            "FF bytes: 1\n"
            "Printable ASCII bytes: 2");
}

TEST(SelectionStatistics, showTheExtremesWithTwoDigits) {
  const auto lines = linesOf(statisticsOf({0x0A, 0x05, 0x0C}));
  ASSERT_EQ(lines.size(), 9U);
  EXPECT_EQ(lines[4], "Minimum byte: 0x05");
  EXPECT_EQ(lines[5], "Maximum byte: 0x0C");
}

TEST(SelectionStatistics, countEveryPrintableByteAndNoOther) {
  const auto lines = linesOf(statisticsOf(allValues()));
  ASSERT_EQ(lines.size(), 9U);
  EXPECT_EQ(lines[2], "Entropy: 8.0000 bits/byte");
  EXPECT_EQ(lines[3], "Unique byte values: 256");
  EXPECT_EQ(lines[8], "Printable ASCII bytes: 95");
}

TEST(SelectionStatistics, countThePrintableBytesFromSpaceToTilde) {
  for (const std::uint8_t byte : Bytes{0x20, 0x21, 0x41, 0x7D, 0x7E}) {
    EXPECT_EQ(linesOf(statisticsOf({byte})).back(), "Printable ASCII bytes: 1") << int{byte};
  }
  for (const std::uint8_t byte : Bytes{0x00, 0x1E, 0x1F, 0x7F, 0x80, 0xFF}) {
    EXPECT_EQ(linesOf(statisticsOf({byte})).back(), "Printable ASCII bytes: 0") << int{byte};
  }
}

TEST(SelectionStatistics, ofNoBytesAreASentence) {
  EXPECT_EQ(statisticsOf({}), "There are no bytes to analyze.");
  EXPECT_EQ(statisticsOf({}, StatisticsScope::selection), "There are no bytes to analyze.");
}

TEST(SelectionStatistics, advanceByTheBytes) {
  TaskProgress progress;
  selectionStatisticsReport(Bytes(3 * kMiB, 9), StatisticsScope::document, progress);
  EXPECT_EQ(progress.fraction(), 1);
}

TEST(FrequencyReport, hasALineForEveryValueBelowItsHeader) {
  const auto lines = linesOf(frequencyReport(naiveCounts(Bytes{0x00, 0x41, 0x41, 0xFF})));
  ASSERT_EQ(lines.size(), 258U);
  EXPECT_EQ(lines[0], "Byte  Count      Percent");
  EXPECT_EQ(lines[1], "---------------------------");
  EXPECT_EQ(lines[2], "00  1          25.000");
  EXPECT_EQ(lines[3], "01  0           0.000");
  EXPECT_EQ(lines[2 + 0x41], "41  2          50.000");
  EXPECT_EQ(lines[2 + 0xAB], "AB  0           0.000");
  EXPECT_EQ(lines[257], "FF  1          25.000");
}

TEST(FrequencyReport, endsWithoutLineFeed) {
  EXPECT_TRUE(frequencyReport(ByteCounts{}).ends_with("FF  0           0.000"));
}

TEST(FrequencyReport, ofNoBytesHasZerosOnly) {
  const auto lines = linesOf(frequencyReport(ByteCounts{}));
  ASSERT_EQ(lines.size(), 258U);
  for (std::size_t i = 2; i < lines.size(); ++i) {
    ASSERT_EQ(lines[i].substr(2), "  0           0.000") << i;
  }
}

TEST(FrequencyReport, ofOneValueShowsAHundredPerCent) {
  const auto lines = linesOf(frequencyReport(naiveCounts(Bytes(3, 0x7F))));
  EXPECT_EQ(lines[2 + 0x7F], "7F  3          100.000");
}

TEST(FrequencyReport, keepsABlankBehindTheWidestCounts) {
  ByteCounts counts{};
  counts[0] = 1'234'567'890;
  counts[1] = 12'345'678'901;
  counts[2] = 123'456'789'012;
  const auto lines = linesOf(frequencyReport(counts));
  EXPECT_EQ(lines[2], "00  1234567890  0.901");
  EXPECT_EQ(lines[3], "01  12345678901  9.009");
  EXPECT_EQ(lines[4], "02  123456789012 90.090");
}

TEST(FrequencyReport, roundsToThreeDigits) {
  const auto lines = linesOf(frequencyReport(naiveCounts(Bytes{1, 2, 2})));
  EXPECT_EQ(lines[3], "01  1          33.333");
  EXPECT_EQ(lines[4], "02  2          66.667");
}

TEST(AnalysisText, namesTheFirstAndTheLastOffset) {
  EXPECT_EQ(offsetRangeText({0, 1}), "0x00000000 - 0x00000000");
  EXPECT_EQ(offsetRangeText({0x10, 0x10}), "0x00000010 - 0x0000001F");
  EXPECT_EQ(offsetRangeText({5, 0}), "0x00000005 - 0x00000005");
  EXPECT_EQ(offsetRangeText({0, 0}), "0x00000000 - 0x00000000");
  EXPECT_EQ(offsetRangeText({0xFFFFFFFF, 2}), "0xFFFFFFFF - 0x100000000");
}

TEST(AnalysisText, roundsDecimalsToTheNearest) {
  EXPECT_EQ(fixedDecimal(0, 4), "0.0000");
  EXPECT_EQ(fixedDecimal(7.99996, 4), "8.0000");
  EXPECT_EQ(fixedDecimal(3.16992500144, 4), "3.1699");
  EXPECT_EQ(fixedDecimal(1.96875, 4), "1.9688");
  EXPECT_EQ(fixedDecimal(100, 3), "100.000");
  EXPECT_EQ(fixedDecimal(999'999'999'999'999, 9), "999999999999999.000000000");
}

TEST(AnalysisReports, showDecimalPointsWhateverTheLocaleOfTheProcess) {
  const test::CommaLocale locale;
  ASSERT_TRUE(locale.isThere());
  ASSERT_EQ(std::strtod("1,5", nullptr), 1.5);
  const Bytes bytes = {1, 1, 2, 3};
  TaskProgress progress;
  EXPECT_THAT(statisticsOf(bytes), testing::HasSubstr("Entropy: 1.5000 bits/byte\n"));
  EXPECT_THAT(frequencyReport(naiveCounts(bytes)), testing::HasSubstr("01  2          50.000\n"));
  EXPECT_THAT(entropyMapReport(entropyMap(bytes, progress)), testing::EndsWith("4  1.5000"));
  EXPECT_THAT(fileInformationReport(bytes, {}, progress), testing::EndsWith("1.5000 bits/byte"));
  EXPECT_THAT(Checksum::report(bytes, {}, progress), testing::EndsWith("1.5000 bits/byte"));
  EXPECT_THAT(statisticsOf(Bytes(1234, 1)), testing::HasSubstr("Length: 1234 bytes\n"));
}

}  // namespace
}  // namespace quillmor
