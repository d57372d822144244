#pragma once

#include <cstdint>
#include <functional>

#include "base/ByteUnits.h"
#include "base/TaskProgress.h"

namespace quillmor {

/// The largest piece, in bytes, between two looks at the stop request.
inline constexpr std::int64_t kWorkPieceSize = kMiB;

/// Work over this many bytes or more is worth a second thread.
inline constexpr std::int64_t kSharedWorkThreshold = 8 * kMiB;

/// Calls `work(begin, end)` for consecutive pieces that together are 0..<`count`, each of
/// `kWorkPieceSize` bytes except the last. Advances `progress` by each finished piece; the caller
/// sets its total. Two threads share large work, because one core alone does not use all of the
/// memory's speed. Pieces may then run at the same time and in any order: `work` must not throw,
/// and no piece may read what another writes.
///
/// Throws `Error::stopped()` when a stop was requested, possibly with pieces left undone. Returns
/// when all pieces are done and no other thread is at work.
void forEachPiece(std::int64_t count, TaskProgress& progress,
                  const std::function<void(std::int64_t begin, std::int64_t end)>& work);

}  // namespace quillmor
