#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>
#include <vector>

#include "search/scan/Matcher.h"
#include "support/NaiveSearch.h"
#include "support/SearchCases.h"

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Positions = std::vector<std::int64_t>;

Bytes bytesOf(std::string_view text) {
  return {text.begin(), text.end()};
}

/// All positions, asked for as often as lists become full.
Positions collected(Matcher& matcher, const Bytes& haystack, std::int64_t from,
                    std::int64_t through) {
  Positions positions;
  MatchList list;
  do {
    matcher.collect(haystack, from, through, list);
    for (int i = 0; i < list.count; ++i) {
      positions.push_back(list.positions[static_cast<std::size_t>(i)]);
    }
    if (list.count > 0) from = list.last() + matcher.needleLength();
  } while (list.isFull());
  return positions;
}

/// The same by the plain search, one by one.
Positions foundOneByOne(const Bytes& needle, const Bytes& haystack, std::int64_t from,
                        std::int64_t through, bool folds) {
  Positions positions;
  while (const auto found = naive::first(needle, haystack, from, through, folds)) {
    positions.push_back(*found);
    from = *found + std::ssize(needle);
  }
  return positions;
}

TEST(MatcherCollect, leavesOutWhatOverlaps) {
  const Bytes needle = bytesOf("aa");
  Matcher matcher(needle, false);
  const Bytes haystack = bytesOf("aaaaabaa");
  EXPECT_EQ(collected(matcher, haystack, 0, 100), (Positions{0, 2, 6}));
  EXPECT_EQ(collected(matcher, haystack, 1, 100), (Positions{1, 3, 6}));
  EXPECT_EQ(collected(matcher, haystack, 0, 2), (Positions{0, 2}));
  EXPECT_EQ(collected(matcher, haystack, 0, 1), (Positions{0}));
  EXPECT_EQ(collected(matcher, haystack, 7, 100), Positions());
  EXPECT_EQ(collected(matcher, bytesOf(""), 0, 100), Positions());
}

TEST(MatcherCollect, goesOnWhereAListEnded) {
  for (const std::size_t count : {63U, 64U, 65U, 128U, 129U, 1000U}) {
    const Bytes haystack(2 * count, 'x');
    const Bytes needle = bytesOf("xx");
    Matcher matcher(needle, false);
    const Positions positions = collected(matcher, haystack, 0, 10'000);
    ASSERT_EQ(positions.size(), count);
    for (std::size_t i = 0; i < count; ++i) {
      EXPECT_EQ(positions[i], static_cast<std::int64_t>(2 * i));
    }
  }
}

TEST(MatcherCollect, findsWhatThePlainSearchFindsOneByOne) {
  constexpr unsigned kSeed = 577215;
  SCOPED_TRACE(kSeed);
  RandomSearches random(kSeed);
  for (int round = 0; round < 10'000; ++round) {
    const Bytes haystack = random.haystack(round % 10 == 0 ? 1000 : 150);
    const Bytes needle = random.needle(haystack, 12);
    if (needle.empty()) continue;
    const bool folds = random.upTo(1) == 0;
    const std::int64_t from = random.upTo(20);
    const std::int64_t through = from + random.upTo(std::ssize(haystack));
    const Positions expected = foundOneByOne(needle, haystack, from, through, folds);
    for (const SearchLimits& limits : everyKindOfLimits()) {
      const ScopedSearchLimits scope(limits);
      Matcher matcher(needle, folds);
      ASSERT_EQ(collected(matcher, haystack, from, through), expected) << "round " << round;
    }
  }
}

}  // namespace
}  // namespace quillmor
