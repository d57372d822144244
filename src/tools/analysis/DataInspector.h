#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// The bytes at an offset read as numbers. Pure functions, safe from any thread.
namespace quillmor::DataInspector {

/// `inspectorText` looks at so many bytes at most.
inline constexpr std::int64_t kInspectedByteCount = 4;

/// Returns the bytes from `offset` on as numbers of 8, 16 and 32 bits in one line. Wider numbers
/// are left out when too few bytes follow. "EOF" when there is no byte at `offset`.
std::string inspectorText(std::span<const std::uint8_t> bytes, std::int64_t offset);

/// The sentence for a caret after the last byte.
inline constexpr std::string_view kCaretAtEnd = "Caret is at EOF.";

/// Returns the report on the bytes from `offset` on: unsigned integers of 8 to 64 bits in both byte
/// orders, and little-endian floating-point numbers. Wider numbers are left out when too few bytes
/// follow. Absent when there is no byte at `offset`.
std::optional<std::string> detailReport(std::span<const std::uint8_t> bytes, std::int64_t offset);

/// Returns the fewest decimal digits that read back as `value`: "1.0", "-0.5", "1e+16", "5e-324",
/// "-0.0", "inf", "-inf"; "nan" for every value that is not a number. The text always has a point
/// or an exponent. It has an exponent, of at least two digits, only below 0.0001 and from 1e16 on.
std::string floatText(float value);
std::string floatText(double value);

}  // namespace quillmor::DataInspector
