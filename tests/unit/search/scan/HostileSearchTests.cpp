// Data made to make searches slow. The work done is counted, not timed.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "base/ByteUnits.h"
#include "search/scan/ByteMatcher.h"
#include "search/scan/ByteSearch.h"
#include "search/scan/WildcardHexPattern.h"
#include "search/scan/WildcardSearch.h"
#include "support/SearchCases.h"

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;

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

/// `byte` with another one every `spacing` bytes on average.
Bytes withFaults(std::size_t size, std::uint8_t byte, double spacing) {
  Bytes bytes(size, byte);
  std::mt19937 random(7);
  std::uniform_real_distribution<double> step(1, 2 * spacing - 1);
  for (double at = step(random); at < static_cast<double>(size); at += step(random)) {
    bytes[static_cast<std::size_t>(at)] = 'B';
  }
  return bytes;
}

TEST(HostileSearch, dataThatNearlyMatchesExhaustsTheUsualBudget) {
  const Bytes needle(4096, 'a');
  Bytes haystack = withFaults(8 * kMiB, 'a', 1000);
  std::int64_t run = 0;
  for (std::uint8_t& byte : haystack) {
    run = byte == 'a' ? run + 1 : 0;
    if (run == std::ssize(needle)) byte = 'B';
  }
  const std::int64_t place = 7 * kMiB;
  haystack[place - 1] = 'B';
  std::ranges::copy(needle, haystack.begin() + place);
  haystack[static_cast<std::size_t>(place + std::ssize(needle))] = 'B';
  ByteMatcher matcher(needle, false);
  EXPECT_EQ(matcher.first(haystack, 0, std::ssize(haystack)), place);
  EXPECT_GT(matcher.linearBytes(), 0);
  EXPECT_EQ(matcher.last(haystack, 0, std::ssize(haystack)), place);
  expectLinearWork(matcher, 2 * std::ssize(haystack));
}

TEST(HostileSearch, asksAtEveryMebibyteWhetherToStop) {
  Bytes needle(3 * kMiB, 'a');
  needle.back() = 'C';
  const Bytes haystack = withFaults(8 * kMiB, 'a', 2e6);
  const auto questions = [&](const SearchLimits& limits, bool backwards) {
    int count = 0;
    ByteMatcher matcher(needle, true, limits);
    const auto check = [&] { ++count; };
    const auto found = backwards ? matcher.last(haystack, 0, std::ssize(haystack), check)
                                 : matcher.first(haystack, 0, std::ssize(haystack), check);
    EXPECT_EQ(found, std::nullopt);
    return count;
  };
  for (const bool backwards : {false, true}) {
    // Five positions, three bytes of needle in each of the table's two passes, and eight to read.
    EXPECT_GE(questions({}, backwards), 5);
    EXPECT_GE(questions({.workBudget = 0}, backwards), 3 + 3 + 8);
  }
}

TEST(HostileSearch, goesOnAfterAStopAnywhereAsIfItHadNotBeen) {
  struct Stop {};
  const Bytes needle(2 * kMiB, 'a');
  Bytes haystack = withFaults(6 * kMiB, 'a', 5e5);
  const std::int64_t place = std::ssize(haystack) - std::ssize(needle);
  std::ranges::copy(needle, haystack.begin() + place);
  haystack[static_cast<std::size_t>(place) - 1] = 'B';
  for (int stopAt = 1; stopAt <= 10; ++stopAt) {
    ByteMatcher matcher(needle, false, {.workBudget = 0});
    int count = 0;
    const auto check = [&] {
      if (++count == stopAt) throw Stop();
    };
    EXPECT_THROW(matcher.first(haystack, 0, std::ssize(haystack), check), Stop);
    EXPECT_EQ(count, stopAt);
    EXPECT_EQ(matcher.first(haystack, 0, std::ssize(haystack)), place);
  }
}

/// A pattern of `length` positions, runs of at most two bytes `41` at random, one position in
/// `sparseness` concrete.
std::string shortRuns(int length, unsigned sparseness) {
  std::mt19937 random(8);
  std::string text = "41";
  int run = 1;
  for (int i = 2; i < length; ++i) {
    const bool isConcrete = run < 2 && random() % sparseness == 0;
    text.append(isConcrete ? "41" : "??");
    run = isConcrete ? run + 1 : 0;
  }
  return text.append("41");
}

TEST(HostileSearch, patternsOfManyShortRunsTakeLinearWork) {
  for (const int length : {1000, 5000, 50'000, 200'000}) {
    for (const unsigned sparseness : {2U, 16U, 64U}) {
      // So many faults that a match is unlikely, and so few that what does not match nearly does.
      const double faults = 20 * sparseness;
      if (faults > length / 2.0) continue;
      const Bytes haystack =
          withFaults(kMiB + static_cast<std::size_t>(length), 'A', length / faults);
      const auto pattern = *WildcardHexPattern::parse(shortRuns(length, sparseness));
      for (const ScanPath path : availableScanPaths()) {
        TaskProgress progress;
        WildcardSearch search(pattern, haystack, progress, {.path = path});
        EXPECT_EQ(search.first(0, kMiB), std::nullopt);
        EXPECT_LE(search.comparisons(), 16 * kMiB) << length << " " << sparseness;
      }
    }
  }
}

}  // namespace
}  // namespace quillmor
