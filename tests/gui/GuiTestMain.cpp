// Runs the GUI tests without a screen and away from the user's own settings, whatever starts them.

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include "ui/app/GuardedApplication.h"

namespace {

/// A large screen, where windows have their usual size, and a very small one.
constexpr const char* kScreens = R"({"screens": [
  {"name": "large", "x": 0, "y": 0, "width": 1600, "height": 1200,
   "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1},
  {"name": "small", "x": 1600, "y": 0, "width": 400, "height": 300,
   "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1}]})";

/// The platform without a screen, told of these.
QByteArray screens(const QTemporaryDir& folder) {
  QFile file(folder.filePath("screens.json"));
  if (!file.open(QIODevice::WriteOnly) || file.write(kScreens) < 0) return "offscreen";
  return "offscreen:configfile=" + file.fileName().toLocal8Bit();
}

}  // namespace

int main(int argc, char** argv) {
  const QTemporaryDir home;
  if (!home.isValid()) return 1;
  for (const char* name : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME",
                           "XDG_CACHE_HOME", "XDG_RUNTIME_DIR"}) {
    qputenv(name, home.path().toLocal8Bit());
  }
  // A test that reaches for the desktop must fail, not change the desktop.
  qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + home.path().toLocal8Bit() + "/no-bus");
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", screens(home));
  const quillmor::GuardedApplication application(argc, argv);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
