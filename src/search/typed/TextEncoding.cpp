#include "search/typed/TextEncoding.h"

#include "base/Unicode.h"
#include "search/typed/AsciiHexBytes.h"

namespace quillmor {

namespace {

using Bytes = std::vector<std::uint8_t>;

void appendUnit(char32_t unit, bool isLittleEndian, Bytes& bytes) {
  const auto low = static_cast<std::uint8_t>(unit);
  const auto high = static_cast<std::uint8_t>(unit >> 8);
  bytes.push_back(isLittleEndian ? low : high);
  bytes.push_back(isLittleEndian ? high : low);
}

std::optional<Bytes> utf16Bytes(std::string_view text, bool isLittleEndian) {
  Bytes bytes;
  bytes.reserve(2 * text.size());
  while (!text.empty()) {
    const Unicode::DecodedScalar next = Unicode::decodeFirst(text);
    if (!next.isValid) return std::nullopt;
    text.remove_prefix(next.length);
    if (next.scalar < 0x10000) {
      appendUnit(next.scalar, isLittleEndian, bytes);
    } else {
      // A surrogate pair: ten bits each above D800 and DC00.
      const char32_t above = next.scalar - 0x10000;
      appendUnit(0xD800 + (above >> 10), isLittleEndian, bytes);
      appendUnit(0xDC00 + (above & 0x3FF), isLittleEndian, bytes);
    }
  }
  return bytes;
}

}  // namespace

std::optional<Bytes> bytesForText(std::string_view text, SearchTextEncoding encoding) {
  switch (encoding) {
    case SearchTextEncoding::utf16LittleEndian:
      return utf16Bytes(text, true);
    case SearchTextEncoding::utf16BigEndian:
      return utf16Bytes(text, false);
    case SearchTextEncoding::ascii:
      if (!HexParser::isAscii(text)) return std::nullopt;
      break;
    case SearchTextEncoding::editor:
    case SearchTextEncoding::utf8:
      if (!Unicode::isValid(text)) return std::nullopt;
      break;
  }
  return Bytes(text.begin(), text.end());
}

}  // namespace quillmor
