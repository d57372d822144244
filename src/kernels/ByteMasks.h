#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "base/ByteUnits.h"

namespace quillmor {

/// Questions about every byte of a document, once per kind of processor. A mask has one bit for
/// each of 64 bytes, the first byte in the lowest bit. `count` bytes fill `byteMaskCount(count)`
/// masks, and the bits after the last byte are 0. Only the `count` bytes are read. Any alignment; 0
/// bytes are fine. The functions allocate nothing and throw nothing. Any thread.
struct ByteMaskKernels {
  const char* name = nullptr;  ///< null where the program was built for another processor
  /// Sets the bits of the bytes 0x20...0x7E.
  void (*printable)(std::uint64_t* masks, const std::uint8_t* bytes, std::size_t count) = nullptr;
  /// Sets the bits of the bytes that differ.
  void (*differing)(std::uint64_t* masks, const std::uint8_t* a, const std::uint8_t* b,
                    std::size_t count) = nullptr;
  /// The number of bytes that differ.
  std::size_t (*countDiffering)(const std::uint8_t* a, const std::uint8_t* b,
                                std::size_t count) = nullptr;
};

/// How many bytes one mask is about.
inline constexpr std::size_t kBytesPerMask = 64;

/// How many bytes get their masks at once: few enough for the masks to stay in the first cache.
inline constexpr std::size_t kMaskedPieceSize = 64 * kKiB;

/// The number of masks for so many bytes.
constexpr std::size_t byteMaskCount(std::size_t byteCount) {
  return byteCount / kBytesPerMask + (byteCount % kBytesPerMask != 0 ? 1 : 0);
}

/// Calls `handle` with the index of every bit of `mask` that is set, the lowest first.
template <typename Handle>
void forEachBit(std::uint64_t mask, Handle handle) {
  for (; mask != 0; mask &= mask - 1) handle(std::countr_zero(mask));
}

/// The best kernels this processor runs, chosen on first use.
const ByteMaskKernels& fastestByteMaskKernels();

/// All kernels this processor runs; first the portable ones, which every processor runs.
std::vector<const ByteMaskKernels*> availableByteMaskKernels();

/// The kernels themselves.
extern const ByteMaskKernels portableByteMaskKernels;
extern const ByteMaskKernels sse2ByteMaskKernels;
extern const ByteMaskKernels avx2ByteMaskKernels;

}  // namespace quillmor
