#include <QApplication>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "app/AppDelegate.h"
#include "app/ApplicationWindows.h"
#include "app/CommandLine.h"
#include "app/DarkAppearance.h"
#include "app/Screenshot.h"
#include "platform_qt/QtPlatform.h"

namespace {

using namespace quillmor;

constexpr int kFailureStatus = 2;

int run(const CommandLine& line, QApplication& application) {
  QtPlatform platform;
  ApplicationWindows windows;
  AppDelegate delegate(platform.services(), windows);
  windows.setDelegate(delegate);
  if (line.screenshotPath) {
    saveScreenshot(line, delegate, windows);
    windows.destroyWindows();
    return EXIT_SUCCESS;
  }
  if (line.files.empty()) {
    delegate.openUntitledDocumentIfNeeded();
  } else {
    delegate.openFiles(line.files, [](bool) {});
  }
  const int status = application.exec();
  windows.destroyWindows();
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  // A write over a file size limit or into a closed pipe is an error of that write, not the end of
  // the program and of what is unsaved in it.
  std::signal(SIGXFSZ, SIG_IGN);
  std::signal(SIGPIPE, SIG_IGN);

  const CommandLine line = parseCommandLine({argv + 1, argv + argc});
  if (line.exitStatus) {
    std::fputs(line.message.c_str(), *line.exitStatus == 0 ? stdout : stderr);
    return *line.exitStatus;
  }
  if (line.screenshotPath) qputenv("QT_QPA_PLATFORM", "offscreen");

  int qtArgumentCount = 1;
  QApplication application(qtArgumentCount, argv);
  QApplication::setApplicationName("Quillmor");
  QApplication::setOrganizationName("tenvale");
  QApplication::setApplicationVersion(QUILLMOR_VERSION);
  applyDarkAppearance(application);
  try {
    return run(line, application);
  } catch (const Error& error) {
    std::fprintf(stderr, "quillmor: %s\n", error.message().c_str());
    return kFailureStatus;
  }
}
