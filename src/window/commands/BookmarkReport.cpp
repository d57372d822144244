#include "window/commands/BookmarkReport.h"

#include "base/HexText.h"

namespace quillmor {

std::string bookmarkReport(const std::vector<std::int64_t>& offsets) {
  const std::size_t indexWidth = std::to_string(offsets.size()).size();
  std::string report = "Bookmarks: " + std::to_string(offsets.size()) + "\n\n";
  for (std::size_t i = 0; i < offsets.size(); ++i) {
    const std::string index = std::to_string(i + 1);
    report.append(indexWidth - index.size(), ' ');
    report.append(index).append("  0x").append(uppercaseHex(offsets[i], 8)).append("\n");
  }
  return report;
}

}  // namespace quillmor
