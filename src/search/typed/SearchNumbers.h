#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace quillmor {

// Numbers as typed into the search panels. Pure functions, safe from any thread. What is not
// accepted is absent.

/// An integer read from text: 64 bits. They are unsigned only for values that no signed 64-bit
/// integer holds.
struct ParsedSearchInteger {
  std::uint64_t bits = 0;
  bool isUnsigned = false;

  bool operator==(const ParsedSearchInteger&) const = default;
};

/// Returns the integer that `text` denotes, without the white space around it: a signed decimal
/// number, or any form of an offset (see `HexParser::parseOffset`), up to 2^64 - 1. A decimal
/// number may have any length (leading zeros). The other forms, and values from 2^63 on, have at
/// most 128 characters.
std::optional<ParsedSearchInteger> parseSearchInteger(std::string_view text);

/// Returns the finite number that the whole of `text` denotes, in the forms of C's strtod in the C
/// locale: decimal and hexadecimal, with sign and exponent. Numbers too small to be told from zero
/// are zero. Absent for infinities and NaNs, however written, and when `text` begins with white
/// space or NUL.
std::optional<double> parseSearchFloat(std::string_view text);

}  // namespace quillmor
