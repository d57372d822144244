#pragma once

#include <cstddef>
#include <string_view>

#include "base/ByteUnits.h"
#include "base/TaskProgress.h"

// The functions of base/Unicode.h for texts so long that the work must be stoppable. They check
// `progress`, which may be null, before each piece of `pieceSize` bytes (4 or more). They throw
// `Error::stopped()` on a stop request. Any thread.

namespace quillmor {

inline constexpr std::size_t kStoppablePieceSize = kMiB;

/// True if all of `text` is UTF-8.
bool isValidUtf8(std::string_view text, const TaskProgress* progress,
                 std::size_t pieceSize = kStoppablePieceSize);

/// Returns `text`, which is UTF-8, without the white space at both ends.
std::string_view trimmedOfWhiteSpace(std::string_view text, const TaskProgress* progress,
                                     std::size_t pieceSize = kStoppablePieceSize);

}  // namespace quillmor
