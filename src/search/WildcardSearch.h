#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "base/TaskProgress.h"
#include "search/PatternScanner.h"
#include "search/WildcardHexPattern.h"

namespace quillmor {

/// One search for a wildcard pattern that asks for at least one byte. The whole pattern is scanned
/// for. Where that goes badly, the bytes of its anchor plan are searched for, if they are so many
/// that they say more than the probes of the scan. Pattern, haystack and progress
/// outlive the search. For one thread.
class WildcardSearch {
 public:
  WildcardSearch(const WildcardHexPattern& pattern, std::span<const std::uint8_t> haystack,
                 TaskProgress& progress, const SearchLimits& limits);

  /// The plan that is used when scanning goes badly; made by then when it was not set.
  void usePlan(const WildcardHexPattern::AnchorPlan& plan) { plan_ = plan; }

  /// The first match that starts in `from`...`through`; 0 <= `from`, and the pattern has room at
  /// `through`. Throws `Error::stopped()` within milliseconds of the wish to stop.
  std::optional<std::int64_t> first(std::int64_t from, std::int64_t through);

 private:
  std::optional<std::int64_t> firstInPiece(std::int64_t from, std::int64_t through);
  bool isAnchorWorthSearching() const;
  std::optional<std::int64_t> firstAnchored(std::int64_t from, std::int64_t through);
  bool matchesAt(std::int64_t position);
  bool isRuined(std::int64_t position) const;
  bool differsAt(std::int64_t position, std::int64_t offset) const;
  void account(std::int64_t comparisons);

  const WildcardHexPattern& pattern_;
  std::span<const std::uint8_t> haystack_;
  TaskProgress& progress_;
  std::vector<std::uint8_t> reversedValues_;
  std::vector<std::uint8_t> reversedMasks_;
  PatternView view_;
  PatternScanner scanner_;
  std::optional<WildcardHexPattern::AnchorPlan> plan_;
  /// Where comparisons failed, in the haystack: such bytes ruin one candidate after another.
  std::array<std::int64_t, 4> culprits_{};
  std::size_t oldestCulprit_ = 0;
  std::int64_t failedOffset_ = 0;
  std::int64_t unaccounted_ = 0;
};

}  // namespace quillmor
