#include "search/scan/ProbeChoice.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "search/scan/Matcher.h"
#include "support/NaiveSearch.h"
#include "support/SearchCases.h"

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Offsets = std::vector<std::int64_t>;

PatternView viewOf(const Bytes& bytes, PatternKind kind = PatternKind::exact) {
  return {.values = bytes.data(), .length = std::ssize(bytes), .kind = kind};
}

Offsets offsetsOf(const ScanFilter& filter) {
  Offsets offsets;
  for (int i = 0; i < filter.count; ++i) {
    offsets.push_back(filter.probes[static_cast<std::size_t>(i)].offset);
  }
  return offsets;
}

Bytes bytesFrom(std::uint8_t first, int count, int step) {
  Bytes bytes;
  for (int i = 0; i < count; ++i) bytes.push_back(static_cast<std::uint8_t>(first + i * step));
  return bytes;
}

// --- before anything is known of the data -------------------------------------------------------

TEST(UsualProbes, areTheFirstOfEquallyRareBytes) {
  EXPECT_EQ(offsetsOf(usualProbes(viewOf(bytesFrom(0x80, 12, 1)))),
            (Offsets{0, 1, 2, 3, 4, 5, 6, 7}));
  EXPECT_EQ(offsetsOf(usualProbes(viewOf(bytesFrom(0xEF, 12, -1)))),
            (Offsets{0, 1, 2, 3, 4, 5, 6, 7}));
  EXPECT_EQ(offsetsOf(usualProbes(viewOf(bytesFrom(0x80, 3, 1)))), (Offsets{0, 1, 2}));
  // So many that a sort that is not stable would mix them.
  EXPECT_EQ(offsetsOf(usualProbes(viewOf(bytesFrom(0xE0, 90, -1)))),
            (Offsets{0, 1, 2, 3, 4, 5, 6, 7}));
}

TEST(UsualProbes, takeEveryValueOnceBeforeOneTwice) {
  const Bytes twoValues = {0x80, 0x80, 0x80, 0x81, 0x80, 0x81, 0x80, 0x80, 0x80, 0x81};
  EXPECT_EQ(offsetsOf(usualProbes(viewOf(twoValues))), (Offsets{0, 3, 1, 2, 4, 5, 6, 7}));
  EXPECT_EQ(offsetsOf(usualProbes(viewOf(Bytes(10, 0x80)))), (Offsets{0, 1, 2, 3, 4, 5, 6, 7}));
}

TEST(UsualProbes, putRareBytesBeforeCommonOnes) {
  const Bytes bytes = {0x00, ' ', 'e', 0x80, 'E', 0xFF, '0', 0x81, 0x00, 0x90};
  // 0x80, 0x81 and 0x90 are equally rare, and no byte is as common as 0x00.
  EXPECT_EQ(offsetsOf(usualProbes(viewOf(bytes))), (Offsets{3, 7, 9, 4, 6, 5, 2, 1}));
}

TEST(UsualProbes, countBothCasesOfALetterWhereCaseIsIgnored) {
  // 'Q' alone is rarer than '!', in both cases it is not.
  const Bytes bytes = {'!', 'Q'};
  EXPECT_EQ(offsetsOf(usualProbes(viewOf(bytes))), (Offsets{1, 0}));
  const ScanFilter folded = usualProbes(viewOf(bytes, PatternKind::folded));
  EXPECT_EQ(offsetsOf(folded), (Offsets{0, 1}));
  EXPECT_EQ(folded.probes[0], (ScanProbe{0, '!', 0xFF}));
  EXPECT_EQ(folded.probes[1], (ScanProbe{1, 'Q', 0xDF}));
}

TEST(UsualProbes, proveAMatchWhenTheyAreAllThatIsAskedFor) {
  for (const int length : {1, 2, 7, 8, 9, 10}) {
    const Bytes bytes = bytesFrom(0x80, length, 1);
    const ScanFilter filter = usualProbes(viewOf(bytes));
    EXPECT_EQ(filter.count, std::min(length, 8));
    EXPECT_EQ(filter.provesMatch, length <= 8) << length;
  }
}

TEST(UsualProbes, leaveOutWhatMayBeAnyByte) {
  const Bytes values = {0, 0x80, 0, 0x81, 0};
  const Bytes masks = {0, 0xFF, 0, 0xFF, 0};
  const PatternView pattern = {
      .values = values.data(), .masks = masks.data(), .length = 5, .kind = PatternKind::masked};
  EXPECT_EQ(offsetsOf(usualProbes(pattern)), (Offsets{1, 3}));
  EXPECT_TRUE(usualProbes(pattern).provesMatch);
}

// --- with a sample of the data
// --------------------------------------------------------------------

TEST(SampledProbes, areTheLowestValuesOfThoseThatOccurNowhere) {
  const Bytes haystack(5000, 0x00);
  const Bytes pattern = bytesFrom(0x8F, 16, -1);
  EXPECT_EQ(offsetsOf(sampledProbes(viewOf(pattern), haystack, 0, 3)),
            (Offsets{15, 14, 13, 12, 11, 10, 9, 8}));
}

TEST(SampledProbes, areTheSameEveryTime) {
  std::mt19937 random(4);
  for (int round = 0; round < 50; ++round) {
    // Every value is as frequent as every other.
    Bytes haystack(4096);
    for (std::size_t i = 0; i < haystack.size(); ++i) haystack[i] = static_cast<std::uint8_t>(i);
    Bytes pattern(20);
    for (std::uint8_t& byte : pattern) byte = static_cast<std::uint8_t>(random());
    const auto position = static_cast<std::int64_t>(random() % 4000);
    const ScanFilter once = sampledProbes(viewOf(pattern), haystack, position, 7);
    const Bytes elsewhere = haystack;
    const Bytes copy = pattern;
    const ScanFilter again = sampledProbes(viewOf(copy), elsewhere, position, 7);
    ASSERT_EQ(once.count, 8);
    EXPECT_EQ(once.probes, again.probes);
  }
}

TEST(SampledProbes, holdNoPositionTwice) {
  RandomSearches random(12);
  for (int round = 0; round < 500; ++round) {
    const Bytes haystack = random.haystack(3000);
    const Bytes pattern = random.needle(haystack, 60);
    if (pattern.empty() || pattern.size() > haystack.size()) continue;
    const auto filter =
        sampledProbes(viewOf(pattern), haystack, random.upTo(std::ssize(haystack) - 1),
                      random.upTo(std::ssize(pattern) - 1));
    Offsets offsets = offsetsOf(filter);
    std::ranges::sort(offsets);
    EXPECT_EQ(std::ranges::adjacent_find(offsets), offsets.end()) << "round " << round;
    EXPECT_LT(offsets.back(), std::ssize(pattern));
    if (filter.provesMatch) {
      EXPECT_EQ(offsets.size(), pattern.size());
    }
  }
}

TEST(SampledProbes, takeTheTwoThatFitFewestPlacesTogether) {
  // 'r' and 's' are the rarest bytes and always come together; 'x' is more frequent, and alone.
  Bytes haystack(4096, '.');
  for (std::size_t at = 0; at + 40 < haystack.size(); at += 40) {
    haystack[at] = 'r';
    haystack[at + 1] = 's';
    haystack[at + 10] = haystack[at + 20] = 'x';
  }
  const Bytes pattern = {'r', 's', '.', 'x', '.', '.', '.', '.', '.', '.', '.', '.'};
  const auto filter = sampledProbes(viewOf(pattern), haystack, 0, 11);
  Offsets two = offsetsOf(filter);
  two.resize(2);
  std::ranges::sort(two);
  EXPECT_EQ(two, (Offsets{0, 3}));
}

// --- searching
// ------------------------------------------------------------------------------------

TEST(EquallyRareBytes, areFoundByEveryPathInBothDirections) {
  for (const int length : {1, 2, 8, 9, 16, 40}) {
    const Bytes needle = bytesFrom(0x80, length, 1);
    // Every part of the needle is there again and again, all of it only once.
    Bytes haystack;
    for (int round = 0; round < 40; ++round) {
      for (int i = 0; i < length; ++i) {
        if (i != round % length) haystack.push_back(needle[static_cast<std::size_t>(i)]);
      }
      haystack.push_back(0x7F);
    }
    const auto place = std::ssize(haystack);
    haystack.insert(haystack.end(), needle.begin(), needle.end());
    haystack.resize(haystack.size() + 100, 0x7F);
    for (const SearchLimits& limits : everyKindOfLimits()) {
      for (const bool folds : {false, true}) {
        const ScopedSearchLimits scope(limits);
        Matcher matcher(needle, folds);
        EXPECT_EQ(matcher.first(haystack, 0, std::ssize(haystack)), place) << length;
        EXPECT_EQ(matcher.last(haystack, 0, std::ssize(haystack)), place) << length;
      }
    }
  }
}

TEST(EquallyRareBytes, areFoundInAnyOrder) {
  std::mt19937 random(99);
  for (int round = 0; round < 300; ++round) {
    Bytes needle = bytesFrom(0x80, 12, 1);
    std::ranges::shuffle(needle, random);
    Bytes haystack(2000);
    for (std::uint8_t& byte : haystack) byte = static_cast<std::uint8_t>(0x80 + random() % 12);
    const auto place = static_cast<std::int64_t>(random() % 1900);
    std::ranges::copy(needle, haystack.begin() + place);
    for (const SearchLimits& limits : everyKindOfLimits()) {
      const ScopedSearchLimits scope(limits);
      Matcher matcher(needle, false);
      ASSERT_EQ(matcher.first(haystack, 0, 2000), naive::first(needle, haystack, 0, 2000, false));
      ASSERT_EQ(matcher.last(haystack, 0, 2000), naive::last(needle, haystack, 0, 2000, false));
    }
  }
}

}  // namespace
}  // namespace quillmor
