#include "search/scan/WildcardHexPattern.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <iostream>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "search/scan/SearchLimits.h"
#include "support/GuardedBytes.h"
#include "support/NaiveSearch.h"
#include "support/SearchCases.h"

namespace quillmor {
namespace {

using Pattern = WildcardHexPattern;
using Bytes = std::vector<std::uint8_t>;
using Found = std::optional<std::int64_t>;

constexpr Found kNone = std::nullopt;

Pattern patternOf(std::string_view text) {
  const auto pattern = Pattern::parse(text);
  if (!pattern) throw std::invalid_argument(std::string(text));
  return *pattern;
}

bool isValid(std::string_view text) {
  return Pattern::parse(text).has_value();
}

Found wrapped(const Pattern& pattern, std::span<const std::uint8_t> haystack, std::int64_t from) {
  TaskProgress progress;
  return pattern.firstMatchWrapped(haystack, from, progress);
}

Found wrapped(std::string_view text, std::span<const std::uint8_t> haystack, std::int64_t from) {
  return wrapped(patternOf(text), haystack, from);
}

Pattern::AnchorPlan planOf(const Pattern& pattern, std::span<const std::uint8_t> haystack) {
  return pattern.anchorPlan(haystack, TaskProgress());
}

/// `count` runs of one byte each, "01 ?? 01 ?? 01".
std::string runs(int count, std::string_view byte = "01") {
  std::string text(byte);
  for (int i = 1; i < count; ++i) text.append(" ?? ").append(byte);
  return text;
}

TEST(WildcardHexPattern, anchorsOnItsLongestRun) {
  const Pattern pattern = patternOf("F0 ?? E6 0F");
  EXPECT_EQ(pattern.bytes(), (Pattern::Bytes{0xF0, std::nullopt, 0xE6, 0x0F}));
  EXPECT_EQ(pattern.concreteRanges(), (std::vector<Pattern::Range>{{0, 1}, {2, 4}}));
  EXPECT_EQ(pattern.anchorRange(), (Pattern::Range{2, 4}));
  EXPECT_EQ(pattern.anchorBytes(), (Bytes{0xE6, 0x0F}));
  const Pattern::AnchorPlan plan = planOf(pattern, {});
  EXPECT_EQ(std::get<Pattern::Anchored>(plan),
            (Pattern::Anchored{
                .exactBytes = {0xE6, 0x0F}, .patternOffset = 2, .skippedRange = {{2, 4}}}));
}

TEST(WildcardHexPattern, checksWhatLiesBeforeItsAnchor) {
  const Bytes haystack = {0xE6, 0x0F, 0xF1, 0x00, 0xE6, 0x0F, 0xF0, 0x99, 0xE6, 0x0F};
  EXPECT_EQ(wrapped("F0 ?? E6 0F", haystack, 0), 6);
}

TEST(WildcardHexPattern, anchorsOnTheFirstOfEquallyLongRuns) {
  const Pattern pattern = patternOf("AA ?? BB ?? CC");
  EXPECT_EQ(pattern.concreteRanges().size(), 3U);
  EXPECT_EQ(pattern.anchorRange(), (Pattern::Range{0, 1}));
  EXPECT_EQ(pattern.anchorBytes(), (Bytes{0xAA}));
  const Bytes haystack = {0xAA, 1, 0xBB, 2, 0xCD, 0xAA, 3, 0xBB, 4, 0xCC};
  EXPECT_EQ(wrapped(pattern, haystack, 0), 5);
}

TEST(WildcardHexPattern, ofWildcardsOnlyMatchesWhereItIsAsked) {
  const Pattern pattern = patternOf("?? ????");
  const Bytes haystack(10, 7);
  EXPECT_EQ(pattern.anchorRange(), std::nullopt);
  EXPECT_TRUE(pattern.anchorBytes().empty());
  EXPECT_EQ(wrapped(pattern, haystack, 0), 0);
  EXPECT_EQ(wrapped(pattern, haystack, 7), 7);
  EXPECT_EQ(wrapped(pattern, haystack, 8), 0);
  EXPECT_EQ(wrapped(pattern, haystack, -1), 0);
  EXPECT_EQ(wrapped(pattern, Bytes(3, 7), 0), 0);
  EXPECT_EQ(wrapped(pattern, Bytes(2, 7), 0), kNone);
  TaskProgress progress;
  EXPECT_EQ(pattern.firstMatch(haystack, {0, 10}, progress), kNone);
}

TEST(WildcardHexPattern, wrapsAroundToMatchesBeforeTheStart) {
  const Pattern pattern = patternOf("01 ?? 03");
  const Bytes haystack = {0, 1, 2, 3, 0, 0, 0, 0};
  EXPECT_EQ(wrapped(pattern, haystack, 0), 1);
  EXPECT_EQ(wrapped(pattern, haystack, 1), 1);
  for (const std::int64_t from : {2, 5, 6, 7, 100}) {
    EXPECT_EQ(wrapped(pattern, haystack, from), 1) << from;
  }
  EXPECT_EQ(wrapped(pattern, haystack, std::numeric_limits<std::int64_t>::max()), 1);
  EXPECT_EQ(wrapped(pattern, haystack, std::numeric_limits<std::int64_t>::min()), 1);
}

TEST(WildcardHexPattern, findsWhatLiesAcrossTheStart) {
  // The match at 2 reaches over the start at 3: only the second pass may begin before the start.
  const Bytes haystack = {0, 0, 1, 9, 3, 0, 0, 0, 0, 0};
  EXPECT_EQ(wrapped("01 ?? 03", haystack, 3), 2);
  // One that begins at the start itself, its anchor behind it, belongs to the first pass.
  const Bytes twice = {1, 9, 3, 4, 1, 9, 3, 4};
  EXPECT_EQ(wrapped("01 ?? 03 04", twice, 4), 4);
  EXPECT_EQ(wrapped("01 ?? 03 04", twice, 1), 4);
}

TEST(WildcardHexPattern, neverMatchesAcrossTheEnd) {
  EXPECT_EQ(wrapped("01 ?? 03", Bytes{3, 0, 0, 1, 2}, 3), kNone);
  EXPECT_EQ(wrapped("01 ??", Bytes{0, 0, 1}, 0), kNone);
}

TEST(WildcardHexPattern, readsTokensAsTheGrammarSays) {
  for (const char* text :
       {"aa ?? bb", "AA??Bb", "aa,??;bb", ";;aa\t??\n\v\f\r,bb ", "aabb", "??"}) {
    EXPECT_TRUE(isValid(text)) << text;
  }
  EXPECT_EQ(patternOf("aa ?? bb").bytes(), (Pattern::Bytes{0xAA, std::nullopt, 0xBB}));
  EXPECT_EQ(patternOf("AA??Bb").bytes(), (Pattern::Bytes{0xAA, std::nullopt, 0xBB}));
  for (const char* text : {"AA-BB", "0xAA", "AA:BB", "", " ,; ", "A", "AAB", "?", "???", "A?", "?A",
                           "A A", "? ?", "GG", "AA *", "AA ?? B"}) {
    EXPECT_FALSE(isValid(text)) << text;
  }
  EXPECT_FALSE(isValid(std::string_view("AA\0BB", 5)));
  EXPECT_FALSE(
      isValid("AA\x1C"
              "BB"));
}

TEST(WildcardHexPattern, takesEveryUnicodeWhiteSpaceInTextThatHasIt) {
  EXPECT_EQ(patternOf("AA\u00A0??\u2003bb,\u3000CC").bytes(),
            (Pattern::Bytes{0xAA, std::nullopt, 0xBB, 0xCC}));
  EXPECT_TRUE(isValid("AA\u0085\u2028"));
  for (const char* text : {"AA \u00E4", "AA \u200B BB", "\u3000", "A\u00A0A", "\uFF21\uFF21",
                           "AA\xA0"
                           "BB",
                           "AA\u00A0-BB",
                           "\u00A0"
                           "AAB"}) {
    EXPECT_FALSE(isValid(text)) << text;
  }
  EXPECT_EQ(patternOf("AA\u00A0??").bytes(), patternOf("AA ??").bytes());
}

TEST(WildcardHexPattern, withManyShortRunsAnchorsOnItsRarestByte) {
  const Pattern pattern = patternOf(runs(64) + " ?? 02");
  ASSERT_EQ(pattern.concreteRanges().size(), 65U);
  Bytes haystack(200, 1);
  EXPECT_TRUE(std::holds_alternative<Pattern::Impossible>(planOf(pattern, haystack)));
  EXPECT_EQ(wrapped(pattern, haystack, 0), kNone);
  haystack[150] = 2;
  EXPECT_EQ(std::get<Pattern::Anchored>(planOf(pattern, haystack)),
            (Pattern::Anchored{.exactBytes = {2}, .patternOffset = 128, .skippedRange = {}}));
  EXPECT_EQ(wrapped(pattern, haystack, 0), 22);
  // Equally rare bytes: the first in the pattern.
  const Bytes even(256, 1);
  EXPECT_EQ(std::get<Pattern::Anchored>(planOf(patternOf(runs(65)), even)).patternOffset, 0);
}

TEST(WildcardHexPattern, withFewerRunsOrALongOneAnchorsOnTheLongestRun) {
  const auto offsetOf = [](const std::string& text) {
    const Bytes haystack(256, 1);
    const Pattern pattern = patternOf(text);
    const auto plan = std::get<Pattern::Anchored>(planOf(pattern, haystack));
    EXPECT_EQ(plan.skippedRange, pattern.anchorRange());
    return plan.patternOffset;
  };
  EXPECT_EQ(offsetOf(runs(63) + " ?? 02 02"), 126);
  EXPECT_EQ(offsetOf(runs(64) + " ?? 02 02 02"), 128);
  const Pattern withTwo = patternOf(runs(64) + " ?? 02 02");
  EXPECT_TRUE(std::holds_alternative<Pattern::Impossible>(planOf(withTwo, Bytes(256, 1))));
}

TEST(WildcardHexPattern, looksInTheRangeOfCandidatesOnly) {
  const Pattern pattern = patternOf("?? 01 ?? 01");
  const Bytes haystack(20, 1);
  const auto find = [&](std::int64_t lower, std::int64_t upper) {
    TaskProgress progress;
    return pattern.firstMatch(haystack, {lower, upper}, progress);
  };
  EXPECT_EQ(find(0, 1), 0);
  EXPECT_EQ(find(5, 6), 5);
  EXPECT_EQ(find(5, 5), kNone);
  EXPECT_EQ(find(16, 100), 16);
  EXPECT_EQ(find(17, 100), kNone);
  EXPECT_EQ(find(-100, 100), 0);
  EXPECT_EQ(find(-100, 0), kNone);
  EXPECT_EQ(
      find(std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()), 0);
}

TEST(WildcardHexPattern, tellsHowFarItIs) {
  TaskProgress progress;
  EXPECT_EQ(patternOf("02 ?? 02").firstMatchWrapped(Bytes(9'000'000, 1), 5'000'000, progress),
            kNone);
  EXPECT_EQ(progress.fraction(), 1);
  TaskProgress found;
  Bytes haystack(16'000'000, 1);
  haystack[9'000'000] = 2;
  EXPECT_EQ(patternOf("02 ?? 01").firstMatchWrapped(haystack, 0, found), 9'000'000);
  EXPECT_GT(found.fraction(), 0.5);
  EXPECT_LT(found.fraction(), 0.6);
}

TEST(WildcardHexPattern, stopsWhenAsked) {
  const Bytes haystack(100, 1);
  TaskProgress progress;
  progress.requestStop();
  EXPECT_THROW(patternOf("02 ?? 02").firstMatchWrapped(haystack, 0, progress), Error);
  EXPECT_THROW(patternOf(runs(65)).anchorPlan(haystack, progress), Error);
}

TEST(WildcardHexPattern, tellsOfTheWholeWayForManyShortRuns) {
  // Goes badly, so that the bytes are counted for a plan that does not help.
  const Bytes haystack(5'000'000, 1);
  for (const std::int64_t budget : {0, 40, 0x100000}) {
    const ScopedSearchLimits scope({.workBudget = budget});
    TaskProgress progress;
    EXPECT_EQ(patternOf(runs(65) + " ?? 01 01 ??").firstMatchWrapped(haystack, 1'000'000, progress),
              1'000'000);
    EXPECT_EQ(progress.fraction(), 0);
    Bytes faulty = haystack;
    for (std::size_t at = 0; at < faulty.size(); at += 40 + at % 7) faulty[at] = faulty[at + 1] = 2;
    EXPECT_EQ(patternOf(runs(65)).firstMatchWrapped(faulty, 1'000'000, progress), kNone);
    EXPECT_EQ(progress.fraction(), 1);
  }
}

TEST(WildcardHexPattern, endsWhenAByteIsFoundToBeMissing) {
  const Bytes haystack(40'000'000, 1);
  const ScopedSearchLimits scope({.workBudget = 0});
  TaskProgress progress;
  EXPECT_EQ(patternOf(runs(65) + " ?? 02").firstMatchWrapped(haystack, 1'000'000, progress), kNone);
  EXPECT_LE(progress.fraction(), 0.2);
}

TEST(WildcardHexPattern, aSingleRunIsFoundByItsAnchorAlone) {
  Bytes haystack(5'000, 1);
  haystack[100] = haystack[3000] = 2;
  const Pattern pattern = patternOf("?? ?? 01 02 01 ??");
  for (const SearchLimits& limits : everyKindOfLimits()) {
    const ScopedSearchLimits scope(limits);
    EXPECT_EQ(wrapped(pattern, haystack, 0), 97);
    EXPECT_EQ(wrapped(pattern, haystack, 98), 2997);
    EXPECT_EQ(wrapped(pattern, haystack, 2998), 97);
  }
}

/// Patterns cut out of a haystack, with some positions made wildcards and others wrong.
Pattern::Bytes randomPattern(RandomSearches& random, const Bytes& haystack) {
  const Bytes needle = random.needle(haystack, random.upTo(9) == 0 ? 180 : 40);
  Pattern::Bytes pattern(needle.begin(), needle.end());
  const std::int64_t wildcardsIn4 = random.upTo(4);
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    if (random.upTo(3) < wildcardsIn4) pattern[i].reset();
    if (wildcardsIn4 == 4 && pattern.size() > 130 && i % 2 == 0) pattern[i] = needle[i];
  }
  return pattern;
}

std::string textOf(const Pattern::Bytes& bytes) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (const auto& byte : bytes) {
    text.push_back(byte ? kDigits[*byte >> 4] : '?');
    text.push_back(byte ? kDigits[*byte & 15] : '?');
  }
  return text;
}

TEST(WildcardHexPatternModel, findsWhatThePlainSearchFinds) {
  const std::uint64_t seed = std::random_device()();
  std::cout << "seed " << seed << "\n";
  RandomSearches random(seed);
  GuardedBytes memory(400);
  const auto limits = everyKindOfLimits();
  for (int i = 0; i < modelCount(150'000); ++i) {
    const Bytes bytes = random.haystack(random.upTo(9) == 0 ? 400 : 100);
    const Pattern::Bytes wanted = randomPattern(random, bytes);
    const auto pattern = Pattern::parse(textOf(wanted));
    ASSERT_EQ(pattern.has_value(), !wanted.empty());
    if (!pattern) continue;
    ASSERT_EQ(pattern->bytes(), wanted);
    const auto haystack = i % 4 == 0 ? memory.atStart(bytes) : memory.atEnd(bytes);
    const std::int64_t from = random.upTo(std::ssize(bytes) + 10) - 5;
    const ScopedSearchLimits scope(limits[static_cast<std::size_t>(i) % limits.size()]);
    ASSERT_EQ(wrapped(*pattern, haystack, from), naive::firstWrapped(wanted, haystack, from))
        << "seed " << seed << ", search " << i << ": " << textOf(wanted) << " from " << from;
  }
}

}  // namespace
}  // namespace quillmor
