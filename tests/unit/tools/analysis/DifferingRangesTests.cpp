#include "tools/analysis/DifferingRanges.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "support/ErrorMatchers.h"

namespace quillmor::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

std::vector<DifferingRange> rangesOf(const Bytes& bytes, const Bytes& others) {
  std::vector<DifferingRange> ranges;
  TaskProgress progress;
  const std::int64_t count = forEachDifferingRange(
      {bytes, others}, progress, [&](const DifferingRange& range) { ranges.push_back(range); });
  EXPECT_EQ(count, std::ssize(ranges));
  return ranges;
}

/// The same, byte by byte.
std::vector<DifferingRange> plainRanges(const Bytes& bytes, const Bytes& others) {
  std::vector<DifferingRange> ranges;
  const std::size_t common = std::min(bytes.size(), others.size());
  for (std::size_t i = 0; i < common; ++i) {
    if (bytes[i] == others[i]) continue;
    if (i == 0 || bytes[i - 1] == others[i - 1])
      ranges.push_back({static_cast<std::int64_t>(i), 0, 0});
    ++ranges.back().length;
    ++ranges.back().otherLength;
  }
  if (bytes.size() != others.size()) {
    ranges.push_back({static_cast<std::int64_t>(common), std::ssize(bytes) - std::ssize(others),
                      std::ssize(others) - std::ssize(bytes)});
    ranges.back().length = std::max<std::int64_t>(ranges.back().length, 0);
    ranges.back().otherLength = std::max<std::int64_t>(ranges.back().otherLength, 0);
  }
  return ranges;
}

std::string line(const Bytes& bytes, const Bytes& others) {
  return differingRangeLine(rangesOf(bytes, others).at(0), {bytes, others});
}

TEST(DifferingRanges, equalBytesHaveNone) {
  EXPECT_TRUE(rangesOf({}, {}).empty());
  EXPECT_TRUE(rangesOf({1, 2, 3}, {1, 2, 3}).empty());
}

TEST(DifferingRanges, aRunIsOneRangeAcrossAllBorders) {
  const std::size_t size = 300'000;
  EXPECT_EQ(rangesOf(Bytes(size, 1), Bytes(size, 2)),
            (std::vector<DifferingRange>{{0, 300'000, 300'000}}));
}

TEST(DifferingRanges, agreesWithAComparisonByteByByte) {
  std::mt19937 random(20260301);
  for (int round = 0; round < 200; ++round) {
    Bytes bytes(random() % 2000);
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
    Bytes others = bytes;
    others.resize(random() % 2000);
    const std::size_t rare = 1 + random() % 200;
    for (auto& byte : others)
      if (random() % rare == 0) byte ^= 1;
    EXPECT_EQ(rangesOf(bytes, others), plainRanges(bytes, others)) << round;
  }
}

TEST(DifferingRanges, aLineShowsOffsetLengthAndBothSides) {
  EXPECT_EQ(line({0, 0xAA, 0xBB}, {0, 1, 2}), "0x00000001  2 bytes  AA BB -> 01 02");
  EXPECT_EQ(line({0x41}, {0x42}), "0x00000000  1 byte  41 -> 42");
  EXPECT_EQ(line({7}, {7, 0x51, 0x51}), "0x00000001  0 -> 2 bytes  (none) -> 51 51");
  EXPECT_EQ(line({7, 1}, {7}), "0x00000001  1 -> 0 bytes  01 -> (none)");
}

TEST(DifferingRanges, aLineShowsSixteenBytesOfEachSide) {
  EXPECT_EQ(line(Bytes(16, 1), Bytes(16, 2)),
            "0x00000000  16 bytes  01 01 01 01 01 01 01 01 01 01 01 01 01 01 01 01 -> "
            "02 02 02 02 02 02 02 02 02 02 02 02 02 02 02 02");
  EXPECT_EQ(line(Bytes(17, 1), {}),
            "0x00000000  17 -> 0 bytes  01 01 01 01 01 01 01 01 01 01 01 01 01 01 01 01 ... -> "
            "(none)");
}

TEST(DifferingRanges, theReportStopsListingAtItsLimit) {
  Bytes bytes(2 * kMaximumListedRanges, 0);
  Bytes others = bytes;
  for (std::size_t i = 0; i < others.size(); i += 2) others[i] = 1;
  TaskProgress progress;
  EXPECT_THAT(recoveredDifferencesReport({bytes, others}, "data.bin", progress),
              testing::EndsWith("\n\nRanges: 10000"));
  bytes.push_back(0);
  bytes.push_back(0);
  others.push_back(1);
  others.push_back(0);
  EXPECT_THAT(recoveredDifferencesReport({bytes, others}, "data.bin", progress),
              testing::EndsWith("\n\nRanges: 10001\nShowing first 10000 ranges."));
}

TEST(DifferingRanges, theReportNamesFileAndSizes) {
  TaskProgress progress;
  const Bytes bytes = {0x41, 0x42};
  const Bytes others = {0x41, 0x43, 0x44};
  EXPECT_EQ(recoveredDifferencesReport({bytes, others}, "a\nb", progress),
            "File: a\\x0Ab\nSize of the file: 2 bytes\nRecovered size: 3 bytes\n\n"
            "Offset, length, bytes of the file -> recovered bytes\n"
            "0x00000001  1 byte  42 -> 43\n0x00000002  0 -> 1 byte  (none) -> 44\n\nRanges: 2");
}

TEST(DifferingRanges, aStopRequestEndsIt) {
  TaskProgress progress;
  progress.requestStop();
  const Bytes bytes(10, 1);
  EXPECT_THAT(
      [&] {
        forEachDifferingRange({bytes, bytes}, progress, [](const DifferingRange&) {});
      },
      testing::Throws<Error>(testing::Property(&Error::isStopped, true)));
}

}  // namespace
}  // namespace quillmor::test
