#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace quillmor {

/// Returns the little-endian value of the 2 bytes at `offset`; absent if they are not within
/// `bytes`.
inline std::optional<std::uint16_t> readUInt16LE(std::span<const std::uint8_t> bytes,
                                                 std::int64_t offset) {
  if (offset < 0 || offset > std::ssize(bytes) - 2) return std::nullopt;
  const std::uint8_t* const at = bytes.data() + offset;
  return static_cast<std::uint16_t>(at[0] | at[1] << 8);
}

/// The same for 4 bytes.
inline std::optional<std::uint32_t> readUInt32LE(std::span<const std::uint8_t> bytes,
                                                 std::int64_t offset) {
  if (offset < 0 || offset > std::ssize(bytes) - 4) return std::nullopt;
  const std::uint8_t* const at = bytes.data() + offset;
  return at[0] | std::uint32_t{at[1]} << 8 | std::uint32_t{at[2]} << 16 |
         std::uint32_t{at[3]} << 24;
}

}  // namespace quillmor
