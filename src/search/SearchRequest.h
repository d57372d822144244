#pragma once

#include <string>

#include "search/typed/TextEncoding.h"

namespace quillmor {

/// How the search text is read, in the order of the panels' tabs.
enum class SearchMode { textString, hexValues, integerNumber, floatingPointNumber };

enum class SearchDirection { all, forward, backward };

/// What a user asks a panel to find or replace. Texts are UTF-8, as typed.
struct SearchRequest {
  SearchMode mode = SearchMode::textString;
  std::string searchText = {};
  std::string replaceText = {};
  SearchTextEncoding textEncoding = SearchTextEncoding::editor;
  SearchDirection direction = SearchDirection::forward;
  bool caseSensitive = false;
  bool promptOnReplace = false;

  /// True if ASCII letters match in either case: in text only.
  bool ignoresASCIICase() const { return mode == SearchMode::textString && !caseSensitive; }

  bool operator==(const SearchRequest&) const = default;
};

}  // namespace quillmor
