#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/Result.h"
#include "search/SearchRequest.h"
#include "search/scan/WildcardHexPattern.h"

namespace quillmor {

// The texts that searching and replacing answer with. Pure functions, any thread.

/// Says how many occurrences there are, or that there are none.
std::string foundText(std::int64_t count);

/// Says how many occurrences were replaced, or that none was.
std::string replacedText(std::int64_t count);

/// The answer when a wildcard pattern occurs nowhere, or there is no further match.
inline constexpr std::string_view kNoMatch = "No match found.";

/// The answer to a request whose text is empty.
inline constexpr std::string_view kNothingToSearchFor = "Nothing to search for was entered.";

/// Says why a request has no candidates.
std::string refusalOfSearch(const SearchRequest& request);

/// Says why a match has no replacement in a search of this mode.
std::string refusalOfReplacement(SearchMode mode);

/// Says that `input` ("The search text") cannot be read in this mode.
std::string unreadableText(std::string_view input, SearchMode mode);

/// Returns the pattern typed. The error says that it is too long (code 2202) or invalid (2203).
Result<WildcardHexPattern> typedWildcardPattern(std::string_view text);

}  // namespace quillmor
