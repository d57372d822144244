#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/ByteBuffer.h"

namespace quillmor {

/// The general pasteboard (clipboard). Main thread only; reading may wait for another program to
/// hand over what it holds.
class Pasteboard {
 public:
  /// Bytes as far as they are allowed to be.
  struct BoundedBytes {
    ByteBuffer bytes = {};       ///< empty when there are too many
    std::int64_t byteCount = 0;  ///< as held, whether too many or not
  };

  /// Text as far as it is allowed to be.
  struct BoundedText {
    std::string text = {};  ///< UTF-8; empty when it is too long
    bool isTooLong = false;
  };

  virtual ~Pasteboard() = default;

  /// Replaces what the pasteboard holds by plain text (UTF-8); false when it refuses.
  virtual bool setText(std::string text) = 0;

  /// Replaces what the pasteboard holds by bytes, and by the text that other programs get of them;
  /// false when it refuses either.
  virtual bool setBytes(ByteBuffer bytes, std::string text) = 0;

  /// The bytes held that are to be taken rather than any text held with them; absent when there are
  /// none. No more than `maximumByteCount` of them are returned.
  virtual std::optional<BoundedBytes> bytes(std::int64_t maximumByteCount) const = 0;

  /// The text held; absent when there is none. No text of more than `maximumByteCount` bytes of
  /// UTF-8 is returned.
  virtual std::optional<BoundedText> text(std::int64_t maximumByteCount) const = 0;
};

}  // namespace quillmor
