#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "base/HexText.h"

namespace quillmor {

/// The most characters an offset has.
inline constexpr std::size_t kMaxOffsetLength = 16;

/// Writes a byte as two uppercase hex digits; returns the end of the text.
inline char* writeHexByte(char* to, std::uint8_t byte) {
  std::memcpy(to, uppercaseHexByteStrings[byte].data(), 2);
  return to + 2;
}

/// Writes an offset, 0 or more, as 8 uppercase hex digits, more where it needs more; returns the
/// end of the text.
inline char* writeOffset(char* to, std::int64_t offset) {
  const auto value = static_cast<std::uint64_t>(offset);
  if (value > 0xFFFF'FFFF) [[unlikely]] {
    const std::string text = uppercaseHex(offset, 8);
    std::memcpy(to, text.data(), text.size());
    return to + text.size();
  }
  for (int shift = 24; shift >= 0; shift -= 8) {
    to = writeHexByte(to, static_cast<std::uint8_t>(value >> shift));
  }
  return to;
}

}  // namespace quillmor
