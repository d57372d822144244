#include "ui/app/DarkAppearance.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QPalette>
#include <QStyle>

namespace quillmor::test {
namespace {

class DarkAppearance : public testing::Test {
 protected:
  DarkAppearance() { applyDarkAppearance(*qApp); }
  ~DarkAppearance() override { qApp->setPalette(before_); }

 private:
  const QPalette before_ = QApplication::palette();
};

TEST_F(DarkAppearance, showsLightTextOnDarkGround) {
  const QPalette palette = QApplication::palette();
  for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
    for (const auto& [ground, text] : {std::pair(QPalette::Window, QPalette::WindowText),
                                       std::pair(QPalette::Base, QPalette::Text),
                                       std::pair(QPalette::Button, QPalette::ButtonText)}) {
      EXPECT_LT(palette.color(group, ground).lightness(), 80);
      EXPECT_GT(palette.color(group, text).lightness(),
                palette.color(group, ground).lightness() + 50);
    }
  }
}

TEST_F(DarkAppearance, showsDisabledTextDimmer) {
  const QPalette palette = QApplication::palette();
  EXPECT_LT(palette.color(QPalette::Disabled, QPalette::ButtonText).lightness(),
            palette.color(QPalette::Active, QPalette::ButtonText).lightness());
}

TEST_F(DarkAppearance, isDrawnByTheSameStyleOnEveryDesktop) {
  EXPECT_EQ(QApplication::style()->name(), "fusion");
}

}  // namespace
}  // namespace quillmor::test
