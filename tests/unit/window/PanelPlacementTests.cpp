#include "window/PanelPlacement.h"

#include <gtest/gtest.h>

namespace quillmor::PanelPlacement {
namespace {

constexpr Size kPanel{540, 330};
constexpr Frame kScreen{{0, 0}, {1920, 1080}};

TEST(PanelPlacementTest, centresThePanelOverItsOwner) {
  EXPECT_EQ(originOver({{100, 100}, {1120, 760}}, kPanel, kScreen), (Origin{390, 315}));
}

TEST(PanelPlacementTest, centresAPanelLargerThanItsOwner) {
  EXPECT_EQ(originOver({{800, 500}, {200, 100}}, kPanel, kScreen), (Origin{630, 385}));
}

TEST(PanelPlacementTest, movesThePanelInsideWhenTheOwnerIsPartlyOffScreen) {
  EXPECT_EQ(originOver({{-900, -600}, {1120, 760}}, kPanel, kScreen), (Origin{0, 0}));
  EXPECT_EQ(originOver({{1700, 900}, {1120, 760}}, kPanel, kScreen), (Origin{1380, 750}));
  EXPECT_EQ(originOver({{-900, 900}, {1120, 760}}, kPanel, kScreen), (Origin{0, 750}));
}

TEST(PanelPlacementTest, keepsOutOfTheScreensBars) {
  const Frame visible{{60, 28}, {1800, 1000}};
  EXPECT_EQ(originOver({{-400, -400}, {800, 600}}, kPanel, visible), (Origin{60, 28}));
  EXPECT_EQ(originOver({{1700, 900}, {800, 600}}, kPanel, visible), (Origin{1320, 698}));
}

TEST(PanelPlacementTest, staysOnAScreenLeftOfAndAboveTheMainOne) {
  const Frame visible{{-1280, -1024}, {1280, 1024}};
  EXPECT_EQ(originOver({{-1280, -1024}, {1120, 760}}, kPanel, visible), (Origin{-990, -809}));
  EXPECT_EQ(originOver({{-300, -200}, {1120, 760}}, kPanel, visible), (Origin{-540, -330}));
}

TEST(PanelPlacementTest, showsTheTopLeftOfAPanelTooLargeForTheScreen) {
  const Frame visible{{10, 20}, {400, 300}};
  EXPECT_EQ(originOver({{0, 0}, {1120, 760}}, kPanel, visible), (Origin{10, 20}));
}

TEST(PanelPlacementTest, fillsAVisibleFrameOfItsOwnSize) {
  const Frame visible{{10, 20}, kPanel};
  EXPECT_EQ(originOver({{500, 500}, {100, 100}}, kPanel, visible), (Origin{10, 20}));
}

}  // namespace
}  // namespace quillmor::PanelPlacement
