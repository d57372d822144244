// Data made to make searches slow. The work done is counted, not timed.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <utility>
#include <vector>

#include "search/ByteMatcher.h"
#include "search/ByteSearch.h"
#include "support/SearchCases.h"

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::int64_t kMiB = 1024 * 1024;

/// 4,096 times `byte`, with 'B' at `place`.
Bytes repeatedWithOneOther(std::uint8_t byte, std::int64_t place) {
  Bytes needle(4097, byte);
  needle[static_cast<std::size_t>(place)] = 'B';
  return needle;
}

/// The first `length` letters of the word that begins with "ab" and does not change when every a
/// becomes ab and every b becomes a: it nearly repeats itself everywhere.
Bytes fibonacciWord(std::size_t length) {
  Bytes word = {'a', 'b'};
  Bytes before = {'a'};
  while (word.size() < length) {
    Bytes next = word;
    next.insert(next.end(), before.begin(), before.end());
    before = std::exchange(word, std::move(next));
  }
  word.resize(length);
  return word;
}

/// Comparisons in vain are paid for by the positions passed, but for the budget; what the linear
/// search reads again at the ends of its stretches is a part of them.
void expectLinearWork(const ByteMatcher& matcher, std::int64_t haystackSize) {
  EXPECT_LE(matcher.comparisons(), 4 * haystackSize + 4 * 0x100000 + 4 * matcher.needleLength());
  EXPECT_LE(matcher.linearBytes(), 2 * haystackSize);
}

TEST(HostileSearch, aByteRepeatedFourMillionTimesHoldsNoOtherByte) {
  Bytes haystack(4 * kMiB, 0x41);
  const Bytes needle = repeatedWithOneOther(0x41, 4096);
  for (const SearchLimits& limits : everyKindOfLimits()) {
    ByteMatcher matcher(needle, false, limits);
    EXPECT_EQ(matcher.first(haystack, 0, std::ssize(haystack)), std::nullopt);
    EXPECT_EQ(matcher.last(haystack, 0, std::ssize(haystack)), std::nullopt);
    expectLinearWork(matcher, 2 * std::ssize(haystack));
    EXPECT_EQ(ByteSearch::detail::index(needle, haystack, 0, false, false, limits), std::nullopt);
  }
}

TEST(HostileSearch, whatEndsARepeatedByteIsFoundWhereItIs) {
  Bytes haystack(4 * kMiB, 0x41);
  const Bytes needle = repeatedWithOneOther(0x41, 4096);
  std::ranges::copy(needle, haystack.end() - std::ssize(needle));
  const std::int64_t place = std::ssize(haystack) - std::ssize(needle);
  for (const SearchLimits& limits : everyKindOfLimits()) {
    EXPECT_EQ(ByteSearch::detail::index(needle, haystack, 0, false, false, limits), place);
    EXPECT_EQ(ByteSearch::detail::index(needle, haystack, place, true, true, limits), place);
  }
}

TEST(HostileSearch, sixtyFourMebibytesOfOneByteTakeLinearWork) {
  const Bytes haystack(64 * kMiB, 0x41);
  for (const std::int64_t place : {0, 2048, 4096}) {
    ByteMatcher matcher(repeatedWithOneOther(0x41, place), false);
    EXPECT_EQ(matcher.first(haystack, 0, std::ssize(haystack)), std::nullopt);
    EXPECT_EQ(matcher.last(haystack, 0, std::ssize(haystack)), std::nullopt);
    expectLinearWork(matcher, 2 * std::ssize(haystack));
  }
}

TEST(HostileSearch, wordsThatNearlyRepeatThemselvesTakeLinearWork) {
  const Bytes haystack = fibonacciWord(4 * kMiB);
  for (const std::ptrdiff_t begin : {0, 1, 4095}) {
    Bytes needle(haystack.begin() + begin, haystack.begin() + begin + 5000);
    needle[4000] ^= 'a' ^ 'b';
    for (const SearchLimits& limits : everyKindOfLimits()) {
      ByteMatcher matcher(needle, true, limits);
      EXPECT_EQ(matcher.first(haystack, 0, std::ssize(haystack)), std::nullopt);
      EXPECT_EQ(matcher.last(haystack, 0, std::ssize(haystack)), std::nullopt);
      expectLinearWork(matcher, 2 * std::ssize(haystack));
    }
  }
}

TEST(HostileSearch, anExhaustedBudgetTurnsToTheLinearSearchAndBackAgain) {
  // Comparisons fail at another place every time, so that no choice of probes helps for long.
  const Bytes needle(4096, 'a');
  Bytes haystack(kMiB, 'a');
  std::mt19937 random(1);
  for (std::size_t at = 0; at < haystack.size(); at += 1000 + random() % 3000) haystack[at] = 'b';
  haystack.resize(20 * kMiB);
  const std::int64_t place = std::ssize(haystack) - std::ssize(needle);
  std::ranges::copy(needle, haystack.begin() + place);
  ByteMatcher matcher(needle, false, {.workBudget = 1});
  EXPECT_EQ(matcher.first(haystack, 0, std::ssize(haystack)), place);
  EXPECT_GT(matcher.comparisons(), 0);
  EXPECT_GT(matcher.linearBytes(), kMiB / 2);
  EXPECT_LT(matcher.linearBytes(), 10 * kMiB);
}

TEST(HostileSearch, withoutABudgetEveryByteIsReadOnceByTheLinearSearch) {
  const Bytes haystack(kMiB, 'a');
  ByteMatcher matcher(repeatedWithOneOther('a', 7), false, {.workBudget = 0});
  EXPECT_EQ(matcher.first(haystack, 0, kMiB), std::nullopt);
  EXPECT_EQ(matcher.comparisons(), 0);
  EXPECT_EQ(matcher.linearBytes(), kMiB);
  EXPECT_EQ(matcher.last(haystack, 0, kMiB), std::nullopt);
  EXPECT_EQ(matcher.linearBytes(), 2 * kMiB);
}

TEST(HostileSearch, rejectedOverlappingMatchesTakeLinearWork) {
  const Bytes haystack(4 * kMiB, 0x41);
  const Bytes anchor(4096, 0x41);
  const std::int64_t last = std::ssize(haystack) - std::ssize(anchor);
  for (const SearchLimits& limits : everyKindOfLimits()) {
    NeedleSearch search(false, limits);
    std::int64_t offers = 0;
    const auto found = search.firstAccepted(anchor, haystack, 0, last, [&](std::int64_t position) {
      EXPECT_EQ(position, offers);
      ++offers;
      return false;
    });
    EXPECT_EQ(found, std::nullopt);
    EXPECT_EQ(offers, last + 1);
    EXPECT_LE(search.comparisons(), 4 * std::ssize(haystack) + 2 * 0x100000);
  }
}

TEST(HostileSearch, aMatcherUsedInShortPiecesTakesLinearWork) {
  const Bytes haystack = fibonacciWord(kMiB);
  Bytes needle(haystack.begin() + 5, haystack.begin() + 3000);
  needle[2900] ^= 'a' ^ 'b';
  ByteMatcher matcher(needle, false);
  for (std::int64_t at = 0; at < std::ssize(haystack); at += 16'384) {
    ASSERT_EQ(matcher.first(haystack, at, at + 16'383), std::nullopt);
  }
  expectLinearWork(matcher, std::ssize(haystack));
}

}  // namespace
}  // namespace quillmor
