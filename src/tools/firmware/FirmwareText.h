#pragma once

#include <cstdint>
#include <string>

#include "base/HexText.h"

namespace quillmor {

/// "0x" and two digits.
inline std::string hexText(std::uint8_t value) {
  return "0x" + uppercaseHex(value, 2);
}

/// "0x" and four digits.
inline std::string hexText(std::uint16_t value) {
  return "0x" + uppercaseHex(value, 4);
}

/// A report that grows line by line.
class ReportLines {
 public:
  /// Adds the `parts`, in a row, and a line feed.
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
