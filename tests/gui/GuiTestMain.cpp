// Runs the GUI tests without a screen and away from the user's own settings, whatever starts them.

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include "app/GuardedApplication.h"

int main(int argc, char** argv) {
  const QTemporaryDir home;
  if (!home.isValid()) return 1;
  for (const char* name :
       {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_RUNTIME_DIR"}) {
    qputenv(name, home.path().toLocal8Bit());
  }
  // A test that reaches for the desktop must fail, not change the desktop.
  qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + home.path().toLocal8Bit() + "/no-bus");
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  const quillmor::GuardedApplication application(argc, argv);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
