#pragma once

#include <cstdint>
#include <functional>

#include "base/ByteUnits.h"
#include "base/TaskProgress.h"

namespace quillmor {

/// The largest piece that is worked on between two looks at the stop request, in bytes.
inline constexpr std::int64_t kWorkPieceSize = kMiB;

/// Work over this many bytes or more is worth a second thread.
inline constexpr std::int64_t kSharedWorkThreshold = 8 * kMiB;

/// Calls `work(begin, end)` for consecutive pieces that together are 0..<`count`, each of
/// `kWorkPieceSize` bytes but the last. Advances `progress` by each finished piece; its total is
/// the caller's to set. Large work is shared between two threads, because one core alone does not
/// use all of the memory's speed: pieces may then run at the same time and in any order, so that
/// `work` must not throw and one piece must not read what another writes.
///
/// Throws `Error::stopped()` when a stop was requested, possibly with pieces left undone. Returns
/// when all pieces are done and no other thread is at work any more.
void forEachPiece(std::int64_t count, TaskProgress& progress,
                  const std::function<void(std::int64_t begin, std::int64_t end)>& work);

}  // namespace quillmor
