#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/Result.h"
#include "search/SearchRequest.h"
#include "search/scan/WildcardHexPattern.h"

namespace quillmor {

// What searching and replacing answer. Pure functions, any thread.

/// How many occurrences there are, or that there are none.
std::string foundText(std::int64_t count);

/// How many occurrences were replaced, or that none was.
std::string replacedText(std::int64_t count);

/// The answer when a wildcard pattern occurs nowhere, or there is no further match.
inline constexpr std::string_view kNoMatch = "No match found.";

/// The answer to a request whose text is empty.
inline constexpr std::string_view kNothingToSearchFor = "Nothing to search for was entered.";

/// Why a request has no candidates.
std::string reasonForNoCandidates(const SearchRequest& request);

/// Why a match has no replacement in a search of this mode.
std::string reasonForNoReplacement(SearchMode mode);

/// Says that `input` ("The search text") is nothing that this mode could search for.
std::string unreadableText(std::string_view input, SearchMode mode);

/// The pattern that was typed. The error says that it is too long (code 2202) or none (2203).
Result<WildcardHexPattern> typedWildcardPattern(std::string_view text);

}  // namespace quillmor
