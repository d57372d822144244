#pragma once

#include "platform/Pasteboard.h"

namespace quillmor {

/// The desktop's clipboard. Main thread only; needs the running application object.
class QtPasteboard : public Pasteboard {
 public:
  void setText(const std::string& text) override;
};

}  // namespace quillmor
