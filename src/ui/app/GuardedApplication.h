#pragma once

#include <QApplication>
#include <functional>
#include <utility>

#include "base/Error.h"
#include "platform/AlertPresenter.h"

namespace quillmor {

/// The toolkit's application with a border for errors around every event: what a key, a click, a
/// drop or a queued completion fails with becomes an alert, and the program with all its unsaved
/// documents goes on. Main thread only.
class GuardedApplication : public QApplication {
 public:
  using QApplication::QApplication;

  /// Where failures are shown from now on; null before there is a presenter and after it has gone.
  /// Without one an error leaves `notify` for whoever runs the events.
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
