#pragma once

#include <cstddef>
#include <string_view>

#include "base/ByteUnits.h"
#include "base/TaskProgress.h"

// What base/Unicode.h says of texts, for texts so long that the work must be stoppable: `progress`,
// which may be null, is asked about each piece of `pieceSize` bytes (4 or more) and may end it with
// `Error::stopped()`. Any thread.

namespace quillmor {

inline constexpr std::size_t kStoppablePieceSize = kMiB;

/// Whether all of `text` is UTF-8.
bool isValidUtf8(std::string_view text, const TaskProgress* progress,
                 std::size_t pieceSize = kStoppablePieceSize);

/// `text`, which is UTF-8, without the white space at both ends.
std::string_view trimmedOfWhiteSpace(std::string_view text, const TaskProgress* progress,
                                     std::size_t pieceSize = kStoppablePieceSize);

}  // namespace quillmor
