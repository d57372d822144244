#include "kernels/ByteMaskLoops.h"

namespace quillmor {

namespace {

/// Eight bytes in a word, the first in the lowest bits whatever the machine. A byte's answer is its
/// highest bit; no byte's carry reaches its neighbour.
struct WordLanes {
  static constexpr std::size_t kCount = 8;
  using Block = std::uint64_t;

  static constexpr std::uint64_t kOnes = 0x0101010101010101;
  static constexpr std::uint64_t kHighBits = 0x80 * kOnes;

  static Block zero() { return 0; }

  static Block load(const std::uint8_t* at) {
    Block block = 0;
    std::memcpy(&block, at, sizeof block);
    if constexpr (std::endian::native == std::endian::big) block = __builtin_bswap64(block);
    return block;
  }

  static std::uint64_t printableBits(Block block) {
    const Block low = block & ~kHighBits;
    const Block atLeastSpace = low + (0x80 - 0x20) * kOnes;
    const Block isDelete = low + (0x80 - 0x7F) * kOnes;
    return gathered(atLeastSpace & ~isDelete & ~block & kHighBits);
  }

  static std::uint64_t equalBits(Block a, Block b) { return gathered(zeroBytes(a ^ b)); }

  static Block counted(Block counts, Block a, Block b) { return counts + (zeroBytes(a ^ b) >> 7); }

  static std::size_t sum(Block counts) {
    constexpr std::uint64_t kEvenBytes = 0x00FF00FF00FF00FF;
    const Block pairs = (counts & kEvenBytes) + (counts >> 8 & kEvenBytes);
    return pairs * 0x0001000100010001 >> 48;
  }

 private:
  static Block zeroBytes(Block block) {
    return ~(((block & ~kHighBits) + ~kHighBits) | block | ~kHighBits);
  }

  /// The highest bits of the bytes side by side: byte i's bit goes from 8i to 56 + i, and what the
  /// other products make of it stays out of the way.
  static std::uint64_t gathered(Block highBits) {
    return (highBits >> 7) * 0x0102040810204080 >> 56;
  }
};

}  // namespace

constinit const ByteMaskKernels portableByteMaskKernels =
    ByteMaskLoops<WordLanes>::kernels("portable");

}  // namespace quillmor
