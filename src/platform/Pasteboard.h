#pragma once

#include <string>

namespace quillmor {

/// The general pasteboard (clipboard). Main thread only.
class Pasteboard {
 public:
  virtual ~Pasteboard() = default;

  /// Replaces what the pasteboard holds by plain text (UTF-8).
  virtual void setText(const std::string& text) = 0;
};

}  // namespace quillmor
