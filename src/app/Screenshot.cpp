#include "app/Screenshot.h"

#include <QCoreApplication>
#include <QPixmap>

#include "window/EditorWindow.h"

namespace quillmor {

void saveScreenshot(const CommandLine& line, AppDelegate& delegate, ApplicationWindows& windows) {
  const auto controller = delegate.openNow(line.files.front());
  if (line.selection) {
    const auto range = line.selection->normalized(controller->document().storage()->count());
    controller->editor().setCaretOffset(range.start);
    controller->editor().setSelection(range);
  }
  // The picture shows the window at its usual size, however small the screen that is not there may
  // be.
  EditorWindow& window = *windows.editorWindows().front();
  window.resize(EditorWindow::kInitialSize);
  QCoreApplication::processEvents();
  const QPixmap picture = window.grab();
  if (!picture.save(QString::fromLocal8Bit(line.screenshotPath->c_str()), "PNG")) {
    throw Error::posix(EIO, "Could not write the picture " + *line.screenshotPath + ".");
  }
}

}  // namespace quillmor
