#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "base/ByteBuffer.h"
#include "base/TaskProgress.h"

namespace quillmor {

/// Bytes in pieces, for many edits one after another: an edit moves the bytes of one piece and not
/// half a document. Offsets and counts lie within the bytes. One thread at a time.
class ReplayedBytes {
 public:
  /// With `progress`, copying the bytes here and in `take` advances it; either throws
  /// `Error::stopped()`.
  explicit ReplayedBytes(const ByteBuffer& bytes, TaskProgress* progress = nullptr);

  std::int64_t size() const { return size_; }

  /// Replaces the `removed` bytes from `offset` with `inserted`.
  void replace(std::int64_t offset, std::int64_t removed, std::span<const std::uint8_t> inserted);

  /// All bytes in one buffer. The pieces go meanwhile: this object is empty afterwards.
  ByteBuffer take(TaskProgress* progress = nullptr);

 private:
  using Piece = std::vector<std::uint8_t>;
  struct Place {
    std::size_t piece = 0;
    std::ptrdiff_t offset = 0;
  };

  Place placeOf(std::int64_t offset) const;
  void remove(Place place, std::int64_t count);
  void insert(Place place, std::span<const std::uint8_t> bytes);

  /// Never none; only the first one may be empty.
  std::vector<Piece> pieces_;
  std::int64_t size_;
};

}  // namespace quillmor
