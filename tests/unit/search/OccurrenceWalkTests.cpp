#include "search/OccurrenceWalk.h"

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
using Hit = OccurrenceWalk::Hit;

/// Occurrences that do not overlap.
std::vector<Hit> hitsOf(const SearchBytes& bytes, const std::vector<SearchCandidate>& candidateList,
                        std::int64_t start = 0) {
  TaskProgress progress;
  OccurrenceWalk walk(bytes, candidateList, false, start);
  std::vector<Hit> hits;
  while (const auto hit = walk.next(progress)) hits.push_back(*hit);
  return hits;
}

void put(SearchBytes& bytes, std::int64_t offset, std::string_view text) {
  std::ranges::copy(text, bytes.begin() + offset);
}

TEST(OccurrenceWalk, findsNothingWhereNothingCanBe) {
  EXPECT_TRUE(hitsOf({}, rawCandidates({"a"})).empty());
  EXPECT_TRUE(hitsOf(searchBytes("abc"), {}).empty());
  EXPECT_TRUE(hitsOf(searchBytes("abc"), rawCandidates({"abcd"})).empty());
  EXPECT_TRUE(hitsOf(searchBytes("abc"), rawCandidates({"a"}), 1).empty());
  EXPECT_TRUE(hitsOf(searchBytes("abc"), rawCandidates({"a"}), 99).empty());
}

TEST(OccurrenceWalk, prefersTheLongestOfThoseThatBeginTogether) {
  EXPECT_THAT(hitsOf(searchBytes("abcdab"), rawCandidates({"ab", "abcd"})),
              testing::ElementsAre(Hit{0, 1, 4}, Hit{4, 0, 2}));
  EXPECT_THAT(hitsOf(searchBytes("abcdab"), rawCandidates({"abcd", "ab"})),
              testing::ElementsAre(Hit{0, 0, 4}, Hit{4, 1, 2}));
}

TEST(OccurrenceWalk, prefersTheFirstInTheListOfEquallyLongOnes) {
  TaskProgress progress;
  const auto folded = rawCandidates({"x", "aB", "Ab"});
  const SearchBytes bytes = searchBytes("zab");
  EXPECT_EQ(OccurrenceWalk(bytes, folded, true).next(progress), (Hit{1, 1, 2}));
}

TEST(OccurrenceWalk, prefersTheEarlierToTheLonger) {
  EXPECT_THAT(hitsOf(searchBytes("xabcd"), rawCandidates({"abcd", "xa"})),
              testing::ElementsAre(Hit{0, 1, 2}));
}

TEST(OccurrenceWalk, goesFromTheEndOfEachOccurrence) {
  TaskProgress progress;
  const SearchBytes bytes = searchBytes("..ab..ab");
  const auto candidateList = rawCandidates({"ab"});
  OccurrenceWalk walk(bytes, candidateList, false);
  EXPECT_EQ(walk.next(progress), (Hit{2, 0, 2}));
  EXPECT_EQ(walk.next(progress), (Hit{6, 0, 2}));
  EXPECT_EQ(walk.next(progress), std::nullopt);
  EXPECT_EQ(walk.next(progress), std::nullopt);
}

TEST(OccurrenceWalk, ofOneNeedleFindsWhatOneCandidateDoes) {
  const SearchBytes bytes = searchBytes("aAaaaa.aa");
  const SearchBytes needle = searchBytes("aa");
  OccurrenceWalk walk(bytes, needle);
  int questions = 0;
  const auto check = [&] { ++questions; };
  EXPECT_EQ(walk.next(StopCheck(check)), (Hit{2, 0, 2}));
  EXPECT_EQ(walk.next(StopCheck(check)), (Hit{4, 0, 2}));
  EXPECT_EQ(walk.next(StopCheck(check)), (Hit{7, 0, 2}));
  EXPECT_EQ(walk.next(StopCheck(check)), std::nullopt);
  EXPECT_GT(questions, 0);
}

TEST(OccurrenceWalk, findsWhatLiesAtAndAcrossTheEndsOfPieces) {
  const std::int64_t piece = searchedPieceBytes(rawCandidates({"zz", "abc", "q"}));
  for (const std::int64_t offset :
       {piece - 3, piece - 2, piece - 1, piece, piece + 1, 2 * piece - 1, 2 * piece}) {
    SearchBytes bytes(static_cast<std::size_t>(2 * piece + 3), '.');
    put(bytes, offset, "abc");
    EXPECT_THAT(hitsOf(bytes, rawCandidates({"zz", "abc", "q"})),
                testing::ElementsAre(Hit{offset, 1, 3}));
  }
}

TEST(OccurrenceWalk, walksOverlappingMatchesAcrossTheEndsOfPieces) {
  const auto one = rawCandidates({"aba"});
  const auto several = rawCandidates({"aba", "z", "bab"});
  for (const auto& candidateList : {one, several}) {
    const std::int64_t piece = searchedPieceBytes(candidateList);
    for (std::int64_t begin = piece - 9; begin <= piece + 1; ++begin) {
      SearchBytes bytes(static_cast<std::size_t>(piece + 30), '.');
      put(bytes, begin, "abababababa");
      if (candidateList.size() == 1) {
        ASSERT_THAT(
            hitsOf(bytes, candidateList),
            testing::ElementsAre(Hit{begin, 0, 3}, Hit{begin + 4, 0, 3}, Hit{begin + 8, 0, 3}))
            << begin - piece;
      } else {
        ASSERT_THAT(
            hitsOf(bytes, candidateList),
            testing::ElementsAre(Hit{begin, 0, 3}, Hit{begin + 3, 2, 3}, Hit{begin + 6, 0, 3}))
            << begin - piece;
      }
    }
  }
}

TEST(OccurrenceWalk, prefersTheLongerWhereAPieceEnds) {
  const auto candidateList = rawCandidates({"ab", "abcdefgh", "abcd"});
  const std::int64_t piece = searchedPieceBytes(candidateList);
  for (std::int64_t begin = piece - 9; begin <= piece + 1; ++begin) {
    SearchBytes bytes(static_cast<std::size_t>(piece + 30), '.');
    put(bytes, begin, "abcdefghab");
    ASSERT_THAT(hitsOf(bytes, candidateList),
                testing::ElementsAre(Hit{begin, 1, 8}, Hit{begin + 8, 0, 2}))
        << begin - piece;
  }
}

TEST(OccurrenceWalk, findsCandidatesLongerThanTheUsualPiece) {
  const std::int64_t piece = searchedPieceBytes(rawCandidates({"n"}));
  SearchBytes needle(static_cast<std::size_t>(piece + 10), 'n');
  SearchBytes bytes(static_cast<std::size_t>(piece + 5), '.');
  bytes.insert(bytes.end(), needle.begin(), needle.end());
  const std::vector<SearchCandidate> candidateList{{needle, SearchCandidateKind::Raw()}};
  EXPECT_THAT(hitsOf(bytes, candidateList), testing::ElementsAre(Hit{piece + 5, 0, piece + 10}));
}

TEST(OccurrenceWalk, findsManyOfOneAmongFewOfAnother) {
  SearchBytes bytes(10'000, '.');
  std::vector<Hit> expected;
  for (std::int64_t offset = 1; offset < 9'990; offset += 3) {
    const bool isLong = offset % 100 == 1;
    put(bytes, offset, isLong ? "abab" : "a");
    expected.push_back(isLong ? Hit{offset, 1, 4} : Hit{offset, 0, 1});
    if (isLong) offset += 3;
  }
  EXPECT_EQ(hitsOf(bytes, rawCandidates({"a", "abab"})), expected);
  EXPECT_EQ(hitsOf(bytes, rawCandidates({"a"})).size(),
            static_cast<std::size_t>(std::ranges::count(bytes, 'a')));
}

TEST(OccurrenceWalk, findsOccurrencesThatFollowUponEachOther) {
  const SearchBytes bytes(1000, 'a');
  const auto hits = hitsOf(bytes, rawCandidates({"aaa", "a", "aa", "aaa"}));
  ASSERT_EQ(hits.size(), 334U);
  for (std::int64_t i = 0; i < 333; ++i) {
    EXPECT_EQ(hits[static_cast<std::size_t>(i)], (Hit{3 * i, 0, 3}));
  }
  EXPECT_EQ(hits.back(), (Hit{999, 1, 1}));
  EXPECT_EQ(hitsOf(bytes, rawCandidates({"aaa"})).size(), 333U);
}

TEST(OccurrenceWalk, countsOccurrencesThatOverlapFromTheEndOfTheOneBefore) {
  // The first "aba" ends in the middle of what "aba" would be next.
  EXPECT_THAT(hitsOf(searchBytes("abababa"), rawCandidates({"aba"})),
              testing::ElementsAre(Hit{0, 0, 3}, Hit{4, 0, 3}));
  EXPECT_THAT(hitsOf(searchBytes("xabababa"), rawCandidates({"aba", "xab"})),
              testing::ElementsAre(Hit{0, 1, 3}, Hit{3, 0, 3}));
}

TEST(OccurrenceWalk, tellsOfTheWholeWay) {
  const SearchBytes bytes(static_cast<std::size_t>(3 * kMiB), '.');
  TaskProgress progress;
  progress.setTotal(3 * kMiB);
  EXPECT_TRUE(hitsOf(bytes, rawCandidates({"a", "bcd"})).empty());
  const auto two = rawCandidates({"a", "bcd"});
  EXPECT_EQ(OccurrenceWalk(bytes, two, false).next(progress), std::nullopt);
  EXPECT_EQ(progress.fraction(), 1.0);

  TaskProgress half;
  half.setTotal(2 * kMiB);
  const auto one = rawCandidates({"a"});
  EXPECT_EQ(OccurrenceWalk(bytes, one, false, 2 * kMiB).next(half), std::nullopt);
  EXPECT_EQ(half.fraction(), 0.5);
}

TEST(OccurrenceWalk, stopsWithinAMegabyteOfFrequentOccurrences) {
  const SearchBytes bytes(static_cast<std::size_t>(3 * kMiB), 'a');
  TaskProgress progress;
  const auto candidateList = rawCandidates({"a", "aa", "b"});
  OccurrenceWalk walk(bytes, candidateList, false);
  std::int64_t position = 0;
  for (int i = 0; i < 10; ++i) position = walk.next(progress)->end();
  progress.requestStop();
  const auto goOn = [&] {
    while (const auto hit = walk.next(progress)) position = hit->end();
  };
  EXPECT_THAT(goOn, testing::Throws<Error>(testing::Property(&Error::isStopped, true)));
  EXPECT_LT(position, kMiB + 100);
}

TEST(OccurrenceWalk, stopsWithinAMegabyteOfNothingFound) {
  const SearchBytes bytes(static_cast<std::size_t>(8 * kMiB), '.');
  TaskProgress progress;
  progress.setTotal(8 * kMiB);
  progress.requestStop();
  const auto several = rawCandidates({"a", "b", "cd", "e"});
  OccurrenceWalk walk(bytes, several, false);
  EXPECT_THAT([&] { walk.next(progress); },
              testing::Throws<Error>(testing::Property(&Error::isStopped, true)));
  EXPECT_LE(progress.fraction(), 1.0 / 8);
  const auto one = rawCandidates({"abc"});
  OccurrenceWalk single(bytes, one, false);
  EXPECT_THROW(single.next(progress), Error);
  EXPECT_LE(progress.fraction(), 5.0 / 8);
}

TEST(OccurrenceWalk, stopsInAPieceHoweverLongTheCandidateIs) {
  const std::vector<SearchCandidate> candidateList{
      {SearchBytes(static_cast<std::size_t>(3 * kMiB), 'a'), SearchCandidateKind::Raw()}};
  SearchBytes bytes(static_cast<std::size_t>(12 * kMiB), 'a');
  for (std::int64_t at = kMiB; at < std::ssize(bytes); at += kMiB) put(bytes, at, "b");
  TaskProgress progress;
  progress.setTotal(12 * kMiB);
  progress.requestStop();
  OccurrenceWalk walk(bytes, candidateList, false);
  EXPECT_THROW(walk.next(progress), Error);
  EXPECT_EQ(progress.fraction(), 0);
}

TEST(OccurrenceWalk, findsWhatOverlapsItselfManyAtATime) {
  // Each "xa" takes away what the first "aaa" of its run would be.
  SearchBytes bytes;
  std::vector<Hit> expected;
  for (std::int64_t i = 0; i < 1000; ++i) {
    const SearchBytes run = searchBytes("xaaaaaa.");
    bytes.insert(bytes.end(), run.begin(), run.end());
    expected.push_back({8 * i, 0, 2});
    expected.push_back({8 * i + 2, 1, 3});
  }
  EXPECT_EQ(hitsOf(bytes, rawCandidates({"xa", "aaa"})), expected);
}

TEST(OccurrenceWalk, goesOnAfterAStopAsIfItHadNotBeen) {
  SearchBytes bytes(static_cast<std::size_t>(4 * kMiB), '.');
  put(bytes, 4 * kMiB - 7, "abc");
  const auto candidateList = rawCandidates({"abc", "q"});
  OccurrenceWalk walk(bytes, candidateList, false);
  TaskProgress stopped;
  stopped.requestStop();
  EXPECT_THROW(walk.next(stopped), Error);
  TaskProgress progress;
  EXPECT_EQ(walk.next(progress), (Hit{4 * kMiB - 7, 0, 3}));
}

}  // namespace
}  // namespace quillmor
