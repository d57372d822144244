#include "base/OrderedPieces.h"

#include <array>
#include <atomic>
#include <exception>
#include <thread>

namespace quillmor {
namespace {

class OrderedWork {
 public:
  OrderedWork(std::int64_t count, const std::function<bool(std::int64_t, int)>& work)
      : end_(count), work_(work) {}

  void takePieces(int worker) noexcept {
    for (;;) {
      const std::int64_t index = next_.fetch_add(1);
      if (index >= end_) return;
      try {
        if (!work_(index, worker)) endAfter(index);
      } catch (...) {
        failures_[static_cast<std::size_t>(worker)] = {index, std::current_exception()};
        endAfter(index);
        return;
      }
    }
  }

  /// Ignores what pieces after the end have thrown.
  void rethrowFirstFailure() const {
    const Failure* first = nullptr;
    for (const Failure& failure : failures_) {
      const bool counts = failure.exception && failure.index < end_;
      if (counts && (first == nullptr || failure.index < first->index)) first = &failure;
    }
    if (first != nullptr) std::rethrow_exception(first->exception);
  }

 private:
  struct Failure {
    std::int64_t index = 0;
    std::exception_ptr exception;
  };

  void endAfter(std::int64_t index) {
    std::int64_t end = end_;
    while (end > index + 1 && !end_.compare_exchange_weak(end, index + 1)) continue;
  }

  std::atomic<std::int64_t> next_ = 0;
  std::atomic<std::int64_t> end_;
  const std::function<bool(std::int64_t, int)>& work_;
  std::array<Failure, kMaximumPieceWorkers> failures_;
};

}  // namespace

void forEachPieceInOrder(std::int64_t count, bool mayShare,
                         const std::function<bool(std::int64_t index, int worker)>& work) {
  OrderedWork ordered(count, work);
  std::thread helper;
  if (mayShare && count > 1 && std::thread::hardware_concurrency() > 1) {
    try {
      helper = std::thread([&ordered] { ordered.takePieces(1); });
    } catch (...) {
      // There is no thread left, or no memory to start one; the pieces are all done here.
    }
  }
  ordered.takePieces(0);
  if (helper.joinable()) helper.join();
  ordered.rethrowFirstFailure();
}

}  // namespace quillmor
