#include "window/WindowCascade.h"

#include <gtest/gtest.h>

#include <vector>

namespace quillmor {
namespace {

using PanelPlacement::Frame;
using PanelPlacement::Origin;
using PanelPlacement::Size;

constexpr Frame kOwner{{100, 100}, {1120, 760}};
constexpr Size kWindow{720, 520};
constexpr Frame kScreen{{0, 0}, {1920, 1080}};

Origin next(const std::vector<Origin>& taken) {
  return WindowCascade::originOver(kOwner, kWindow, kScreen, taken);
}

TEST(WindowCascadeTest, theFirstWindowIsCentred) {
  EXPECT_EQ(next({}), (Origin{300, 220}));
}

TEST(WindowCascadeTest, furtherWindowsStepToTheRightAndDown) {
  EXPECT_EQ(next({{300, 220}}), (Origin{328, 248}));
  EXPECT_EQ(next({{300, 220}, {328, 248}}), (Origin{356, 276}));
}

TEST(WindowCascadeTest, aPlaceLeftIsTakenAgain) {
  EXPECT_EQ(next({{328, 248}}), (Origin{300, 220}));
  EXPECT_EQ(next({{300, 220}, {356, 276}}), (Origin{328, 248}));
}

TEST(WindowCascadeTest, staysInsideTheScreen) {
  std::vector<Origin> taken;
  for (int i = 0; i < 40; ++i) {
    const Origin origin = next(taken);
    EXPECT_GE(origin.x, 0);
    EXPECT_GE(origin.y, 0);
    EXPECT_LE(origin.x + kWindow.width, 1920);
    EXPECT_LE(origin.y + kWindow.height, 1080);
    taken.push_back(origin);
  }
  EXPECT_EQ(next(taken), (Origin{300, 220}));
}

}  // namespace
}  // namespace quillmor
