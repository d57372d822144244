#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "base/TaskProgress.h"
#include "search/ByteMatcher.h"
#include "search/SearchCandidate.h"

namespace quillmor {

/// Walks the occurrences of several candidates through bytes, front to back. Each candidate's next
/// occurrence is kept until it is passed, so that the whole walk looks at each byte about once for
/// each candidate, however many occurrences there are.
///
/// Haystack, candidates and progress outlive the scanner. For one thread at a time. Every few
/// milliseconds of work `progress` advances (its total is haystack size x candidates) and is asked
/// whether to stop; then `Error::stopped()` is thrown.
class CandidateScanner {
 public:
  struct Hit {
    std::int64_t offset = 0;
    std::size_t candidate = 0;  ///< index into the list
    std::int64_t length = 0;    ///< bytes, 1 or more

    std::int64_t end() const { return offset + length; }
    bool operator==(const Hit&) const = default;
  };

  CandidateScanner(std::span<const std::uint8_t> haystack,
                   const std::vector<SearchCandidate>& candidateList, bool ignoresASCIICase,
                   TaskProgress& progress);

  /// The earliest occurrence of any candidate at or behind `position` (0 or more, never less than
  /// in the call before). Where several begin, the longest; among equally long ones the first in
  /// the list.
  std::optional<Hit> next(std::int64_t position);
};

}  // namespace quillmor
