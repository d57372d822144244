#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "base/TaskProgress.h"

/// The one definition of how typed or pasted text denotes bytes and offsets. Pure functions, safe
/// from any thread; they never report: what is not accepted is absent, and the caller chooses the
/// message. Text is UTF-8; bytes that are not count as U+FFFD, which no form
/// accepts.
namespace quillmor::HexParser {

/// The bytes a list of hexadecimal tokens denotes, such as "AA BB", "AABB", "0xDEAD" or
/// "de:ad-be,ef;01". Tokens are separated by white space or any of `,` `-` `:` `;`; each holds one
/// digit (a byte of 0...15) or an even number of digits, and may begin with "0x". A result is never
/// empty.
///
/// `maxOutputBytes` (bytes) and `maxInputCharacters` (Unicode scalars) reject longer results and
/// texts; they never cut. `progress` is asked every millisecond or so whether to stop, which throws
/// `Error::stopped()`; nothing is counted in it.
std::optional<std::vector<std::uint8_t>> parseHexBytes(
    std::string_view text, std::optional<std::int64_t> maxOutputBytes = {},
    std::optional<std::int64_t> maxInputCharacters = {}, const TaskProgress* progress = nullptr);

/// The offset or length `text` denotes: decimal digits, "0x" with hexadecimal digits, hexadecimal
/// digits with at least one letter, or hexadecimal digits with a lower-case "h" after them; white
/// space around it is ignored. Decimal numbers and the digits after "0x" may carry a sign, so the
/// value may be negative: the caller checks its range.
std::optional<std::int64_t> parseOffset(std::string_view text);

}  // namespace quillmor::HexParser
