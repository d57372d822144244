#pragma once

#include <cstdint>

namespace quillmor {

/// Operations on words of eight bytes as `loadWord` returns them, and on words of 64 bits.
struct ByteWord {
  static constexpr std::uint64_t kOnes = 0x0101010101010101;
  static constexpr std::uint64_t kHighBits = 0x80 * kOnes;

  /// 0x80 in every byte of `word` that is 0, else 0. No byte's carry reaches its neighbour.
  [[gnu::always_inline]] static std::uint64_t zeroBytes(std::uint64_t word) {
    constexpr std::uint64_t kLowBits = ~kHighBits;
    return ~(((word & kLowBits) + kLowBits) | word | kLowBits);
  }

  /// `word` with 0x20 added to every byte in 'A'...'Z'.
  [[gnu::always_inline]] static std::uint64_t foldedCase(std::uint64_t word) {
    const std::uint64_t low = word & ~kHighBits;
    const std::uint64_t aboveZ = low + (0x7F - 'Z') * kOnes;
    const std::uint64_t fromA = low + (0x80 - 'A') * kOnes;
    const std::uint64_t upper = (fromA ^ aboveZ) & ~word & kHighBits;
    return word | upper >> 2;
  }

  /// The bits `lowest`...`highest` of 64. `lowest` may be negative, `highest` greater than 63.
  [[gnu::always_inline]] static std::uint64_t bitsBetween(std::int64_t lowest,
                                                          std::int64_t highest) {
    std::uint64_t bits = ~std::uint64_t{0} << (lowest > 0 ? lowest : 0);
    if (highest < 63) bits &= (std::uint64_t{2} << highest) - 1;
    return bits;
  }
};

}  // namespace quillmor
