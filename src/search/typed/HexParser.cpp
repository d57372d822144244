#include "search/typed/HexParser.h"

#include <limits>
#include <string>

#include "base/Unicode.h"
#include "search/typed/AsciiHexBytes.h"
#include "search/typed/IntegerText.h"

namespace quillmor::HexParser {

namespace {

/// How much is read between two looks at the stop request.
constexpr std::int64_t kScalarsBetweenLooks = 65'536;

/// No offset has more characters.
constexpr std::size_t kMaxOffsetCharacters = 128;

/// `text` with a space for every Unicode white space. Absent when it has other characters outside
/// ASCII, or more than `maxScalars`.
std::optional<std::string> asciiOf(std::string_view text, std::int64_t maxScalars,
                                   const TaskProgress* progress) {
  std::string ascii;
  while (!text.empty()) {
    const std::int64_t scalarsRead = std::ssize(ascii);
    if (scalarsRead == maxScalars) return std::nullopt;
    if (progress != nullptr && scalarsRead % kScalarsBetweenLooks == 0) progress->checkpoint();
    const Unicode::DecodedScalar next = Unicode::decodeFirst(text);
    const bool isSpace = Unicode::isWhiteSpace(next.scalar);
    if (!isSpace && next.scalar >= 0x80) return std::nullopt;
    ascii.push_back(isSpace ? ' ' : text.front());
    text.remove_prefix(next.length);
  }
  return ascii;
}

}  // namespace

std::optional<std::vector<std::uint8_t>> parseHexBytes(
    std::string_view text, std::optional<std::int64_t> maxOutputBytes,
    std::optional<std::int64_t> maxInputCharacters, const TaskProgress* progress) {
  constexpr std::int64_t kNoLimit = std::numeric_limits<std::int64_t>::max();
  const std::int64_t maxBytes = maxOutputBytes.value_or(kNoLimit);
  const std::int64_t maxScalars = maxInputCharacters.value_or(kNoLimit);
  if (maxBytes < 1 || maxScalars < 0) return std::nullopt;
  const auto limit = static_cast<std::uint64_t>(maxBytes);
  if (!isAscii(text)) {
    const auto ascii = asciiOf(text, maxScalars, progress);
    if (!ascii) return std::nullopt;
    return parseAsciiHexBytes(*ascii, limit, progress);
  }
  if (text.size() > static_cast<std::uint64_t>(maxScalars)) return std::nullopt;
  return parseAsciiHexBytes(text, limit, progress);
}

std::optional<std::int64_t> parseOffset(std::string_view text) {
  const std::string_view offset = Unicode::trimmedOfWhiteSpace(text);
  if (offset.size() > kMaxOffsetCharacters) return std::nullopt;
  return integerFromOffset<std::int64_t>(offset);
}

}  // namespace quillmor::HexParser
