#include "search/typed/TypedInput.h"

#include <string>

#include "base/Error.h"
#include "base/Unicode.h"
#include "search/typed/HexParser.h"

namespace quillmor {

namespace {

constexpr int kClipboardTextTooLong = 412;

/// The text's own bytes, absent when there are more than `maxBytes`.
std::optional<std::vector<std::uint8_t>> utf8Bytes(std::string_view text, std::int64_t maxBytes) {
  if (maxBytes < 0 || text.size() > static_cast<std::uint64_t>(maxBytes)) return std::nullopt;
  return std::vector<std::uint8_t>(text.begin(), text.end());
}

}  // namespace

bool shouldTreatAutoInputAsHex(std::string_view text) {
  std::string_view rest = Unicode::trimmedOfWhiteSpace(text);
  if (rest.find("0x") != std::string_view::npos) return true;
  if (rest.find("0X") != std::string_view::npos) return true;
  if (rest.find_first_of(",;:-") != std::string_view::npos) return true;
  while (!rest.empty()) {
    const Unicode::DecodedScalar next = Unicode::decodeFirst(rest);
    if (Unicode::isWhiteSpace(next.scalar)) return true;
    rest.remove_prefix(next.length);
  }
  return false;
}

std::optional<std::vector<std::uint8_t>> bytesFromInput(std::string_view text, int modeIndex,
                                                        std::int64_t maxOutputBytes) {
  auto typed = readTypedBytes(text, modeIndex, maxOutputBytes);
  if (!typed) return std::nullopt;
  return std::move(typed->bytes);
}

std::optional<TypedBytes> readTypedBytes(std::string_view text, int modeIndex,
                                         std::int64_t maxOutputBytes) {
  if (Unicode::hasMoreScalarsThan(text, maxTextInputCharacters)) return std::nullopt;
  const bool mustBeHex = modeIndex == kInputModeHex;
  if (mustBeHex || (modeIndex == kInputModeAuto && shouldTreatAutoInputAsHex(text))) {
    if (auto bytes = HexParser::parseHexBytes(text, maxOutputBytes, maxTextInputCharacters))
      return TypedBytes{.bytes = *std::move(bytes), .isText = false};
    if (mustBeHex) return std::nullopt;
  }
  if (auto bytes = utf8Bytes(text, maxOutputBytes))
    return TypedBytes{.bytes = *std::move(bytes), .isText = true};
  return std::nullopt;
}

std::vector<std::uint8_t> bytesForPastedText(std::string_view text, std::int64_t maxOutputBytes,
                                             std::int64_t maxInputCharacters) {
  if (auto bytes = HexParser::parseHexBytes(text, maxOutputBytes, maxInputCharacters)) {
    return std::move(*bytes);
  }
  if (auto bytes = utf8Bytes(text, maxOutputBytes)) return std::move(*bytes);
  throw Error::quillmor(kClipboardTextTooLong,
                        "Clipboard text expands beyond the safe paste limit of " +
                            std::to_string(maxOutputBytes) + " bytes.");
}

}  // namespace quillmor
