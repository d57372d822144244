#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "base/FileLocation.h"
#include "base/TaskProgress.h"
#include "document/HexSelection.h"
#include "search/SearchCandidate.h"
#include "search/SearchRequest.h"

namespace quillmor {

/// Where a search of a file starts, and which way it goes.
struct FileSearchStart {
  /// The start or, going backward, the end of the file when absent.
  std::optional<std::int64_t> offset = {};
  bool forward = true;
};

/// How much of a file a thread reads and searches at a time: small enough to stay in a core's own
/// cache in between.
inline constexpr std::int64_t kSearchedFilePieceBytes = std::int64_t{512} * 1024;

/// What `nextMatch` finds in the bytes of a file of at most `maximumByteCount`, which is read by
/// several threads, as far as it must be, and not kept: a few MiB of memory. Fails as reading the
/// whole file does. The total of `progress` becomes the bytes in the search's way; throws
/// `Error::stopped()` when it says so. `pieceBytes` is 1 or more and far from the limits of
/// 64 bits.
std::optional<HexSelection> nextMatchInFile(const FileLocation& location,
                                            std::int64_t maximumByteCount,
                                            const SearchRequest& request,
                                            const std::vector<SearchCandidate>& candidateList,
                                            const FileSearchStart& start, TaskProgress& progress,
                                            std::int64_t pieceBytes = kSearchedFilePieceBytes);

}  // namespace quillmor
