#include "base/VisibleText.h"

#include "base/HexText.h"
#include "base/Unicode.h"

namespace quillmor {

namespace {

bool isBetween(char32_t scalar, char32_t first, char32_t last) {
  return scalar >= first && scalar <= last;
}

bool isControl(char32_t scalar) {
  return scalar < 0x20 || isBetween(scalar, 0x7F, 0x9F);
}

/// The property Bidi_Control of the Unicode Character Database (PropList.txt), and the separators
/// U+2028 and U+2029 between them.
bool isDirectionOrSeparator(char32_t scalar) {
  return scalar == 0x061C || scalar == 0x200E || scalar == 0x200F ||
         isBetween(scalar, 0x2028, 0x202E) || isBetween(scalar, 0x2066, 0x2069);
}

std::string escapedBytes(std::string_view bytes) {
  std::string text;
  for (const char byte : bytes) text += "\\x" + uppercaseHex(static_cast<unsigned char>(byte), 2);
  return text;
}

std::string escapedScalar(char32_t scalar) {
  return "\\u{" + uppercaseHex(static_cast<std::int64_t>(scalar), 4) + "}";
}

}  // namespace

std::string visibleText(std::string_view text) {
  std::string visible;
  visible.reserve(text.size());
  while (!text.empty()) {
    const auto [scalar, length, isValid] = Unicode::decodeFirst(text);
    const std::string_view bytes = text.substr(0, length);
    if (!isValid || (isControl(scalar) && length == 1)) {
      visible += escapedBytes(bytes);
    } else if (isControl(scalar) || isDirectionOrSeparator(scalar)) {
      visible += escapedScalar(scalar);
    } else {
      visible += bytes;
    }
    text.remove_prefix(length);
  }
  return visible;
}

}  // namespace quillmor
