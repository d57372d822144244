#pragma once

#include "platform/Pasteboard.h"

namespace quillmor {

/// The desktop's clipboard. Main thread only; needs the running application object.
///
/// Bytes are published under the program's own type and as "application/octet-stream", which other
/// editors of bytes read; both are read, and a generic type of the same meaning.
class QtPasteboard : public Pasteboard {
 public:
  bool setText(const std::string& text) override;
  bool setBytes(ByteBuffer bytes, std::string text) override;
  std::optional<ByteBuffer> bytes() const override;
  std::optional<BoundedText> text(std::int64_t maximumByteCount) const override;
};

}  // namespace quillmor
