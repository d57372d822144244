#pragma once

#include <cstdint>

#include "base/ByteUnits.h"

namespace quillmor {

/// Moves of this many bytes or more are worth a second thread.
inline constexpr std::int64_t kParallelMoveThreshold = 8 * kMiB;

/// Moves over a longer distance take about twice as long and are done by one thread.
inline constexpr std::int64_t kNearMoveDistance = 128 * kKiB;

/// Moves `count` bytes from `from` to `to`, which may overlap and may be null when `count` is 0.
/// Large moves over a short distance, such as one inserted byte causes, are shared by two threads
/// where there is memory to start one: one core alone does not use all of the memory's speed.
/// Returns when all bytes are in place.
void moveBytes(std::uint8_t* to, const std::uint8_t* from, std::int64_t count) noexcept;

}  // namespace quillmor
