#include "ui/app/GuardedApplication.h"

#include <QThread>
#include <cstdio>

#include "base/VisibleText.h"
#include "platform/RunInBackground.h"

namespace quillmor {

namespace {

void print(const Error& failure) {
  std::fprintf(stderr, "quillmor: %s\n", visibleText(failure.messageWithReason()).c_str());
}

}  // namespace

bool GuardedApplication::notify(QObject* receiver, QEvent* event) {
  // Other threads have events of their own, and must not show alerts.
  const bool isGuarded = alerts_ && QThread::currentThread() == thread();
  if (!isGuarded) return QApplication::notify(receiver, event);
  const auto handled = resultOf([&] { return QApplication::notify(receiver, event); });
  if (!handled.isOk()) report(handled.error());
  return !handled.isOk() || handled.value();
}

void GuardedApplication::report(const Error& failure) {
  // A failure that repeats, such as one in drawing, would cover the screen with alerts.
  if (isReporting_) return print(failure);
  isReporting_ = true;
  // The failed event may be half a repaint or a drag, in which no event loop may be started.
  QMetaObject::invokeMethod(
      this,
      [this, failure] {
        const auto shown = resultOf([&] {
          if (!alerts_) throw failure;
          if (observer_) observer_(failure);
          alerts_->runModal(
              {.messageText = "Operation Failed", .informativeText = failure.message()});
          return Done();
        });
        isReporting_ = false;
        if (!shown.isOk()) print(shown.error());
      },
      Qt::QueuedConnection);
}

}  // namespace quillmor
