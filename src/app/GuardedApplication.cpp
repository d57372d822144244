#include "app/GuardedApplication.h"

#include <QThread>
#include <cerrno>
#include <cstdio>
#include <new>
#include <optional>
#include <stdexcept>

#include "base/Error.h"

namespace quillmor {

namespace {

/// Runs `work`; what it fails with, for people to read.
template <class Work>
std::optional<std::string> failureOf(Work&& work) {
  try {
    work();
    return std::nullopt;
  } catch (const std::bad_alloc&) {
    return Error::posix(ENOMEM).message();
  } catch (const std::exception& error) {
    return error.what();
  }
}

void print(const std::string& message) {
  std::fprintf(stderr, "quillmor: %s\n", message.c_str());
}

}  // namespace

bool GuardedApplication::notify(QObject* receiver, QEvent* event) {
  // Other threads have events of their own, and must not show alerts.
  const bool isGuarded = alerts_ && QThread::currentThread() == thread();
  if (!isGuarded) return QApplication::notify(receiver, event);
  bool wasHandled = true;
  const auto failure = failureOf([&] { wasHandled = QApplication::notify(receiver, event); });
  if (failure) report(*failure);
  return wasHandled;
}

void GuardedApplication::report(const std::string& message) {
  // What fails again and again, such as drawing, would cover the screen with alerts.
  if (isReporting_) return print(message);
  isReporting_ = true;
  // The failed event may be half a repaint or a drag, in which no event loop may be started.
  QMetaObject::invokeMethod(
      this,
      [this, message] {
        const auto unshown = failureOf([&] {
          if (!alerts_) throw std::runtime_error(message);
          alerts_->runModal({.messageText = "Operation Failed", .informativeText = message});
        });
        isReporting_ = false;
        if (unshown) print(*unshown);
      },
      Qt::QueuedConnection);
}

}  // namespace quillmor
