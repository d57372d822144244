#include "faults/window/WindowWatch.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <future>
#include <stdexcept>

#include "blackbox/ChildProcess.h"

namespace quillmor::test {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::nanoseconds;

const QString kBusName = QStringLiteral("window-watch");

}  // namespace

WindowWatch::WindowWatch(const std::string& accessibilityAddress)
    : bus_(QDBusConnection::connectToBus(QString::fromStdString(accessibilityAddress), kBusName)) {
  if (!bus_.isConnected()) throw std::runtime_error("no connection to the accessibility bus");
}

WindowWatch::~WindowWatch() {
  QDBusConnection::disconnectFromBus(kBusName);
}

bool WindowWatch::find(unsigned processID) {
  processID_ = processID;
  return waitUntil([&] {
    application_ = findApplication(bus_, processID);
    return application_.has_value();
  });
}

std::vector<Accessible> WindowWatch::windows() const {
  if (!application_) return {};
  std::vector<Accessible> windows = application_->children();
  std::erase_if(windows, [](const Accessible& window) { return !window.isVisible(); });
  return windows;
}

std::size_t WindowWatch::windowCount() const {
  return windows().size();
}

std::optional<Accessible> WindowWatch::activeObject() const {
  for (const Accessible& window : windows())
    if (window.isActive()) return window;
  return std::nullopt;
}

std::optional<ShownWindow> WindowWatch::active() const {
  const auto window = activeObject();
  if (!window) return std::nullopt;
  const std::string role = window->role();
  return ShownWindow{window->name(), role == "dialog" || role == "alert message", window->rect()};
}

bool WindowWatch::isFilePanel() const {
  const auto window = activeObject();
  return window && window->named("Look in:");
}

bool WindowWatch::isEditor() const {
  const auto window = activeObject();
  if (!window) return false;
  const auto labels = window->allWithRole("label");
  return std::ranges::any_of(labels,
                             [](const auto& label) { return label.description() == "Status"; });
}

std::optional<ScreenRect> WindowWatch::button(const std::string& title) const {
  const auto window = activeObject();
  const auto button = window ? window->named(title) : std::nullopt;
  return button ? std::optional(button->rect()) : std::nullopt;
}

nanoseconds WindowWatch::roundTrip() const {
  if (!application_) return {};
  constexpr std::chrono::milliseconds kAtOnce(10);
  const nanoseconds waitedBefore = waited();
  const auto begin = Clock::now();
  auto answer = std::async(std::launch::async, [this] {
    application_->role();
    return Clock::now();
  });
  nanoseconds longestOfBus(0);
  while (answer.wait_for(kAtOnce) != std::future_status::ready)
    longestOfBus = std::max(longestOfBus, roundTripOfBus());
  const nanoseconds time = answer.get() - begin;
  return std::max(nanoseconds(0), time - longestOfBus - (waited() - waitedBefore));
}

nanoseconds WindowWatch::roundTripOfBus() const {
  const QString name = QStringLiteral("org.freedesktop.DBus");
  const auto begin = Clock::now();
  bus_.call(QDBusMessage::createMethodCall(name, QStringLiteral("/org/freedesktop/DBus"), name,
                                           QStringLiteral("GetId")));
  return Clock::now() - begin;
}

nanoseconds WindowWatch::waited() const {
  // The times of the main thread: running, and waiting for a processor.
  std::ifstream times(procFile("schedstat"));
  std::int64_t running = 0;
  std::int64_t waiting = 0;
  times >> running >> waiting;
  return nanoseconds(waiting);
}

std::string WindowWatch::procFile(const std::string& name) const {
  return "/proc/" + std::to_string(processID_) + "/" + name;
}

std::int64_t WindowWatch::memory() const {
  std::ifstream pages(procFile("statm"));
  std::int64_t all = 0;
  std::int64_t resident = 0;
  pages >> all >> resident;
  return resident * ::sysconf(_SC_PAGESIZE);
}

std::int64_t WindowWatch::descriptorCount(bool withWaking) const {
  namespace fs = std::filesystem;
  std::error_code error;
  std::int64_t count = 0;
  for (const auto& entry : fs::directory_iterator(procFile("fd"), error)) {
    const bool isForWaking = fs::read_symlink(entry.path(), error) == "anon_inode:[eventfd]";
    count += withWaking || !isForWaking ? 1 : 0;
  }
  return count;
}

}  // namespace quillmor::test
