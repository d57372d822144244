#pragma once

#include <QDBusConnection>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "blackbox/Accessible.h"

namespace quillmor::test {

/// What the status line of an editor has shown at a moment.
struct ShownStatus {
  std::string text;
  std::int64_t size = 0;
  std::int64_t offset = 0;
};

/// Looks at the status line of a running editor with one call of the accessibility bus, which the
/// editor answers in its event loop: an answer shows that the loop runs. Knows the object once it
/// was found, so that a look takes a millisecond.
class StatusProbe {
 public:
  /// Throws when there is no such bus.
  explicit StatusProbe(const std::string& accessibilityAddress);
  ~StatusProbe();
  StatusProbe(const StatusProbe&) = delete;
  StatusProbe& operator=(const StatusProbe&) = delete;

  /// Waits for the status line of the program; false when it does not come.
  bool find(unsigned processID);

  /// What the line shows now; none when the program has gone.
  std::optional<ShownStatus> look() const;

 private:
  QDBusConnection bus_;
  std::optional<Accessible> line_;
};

}  // namespace quillmor::test
