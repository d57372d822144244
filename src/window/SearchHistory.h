#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quillmor {

/// The texts a kind of field was used with lately, newest first, each of them once. Lives as long
/// as the program runs; main thread only.
class SearchHistory {
 public:
  static constexpr std::size_t kMaxEntries = 20;

  /// Longer texts, in Unicode scalars, are not remembered: nobody tells them apart in a list, and a
  /// field may hold millions of characters.
  static constexpr std::int64_t kMaxEntryCharacters = 4096;

  /// Puts `text` first and forgets what is too many. Empty and overlong texts change nothing.
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
