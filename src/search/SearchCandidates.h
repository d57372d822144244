#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "search/SearchCandidate.h"
#include "search/SearchRequest.h"

namespace quillmor {

/// An integer read from text: 64 bits, and whether they are to be read as unsigned, which is set
/// only for values that no signed 64-bit integer holds.
struct ParsedSearchInteger {
  std::uint64_t bits = 0;
  bool isUnsigned = false;

  bool operator==(const ParsedSearchInteger&) const = default;
};

/// The byte sequences that `request` stands for, longest first; empty when nothing searchable was
/// typed. Pure, safe from any thread.
std::vector<SearchCandidate> candidates(const SearchRequest& request);

/// `text` (UTF-8) in an encoding, without a byte-order mark; absent when the encoding cannot
/// express it or `text` is not UTF-8.
std::optional<std::vector<std::uint8_t>> bytesForText(std::string_view text,
                                                      SearchTextEncoding encoding);

/// The integer that `text` denotes: a signed decimal number, or any form of an offset (see
/// `HexParser::parseOffset`), up to 2^64 - 1.
std::optional<ParsedSearchInteger> parseSearchInteger(std::string_view text);

/// The finite number that the whole of `text` denotes, in the forms of C's strtod in the C locale;
/// absent for infinities and NaNs, and when it begins with white space or NUL.
std::optional<double> parseSearchFloat(std::string_view text);

/// An integer in every width, signedness and byte order that can hold it.
std::vector<SearchCandidate> integerCandidates(const ParsedSearchInteger& value);

/// A number in both IEEE 754 widths, where it is finite, and both byte orders.
std::vector<SearchCandidate> floatCandidates(double value);

/// The first candidate of each byte sequence, longest first, equal lengths in the order of their
/// bytes.
std::vector<SearchCandidate> uniqueCandidates(std::vector<SearchCandidate> candidates);

}  // namespace quillmor
