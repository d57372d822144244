// Data made to make searches slow. The work done is counted, not timed.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "base/ByteUnits.h"
#include "search/scan/ByteSearch.h"
#include "search/scan/WildcardHexPattern.h"
#include "support/SearchCases.h"
#include "support/WatchedKernel.h"

namespace quillmor {
namespace {

using test::WatchedKernel;
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

/// Comparisons in vain are paid for by the positions passed, but for the budget. No position is
/// passed twice.
void expectLinearWork(const WatchedKernel& kernel, const Matcher& matcher,
                      std::int64_t haystackSize) {
  EXPECT_LE(kernel.comparisons(), 4 * haystackSize + 4 * 0x100000 + 4 * matcher.needleLength());
  EXPECT_LE(kernel.positions(), haystackSize);
}

TEST(HostileSearch, aByteRepeatedFourMillionTimesHoldsNoOtherByte) {
  Bytes haystack(4 * kMiB, 0x41);
  const Bytes needle = repeatedWithOneOther(0x41, 4096);
  for (const SearchLimits& limits : everyKindOfLimits()) {
    WatchedKernel kernel(limits);
    Matcher matcher(needle, false);
    EXPECT_EQ(matcher.first(haystack, 0, std::ssize(haystack)), std::nullopt);
    EXPECT_EQ(matcher.last(haystack, 0, std::ssize(haystack)), std::nullopt);
    expectLinearWork(kernel, matcher, 2 * std::ssize(haystack));
    EXPECT_EQ(ByteSearch::index(needle, haystack, 0, false, false), std::nullopt);
  }
}

TEST(HostileSearch, whatEndsARepeatedByteIsFoundWhereItIs) {
  Bytes haystack(4 * kMiB, 0x41);
  const Bytes needle = repeatedWithOneOther(0x41, 4096);
  std::ranges::copy(needle, haystack.end() - std::ssize(needle));
  const std::int64_t place = std::ssize(haystack) - std::ssize(needle);
  for (const SearchLimits& limits : everyKindOfLimits()) {
    const ScopedSearchLimits scope(limits);
    EXPECT_EQ(ByteSearch::index(needle, haystack, 0, false, false), place);
    EXPECT_EQ(ByteSearch::index(needle, haystack, place, true, true), place);
  }
}

TEST(HostileSearch, sixtyFourMebibytesOfOneByteTakeLinearWork) {
  const Bytes haystack(64 * kMiB, 0x41);
  for (const std::int64_t place : {0, 2048, 4096}) {
    const Bytes needle = repeatedWithOneOther(0x41, place);
    const WatchedKernel kernel;
    Matcher matcher(needle, false);
    EXPECT_EQ(matcher.first(haystack, 0, std::ssize(haystack)), std::nullopt);
    EXPECT_EQ(matcher.last(haystack, 0, std::ssize(haystack)), std::nullopt);
    expectLinearWork(kernel, matcher, 2 * std::ssize(haystack));
  }
}

TEST(HostileSearch, wordsThatNearlyRepeatThemselvesTakeLinearWork) {
  const Bytes haystack = fibonacciWord(4 * kMiB);
  for (const std::ptrdiff_t begin : {0, 1, 4095}) {
    Bytes needle(haystack.begin() + begin, haystack.begin() + begin + 5000);
    needle[4000] ^= 'a' ^ 'b';
    for (const SearchLimits& limits : everyKindOfLimits()) {
      const WatchedKernel kernel(limits);
      Matcher matcher(needle, true);
      EXPECT_EQ(matcher.first(haystack, 0, std::ssize(haystack)), std::nullopt);
      EXPECT_EQ(matcher.last(haystack, 0, std::ssize(haystack)), std::nullopt);
      expectLinearWork(kernel, matcher, 2 * std::ssize(haystack));
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
  const WatchedKernel kernel({.workBudget = 1});
  EXPECT_EQ(Matcher(needle, false).first(haystack, 0, std::ssize(haystack)), place);
  EXPECT_GT(kernel.comparisons(), 0);
  const std::int64_t linear = place - kernel.positions();
  EXPECT_GT(linear, kMiB / 2);
  EXPECT_LT(linear, 10 * kMiB);
}

TEST(HostileSearch, withoutABudgetEveryByteIsReadOnceByTheLinearSearch) {
  const Bytes haystack(3 * kMiB, 'a');
  const Bytes needle = repeatedWithOneOther('a', 7);
  const WatchedKernel kernel({.workBudget = 0});
  Matcher matcher(needle, false);
  int questions = 0;
  const auto check = [&] { ++questions; };
  // One by the scan, one by the table, and one for each mebibyte.
  EXPECT_EQ(matcher.first(haystack, 0, 3 * kMiB, check), std::nullopt);
  EXPECT_EQ(questions, 1 + 1 + 3);
  EXPECT_EQ(matcher.last(haystack, 0, 3 * kMiB, check), std::nullopt);
  EXPECT_EQ(questions, 2 * (1 + 1 + 3));
  // The tables are kept.
  EXPECT_EQ(matcher.first(haystack, 0, 3 * kMiB, check), std::nullopt);
  EXPECT_EQ(questions, 2 * (1 + 1 + 3) + 1 + 3);
  EXPECT_EQ(kernel.callCount(), 0);
}

TEST(HostileSearch, rejectedOverlappingMatchesTakeLinearWork) {
  const Bytes haystack(4 * kMiB, 0x41);
  const Bytes anchor(4096, 0x41);
  const std::int64_t last = std::ssize(haystack) - std::ssize(anchor);
  for (const SearchLimits& limits : everyKindOfLimits()) {
    const WatchedKernel kernel(limits);
    std::int64_t offers = 0;
    const auto rejecting = [&](std::int64_t position) {
      EXPECT_EQ(position, offers);
      ++offers;
      return false;
    };
    EXPECT_EQ(ByteSearch::firstAcceptedIndex(anchor, haystack, 0, last, rejecting), std::nullopt);
    EXPECT_EQ(offers, last + 1);
    // A match that the kernel finds has been compared in full.
    const auto matches = std::ranges::count_if(kernel.calls(), [](const auto& call) {
      return call.result.outcome == ScanResult::Outcome::found;
    });
    EXPECT_LE(kernel.comparisons() + matches * std::ssize(anchor),
              4 * std::ssize(haystack) + 2 * 0x100000);
  }
}

TEST(HostileSearch, aMatcherUsedInShortPiecesTakesLinearWork) {
  const Bytes haystack = fibonacciWord(kMiB);
  Bytes needle(haystack.begin() + 5, haystack.begin() + 3000);
  needle[2900] ^= 'a' ^ 'b';
  const WatchedKernel kernel;
  Matcher matcher(needle, false);
  for (std::int64_t at = 0; at < std::ssize(haystack); at += 16'384) {
    ASSERT_EQ(matcher.first(haystack, at, at + 16'383), std::nullopt);
  }
  expectLinearWork(kernel, matcher, std::ssize(haystack));
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
  WatchedKernel kernel;
  Matcher matcher(needle, false);
  EXPECT_EQ(matcher.first(haystack, 0, std::ssize(haystack)), place);
  EXPECT_LT(kernel.positions(), place);
  EXPECT_EQ(matcher.last(haystack, 0, std::ssize(haystack)), place);
  expectLinearWork(kernel, matcher, 2 * std::ssize(haystack));
}

TEST(HostileSearch, asksAtEveryMebibyteWhetherToStop) {
  Bytes needle(3 * kMiB, 'a');
  needle.back() = 'C';
  const Bytes haystack = withFaults(8 * kMiB, 'a', 2e6);
  const auto questions = [&](const SearchLimits& limits, bool backwards) {
    int count = 0;
    const ScopedSearchLimits scope(limits);
    Matcher matcher(needle, true);
    const auto check = [&] { ++count; };
    const auto found = backwards ? matcher.last(haystack, 0, std::ssize(haystack), check)
                                 : matcher.first(haystack, 0, std::ssize(haystack), check);
    EXPECT_EQ(found, std::nullopt);
    return count;
  };
  for (const bool backwards : {false, true}) {
    // Five mebibytes of positions; without a scan three of the needle, and eight of the haystack.
    EXPECT_GE(questions({}, backwards), 5);
    EXPECT_GE(questions({.workBudget = 0}, backwards), 3 + 8);
  }
}

TEST(HostileSearch, goesOnAfterAStopAnywhereAsIfItHadNotBeen) {
  struct Stop {};
  const Bytes needle(2 * kMiB, 'a');
  Bytes haystack = withFaults(6 * kMiB, 'a', 5e5);
  const std::int64_t place = std::ssize(haystack) - std::ssize(needle);
  std::ranges::copy(needle, haystack.begin() + place);
  haystack[static_cast<std::size_t>(place) - 1] = 'B';
  for (int stopAt = 1; stopAt <= 1 + 2 + 6; ++stopAt) {
    const ScopedSearchLimits scope({.workBudget = 0});
    Matcher matcher(needle, false);
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
      for (const SearchLimits& limits : everyKernel()) {
        const WatchedKernel kernel(limits);
        TaskProgress progress;
        EXPECT_EQ(pattern.firstMatch(haystack, {0, kMiB + 1}, progress), std::nullopt);
        EXPECT_LE(kernel.comparisons(), 16 * kMiB) << length << " " << sparseness;
      }
    }
  }
}

}  // namespace
}  // namespace quillmor
