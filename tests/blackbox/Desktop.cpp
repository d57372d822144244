#include "blackbox/Desktop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace quillmor::test {

namespace {

constexpr const char* kScreen = "1600x1200x24";
constexpr const char* kAccessibilityLauncher = "/usr/libexec/at-spi-bus-launcher";
constexpr int kCommandFailed = 1;

// Everybody on this bus may talk to everybody, and nothing is started through it.
constexpr const char* kBusConfiguration = R"(<busconfig>
  <type>session</type>
  <listen>unix:dir=FOLDER</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow eavesdrop="true"/>
    <allow own="*"/>
    <allow send_destination="*" eavesdrop="true"/>
  </policy>
</busconfig>
)";

std::string firstLine(const std::string& text) {
  const auto end = text.find('\n');
  return end == std::string::npos ? "" : text.substr(0, end);
}

/// The first line that `process` prints; throws when it ends or keeps silent.
std::string answerOf(ChildProcess& process, const std::string& name) {
  waitUntil([&] { return !firstLine(process.output()).empty() || !process.isRunning(); });
  const std::string line = firstLine(process.output());
  if (line.empty()) throw std::runtime_error(name + " did not start: " + process.errors());
  return line;
}

}  // namespace

Desktop::Desktop() {
  const char* path = std::getenv("PATH");
  environment_ = {{"PATH", path != nullptr ? path : "/usr/bin:/bin"},
                  {"LC_ALL", "C.UTF-8"},
                  {"QT_QPA_PLATFORM", "xcb"}};
  for (const char* name : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME",
                           "XDG_CACHE_HOME", "XDG_RUNTIME_DIR"}) {
    environment_[name] = home_.path().native();
  }
  startServer();
  startWindowManager();
  startBuses();
}

void Desktop::startServer() {
  server_ = std::make_unique<ChildProcess>(
      std::vector<std::string>{"Xvfb", "-displayfd", "1", "-screen", "0", kScreen, "-nolisten",
                               "tcp", "-ac", "-noreset"},
      environment_);
  environment_["DISPLAY"] = ":" + answerOf(*server_, "Xvfb");
}

void Desktop::startWindowManager() {
  windowManager_ =
      std::make_unique<ChildProcess>(std::vector<std::string>{"openbox"}, environment_);
  // The window manager says by this property that it is ready.
  const bool isReady = waitUntil([this] {
    ChildProcess query({"xprop", "-root", "_NET_SUPPORTING_WM_CHECK"}, environment_);
    query.waitForExit();
    return query.output().find("window id") != std::string::npos || !windowManager_->isRunning();
  });
  if (!isReady || !windowManager_->isRunning()) {
    throw std::runtime_error("openbox did not start: " + windowManager_->errors());
  }
}

void Desktop::startBuses() {
  std::string configuration = kBusConfiguration;
  configuration.replace(configuration.find("FOLDER"), 6, home_.path().native());
  const FileLocation file = home_.write("bus.conf", configuration);
  bus_ = std::make_unique<ChildProcess>(
      std::vector<std::string>{"dbus-daemon", "--nofork", "--print-address=1",
                               "--config-file=" + file.path()},
      environment_);
  environment_["DBUS_SESSION_BUS_ADDRESS"] = answerOf(*bus_, "dbus-daemon");
  environment_["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1";
  accessibility_ = std::make_unique<ChildProcess>(std::vector<std::string>{kAccessibilityLauncher},
                                                  environment_);
  waitUntil([this] {
    accessibilityAddress_ = askForAccessibilityAddress();
    return !accessibilityAddress_.empty() || !accessibility_->isRunning();
  });
  if (accessibilityAddress_.empty()) {
    throw std::runtime_error("the accessibility bus did not start: " + accessibility_->errors());
  }
}

std::string Desktop::askForAccessibilityAddress() const {
  ChildProcess query({"dbus-send", "--print-reply=literal", "--dest=org.a11y.Bus", "/org/a11y/bus",
                      "org.a11y.Bus.GetAddress"},
                     environment_);
  if (query.waitForExit() != 0) return "";
  const std::string answer = query.output();
  return answer.substr(std::min(answer.find_first_not_of(' '), answer.size()));
}

ChildProcess::Environment Desktop::environmentWithoutDisplay() const {
  ChildProcess::Environment environment = environment_;
  environment.erase("DISPLAY");
  environment.erase("QT_QPA_PLATFORM");
  return environment;
}

std::string Desktop::xdotool(std::vector<std::string> arguments) const {
  arguments.insert(arguments.begin(), "xdotool");
  ChildProcess process(arguments, environment_);
  EXPECT_EQ(process.waitForExit(), 0) << process.errors();
  return process.output();
}

void Desktop::press(const std::vector<std::string>& keys) const {
  std::vector<std::string> arguments = {"key", "--delay", "0"};
  arguments.insert(arguments.end(), keys.begin(), keys.end());
  xdotool(arguments);
}

void Desktop::type(const std::string& text) const {
  xdotool({"type", "--delay", "0", "--", text});
}

void Desktop::click(int x, int y) const {
  xdotool({"mousemove", "--sync", std::to_string(x), std::to_string(y), "click", "1"});
}

void Desktop::clickAndMoveOn(ScreenPoint place, ScreenPoint next) const {
  xdotool({"mousemove", "--sync", std::to_string(place.x), std::to_string(place.y)});
  const FakePointer pointer(environment_.at("DISPLAY"));
  pointer.press(true);
  pointer.press(false);
  pointer.move(next);
}

void Desktop::drag(ScreenPoint from, ScreenPoint to) const {
  xdotool({"mousemove", "--sync", std::to_string(from.x), std::to_string(from.y)});
  const FakePointer pointer(environment_.at("DISPLAY"));
  pointer.press(true);
  pointer.move(to);
  pointer.press(false);
}

std::string Desktop::activeWindowTitle() const {
  ChildProcess process({"xdotool", "getactivewindow", "getwindowname"}, environment_);
  if (process.waitForExit().value_or(kCommandFailed) != 0) return "";
  return firstLine(process.output());
}

}  // namespace quillmor::test
