#pragma once

#include <cstdint>
#include <optional>
#include <variant>
#include <vector>

#include "search/typed/NumberBytes.h"

namespace quillmor {

/// What a byte sequence that is searched for stands for.
namespace SearchCandidateKind {

/// Text or hexadecimal bytes.
struct Raw {
  bool operator==(const Raw&) const = default;
};

struct Integer {
  int width = 1;  ///< bytes: 1, 2, 4 or 8
  bool isSigned = false;
  Endianness endianness = Endianness::little;
  bool operator==(const Integer&) const = default;
};

/// An IEEE 754 number.
struct Floating {
  int width = 4;  ///< bytes: 4 or 8
  Endianness endianness = Endianness::little;
  bool operator==(const Floating&) const = default;
};

using Any = std::variant<Raw, Integer, Floating>;

}  // namespace SearchCandidateKind

/// One of the byte sequences that a search request stands for.
struct SearchCandidate {
  std::vector<std::uint8_t> bytes;  ///< never empty
  SearchCandidateKind::Any kind;

  bool operator==(const SearchCandidate&) const = default;
};

/// An occurrence in a document.
struct SearchMatch {
  std::int64_t offset = 0;
  /// The bytes that matched: the document's own where case was ignored, else the candidate's.
  std::vector<std::uint8_t> bytes;
  SearchCandidate candidate;

  bool operator==(const SearchMatch&) const = default;
};

}  // namespace quillmor
