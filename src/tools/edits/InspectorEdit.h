#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace quillmor {

// Typed values that overwrite the bytes at the caret. Pure functions, safe from any thread.

/// The types a value may be typed as, in the order of their pop-up.
inline constexpr std::array<std::string_view, 6> inspectorEditTypeTitles = {
    "UInt8", "UInt16 LE", "UInt16 BE", "UInt32 LE", "UInt32 BE", "ASCII Character"};

/// Returns the 1 to 4 bytes of `value` (UTF-8) as the type `inspectorEditTypeTitles[typeIndex]`.
/// The value is an integer in a form of `HexParser::parseOffset` that fits the type, or exactly one
/// 7-bit ASCII character. Absent for any other text or index.
std::optional<std::vector<std::uint8_t>> bytesForInspectorEdit(int typeIndex,
                                                               std::string_view value);

/// Returns `byte` as 8 binary digits, the most significant one first.
std::string bitsOfByte(std::uint8_t byte);

/// The reason why a text is not the 8 binary digits of a byte.
enum class BitTextRefusal { tooLarge, invalid };

/// Returns the sentence for the user.
std::string_view messageFor(BitTextRefusal refusal);

/// Returns the byte with the 8 binary digits `text` (UTF-8), ignoring white space around them. A
/// text of more than 8 other characters is `tooLarge`, any other wrong text `invalid`.
std::variant<std::uint8_t, BitTextRefusal> byteForBits(std::string_view text);

}  // namespace quillmor
