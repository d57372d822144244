#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "base/TaskProgress.h"
#include "kernels/ByteMasks.h"

namespace quillmor {

/// Calls `onDifferences(place, mask)` in order for every group of 64 bytes with a difference. The
/// group begins at `place`; a set bit of `mask` stands for a byte that differs, the lowest bit for
/// the first byte. Throws `Error::stopped()` when `progress` says so.
template <typename OnDifferences>
void forEachDifference(const std::uint8_t* a, const std::uint8_t* b, std::size_t count,
                       const TaskProgress& progress, OnDifferences onDifferences) {
  const ByteMaskKernels& kernels = fastestByteMaskKernels();
  std::array<std::uint64_t, byteMaskCount(kMaskedPieceSize)> masks;
  for (std::size_t begin = 0; begin < count; begin += kMaskedPieceSize) {
    progress.checkpoint();
    const std::size_t pieceSize = std::min(kMaskedPieceSize, count - begin);
    kernels.differing(masks.data(), a + begin, b + begin, pieceSize);
    for (std::size_t i = 0; i < byteMaskCount(pieceSize); ++i) {
      if (masks[i] != 0) onDifferences(begin + i * kBytesPerMask, masks[i]);
    }
  }
}

/// Calls `onRun(first, count)` for each run of set bits, from the lowest on.
template <class OnRun>
void forEachRun(std::uint64_t mask, OnRun onRun) {
  int at = 0;
  while (mask != 0) {
    const int skipped = std::countr_zero(mask);
    mask >>= skipped;
    const int length = std::countr_one(mask);
    onRun(at + skipped, length);
    at += skipped + length;
    mask = length < 64 ? mask >> length : 0;
  }
}

}  // namespace quillmor
