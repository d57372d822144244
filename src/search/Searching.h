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

/// The plan of a search in `direction`. With `advanceFromCurrentSelection` it starts behind (when
/// going backward: before) the selection or the caret, else at the caret. Absent when nothing lies
/// before the start of the data.
std::optional<SearchPlan> searchPlan(SearchDirection direction, bool advanceFromCurrentSelection,
                                     const SearchOrigin& origin);

/// The next occurrence from the plan's start on; it does not wrap around. At equal offsets the
/// longest candidate wins, then the first in the list. Every few milliseconds `progress` advances
/// towards the bytes that lie in the search's way and is asked whether to stop: then
/// `Error::stopped()` is thrown.
std::optional<SearchMatch> nextMatch(std::span<const std::uint8_t> bytes,
                                     const SearchRequest& request,
                                     const std::vector<SearchCandidate>& candidateList,
                                     const SearchPlan& plan, TaskProgress& progress);

/// Hands the occurrences that do not overlap, from the start of the data on, to `onOccurrence`.
/// `progress` is used as in `nextMatch`.
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

/// The match that `candidateList[candidate]` is at `offset` of `bytes`, where it occurs.
SearchMatch matchOf(std::span<const std::uint8_t> bytes, const SearchRequest& request,
                    const std::vector<SearchCandidate>& candidateList, std::size_t candidate,
                    std::int64_t offset);

/// The match that the bytes of `selection` (normalised) are; absent when they are none.
std::optional<SearchMatch> selectionMatch(std::span<const std::uint8_t> bytes,
                                          HexSelection selection, const SearchRequest& request,
                                          const std::vector<SearchCandidate>& candidateList);

}  // namespace quillmor
