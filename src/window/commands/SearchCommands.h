#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "search/SearchCandidate.h"
#include "search/SearchRequest.h"
#include "window/commands/CommandFamily.h"

namespace quillmor {

/// The panels' searches, repeating them, and the search for a pattern with wildcards.
class SearchCommands : private CommandFamily {
 public:
  explicit SearchCommands(CommandContext& context) : CommandFamily(context) {}
  static std::span<const CommandRow<SearchCommands>> rows();

  /// The last search: the panels start with it, Find Next and Find Previous repeat it.
  const SearchRequest& lastSearchRequest() const { return lastSearchRequest_; }
  void setLastSearchRequest(const SearchRequest& request) { lastSearchRequest_ = request; }

  // Requests of the Find panel.
  void performFind(const SearchRequest& request, bool advanceFromCurrentSelection);
  void performSearchAll(const SearchRequest& request);

  /// Looks for the next match and selects it; what fails is shown with this title.
  void search(const SearchRequest& request, bool advanceFromCurrentSelection,
              const std::string& failureTitle);

  void selectMatch(const SearchMatch& match);
  /// Shows the number of matches, with a beep when there are none.
  void showCount(std::int64_t count, const std::string& title, const std::string& answer);

 private:
  void find();
  void replace();
  void findNext();
  void findPrevious();
  void findWildcardMask();

  void startSearch(const SearchRequest& request, bool advanceFromCurrentSelection,
                   const std::string& failureTitle);
  void startSearchAll(const SearchRequest& request);
  void findPattern(const std::string& text);

  SearchRequest lastSearchRequest_;
  std::string lastWildcardText_;
};

}  // namespace quillmor
