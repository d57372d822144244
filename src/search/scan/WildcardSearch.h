#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "base/TaskProgress.h"
#include "search/scan/PatternScanner.h"
#include "search/scan/WildcardHexPattern.h"

namespace quillmor {

/// One search for a wildcard pattern that asks for at least one byte. The whole pattern is scanned
/// for. Where that goes badly, the bytes of its anchor plan are searched for, if they are so many
/// that they say more than the probes of the scan. Pattern, haystack and progress outlive the
/// search. For one thread.
///
/// No way is known to find such patterns that is both fast and linear whatever the data. Here 64
/// positions are ruled out together: first by the probes, then by bytes of the haystack that have
/// ruled out others before. What is left is compared, one by one in up to an eighth of the
/// pattern's length of steps or, with a pattern that asks for few bytes, together in as many steps
/// as these are. So hostile data may cost that much for each position. Chance does not do that:
/// where bytes that do not fit are far apart, those known rule out nearly all positions.
class WildcardSearch {
 public:
  WildcardSearch(const WildcardHexPattern& pattern, std::span<const std::uint8_t> haystack,
                 TaskProgress& progress, const SearchLimits& limits);

  /// The plan that is used when scanning goes badly; made by then when it was not set.
  void usePlan(const WildcardHexPattern::AnchorPlan& plan) { plan_ = plan; }

  /// The work done in vain so far, in bytes compared.
  std::int64_t comparisons() const { return scanner_.comparisons(); }

  /// The first match that starts in `from`...`through`; 0 <= `from`, and the pattern has room at
  /// `through`. Throws `Error::stopped()` within milliseconds of the wish to stop.
  std::optional<std::int64_t> first(std::int64_t from, std::int64_t through);

 private:
  std::optional<std::int64_t> firstInPiece(std::int64_t from, std::int64_t through);
  void persist(std::int64_t position);
  std::int64_t refillInterval() const;
  bool isImpossible() const;
  bool isAnchorWorthSearching() const;
  std::optional<std::int64_t> firstAnchored(std::int64_t from, std::int64_t through);

  const WildcardHexPattern& pattern_;
  std::span<const std::uint8_t> haystack_;
  TaskProgress& progress_;
  std::vector<std::int64_t> sparseOffsets_;
  PatternView view_;
  PatternScanner scanner_;
  std::optional<WildcardHexPattern::AnchorPlan> plan_;
  /// The position from which on other probes may be chosen.
  std::int64_t refillFrom_ = 0;
};

}  // namespace quillmor
