#pragma once

#include <array>
#include <vector>

#include "cli/Arguments.h"
#include "cli/Choice.h"
#include "search/Replacing.h"
#include "search/SearchCandidate.h"
#include "search/SearchRequest.h"

namespace quillmor::cli {

inline constexpr std::array<Choice<SearchMode>, 4> kSearchModes = {
    {{"text", SearchMode::textString},
     {"hex", SearchMode::hexValues},
     {"integer", SearchMode::integerNumber},
     {"float", SearchMode::floatingPointNumber}}};

inline constexpr std::array<Choice<SearchTextEncoding>, 5> kSearchEncodings = {
    {{"editor", SearchTextEncoding::editor},
     {"utf8", SearchTextEncoding::utf8},
     {"ascii", SearchTextEncoding::ascii},
     {"utf16le", SearchTextEncoding::utf16LittleEndian},
     {"utf16be", SearchTextEncoding::utf16BigEndian}}};

/// A search as given by TEXT, "--mode", "--encoding" and "--case-sensitive", and by REPLACEMENT
/// where there is one.
struct TypedSearch {
  SearchRequest request;
  std::vector<SearchCandidate> candidateList;  ///< never empty
};

/// Reads the search. Throws code 2004 for a text that stands for no bytes.
TypedSearch typedSearch(const Arguments& arguments);

/// Returns what replaces each candidate. Throws code 2005 for a replacement that cannot be read.
ReplacementTable typedReplacements(const TypedSearch& search);

}  // namespace quillmor::cli
