#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "base/TaskProgress.h"
#include "document/HexSelection.h"
#include "search/OccurrenceWalk.h"
#include "search/SearchCandidate.h"
#include "search/SearchRequest.h"

namespace quillmor {

/// Where a search starts and which way it goes.
struct SearchPlan {
  std::int64_t startOffset = 0;
  bool forceForward = true;

  bool operator==(const SearchPlan&) const = default;
};

/// Caret and normalised selection of an editor over `byteCount` bytes.
struct SearchOrigin {
  std::int64_t caretOffset = 0;
  HexSelection selection;
  std::int64_t byteCount = 0;
};

/// All occurrences counted.
struct SearchAllSummary {
  std::int64_t count = 0;
  std::optional<SearchMatch> firstMatch;
};

/// Returns the plan of a search in `direction`. It starts at the caret or, with
/// `advanceFromCurrentSelection`, after the selection or the caret (going backward: before it).
/// Absent when nothing lies before the start of the data.
std::optional<SearchPlan> searchPlan(SearchDirection direction, bool advanceFromCurrentSelection,
                                     const SearchOrigin& origin);

/// Returns the next occurrence from the plan's start on; does not wrap around. At equal offsets the
/// longest candidate wins, then the first in the list. The total of `progress` becomes the number
/// of bytes from the start to the end of the data (going backward: to its beginning). Every few
/// milliseconds it advances and is asked whether to stop: then throws `Error::stopped()`.
std::optional<SearchMatch> nextMatch(std::span<const std::uint8_t> bytes,
                                     const SearchRequest& request,
                                     const std::vector<SearchCandidate>& candidateList,
                                     const SearchPlan& plan, TaskProgress& progress);

/// Calls `onOccurrence` with each occurrence that does not overlap the one before, from the start
/// of the data on. `progress` is used as in `nextMatch`.
template <typename OnOccurrence>
void forEachOccurrence(std::span<const std::uint8_t> bytes, const SearchRequest& request,
                       const std::vector<SearchCandidate>& candidateList, TaskProgress& progress,
                       OnOccurrence onOccurrence) {
  progress.checkpoint();
  progress.setTotal(static_cast<std::int64_t>(bytes.size()));
  OccurrenceWalk walk(bytes, candidateList, request.ignoresASCIICase());
  while (const auto hit = walk.next(progress)) onOccurrence(*hit);
}

/// Counts the occurrences that do not overlap, from the start of the data on. `progress` is used as
/// in `nextMatch`.
SearchAllSummary searchAllSummary(std::span<const std::uint8_t> bytes, const SearchRequest& request,
                                  const std::vector<SearchCandidate>& candidateList,
                                  TaskProgress& progress);

/// Returns the match of `candidateList[candidate]`, which occurs at `offset` of `bytes`.
SearchMatch matchOf(std::span<const std::uint8_t> bytes, const SearchRequest& request,
                    const std::vector<SearchCandidate>& candidateList, std::size_t candidate,
                    std::int64_t offset);

/// Returns the match that `selection` (normalised) covers exactly; absent when there is none.
std::optional<SearchMatch> selectionMatch(std::span<const std::uint8_t> bytes,
                                          HexSelection selection, const SearchRequest& request,
                                          const std::vector<SearchCandidate>& candidateList);

}  // namespace quillmor
