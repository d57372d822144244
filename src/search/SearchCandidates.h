#pragma once

#include <vector>

#include "search/SearchCandidate.h"
#include "search/SearchRequest.h"
#include "search/typed/SearchNumbers.h"
#include "search/typed/TextEncoding.h"

namespace quillmor {

// From what was typed to the byte sequences it may stand for. Pure functions, safe from any thread.

/// Returns the byte sequences that `request` stands for, each once, longest first. Empty when
/// nothing searchable was typed, or more than `maxTextInputCharacters` scalars. Text is taken as
/// typed, everything else without the white space around it.
std::vector<SearchCandidate> candidates(const SearchRequest& request);

/// Returns an integer in every width (1, 2, 4, 8), signedness (signed first) and byte order
/// (little-endian first) that can hold it. Several of them may be the same bytes.
std::vector<SearchCandidate> integerCandidates(const ParsedSearchInteger& value);

/// Returns a finite number in 4 and 8 bytes, little-endian first. Leaves out the 4-byte ones when
/// it is beyond that format's range.
std::vector<SearchCandidate> floatCandidates(double value);

/// Returns the first candidate of each byte sequence, longest first, equal lengths in the order of
/// their bytes.
std::vector<SearchCandidate> uniqueCandidates(std::vector<SearchCandidate> candidateList);

}  // namespace quillmor
