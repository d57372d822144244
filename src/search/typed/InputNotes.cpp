#include "search/typed/InputNotes.h"

#include <algorithm>

#include "base/HexText.h"
#include "base/Unicode.h"
#include "search/typed/HexParser.h"
#include "search/typed/TypedInput.h"

namespace quillmor::InputNotes {

namespace {

constexpr std::size_t kBytesShown = 8;

}  // namespace

std::string bytes(std::span<const std::uint8_t> bytes) {
  std::string note = std::to_string(bytes.size()) + (bytes.size() == 1 ? " byte:" : " bytes:");
  for (const std::uint8_t byte : bytes.first(std::min(bytes.size(), kBytesShown))) {
    note += ' ';
    note += uppercaseHexByteStrings[byte];
  }
  if (bytes.size() > kBytesShown) note += " …";
  return note;
}

std::string typedBytes(std::string_view text, int modeIndex) {
  if (text.empty()) return {};
  if (Unicode::hasMoreScalarsThan(text, maxTextInputCharacters))
    return "more than " + std::to_string(maxTextInputCharacters) + " characters";
  const auto typed = readTypedBytes(text, modeIndex);
  if (!typed) return "not hexadecimal bytes";
  return (typed->isText ? "text, " : "") + bytes(typed->bytes);
}

std::string offset(std::string_view text) {
  if (text.empty()) return {};
  const auto value = HexParser::parseOffset(text);
  if (!value) return "not an offset";
  if (*value < 0) return "less than 0";
  return "0x" + uppercaseHex(*value, 8) + " (" + std::to_string(*value) + ")";
}

std::string number(std::string_view text) {
  if (text.empty()) return {};
  const auto value = HexParser::parseOffset(text);
  if (!value) return "not a number";
  if (*value < 0) return "less than 0";
  return std::to_string(*value) + " (0x" + uppercaseHex(*value, 1) + ")";
}

}  // namespace quillmor::InputNotes
