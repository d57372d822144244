#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace quillmor {

/// The most Unicode scalars a text typed as input may have.
inline constexpr std::int64_t maxTextInputCharacters = 4'194'304;

/// The most bytes that one command may make of typed input or of a selection.
inline constexpr std::int64_t maxGeneratedInputBytes = 268'435'456;

/// How typed input is read, in the order of the prompts' pop-up.
enum InputMode : int { kInputModeAuto = 0, kInputModeHex = 1, kInputModeText = 2 };

/// True if free input looks like a list of hexadecimal bytes: it has "0x" somewhere, or a separator
/// (white space or one of `,` `;` `:` `-`) between its ends. One unbroken word is text.
bool shouldTreatAutoInputAsHex(std::string_view text);

/// Returns the bytes that input typed in the mode `modeIndex` denotes (see `InputMode`; other
/// values read as text). Absent when it is not valid in that mode, has more than
/// `maxTextInputCharacters` scalars, or denotes more than `maxOutputBytes` bytes. Text may denote
/// no bytes at all.
std::optional<std::vector<std::uint8_t>> bytesFromInput(
    std::string_view text, int modeIndex, std::int64_t maxOutputBytes = maxGeneratedInputBytes);

/// Bytes read from typed input.
struct TypedBytes {
  std::vector<std::uint8_t> bytes;
  bool isText = false;  ///< true for the input's own bytes, not those it denotes in hexadecimal
};

/// Returns the same, and how the input was read.
std::optional<TypedBytes> readTypedBytes(std::string_view text, int modeIndex,
                                         std::int64_t maxOutputBytes = maxGeneratedInputBytes);

/// Returns the bytes that clipboard text pastes: those it denotes when it is valid hexadecimal
/// within both limits, else its own UTF-8 bytes. Throws code 412 when they are more than
/// `maxOutputBytes`.
std::vector<std::uint8_t> bytesForPastedText(std::string_view text, std::int64_t maxOutputBytes,
                                             std::int64_t maxInputCharacters);

}  // namespace quillmor
