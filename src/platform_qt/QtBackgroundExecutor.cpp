#include "platform_qt/QtBackgroundExecutor.h"

#include <QDeadlineTimer>
#include <QTimer>
#include <algorithm>
#include <utility>

namespace quillmor {

QtBackgroundExecutor::QtBackgroundExecutor() {
  // One long task must never keep another window's task from starting, even on a single core.
  pool_.setMaxThreadCount(std::max(4, pool_.maxThreadCount()));
}

QtBackgroundExecutor::~QtBackgroundExecutor() {
  pool_.waitForDone();
}

void QtBackgroundExecutor::runDetached(std::function<void()> work) {
  pool_.start(std::move(work));
}

void QtBackgroundExecutor::postToMain(std::function<void()> function) {
  QMetaObject::invokeMethod(&mainThreadContext_, std::move(function), Qt::QueuedConnection);
}

void QtBackgroundExecutor::postToMainAfter(std::chrono::milliseconds delay,
                                           std::function<void()> function) {
  // Threads of the pool have no event loop, so the timer is started on the main thread; the
  // deadline makes up for the time the request takes to get there.
  const QDeadlineTimer deadline(delay, Qt::PreciseTimer);
  postToMain([this, deadline, function = std::move(function)]() mutable {
    const auto rest = static_cast<int>(deadline.remainingTime());
    QTimer::singleShot(rest, Qt::PreciseTimer, &mainThreadContext_, std::move(function));
  });
}

}  // namespace quillmor
