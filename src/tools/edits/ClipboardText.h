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
// Where a `progress` is given, its total becomes the number of bytes, the bytes converted are added
// every few microseconds, and a requested stop is answered by `Error::stopped()` as soon. Memory:
// the text itself and some KiB; when there is not enough, std::bad_alloc or std::length_error is
// thrown before anything is converted.

/// How bytes are written for use elsewhere; the bytes DE AD 00 as
enum class ClipboardTextStyle {
  hex,            ///< DE AD 00
  cArray,         ///< { 0xDE, 0xAD, 0x00 }
  swiftArray,     ///< [0xDE, 0xAD, 0x00]
  base64,         ///< 3q0A (RFC 4648, section 4; padded, without line breaks)
  pythonBytes,    ///< b"\xde\xad\x00"
  jsonByteArray,  ///< [222, 173, 0]
};

/// What stands around the digits of each byte and around them all.
struct HexBytesFormat {
  std::string_view prefix = {};     ///< before every byte
  std::string_view separator = {};  ///< between two bytes
  std::string_view opening = {};    ///< before the first byte
  std::string_view closing = {};    ///< after the last byte
  bool lowercase = false;
};

/// `bytes` in the given style.
std::string clipboardText(std::span<const std::uint8_t> bytes, ClipboardTextStyle style,
                          TaskProgress* progress = nullptr);

/// Two hexadecimal digits for every byte, with what `format` says around them. No bytes give the
/// opening and the closing.
std::string formattedHexBytes(std::span<const std::uint8_t> bytes, const HexBytesFormat& format,
                              TaskProgress* progress = nullptr);

/// The decimal values in square brackets, separated by a comma and a space.
std::string formattedJSONBytes(std::span<const std::uint8_t> bytes,
                               TaskProgress* progress = nullptr);

/// What Copy and Cut publish: the bytes for this program and their text for all others.
struct StandardClipboardPayload {
  ByteBuffer data;
  std::string hexString;  ///< `data` in the style `hex`

  bool operator==(const StandardClipboardPayload&) const = default;
};

/// The payload of `bytes`, whose memory its data shares.
StandardClipboardPayload standardClipboardPayload(ByteBuffer bytes,
                                                  TaskProgress* progress = nullptr);

/// The bytes that the clipboard commands take from a document of `byteCount` bytes (0 or more):
/// the selection as far as it lies in the document, the one byte at the caret when that is empty;
/// absent when the caret is on no byte either.
std::optional<HexSelection> selectedRangeForClipboard(const HexSelection& selection,
                                                      std::int64_t caretOffset,
                                                      std::int64_t byteCount);

}  // namespace quillmor
