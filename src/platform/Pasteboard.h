#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/ByteBuffer.h"

namespace quillmor {

/// The general pasteboard (clipboard). Main thread only; reading may wait for another program to
/// hand over its content.
class Pasteboard {
 public:
  /// Bytes, if they are not too many.
  struct BoundedBytes {
    ByteBuffer bytes = {};       ///< empty when there are too many
    std::int64_t byteCount = 0;  ///< as held, whether too many or not
  };

  /// Text, if it is not too long.
  struct BoundedText {
    std::string text = {};  ///< UTF-8; empty when it is too long
    bool isTooLong = false;
  };

  virtual ~Pasteboard() = default;

  /// Replaces the content with plain text (UTF-8). False if the pasteboard refuses.
  virtual bool setText(std::string text) = 0;

  /// Replaces the content with bytes, and with the text that other programs get instead of them.
  /// False if the pasteboard refuses either.
  virtual bool setBytes(ByteBuffer bytes, std::string text) = 0;

  /// Returns the bytes that are to be pasted rather than any text beside them; absent when there
  /// are none. Returns at most `maximumByteCount` of them.
  virtual std::optional<BoundedBytes> bytes(std::int64_t maximumByteCount) const = 0;

  /// Returns the text; absent when there is none. Returns no text of more than `maximumByteCount`
  /// bytes of UTF-8.
  virtual std::optional<BoundedText> text(std::int64_t maximumByteCount) const = 0;
};

}  // namespace quillmor
