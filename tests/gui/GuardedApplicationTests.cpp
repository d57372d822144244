// What event handlers fail with, and that the program goes on.

#include "ui/app/GuardedApplication.h"

#include <gtest/gtest.h>

#include <QEvent>
#include <QWidget>
#include <cerrno>
#include <functional>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/Error.h"
#include "support/TestPlatform.h"

namespace quillmor::test {
namespace {

/// A window that does what a test says. For an event of its own: the toolkit's delivery of keys
/// does not free a pointer of its own when an exception passes, which a leak checker would see.
class EventHandler : public QWidget {
 public:
  std::function<void()> handler;

 protected:
  bool event(QEvent* event) override {
    if (event->type() != QEvent::User) return QWidget::event(event);
    handler();
    return true;
  }
};

class GuardedApplicationTest : public testing::Test {
 protected:
  GuardedApplicationTest() { application().setAlertPresenter(&platform.alerts); }
  ~GuardedApplicationTest() override { application().setAlertPresenter(nullptr); }

  static GuardedApplication& application() { return static_cast<GuardedApplication&>(*qApp); }

  void sendEventWith(std::function<void()> handler) {
    view.handler = std::move(handler);
    QEvent event(QEvent::User);
    QCoreApplication::sendEvent(&view, &event);
    // The alert comes once the failed event is over.
    QCoreApplication::processEvents();
  }

  TestPlatform platform;
  EventHandler view;
};

TEST_F(GuardedApplicationTest, anErrorOfAnEventIsShownAndTheNextEventArrives) {
  platform.alerts.expect("Operation Failed", "The disk is full.");
  sendEventWith([] { throw Error::posix(ENOSPC, "The disk is full."); });
  bool wasCalled = false;
  sendEventWith([&] { wasCalled = true; });
  EXPECT_TRUE(wasCalled);
}

TEST_F(GuardedApplicationTest, itsObserverHearsOfAFailureBeforeTheAlert) {
  std::vector<std::string> heard;
  application().setFailureObserver(
      [&](const Error& failure) { heard.push_back(failure.messageWithReason()); });
  platform.alerts.expect("Operation Failed", "It could not be written.");
  platform.alerts.duringNext([&] { heard.emplace_back("alert"); });
  sendEventWith([] { throw Error::posix(ENOSPC, "It could not be written."); });
  application().setFailureObserver(nullptr);
  EXPECT_EQ(heard, (std::vector<std::string>{"It could not be written. (No space left on device)",
                                             "alert"}));
}

TEST_F(GuardedApplicationTest, runningOutOfMemoryIsShownInTheSystemsWords) {
  platform.alerts.expect("Operation Failed", Error::posix(ENOMEM).message());
  sendEventWith([] { throw std::bad_alloc(); });
}

TEST_F(GuardedApplicationTest, anyOtherExceptionIsShownWithItsText) {
  platform.alerts.expect("Operation Failed", "out of range");
  sendEventWith([] { throw std::runtime_error("out of range"); });
}

TEST_F(GuardedApplicationTest, aQueuedCompletionIsGuardedAsWell) {
  platform.alerts.expect("Operation Failed", "late");
  QMetaObject::invokeMethod(
      &view, [] { throw std::runtime_error("late"); }, Qt::QueuedConnection);
  QCoreApplication::processEvents();
  QCoreApplication::processEvents();
}

TEST_F(GuardedApplicationTest, noAlertRunsInsideTheEventThatFailed) {
  view.handler = [] { throw std::runtime_error("half a repaint"); };
  QEvent event(QEvent::User);
  QCoreApplication::sendEvent(&view, &event);
  EXPECT_TRUE(platform.alerts.shown().empty());
  platform.alerts.expect("Operation Failed", "half a repaint");
  QCoreApplication::processEvents();
}

TEST_F(GuardedApplicationTest, whatFailsWhileAnAlertIsShownDoesNotPileUpAlerts) {
  platform.alerts.expect("Operation Failed", "first");
  platform.alerts.duringNext([&] { sendEventWith([] { throw std::runtime_error("second"); }); });
  sendEventWith([] { throw std::runtime_error("first"); });
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
