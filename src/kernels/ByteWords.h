#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace quillmor {

/// Returns the 8 bytes at `from`, the first in the lowest byte, whatever the processor's byte
/// order. Always inlined, so that no function built for one processor serves another.
[[gnu::always_inline]] inline std::uint64_t loadWord(const std::uint8_t* from) {
  std::uint64_t word = 0;
  std::memcpy(&word, from, sizeof word);
  if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap64(word);
  return word;
}

/// Returns the byte at `index`; 0 is the first.
inline std::uint8_t byteOf(std::uint64_t word, std::size_t index) {
  return static_cast<std::uint8_t>(word >> (8 * index));
}

}  // namespace quillmor
