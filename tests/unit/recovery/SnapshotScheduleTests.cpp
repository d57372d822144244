#include "recovery/SnapshotSchedule.h"

#include <gtest/gtest.h>

namespace quillmor {
namespace {

using namespace std::chrono_literals;
using Time = SnapshotSchedule::Time;
using Outcome = SnapshotSchedule::Outcome;

constexpr std::int64_t kSmall = SnapshotSchedule::kSmallByteCount;
constexpr std::int64_t kLarge = kSmall + 1;
constexpr Time kStart{1000s};

TEST(SnapshotSchedule, hasNothingToDoWithoutEdits) {
  const SnapshotSchedule schedule;
  EXPECT_EQ(schedule.due(kSmall), std::nullopt);
  EXPECT_EQ(schedule.due(kLarge), std::nullopt);
}

TEST(SnapshotSchedule, waitsForAnIdleMoment) {
  SnapshotSchedule schedule;
  schedule.didEdit(kStart);
  EXPECT_EQ(schedule.due(0), kStart + 5s);
  EXPECT_EQ(schedule.due(kLarge), kStart + 5s);
  schedule.didEdit(kStart + 4999ms);
  EXPECT_EQ(schedule.due(kSmall), kStart + 9999ms);
}

TEST(SnapshotSchedule, doesNotWaitLongerThanHalfAMinuteUnlessTheDocumentIsLarge) {
  SnapshotSchedule schedule;
  for (auto time = 0s; time <= 28s; time += 4s) schedule.didEdit(kStart + time);
  EXPECT_EQ(schedule.due(kSmall), kStart + 30s);
  EXPECT_EQ(schedule.due(kLarge), kStart + 33s);
}

TEST(SnapshotSchedule, doesNotWaitForMoreThanThreeHundredEditsUnlessTheDocumentIsLarge) {
  SnapshotSchedule schedule;
  for (int edit = 1; edit <= 299; ++edit) schedule.didEdit(kStart);
  EXPECT_EQ(schedule.due(kSmall), kStart + 5s);
  schedule.didEdit(kStart + 1ms);
  EXPECT_EQ(schedule.due(kSmall), kStart + 1ms);
  EXPECT_EQ(schedule.due(kLarge), kStart + 5001ms);
  schedule.didEdit(kStart + 2ms);
  EXPECT_EQ(schedule.due(kSmall), kStart + 2ms);
}

TEST(SnapshotSchedule, isQuietWhileARecordIsWrittenAndWhenAllIsRecorded) {
  SnapshotSchedule schedule;
  schedule.didEdit(kStart);
  schedule.didBegin(kStart + 5s);
  EXPECT_EQ(schedule.due(kSmall), std::nullopt);
  schedule.didEnd(kStart + 5s, Outcome::recorded);
  EXPECT_EQ(schedule.due(kSmall), std::nullopt);
  schedule.didEdit(kStart + 6s);
  EXPECT_EQ(schedule.due(kSmall), kStart + 11s);
}

TEST(SnapshotSchedule, restsTwentyTimesAsLongAsARecordTook) {
  for (const auto outcome : {Outcome::recorded, Outcome::stopped}) {
    SnapshotSchedule schedule;
    schedule.didEdit(kStart);
    schedule.didBegin(kStart);
    schedule.didEnd(kStart + 500ms, outcome);
    schedule.didEdit(kStart + 500ms);
    EXPECT_EQ(schedule.due(kSmall), kStart + 10500ms);
    for (int edit = 0; edit < 300; ++edit) schedule.didEdit(kStart + 600ms);
    EXPECT_EQ(schedule.due(kSmall), kStart + 10500ms);
    schedule.didEdit(kStart + 5500ms);
    EXPECT_EQ(schedule.due(0), kStart + 10500ms);
  }
}

TEST(SnapshotSchedule, writesALargeDocumentEveryTwoMinutesAtMost) {
  SnapshotSchedule schedule;
  schedule.didEdit(kStart);
  schedule.didBegin(kStart + 5s);
  schedule.didEnd(kStart + 6s, Outcome::recorded);
  schedule.didEdit(kStart + 7s);
  EXPECT_EQ(schedule.due(kLarge), kStart + 125s);
  EXPECT_EQ(schedule.due(kSmall), kStart + 26s);
  schedule.didEdit(kStart + 121s);
  EXPECT_EQ(schedule.due(kLarge), kStart + 126s);
  schedule.didBegin(kStart + 126s);
  schedule.didEnd(kStart + 136s, Outcome::recorded);
  schedule.didEdit(kStart + 137s);
  EXPECT_EQ(schedule.due(kLarge), kStart + 336s) << "the rest is longer than two minutes";
}

TEST(SnapshotSchedule, keepsTheEditsThatCameAfterARecordWasBegun) {
  SnapshotSchedule schedule;
  for (int edit = 0; edit < 200; ++edit) schedule.didEdit(kStart);
  schedule.didBegin(kStart + 1s);
  for (int edit = 0; edit < 150; ++edit) schedule.didEdit(kStart + 2s);
  SnapshotSchedule stopped = schedule;
  schedule.didEnd(kStart + 1s, Outcome::recorded);
  EXPECT_EQ(schedule.due(kSmall), kStart + 7s);
  stopped.didEnd(kStart + 1s, Outcome::stopped);
  EXPECT_EQ(stopped.due(kSmall), kStart + 2s) << "350 edits have no record";
}

TEST(SnapshotSchedule, triesAgainHalfAMinuteAfterAFailure) {
  SnapshotSchedule schedule;
  schedule.didEdit(kStart);
  schedule.didBegin(kStart + 5s);
  schedule.didEnd(kStart + 6s, Outcome::failed);
  EXPECT_EQ(schedule.due(kSmall), kStart + 36s);
  EXPECT_EQ(schedule.due(kLarge), kStart + 125s);
}

TEST(SnapshotSchedule, forgetsEditsButNotItsRest) {
  SnapshotSchedule schedule;
  schedule.didEdit(kStart);
  schedule.didBegin(kStart);
  schedule.didEdit(kStart);
  schedule.forgetEdits();
  schedule.didEnd(kStart + 1s, Outcome::recorded);
  EXPECT_EQ(schedule.due(kSmall), std::nullopt);
  schedule.didEdit(kStart + 2s);
  EXPECT_EQ(schedule.due(kSmall), kStart + 21s);
}

}  // namespace
}  // namespace quillmor
