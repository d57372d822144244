#include "search/PromptedReplaceAll.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "support/ErrorMatchers.h"
#include "support/SearchFixture.h"

namespace quillmor {
namespace {

using test::exactRequest;
using test::foldingRequest;
using test::rawCandidates;
using test::SearchBytes;
using test::searchBytes;
using testing::ElementsAre;

std::string textOf(const ByteBuffer& bytes) {
  return {bytes.span().begin(), bytes.span().end()};
}

/// "ab" for "XYZ", three times.
struct Prompted : testing::Test {
  explicit Prompted(std::int64_t maximumGrowth = 100,
                    std::int64_t maximumRecordBytes = PromptedReplaceAll::kMaximumRecordBytes)
      : run(original, exactRequest(), rawCandidates({"ab"}), {searchBytes("XYZ")}, {0, 3, 4, 11},
            maximumGrowth, maximumRecordBytes) {}

  std::int64_t offered() {
    const auto match = run.findNext(progress);
    return match ? match->offset : -1;
  }
  ReplaceAllComputation finished() { return run.finish(progress); }

  TaskProgress progress;
  const ByteBuffer original{searchBytes(".ab..ab..ab")};
  PromptedReplaceAll run;
};

TEST_F(Prompted, offersOccurrencesInOrderUntilThereIsNone) {
  EXPECT_EQ(offered(), 1);
  EXPECT_EQ(offered(), 1);
  run.skipCurrent();
  EXPECT_EQ(offered(), 5);
  EXPECT_TRUE(run.replaceCurrent());
  EXPECT_EQ(offered(), 9);
  run.skipCurrent();
  EXPECT_EQ(offered(), -1);
  EXPECT_EQ(offered(), -1);
  EXPECT_FALSE(run.stoppedAtGrowthLimit());
}

TEST_F(Prompted, replacesWhatWasAcceptedOnly) {
  offered();
  run.skipCurrent();
  offered();
  EXPECT_TRUE(run.replaceCurrent());
  const auto result = finished();
  EXPECT_EQ(textOf(result.bytes), ".ab..XYZ..ab");
  EXPECT_EQ(result.replacements, 1);
  EXPECT_EQ(result.lastCaret, 8);
  EXPECT_THAT(result.bookmarks, ElementsAre(0, 3, 4, 12));
}

TEST_F(Prompted, keepsEverythingWhenNothingWasAccepted) {
  offered();
  const auto cancelled = finished();
  EXPECT_TRUE(cancelled.bytes.sharesStorageWith(original));
  EXPECT_EQ(cancelled.replacements, 0);
  EXPECT_EQ(cancelled.lastCaret, 0);
  EXPECT_THAT(cancelled.bookmarks, ElementsAre(0, 3, 4, 11));
}

TEST_F(Prompted, finishesAsReplaceAllDoesWhenEverythingIsAccepted) {
  while (offered() >= 0) EXPECT_TRUE(run.replaceCurrent());
  const auto all = computeReplaceAll(original, exactRequest(), rawCandidates({"ab"}),
                                     {searchBytes("XYZ")}, {0, 3, 4, 11}, 100, progress);
  for (int i = 0; i < 2; ++i) {
    const auto result = finished();
    EXPECT_EQ(result.bytes, all.bytes);
    EXPECT_EQ(result.bookmarks, all.bookmarks);
    EXPECT_EQ(result.replacements, 3);
    EXPECT_EQ(result.lastCaret, all.lastCaret);
  }
}

TEST_F(Prompted, leavesTheDecisionsAsTheyAreWhenStopped) {
  offered();
  EXPECT_TRUE(run.replaceCurrent());
  progress.requestStop();
  const auto stops = testing::Throws<Error>(testing::Property(&Error::isStopped, true));
  EXPECT_THAT([&] { offered(); }, stops);
  EXPECT_THAT([&] { finished(); }, stops);
  TaskProgress again;
  EXPECT_EQ(run.findNext(again)->offset, 5);
  EXPECT_EQ(textOf(run.finish(again).bytes), ".XYZ..ab..ab");
}

struct PromptedWithRoomForTwo : Prompted {
  PromptedWithRoomForTwo() : Prompted(2) {}
};

TEST_F(PromptedWithRoomForTwo, stopsAtTheReplacementThatWouldExceedTheAllowance) {
  offered();
  EXPECT_TRUE(run.replaceCurrent());
  offered();
  EXPECT_TRUE(run.replaceCurrent());
  offered();
  EXPECT_FALSE(run.stoppedAtGrowthLimit());
  EXPECT_FALSE(run.replaceCurrent());
  EXPECT_TRUE(run.stoppedAtGrowthLimit());
  EXPECT_EQ(offered(), -1);
  const auto result = finished();
  EXPECT_EQ(textOf(result.bytes), ".XYZ..XYZ..ab");
  EXPECT_EQ(result.replacements, 2);
}

TEST_F(PromptedWithRoomForTwo, doesNotStopWhenTheThirdIsSkipped) {
  offered();
  run.replaceCurrent();
  offered();
  run.replaceCurrent();
  offered();
  run.skipCurrent();
  EXPECT_EQ(offered(), -1);
  EXPECT_FALSE(run.stoppedAtGrowthLimit());
}

struct PromptedWithoutGrowth : Prompted {
  PromptedWithoutGrowth() : Prompted(-7) {}
};

TEST_F(PromptedWithoutGrowth, stopsAtOnce) {
  offered();
  EXPECT_FALSE(run.replaceCurrent());
  EXPECT_TRUE(run.stoppedAtGrowthLimit());
  EXPECT_TRUE(finished().bytes.sharesStorageWith(original));
}

struct PromptedWithTwoRecords : Prompted {
  PromptedWithTwoRecords() : Prompted(100, 3 * PromptedReplaceAll::kRecordBytes - 1) {}
};

TEST_F(PromptedWithTwoRecords, stopsWhenItsNotesWouldTakeTooMuchMemory) {
  offered();
  EXPECT_TRUE(run.replaceCurrent());
  offered();
  EXPECT_TRUE(run.replaceCurrent());
  offered();
  EXPECT_FALSE(run.replaceCurrent());
  EXPECT_TRUE(run.stoppedAtGrowthLimit());
  EXPECT_EQ(finished().replacements, 2);
}

TEST(PromptedReplaceAllProgress, neverGoesBackAndEndsWithTheNewDocument) {
  SearchBytes bytes(16 * 1024 * 1024, '.');
  for (const std::size_t place : {0U, 8U << 20U, 12U << 20U}) bytes[place] = 'a';
  PromptedReplaceAll run(ByteBuffer(bytes), exactRequest(), rawCandidates({"a"}),
                         {searchBytes("b")}, {}, 100);
  TaskProgress progress;
  double last = 0;
  for (const double most : {0.01, 0.27, 0.4, 0.51}) {
    const bool found = run.findNext(progress).has_value();
    EXPECT_GE(progress.fraction(), last);
    EXPECT_LE(progress.fraction(), most);
    last = progress.fraction();
    if (found) run.replaceCurrent();
  }
  run.finish(progress);
  EXPECT_GT(progress.fraction(), 0.9);
}

TEST(PromptedReplaceAllLimits, are64MiBOfNotes) {
  EXPECT_EQ(PromptedReplaceAll::kMaximumRecordBytes, 67'108'864);
}

TEST(PromptedReplaceAllOffers, theLongestAndTheDocumentsOwnBytes) {
  TaskProgress progress;
  PromptedReplaceAll run(ByteBuffer(searchBytes("..ABCD")), foldingRequest(),
                         rawCandidates({"ab", "abcd"}), {{}, {}}, {}, 0);
  const auto match = run.findNext(progress);
  ASSERT_TRUE(match);
  EXPECT_EQ(*match, (SearchMatch{2, searchBytes("ABCD"), rawCandidates({"abcd"}).front()}));
  EXPECT_TRUE(run.replaceCurrent());
  EXPECT_EQ(run.findNext(progress), std::nullopt);
  EXPECT_EQ(textOf(run.finish(progress).bytes), "..");
}

TEST(PromptedReplaceAllModel, agreesWithReplacingTheAcceptedOnesOneByOne) {
  constexpr unsigned kSeed = 1618033;
  constexpr int kRounds = 250'000;
  SCOPED_TRACE(kSeed);
  testing::Test::RecordProperty("seed", static_cast<int>(kSeed));
  test::RandomRequests random(kSeed);
  for (int round = 0; round < kRounds; ++round) {
    random.choose();
    const std::int64_t allowed = random.upTo(12);
    TaskProgress progress;
    PromptedReplaceAll run(ByteBuffer(std::span<const std::uint8_t>(random.bytes)), random.request,
                           random.candidateList, random.table, random.bookmarks, allowed);
    std::vector<OccurrenceWalk::Hit> accepted;
    std::int64_t growth = 0;
    bool stopped = false;
    for (const auto& hit :
         test::naive::allHits(random.bytes, random.request, random.candidateList)) {
      const auto match = run.findNext(progress);
      ASSERT_TRUE(match) << "round " << round;
      ASSERT_EQ(match->offset, hit.offset) << "round " << round;
      const std::int64_t decision = random.upTo(5);
      if (decision == 0) break;
      if (decision == 1) {
        run.skipCurrent();
        continue;
      }
      growth += std::ssize(random.table[hit.candidate]) - hit.length;
      stopped = growth > allowed;
      ASSERT_EQ(run.replaceCurrent(), !stopped) << "round " << round;
      if (stopped) break;
      accepted.push_back(hit);
    }
    const auto expected =
        test::naive::replaceOneByOne(random.bytes, accepted, random.table, random.bookmarks);
    const auto result = run.finish(progress);
    ASSERT_EQ(run.stoppedAtGrowthLimit(), stopped) << "round " << round;
    ASSERT_TRUE(std::ranges::equal(result.bytes.span(), expected.bytes)) << "round " << round;
    ASSERT_EQ(result.bookmarks, expected.bookmarks) << "round " << round;
    ASSERT_EQ(result.replacements, std::ssize(accepted)) << "round " << round;
    ASSERT_EQ(result.lastCaret, expected.lastCaret) << "round " << round;
  }
}

}  // namespace
}  // namespace quillmor
