#include "tools/analysis/ChangedRanges.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "support/FileAccessTest.h"

namespace quillmor {
namespace {

using test::bytesOf;
using testing::ElementsAre;
using testing::SizeIs;

std::vector<std::int64_t> offsets(const ChangedRanges& ranges) {
  std::vector<std::int64_t> found;
  for (const auto& range : ranges.listed()) found.push_back(range.offset);
  return found;
}

TEST(ChangedRanges, equalBytesHaveNone) {
  ChangedRanges ranges;
  ranges.compare(bytesOf("the same"), bytesOf("the same"));
  ranges.compare({}, {});
  ranges.addAdded({});
  ranges.addRemoved({});
  EXPECT_EQ(ranges.rangeCount(), 0);
  EXPECT_EQ(ranges.byteCount(), 0);
  EXPECT_EQ(ranges.firstOffset(), std::nullopt);
}

TEST(ChangedRanges, neighboursAreOneRange) {
  ChangedRanges ranges;
  ranges.compare(bytesOf("0123456789"), bytesOf("0ab3c5678d"));
  EXPECT_THAT(offsets(ranges), ElementsAre(1, 4, 9));
  EXPECT_EQ(ranges.byteCount(), 4);
  EXPECT_EQ(ranges.summary(), "3 ranges, 4 bytes, first at 0x00000001");
}

TEST(ChangedRanges, oneByteIsCountedInTheSingular) {
  ChangedRanges ranges;
  ranges.compare(bytesOf("a"), bytesOf("b"));
  EXPECT_EQ(ranges.summary(), "1 range, 1 byte, first at 0x00000000");
}

TEST(ChangedRanges, aRangeGoesOnFromOnePieceToTheNext) {
  ChangedRanges ranges;
  ranges.compare(bytesOf("0123"), bytesOf("01xx"));
  ranges.compare(bytesOf("4567"), bytesOf("xx67"));
  ranges.addAdded(bytesOf("more"));
  ranges.addAdded(bytesOf("!"));
  ASSERT_THAT(ranges.listed(), SizeIs(2));
  EXPECT_EQ(ranges.listed()[0],
            (ChangedRanges::Range{2, 4, {'2', '3', '4', '5'}, {'x', 'x', 'x', 'x'}}));
  EXPECT_EQ(ranges.listed()[1], (ChangedRanges::Range{8, 5, {}, {'m', 'o', 'r', 'e', '!'}}));
}

TEST(ChangedRanges, whatIsMissingAtTheEndBelongsToTheRangeBeforeIt) {
  ChangedRanges ranges;
  ranges.compare(bytesOf("0123"), bytesOf("012x"));
  ranges.addRemoved(bytesOf("456"));
  ASSERT_THAT(ranges.listed(), SizeIs(1));
  EXPECT_EQ(ranges.listed()[0], (ChangedRanges::Range{3, 4, {'3', '4', '5', '6'}, {'x'}}));
}

TEST(ChangedRanges, keepTheFirstBytesOfTheFirstRanges) {
  const std::string zeros(4000, '\0');
  std::string other = zeros;
  for (std::size_t i = 0; i < other.size(); i += 2) other[i] = 1;
  ChangedRanges ranges;
  ranges.compare(bytesOf(zeros), bytesOf(other));
  ranges.addAdded(bytesOf(zeros));
  EXPECT_EQ(ranges.rangeCount(), 2001);
  EXPECT_EQ(ranges.byteCount(), 6000);
  EXPECT_THAT(ranges.listed(), SizeIs(ChangedRanges::kMaximumListedRanges));
  EXPECT_THAT(ranges.report(), testing::EndsWith("\nand 1701 more ranges\n"));
}

TEST(ChangedRanges, areReportedWithTheirFirstSixteenBytes) {
  ChangedRanges ranges;
  ranges.compare(bytesOf("0123456789abcdefg!0123456789abcdef"),
                 bytesOf("xxxxxxxxxxxxxxxxx!xxxxxxxxxxxxxxxx"));
  ranges.compare(bytesOf("."), bytesOf("."));
  ranges.addAdded(bytesOf("+"));
  EXPECT_EQ(ranges.report(),
            "\n0x00000000  17 bytes\n"
            "  Old: 30 31 32 33 34 35 36 37 38 39 61 62 63 64 65 66 …\n"
            "  New: 78 78 78 78 78 78 78 78 78 78 78 78 78 78 78 78 …\n"
            "\n0x00000012  16 bytes\n"
            "  Old: 30 31 32 33 34 35 36 37 38 39 61 62 63 64 65 66\n"
            "  New: 78 78 78 78 78 78 78 78 78 78 78 78 78 78 78 78\n"
            "\n0x00000023  1 byte\n"
            "  Old: (none)\n"
            "  New: 2B\n");
}

/// The same, one byte after another.
std::vector<std::pair<std::int64_t, std::int64_t>> naiveRanges(const std::string& a,
                                                               const std::string& b) {
  std::vector<std::pair<std::int64_t, std::int64_t>> found;
  const std::size_t end = std::max(a.size(), b.size());
  bool isOpen = false;
  for (std::size_t i = 0; i < end; ++i) {
    const bool differs = i >= a.size() || i >= b.size() || a[i] != b[i];
    if (differs && !isOpen) found.emplace_back(i, 0);
    if (differs) ++found.back().second;
    isOpen = differs;
  }
  return found;
}

TEST(ChangedRanges, areThoseOfAPlainLoopHoweverTheBytesAreCut) {
  const unsigned seed = std::random_device{}();
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  for (int round = 0; round < 200; ++round) {
    std::string a(random() % 700, 'a');
    std::string b(random() % 700, 'a');
    const auto share = 1 + random() % 60;
    for (char& c : b) c = random() % share == 0 ? 'b' : 'a';
    ChangedRanges ranges;
    const std::size_t common = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < common;) {
      const std::size_t count = std::min<std::size_t>(1 + random() % 300, common - i);
      ranges.compare(bytesOf(a).subspan(i, count), bytesOf(b).subspan(i, count));
      i += count;
    }
    ranges.addRemoved(bytesOf(a).subspan(common));
    ranges.addAdded(bytesOf(b).subspan(common));
    const auto expected = naiveRanges(a, b);
    ASSERT_EQ(ranges.rangeCount(), std::ssize(expected));
    std::int64_t byteCount = 0;
    for (std::size_t i = 0; i < expected.size(); ++i) {
      byteCount += expected[i].second;
      if (i >= ranges.listed().size()) continue;
      EXPECT_EQ(ranges.listed()[i].offset, expected[i].first);
      EXPECT_EQ(ranges.listed()[i].byteCount, expected[i].second);
    }
    EXPECT_EQ(ranges.byteCount(), byteCount);
  }
}

}  // namespace
}  // namespace quillmor
