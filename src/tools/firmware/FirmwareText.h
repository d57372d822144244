#pragma once

#include <string>

#include "base/HexText.h"

namespace quillmor {

/// A report that grows line by line.
class ReportLines {
 public:
  /// Appends the `parts` and a line feed.
  template <class... Parts>
  void line(const Parts&... parts) {
    (text_.append(parts), ...);
    text_.push_back('\n');
  }

  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

}  // namespace quillmor
