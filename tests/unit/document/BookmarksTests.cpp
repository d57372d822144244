#include "document/Bookmarks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "base/SaturatingMath.h"

namespace quillmor {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Offsets = std::vector<std::int64_t>;

Bookmarks bookmarksAt(Offsets offsets) {
  Bookmarks bookmarks;
  bookmarks.replaceAll(std::move(offsets));
  return bookmarks;
}

Offsets adjusted(Offsets offsets, std::int64_t start, std::int64_t removed, std::int64_t inserted) {
  adjustBookmarksForEdit(offsets, start, removed, inserted);
  return offsets;
}

TEST(Bookmarks, keepsOffsetsInOrder) {
  Bookmarks bookmarks;
  for (const std::int64_t offset : {30, 10, 20, 0}) {
    EXPECT_EQ(bookmarks.add(offset), Bookmarks::AddResult::added);
  }
  EXPECT_THAT(bookmarks.offsets(), ElementsAre(0, 10, 20, 30));
  EXPECT_EQ(bookmarks.add(20), Bookmarks::AddResult::alreadyPresent);
  EXPECT_THAT(bookmarks.offsets(), ElementsAre(0, 10, 20, 30));
  bookmarks.clear();
  EXPECT_THAT(bookmarks.offsets(), IsEmpty());
}

TEST(Bookmarks, refusesTheEntryAfterTheHundredThousandth) {
  EXPECT_EQ(Bookmarks::maxBookmarkEntries, 100000U);
  Offsets many(Bookmarks::maxBookmarkEntries - 1);
  for (std::size_t i = 0; i < many.size(); ++i) many[i] = static_cast<std::int64_t>(2 * i);
  Bookmarks bookmarks = bookmarksAt(many);
  EXPECT_EQ(bookmarks.add(1), Bookmarks::AddResult::added);
  EXPECT_EQ(bookmarks.add(3), Bookmarks::AddResult::limitReached);
  EXPECT_EQ(bookmarks.offsets().size(), 100000U);
  // A present offset is reported as present even in a full list.
  EXPECT_EQ(bookmarks.add(4), Bookmarks::AddResult::alreadyPresent);
}

TEST(Bookmarks, wrapsAroundToTheNext) {
  const Bookmarks bookmarks = bookmarksAt({5, 10, 20});
  EXPECT_EQ(bookmarks.next(0), 5);
  EXPECT_EQ(bookmarks.next(5), 10);
  EXPECT_EQ(bookmarks.next(11), 20);
  EXPECT_EQ(bookmarks.next(20), 5);
  EXPECT_EQ(bookmarks.next(99), 5);
  EXPECT_EQ(Bookmarks().next(0), std::nullopt);
  EXPECT_EQ(bookmarksAt({7}).next(7), 7);
}

TEST(Bookmarks, wrapsAroundToThePrevious) {
  const Bookmarks bookmarks = bookmarksAt({5, 10, 20});
  EXPECT_EQ(bookmarks.previous(99), 20);
  EXPECT_EQ(bookmarks.previous(20), 10);
  EXPECT_EQ(bookmarks.previous(11), 10);
  EXPECT_EQ(bookmarks.previous(5), 20);
  EXPECT_EQ(bookmarks.previous(0), 20);
  EXPECT_EQ(Bookmarks().previous(0), std::nullopt);
  EXPECT_EQ(bookmarksAt({7}).previous(7), 7);
}

TEST(Bookmarks, dropsWhatLiesOutsideOfTheData) {
  Bookmarks bookmarks = bookmarksAt({-1, 0, 5, 8, 9});
  bookmarks.keepWithin(8);
  EXPECT_THAT(bookmarks.offsets(), ElementsAre(0, 5, 8));
}

TEST(Bookmarks, cropKeepsWhatLiesOnTheRange) {
  Bookmarks bookmarks = bookmarksAt({0, 1, 2, 4, 5, 6, 9, 10});
  bookmarks.crop({2, 4}, 10);
  EXPECT_THAT(bookmarks.offsets(), ElementsAre(0, 2, 3));
}

TEST(Bookmarks, cropKeepsTheEndOfTheDataOnlyWhenTheRangeReachesIt) {
  Bookmarks reaching = bookmarksAt({3, 6, 9, 10});
  reaching.crop({6, 4}, 10);
  EXPECT_THAT(reaching.offsets(), ElementsAre(0, 3, 4));
  Bookmarks oneByteShort = bookmarksAt({3, 6, 9, 10});
  oneByteShort.crop({6, 3}, 10);
  EXPECT_THAT(oneByteShort.offsets(), ElementsAre(0));
}

TEST(Bookmarks, cropToEverythingKeepsAll) {
  Bookmarks bookmarks = bookmarksAt({0, 5, 9, 10});
  bookmarks.crop({0, 10}, 10);
  EXPECT_THAT(bookmarks.offsets(), ElementsAre(0, 5, 9, 10));
}

TEST(Bookmarks, cropDropsWhatIsBeyondTheData) {
  Bookmarks bookmarks = bookmarksAt({-1, 4, 11});
  bookmarks.crop({0, 10}, 10);
  EXPECT_THAT(bookmarks.offsets(), ElementsAre(4));
  Bookmarks none;
  none.crop({2, 4}, 10);
  EXPECT_THAT(none.offsets(), IsEmpty());
}

TEST(Bookmarks, sortsAReplacementAndDropsRepetitions) {
  EXPECT_THAT(bookmarksAt({3, 1, 3, 2}).offsets(), ElementsAre(1, 2, 3));
  Offsets tooMany(Bookmarks::maxBookmarkEntries + 5);
  for (std::size_t i = 0; i < tooMany.size(); ++i) tooMany[i] = static_cast<std::int64_t>(i);
  EXPECT_EQ(bookmarksAt(tooMany).offsets().size(), Bookmarks::maxBookmarkEntries);
  EXPECT_EQ(bookmarksAt(tooMany).offsets().back(), 99999);
}

TEST(Bookmarks, staysStrictlyIncreasingWhenMarksFallTogether) {
  Bookmarks before = bookmarksAt({5, 6, 7, 20});
  before.adjustForEdit(-5, 10, -1);
  EXPECT_THAT(before.offsets(), ElementsAre(0, 10));
  Bookmarks high = bookmarksAt({1, kMaxInt64 - 2, kMaxInt64 - 1});
  high.adjustForEdit(0, 0, 5);
  EXPECT_THAT(high.offsets(), ElementsAre(6, kMaxInt64));
}

TEST(BookmarkAdjustment, anOverwriteKeepsAllMarks) {
  EXPECT_THAT(adjusted({8}, 8, 4, 4), ElementsAre(8));
  EXPECT_THAT(adjusted({8, 9, 11}, 8, 4, 4), ElementsAre(8, 9, 11));
}

TEST(BookmarkAdjustment, aDeletionTakesItsMarksAndPullsTheOthers) {
  EXPECT_THAT(adjusted({5, 10, 15, 20, 30}, 10, 10, 0), ElementsAre(5, 10, 20));
  EXPECT_THAT(adjusted({5, 10, 15, 20, 30}, 10, 10, -1), ElementsAre(5, 10, 20));
}

TEST(BookmarkAdjustment, anInsertionMovesTheMarkAtItsPlaceBehindIt) {
  EXPECT_THAT(adjusted({8}, 8, 0, 3), ElementsAre(11));
  EXPECT_THAT(adjusted({8}, 8, -1, 3), ElementsAre(11));
  EXPECT_THAT(adjusted({7}, 8, 0, 3), ElementsAre(7));
}

TEST(BookmarkAdjustment, aReplacementDropsItsMarksAndShiftsByTheDifference) {
  EXPECT_THAT(adjusted({9, 10, 11, 12, 13}, 10, 2, 5), ElementsAre(9, 15, 16));
  EXPECT_THAT(adjusted({9, 10, 13, 14}, 10, 4, 1), ElementsAre(9, 11));
}

TEST(BookmarkAdjustment, nothingRemovedAndNothingInsertedChangesNothing) {
  const Offsets marks{0, 5, 9};
  EXPECT_EQ(adjusted(marks, 0, -1, 0), marks);
  EXPECT_EQ(adjusted(marks, 0, -1, -1), marks);
  EXPECT_EQ(adjusted(marks, 0, 0, -1), marks);
  EXPECT_EQ(adjusted(marks, 0, 0, 0), marks);
  EXPECT_EQ(adjusted({}, 0, 3, 9), Offsets());
  EXPECT_EQ(adjusted(marks, 10, 3, 9), marks);
}

TEST(BookmarkAdjustment, aStartBeforeTheDataCountsAsZero) {
  EXPECT_THAT(adjusted({0, 5}, -7, -1, 3), ElementsAre(3, 8));
  // Both counts known: the removed range keeps its length. Only the removal known: it keeps its
  // end.
  EXPECT_THAT(adjusted({0, 9, 10, 12}, -5, 10, 0), ElementsAre(0, 2));
  EXPECT_THAT(adjusted({0, 4, 5, 12}, -5, 10, -1), ElementsAre(0, 2));
  EXPECT_THAT(adjusted({0, 4, 12}, -20, 10, -1), ElementsAre(0, 0, 2));
}

TEST(BookmarkAdjustment, sumsThatDoNotFitSaturate) {
  EXPECT_THAT(adjusted({3, 10}, 5, kMaxInt64, 0), ElementsAre(3));
  EXPECT_THAT(adjusted({3, 10}, 5, kMaxInt64, -1), ElementsAre(3));
  EXPECT_THAT(adjusted({3, 10}, 5, 0, kMaxInt64), ElementsAre(3, kMaxInt64));
  EXPECT_THAT(adjusted({3, 10}, 5, -1, kMaxInt64), ElementsAre(3, kMaxInt64));
  EXPECT_THAT(adjusted({kMaxInt64}, 5, kMaxInt64, -1), ElementsAre(5));
}

/// Marks follow the byte they stand on: the slow, obvious definition.
Offsets followedByBytes(const Offsets& offsets, std::int64_t count, std::int64_t start,
                        std::int64_t removed, std::int64_t inserted) {
  std::vector<std::int64_t> origins;  // the offset at which each byte stood before; -1 for new ones
  for (std::int64_t i = 0; i <= count; ++i) origins.push_back(i);
  if (removed != inserted) {
    const auto at = origins.begin() + start;
    const auto gap = origins.erase(at, at + removed);
    origins.insert(gap, static_cast<std::size_t>(inserted), -1);
  }
  Offsets result;
  for (std::size_t i = 0; i < origins.size(); ++i) {
    if (std::binary_search(offsets.begin(), offsets.end(), origins[i])) {
      result.push_back(static_cast<std::int64_t>(i));
    }
  }
  return result;
}

TEST(BookmarkAdjustment, marksFollowTheirBytesThroughRandomEdits) {
  constexpr unsigned kSeed = 20240611;
  SCOPED_TRACE(kSeed);
  std::mt19937 random(kSeed);
  const auto below = [&](std::int64_t limit) {
    return std::uniform_int_distribution<std::int64_t>(0, limit)(random);
  };
  for (int round = 0; round < 4000; ++round) {
    const std::int64_t count = below(60);
    Offsets marks;
    for (std::int64_t i = 0; i <= count; ++i) {
      if (below(2) == 0) marks.push_back(i);
    }
    const std::int64_t start = below(count);
    const std::int64_t removed = below(count - start);
    const std::int64_t inserted = below(20);
    ASSERT_EQ(adjusted(marks, start, removed, inserted),
              followedByBytes(marks, count, start, removed, inserted))
        << "round " << round;
  }
}

}  // namespace
}  // namespace quillmor
