#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// What the bytes at an offset mean as numbers. Pure functions, safe from any thread.
namespace quillmor::DataInspector {

/// The one-line interpretation of the bytes from `offset` on: 8, 16 and 32 bits, the wider ones as
/// far as enough bytes follow; "EOF" when `offset` is no offset of a byte.
std::string inspectorText(std::span<const std::uint8_t> bytes, std::int64_t offset);

/// What is said where there is no byte to inspect.
inline constexpr std::string_view kCaretAtEnd = "Caret is at EOF.";

/// The report of the bytes from `offset` on, lines joined with a line feed: unsigned integers of 8
/// to 64 bits in both byte orders and little-endian floating-point numbers, the wider ones as far
/// as enough bytes follow. Absent when `offset` is no offset of a byte.
std::optional<std::string> detailReport(std::span<const std::uint8_t> bytes, std::int64_t offset);

/// The fewest decimal digits that read back as `value`, such as "1.0", "-0.5", "1e+16", "5e-324",
/// "-0.0", "inf", "-inf"; "nan" for all values that are no number. It always has a point or an
/// exponent, and an exponent (of two digits at least) only below 0.0001 and from 1e16 on.
std::string floatText(float value);
std::string floatText(double value);

}  // namespace quillmor::DataInspector
