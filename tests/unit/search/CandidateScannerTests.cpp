#include "search/CandidateScanner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "base/ByteUnits.h"
#include "support/ErrorMatchers.h"
#include "support/SearchFixture.h"

namespace quillmor {
namespace {

using test::rawCandidates;
using test::SearchBytes;
using test::searchBytes;
using Hit = CandidateScanner::Hit;

/// Occurrences that do not overlap.
std::vector<Hit> walk(const SearchBytes& bytes, const std::vector<SearchCandidate>& candidateList,
                      std::int64_t start = 0) {
  TaskProgress progress;
  CandidateScanner scanner(bytes, candidateList, false, start);
  std::vector<Hit> hits;
  std::int64_t position = start;
  while (const auto hit = scanner.next(position, progress)) {
    hits.push_back(*hit);
    position = hit->end();
  }
  return hits;
}

void put(SearchBytes& bytes, std::int64_t offset, std::string_view text) {
  std::ranges::copy(text, bytes.begin() + offset);
}

TEST(CandidateScanner, findsNothingWhereNothingCanBe) {
  EXPECT_TRUE(walk({}, rawCandidates({"a"})).empty());
  EXPECT_TRUE(walk(searchBytes("abc"), {}).empty());
  EXPECT_TRUE(walk(searchBytes("abc"), rawCandidates({"abcd"})).empty());
  EXPECT_TRUE(walk(searchBytes("abc"), rawCandidates({"a"}), 1).empty());
  EXPECT_TRUE(walk(searchBytes("abc"), rawCandidates({"a"}), 99).empty());
}

TEST(CandidateScanner, prefersTheLongestOfThoseThatBeginTogether) {
  EXPECT_THAT(walk(searchBytes("abcdab"), rawCandidates({"ab", "abcd"})),
              testing::ElementsAre(Hit{0, 1, 4}, Hit{4, 0, 2}));
  EXPECT_THAT(walk(searchBytes("abcdab"), rawCandidates({"abcd", "ab"})),
              testing::ElementsAre(Hit{0, 0, 4}, Hit{4, 1, 2}));
}

TEST(CandidateScanner, prefersTheFirstInTheListOfEquallyLongOnes) {
  TaskProgress progress;
  const auto folded = rawCandidates({"x", "aB", "Ab"});
  const SearchBytes bytes = searchBytes("zab");
  EXPECT_EQ(CandidateScanner(bytes, folded, true).next(0, progress), (Hit{1, 1, 2}));
}

TEST(CandidateScanner, prefersTheEarlierToTheLonger) {
  EXPECT_THAT(walk(searchBytes("xabcd"), rawCandidates({"abcd", "xa"})),
              testing::ElementsAre(Hit{0, 1, 2}));
}

TEST(CandidateScanner, repeatsAnOccurrenceThatWasNotPassed) {
  TaskProgress progress;
  const SearchBytes bytes = searchBytes("..ab..ab");
  const auto candidateList = rawCandidates({"ab"});
  CandidateScanner scanner(bytes, candidateList, false);
  EXPECT_EQ(scanner.next(0, progress), (Hit{2, 0, 2}));
  EXPECT_EQ(scanner.next(2, progress), (Hit{2, 0, 2}));
  EXPECT_EQ(scanner.next(4, progress), (Hit{6, 0, 2}));
  EXPECT_EQ(scanner.next(8, progress), std::nullopt);
}

TEST(CandidateScanner, findsWhatLiesAtAndAcrossTheEndsOfPieces) {
  const std::int64_t piece = searchedPieceBytes(rawCandidates({"zz", "abc", "q"}));
  for (const std::int64_t offset :
       {piece - 3, piece - 2, piece - 1, piece, piece + 1, 2 * piece - 1, 2 * piece}) {
    SearchBytes bytes(static_cast<std::size_t>(2 * piece + 3), '.');
    put(bytes, offset, "abc");
    EXPECT_THAT(walk(bytes, rawCandidates({"zz", "abc", "q"})),
                testing::ElementsAre(Hit{offset, 1, 3}));
  }
}

TEST(CandidateScanner, walksOverlappingMatchesAcrossTheEndsOfPieces) {
  const auto one = rawCandidates({"aba"});
  const auto several = rawCandidates({"aba", "z", "bab"});
  for (const auto& candidateList : {one, several}) {
    const std::int64_t piece = searchedPieceBytes(candidateList);
    for (std::int64_t begin = piece - 9; begin <= piece + 1; ++begin) {
      SearchBytes bytes(static_cast<std::size_t>(piece + 30), '.');
      put(bytes, begin, "abababababa");
      if (candidateList.size() == 1) {
        ASSERT_THAT(
            walk(bytes, candidateList),
            testing::ElementsAre(Hit{begin, 0, 3}, Hit{begin + 4, 0, 3}, Hit{begin + 8, 0, 3}))
            << begin - piece;
      } else {
        ASSERT_THAT(
            walk(bytes, candidateList),
            testing::ElementsAre(Hit{begin, 0, 3}, Hit{begin + 3, 2, 3}, Hit{begin + 6, 0, 3}))
            << begin - piece;
      }
    }
  }
}

TEST(CandidateScanner, prefersTheLongerWhereAPieceEnds) {
  const auto candidateList = rawCandidates({"ab", "abcdefgh", "abcd"});
  const std::int64_t piece = searchedPieceBytes(candidateList);
  for (std::int64_t begin = piece - 9; begin <= piece + 1; ++begin) {
    SearchBytes bytes(static_cast<std::size_t>(piece + 30), '.');
    put(bytes, begin, "abcdefghab");
    ASSERT_THAT(walk(bytes, candidateList),
                testing::ElementsAre(Hit{begin, 1, 8}, Hit{begin + 8, 0, 2}))
        << begin - piece;
  }
}

TEST(CandidateScanner, findsCandidatesLongerThanTheUsualPiece) {
  const std::int64_t piece = searchedPieceBytes(rawCandidates({"n"}));
  SearchBytes needle(static_cast<std::size_t>(piece + 10), 'n');
  SearchBytes bytes(static_cast<std::size_t>(piece + 5), '.');
  bytes.insert(bytes.end(), needle.begin(), needle.end());
  const std::vector<SearchCandidate> candidateList{{needle, SearchCandidateKind::Raw()}};
  EXPECT_THAT(walk(bytes, candidateList), testing::ElementsAre(Hit{piece + 5, 0, piece + 10}));
}

TEST(CandidateScanner, findsManyOfOneAmongFewOfAnother) {
  SearchBytes bytes(10'000, '.');
  std::vector<Hit> expected;
  for (std::int64_t offset = 1; offset < 9'990; offset += 3) {
    const bool isLong = offset % 100 == 1;
    put(bytes, offset, isLong ? "abab" : "a");
    expected.push_back(isLong ? Hit{offset, 1, 4} : Hit{offset, 0, 1});
    if (isLong) offset += 3;
  }
  EXPECT_EQ(walk(bytes, rawCandidates({"a", "abab"})), expected);
  EXPECT_EQ(walk(bytes, rawCandidates({"a"})).size(),
            static_cast<std::size_t>(std::ranges::count(bytes, 'a')));
}

TEST(CandidateScanner, findsOccurrencesThatFollowUponEachOther) {
  const SearchBytes bytes(1000, 'a');
  const auto hits = walk(bytes, rawCandidates({"aaa", "a", "aa", "aaa"}));
  ASSERT_EQ(hits.size(), 334U);
  for (std::int64_t i = 0; i < 333; ++i) {
    EXPECT_EQ(hits[static_cast<std::size_t>(i)], (Hit{3 * i, 0, 3}));
  }
  EXPECT_EQ(hits.back(), (Hit{999, 1, 1}));
  EXPECT_EQ(walk(bytes, rawCandidates({"aaa"})).size(), 333U);
}

TEST(CandidateScanner, countsOccurrencesThatOverlapFromTheEndOfTheOneBefore) {
  // The first "aba" ends in the middle of what "aba" would be next.
  EXPECT_THAT(walk(searchBytes("abababa"), rawCandidates({"aba"})),
              testing::ElementsAre(Hit{0, 0, 3}, Hit{4, 0, 3}));
  EXPECT_THAT(walk(searchBytes("xabababa"), rawCandidates({"aba", "xab"})),
              testing::ElementsAre(Hit{0, 1, 3}, Hit{3, 0, 3}));
}

TEST(CandidateScanner, tellsOfTheWholeWay) {
  const SearchBytes bytes(static_cast<std::size_t>(3 * kMiB), '.');
  TaskProgress progress;
  progress.setTotal(3 * kMiB);
  EXPECT_EQ(CandidateScanner(bytes, rawCandidates({"a", "bcd"}), false).next(0, progress),
            std::nullopt);
  EXPECT_EQ(progress.fraction(), 1.0);

  TaskProgress half;
  half.setTotal(2 * kMiB);
  EXPECT_EQ(CandidateScanner(bytes, rawCandidates({"a"}), false, 2 * kMiB).next(2 * kMiB, half),
            std::nullopt);
  EXPECT_EQ(half.fraction(), 0.5);
}

TEST(CandidateScanner, stopsWithinAMegabyteOfFrequentOccurrences) {
  const SearchBytes bytes(static_cast<std::size_t>(3 * kMiB), 'a');
  TaskProgress progress;
  const auto candidateList = rawCandidates({"a", "aa", "b"});
  CandidateScanner scanner(bytes, candidateList, false);
  std::int64_t position = 0;
  for (int i = 0; i < 10; ++i) position = scanner.next(position, progress)->end();
  progress.requestStop();
  const auto goOn = [&] {
    while (const auto hit = scanner.next(position, progress)) position = hit->end();
  };
  EXPECT_THAT(goOn, testing::Throws<Error>(testing::Property(&Error::isStopped, true)));
  EXPECT_LT(position, kMiB + 100);
}

TEST(CandidateScanner, stopsWithinAMegabyteOfNothingFound) {
  const SearchBytes bytes(static_cast<std::size_t>(8 * kMiB), '.');
  TaskProgress progress;
  progress.setTotal(8 * kMiB);
  progress.requestStop();
  const auto several = rawCandidates({"a", "b", "cd", "e"});
  CandidateScanner scanner(bytes, several, false);
  EXPECT_THAT([&] { scanner.next(0, progress); },
              testing::Throws<Error>(testing::Property(&Error::isStopped, true)));
  EXPECT_LE(progress.fraction(), 1.0 / 8);
  const auto one = rawCandidates({"abc"});
  CandidateScanner single(bytes, one, false);
  EXPECT_THROW(single.next(0, progress), Error);
  EXPECT_LE(progress.fraction(), 5.0 / 8);
}

TEST(CandidateScanner, stopsInAPieceHoweverLongTheCandidateIs) {
  const std::vector<SearchCandidate> candidateList{
      {SearchBytes(static_cast<std::size_t>(3 * kMiB), 'a'), SearchCandidateKind::Raw()}};
  SearchBytes bytes(static_cast<std::size_t>(12 * kMiB), 'a');
  for (std::int64_t at = kMiB; at < std::ssize(bytes); at += kMiB) put(bytes, at, "b");
  TaskProgress progress;
  progress.setTotal(12 * kMiB);
  progress.requestStop();
  CandidateScanner scanner(bytes, candidateList, false);
  EXPECT_THROW(scanner.next(0, progress), Error);
  EXPECT_EQ(progress.fraction(), 0);
}

TEST(CandidateScanner, findsWhatOverlapsItselfManyAtATime) {
  // Each "xa" takes away what the first "aaa" of its run would be.
  SearchBytes bytes;
  std::vector<Hit> expected;
  for (std::int64_t i = 0; i < 1000; ++i) {
    const SearchBytes run = searchBytes("xaaaaaa.");
    bytes.insert(bytes.end(), run.begin(), run.end());
    expected.push_back({8 * i, 0, 2});
    expected.push_back({8 * i + 2, 1, 3});
  }
  EXPECT_EQ(walk(bytes, rawCandidates({"xa", "aaa"})), expected);
}

TEST(CandidateScanner, goesOnAfterAStopAsIfItHadNotBeen) {
  SearchBytes bytes(static_cast<std::size_t>(4 * kMiB), '.');
  put(bytes, 4 * kMiB - 7, "abc");
  const auto candidateList = rawCandidates({"abc", "q"});
  CandidateScanner scanner(bytes, candidateList, false);
  TaskProgress stopped;
  stopped.requestStop();
  EXPECT_THROW(scanner.next(0, stopped), Error);
  TaskProgress progress;
  EXPECT_EQ(scanner.next(0, progress), (Hit{4 * kMiB - 7, 0, 3}));
}

}  // namespace
}  // namespace quillmor
