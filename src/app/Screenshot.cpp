#include "app/Screenshot.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QPixmap>
#include <cerrno>
#include <fstream>

#include "window/EditorWindow.h"

namespace quillmor {

namespace {

QtMessageHandler previousHandler = nullptr;

/// The platform without a screen says of each thing that only a screen has that it does not have
/// it.
void dropPlatformChatter(QtMsgType type, const QMessageLogContext& context, const QString& text) {
  if (text.startsWith("This plugin does not support")) return;
  // A session without a login has no folder for sockets, and a picture needs none.
  if (text.startsWith("QStandardPaths: XDG_RUNTIME_DIR")) return;
  previousHandler(type, context, text);
}

/// Writes `picture` as PNG to the path's bytes, which need not be UTF-8; false when that fails.
bool writePicture(const QPixmap& picture, const std::string& path) {
  QBuffer png;
  if (!png.open(QIODevice::WriteOnly) || !picture.save(&png, "PNG")) return false;
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(png.data().constData(), png.data().size());
  file.close();
  return file.good();
}

}  // namespace

void silencePlatformWithoutScreen() {
  if (!previousHandler) previousHandler = qInstallMessageHandler(dropPlatformChatter);
}

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
  if (!writePicture(picture, *line.screenshotPath)) {
    throw Error::posix(0, "Could not write the picture " + *line.screenshotPath + ".");
  }
}

}  // namespace quillmor
