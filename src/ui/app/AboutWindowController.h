#pragma once

#include <QWidget>
#include <functional>

#include "platform/Workspace.h"

namespace quillmor {

/// The small window with the application's name, version and purpose.
class AboutWindowController : public QWidget {
 public:
  /// `workspace` opens the link; `willClose` gets the window's frame when it closes.
  AboutWindowController(Workspace& workspace, std::function<void(const QRect&)> willClose);

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  const std::function<void(const QRect&)> willClose_;
};

}  // namespace quillmor
