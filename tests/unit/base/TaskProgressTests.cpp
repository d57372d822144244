#include "base/TaskProgress.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace quillmor {
namespace {

const auto kIsStopped = testing::Throws<Error>(testing::Property(&Error::isStopped, true));

TEST(TaskProgress, isNegativeWhileTheTotalIsNotKnown) {
  TaskProgress progress;
  EXPECT_LT(progress.fraction(), 0);
  progress.advance(5);
  EXPECT_LT(progress.fraction(), 0);
  progress.setTotal(0);
  EXPECT_LT(progress.fraction(), 0);
  progress.setTotal(-1);
  EXPECT_LT(progress.fraction(), 0);
}

TEST(TaskProgress, isThePartDone) {
  TaskProgress progress;
  progress.setTotal(8);
  EXPECT_EQ(progress.fraction(), 0);
  progress.advance(2);
  EXPECT_EQ(progress.fraction(), 0.25);
  progress.advance(2);
  EXPECT_EQ(progress.fraction(), 0.5);
  progress.setTotal(16);
  EXPECT_EQ(progress.fraction(), 0.25);
}

TEST(TaskProgress, isNeverMoreThanAll) {
  TaskProgress progress;
  progress.setTotal(8);
  progress.advance(9);
  EXPECT_EQ(progress.fraction(), 1);
  TaskProgress large;
  large.setTotal(std::numeric_limits<std::int64_t>::max());
  large.advance(std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(large.fraction(), 1);
}

TEST(TaskProgress, goesOnUntilAStopIsRequested) {
  TaskProgress progress;
  EXPECT_FALSE(progress.stopRequested());
  EXPECT_NO_THROW(progress.checkpoint());
  progress.requestStop();
  EXPECT_TRUE(progress.stopRequested());
  EXPECT_THAT([&] { progress.checkpoint(); }, kIsStopped);
  progress.requestStop();
  EXPECT_THAT([&] { progress.checkpoint(); }, kIsStopped);
}

TEST(TaskProgress, isStoppedAtThePointOfNoReturnWhenAskedBefore) {
  TaskProgress progress;
  progress.requestStop();
  EXPECT_THAT([&] { progress.passPointOfNoReturn(); }, kIsStopped);
  EXPECT_TRUE(progress.stopRequested());
  EXPECT_THAT([&] { progress.checkpoint(); }, kIsStopped);
}

TEST(TaskProgress, isNotStoppedAfterThePointOfNoReturn) {
  TaskProgress progress;
  EXPECT_NO_THROW(progress.passPointOfNoReturn());
  progress.requestStop();
  EXPECT_FALSE(progress.stopRequested());
  EXPECT_NO_THROW(progress.checkpoint());
  EXPECT_NO_THROW(progress.passPointOfNoReturn());
}

TEST(TaskProgress, countsAnewOnceRestarted) {
  TaskProgress progress;
  progress.setTotal(8);
  progress.advance(8);
  progress.restart();
  EXPECT_LT(progress.fraction(), 0);
  progress.setTotal(4);
  EXPECT_EQ(progress.fraction(), 0);
  progress.advance(1);
  EXPECT_EQ(progress.fraction(), 0.25);
}

TEST(TaskProgress, remembersARequestToStopWhenRestarted) {
  TaskProgress progress;
  progress.restart();
  EXPECT_FALSE(progress.stopRequested());
  progress.requestStop();
  progress.restart();
  EXPECT_TRUE(progress.stopRequested());
  EXPECT_THAT([&] { progress.checkpoint(); }, kIsStopped);
}

TEST(TaskProgress, remembersThePointOfNoReturnWhenRestarted) {
  TaskProgress progress;
  progress.passPointOfNoReturn();
  progress.restart();
  EXPECT_FALSE(progress.canBeStopped());
  progress.requestStop();
  EXPECT_NO_THROW(progress.checkpoint());
}

}  // namespace
}  // namespace quillmor
