#include "ui/app/Screenshot.h"

#include <QBuffer>
#include <QByteArray>
#include <QCoreApplication>
#include <QPixmap>
#include <cerrno>
#include <string_view>

#include "fileaccess/AtomicTextFileWriter.h"
#include "fileaccess/OutputDestination.h"
#include "ui/window/EditorWindow.h"

namespace quillmor {

namespace {

QtMessageHandler previousHandler = nullptr;

/// The offscreen platform reports everything that it lacks for want of a screen.
void dropPlatformChatter(QtMsgType type, const QMessageLogContext& context, const QString& text) {
  if (text.startsWith("This plugin does not support")) return;
  // A session without a login has no folder for sockets, and a picture needs none.
  if (text.startsWith("QStandardPaths: XDG_RUNTIME_DIR")) return;
  previousHandler(type, context, text);
}

QByteArray pngOf(const QPixmap& picture) {
  QBuffer png;
  if (!png.open(QIODevice::WriteOnly) || !picture.save(&png, "PNG"))
    throw Error::posix(ENOMEM, "The picture could not be made.");
  return png.data();
}

}  // namespace

void silencePlatformWithoutScreen() {
  if (!previousHandler) previousHandler = qInstallMessageHandler(dropPlatformChatter);
}

void saveScreenshot(const CommandLine& line, AppDelegate& delegate, ApplicationWindows& windows) {
  const FileLocation& input = line.files.front();
  // The writer looks again; here it saves the work for a picture that cannot be written.
  SecureFileAccess::validateDistinctOutputURL(*line.picture, {&input, 1});
  SecureFileAccess::validateOutputDestinationKind(*line.picture);
  const auto controller = delegate.openNow(input);
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
  const QByteArray png = pngOf(window.grab());
  AtomicTextFileWriter writer(*line.picture, {input});
  writer.write(std::string_view(png.constData(), static_cast<std::size_t>(png.size())));
  writer.finish();
}

}  // namespace quillmor
