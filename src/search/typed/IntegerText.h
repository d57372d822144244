#pragma once

#include <algorithm>
#include <charconv>
#include <concepts>
#include <optional>
#include <string_view>
#include <system_error>

#include "base/HexText.h"

namespace quillmor {

/// The integer that all of `digits` denotes in the base `radix`, with at most one leading sign;
/// absent for anything else and for values that `Integer` does not hold. An unsigned `Integer`
/// takes no minus sign.
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

/// Whether `text` is hexadecimal digits, one at least, and nothing else.
inline bool isHexDigits(std::string_view text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char c) { return hexDigitValue(c).has_value(); });
}

/// Whether one of `hexDigits` is a letter.
inline bool hasHexLetter(std::string_view hexDigits) {
  return std::any_of(hexDigits.begin(), hexDigits.end(), [](char c) { return c > '9'; });
}

}  // namespace quillmor
