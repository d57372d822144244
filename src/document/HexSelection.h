#pragma once

#include <cstdint>

namespace quillmor {

/// A range of bytes: `length` bytes from offset `start`; length 0 is a caret with no selection.
/// As stored it may lie anywhere; the bytes are reached only through its normalised form.
struct HexSelection {
  std::int64_t start = 0;
  std::int64_t length = 0;

  /// This range clipped into 0..<`maxCount`. What lies before 0 is cut off, a start past the end
  /// becomes (`maxCount`, 0), and sums that do not fit 64 bits saturate.
  HexSelection normalized(std::int64_t maxCount) const;

  bool operator==(const HexSelection&) const = default;
};

}  // namespace quillmor
