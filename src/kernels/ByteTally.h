#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "base/TaskProgress.h"

namespace quillmor {

/// How often each byte value occurs.
using ByteCounts = std::array<std::int64_t, 256>;

/// How often each byte value occurs in a piece of a document.
using ByteTally = std::array<std::uint32_t, 256>;

/// Counts the bytes of a piece, fewer than 2^32. Any thread.
ByteTally byteTally(std::span<const std::uint8_t> piece);

void addTally(ByteCounts& counts, const ByteTally& tally);

/// Counts `bytes`, on two threads when there are many. Advances `progress` by their number; the
/// caller sets its total. Throws `Error::stopped()` when a stop was requested.
ByteCounts countedInPieces(std::span<const std::uint8_t> bytes, TaskProgress& progress);

}  // namespace quillmor
