#pragma once

#include <cstdint>
#include <span>

namespace quillmor {

/// Returns the sum of the bytes modulo 256; 0 for none. Any thread.
std::uint8_t byteSum(std::span<const std::uint8_t> bytes);

}  // namespace quillmor
