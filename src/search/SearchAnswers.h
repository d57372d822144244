#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/Result.h"
#include "search/WildcardHexPattern.h"

namespace quillmor {

// What searching and replacing answer. Pure functions, any thread.

/// How many occurrences there are, or that there are none.
std::string foundText(std::int64_t count);

/// How many occurrences were replaced, or that none was.
std::string replacedText(std::int64_t count);

/// The answer when a wildcard pattern occurs nowhere.
inline constexpr std::string_view kNoWildcardMatch = "No match found.";

/// The pattern that was typed. The error says that it is too long (code 2202) or none (2203).
Result<WildcardHexPattern> typedWildcardPattern(std::string_view text);

}  // namespace quillmor
