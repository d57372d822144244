#pragma once

#include <QMainWindow>

class QPlainTextEdit;

namespace quillmor {

/// A window with a report: read-only monospaced text that can be selected, copied and scrolled.
class ReportWindow : public QMainWindow {
 public:
  ReportWindow(const QString& title, const QString& report);

  QPlainTextEdit& text() { return *text_; }

 private:
  QPlainTextEdit* text_;
};

}  // namespace quillmor
