#pragma once

#include <cstdint>

namespace quillmor {

/// How long a document may become through the matches of one rule. Any thread.
class JSONPresetExtent {
 public:
  /// Of a document of `size` bytes, in which each match makes room for `growth` (negative for less
  /// room) bytes more, and which must not grow beyond `maximumByteCount`.
  JSONPresetExtent(std::int64_t size, std::int64_t growth, std::int64_t maximumByteCount);

  /// The document's size with `matches` of them. Throws code 2610 when it does not fit 64 bits and
  /// 2609 when it is beyond the limit; a document that does not grow is never beyond it.
  std::int64_t sizeWith(std::int64_t matches) const;

  /// Whether `sizeWith(matches)` does not throw.
  bool allows(std::int64_t matches) const;

 private:
  std::int64_t size_;
  std::int64_t growth_;
  std::int64_t limit_;
};

/// The bookmark at `offset` moved by `shift`. Throws code 2611 when it would not fit 64 bits.
std::int64_t movedPresetBookmark(std::int64_t offset, std::int64_t shift);

}  // namespace quillmor
