#include "cli/TypedSearch.h"

#include <string>
#include <string_view>

#include "base/Error.h"
#include "base/Unicode.h"
#include "search/SearchAnswers.h"
#include "search/SearchCandidates.h"

namespace quillmor::cli {

TypedSearch typedSearch(const Arguments& arguments) {
  const auto choiceOf = [&arguments](std::string_view name, const auto& choices) {
    return chosen(choices, arguments.find(name).value_or(std::string(choices.front().name)));
  };
  SearchRequest request{.mode = choiceOf("--mode", kSearchModes),
                        .searchText = arguments.text("TEXT"),
                        .replaceText = arguments.find("REPLACEMENT").value_or(""),
                        .textEncoding = choiceOf("--encoding", kSearchEncodings),
                        .caseSensitive = arguments.has("--case-sensitive")};
  // Bytes that are not UTF-8 would silently be searched for as U+FFFD.
  auto candidateList =
      Unicode::isValid(request.searchText) ? candidates(request) : std::vector<SearchCandidate>();
  if (candidateList.empty()) throw Error::quillmor(2004, unreadableText("TEXT", request.mode));
  return {std::move(request), std::move(candidateList)};
}

ReplacementTable typedReplacements(const TypedSearch& search) {
  const SearchRequest& request = search.request;
  auto table = Unicode::isValid(request.replaceText)
                   ? replacementTable(request, search.candidateList)
                   : std::nullopt;
  if (!table) throw Error::quillmor(2005, unreadableText("REPLACEMENT", request.mode));
  return *std::move(table);
}

}  // namespace quillmor::cli
