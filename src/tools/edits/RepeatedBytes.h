#pragma once

#include <cstdint>
#include <span>

#include "base/ByteBuffer.h"
#include "base/ByteUnits.h"
#include "base/TaskProgress.h"

namespace quillmor {

/// Returns exactly `count` bytes; byte i is `pattern[i mod pattern length]`. Returns no bytes,
/// without allocating, when the pattern is empty, or `count` is below 1 or above `maximumCount`.
///
/// Any thread. Throws std::bad_alloc when memory runs out.
ByteBuffer repeatedBytes(std::span<const std::uint8_t> pattern, std::int64_t count,
                         std::int64_t maximumCount);

/// The same; advances `progress` up to `count`. Throws `Error::stopped()` on a stop request.
ByteBuffer repeatedBytes(std::span<const std::uint8_t> pattern, std::int64_t count,
                         std::int64_t maximumCount, TaskProgress& progress);

/// Fills all of `to` with the pattern, which holds at least one byte, in the same way.
void fillWithPattern(std::span<const std::uint8_t> pattern, std::span<std::uint8_t> to,
                     TaskProgress& progress);

/// A pattern as an endless sequence of bytes. It can be read in long runs, however short the
/// pattern is. A pattern longer than half of `kBlockSize` is not copied and must outlive this
/// object. Reading is safe from any thread.
class RepeatingPattern {
 public:
  /// Small enough to stay in a core's nearest cache while it is combined with other bytes.
  static constexpr std::int64_t kBlockSize = 16 * kKiB;

  /// `pattern` holds at least one byte.
  explicit RepeatingPattern(std::span<const std::uint8_t> pattern);

  /// Returns 1 to `maximumCount` (at least 1) bytes of the sequence from `position` (0 or more) on.
  /// Valid as long as this object.
  std::span<const std::uint8_t> run(std::int64_t position, std::int64_t maximumCount) const;

 private:
  ByteBuffer copies_;
  std::span<const std::uint8_t> block_;
};

}  // namespace quillmor
