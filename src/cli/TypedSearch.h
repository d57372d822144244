#pragma once

#include <vector>

#include "cli/Arguments.h"
#include "search/Replacing.h"
#include "search/SearchCandidate.h"
#include "search/SearchRequest.h"

namespace quillmor::cli {

/// A search as given by TEXT, "--mode", "--encoding" and "--case-sensitive", and by REPLACEMENT
/// where there is one.
struct TypedSearch {
  SearchRequest request;
  std::vector<SearchCandidate> candidateList;  ///< never empty
};

/// Reads it. Throws code 2004 for a text that stands for no bytes.
TypedSearch typedSearch(const Arguments& arguments);

/// What each candidate is replaced by. Throws code 2005 for a replacement that cannot be read.
ReplacementTable typedReplacements(const TypedSearch& search);

}  // namespace quillmor::cli
