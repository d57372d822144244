#include "fuzz/ReferenceParsers.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

#include "base/Unicode.h"

namespace quillmor::reference {

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::u32string_view kDecimalDigits = U"0123456789";
constexpr std::u32string_view kHexDigits = U"0123456789abcdefABCDEF";
constexpr std::u32string_view kHexLetters = U"abcdefABCDEF";
constexpr std::size_t kMaxCharacters = 128;

bool contains(std::u32string_view set, char32_t scalar) {
  return set.find(scalar) != std::u32string_view::npos;
}

/// Whether `text` is one or more scalars of `set` and no other.
bool consistsOf(std::u32string_view text, std::u32string_view set) {
  return !text.empty() && text.find_first_not_of(set) == std::u32string_view::npos;
}

bool hasPrefix(std::u32string_view text) {
  return text.starts_with(U"0x") || text.starts_with(U"0X");
}

std::u32string trimmed(std::u32string text) {
  while (!text.empty() && Unicode::isWhiteSpace(text.back())) text.pop_back();
  while (!text.empty() && Unicode::isWhiteSpace(text.front())) text.erase(0, 1);
  return text;
}

int digitValue(char32_t digit) {
  const auto at = static_cast<int>(kHexDigits.find(digit));
  return at < 16 ? at : at - 6;  // upper-case letters stand behind the lower-case ones
}

/// Digits as a number, with a sign where one may stand; absent also beyond 2^64.
std::optional<WideInteger> number(std::u32string_view text, int radix, bool mayBeSigned) {
  const bool hasSign = !text.empty() && contains(U"+-", text.front());
  const bool isNegative = hasSign && text.front() == U'-';
  if (hasSign && !mayBeSigned) return std::nullopt;
  if (hasSign) text.remove_prefix(1);
  if (!consistsOf(text, radix == 10 ? kDecimalDigits : kHexDigits)) return std::nullopt;
  WideInteger value = 0;
  for (const char32_t digit : text) {
    value = value * radix + digitValue(digit);
    if (value > std::numeric_limits<std::uint64_t>::max()) return std::nullopt;
  }
  return isNegative ? -value : value;
}

/// The number in the first of the forms that the text has, in whatever range.
std::optional<WideInteger> offsetNumber(const std::u32string& t, bool mayBeSignedDecimal) {
  if (hasPrefix(t)) return number(t.substr(2), 16, true);
  if (t.ends_with(U'h') && consistsOf(t.substr(0, t.size() - 1), kHexDigits)) {
    return number(t.substr(0, t.size() - 1), 16, false);
  }
  const bool hasLetter = t.find_first_of(kHexLetters) != std::u32string::npos;
  if (consistsOf(t, kHexDigits) && hasLetter) return number(t, 16, false);
  return number(t, 10, mayBeSignedDecimal);
}

bool isSigned64(WideInteger value) {
  return value >= std::numeric_limits<std::int64_t>::min() &&
         value <= std::numeric_limits<std::int64_t>::max();
}

bool isUnsigned64(WideInteger value) {
  return value >= 0 && value <= std::numeric_limits<std::uint64_t>::max();
}

std::uint8_t byteOf(std::u32string_view pair) {
  return static_cast<std::uint8_t>(digitValue(pair[0]) * 16 + digitValue(pair[1]));
}

std::vector<std::u32string> tokensOf(const std::u32string& scalars,
                                     std::u32string_view separators) {
  std::vector<std::u32string> tokens(1);
  for (const char32_t scalar : scalars) {
    if (Unicode::isWhiteSpace(scalar) || contains(separators, scalar)) {
      tokens.emplace_back();
    } else {
      tokens.back().push_back(scalar);
    }
  }
  std::erase_if(tokens, [](const auto& token) { return token.empty(); });
  return tokens;
}

std::optional<Bytes> bytesOfToken(std::u32string token) {
  if (hasPrefix(token)) token.erase(0, 2);
  if (!consistsOf(token, kHexDigits)) return std::nullopt;
  if (token.size() == 1) token.insert(0, U"0");
  if (token.size() % 2 == 1) return std::nullopt;
  Bytes bytes;
  for (std::size_t i = 0; i < token.size(); i += 2) {
    bytes.push_back(byteOf(token.substr(i, 2)));
  }
  return bytes;
}

}  // namespace

std::u32string scalarsOf(std::string_view text) {
  std::u32string scalars;
  while (!text.empty()) {
    const Unicode::DecodedScalar next = Unicode::decodeFirst(text);
    scalars.push_back(next.scalar);
    text.remove_prefix(next.length);
  }
  return scalars;
}

std::optional<Bytes> hexBytes(std::string_view text, std::optional<std::int64_t> maxOutputBytes,
                              std::optional<std::int64_t> maxInputCharacters) {
  const std::u32string scalars = scalarsOf(text);
  if (maxInputCharacters && static_cast<std::int64_t>(scalars.size()) > *maxInputCharacters) {
    return std::nullopt;
  }
  Bytes all;
  for (const auto& token : tokensOf(scalars, U",-:;")) {
    const auto bytes = bytesOfToken(token);
    if (!bytes) return std::nullopt;
    all.insert(all.end(), bytes->begin(), bytes->end());
  }
  if (all.empty()) return std::nullopt;
  if (maxOutputBytes && static_cast<std::int64_t>(all.size()) > *maxOutputBytes)
    return std::nullopt;
  return all;
}

std::optional<std::vector<std::optional<std::uint8_t>>> wildcardBytes(std::string_view text) {
  std::vector<std::optional<std::uint8_t>> all;
  for (const auto& token : tokensOf(scalarsOf(text), U",;")) {
    if (token.size() % 2 == 1) return std::nullopt;
    for (std::size_t i = 0; i < token.size(); i += 2) {
      const std::u32string pair = token.substr(i, 2);
      if (pair != U"??" && !consistsOf(pair, kHexDigits)) return std::nullopt;
      all.push_back(pair == U"??" ? std::nullopt : std::optional(byteOf(pair)));
    }
  }
  if (all.empty()) return std::nullopt;
  return all;
}

std::optional<std::int64_t> offset(std::string_view text) {
  const std::u32string t = trimmed(scalarsOf(text));
  if (t.empty() || t.size() > kMaxCharacters) return std::nullopt;
  const auto value = offsetNumber(t, true);
  if (!value || !isSigned64(*value)) return std::nullopt;
  return static_cast<std::int64_t>(*value);
}

std::optional<WideInteger> searchInteger(std::string_view text) {
  const std::u32string t = trimmed(scalarsOf(text));
  const auto decimal = number(t, 10, true);
  if (decimal && isSigned64(*decimal)) return decimal;
  if (const auto value = offset(text)) return *value;
  if (t.empty() || t.size() > kMaxCharacters) return std::nullopt;
  const auto value = offsetNumber(t, false);
  if (!value || !isUnsigned64(*value)) return std::nullopt;
  return value;
}

std::optional<double> searchFloat(std::string_view text) {
  const bool isNegative = text.starts_with('-');
  if (isNegative || text.starts_with('+')) text.remove_prefix(1);
  if (text.starts_with('-')) return std::nullopt;
  const bool isHex = text.starts_with("0x") || text.starts_with("0X");
  if (isHex) text.remove_prefix(2);
  if (isHex && text.starts_with('-')) return std::nullopt;
  double value = 0;
  const char* const end = text.data() + text.size();
  const auto format = isHex ? std::chars_format::hex : std::chars_format::general;
  const auto [stop, error] = std::from_chars(text.data(), end, value, format);
  if (stop != end || error == std::errc::invalid_argument) return std::nullopt;
  // The library tells no overflow from an underflow: both leave the value alone.
  if (error == std::errc::result_out_of_range) return std::numeric_limits<double>::quiet_NaN();
  if (!std::isfinite(value)) return std::nullopt;
  return isNegative ? -value : value;
}

}  // namespace quillmor::reference
