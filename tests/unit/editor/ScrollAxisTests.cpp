#include "editor/ScrollAxis.h"

#include <gtest/gtest.h>

namespace quillmor {
namespace {

TEST(ScrollAxis, doesNotScrollWhatFits) {
  ScrollAxis axis;
  axis.setExtent(300, 400);
  EXPECT_EQ(axis.maximum(), 0);
  EXPECT_EQ(axis.barMaximum(), 0);
  EXPECT_FALSE(axis.setPosition(50));
  EXPECT_EQ(axis.position(), 0);
}

TEST(ScrollAxis, keepsThePositionInsideTheDocument) {
  ScrollAxis axis;
  axis.setExtent(1000, 400);
  EXPECT_TRUE(axis.setPosition(900));
  EXPECT_EQ(axis.position(), 600);
  axis.setExtent(500, 400);
  EXPECT_EQ(axis.position(), 100);
  EXPECT_TRUE(axis.setPosition(-3));
  EXPECT_EQ(axis.position(), 0);
}

TEST(ScrollAxis, revealsWithAsLittleScrollingAsPossible) {
  ScrollAxis axis;
  axis.setExtent(1000, 100);
  EXPECT_FALSE(axis.reveal(20, 40));
  EXPECT_TRUE(axis.reveal(150, 170));
  EXPECT_EQ(axis.position(), 70);
  EXPECT_TRUE(axis.reveal(50, 60));
  EXPECT_EQ(axis.position(), 50);
  EXPECT_TRUE(axis.reveal(300, 500));
  EXPECT_EQ(axis.position(), 300) << "too long to fit: its beginning is shown";
}

TEST(ScrollAxis, showsPixelsOnTheBarOfAnOrdinaryDocument) {
  ScrollAxis axis;
  axis.setExtent(1000.5, 400);
  EXPECT_EQ(axis.barMaximum(), 601);
  axis.setPosition(123.4);
  EXPECT_EQ(axis.barValue(), 123);
  EXPECT_EQ(axis.positionForBar(200), 200);
  EXPECT_EQ(axis.positionForBar(601), 600.5);
  EXPECT_EQ(axis.barSteps(22), 22);
  EXPECT_EQ(axis.barSteps(0.2), 1);
}

TEST(ScrollAxis, reachesEveryRowOfAVeryLongDocument) {
  constexpr double kRows = 134'217'729;
  ScrollAxis axis;
  axis.setExtent(22 * (kRows + 1), 760);
  EXPECT_EQ(axis.barMaximum(), ScrollAxis::kMaximumBarSteps);
  axis.setPosition(1'234'567'891.25);
  EXPECT_EQ(axis.position(), 1'234'567'891.25) << "the position is exact";
  EXPECT_NEAR(axis.positionForBar(axis.barValue()), axis.position(), 22);
  EXPECT_EQ(axis.positionForBar(axis.barMaximum()), axis.maximum());
  EXPECT_EQ(axis.positionForBar(0), 0);
  EXPECT_GE(axis.barSteps(22), 7);
  axis.setPosition(1e300);
  EXPECT_EQ(axis.barValue(), axis.barMaximum());
}

}  // namespace
}  // namespace quillmor
