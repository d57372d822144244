#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "search/scan/LinearSearch.h"
#include "search/scan/PatternScanner.h"
#include "search/scan/PositionPredicate.h"

namespace quillmor {

/// The search for one needle, forward and backward: scans as long as that goes well and turns to
/// the linear search where the data is made to make scanning slow. Its time is in proportion to the
/// bytes looked at.
///
/// The needle is passed with every call, must be the same each time, and nothing of it is copied.
/// Positions are those of a match's first byte; any part of a range may lie outside the haystack.
/// `check` is asked at every mebibyte or so of work, in tables as well; what it throws is passed
/// on, and the call may be repeated. For one thread at a time. Needs little memory for the choice
/// of probes, and four bytes for each byte of the needle and direction when the linear search is
/// used: every search may throw std::bad_alloc.
class NeedleSearch {
 public:
  using Bytes = std::span<const std::uint8_t>;

  explicit NeedleSearch(bool folds, const SearchLimits& limits = {})
      : folds_(folds), scanner_(limits) {}

  /// The smallest match position in `from`...`through`.
  std::optional<std::int64_t> first(Bytes needle, Bytes haystack, std::int64_t from,
                                    std::int64_t through, StopCheck check = {});

  /// Puts into `list`, in the place of what it holds, the first match positions in
  /// `from`...`through`: all of them when it is not full afterwards.
  void collect(Bytes needle, Bytes haystack, std::int64_t from, std::int64_t through,
               MatchList& list, StopCheck check = {});

  /// The greatest match position in `from`...`through`.
  std::optional<std::int64_t> last(Bytes needle, Bytes haystack, std::int64_t from,
                                   std::int64_t through, StopCheck check = {});

  /// The smallest match position in `from`...`through` that is accepted. Every match is offered,
  /// overlapping ones too, in increasing order.
  std::optional<std::int64_t> firstAccepted(Bytes needle, Bytes haystack, std::int64_t from,
                                            std::int64_t through, PositionPredicate accepting,
                                            StopCheck check = {});

  /// Bytes compared in vain, and bytes that the linear search has read.
  std::int64_t comparisons() const { return scanner_.comparisons(); }
  std::int64_t linearBytes() const { return linearBytes_; }

 private:
  bool canBeFound(Bytes needle, Bytes haystack) const;
  PatternView view(Bytes needle) const;
  std::int64_t stretchLength(Bytes needle) const;
  std::optional<std::int64_t> firstInStretch(Bytes needle, Bytes haystack, std::int64_t from,
                                             std::int64_t through, PositionPredicate accepting,
                                             StopCheck check);
  std::optional<std::int64_t> lastInStretch(Bytes needle, Bytes haystack, std::int64_t from,
                                            std::int64_t through, StopCheck check);
  const LinearSearch::FailureTable& table(Bytes needle, LinearSearch::Direction direction,
                                          StopCheck check);

  bool folds_;
  PatternScanner scanner_;
  LinearSearch::FailureTable forward_;
  LinearSearch::FailureTable backward_;
  std::int64_t linearBytes_ = 0;
};

}  // namespace quillmor
