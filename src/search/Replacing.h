#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "base/ByteBuffer.h"
#include "base/TaskProgress.h"
#include "search/SearchCandidate.h"
#include "search/SearchRequest.h"

namespace quillmor {

/// The replacement of each candidate of a list, in the same order; made once before a run.
using ReplacementTable = std::vector<std::vector<std::uint8_t>>;

/// A whole document with occurrences replaced.
struct ReplaceAllComputation {
  ByteBuffer bytes;
  std::int64_t replacements = 0;
  /// After the last replacement; 0 when there is none.
  std::int64_t lastCaret = 0;
  /// The bookmarks carried into `bytes`.
  std::vector<std::int64_t> bookmarks;
};

/// Returns the bytes of the replacement text of `request` in the place of `candidate`. Empty to
/// delete the match, absent when the text is unusable for it.
std::optional<std::vector<std::uint8_t>> replacementBytes(const SearchRequest& request,
                                                          const SearchCandidate& candidate);

/// Returns the replacements of all candidates; absent when one of them has none.
std::optional<ReplacementTable> replacementTable(const SearchRequest& request,
                                                 const std::vector<SearchCandidate>& candidateList);

/// Replaces every occurrence that does not overlap the one before it. `bookmarks` are strictly
/// increasing. Throws code 2201 when the result would be more than `maximumGrowth` bytes longer
/// than `original` or lie beyond 64-bit offsets, and std::bad_alloc when memory runs out. Asks
/// `progress` every few milliseconds whether to stop: then throws `Error::stopped()`.
///
/// Memory: the result and little more, whatever the number of occurrences. None when no occurrence
/// changes: then the result shares the memory of `original`.
ReplaceAllComputation computeReplaceAll(const ByteBuffer& original, const SearchRequest& request,
                                        const std::vector<SearchCandidate>& candidateList,
                                        const ReplacementTable& replacementByPattern,
                                        const std::vector<std::int64_t>& bookmarks,
                                        std::int64_t maximumGrowth, TaskProgress& progress);

}  // namespace quillmor
