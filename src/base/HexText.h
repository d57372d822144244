#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace quillmor {

/// "00" ... "FF", indexed by the byte. Built at compile time; the views live as long as the
/// process.
extern const std::array<std::string_view, 256> uppercaseHexByteStrings;

/// The one-character printable form of every byte: itself for 0x20...0x7E, "." otherwise.
extern const std::array<std::string_view, 256> printableASCIIByteStrings;

/// `value` in uppercase hexadecimal, padded on the left with "0" to at least `minimumWidth` digits.
/// Negative values are shown as their two's complement, as the offsets of hostile files may be.
std::string uppercaseHex(std::int64_t value, int minimumWidth);

}  // namespace quillmor
