#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "base/TaskProgress.h"

/// The one definition of how typed or pasted text denotes bytes and offsets. Pure functions, safe
/// from any thread. What is not accepted is absent, and the caller chooses the message. Text is
/// UTF-8; other bytes count as U+FFFD, which no form accepts.
namespace quillmor::HexParser {

/// Returns the bytes that a list of hexadecimal tokens denotes, such as "AA BB", "AABB", "0xDEAD"
/// or "de:ad-be,ef;01". Tokens are separated by white space or any of `,` `-` `:` `;`. Each holds
/// one digit (a byte of 0...15) or an even number of digits, and may begin with "0x". A result is
/// never empty.
///
/// `maxOutputBytes` (bytes) and `maxInputCharacters` (Unicode scalars) reject longer results and
/// texts; they never cut. `progress` does not advance. It is asked every millisecond or so whether
/// to stop: then throws `Error::stopped()`.
std::optional<std::vector<std::uint8_t>> parseHexBytes(
    std::string_view text, std::optional<std::int64_t> maxOutputBytes = {},
    std::optional<std::int64_t> maxInputCharacters = {}, const TaskProgress* progress = nullptr);

/// Returns the offset or length that `text` denotes. The forms are decimal digits, "0x" with
/// hexadecimal digits, hexadecimal digits with at least one letter, and hexadecimal digits with a
/// lower-case "h" after them. White space around them is ignored. Decimal numbers and the digits
/// after "0x" may carry a sign, so the value may be negative: the caller checks its range.
std::optional<std::int64_t> parseOffset(std::string_view text);

}  // namespace quillmor::HexParser
