#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace quillmor {

/// "00" ... "FF", indexed by the byte. Built at compile time; the views live as long as the
/// process.
extern const std::array<std::string_view, 256> uppercaseHexByteStrings;

/// The one-character printable form of every byte: itself for 0x20...0x7E, "." otherwise.
extern const std::array<std::string_view, 256> printableASCIIByteStrings;

/// The value, 0 to 15, of a hexadecimal digit in either case; absent for any other character.
constexpr std::optional<std::uint8_t> hexDigitValue(char digit) {
  if (digit >= '0' && digit <= '9') return static_cast<std::uint8_t>(digit - '0');
  if (digit >= 'a' && digit <= 'f') return static_cast<std::uint8_t>(digit - 'a' + 10);
  if (digit >= 'A' && digit <= 'F') return static_cast<std::uint8_t>(digit - 'A' + 10);
  return std::nullopt;
}

/// Returns `value` in uppercase hexadecimal, padded on the left with "0" to at least `minimumWidth`
/// digits. Negative values, which hostile files may have as offsets, become their two's complement.
std::string uppercaseHex(std::int64_t value, int minimumWidth);

/// "0x" and two digits.
std::string hexText(std::uint8_t value);

/// "0x" and four digits.
std::string hexText(std::uint16_t value);

/// An offset as reports and messages show it: "0x" and at least eight digits.
std::string offsetText(std::int64_t offset);

/// Two lowercase digits for every byte.
std::string lowercaseHex(std::span<const std::uint8_t> bytes);

}  // namespace quillmor
