#include "search/typed/SearchNumbers.h"

#include <locale.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>

#include "base/Check.h"
#include "base/Unicode.h"
#include "search/typed/HexParser.h"
#include "search/typed/IntegerText.h"

namespace quillmor {

namespace {

/// Longer texts are no unsigned numbers, whatever their digits.
constexpr std::int64_t kMaxUnsignedTextCharacters = 128;

ParsedSearchInteger parsedSigned(std::int64_t value) {
  return {.bits = static_cast<std::uint64_t>(value), .isUnsigned = false};
}

/// The forms of an offset without a sign before them, read as 64 bits without sign.
std::optional<std::uint64_t> parseUnsignedOffset(std::string_view text) {
  if (text.starts_with('+') || Unicode::hasMoreScalarsThan(text, kMaxUnsignedTextCharacters)) {
    return std::nullopt;
  }
  return integerFromOffset<std::uint64_t>(text);
}

/// The "C" locale, which the process's own settings never reach. Made once, never freed.
locale_t cLocale() {
  static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
  checkPrecondition(locale != nullptr, "The C locale is always there");
  return locale;
}

/// White space of the C locale, which strtod would skip.
bool isCSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

}  // namespace

std::optional<ParsedSearchInteger> parseSearchInteger(std::string_view text) {
  const std::string_view trimmed = Unicode::trimmedOfWhiteSpace(text);
  if (const auto value = integerFromText<std::int64_t>(trimmed, 10)) return parsedSigned(*value);
  if (const auto value = HexParser::parseOffset(trimmed)) return parsedSigned(*value);
  const auto value = parseUnsignedOffset(trimmed);
  if (!value) return std::nullopt;
  return ParsedSearchInteger{.bits = *value, .isUnsigned = *value >> 63 != 0};
}

std::optional<double> parseSearchFloat(std::string_view text) {
  if (text.empty() || isCSpace(text.front())) return std::nullopt;
  const std::string terminated(text);
  char* stop = nullptr;
  const double value = strtod_l(terminated.c_str(), &stop, cLocale());
  // NUL ends the conversion early, so no text that contains one is taken whole.
  if (stop != terminated.c_str() + terminated.size()) return std::nullopt;
  if (!std::isfinite(value)) return std::nullopt;
  return value;
}

}  // namespace quillmor
