#pragma once

#include <QApplication>

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

  bool notify(QObject* receiver, QEvent* event) override;

 private:
  void report(const std::string& message);

  AlertPresenter* alerts_ = nullptr;
  bool isReporting_ = false;
};

}  // namespace quillmor
