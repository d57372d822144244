#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace quillmor {

/// The list of bookmarks as a report: a heading with their number, then one numbered offset a line.
std::string bookmarkReport(const std::vector<std::int64_t>& offsets);

}  // namespace quillmor
