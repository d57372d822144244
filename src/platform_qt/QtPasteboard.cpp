#include "platform_qt/QtPasteboard.h"

#include <QClipboard>
#include <QGuiApplication>

namespace quillmor {

void QtPasteboard::setText(const std::string& text) {
  QGuiApplication::clipboard()->setText(QString::fromStdString(text));
}

}  // namespace quillmor
