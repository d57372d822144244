#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "base/HexText.h"

namespace quillmor {

/// The most characters an offset has.
inline constexpr std::size_t kMaxOffsetLength = 16;

/// Writes a text as it stands; returns its end.
inline char* writeText(char* to, std::string_view text) {
  return to + text.copy(to, text.size());
}

/// Writes a byte as two uppercase hex digits; returns the end of the text.
inline char* writeHexByte(char* to, std::uint8_t byte) {
  std::memcpy(to, uppercaseHexByteStrings[byte].data(), 2);
  return to + 2;
}

/// Writes an offset (0 or more) as at least 8 uppercase hex digits; returns the end of the text.
inline char* writeOffset(char* to, std::int64_t offset) {
  const auto value = static_cast<std::uint64_t>(offset);
  if (value > 0xFFFF'FFFF) [[unlikely]] {
    return writeText(to, uppercaseHex(offset, 8));
  }
  for (int shift = 24; shift >= 0; shift -= 8) {
    to = writeHexByte(to, static_cast<std::uint8_t>(value >> shift));
  }
  return to;
}

}  // namespace quillmor
