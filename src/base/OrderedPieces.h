#pragma once

#include <cstdint>
#include <functional>

namespace quillmor {

/// The most threads that work on pieces at the same time.
inline constexpr int kMaximumPieceWorkers = 2;

/// Calls `work(index, worker)` for the pieces 0..<`count`, begun in this order. Two threads share
/// them when `mayShare` is true and the machine has more than one. `worker`, 0..<
/// `kMaximumPieceWorkers`, tells the threads apart, so that each can have its own buffer. When
/// `work` returns false, no later piece is begun; all earlier pieces are finished.
///
/// When `work` throws, no later piece is begun, and the exception of the first such piece is thrown
/// here. Exceptions of pieces after the end do not count. No other thread is at work any more when
/// this returns or throws.
void forEachPieceInOrder(std::int64_t count, bool mayShare,
                         const std::function<bool(std::int64_t index, int worker)>& work);

}  // namespace quillmor
