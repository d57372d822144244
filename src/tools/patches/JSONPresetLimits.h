#pragma once

#include <cstdint>

namespace quillmor {

/// How long a document may become through the matches of one rule. Any thread.
class JSONPresetExtent {
 public:
  /// For a document of `size` bytes that must not grow beyond `maximumByteCount`. Each match makes
  /// it `growth` bytes longer (shorter if negative).
  JSONPresetExtent(std::int64_t size, std::int64_t growth, std::int64_t maximumByteCount);

  /// Returns the document's size after `matches` replacements. Throws code 2610 if it does not fit
  /// in 64 bits, and 2609 if it is beyond the limit. A document that does not grow is never beyond
  /// it.
  std::int64_t sizeWith(std::int64_t matches) const;

  /// True if `sizeWith(matches)` does not throw.
  bool allows(std::int64_t matches) const;

 private:
  std::int64_t size_;
  std::int64_t growth_;
  std::int64_t limit_;
};

/// Returns the bookmark at `offset` moved by `shift`. Throws code 2611 if it does not fit in 64
/// bits.
std::int64_t movedPresetBookmark(std::int64_t offset, std::int64_t shift);

}  // namespace quillmor
