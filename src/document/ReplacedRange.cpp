#include "document/ReplacedRange.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace quillmor {

namespace {

/// Blocks are compared by the library, which has a loop for the processor; bytes only in the first
/// block that differs.
constexpr std::size_t kBlock = 4096;

}  // namespace

ReplacedRange replacedRange(std::span<const std::uint8_t> before,
                            std::span<const std::uint8_t> after) noexcept {
  const std::size_t shorter = std::min(before.size(), after.size());
  std::size_t prefix = 0;
  while (shorter - prefix >= kBlock &&
         std::memcmp(before.data() + prefix, after.data() + prefix, kBlock) == 0) {
    prefix += kBlock;
  }
  while (prefix < shorter && before[prefix] == after[prefix]) ++prefix;

  // The same bytes must not count for both sides.
  const std::size_t most = shorter - prefix;
  const std::uint8_t* const endBefore = before.data() + before.size();
  const std::uint8_t* const endAfter = after.data() + after.size();
  std::size_t suffix = 0;
  while (most - suffix >= kBlock &&
         std::memcmp(endBefore - suffix - kBlock, endAfter - suffix - kBlock, kBlock) == 0) {
    suffix += kBlock;
  }
  while (suffix < most && endBefore[-1 - static_cast<std::ptrdiff_t>(suffix)] ==
                              endAfter[-1 - static_cast<std::ptrdiff_t>(suffix)]) {
    ++suffix;
  }
  return {.offset = static_cast<std::int64_t>(prefix),
          .removedCount = static_cast<std::int64_t>(before.size() - prefix - suffix),
          .insertedCount = static_cast<std::int64_t>(after.size() - prefix - suffix)};
}

}  // namespace quillmor
