#pragma once

#include <chrono>
#include <functional>

namespace quillmor {

/// Runs work off the main thread and functions on it. All members are safe from any thread.
class BackgroundExecutor {
 public:
  virtual ~BackgroundExecutor() = default;

  /// Starts `work` on another thread. `work` must not throw.
  virtual void runDetached(std::function<void()> work) = 0;

  /// Runs `function` on the main thread, later, in the order of the calls.
  virtual void postToMain(std::function<void()> function) = 0;

  /// Runs `function` on the main thread once `delay` has passed.
  virtual void postToMainAfter(std::chrono::milliseconds delay, std::function<void()> function) = 0;
};

}  // namespace quillmor
