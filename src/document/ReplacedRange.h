#pragma once

#include <cstdint>
#include <span>

namespace quillmor {

/// One change of bytes: from `offset` on, `removedCount` bytes have become `insertedCount` others.
struct ReplacedRange {
  std::int64_t offset = 0;
  std::int64_t removedCount = 0;
  std::int64_t insertedCount = 0;

  bool operator==(const ReplacedRange&) const = default;
};

/// Returns the smallest change that makes `after` of `before`; of length 0 when they are equal. One
/// pass at the speed of memory.
ReplacedRange replacedRange(std::span<const std::uint8_t> before,
                            std::span<const std::uint8_t> after) noexcept;

}  // namespace quillmor
