#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>
#include <QTimer>
#include <functional>

namespace quillmor::testing_support {

/// Runs `script` on the next modal dialog of type `Dialog`, inside that dialog's event loop. Call
/// it before what shows the dialog; a script calls it again for a dialog that its own keys bring
/// up. A dialog the script leaves open after a failure is closed, so that the test ends.
template <typename Dialog>
void onNextModal(std::function<void(Dialog&)> script) {
  QTimer::singleShot(0, qApp, [script = std::move(script)] {
    if (auto* dialog = dynamic_cast<Dialog*>(QApplication::activeModalWidget())) {
      script(*dialog);
    } else {
      ADD_FAILURE() << "no modal dialog of the expected kind";
    }
    if (!testing::Test::HasFailure()) return;
    for (QWidget* left = QApplication::activeModalWidget(); left;
         left = QApplication::activeModalWidget()) {
      static_cast<QDialog*>(left)->done(QDialog::Rejected);
    }
  });
}

}  // namespace quillmor::testing_support
