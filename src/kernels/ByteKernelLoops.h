#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

/// The loops of `ByteKernels`. They are inlined into a function for each kind of processor, so that
/// the compiler uses that processor's vector instructions.
namespace quillmor::ByteKernelLoops {

[[gnu::always_inline]] inline void invert(std::uint8_t* __restrict to,
                                          const std::uint8_t* __restrict from, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) to[i] = static_cast<std::uint8_t>(~from[i]);
}

[[gnu::always_inline]] inline void reverse(std::uint8_t* __restrict to,
                                           const std::uint8_t* __restrict from, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) to[i] = from[count - 1 - i];
}

/// Eight bytes at a time, for processors whose vector instructions cannot reverse bytes.
[[gnu::always_inline]] inline void reverseByWords(std::uint8_t* __restrict to,
                                                  const std::uint8_t* __restrict from,
                                                  std::size_t count) {
  std::size_t i = 0;
  for (; i + 8 <= count; i += 8) {
    std::uint64_t word = 0;
    std::memcpy(&word, from + (count - 8 - i), 8);
    word = __builtin_bswap64(word);
    std::memcpy(to + i, &word, 8);
  }
  reverse(to + i, from, count - i);
}

[[gnu::always_inline]] inline void swap16(std::uint8_t* __restrict to,
                                          const std::uint8_t* __restrict from, std::size_t count) {
  for (std::size_t i = 0; i < count; i += 2) {
    std::uint16_t word = 0;
    std::memcpy(&word, from + i, 2);
    word = __builtin_bswap16(word);
    std::memcpy(to + i, &word, 2);
  }
}

[[gnu::always_inline]] inline void swap32(std::uint8_t* __restrict to,
                                          const std::uint8_t* __restrict from, std::size_t count) {
  for (std::size_t i = 0; i < count; i += 4) {
    std::uint32_t word = 0;
    std::memcpy(&word, from + i, 4);
    word = __builtin_bswap32(word);
    std::memcpy(to + i, &word, 4);
  }
}

[[gnu::always_inline]] inline void exclusiveOr(std::uint8_t* __restrict to,
                                               const std::uint8_t* __restrict from,
                                               const std::uint8_t* __restrict with,
                                               std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) to[i] = from[i] ^ with[i];
}

[[gnu::always_inline]] inline void bitwiseAnd(std::uint8_t* __restrict to,
                                              const std::uint8_t* __restrict from,
                                              const std::uint8_t* __restrict with,
                                              std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) to[i] = from[i] & with[i];
}

[[gnu::always_inline]] inline void bitwiseOr(std::uint8_t* __restrict to,
                                             const std::uint8_t* __restrict from,
                                             const std::uint8_t* __restrict with,
                                             std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) to[i] = from[i] | with[i];
}

}  // namespace quillmor::ByteKernelLoops
