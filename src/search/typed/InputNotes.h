#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

/// What a prompt says about a text while it is typed: how it will be read, or why it cannot be.
/// Empty when nothing has been typed. Pure functions, safe from any thread. Their work is bounded
/// by `maxTextInputCharacters`.
namespace quillmor::InputNotes {

/// "2 bytes: FF 00", with no more than the first eight of the bytes.
std::string bytes(std::span<const std::uint8_t> bytes);

/// How `bytesFromInput` reads the text: "2 bytes: FF 00", "text, 2 bytes: 46 46".
std::string typedBytes(std::string_view text, int modeIndex);

/// How `HexParser::parseOffset` reads an offset of 0 or more: "0x00001000 (4096)".
std::string offset(std::string_view text);

/// How `HexParser::parseOffset` reads a length or a count, of any sign: "4096 (0x1000)".
std::string number(std::string_view text);

}  // namespace quillmor::InputNotes
