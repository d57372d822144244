#pragma once

#include <atomic>
#include <cstdint>

#include "base/Error.h"

namespace quillmor {

/// What long work and its watcher share: bytes done, bytes in total, and the request to stop. Safe
/// from any thread. The worker calls `checkpoint` at least every few milliseconds of work.
class TaskProgress {
 public:
  /// Sets what 100 % means, in bytes; 0 or less means "not known".
  void setTotal(std::int64_t bytes) { total_.store(bytes, std::memory_order_relaxed); }

  /// Adds to the bytes done.
  void advance(std::int64_t bytes) { done_.fetch_add(bytes, std::memory_order_relaxed); }

  /// Starts the count again for the next part of the work; a request to stop stays.
  void restart() {
    done_.store(0, std::memory_order_relaxed);
    total_.store(0, std::memory_order_relaxed);
  }

  /// The part done, 0 to 1; negative while the total is not known.
  double fraction() const {
    const auto total = total_.load(std::memory_order_relaxed);
    if (total <= 0) return -1;
    const double part =
        static_cast<double>(done_.load(std::memory_order_relaxed)) / static_cast<double>(total);
    return part < 1 ? part : 1;
  }

  /// Asks the work to stop; has no effect once the work has passed its point of no return.
  void requestStop() {
    auto expected = Stopping::notRequested;
    stop_.compare_exchange_strong(expected, Stopping::requested, std::memory_order_relaxed);
  }
  bool stopRequested() const {
    return stop_.load(std::memory_order_relaxed) == Stopping::requested;
  }

  /// True if a request to stop would still have an effect.
  bool canBeStopped() const { return stop_.load(std::memory_order_relaxed) != Stopping::tooLate; }

  /// Throws `Error::stopped()` when a stop was requested.
  void checkpoint() const {
    if (stopRequested()) throw Error::stopped();
  }

  /// A checkpoint after which requests to stop have no effect. For work that is about to have its
  /// effect, so that it is never reported as stopped afterwards.
  void passPointOfNoReturn() {
    auto expected = Stopping::notRequested;
    stop_.compare_exchange_strong(expected, Stopping::tooLate, std::memory_order_relaxed);
    checkpoint();
  }

 private:
  enum class Stopping { notRequested, requested, tooLate };

  std::atomic<std::int64_t> done_{0};
  std::atomic<std::int64_t> total_{0};
  std::atomic<Stopping> stop_{Stopping::notRequested};
};

}  // namespace quillmor
