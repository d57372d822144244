#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quillmor {

/// The recent texts of one kind of field, newest first and without repetition. Main thread only.
class SearchHistory {
 public:
  static constexpr std::size_t kMaxEntries = 20;

  /// Longer texts, in Unicode scalars, are not remembered: in a list they all look alike, and a
  /// field may hold millions of characters.
  static constexpr std::int64_t kMaxEntryCharacters = 4096;

  /// Puts `text` first and drops the oldest when there are too many. Ignores empty and overlong
  /// texts.
  void record(std::string_view text);

  const std::vector<std::string>& entries() const { return entries_; }

 private:
  std::vector<std::string> entries_;
};

/// The histories that all panels of the program share.
struct SearchHistories {
  SearchHistory searches;
  SearchHistory replacements;
};

}  // namespace quillmor
