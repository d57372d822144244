#pragma once

#include <QDBusConnection>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "blackbox/Accessible.h"

namespace quillmor::test {

/// A window of a program as it stands on the screen.
struct ShownWindow {
  std::string title;
  bool isDialog = false;
  ScreenRect place;
};

/// Looks at the windows of a running program, and at what it holds and how long it takes to answer.
class WindowWatch {
 public:
  /// Throws when there is no such bus.
  explicit WindowWatch(const std::string& accessibilityAddress);
  ~WindowWatch();
  WindowWatch(const WindowWatch&) = delete;
  WindowWatch& operator=(const WindowWatch&) = delete;

  /// Waits for the program; false when it does not come.
  bool find(unsigned processID);

  std::size_t windowCount() const;
  /// The window that gets the keys; none while there is none.
  std::optional<ShownWindow> active() const;
  /// True if the active window lets the user choose a file.
  bool isFilePanel() const;
  /// True if the active window shows a document.
  bool isEditor() const;
  /// The place of a button of the active window.
  std::optional<ScreenRect> button(const std::string& title) const;

  /// How long the event loop takes to answer a call. Two times are taken off it, so that a busy
  /// machine does not look like a busy program: the one for which the program was ready to run and
  /// others had the processors, where the system tells it; and the longest that the bus itself took
  /// to answer a call made meanwhile, in which it or the tests may have waited for a processor.
  std::chrono::nanoseconds roundTrip() const;

  std::int64_t memory() const;  ///< the bytes that lie in memory
  /// The open files, pipes and connections; what wakes threads up is counted when asked for, which
  /// goes half a minute after the last work of a thread.
  std::int64_t descriptorCount(bool withWaking) const;

 private:
  std::vector<Accessible> windows() const;
  std::optional<Accessible> activeObject() const;
  std::chrono::nanoseconds roundTripOfBus() const;
  /// Of the program, for a processor, until now; 0 where the system does not tell.
  std::chrono::nanoseconds waited() const;
  std::string procFile(const std::string& name) const;

  QDBusConnection bus_;
  unsigned processID_ = 0;
  std::optional<Accessible> application_;
};

}  // namespace quillmor::test
