#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "base/TaskProgress.h"
#include "kernels/ByteMasks.h"
#include "tools/text/TextPieces.h"

namespace quillmor {

/// Finds the runs of set bits in consecutive masks that have at least a given length (at most 64).
///
/// Keeps a bit if it and the `length - 1` bits before it are set. A run becomes shorter by `length
/// - 1`, and a run that is too short disappears, so the many short runs of random data cost
/// nothing.
class LongRunMasks {
 public:
  static constexpr std::int64_t kMaxLength = 64;

  /// `length` is 1 to `kMaxLength`.
  explicit LongRunMasks(std::int64_t length) {
    for (std::int64_t joined = 1; joined < length;) {
      const std::int64_t step = std::min(joined, length - joined);
      shifts_[static_cast<std::size_t>(stepCount_++)] = static_cast<int>(step);
      joined += step;
    }
  }

  /// Takes the next mask; returns the places where a shortened run starts or has ended, in turns.
  std::uint64_t changes(std::uint64_t mask) {
    for (std::size_t step = 0; step < static_cast<std::size_t>(stepCount_); ++step) {
      const std::uint64_t before = before_[step];
      before_[step] = mask;
      mask &= mask << shifts_[step] | before >> (64 - shifts_[step]);
    }
    const std::uint64_t changed = mask ^ (mask << 1 | last_);
    last_ = mask >> 63;
    return changed;
  }

 private:
  static constexpr std::size_t kMaxSteps = 6;

  std::array<int, kMaxSteps> shifts_{};            ///< 1 to 32
  std::array<std::uint64_t, kMaxSteps> before_{};  ///< what each step made its last mask of
  int stepCount_ = 0;
  std::uint64_t last_ = 0;  ///< the highest bit that was left of the last mask
};

/// Calls `onRun(begin, end)` for every maximal run of the bytes 0x20...0x7E that is at least
/// `minimumLength` (1 or more) long, in order. Sets the total of `progress` to the number of bytes.
/// Throws `Error::stopped()` on a stop request. All `kernels` find the same runs.
template <typename OnRun>
void forEachPrintableRun(std::span<const std::uint8_t> bytes, std::int64_t minimumLength,
                         TaskProgress& progress, OnRun onRun,
                         const ByteMaskKernels& kernels = fastestByteMaskKernels()) {
  const std::int64_t maskedLength = std::min(minimumLength, LongRunMasks::kMaxLength);
  LongRunMasks runs(maskedLength);
  std::array<std::uint64_t, byteMaskCount(kMaskedPieceSize)> masks;
  std::int64_t begin = -1;  // of the run that has not ended yet
  const auto end = [&](std::int64_t place) {
    if (place - begin >= minimumLength) onRun(begin, place);
    begin = -1;
  };
  std::int64_t place = 0;  // of the mask's first byte
  const auto change = [&](int bit) {
    if (begin < 0) {
      begin = place + bit - (maskedLength - 1);
    } else {
      end(place + bit);
    }
  };
  convertInPieces(bytes, kMaskedPieceSize, &progress, [&](std::span<const std::uint8_t> piece) {
    kernels.printable(masks.data(), piece.data(), piece.size());
    for (std::size_t i = 0; i < byteMaskCount(piece.size()); ++i) {
      forEachBit(runs.changes(masks[i]), change);
      place += kBytesPerMask;
    }
  });
  if (begin >= 0) end(std::ssize(bytes));
}

}  // namespace quillmor
