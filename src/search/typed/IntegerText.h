#pragma once

#include <algorithm>
#include <charconv>
#include <concepts>
#include <optional>
#include <string_view>
#include <system_error>

#include "base/HexText.h"

namespace quillmor {

/// Returns the integer that all of `digits` denotes in the base `radix`, with at most one leading
/// sign. Absent for anything else and for values that `Integer` does not hold. An unsigned
/// `Integer` takes no minus sign.
template <std::integral Integer>
std::optional<Integer> integerFromText(std::string_view digits, int radix) {
  if (digits.starts_with('+')) {
    digits.remove_prefix(1);
    // The library's conversion takes a minus sign, so "+-5" must end here.
    if (digits.starts_with('-')) return std::nullopt;
  }
  Integer value = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, value, radix);
  if (error != std::errc() || stop != end) return std::nullopt;
  return value;
}

/// True if `text` is one or more hexadecimal digits and nothing else.
inline bool isHexDigits(std::string_view text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char c) { return hexDigitValue(c).has_value(); });
}

/// True if one of `hexDigits` is a letter.
inline bool hasHexLetter(std::string_view hexDigits) {
  return std::any_of(hexDigits.begin(), hexDigits.end(), [](char c) { return c > '9'; });
}

/// Returns the integer that `text` denotes in one of the forms of an offset (see
/// `HexParser::parseOffset`); absent for anything else, white space at its ends included.
template <std::integral Integer>
std::optional<Integer> integerFromOffset(std::string_view text) {
  if (text.starts_with("0x") || text.starts_with("0X")) {
    return integerFromText<Integer>(text.substr(2), 16);
  }
  if (text.ends_with('h') && isHexDigits(text.substr(0, text.size() - 1))) {
    return integerFromText<Integer>(text.substr(0, text.size() - 1), 16);
  }
  return integerFromText<Integer>(text, isHexDigits(text) && hasHexLetter(text) ? 16 : 10);
}

}  // namespace quillmor
