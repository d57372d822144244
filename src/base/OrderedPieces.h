#pragma once

#include <cstdint>
#include <functional>

namespace quillmor {

/// The most threads that work on pieces at the same time.
inline constexpr int kMaximumPieceWorkers = 2;

/// Calls `work(index, worker)` for the pieces 0..<`count`, begun in this order. Several threads
/// share them when `mayShare` and the machine has more than one: `worker`, 0..<
/// `kMaximumPieceWorkers`, tells them apart, so that each can have a buffer of its own. When `work`
/// returns false no piece behind that one is begun any more; all before it are worked on.
///
/// What `work` throws for a piece that is not behind the end is thrown here, the one of the first
/// piece; no piece behind that one is begun any more. No other thread is at work any more when this
/// returns or throws.
void forEachPieceInOrder(std::int64_t count, bool mayShare,
                         const std::function<bool(std::int64_t index, int worker)>& work);

}  // namespace quillmor
