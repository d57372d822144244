#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "base/ByteUnits.h"
#include "base/FileLocation.h"
#include "base/TaskProgress.h"
#include "document/HexSelection.h"
#include "search/SearchCandidate.h"
#include "search/SearchRequest.h"

namespace quillmor {

/// Where a search of a file starts, and which way it goes.
struct FileSearchStart {
  /// When absent, the start of the file or, going backward, its end.
  std::optional<std::int64_t> offset = {};
  bool forward = true;
};

/// How many bytes of a file a thread reads and searches at a time: few enough to stay in a core's
/// own cache in between.
inline constexpr std::int64_t kSearchedFilePieceBytes = 512 * kKiB;

/// Returns what `nextMatch` finds in a file of at most `maximumByteCount` bytes. Several threads
/// read it as far as needed and keep nothing, so it takes a few MiB of memory. Fails as reading the
/// whole file does. `progress` is used as in `nextMatch`. `pieceBytes` is 1 or more, and far from
/// the limits of 64 bits.
std::optional<HexSelection> nextMatchInFile(const FileLocation& location,
                                            std::int64_t maximumByteCount,
                                            const SearchRequest& request,
                                            const std::vector<SearchCandidate>& candidateList,
                                            const FileSearchStart& start, TaskProgress& progress,
                                            std::int64_t pieceBytes = kSearchedFilePieceBytes);

}  // namespace quillmor
