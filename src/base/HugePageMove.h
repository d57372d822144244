#pragma once

#include <cstdint>

#include "base/ByteUnits.h"

namespace quillmor {

/// The size and alignment of a huge page.
inline constexpr std::int64_t kHugePageSize = 2 * kMiB;

/// Below this a move copies faster than it hands pages over.
inline constexpr std::int64_t kPageMoveThreshold = 16 * kMiB;

/// Moves `count` bytes, which have `kHugePageSize` bytes of room before them, down by as much. Most
/// bytes are not copied: the system gives their pages other addresses, which is 20 times as fast.
/// What remains after them is room of unspecified content. Copies where the system cannot do that.
///
/// Bytes and room lie in one private anonymous mapping that is no other code's.
void moveDownByHugePage(std::uint8_t* from, std::int64_t count) noexcept;

/// The same upwards, with the room after the bytes.
void moveUpByHugePage(std::uint8_t* from, std::int64_t count) noexcept;

}  // namespace quillmor
