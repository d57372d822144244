#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kernels/ByteMasks.h"

namespace quillmor {

/// The loops of `ByteMaskKernels`. `Lanes` is what a kind of processor does with a block of
/// neighbouring bytes. Each kind has its own such type in its own file, so that no function built
/// for one processor can be linked in place of another's.
template <class Lanes>
class ByteMaskLoops {
 public:
  static constexpr ByteMaskKernels kernels(const char* name) {
    return {name, printable, differing, countDiffering};
  }

 private:
  using Block = typename Lanes::Block;

  static constexpr std::size_t kLanes = Lanes::kCount;
  /// The last bytes of a span, padded to those of a whole mask.
  using LastBytes = std::array<std::uint8_t, kBytesPerMask>;

  static void printable(std::uint64_t* masks, const std::uint8_t* bytes, std::size_t count) {
    for (; count >= kBytesPerMask; count -= kBytesPerMask, bytes += kBytesPerMask) {
      *masks++ = printableMask(bytes);
    }
    if (count > 0) *masks = printableMask(padded(bytes, count).data());
  }

  static void differing(std::uint64_t* masks, const std::uint8_t* a, const std::uint8_t* b,
                        std::size_t count) {
    for (; count >= kBytesPerMask; count -= kBytesPerMask) {
      *masks++ = differingMask(a, b);
      a += kBytesPerMask;
      b += kBytesPerMask;
    }
    if (count > 0) *masks = differingMask(padded(a, count).data(), padded(b, count).data());
  }

  static std::size_t countDiffering(const std::uint8_t* a, const std::uint8_t* b,
                                    std::size_t count) {
    const std::size_t blocks = count / kLanes;
    std::size_t equal = 0;
    for (std::size_t done = 0; done < blocks;) {
      const std::size_t end = std::min(done + kMaxCount, blocks);
      equal += countEqual(a + done * kLanes, b + done * kLanes, end - done);
      done = end;
    }
    for (std::size_t i = blocks * kLanes; i < count; ++i) equal += a[i] == b[i] ? 1 : 0;
    return count - equal;
  }

  /// The highest count of a lane, which is one byte.
  static constexpr std::size_t kMaxCount = 255;

  static std::size_t countEqual(const std::uint8_t* a, const std::uint8_t* b, std::size_t blocks) {
    Block counts = Lanes::zero();
    for (std::size_t i = 0; i < blocks; ++i) {
      counts = Lanes::counted(counts, Lanes::load(a + i * kLanes), Lanes::load(b + i * kLanes));
    }
    return Lanes::sum(counts);
  }

  static std::uint64_t printableMask(const std::uint8_t* bytes) {
    std::uint64_t mask = 0;
    for (std::size_t i = 0; i < kBytesPerMask; i += kLanes) {
      mask |= Lanes::printableBits(Lanes::load(bytes + i)) << i;
    }
    return mask;
  }

  static std::uint64_t differingMask(const std::uint8_t* a, const std::uint8_t* b) {
    std::uint64_t equal = 0;
    for (std::size_t i = 0; i < kBytesPerMask; i += kLanes) {
      equal |= Lanes::equalBits(Lanes::load(a + i), Lanes::load(b + i)) << i;
    }
    return ~equal;
  }

  /// Returns the bytes followed by zeros, which are not printable and equal each other.
  static LastBytes padded(const std::uint8_t* bytes, std::size_t count) {
    LastBytes block{};
    std::memcpy(block.data(), bytes, count);
    return block;
  }
};

}  // namespace quillmor
