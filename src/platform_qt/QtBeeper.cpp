#include "platform_qt/QtBeeper.h"

#include <QApplication>

namespace quillmor {

void QtBeeper::beep() {
  QApplication::beep();
}

}  // namespace quillmor
