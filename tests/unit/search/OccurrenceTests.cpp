// Every occurrence, see Searching.h.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/ByteUnits.h"
#include "search/SearchCandidates.h"
#include "support/SearchFixture.h"
#include "support/Stopping.h"

namespace quillmor::test {
namespace {

using Hit = OccurrenceWalk::Hit;
using Hits = std::vector<Hit>;

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
    RandomRequests random(seed);
    random.choose();
    Hits hits;
    TaskProgress progress;
    forEachOccurrence(random.bytes, random.request, random.candidateList, progress,
                      [&](const Hit& hit) { hits.push_back(hit); });
    EXPECT_EQ(hits, naive::allHits(random.bytes, random.request, random.candidateList))
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
      isStopped());
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
      isStopped());
  EXPECT_LT(last, kMiB);
}

TEST(Occurrences, passOnWhatIsThrown) {
  TaskProgress progress;
  EXPECT_THROW(forEachOccurrence(searchBytes("aa"), exactRequest(), rawCandidates({"a"}), progress,
                                 [](const Hit& hit) { throw hit; }),
               Hit);
}

}  // namespace
}  // namespace quillmor::test
