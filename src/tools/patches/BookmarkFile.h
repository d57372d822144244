#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "base/FileLocation.h"
#include "base/TaskProgress.h"

/// Bookmark lists as JSON files. Any thread.
namespace quillmor::BookmarkFile {

/// Returns the offsets in the bytes of a bookmark file (or of a bare JSON array), sorted and each
/// once: at most `Bookmarks::maxBookmarkEntries`. Throws code 2709 for invalid JSON or a number
/// beyond the range of a double, and 2710 for values nested deeper than `BoundedJSON` allows. Then
/// throws 2702 to 2707 in the order of the checks. Checks `progress` every few milliseconds and
/// throws `Error::stopped()` on a stop request.
std::vector<std::int64_t> bookmarkOffsets(std::span<const std::uint8_t> file,
                                          const TaskProgress* progress = nullptr);

/// Reads them from a file of at most `maxFileBytes`. Throws code 2701 for a larger one, else as
/// above or as reading a file does.
std::vector<std::int64_t> read(const FileLocation& location, std::int64_t maxFileBytes,
                               TaskProgress& progress);

/// Returns the text of a file with `offsets`: sorted keys, indented, a line feed at the end. Throws
/// code 2708 if it would be larger than `maxFileBytes`, so every exported file can be imported
/// again.
std::string text(const std::vector<std::int64_t>& offsets, std::int64_t maxFileBytes);

}  // namespace quillmor::BookmarkFile
