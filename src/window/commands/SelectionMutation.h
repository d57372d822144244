#pragma once

#include <cstdint>
#include <optional>

#include "base/ByteBuffer.h"
#include "base/ByteUnits.h"
#include "base/Error.h"
#include "base/TaskProgress.h"
#include "document/HexSelection.h"

namespace quillmor {

/// New bytes for a range, prepared so that writing them costs the main thread little.
struct SelectionMutation {
  ByteBuffer bytes;
  /// True if the old bytes are the same.
  bool changesNothing = false;
  /// The old bytes, for undo; absent when there are more than undo keeps.
  std::optional<ByteBuffer> before = {};
  /// The whole document with the new bytes; present when writing so many would block the window.
  std::optional<ByteBuffer> document = {};
};

/// The largest range that is written into the document in place: a few milliseconds, where a copy
/// of the whole document would take its memory once more.
inline constexpr std::int64_t kLargestRangeWrittenInPlace = 32 * kMiB;

/// 411: the range that a command works on no longer exists.
Error rangeChangedError();

/// `range` when it lies within `bytes`; throws `rangeChangedError()` otherwise.
HexSelection requireWithin(HexSelection range, const ByteBuffer& bytes);

/// Prepares `bytes` to take the place of as many bytes of `original` at `range`. Any thread; throws
/// `Error::stopped()` when a stop was requested, and std::bad_alloc.
SelectionMutation prepareMutation(const ByteBuffer& original, HexSelection range, ByteBuffer bytes,
                                  TaskProgress& progress);

/// A copy of the bytes of `range`, which lies within `original`. Any thread; advances `progress` by
/// the bytes copied and throws as above.
ByteBuffer copyOf(const ByteBuffer& original, HexSelection range, TaskProgress& progress);

/// A copy of `original` with `bytes` in the place of `range`, which lies within it; shares the
/// memory of `bytes` when these are all of it. Any thread; advances `progress` by the bytes copied
/// and throws as above.
ByteBuffer documentWith(const ByteBuffer& original, HexSelection range, const ByteBuffer& bytes,
                        TaskProgress& progress);

}  // namespace quillmor
