#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace quillmor {

/// Writes two of the 16 `digits` and the `separator` for every byte: exactly `3 * bytes.size()`
/// characters. Returns where they end. Takes the fastest way the processor knows.
char* writeSpacedHex(char* out, std::span<const std::uint8_t> bytes, std::string_view digits,
                     char separator);

/// The same on any processor.
char* writeSpacedHexPortable(char* out, std::span<const std::uint8_t> bytes,
                             std::string_view digits, char separator);

}  // namespace quillmor
