#pragma once

#include "platform/Pasteboard.h"

namespace quillmor {

/// The desktop's clipboard. Main thread only; needs the running application object.
///
/// Bytes are published under the program's own type and as "application/octet-stream", which other
/// editors of bytes read. The own type is read before a generic type of the same meaning, both
/// before text, and "application/octet-stream" only where there is no text. A list of files is no
/// text.
class QtPasteboard : public Pasteboard {
 public:
  bool setText(std::string text) override;
  bool setBytes(ByteBuffer bytes, std::string text) override;
  std::optional<BoundedBytes> bytes(std::int64_t maximumByteCount) const override;
  std::optional<BoundedText> text(std::int64_t maximumByteCount) const override;
};

}  // namespace quillmor
