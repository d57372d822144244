#pragma once

#include <memory>
#include <string>
#include <vector>

#include "blackbox/ChildProcess.h"
#include "blackbox/FakePointer.h"
#include "support/TemporaryFolder.h"

namespace quillmor::test {

/// A desktop of its own for one test: an X server without a screen, a window manager, message
/// buses and a home folder. Keys and clicks go through the X server like those of a user.
class Desktop {
 public:
  /// Throws when one of the programs it needs is missing or does not come up.
  Desktop();

  /// What a program needs to know to appear on this desktop.
  const ChildProcess::Environment& environment() const { return environment_; }
  /// The same without the display.
  ChildProcess::Environment environmentWithoutDisplay() const;

  /// Where programs show their user interface to assistive technology.
  const std::string& accessibilityAddress() const { return accessibilityAddress_; }
  const TemporaryFolder& home() const { return home_; }

  /// Presses keys one after another: "ctrl+s", "Return", "shift+Right".
  void press(const std::vector<std::string>& keys) const;
  /// Presses the keys that type an ASCII text.
  void type(const std::string& text) const;
  /// Clicks with the left button at a place on the screen.
  void click(int x, int y) const;
  /// Clicks at a place and moves on at once: the pointer is elsewhere before anybody has dealt with
  /// the click.
  void clickAndMoveOn(ScreenPoint place, ScreenPoint next) const;
  /// Presses the button at one place and releases it at another, as fast.
  void drag(ScreenPoint from, ScreenPoint to) const;
  /// The title of the window that gets the keys; empty when there is none.
  std::string activeWindowTitle() const;

 private:
  void startServer();
  void startWindowManager();
  void startBuses();
  std::string askForAccessibilityAddress() const;
  std::string xdotool(std::vector<std::string> arguments) const;

  TemporaryFolder home_;
  ChildProcess::Environment environment_;
  std::string accessibilityAddress_;
  std::unique_ptr<ChildProcess> server_;
  std::unique_ptr<ChildProcess> windowManager_;
  std::unique_ptr<ChildProcess> bus_;
  std::unique_ptr<ChildProcess> accessibility_;
};

}  // namespace quillmor::test
