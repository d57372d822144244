#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "base/TaskProgress.h"

namespace quillmor::HexParser {

/// True if all of `text` is 7-bit ASCII.
bool isAscii(std::string_view text);

/// True if an ASCII character separates the tokens of a byte list.
constexpr bool isAsciiSeparator(char character) {
  if (character >= 0x09 && character <= 0x0D) return true;
  return std::string_view(" ,-:;").find(character) != std::string_view::npos;
}

/// `parseHexBytes` for text that `isAscii`, with at most `maxOutputBytes` (1 or more) bytes.
std::optional<std::vector<std::uint8_t>> parseAsciiHexBytes(std::string_view text,
                                                            std::uint64_t maxOutputBytes,
                                                            const TaskProgress* progress);

}  // namespace quillmor::HexParser
