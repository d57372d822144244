// Matches that are found and not used. What the kernels are asked for is counted, not timed.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "base/ByteUnits.h"
#include "search/OccurrenceWalk.h"
#include "search/scan/ByteSearch.h"
#include "search/scan/WildcardHexPattern.h"
#include "support/SearchCases.h"
#include "support/SearchFixture.h"
#include "support/WatchedKernel.h"

namespace quillmor {
namespace {

using test::WatchedKernel;
using Bytes = std::vector<std::uint8_t>;

constexpr std::int64_t kUsualBudget = 0x100000;

/// A match that a kernel finds has been compared in full, which no account of comparisons in vain
/// shows.
std::int64_t bytesOfMatches(const WatchedKernel& kernel, std::int64_t length) {
  return length * std::ranges::count_if(kernel.calls(), [](const WatchedKernel::Call& call) {
           return call.result.outcome == ScanResult::Outcome::found;
         });
}

TEST(ScanWork, rejectedOverlappingMatchesAreNotComparedInFullOneAfterTheOther) {
  const Bytes haystack(kMiB, 0x41);
  for (const std::int64_t length : {9, 33, 400, 4096}) {
    const Bytes needle(static_cast<std::size_t>(length), 0x41);
    for (const SearchLimits& limits : everyKernel()) {
      const WatchedKernel kernel(limits);
      std::int64_t offers = 0;
      const auto rejecting = [&](std::int64_t) {
        ++offers;
        return false;
      };
      EXPECT_EQ(ByteSearch::firstAcceptedIndex(needle, haystack, 0, kMiB, rejecting), std::nullopt);
      EXPECT_EQ(offers, kMiB - length + 1);
      // What the positions passed pay for, and the budgets of the three stages.
      EXPECT_LE(bytesOfMatches(kernel, length), 4 * kMiB + 2 * kUsualBudget) << length;
      EXPECT_LE(kernel.positions(), kMiB) << length;
    }
  }
}

TEST(ScanWork, rejectedMatchesAreNotPassedTwice) {
  // Few enough matches that the scan itself goes on to the end.
  Bytes haystack(kMiB, '.');
  const Bytes needle = {'n', 'e', 'e', 'd', 'l', 'e', 's', 'n', 'e', 'e', 'd', 'l', 'e'};
  constexpr std::int64_t kSpacing = 1000;
  for (std::int64_t at = 0; at + std::ssize(needle) <= kMiB; at += kSpacing) {
    std::ranges::copy(needle, haystack.begin() + at);
  }
  for (const SearchLimits& limits : everyKernel()) {
    const WatchedKernel kernel(limits);
    const auto rejecting = [](std::int64_t) { return false; };
    EXPECT_EQ(ByteSearch::firstAcceptedIndex(needle, haystack, 0, kMiB, rejecting), std::nullopt);
    // Every position but those of the matches themselves, in a call for each match and one more.
    const std::int64_t matches = kMiB / kSpacing + 1;
    EXPECT_EQ(kernel.positions(), kMiB - std::ssize(needle) + 1 - matches);
    EXPECT_EQ(kernel.callCount(), matches + 1);
  }
}

/// All occurrences that do not overlap.
std::int64_t countOf(OccurrenceWalk walk) {
  TaskProgress progress;
  std::int64_t count = 0;
  while (walk.next(progress)) ++count;
  return count;
}

TEST(ScanWork, matchesThatOverlapTheOneBeforeAreNeverCompared) {
  const Bytes bytes(16 * kMiB, 'a');
  constexpr std::int64_t kLength = 4096;
  const std::vector<SearchCandidate> candidateList = {
      {Bytes(kLength, 'a'), SearchCandidateKind::Raw()}};
  for (const SearchLimits& limits : everyKernel()) {
    const WatchedKernel kernel(limits);
    const std::int64_t count = countOf({bytes, candidateList, false});
    EXPECT_EQ(count, 16 * kMiB / kLength);
    // A call for every list of 64, and for the ends of the pieces.
    EXPECT_LE(kernel.callCount(), count / MatchList::kCapacity + 16);
    EXPECT_LE(kernel.positions(), 16 * kMiB);
  }
}

TEST(ScanWork, shorterCandidatesAreNotLookedForWhereALongerOneIs) {
  const Bytes bytes(kMiB, 'a');
  const auto candidateList = test::rawCandidates({"a", "aa", "aaaa", "aaaaaaaa"});
  const WatchedKernel kernel;
  EXPECT_EQ(countOf({bytes, candidateList, false}), kMiB / 8);
  EXPECT_LE(kernel.positions(), kMiB + kMiB / 64);
}

TEST(ScanWork, occurrencesThatAnotherCandidateTakesAwayCostLittle) {
  // Each "ab" takes away the longer candidate that begins with its second byte.
  Bytes bytes(kMiB);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = i % 2 == 0 ? 'a' : 'b';
  const auto candidateList = test::rawCandidates({"ab", "babababa"});
  const WatchedKernel kernel;
  EXPECT_EQ(countOf({bytes, candidateList, false}), kMiB / 2);
  EXPECT_LE(kernel.positions(), 4 * kMiB);
  EXPECT_LE(kernel.callCount(), kMiB);
}

TEST(ScanWork, aLongCandidateTakenAwayIsLookedForOnceInItsPlace) {
  // Each "cb" takes away the long candidate, and then one "a" after the other is found in its
  // place.
  constexpr std::size_t kLength = 4096;
  const std::string longOne = "b" + std::string(kLength - 1, 'a');
  std::string text;
  while (text.size() < static_cast<std::size_t>(kMiB)) text += "c" + longOne;
  const Bytes bytes = test::searchBytes(text);
  const auto candidateList = test::rawCandidates({longOne, "cb", "a"});
  const WatchedKernel kernel;
  EXPECT_EQ(countOf({bytes, candidateList, false}), std::ssize(bytes) / (kLength + 1) * kLength);
  EXPECT_LE(kernel.positions(), 5 * std::ssize(bytes));
}

TEST(ScanWork, anAnchorOfAPatternThatIsThereEverywhereDoesNotScanAgain) {
  const Bytes haystack(kMiB, 0x41);
  std::string text = "42 ??";
  for (int i = 0; i < 20; ++i) text += " 41";
  const auto pattern = *WildcardHexPattern::parse(text);
  const std::int64_t last = kMiB - pattern.length();
  for (SearchLimits limits : everyKernel()) {
    // Without a budget the anchor is searched for at once.
    limits.workBudget = 0;
    const WatchedKernel kernel(limits);
    TaskProgress progress;
    EXPECT_EQ(pattern.firstMatch(haystack, {0, last + 1}, progress), std::nullopt);
    EXPECT_EQ(kernel.positions(), last + 1);
    EXPECT_EQ(kernel.callCount(), last / 64 + 1);
  }
}

}  // namespace
}  // namespace quillmor
