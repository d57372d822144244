#include "base/HexText.h"

#include <algorithm>

namespace quillmor {

namespace {

constexpr std::string_view kDigits = "0123456789ABCDEF";

constexpr auto kHexCharacters = [] {
  std::array<char, 512> table{};
  for (std::size_t b = 0; b < 256; ++b) {
    table[b * 2] = kDigits[b >> 4];
    table[b * 2 + 1] = kDigits[b & 15];
  }
  return table;
}();

constexpr auto kPrintableCharacters = [] {
  std::array<char, 256> table{};
  for (std::size_t b = 0; b < 256; ++b)
    table[b] = b >= 0x20 && b <= 0x7E ? static_cast<char>(b) : '.';
  return table;
}();

template <std::size_t Width>
constexpr std::array<std::string_view, 256> viewsInto(const char* characters) {
  std::array<std::string_view, 256> views;
  for (std::size_t b = 0; b < 256; ++b) views[b] = std::string_view(characters + b * Width, Width);
  return views;
}

}  // namespace

constinit const std::array<std::string_view, 256> uppercaseHexByteStrings =
    viewsInto<2>(kHexCharacters.data());
constinit const std::array<std::string_view, 256> printableASCIIByteStrings =
    viewsInto<1>(kPrintableCharacters.data());

std::string uppercaseHex(std::int64_t value, int minimumWidth) {
  std::array<char, 16> digits{};
  std::size_t first = digits.size();
  auto rest = static_cast<std::uint64_t>(value);
  do {
    digits[--first] = kDigits[rest & 15];
    rest >>= 4;
  } while (rest != 0);
  const std::size_t count = digits.size() - first;
  const auto width = static_cast<std::size_t>(std::max(minimumWidth, 0));
  std::string text(width > count ? width - count : 0, '0');
  text.append(digits.data() + first, count);
  return text;
}

std::string hexText(std::uint8_t value) {
  return "0x" + uppercaseHex(value, 2);
}

std::string hexText(std::uint16_t value) {
  return "0x" + uppercaseHex(value, 4);
}

std::string offsetText(std::int64_t offset) {
  return "0x" + uppercaseHex(offset, 8);
}

std::string lowercaseHex(std::span<const std::uint8_t> bytes) {
  constexpr std::string_view kLowercaseDigits = "0123456789abcdef";
  std::string text;
  text.reserve(2 * bytes.size());
  for (const std::uint8_t byte : bytes) {
    text += kLowercaseDigits[byte >> 4];
    text += kLowercaseDigits[byte & 15];
  }
  return text;
}

}  // namespace quillmor
