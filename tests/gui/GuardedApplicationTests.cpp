// What event handlers fail with, and that the program goes on.

#include "app/GuardedApplication.h"

#include <gtest/gtest.h>

#include <QEvent>
#include <QTest>
#include <QWidget>
#include <cerrno>
#include <functional>
#include <new>
#include <stdexcept>

#include "base/Error.h"
#include "support/TestPlatform.h"

namespace quillmor::test {
namespace {

/// A window whose key handler does what a test says.
class KeyHandler : public QWidget {
 public:
  std::function<void()> handler;

 protected:
  void keyPressEvent(QKeyEvent* /*event*/) override { handler(); }
};

class GuardedApplicationTest : public testing::Test {
 protected:
  GuardedApplicationTest() { application().setAlertPresenter(&platform.alerts); }
  ~GuardedApplicationTest() override { application().setAlertPresenter(nullptr); }

  static GuardedApplication& application() { return static_cast<GuardedApplication&>(*qApp); }

  void pressKeyWith(std::function<void()> handler) {
    view.handler = std::move(handler);
    QTest::keyClick(&view, Qt::Key_A);
  }

  TestPlatform platform;
  KeyHandler view;
};

TEST_F(GuardedApplicationTest, anErrorOfAKeyIsShownAndTheNextKeyWorks) {
  platform.alerts.expect("Operation Failed", "The disk is full.");
  pressKeyWith([] { throw Error::posix(ENOSPC, "The disk is full."); });
  bool wasCalled = false;
  pressKeyWith([&] { wasCalled = true; });
  EXPECT_TRUE(wasCalled);
}

TEST_F(GuardedApplicationTest, runningOutOfMemoryIsShownInTheSystemsWords) {
  platform.alerts.expect("Operation Failed", Error::posix(ENOMEM).message());
  pressKeyWith([] { throw std::bad_alloc(); });
}

TEST_F(GuardedApplicationTest, anyOtherExceptionIsShownWithItsText) {
  platform.alerts.expect("Operation Failed", "out of range");
  pressKeyWith([] { throw std::runtime_error("out of range"); });
}

TEST_F(GuardedApplicationTest, aQueuedCompletionIsGuardedAsWell) {
  platform.alerts.expect("Operation Failed", "late");
  QMetaObject::invokeMethod(
      &view, [] { throw std::runtime_error("late"); }, Qt::QueuedConnection);
  QCoreApplication::processEvents();
}

TEST_F(GuardedApplicationTest, whatFailsWhileAnAlertIsShownDoesNotPileUpAlerts) {
  platform.alerts.expect("Operation Failed", "first");
  platform.alerts.duringNext([&] { pressKeyWith([] { throw std::runtime_error("second"); }); });
  pressKeyWith([] { throw std::runtime_error("first"); });
  EXPECT_EQ(platform.alerts.shown().size(), 1U);
}

TEST_F(GuardedApplicationTest, withoutAPresenterAnErrorGoesOnToTheCaller) {
  application().setAlertPresenter(nullptr);
  QEvent event(QEvent::User);
  class Thrower : public QObject {
    bool event(QEvent*) override { throw std::runtime_error("early"); }
  } thrower;
  EXPECT_THROW(QCoreApplication::sendEvent(&thrower, &event), std::runtime_error);
}

}  // namespace
}  // namespace quillmor::test
