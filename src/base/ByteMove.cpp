#include "base/ByteMove.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <new>
#include <thread>

#include "base/ByteUnits.h"

namespace quillmor {
namespace {

constexpr std::int64_t kMaxPieces = 64;
/// As many bytes of each piece as they move have to be set aside; all together no more than this.
constexpr std::int64_t kMaxSetAside = kMiB;
static_assert(kMaxSetAside / kNearMoveDistance >= 8, "enough pieces for two threads");

void moveAlone(std::uint8_t* to, const std::uint8_t* from, std::int64_t count) noexcept {
  std::memmove(to, from, static_cast<std::size_t>(count));
}

/// A move in pieces that any thread may do in any order. Every piece writes only where it has read:
/// the bytes next to its neighbour, which one of both would overwrite too early, are set aside
/// before the first piece moves and put in place after the last one.
class SharedMove {
 public:
  SharedMove(std::uint8_t* to, const std::uint8_t* from, std::int64_t count) noexcept
      : to_(to),
        from_(from),
        count_(count),
        distance_(to > from ? to - from : from - to),
        pieces_(std::min(kMaxPieces, kMaxSetAside / distance_)),
        setAside_(new (std::nothrow) std::uint8_t[static_cast<std::size_t>(pieces_ * distance_)]) {}

  /// Sets bytes aside. False if there is no memory for them.
  bool begin() noexcept {
    if (setAside_ == nullptr) return false;
    for (std::int64_t piece = 0; piece < pieces_; ++piece) {
      std::memcpy(setAside(piece), from_ + setAsideOffset(piece), setAsideSize());
    }
    return true;
  }

  /// Moves pieces until none is left to begin with.
  void work() noexcept {
    for (;;) {
      const std::int64_t piece = next_.fetch_add(1, std::memory_order_relaxed);
      if (piece >= pieces_) return;
      const std::int64_t begin = offset(piece) + (movesUp() ? 0 : distance_);
      moveAlone(to_ + begin, from_ + begin, offset(piece + 1) - offset(piece) - distance_);
    }
  }

  /// To be called when no thread is at work any more.
  void finish() noexcept {
    for (std::int64_t piece = 0; piece < pieces_; ++piece) {
      std::memcpy(to_ + setAsideOffset(piece), setAside(piece), setAsideSize());
    }
  }

 private:
  bool movesUp() const { return to_ > from_; }
  /// Where a piece begins; the last one ends at `count_`.
  std::int64_t offset(std::int64_t piece) const {
    return piece == pieces_ ? count_ : count_ / pieces_ * piece;
  }
  std::int64_t setAsideOffset(std::int64_t piece) const {
    return movesUp() ? offset(piece + 1) - distance_ : offset(piece);
  }
  std::size_t setAsideSize() const { return static_cast<std::size_t>(distance_); }
  std::uint8_t* setAside(std::int64_t piece) { return setAside_.get() + piece * distance_; }

  std::uint8_t* to_;
  const std::uint8_t* from_;
  std::int64_t count_;
  std::int64_t distance_;
  std::int64_t pieces_;
  std::unique_ptr<std::uint8_t[]> setAside_;
  std::atomic<std::int64_t> next_ = 0;
};

void moveShared(std::uint8_t* to, const std::uint8_t* from, std::int64_t count) noexcept {
  SharedMove move(to, from, count);
  if (!move.begin()) return moveAlone(to, from, count);
  std::thread helper;
  try {
    helper = std::thread([&move] { move.work(); });
  } catch (...) {
    // There is no thread left, or no memory to start one; the pieces are all done here.
  }
  move.work();
  if (helper.joinable()) helper.join();
  move.finish();
}

}  // namespace

void moveBytes(std::uint8_t* to, const std::uint8_t* from, std::int64_t count) noexcept {
  if (count <= 0 || to == from) return;
  const std::int64_t distance = to > from ? to - from : from - to;
  if (count >= kParallelMoveThreshold && distance <= kNearMoveDistance &&
      std::thread::hardware_concurrency() > 1) {
    moveShared(to, from, count);
  } else {
    moveAlone(to, from, count);
  }
}

}  // namespace quillmor
