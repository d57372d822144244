#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace quillmor {

// What is typed to overwrite the bytes at the caret. Pure functions, safe from any thread.

/// The types a value may be typed as, in the order of their pop-up.
inline constexpr std::array<std::string_view, 6> inspectorEditTypeTitles = {
    "UInt8", "UInt16 LE", "UInt16 BE", "UInt32 LE", "UInt32 BE", "ASCII Character"};

/// The bytes, 1 to 4, of `value` (UTF-8) as the type `inspectorEditTypeTitles[typeIndex]`: an
/// integer in one of the forms of `HexParser::parseOffset` that the type holds, or exactly one
/// 7-bit ASCII character. Absent for all else, another index included.
std::optional<std::vector<std::uint8_t>> bytesForInspectorEdit(int typeIndex,
                                                               std::string_view value);

/// `byte` as 8 binary digits, the most significant one first.
std::string bitsOfByte(std::uint8_t byte);

/// Why a text is not the 8 binary digits of a byte.
enum class BitTextRefusal { tooLarge, invalid };

/// What the user is told.
std::string_view messageFor(BitTextRefusal refusal);

/// The byte whose 8 binary digits `text` (UTF-8) is, white space around them ignored. A text that
/// has more than 8 characters without that white space is `tooLarge`, any other wrong one
/// `invalid`.
std::variant<std::uint8_t, BitTextRefusal> byteForBits(std::string_view text);

}  // namespace quillmor
