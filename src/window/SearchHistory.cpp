#include "window/SearchHistory.h"

#include <algorithm>

#include "base/Unicode.h"

namespace quillmor {

void SearchHistory::record(std::string_view text) {
  if (text.empty() || Unicode::hasMoreScalarsThan(text, kMaxEntryCharacters)) return;
  const auto known = std::find(entries_.begin(), entries_.end(), text);
  if (known != entries_.end()) {
    std::rotate(entries_.begin(), known, known + 1);
    return;
  }
  entries_.emplace(entries_.begin(), text);
  if (entries_.size() > kMaxEntries) entries_.pop_back();
}

}  // namespace quillmor
