#pragma once

#include <cstdint>
#include <span>

namespace quillmor {

/// Returns the CRC-32C (Castagnoli, RFC 3720 B.4) of `bytes`, begun with `before`, the CRC-32C of
/// the bytes that came before them (0 for none). Any thread.
std::uint32_t crc32c(std::span<const std::uint8_t> bytes, std::uint32_t before = 0);

}  // namespace quillmor
