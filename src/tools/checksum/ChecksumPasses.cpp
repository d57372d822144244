#include "tools/checksum/ChecksumPasses.h"

#include <atomic>
#include <exception>
#include <thread>
#include <vector>

#include "base/ByteUnits.h"
#include "base/MessageDigest.h"
#include "kernels/ByteTally.h"
#include "tools/checksum/BasicSums.h"

namespace quillmor::Checksum {
namespace {

using Piece = std::span<const std::uint8_t>;

/// Small enough to stay in a core's own cache while all that a pass does is done to it.
constexpr std::int64_t kPieceSize = 128 * kKiB;

/// Starting a thread costs about as much as hashing some ten thousand bytes.
constexpr std::int64_t kSharedThreshold = 4 * kPieceSize;

/// Two passes over the bytes, each in order and each good for a thread: one for MD5, which takes
/// longest and cannot be divided, one for all the rest. Only the counts of the byte values need no
/// order: whichever pass comes to a piece first counts it, which slows down the one that is ahead.
class Passes {
 public:
  Passes(const ByteSource& source, TaskProgress& progress) : source_(source), progress_(progress) {
    progress_.setTotal(source_.size());
    progress_.checkpoint();
  }

  AllValues run() {
    std::thread helper = startedHelper();
    const bool isShared = helper.joinable();
    runMd5();
    if (isShared) {
      helper.join();
    } else {
      runOthers();
    }
    for (const Pass* pass : {&md5Pass_, &otherPass_}) {
      if (pass->failure) std::rethrow_exception(pass->failure);
    }
    progress_.checkpoint();
    return result();
  }

 private:
  struct Pass {
    ByteCounts counts{};
    std::exception_ptr failure;
  };

  std::thread startedHelper() {
    if (source_.size() < kSharedThreshold || std::thread::hardware_concurrency() < 2) return {};
    try {
      return std::thread([this] { runOthers(); });
    } catch (...) {
      // There is no thread left, or no memory to start one; both passes are made here.
      return {};
    }
  }

  void runMd5() noexcept {
    run(md5Pass_, [this](Piece piece) {
      md5_.add(piece);
      progress_.advance(std::ssize(piece) - std::ssize(piece) / 2);
    });
  }

  void runOthers() noexcept {
    run(otherPass_, [this](Piece piece) {
      sha1_.add(piece);
      sha256_.add(piece);
      sums_.add(piece);
      progress_.advance(std::ssize(piece) / 2);
    });
  }

  template <typename Work>
  void run(Pass& pass, Work work) noexcept {
    try {
      std::vector<std::uint8_t> buffer;
      for (std::int64_t begin = 0; begin < source_.size(); begin += kPieceSize) {
        if (progress_.stopRequested() || hasFailed_.load(std::memory_order_relaxed)) return;
        const Piece piece = source_.piece(begin, kPieceSize, buffer);
        if (isFirstAt(begin)) addTally(pass.counts, byteTally(piece));
        work(piece);
      }
    } catch (...) {
      pass.failure = std::current_exception();
      hasFailed_.store(true, std::memory_order_relaxed);
    }
  }

  /// Whether the other pass has not come to the piece at `begin` yet.
  bool isFirstAt(std::int64_t begin) {
    return reached_.compare_exchange_strong(begin, begin + kPieceSize, std::memory_order_relaxed);
  }

  AllValues result() {
    AllValues all;
    all.basic = sums_.values();
    all.digests = {.md5 = md5_.finished(), .sha1 = sha1_.finished(), .sha256 = sha256_.finished()};
    for (std::size_t value = 0; value < all.counts.size(); ++value) {
      all.counts[value] = md5Pass_.counts[value] + otherPass_.counts[value];
    }
    return all;
  }

  const ByteSource& source_;
  TaskProgress& progress_;
  MessageDigest md5_{"MD5"};
  MessageDigest sha1_{"SHA1"};
  MessageDigest sha256_{"SHA256"};
  BasicSums sums_;
  Pass md5Pass_;
  Pass otherPass_;
  std::atomic<std::int64_t> reached_ = 0;  ///< where the pass that is ahead goes on
  std::atomic<bool> hasFailed_ = false;
};

}  // namespace

AllValues allValues(const ByteSource& source, TaskProgress& progress) {
  return Passes(source, progress).run();
}

}  // namespace quillmor::Checksum
