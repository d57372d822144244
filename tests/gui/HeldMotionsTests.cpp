// Clicks that the X server reports as released elsewhere, and drags.

#include "ui/editor/HeldMotions.h"

#include <gtest/gtest.h>

#include <QAbstractEventDispatcher>
#include <array>
#include <cstring>

#include "gui/EditorViewFixture.h"

namespace quillmor::test {
namespace {

constexpr quint8 kPress = 4;
constexpr quint8 kRelease = 5;
constexpr quint8 kMotion = 6;

/// Events of a pointer as the X server sends them, in either form, and as Qt hands them on.
class HeldMotionsTest : public EditorViewTest, public testing::WithParamInterface<bool> {
 protected:
  HeldMotionsTest() { setCountingBytes(256); }

  /// The application hears of an event of the X server.
  static void server(quint8 type, quint32 time, quint8 button = 1) {
    std::array<char, 64> event{};
    const auto put = [&event](std::size_t offset, auto value) {
      std::memcpy(event.data() + offset, &value, sizeof value);
    };
    if (GetParam()) {
      put(0, quint8{35});
      put(8, quint16{type});
      put(12, time);
      put(16, quint32{type == kMotion ? quint8{0} : button});
    } else {
      put(0, type);
      put(1, type == kMotion ? quint8{0} : button);
      put(4, time);
    }
    qintptr result = 0;
    QAbstractEventDispatcher::instance()->filterNativeEvent("xcb_generic_event_t", event.data(),
                                                            &result);
  }

  /// A widget hears of an event.
  void widget(QEvent::Type type, QPoint point, quint64 time, Qt::MouseButtons held) {
    const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent event(type, point, view.viewport()->mapToGlobal(point), button, held,
                      Qt::NoModifier);
    event.setTimestamp(time);
    QApplication::sendEvent(view.viewport(), &event);
  }

  void expectClickAt(std::int64_t offset) const {
    EXPECT_EQ(state.caretOffset(), offset);
    EXPECT_EQ(state.selection().length, 0);
    EXPECT_FALSE(state.trackingDragStart());
  }
};

INSTANTIATE_TEST_SUITE_P(CoreAndInputExtension, HeldMotionsTest, testing::Bool());

TEST_P(HeldMotionsTest, aClickReleasedWhereThePointerHasGoneSelectsNothing) {
  server(kPress, 1000);
  server(kRelease, 1000);
  server(kMotion, 1000);
  widget(QEvent::MouseButtonPress, hexPoint(3), 1000, Qt::LeftButton);
  // Qt makes this up from the place of the release.
  widget(QEvent::MouseMove, hexPoint(140), 1000, Qt::LeftButton);
  widget(QEvent::MouseButtonRelease, hexPoint(140), 1000, Qt::NoButton);
  widget(QEvent::MouseMove, hexPoint(140), 1000, Qt::NoButton);
  expectClickAt(3);
  key(Qt::Key_F, "f");
  EXPECT_EQ(state.storage()->count(), 256);
}

TEST_P(HeldMotionsTest, aClickKeepsTheDigitThatWasClicked) {
  server(kPress, 1000);
  server(kRelease, 1090);
  widget(QEvent::MouseButtonPress, hexPoint(3, 1), 1000, Qt::LeftButton);
  widget(QEvent::MouseMove, hexPoint(140), 1090, Qt::LeftButton);
  widget(QEvent::MouseButtonRelease, hexPoint(140), 1090, Qt::NoButton);
  expectClickAt(3);
  EXPECT_FALSE(state.editingHighNibble());
}

TEST_P(HeldMotionsTest, aDragSelectsAsFarAsThePointerWentWithTheButtonHeld) {
  for (const quint32 time : {1000U, 1020U, 0xFFFFFFFFU}) {
    // All within one tick of the clock, over several, and over its end.
    const quint32 ended = time == 1000 ? time : time + 20;
    server(kPress, time);
    server(kMotion, time);
    server(kMotion, ended);
    server(kRelease, ended);
    server(kMotion, ended + 1);
    widget(QEvent::MouseButtonPress, hexPoint(3), time, Qt::LeftButton);
    widget(QEvent::MouseMove, hexPoint(5), time, Qt::LeftButton);
    widget(QEvent::MouseMove, hexPoint(8), ended, Qt::LeftButton);
    widget(QEvent::MouseButtonRelease, hexPoint(8), ended, Qt::NoButton);
    widget(QEvent::MouseMove, hexPoint(140), ended + 1, Qt::NoButton);
    EXPECT_EQ(state.selection(), (HexSelection{3, 6}));
  }
}

TEST_P(HeldMotionsTest, aDragReleasedWhereThePointerHasGoneEndsWhereItWent) {
  server(kPress, 1000);
  server(kMotion, 1010);
  server(kRelease, 1020);
  server(kMotion, 1030);
  widget(QEvent::MouseButtonPress, hexPoint(3), 1000, Qt::LeftButton);
  widget(QEvent::MouseMove, hexPoint(8), 1010, Qt::LeftButton);
  widget(QEvent::MouseMove, hexPoint(140), 1020, Qt::LeftButton);
  widget(QEvent::MouseButtonRelease, hexPoint(140), 1020, Qt::NoButton);
  EXPECT_EQ(state.selection(), (HexSelection{3, 6}));
}

TEST_P(HeldMotionsTest, eachOfSeveralClicksCountsForItself) {
  server(kPress, 1000);
  server(kMotion, 1010);
  server(kRelease, 1020);
  server(kPress, 1100, 3);
  server(kMotion, 1110);
  server(kRelease, 1120, 3);
  server(kPress, 1200);
  server(kRelease, 1220);
  widget(QEvent::MouseButtonPress, hexPoint(3), 1000, Qt::LeftButton);
  widget(QEvent::MouseMove, hexPoint(8), 1010, Qt::LeftButton);
  EXPECT_EQ(state.selection(), (HexSelection{3, 6}));
  widget(QEvent::MouseButtonRelease, hexPoint(8), 1020, Qt::NoButton);
  widget(QEvent::MouseButtonPress, hexPoint(20), 1200, Qt::LeftButton);
  widget(QEvent::MouseMove, hexPoint(140), 1220, Qt::LeftButton);
  widget(QEvent::MouseButtonRelease, hexPoint(140), 1220, Qt::NoButton);
  expectClickAt(20);
}

TEST_P(HeldMotionsTest, aFingerSelectsAfterAClickOfTheMouse) {
  server(kPress, 1000);
  server(kRelease, 1010);
  widget(QEvent::MouseButtonPress, hexPoint(3), 2000, Qt::LeftButton);
  const QPoint point = hexPoint(6);
  QMouseEvent motion(QEvent::MouseMove, point, point, view.viewport()->mapToGlobal(point),
                     Qt::NoButton, Qt::LeftButton, Qt::NoModifier, Qt::MouseEventSynthesizedByQt);
  motion.setTimestamp(2010);
  QApplication::sendEvent(view.viewport(), &motion);
  EXPECT_EQ(state.selection().length, 4);
}

}  // namespace
}  // namespace quillmor::test
