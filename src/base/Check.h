#pragma once

namespace quillmor {

/// Writes `message` to the standard error stream and aborts the process.
[[noreturn]] void failPrecondition(const char* message) noexcept;

/// Stops the process with `message` unless `holds`. Stays on in release builds: a broken
/// precondition is a programming fault, and continuing would damage the user's bytes.
inline void checkPrecondition(bool holds, const char* message) noexcept {
  if (!holds) [[unlikely]] {
    failPrecondition(message);
  }
}

}  // namespace quillmor
