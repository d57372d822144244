#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>

#include "app/AppDelegate.h"
#include "base/VisibleText.h"
#include "platform/MemoryUserDefaults.h"
#include "platform/TransientUserDefaults.h"
#include "platform_qt/QtPlatform.h"
#include "platform_qt/QtUserDefaults.h"
#include "recovery/RecordStore.h"
#include "ui/app/ApplicationWindows.h"
#include "ui/app/CommandLine.h"
#include "ui/app/DarkAppearance.h"
#include "ui/app/GuardedApplication.h"
#include "ui/app/Screenshot.h"
#include "ui/app/TerminationSignals.h"

namespace {

using namespace quillmor;

constexpr int kFailureStatus = 2;

/// While it lives, failures of events are shown as `alerts`; when it goes, however that comes
/// about, the windows go first and their delegate and services after them.
class Session {
 public:
  Session(GuardedApplication& application, AlertPresenter* alerts, AppDelegate& delegate,
          ApplicationWindows& windows)
      : application_(application), windows_(windows) {
    application_.setAlertPresenter(alerts);
    application_.setFailureObserver([&delegate](const Error& failure) {
      if (const auto editor = delegate.currentHexWindowController())
        editor->context().messages().noteReason(failure);
    });
  }
  ~Session() {
    application_.setFailureObserver(nullptr);
    application_.setAlertPresenter(nullptr);
    windows_.destroyWindows();
  }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

 private:
  GuardedApplication& application_;
  ApplicationWindows& windows_;
};

/// A picture is the same whatever the user has set, and leaves no trace but itself.
std::unique_ptr<UserDefaults> defaultsFor(const CommandLine& line) {
  if (line.picture) return std::make_unique<MemoryUserDefaults>();
  auto users = std::make_unique<QtUserDefaults>();
  if (!line.isPrivate) return users;
  // The file dialogs of the toolkit note the folders that they have shown.
  QtUserDefaults::writeNoOtherSettings();
  return std::make_unique<TransientUserDefaults>(std::move(users));
}

int run(const CommandLine& line, GuardedApplication& application) {
  const RecordStore records = RecordStore::ofThisUser();
  QtPlatform platform(defaultsFor(line));
  const PlatformServices services = platform.services();
  ApplicationWindows windows(services);
  AppDelegate delegate(services, windows, line.picture ? nullptr : &records,
                       line.isPrivate ? Traces::none : Traces::kept);
  windows.setDelegate(delegate);
  // A picture is made without anybody who could answer an alert: its failure ends the program.
  const Session session(application, line.picture ? nullptr : &services.alerts, delegate, windows);
  if (line.picture) {
    saveScreenshot(line, delegate, windows);
    return EXIT_SUCCESS;
  }
  const TerminationSignals termination(
      {.endNow = [&delegate] { delegate.endSession(); },
       .review = [&delegate](auto completion) { delegate.reviewForSessionEnd(completion); },
       .keep = [&delegate] { delegate.keepUnsavedChanges(); }});
  if (line.files.empty()) {
    delegate.openUntitledDocumentIfNeeded();
  } else {
    delegate.openFiles(line.files, [](bool) {});
  }
  delegate.offerRecovery();
  return GuardedApplication::exec();
}

}  // namespace

int main(int argc, char** argv) {
  // A write beyond a file size limit or into a closed pipe is an error of that write. It must not
  // end the program, which may have unsaved documents.
  std::signal(SIGXFSZ, SIG_IGN);
  std::signal(SIGPIPE, SIG_IGN);

  const CommandLine line = parseCommandLine({argv + 1, argv + argc});
  if (line.exitStatus) {
    std::fputs(line.message.c_str(), *line.exitStatus == 0 ? stdout : stderr);
    return *line.exitStatus;
  }
  if (line.picture) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    silencePlatformWithoutScreen();
  }

  int qtArgumentCount = 1;
  GuardedApplication application(qtArgumentCount, argv);
  // A motion with the button held must not be replaced by a later one without it: `HeldMotions`
  // recognises drags by it. The application's constructor sets this itself.
  QCoreApplication::setAttribute(Qt::AA_CompressHighFrequencyEvents, false);
  QApplication::setApplicationName("Quillmor");
  QApplication::setOrganizationName("tenvale");
  QApplication::setApplicationVersion(QUILLMOR_VERSION);
  applyDarkAppearance(application);
  try {
    const int status = run(line, application);
    if (const int signal = TerminationSignals::received()) dieOf(signal);
    return status;
  } catch (const Error& error) {
    std::fprintf(stderr, "quillmor: %s\n", visibleText(error.messageWithReason()).c_str());
    return kFailureStatus;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "quillmor: %s\n", visibleText(error.what()).c_str());
    return kFailureStatus;
  }
}
