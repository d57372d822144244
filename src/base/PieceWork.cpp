#include "base/PieceWork.h"

#include <algorithm>
#include <atomic>
#include <thread>

#include "base/SaturatingMath.h"

namespace quillmor {
namespace {

/// Threads take runs of this many bytes, so that they rarely meet on one huge page: both would
/// clear it when it is new, and one in vain.
constexpr std::int64_t kRunSize = 4 * kWorkPieceSize;

class SharedWork {
 public:
  SharedWork(std::int64_t count, TaskProgress& progress,
             const std::function<void(std::int64_t, std::int64_t)>& work)
      : count_(count), progress_(progress), work_(work) {}

  /// Works on runs until none is left to begin with, or until a stop is requested.
  void takeRuns() noexcept {
    for (;;) {
      const std::int64_t run = nextRun_.fetch_add(1, std::memory_order_relaxed);
      const std::int64_t begin = saturatingMultiply(run, kRunSize);
      if (begin >= count_ || !doRun(begin, std::min(saturatingAdd(begin, kRunSize), count_)))
        return;
    }
  }

 private:
  bool doRun(std::int64_t begin, std::int64_t end) noexcept {
    while (begin < end) {
      if (progress_.stopRequested()) return false;
      const std::int64_t size = std::min(kWorkPieceSize, end - begin);
      work_(begin, begin + size);
      progress_.advance(size);
      begin += size;
    }
    return true;
  }

  std::int64_t count_;
  TaskProgress& progress_;
  const std::function<void(std::int64_t, std::int64_t)>& work_;
  std::atomic<std::int64_t> nextRun_ = 0;
};

}  // namespace

void forEachPiece(std::int64_t count, TaskProgress& progress,
                  const std::function<void(std::int64_t begin, std::int64_t end)>& work) {
  SharedWork shared(count, progress, work);
  std::thread helper;
  if (count >= kSharedWorkThreshold && std::thread::hardware_concurrency() > 1) {
    try {
      helper = std::thread([&shared] { shared.takeRuns(); });
    } catch (...) {
      // There is no thread left, or no memory to start one; the pieces are all done here.
    }
  }
  shared.takeRuns();
  if (helper.joinable()) helper.join();
  progress.checkpoint();
}

}  // namespace quillmor
