#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "base/FileLocation.h"
#include "base/TaskProgress.h"

/// Bookmark lists as JSON files. Any thread.
namespace quillmor::BookmarkFile {

/// The offsets in the bytes of a bookmark file (or in a bare JSON array), sorted and each once.
/// Code 2709 for what is not valid JSON or holds a number beyond the range of a double, 2710 for
/// values nested deeper than `BoundedJSON` allows, then 2702 to 2707 in the order of the checks; at
/// most `Bookmarks::maxBookmarkEntries` entries. `progress` is asked every few milliseconds whether
/// to stop, which throws `Error::stopped()`.
std::vector<std::int64_t> bookmarkOffsets(std::span<const std::uint8_t> file,
                                          const TaskProgress* progress = nullptr);

/// Reads them from a file of at most `maxFileBytes`; code 2701 for a larger one, else as above or
/// what reading a file fails with.
std::vector<std::int64_t> read(const FileLocation& location, std::int64_t maxFileBytes,
                               TaskProgress& progress);

/// The file with `offsets`: sorted keys, indented, a line feed at the end. Throws code 2708 when it
/// would be larger than `maxFileBytes`, so that what was exported can be imported again.
std::string text(const std::vector<std::int64_t>& offsets, std::int64_t maxFileBytes);

}  // namespace quillmor::BookmarkFile
