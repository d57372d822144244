#include "search/scan/ByteSearch.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include "search/scan/LinearSearch.h"
#include "support/NaiveSearch.h"
#include "support/SearchCases.h"

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Found = std::optional<std::int64_t>;

constexpr Found kNone = std::nullopt;
constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kGreatest = std::numeric_limits<std::int64_t>::max();

Bytes bytesOf(std::string_view text) {
  return {text.begin(), text.end()};
}

constexpr auto acceptAll = [](std::int64_t) { return true; };

/// Every way a search can go, each of which has to give the same answers.
class ByteSearchTest : public testing::TestWithParam<SearchLimits> {
 protected:
  static Found forward(const Bytes& needle, const Bytes& haystack, std::int64_t start,
                       bool folds = false) {
    return ByteSearch::index(needle, haystack, start, false, folds);
  }
  static Found backward(const Bytes& needle, const Bytes& haystack, std::int64_t start,
                        bool folds = false) {
    return ByteSearch::index(needle, haystack, start, true, folds);
  }
  template <class Accepting>
  static Found accepted(const Bytes& anchor, const Bytes& haystack, std::int64_t from,
                        std::int64_t through, const Accepting& accepting) {
    return ByteSearch::firstAcceptedIndex(anchor, haystack, from, through, accepting);
  }

 private:
  ScopedSearchLimits scope_{GetParam()};
};

std::string nameOfLimits(const testing::TestParamInfo<SearchLimits>& info) {
  return std::string(info.param.kernel->name) + "Budget" + std::to_string(info.param.workBudget);
}

INSTANTIATE_TEST_SUITE_P(EveryWay, ByteSearchTest, testing::ValuesIn(everyKindOfLimits()),
                         nameOfLimits);

TEST_P(ByteSearchTest, anEmptyNeedleIsNeverFound) {
  for (const Bytes& haystack : {Bytes{}, bytesOf("abc")}) {
    EXPECT_EQ(forward({}, haystack, 0), kNone);
    EXPECT_EQ(backward({}, haystack, 3), kNone);
    EXPECT_EQ(accepted({}, haystack, 0, 10, acceptAll), kNone);
    Matcher matcher({}, false);
    EXPECT_EQ(matcher.first(haystack, 0, 10), kNone);
    EXPECT_EQ(matcher.last(haystack, 0, 10), kNone);
  }
}

TEST_P(ByteSearchTest, aNeedleLongerThanTheHaystackIsNeverFound) {
  const Bytes needle = bytesOf("abcd");
  for (const Bytes& haystack : {Bytes{}, bytesOf("abc")}) {
    EXPECT_EQ(forward(needle, haystack, 0), kNone);
    EXPECT_EQ(forward(needle, haystack, -1), kNone);
    EXPECT_EQ(backward(needle, haystack, 0), kNone);
    EXPECT_EQ(backward(needle, haystack, -1), kNone);
    EXPECT_EQ(accepted(needle, haystack, -5, 10, acceptAll), kNone);
  }
}

TEST_P(ByteSearchTest, forwardFromTheLastPositionFindsAMatchThatEndsTheHaystack) {
  const Bytes haystack = bytesOf("xxxxabc");
  EXPECT_EQ(forward(bytesOf("abc"), haystack, 4), 4);
  EXPECT_EQ(forward(bytesOf("abc"), haystack, 5), kNone);
  EXPECT_EQ(forward(bytesOf("c"), haystack, 6), 6);
  EXPECT_EQ(forward(bytesOf("c"), haystack, 7), kNone);
  EXPECT_EQ(forward(bytesOf("abc"), haystack, kGreatest), kNone);
  EXPECT_EQ(forward(bytesOf("abc"), haystack, kLeast), 4);
}

TEST_P(ByteSearchTest, backwardFromBeyondTheLastPositionBeginsThere) {
  const Bytes haystack = bytesOf("abcabc");
  for (const std::int64_t start : {std::int64_t{3}, std::int64_t{4}, std::int64_t{6}, kGreatest}) {
    EXPECT_EQ(backward(bytesOf("abc"), haystack, start), 3) << start;
  }
  EXPECT_EQ(backward(bytesOf("abc"), haystack, 2), 0);
  EXPECT_EQ(backward(bytesOf("c"), haystack, kGreatest), 5);
}

TEST_P(ByteSearchTest, backwardFromANegativePositionExaminesTheFirstOneOnly) {
  for (const std::int64_t start : {std::int64_t{-1}, kLeast}) {
    EXPECT_EQ(backward(bytesOf("abc"), bytesOf("abcabc"), start), 0);
    EXPECT_EQ(backward(bytesOf("abc"), bytesOf("xabcabc"), start), kNone);
    EXPECT_EQ(backward(bytesOf("a"), bytesOf("ab"), start), 0);
    EXPECT_EQ(backward(bytesOf("b"), bytesOf("ab"), start), kNone);
  }
}

TEST_P(ByteSearchTest, foldingIgnoresTheCaseOfAsciiLettersOnly) {
  for (const char* text : {"ABC", "aBc", "abc"}) {
    EXPECT_EQ(forward(bytesOf("abc"), bytesOf(text), 0, true), 0) << text;
    EXPECT_EQ(backward(bytesOf("aBC"), bytesOf(text), 0, true), 0) << text;
  }
  EXPECT_EQ(forward(bytesOf("abc"), bytesOf("aBc"), 0, false), kNone);
  EXPECT_EQ(forward({0xC4}, {0xE4}, 0, true), kNone);
  EXPECT_EQ(forward({0xE4}, {0xC4}, 0, true), kNone);
  EXPECT_EQ(forward(bytesOf("["), bytesOf("{"), 0, true), kNone);
  EXPECT_EQ(forward(bytesOf("{"), bytesOf("["), 0, true), kNone);
}

TEST_P(ByteSearchTest, foldingComparesEveryPairOfBytesAsTold) {
  // The byte alone, and in a needle that is long enough to be compared in words.
  for (int needleByte = 0; needleByte < 256; ++needleByte) {
    for (int byte = 0; byte < 256; ++byte) {
      Bytes needle = bytesOf("0123456789abcdef");
      needle[4] = static_cast<std::uint8_t>(needleByte);
      Bytes haystack = bytesOf("0123456789ABCDEF");
      haystack[4] = static_cast<std::uint8_t>(byte);
      const bool isEqual = naive::matchesAt(needle, haystack, 0, true);
      ASSERT_EQ(forward(needle, haystack, 0, true).has_value(), isEqual)
          << needleByte << " in " << byte;
      ASSERT_EQ(forward({needle[4]}, {haystack[4]}, 0, true).has_value(), isEqual)
          << needleByte << " in " << byte;
    }
  }
}

TEST_P(ByteSearchTest, overlappingOccurrencesAreAllFound) {
  const Bytes needle = {0xAA, 0xAA};
  const Bytes haystack = {0xAA, 0xAA, 0xAA};
  EXPECT_EQ(forward(needle, haystack, 0), 0);
  EXPECT_EQ(forward(needle, haystack, 1), 1);
  EXPECT_EQ(backward(needle, haystack, 5), 1);
}

TEST_P(ByteSearchTest, everyOverlappingOccurrenceIsOfferedInOrder) {
  const Bytes haystack(64, 0xAA);
  for (const std::size_t length : {1, 2, 9, 33}) {
    std::vector<std::int64_t> offered;
    const auto found = accepted(Bytes(length, 0xAA), haystack, 3, 20, [&](std::int64_t position) {
      offered.push_back(position);
      return position == 7;
    });
    EXPECT_EQ(found, 7);
    EXPECT_EQ(offered, (std::vector<std::int64_t>{3, 4, 5, 6, 7}));
  }
}

TEST_P(ByteSearchTest, nothingBeyondTheLastStartIsOffered) {
  const Bytes haystack(64, 0xAA);
  for (const std::size_t length : {1, 2, 9, 33}) {
    const std::int64_t last = 64 - static_cast<std::int64_t>(length);
    for (const std::int64_t through : {std::int64_t{0}, std::int64_t{19}, last - 1, last}) {
      std::int64_t greatest = -1;
      const auto rejecting = [&](std::int64_t position) {
        greatest = position;
        return false;
      };
      EXPECT_EQ(accepted(Bytes(length, 0xAA), haystack, kLeast, through, rejecting), kNone);
      EXPECT_EQ(greatest, through);
    }
    EXPECT_EQ(accepted(Bytes(length, 0xAA), haystack, 20, 19, acceptAll), kNone);
    EXPECT_EQ(accepted(Bytes(length, 0xAA), haystack, last + 1, kGreatest, acceptAll), kNone);
    EXPECT_EQ(accepted(Bytes(length, 0xAA), haystack, last, kGreatest, acceptAll), last);
  }
}

TEST_P(ByteSearchTest, theSearchForAnchorsComparesBytesExactly) {
  EXPECT_EQ(accepted(bytesOf("ab"), bytesOf("AB aB ab"), 0, 10, acceptAll), 6);
}

TEST_P(ByteSearchTest, whatThePredicateThrowsIsPassedOn) {
  const auto throwing = [](std::int64_t) -> bool { throw std::runtime_error("enough"); };
  EXPECT_THROW(accepted(bytesOf("ab"), bytesOf("ab"), 0, 0, throwing), std::runtime_error);
}

TEST_P(ByteSearchTest, needlesBeyondTheTablesReachAreNeverFound) {
  SearchLimits limits = GetParam();
  limits.longestNeedle = 8;
  const ScopedSearchLimits scope(limits);
  const Bytes haystack = bytesOf("0123456789");
  const auto find = [&](std::string_view needle, bool backwards) {
    return ByteSearch::index(bytesOf(needle), haystack, backwards ? 9 : 0, backwards, false);
  };
  EXPECT_EQ(find("12345678", false), 1);
  EXPECT_EQ(find("12345678", true), 1);
  EXPECT_EQ(find("123456789", false), kNone);
  EXPECT_EQ(find("123456789", true), kNone);
  EXPECT_EQ(accepted(bytesOf("123456789"), haystack, 0, 9, acceptAll), kNone);
  MatchList list;
  const Bytes tooLong = bytesOf("123456789");
  Matcher(tooLong, false).collect(haystack, 0, 9, list);
  EXPECT_EQ(list.count, 0);
  limits.longestNeedle = 0;
  const ScopedSearchLimits none(limits);
  EXPECT_EQ(find("9", false), 9);
}

TEST(ByteSearch, theFailureTableLeadsPastLengthsThatFailAlike) {
  using LinearSearch::Direction;
  using LinearSearch::failureTable;
  EXPECT_EQ(failureTable(bytesOf("abacabab"), false, Direction::forward),
            (LinearSearch::FailureTable{0, 0, 1, 0, 0, 0, 3, 2}));
  EXPECT_EQ(failureTable(bytesOf("babacaba"), false, Direction::backward),
            (LinearSearch::FailureTable{0, 0, 1, 0, 0, 0, 3, 2}));
  EXPECT_EQ(failureTable(bytesOf("aAaB"), true, Direction::forward),
            (LinearSearch::FailureTable{0, 0, 2, 0}));
  EXPECT_EQ(failureTable(bytesOf("aAaB"), false, Direction::forward),
            (LinearSearch::FailureTable{0, 0, 1, 0}));
  EXPECT_EQ(failureTable(bytesOf("aaaab"), false, Direction::forward),
            (LinearSearch::FailureTable{0, 0, 0, 3, 0}));
  EXPECT_EQ(failureTable(bytesOf("aaaa"), false, Direction::forward),
            (LinearSearch::FailureTable{0, 0, 0, 3}));
}

TEST(Matcher, findsTheSameAfterItHasBeenMoved) {
  const Bytes needle = bytesOf("a needle of some length");
  std::optional<Matcher> original(std::in_place, needle, false);
  const Bytes haystack = bytesOf("here is a needle of some length");
  ASSERT_EQ(original->first(haystack, 0, 100), 8);
  Matcher moved = std::move(*original);
  original.reset();
  EXPECT_EQ(moved.first(haystack, 0, 100), 8);
  EXPECT_EQ(moved.last(haystack, 0, 100), 8);
}

}  // namespace
}  // namespace quillmor
