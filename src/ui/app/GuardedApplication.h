#pragma once

#include <QApplication>
#include <functional>
#include <utility>

#include "base/Error.h"
#include "platform/AlertPresenter.h"

namespace quillmor {

/// The toolkit's application, with a catch around every event. An exception from a key, a click, a
/// drop or a queued completion becomes an alert, and the program goes on with all its unsaved
/// documents. Main thread only.
class GuardedApplication : public QApplication {
 public:
  using QApplication::QApplication;

  /// Sets where failures are shown from now on; null before there is a presenter and after it is
  /// destroyed. Without one an error leaves `notify` and reaches the code that runs the events.
  void setAlertPresenter(AlertPresenter* alerts) { alerts_ = alerts; }

  /// Called with each failure before it is shown as an alert; null for nothing.
  void setFailureObserver(std::function<void(const Error&)> observer) {
    observer_ = std::move(observer);
  }

  bool notify(QObject* receiver, QEvent* event) override;

 private:
  void report(const Error& failure);

  AlertPresenter* alerts_ = nullptr;
  std::function<void(const Error&)> observer_;
  bool isReporting_ = false;
};

}  // namespace quillmor
