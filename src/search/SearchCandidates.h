#pragma once

#include <vector>

#include "search/SearchCandidate.h"
#include "search/SearchRequest.h"
#include "search/typed/SearchNumbers.h"
#include "search/typed/TextEncoding.h"

namespace quillmor {

// From what was typed to the byte sequences it may stand for. Pure functions, safe from any thread.

/// The byte sequences that `request` stands for, each once, longest first; empty when nothing
/// searchable was typed. Text is taken as typed, everything else without the white space around it;
/// none may have more than `maxTextInputCharacters` scalars.
std::vector<SearchCandidate> candidates(const SearchRequest& request);

/// An integer in every width (1, 2, 4, 8), signedness (signed first) and byte order (little-endian
/// first) that can hold it; several of them may be the same bytes.
std::vector<SearchCandidate> integerCandidates(const ParsedSearchInteger& value);

/// A finite number in 4 and 8 bytes, little-endian first; without the 4-byte ones when it is beyond
/// that format's range.
std::vector<SearchCandidate> floatCandidates(double value);

/// The first candidate of each byte sequence, longest first, equal lengths in the order of their
/// bytes.
std::vector<SearchCandidate> uniqueCandidates(std::vector<SearchCandidate> candidateList);

}  // namespace quillmor
