// Tries WildcardHexPattern on any text, and its search on a small haystack made to have matches.
// The last bytes of the input choose the haystack and where the search begins. Invariants:
//  - the pattern is that of the reference parser, and never empty;
//  - the pattern, written with spaces in between, parses to itself;
//  - the concrete ranges are the maximal runs, the anchor is the first of the longest;
//  - a plan's bytes stand in the pattern where it says, and a plan is impossible only when a byte
//    of the pattern is not in the haystack;
//  - what is found, in a range and wrapped, is what trying every position finds.

#include <algorithm>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "base/Check.h"
#include "base/HexText.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/FuzzTargets.h"
#include "fuzz/ReferenceParsers.h"
#include "search/scan/WildcardHexPattern.h"

namespace quillmor::fuzz {

namespace {

using Haystack = std::vector<std::uint8_t>;
using Offset = std::optional<std::int64_t>;
using Pattern = WildcardHexPattern;
using Range = WildcardHexPattern::Range;

// --- parsing --------------------------------------------------------------------------------

std::optional<Pattern> checkParsing(std::string_view text) {
  const auto expected = reference::wildcardBytes(text);
  auto pattern = Pattern::parse(text);
  checkPrecondition(pattern.has_value() == expected.has_value(),
                    "Patterns are those of the reference");
  if (!pattern) return std::nullopt;
  checkPrecondition(pattern->bytes() == *expected, "Positions are those of the reference");
  checkPrecondition(pattern->length() > 0, "A pattern is never empty");
  return pattern;
}

void checkRoundTrip(const Pattern& pattern) {
  std::string text;
  for (const auto& byte : pattern.bytes()) {
    text += byte ? uppercaseHexByteStrings[*byte] : "??";
    text += ' ';
  }
  const auto again = Pattern::parse(text);
  checkPrecondition(again && again->bytes() == pattern.bytes(), "A pattern written is itself");
}

// --- runs and anchors -----------------------------------------------------------------------

bool isConcrete(const Pattern& pattern, std::int64_t position) {
  if (position < 0 || position >= pattern.length()) return false;
  return pattern.bytes()[static_cast<std::size_t>(position)].has_value();
}

void checkRuns(const Pattern& pattern) {
  std::vector<Range> runs;
  for (std::int64_t i = 0; i < pattern.length(); ++i) {
    if (!isConcrete(pattern, i)) continue;
    if (!isConcrete(pattern, i - 1)) runs.push_back({.lowerBound = i, .upperBound = i});
    runs.back().upperBound = i + 1;
  }
  checkPrecondition(pattern.concreteRanges() == runs, "Concrete ranges are the maximal runs");
  const auto longest = std::max_element(runs.begin(), runs.end(),
                                        [](Range a, Range b) { return a.count() < b.count(); });
  const auto expected = longest == runs.end() ? std::nullopt : std::optional(*longest);
  checkPrecondition(pattern.anchorRange() == expected, "The anchor is the first longest run");
  const auto size = static_cast<std::size_t>(expected ? expected->count() : 0);
  checkPrecondition(pattern.anchorBytes().size() == size, "The anchor's bytes are its own");
}

bool isInHaystack(const Haystack& haystack, std::uint8_t byte) {
  return std::find(haystack.begin(), haystack.end(), byte) != haystack.end();
}

void checkPlan(const Pattern& pattern, const Haystack& haystack, const Pattern::AnchorPlan& plan) {
  const auto* anchored = std::get_if<Pattern::Anchored>(&plan);
  if (anchored == nullptr) {
    checkPrecondition(
        std::any_of(pattern.bytes().begin(), pattern.bytes().end(),
                    [&](auto byte) { return byte && !isInHaystack(haystack, *byte); }),
        "Only a byte that is nowhere makes a match impossible");
    return;
  }
  for (std::size_t i = 0; i < anchored->exactBytes.size(); ++i) {
    const std::int64_t position = anchored->patternOffset + static_cast<std::int64_t>(i);
    checkPrecondition(isConcrete(pattern, position), "An anchor has no wildcards");
    checkPrecondition(
        pattern.bytes()[static_cast<std::size_t>(position)] == anchored->exactBytes[i],
        "An anchor's bytes stand in the pattern");
  }
  if (anchored->skippedRange) {
    checkPrecondition(anchored->skippedRange == pattern.anchorRange(),
                      "Only the anchor is skipped");
  }
}

// --- search ---------------------------------------------------------------------------------

bool matchesAt(const Pattern& pattern, const Haystack& haystack, std::int64_t start) {
  for (std::int64_t i = 0; i < pattern.length(); ++i) {
    const auto byte = pattern.bytes()[static_cast<std::size_t>(i)];
    if (byte && *byte != haystack[static_cast<std::size_t>(start + i)]) return false;
  }
  return true;
}

/// The first match that starts at `first`...`last`.
Offset obviousMatch(const Pattern& pattern, const Haystack& haystack, std::int64_t first,
                    std::int64_t last) {
  last = std::min(last, std::ssize(haystack) - pattern.length());
  for (std::int64_t start = std::max<std::int64_t>(first, 0); start <= last; ++start) {
    if (matchesAt(pattern, haystack, start)) return start;
  }
  return std::nullopt;
}

/// How a haystack is made: some bytes, repeated, with the pattern put somewhere into them or not.
struct Recipe {
  std::size_t repetitions = 1;
  bool plantsPattern = false;
  std::size_t place = 0;
  Haystack unit;
};

Recipe takeRecipe(FuzzInput& input) {
  Recipe recipe;
  recipe.repetitions = 1 + input.takeBelow(8);
  recipe.plantsPattern = input.takeBelow(2) == 1;
  recipe.place = input.takeByte();
  recipe.unit.resize(input.takeBelow(32));
  for (auto& byte : recipe.unit) byte = input.takeByte();
  return recipe;
}

Haystack haystackOf(const Recipe& recipe, const Pattern& pattern) {
  Haystack haystack;
  for (std::size_t i = 0; i < recipe.repetitions; ++i) {
    haystack.insert(haystack.end(), recipe.unit.begin(), recipe.unit.end());
  }
  if (!recipe.plantsPattern) return haystack;
  const auto length = static_cast<std::size_t>(pattern.length());
  haystack.resize(std::max(haystack.size(), recipe.place + length));
  for (std::size_t i = 0; i < length; ++i) {
    if (const auto byte = pattern.bytes()[i]) haystack[recipe.place + i] = *byte;
  }
  return haystack;
}

void checkSearch(const Pattern& pattern, const Haystack& haystack, std::int64_t from,
                 std::int64_t to) {
  checkPlan(pattern, haystack, pattern.anchorPlan(haystack, TaskProgress()));
  TaskProgress progress;
  const bool isSearchable = pattern.anchorRange().has_value();
  checkPrecondition(
      pattern.firstMatch(haystack, {.lowerBound = from, .upperBound = to}, progress) ==
          (isSearchable ? obviousMatch(pattern, haystack, from, to - 1) : std::nullopt),
      "The first match in a range is found");
  auto wrapped = obviousMatch(pattern, haystack, from, std::ssize(haystack));
  if (!wrapped) wrapped = obviousMatch(pattern, haystack, 0, from - 1);
  checkPrecondition(pattern.firstMatchWrapped(haystack, from, progress) == wrapped,
                    "The first match after the start is found, else the first before it");
}

}  // namespace

void fuzzWildcardPattern(std::span<const std::uint8_t> bytes) {
  FuzzInput input(bytes);
  // Where to search: both may lie before and behind the haystack.
  const std::int64_t from = std::int64_t{input.takeByte()} - 4;
  const std::int64_t to = std::int64_t{input.takeByte()} - 4;
  const Recipe recipe = takeRecipe(input);
  const auto pattern = checkParsing(input.text());
  if (!pattern) return;
  checkRoundTrip(*pattern);
  checkRuns(*pattern);
  checkSearch(*pattern, haystackOf(recipe, *pattern), from, to);
}

}  // namespace quillmor::fuzz
