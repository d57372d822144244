#include "app/GuardedApplication.h"

#include <QThread>
#include <cerrno>
#include <cstdio>
#include <new>
#include <optional>

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
  // What fails again and again, such as drawing, would cover the screen with alerts; and showing an
  // alert may itself be what fails.
  std::optional<std::string> unshown = message;
  if (alerts_ && !isReporting_) {
    isReporting_ = true;
    unshown = failureOf([&] {
      alerts_->runModal({.messageText = "Operation Failed", .informativeText = message});
    });
    isReporting_ = false;
  }
  if (unshown) std::fprintf(stderr, "quillmor: %s\n", unshown->c_str());
}

}  // namespace quillmor
