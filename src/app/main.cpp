#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "app/AppDelegate.h"
#include "app/ApplicationWindows.h"
#include "app/CommandLine.h"
#include "app/DarkAppearance.h"
#include "app/GuardedApplication.h"
#include "app/Screenshot.h"
#include "platform_qt/QtPlatform.h"

namespace {

using namespace quillmor;

constexpr int kFailureStatus = 2;

/// While it lives, failures of events are shown as `alerts`; when it goes, however that comes
/// about, the windows go first and their delegate and services after them.
class Session {
 public:
  Session(GuardedApplication& application, AlertPresenter* alerts, ApplicationWindows& windows)
      : application_(application), windows_(windows) {
    application_.setAlertPresenter(alerts);
  }
  ~Session() {
    application_.setAlertPresenter(nullptr);
    windows_.destroyWindows();
  }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

 private:
  GuardedApplication& application_;
  ApplicationWindows& windows_;
};

int run(const CommandLine& line, GuardedApplication& application) {
  QtPlatform platform;
  const PlatformServices services = platform.services();
  ApplicationWindows windows(services);
  AppDelegate delegate(services, windows);
  windows.setDelegate(delegate);
  // A picture is made without anybody who could answer an alert: its failure ends the program.
  const Session session(application, line.screenshotPath ? nullptr : &services.alerts, windows);
  if (line.screenshotPath) {
    saveScreenshot(line, delegate, windows);
    return EXIT_SUCCESS;
  }
  if (line.files.empty()) {
    delegate.openUntitledDocumentIfNeeded();
  } else {
    delegate.openFiles(line.files, [](bool) {});
  }
  return GuardedApplication::exec();
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
  if (line.screenshotPath) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    silencePlatformWithoutScreen();
  }

  // A motion with the button held must not be dropped for a later one without: `HeldMotions` tells
  // drags by it.
  QCoreApplication::setAttribute(Qt::AA_CompressHighFrequencyEvents, false);
  int qtArgumentCount = 1;
  GuardedApplication application(qtArgumentCount, argv);
  QApplication::setApplicationName("Quillmor");
  QApplication::setOrganizationName("tenvale");
  QApplication::setApplicationVersion(QUILLMOR_VERSION);
  applyDarkAppearance(application);
  try {
    return run(line, application);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "quillmor: %s\n", error.what());
    return kFailureStatus;
  }
}
