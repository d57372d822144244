#pragma once

#include <QWidget>
#include <functional>

namespace quillmor {

/// The small window that tells the application's name, version and purpose.
class AboutWindowController : public QWidget {
 public:
  /// `willClose` gets the window's last frame.
  explicit AboutWindowController(std::function<void(const QRect&)> willClose);

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  const std::function<void(const QRect&)> willClose_;
};

}  // namespace quillmor
