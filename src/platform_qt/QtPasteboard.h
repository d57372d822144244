#pragma once

#include "platform/Pasteboard.h"

namespace quillmor {

/// The desktop's clipboard. Main thread only; needs the running application object.
///
/// Bytes are published under the program's own type and as "application/octet-stream", which other
/// editors of bytes read. The program's own type is read first, then a generic type of the same
/// meaning, then text. "application/octet-stream" is read only if there is no text. A list of files
/// is no text.
class QtPasteboard : public Pasteboard {
 public:
  bool setText(std::string text) override;
  bool setBytes(ByteBuffer bytes, std::string text) override;
  std::optional<BoundedBytes> bytes(std::int64_t maximumByteCount) const override;
  std::optional<BoundedText> text(std::int64_t maximumByteCount) const override;
};

}  // namespace quillmor
