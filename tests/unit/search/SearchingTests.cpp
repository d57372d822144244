#include "search/Searching.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "base/ByteUnits.h"
#include "base/SaturatingMath.h"
#include "search/SearchCandidates.h"
#include "support/ErrorMatchers.h"
#include "support/SearchFixture.h"
#include "support/Stopping.h"

namespace quillmor {
namespace {

using test::exactRequest;
using test::foldingRequest;
using test::rawCandidates;
using test::SearchBytes;
using test::searchBytes;
using Hit = OccurrenceWalk::Hit;
using Hits = std::vector<Hit>;

std::optional<SearchPlan> planned(SearchDirection direction, bool advance, SearchOrigin origin) {
  return searchPlan(direction, advance, origin);
}

TEST(SearchPlans, startAtTheCaretWhenNotAdvancing) {
  for (const auto direction : {SearchDirection::all, SearchDirection::forward}) {
    EXPECT_EQ(planned(direction, false, {5, {2, 3}, 10}), (SearchPlan{5, true}));
    EXPECT_EQ(planned(direction, false, {-1, {}, 10}), (SearchPlan{0, true}));
  }
  EXPECT_EQ(planned(SearchDirection::backward, false, {5, {2, 3}, 10}), (SearchPlan{5, false}));
  EXPECT_EQ(planned(SearchDirection::backward, false, {0, {}, 10}), (SearchPlan{0, false}));
  EXPECT_EQ(planned(SearchDirection::backward, false, {-3, {}, 10}), (SearchPlan{0, false}));
}

TEST(SearchPlans, startBehindSelectionOrCaretWhenAdvancingForward) {
  for (const auto direction : {SearchDirection::all, SearchDirection::forward}) {
    EXPECT_EQ(planned(direction, true, {5, {5, 0}, 10}), (SearchPlan{6, true}));
    EXPECT_EQ(planned(direction, true, {9, {9, 0}, 10}), (SearchPlan{10, true}));
    EXPECT_EQ(planned(direction, true, {10, {10, 0}, 10}), (SearchPlan{10, true}));
    EXPECT_EQ(planned(direction, true, {kMaxInt64, {}, 10}), (SearchPlan{10, true}));
    EXPECT_EQ(planned(direction, true, {5, {2, 3}, 10}), (SearchPlan{5, true}));
    EXPECT_EQ(planned(direction, true, {2, {2, 8}, 10}), (SearchPlan{10, true}));
    EXPECT_EQ(planned(direction, true, {2, {2, kMaxInt64}, 10}), (SearchPlan{10, true}));
  }
}

TEST(SearchPlans, startBeforeSelectionOrCaretWhenAdvancingBackward) {
  const auto backward = SearchDirection::backward;
  EXPECT_EQ(planned(backward, true, {5, {5, 0}, 10}), (SearchPlan{4, false}));
  EXPECT_EQ(planned(backward, true, {5, {2, 3}, 10}), (SearchPlan{1, false}));
  EXPECT_EQ(planned(backward, true, {5, {1, 3}, 10}), (SearchPlan{0, false}));
  EXPECT_EQ(planned(backward, true, {5, {0, 3}, 10}), std::nullopt);
  EXPECT_EQ(planned(backward, true, {0, {0, 0}, 10}), std::nullopt);
  EXPECT_EQ(planned(backward, true, {-4, {}, 10}), std::nullopt);
  EXPECT_EQ(planned(backward, true, {1, {1, 0}, 10}), (SearchPlan{0, false}));
}

/// Offset and candidate of the next match.
std::optional<std::pair<std::int64_t, SearchBytes>> found(
    std::string_view text, std::initializer_list<std::string_view> candidateTexts, SearchPlan plan,
    const SearchRequest& request = exactRequest()) {
  TaskProgress progress;
  const auto match =
      nextMatch(searchBytes(text), request, rawCandidates(candidateTexts), plan, progress);
  if (!match) return std::nullopt;
  return std::pair(match->offset, match->candidate.bytes);
}

auto at(std::int64_t offset, std::string_view candidate) {
  return testing::Optional(testing::Pair(offset, searchBytes(candidate)));
}

TEST(NextMatch, takesTheNearestInItsDirection) {
  EXPECT_THAT(found("..b.a.b", {"a", "b"}, {0, true}), at(2, "b"));
  EXPECT_THAT(found("..b.a.b", {"a", "b"}, {3, true}), at(4, "a"));
  EXPECT_THAT(found("..b.a.b", {"a", "b"}, {6, true}), at(6, "b"));
  EXPECT_THAT(found("..b.a.b", {"a", "b"}, {5, false}), at(4, "a"));
  EXPECT_THAT(found("..b.a.b", {"a", "b"}, {3, false}), at(2, "b"));
}

TEST(NextMatch, doesNotWrapAround) {
  EXPECT_EQ(found("ab......", {"ab"}, {1, true}), std::nullopt);
  EXPECT_EQ(found("ab......", {"ab"}, {8, true}), std::nullopt);
  EXPECT_EQ(found("......ab", {"ab"}, {5, false}), std::nullopt);
}

TEST(NextMatch, takesPositionsOfFirstBytesOnly) {
  EXPECT_THAT(found("aaa", {"aa"}, {1, true}), at(1, "aa"));
  EXPECT_THAT(found("aaa", {"aa"}, {1, false}), at(1, "aa"));
  EXPECT_THAT(found("..abcd..", {"abcd"}, {2, false}), at(2, "abcd"));
  EXPECT_EQ(found("..abcd..", {"abcd"}, {1, false}), std::nullopt);
}

TEST(NextMatch, takesAnyStart) {
  EXPECT_THAT(found("ab..ab", {"ab"}, {-5, true}), at(0, "ab"));
  EXPECT_EQ(found("ab..ab", {"ab"}, {kMaxInt64, true}), std::nullopt);
  EXPECT_THAT(found("ab..ab", {"ab"}, {kMaxInt64, false}), at(4, "ab"));
  EXPECT_THAT(found("ab..ab", {"ab"}, {-5, false}), at(0, "ab"));
  EXPECT_EQ(found("", {"ab"}, {0, true}), std::nullopt);
  EXPECT_EQ(found("", {"ab"}, {0, false}), std::nullopt);
  EXPECT_EQ(found("a", {"ab", "cde"}, {0, false}), std::nullopt);
  EXPECT_EQ(found("abc", {}, {0, true}), std::nullopt);
  EXPECT_EQ(found("abc", {}, {0, false}), std::nullopt);
}

TEST(NextMatch, prefersTheLongerThenTheFirstOfThoseThatBeginTogether) {
  for (const bool forward : {true, false}) {
    EXPECT_THAT(found("..abcd..", {"ab", "abcd", "abc"}, {forward ? 0 : 7, forward}),
                at(2, "abcd"));
    EXPECT_THAT(found("..ab..", {"aB", "Ab", "x"}, {forward ? 0 : 5, forward}, foldingRequest()),
                at(2, "aB"));
  }
}

TEST(NextMatch, foldsOnlyTextThatIsNotCaseSensitive) {
  EXPECT_THAT(found("..ABC", {"abc"}, {0, true}, foldingRequest()), at(2, "abc"));
  EXPECT_THAT(found("..ABC", {"abc"}, {4, false}, foldingRequest()), at(2, "abc"));
  SearchRequest sensitive = foldingRequest();
  sensitive.caseSensitive = true;
  EXPECT_EQ(found("..ABC", {"abc"}, {0, true}, sensitive), std::nullopt);
  EXPECT_EQ(found("..ABC", {"abc"}, {0, true}, exactRequest()), std::nullopt);
  EXPECT_THAT(found(std::string_view("A\0b\0", 4), {std::string_view("a\0B\0", 4)}, {0, true},
                    foldingRequest()),
              at(0, std::string_view("a\0B\0", 4)));
}

TEST(NextMatch, hasTheDocumentsOwnBytesWhereCaseWasIgnored) {
  TaskProgress progress;
  const SearchBytes bytes = searchBytes("..aBc");
  const auto candidateList = rawCandidates({"abc"});
  const auto match = nextMatch(bytes, foldingRequest(), candidateList, {0, true}, progress);
  ASSERT_TRUE(match);
  EXPECT_EQ(*match, (SearchMatch{2, searchBytes("aBc"), candidateList[0]}));
}

TEST(NextMatch, findsAcrossPiecesInBothDirections) {
  const std::int64_t piece = searchedPieceBytes(rawCandidates({"xy", "abc", "q"}));
  SearchBytes bytes(static_cast<std::size_t>(4 * piece), '.');
  for (const std::int64_t offset : {std::int64_t{0}, piece - 2, piece - 1, piece, 2 * piece}) {
    const auto place = bytes.begin() + offset;
    std::ranges::copy(searchBytes("abc"), place);
    for (const SearchPlan plan : {SearchPlan{0, true}, SearchPlan{4 * piece, false}}) {
      TaskProgress progress;
      const auto match =
          nextMatch(bytes, exactRequest(), rawCandidates({"xy", "abc", "q"}), plan, progress);
      ASSERT_TRUE(match);
      EXPECT_EQ(match->offset, offset);
    }
    std::fill_n(place, 3, '.');
  }
}

TEST(NextMatch, tellsOfTheWayBehindIt) {
  const SearchBytes bytes(static_cast<std::size_t>(3 * kMiB), '.');
  for (const SearchPlan plan : {SearchPlan{kMiB, true}, SearchPlan{2 * kMiB, false}}) {
    TaskProgress progress;
    EXPECT_EQ(nextMatch(bytes, exactRequest(), rawCandidates({"a"}), plan, progress), std::nullopt);
    EXPECT_EQ(progress.fraction(), 1.0);
  }
}

TEST(NextMatch, stopsWhenAsked) {
  const SearchBytes bytes = searchBytes("..ab");
  TaskProgress progress;
  progress.requestStop();
  for (const bool forward : {true, false}) {
    EXPECT_THAT(
        [&] {
          nextMatch(bytes, exactRequest(), rawCandidates({"ab"}), {3, forward}, progress);
        },
        testing::Throws<Error>(testing::Property(&Error::isStopped, true)));
  }
}

SearchAllSummary counted(std::string_view text,
                         std::initializer_list<std::string_view> candidateTexts,
                         const SearchRequest& request = exactRequest()) {
  TaskProgress progress;
  return searchAllSummary(searchBytes(text), request, rawCandidates(candidateTexts), progress);
}

TEST(SearchAllSummaries, countOccurrencesThatDoNotOverlap) {
  EXPECT_EQ(counted("AAAA", {"AA"}).count, 2);
  EXPECT_EQ(counted("AAAAA", {"AA"}).count, 2);
  EXPECT_EQ(counted("", {"AA"}).count, 0);
  EXPECT_EQ(counted("A", {"AA"}).count, 0);
  EXPECT_EQ(counted("abc", {}).count, 0);
}

TEST(SearchAllSummaries, countTheLongerOfThoseThatBeginTogetherAndGoOnBehindIt) {
  // Behind the four bytes only "b" is left, though "cd" lies within them.
  const auto summary = counted("abcdb", {"ab", "abcd", "cd", "b"});
  EXPECT_EQ(summary.count, 2);
  EXPECT_EQ(summary.firstMatch->candidate.bytes, searchBytes("abcd"));
}

TEST(SearchAllSummaries, rememberTheFirstMatch) {
  const auto folded = counted("..Ab.aB", {"ab"}, foldingRequest());
  EXPECT_EQ(folded.count, 2);
  EXPECT_EQ(folded.firstMatch, (SearchMatch{2, searchBytes("Ab"), rawCandidates({"ab"}).front()}));
  EXPECT_EQ(counted("....", {"ab"}).firstMatch, std::nullopt);
}

TEST(SearchAllSummaries, tellOfTheWholeWayAndStopWhenAsked) {
  const SearchBytes bytes(static_cast<std::size_t>(2 * kMiB), 'a');
  TaskProgress progress;
  EXPECT_EQ(searchAllSummary(bytes, exactRequest(), rawCandidates({"aa", "b"}), progress).count,
            kMiB);
  EXPECT_EQ(progress.fraction(), 1.0);
  progress.requestStop();
  EXPECT_THAT([&] { searchAllSummary(bytes, exactRequest(), rawCandidates({"aa"}), progress); },
              testing::Throws<Error>(testing::Property(&Error::isStopped, true)));
}

std::optional<SearchMatch> selected(std::string_view text, HexSelection selection,
                                    std::initializer_list<std::string_view> candidateTexts,
                                    const SearchRequest& request = exactRequest()) {
  return selectionMatch(searchBytes(text), selection, request, rawCandidates(candidateTexts));
}

TEST(SelectionMatch, needsTheWholeSelectionToBeACandidate) {
  EXPECT_EQ(selected("..ab..", {2, 2}, {"x", "ab"}),
            (SearchMatch{2, searchBytes("ab"), rawCandidates({"ab"}).front()}));
  EXPECT_EQ(selected("..ab..", {2, 1}, {"ab"}), std::nullopt);
  EXPECT_EQ(selected("..ab..", {2, 3}, {"ab"}), std::nullopt);
  EXPECT_EQ(selected("..ab..", {1, 2}, {"ab"}), std::nullopt);
  EXPECT_EQ(selected("..ab..", {2, 0}, {"ab"}), std::nullopt);
  EXPECT_EQ(selected("..ab", {2, 2}, {"ab"})->offset, 2);
  EXPECT_EQ(selected("..ab", {3, 2}, {"b."}), std::nullopt);
  EXPECT_EQ(selected("", {0, 0}, {"a"}), std::nullopt);
  EXPECT_EQ(selected("ab", {0, 2}, {}), std::nullopt);
}

TEST(SelectionMatch, takesTheFirstCandidateAndTheSelectedBytesWhereCaseIsIgnored) {
  const auto match = selected("..Ab", {2, 2}, {"aB", "ab"}, foldingRequest());
  EXPECT_EQ(match, (SearchMatch{2, searchBytes("Ab"), rawCandidates({"aB"}).front()}));
  EXPECT_EQ(selected("..Ab", {2, 2}, {"aB", "ab"}), std::nullopt);
}

/// Counts what a whole request stands for.
SearchAllSummary countedRequest(const SearchRequest& request, const SearchBytes& bytes) {
  TaskProgress progress;
  return searchAllSummary(bytes, request, candidates(request), progress);
}

TEST(SearchRequests, countHexadecimalBytes) {
  const SearchRequest request{.mode = SearchMode::hexValues, .searchText = "41 41"};
  EXPECT_EQ(countedRequest(request, {0x41, 0x41, 0x41, 0x41}).count, 2);
}

TEST(SearchRequests, countTheWidestFormOfANumberAtEachPlace) {
  const SearchRequest request{.mode = SearchMode::integerNumber, .searchText = "1"};
  // Little-endian: four bytes, then two, which also begin the four.
  const auto summary = countedRequest(request, {9, 1, 0, 0, 0, 1, 0, 9});
  EXPECT_EQ(summary.count, 2);
  EXPECT_EQ(summary.firstMatch->bytes, (SearchBytes{1, 0, 0, 0}));
  EXPECT_EQ(summary.firstMatch->offset, 1);
}

TEST(SearchRequests, ignoreCaseInTextOnly) {
  const SearchRequest text{.mode = SearchMode::textString, .searchText = "aB"};
  const SearchBytes bytes{'A', 'b', 'a', 'B', 'a', 'b'};
  EXPECT_EQ(countedRequest(text, bytes).count, 3);
  EXPECT_EQ(countedRequest(text, bytes).firstMatch->bytes, (SearchBytes{'A', 'b'}));
  SearchRequest sensitive = text;
  sensitive.caseSensitive = true;
  EXPECT_EQ(countedRequest(sensitive, bytes).count, 1);
  const SearchRequest hex{.mode = SearchMode::hexValues, .searchText = "61 42"};
  EXPECT_EQ(countedRequest(hex, bytes).count, 1);
  EXPECT_EQ(countedRequest({}, bytes).count, 0);
}

TEST(SearchingModel, agreesWithComparingEverywhere) {
  constexpr unsigned kSeed = 3141592;
  constexpr int kRounds = 50000;  // of ten searches each
  SCOPED_TRACE(kSeed);
  RecordProperty("seed", static_cast<int>(kSeed));
  test::RandomRequests random(kSeed);
  for (int round = 0; round < kRounds; ++round) {
    random.choose();
    const SearchBytes& bytes = random.bytes;
    const auto size = static_cast<std::int64_t>(bytes.size());
    const auto expectMatch = [&](const std::optional<SearchMatch>& match,
                                 const std::optional<OccurrenceWalk::Hit>& hit) {
      ASSERT_EQ(match.has_value(), hit.has_value()) << "round " << round;
      if (!match) return;
      ASSERT_EQ(match->offset, hit->offset) << "round " << round;
      ASSERT_EQ(match->candidate, random.candidateList[hit->candidate]) << "round " << round;
      const auto own = std::span(bytes).subspan(static_cast<std::size_t>(hit->offset),
                                                static_cast<std::size_t>(hit->length));
      ASSERT_TRUE(std::ranges::equal(match->bytes, own)) << "round " << round;
    };
    TaskProgress progress;
    for (int search = 0; search < 4; ++search) {
      const std::int64_t start = random.upTo(size + 2) - 1;
      expectMatch(nextMatch(bytes, random.request, random.candidateList, {start, true}, progress),
                  test::naive::firstFrom(bytes, random.request, random.candidateList, start));
      expectMatch(nextMatch(bytes, random.request, random.candidateList, {start, false}, progress),
                  test::naive::lastFrom(bytes, random.request, random.candidateList, start));
    }
    const auto hits = test::naive::allHits(bytes, random.request, random.candidateList);
    const auto summary = searchAllSummary(bytes, random.request, random.candidateList, progress);
    ASSERT_EQ(summary.count, std::ssize(hits)) << "round " << round;
    expectMatch(summary.firstMatch, hits.empty() ? std::nullopt : std::optional(hits.front()));
    const HexSelection selection = HexSelection{random.upTo(size), random.upTo(4)}.normalized(size);
    std::optional<OccurrenceWalk::Hit> inSelection;
    for (std::size_t i = random.candidateList.size(); i-- > 0;) {
      const auto& candidate = random.candidateList[i];
      if (std::ssize(candidate.bytes) == selection.length &&
          test::naive::occursAt(bytes, random.request, candidate, selection.start)) {
        inSelection = {selection.start, i, selection.length};
      }
    }
    expectMatch(selectionMatch(bytes, selection, random.request, random.candidateList),
                inSelection);
  }
}

// --- every occurrence
// ------------------------------------------------------------------------------

Hits occurrences(std::string_view text, std::initializer_list<std::string_view> candidateTexts,
                 const SearchRequest& request = exactRequest()) {
  Hits hits;
  TaskProgress progress;
  forEachOccurrence(searchBytes(text), request, rawCandidates(candidateTexts), progress,
                    [&](const Hit& hit) { hits.push_back(hit); });
  return hits;
}

TEST(Occurrences, doNotOverlap) {
  EXPECT_EQ(occurrences("AAAA", {"AA"}), (Hits{{0, 0, 2}, {2, 0, 2}}));
  EXPECT_EQ(occurrences("AAAAA", {"AA"}), (Hits{{0, 0, 2}, {2, 0, 2}}));
  EXPECT_EQ(occurrences("abcdb", {"ab", "abcd", "cd", "b"}), (Hits{{0, 1, 4}, {4, 3, 1}}));
}

TEST(Occurrences, areNoneWhereThereIsNothing) {
  EXPECT_EQ(occurrences("", {"AA"}), Hits{});
  EXPECT_EQ(occurrences("A", {"AA"}), Hits{});
  EXPECT_EQ(occurrences("ABAB", {"AA"}), Hits{});
  EXPECT_EQ(occurrences("abc", {}), Hits{});
}

TEST(Occurrences, lieAtBothEnds) {
  EXPECT_EQ(occurrences("ab.ab", {"ab"}), (Hits{{0, 0, 2}, {3, 0, 2}}));
  EXPECT_EQ(occurrences("ab", {"ab"}), (Hits{{0, 0, 2}}));
}

TEST(Occurrences, followTheCaseOfTheRequest) {
  EXPECT_EQ(occurrences("abAB", {"ab"}), (Hits{{0, 0, 2}}));
  EXPECT_EQ(occurrences("abAB", {"ab"}, foldingRequest()), (Hits{{0, 0, 2}, {2, 0, 2}}));
}

TEST(Occurrences, areAllThatThePlainWayFinds) {
  for (unsigned seed = 1; seed <= 300; ++seed) {
    test::RandomRequests random(seed);
    random.choose();
    Hits hits;
    TaskProgress progress;
    forEachOccurrence(random.bytes, random.request, random.candidateList, progress,
                      [&](const Hit& hit) { hits.push_back(hit); });
    EXPECT_EQ(hits, test::naive::allHits(random.bytes, random.request, random.candidateList))
        << "seed " << seed;
  }
}

TEST(Occurrences, tellOfTheWholeWay) {
  const SearchBytes bytes(static_cast<std::size_t>(2 * kMiB), 'a');
  TaskProgress progress;
  std::int64_t count = 0;
  double halfway = -1;
  forEachOccurrence(bytes, exactRequest(), rawCandidates({"aa"}), progress, [&](const Hit& hit) {
    if (hit.offset == kMiB) halfway = progress.fraction();
    ++count;
  });
  EXPECT_EQ(count, kMiB);
  EXPECT_GT(halfway, 0.1);
  EXPECT_LT(halfway, 0.9);
  EXPECT_EQ(progress.fraction(), 1.0);
}

TEST(Occurrences, stopWhenAsked) {
  const SearchBytes bytes(static_cast<std::size_t>(2 * kMiB), 'a');
  TaskProgress asked;
  asked.requestStop();
  const auto never = [](const Hit&) { ADD_FAILURE() << "an occurrence"; };
  EXPECT_THAT(
      [&] { forEachOccurrence(bytes, exactRequest(), rawCandidates({"aa"}), asked, never); },
      test::isStopped());
  TaskProgress progress;
  std::int64_t last = 0;
  const auto stopAtFirst = [&](const Hit& hit) {
    progress.requestStop();
    last = hit.offset;
  };
  EXPECT_THAT(
      [&] {
        forEachOccurrence(bytes, exactRequest(), rawCandidates({"aa"}), progress, stopAtFirst);
      },
      test::isStopped());
  EXPECT_LT(last, kMiB);
}

TEST(Occurrences, passOnWhatIsThrown) {
  TaskProgress progress;
  EXPECT_THROW(forEachOccurrence(searchBytes("aa"), exactRequest(), rawCandidates({"a"}), progress,
                                 [](const Hit& hit) { throw hit; }),
               Hit);
}

}  // namespace
}  // namespace quillmor
