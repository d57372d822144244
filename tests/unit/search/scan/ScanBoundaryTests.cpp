// Matches around the places where a search hands over from one of its means to another.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <random>
#include <vector>

#include "base/ByteUnits.h"
#include "search/scan/ByteSearch.h"
#include "search/scan/WildcardHexPattern.h"
#include "support/NaiveSearch.h"
#include "support/SearchCases.h"
#include "support/WatchedKernel.h"

namespace quillmor {
namespace {

using test::WatchedKernel;
using Bytes = std::vector<std::uint8_t>;
using Positions = std::vector<std::int64_t>;
using Found = std::optional<std::int64_t>;

constexpr std::int64_t kLength = 40;
const Bytes kNeedle(kLength, 'a');

/// Runs of 'a', each one byte too short for the needle: whatever the probes, most of them fit
/// nearly everywhere, so that a small budget is used up at once.
Bytes nearMisses(std::int64_t size) {
  Bytes bytes(static_cast<std::size_t>(size), 'a');
  for (std::int64_t at = kLength - 1; at < size; at += kLength) {
    bytes[static_cast<std::size_t>(at)] = 'b';
  }
  return bytes;
}

/// The needle at `place`, and nowhere else.
Bytes withNeedleAt(Bytes bytes, std::int64_t place) {
  std::fill_n(bytes.begin() + place, kLength, std::uint8_t{'a'});
  if (place > 0) bytes[static_cast<std::size_t>(place) - 1] = 'b';
  if (place + kLength < std::ssize(bytes)) bytes[static_cast<std::size_t>(place + kLength)] = 'b';
  return bytes;
}

TEST(ScanBoundaries, aMatchIsFoundWhereverStretchesOfTheLinearSearchEnd) {
  constexpr std::int64_t kSize = 600;
  const Bytes without = nearMisses(kSize);
  for (SearchLimits limits : everyKernel()) {
    limits.workBudget = 1;
    for (const std::int64_t stretch : {4 * kLength, 4 * kLength + 1, std::int64_t{200}}) {
      limits.linearStretch = stretch;
      const ScopedSearchLimits scope(limits);
      for (std::int64_t place = 0; place <= kSize - kLength; ++place) {
        const Bytes haystack = withNeedleAt(without, place);
        Matcher matcher(kNeedle, false);
        ASSERT_EQ(matcher.first(haystack, 0, kSize), place) << "stretch " << stretch;
        ASSERT_EQ(matcher.last(haystack, 0, kSize), place) << "stretch " << stretch;
        ASSERT_EQ(matcher.first(haystack, 0, place - 1), std::nullopt) << "stretch " << stretch;
      }
    }
  }
}

TEST(ScanBoundaries, stretchesAreAsLongAsTheyAreToBe) {
  constexpr std::int64_t kSize = 4000;
  const Bytes haystack = nearMisses(kSize);
  // No stretch is shorter than four times the needle.
  for (const std::int64_t stretch :
       {std::int64_t{1}, 4 * kLength - 1, 4 * kLength, 4 * kLength + 1, std::int64_t{200}}) {
    WatchedKernel kernel({.workBudget = 1, .linearStretch = stretch});
    Matcher matcher(kNeedle, false);
    for (const bool isForward : {true, false}) {
      kernel.forget();
      EXPECT_EQ(isForward ? matcher.first(haystack, 0, kSize) : matcher.last(haystack, 0, kSize),
                std::nullopt);
      const auto& calls = kernel.calls();
      int handovers = 0;
      for (std::size_t i = 1; i < calls.size(); ++i) {
        const std::int64_t resumed = isForward ? calls[i].from : calls[i].through;
        const std::int64_t distance = std::abs(resumed - calls[i - 1].result.position);
        // The scan goes on at once with other probes, or where the linear search has ended.
        if (distance == 0) continue;
        EXPECT_EQ(distance, std::max(stretch, 4 * kLength));
        ++handovers;
      }
      EXPECT_GT(handovers, 3) << "stretch " << stretch;
    }
  }
}

/// Runs of 'a' around the length of the needle: matches of all kinds, overlapping ones too.
Bytes runsAroundTheNeedle(std::int64_t size, unsigned seed) {
  Bytes bytes(static_cast<std::size_t>(size), 'a');
  std::mt19937 random(seed);
  for (std::size_t at = random() % 60; at < bytes.size(); at += 33 + random() % 14) bytes[at] = 'b';
  return bytes;
}

TEST(ScanBoundaries, overlappingMatchesAreOfferedOnceAcrossStretches) {
  constexpr std::int64_t kSize = 3000;
  for (SearchLimits limits : everyKernel()) {
    limits.workBudget = 1;
    for (unsigned seed = 0; seed < 60; ++seed) {
      limits.linearStretch = 4 * kLength + static_cast<int>(seed);
      const WatchedKernel kernel(limits);
      const Bytes haystack = runsAroundTheNeedle(kSize, seed);
      Positions offered;
      const auto rejecting = [&](std::int64_t position) {
        offered.push_back(position);
        return false;
      };
      EXPECT_EQ(ByteSearch::firstAcceptedIndex(kNeedle, haystack, 0, kSize, rejecting),
                std::nullopt);
      ASSERT_EQ(offered, naive::matches(kNeedle, haystack, 0, kSize)) << "seed " << seed;
      EXPECT_LT(kernel.positions() + std::ssize(offered), kSize - kLength + 1);
    }
  }
}

TEST(ScanBoundaries, listsGoOnAcrossStretches) {
  constexpr std::int64_t kSize = 9000;
  for (SearchLimits limits : everyKernel()) {
    limits.workBudget = 1;
    for (unsigned seed = 0; seed < 60; ++seed) {
      limits.linearStretch = 4 * kLength + static_cast<int>(seed);
      const WatchedKernel kernel(limits);
      const Bytes haystack = runsAroundTheNeedle(kSize, seed);
      Matcher matcher(kNeedle, false);
      MatchList list;
      matcher.collect(haystack, 0, kSize, list);
      Positions expected;
      std::int64_t from = 0;
      while (std::ssize(expected) < MatchList::kCapacity) {
        const Found next = naive::first(kNeedle, haystack, from, kSize, false);
        if (!next) break;
        expected.push_back(*next);
        from = *next + kLength;
      }
      const Positions listed(list.positions.begin(), list.positions.begin() + list.count);
      ASSERT_EQ(listed, expected) << "seed " << seed;
      // Some of the way has been gone without a scan.
      EXPECT_LT(kernel.positions(), list.last());
    }
  }
}

/// Where a search of `haystack` that finds nothing begins to scan again after a whole stretch.
std::int64_t resumedAt(const Bytes& haystack, bool isForward) {
  const WatchedKernel kernel({.workBudget = 1});
  Matcher matcher(kNeedle, false);
  const std::int64_t size = std::ssize(haystack);
  EXPECT_EQ(isForward ? matcher.first(haystack, 0, size) : matcher.last(haystack, 0, size),
            std::nullopt);
  const auto& calls = kernel.calls();
  for (std::size_t i = 1; i < calls.size(); ++i) {
    const std::int64_t resumed = isForward ? calls[i].from : calls[i].through;
    if (std::abs(resumed - calls[i - 1].result.position) == 4 * kMiB) return resumed;
  }
  ADD_FAILURE() << "no stretch of the usual length";
  return kLength;
}

TEST(ScanBoundaries, theUsualStretchEndsBetweenItsLastPositionAndTheNext) {
  const Bytes without = nearMisses(4 * kMiB + 4000);
  const std::int64_t size = std::ssize(without);
  for (const bool isForward : {true, false}) {
    const std::int64_t resumed = resumedAt(without, isForward);
    for (std::int64_t place = resumed - 2; place <= resumed + 2; ++place) {
      const Bytes haystack = withNeedleAt(without, place);
      const ScopedSearchLimits scope({.workBudget = 1});
      Matcher matcher(kNeedle, false);
      EXPECT_EQ(isForward ? matcher.first(haystack, 0, size) : matcher.last(haystack, 0, size),
                place);
    }
  }
}

TEST(ScanBoundaries, aMatchIsFoundWhereTheScanAsksWhetherToStop) {
  const Bytes needle = {'m', 'a', 't', 'c', 'h', 'e', 's', ' ', 'o', 'n', 'c', 'e'};
  const std::int64_t size = 2 * StopCheck::kInterval + 64;
  const std::int64_t last = size - std::ssize(needle);
  Bytes haystack(static_cast<std::size_t>(size), '.');
  const auto pattern = *WildcardHexPattern::parse("6D 61 74 ?? 68 65 73 20 6F 6E 63 65");
  for (const SearchLimits& limits : everyKernel()) {
    const ScopedSearchLimits scope(limits);
    for (std::int64_t offset = -2; offset <= 2; ++offset) {
      // Forward the parts begin at 0, backward they end with the last position.
      for (const std::int64_t place :
           {StopCheck::kInterval + offset, last - StopCheck::kInterval + offset}) {
        std::ranges::copy(needle, haystack.begin() + place);
        Matcher matcher(needle, false);
        Matcher folding(needle, true);
        MatchList list;
        matcher.collect(haystack, 0, size, list);
        EXPECT_EQ(list.count, 1) << place;
        EXPECT_EQ(list.positions[0], place);
        EXPECT_EQ(matcher.first(haystack, 0, size), place);
        EXPECT_EQ(matcher.last(haystack, 0, size), place);
        EXPECT_EQ(folding.first(haystack, 0, size), place);
        EXPECT_EQ(folding.last(haystack, 0, size), place);
        TaskProgress progress;
        EXPECT_EQ(pattern.firstMatchWrapped(haystack, 0, progress), place);
        std::fill_n(haystack.begin() + place, needle.size(), std::uint8_t{'.'});
      }
    }
  }
}

}  // namespace
}  // namespace quillmor
