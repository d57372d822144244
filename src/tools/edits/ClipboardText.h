#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "base/ByteBuffer.h"
#include "base/TaskProgress.h"
#include "document/HexSelection.h"

namespace quillmor {

// Bytes as the texts that are placed on the clipboard. Pure functions, safe from any thread.
//
// If a `progress` is given, its total becomes the number of bytes. It is advanced and checked for a
// stop every few microseconds; then `Error::stopped()` is thrown. Memory: the text itself and some
// KiB. When there is not enough, throws std::bad_alloc or std::length_error before anything is
// converted.

/// How bytes are written for use elsewhere; the bytes DE AD 00 as
enum class ClipboardTextStyle {
  hex,            ///< DE AD 00
  cArray,         ///< { 0xDE, 0xAD, 0x00 }
  swiftArray,     ///< [0xDE, 0xAD, 0x00]
  base64,         ///< 3q0A (RFC 4648, section 4; padded, without line breaks)
  pythonBytes,    ///< b"\xde\xad\x00"
  jsonByteArray,  ///< [222, 173, 0]
};

/// The text around the digits of each byte and around all of them.
struct HexBytesFormat {
  std::string_view prefix = {};     ///< before every byte
  std::string_view separator = {};  ///< between two bytes
  std::string_view opening = {};    ///< before the first byte
  std::string_view closing = {};    ///< after the last byte
  bool lowercase = false;
};

/// Returns `bytes` as text in the given style.
std::string clipboardText(std::span<const std::uint8_t> bytes, ClipboardTextStyle style,
                          TaskProgress* progress = nullptr);

/// Returns two hexadecimal digits for every byte, with the texts of `format` around them. For no
/// bytes: the opening and the closing.
std::string formattedHexBytes(std::span<const std::uint8_t> bytes, const HexBytesFormat& format,
                              TaskProgress* progress = nullptr);

/// Returns the decimal values in square brackets, separated by a comma and a space.
std::string formattedJSONBytes(std::span<const std::uint8_t> bytes,
                               TaskProgress* progress = nullptr);

/// The clipboard content of Copy and Cut: the bytes for this program, and their text for others.
struct StandardClipboardPayload {
  ByteBuffer data;
  std::string hexString;  ///< `data` in the style `hex`

  bool operator==(const StandardClipboardPayload&) const = default;
};

/// Returns the payload of `bytes`; its data shares their memory.
StandardClipboardPayload standardClipboardPayload(ByteBuffer bytes,
                                                  TaskProgress* progress = nullptr);

/// Returns the range that the clipboard commands take from a document of `byteCount` bytes (0 or
/// more): the part of the selection inside the document, or else the byte at the caret. Absent if
/// there is no byte at the caret either.
std::optional<HexSelection> selectedRangeForClipboard(const HexSelection& selection,
                                                      std::int64_t caretOffset,
                                                      std::int64_t byteCount);

}  // namespace quillmor
