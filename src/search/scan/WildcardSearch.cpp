// The search of WildcardHexPattern.

#include <algorithm>

#include "base/ByteUnits.h"
#include "search/scan/ByteSearch.h"
#include "search/scan/PatternScanner.h"
#include "search/scan/SearchLimits.h"
#include "search/scan/WildcardHexPattern.h"

namespace quillmor {

namespace {

using Outcome = ScanResult::Outcome;

constexpr std::int64_t kPiece = 4 * kMiB;
/// The kernels look at so many positions at a time.
constexpr std::int64_t kScannedTogether = 64;

}  // namespace

/// One search for a wildcard pattern that asks for at least one byte. Scans for the whole pattern.
/// Where that goes badly, searches for the bytes of its anchor plan, if they are so many that they
/// say more than the probes of the scan. Pattern, haystack and progress outlive the search. For one
/// thread.
///
/// 64 positions are ruled out together: first by the probes, then by the bytes asked for, in
/// batches. Hostile data can make a search compare all of these at every position, so its time is
/// bounded by the haystack's length times a 64th of their number.
class WildcardSearch {
 public:
  WildcardSearch(const WildcardHexPattern& pattern, std::span<const std::uint8_t> haystack,
                 TaskProgress& progress)
      : pattern_(pattern),
        haystack_(haystack),
        progress_(progress),
        scanner_({.values = pattern.values_.data(),
                  .length = pattern.length(),
                  .kind = PatternKind::masked,
                  .offsets = pattern.offsets_.data(),
                  .offsetCount = std::ssize(pattern.offsets_)}) {}

  /// The first match that starts in `from`...`through`; 0 <= `from`, and the pattern has room at
  /// `through`. Throws `Error::stopped()` within milliseconds of the wish to stop.
  std::optional<std::int64_t> first(std::int64_t from, std::int64_t through);

 private:
  std::optional<std::int64_t> firstInPiece(std::int64_t from, std::int64_t through);
  bool isImpossible() const;
  bool isAnchorWorthSearching() const;
  std::optional<std::int64_t> firstAnchored(std::int64_t from, std::int64_t through);

  const WildcardHexPattern& pattern_;
  std::span<const std::uint8_t> haystack_;
  TaskProgress& progress_;
  PatternScanner scanner_;
  std::optional<WildcardHexPattern::AnchorPlan> plan_;  // made when scanning goes badly
};

std::optional<std::int64_t> WildcardSearch::first(std::int64_t from, std::int64_t through) {
  // Choosing probes anew takes a look at the whole pattern, so it is left to the next piece.
  const std::int64_t piece = std::max(kPiece, 4 * pattern_.length());
  while (from <= through && !isImpossible()) {
    const std::int64_t end = from + std::min(piece - 1, through - from);
    if (const auto found = firstInPiece(from, end)) return found;
    progress_.advance(end - from + 1);
    scanner_.refill();
    from = end + 1;
  }
  return std::nullopt;
}

std::optional<std::int64_t> WildcardSearch::firstInPiece(std::int64_t from, std::int64_t through) {
  while (from <= through) {
    const ScanResult result = scanner_.first(haystack_, from, through, progress_);
    if (result.outcome == Outcome::found) return result.position;
    if (result.outcome == Outcome::absent) return std::nullopt;
    from = result.position;
    if (!plan_) plan_ = pattern_.anchorPlan(haystack_, progress_);
    if (isImpossible()) return std::nullopt;
    if (isAnchorWorthSearching()) return firstAnchored(from, through);
    scanner_.persist();
  }
  return std::nullopt;
}

bool WildcardSearch::isImpossible() const {
  return plan_ && std::holds_alternative<WildcardHexPattern::Impossible>(*plan_);
}

bool WildcardSearch::isAnchorWorthSearching() const {
  constexpr std::size_t kFewBytes = 2;
  return SearchLimits::current().workBudget == 0 ||
         std::get<WildcardHexPattern::Anchored>(*plan_).exactBytes.size() > kFewBytes;
}

/// Finds the anchor, and has the positions from there on scanned, many at a time, for the pattern.
std::optional<std::int64_t> WildcardSearch::firstAnchored(std::int64_t from, std::int64_t through) {
  const auto& plan = std::get<WildcardHexPattern::Anchored>(*plan_);
  const std::int64_t offset = plan.patternOffset;
  const bool provesMatch = plan.skippedRange && pattern_.concreteRanges().size() == 1;
  std::int64_t scannedTo = from;
  std::optional<std::int64_t> match;
  const auto accepting = [&](std::int64_t place) {
    const std::int64_t position = place - offset;
    if (provesMatch) return true;
    if (position >= scannedTo) {
      progress_.checkpoint();
      const std::int64_t end = std::min(position + kScannedTogether - 1, through);
      match = scanner_.firstAtAnyCost(haystack_, position, end);
      scannedTo = match.value_or(end) + 1;
    }
    return match == position;
  };
  const auto found = ByteSearch::firstAcceptedIndex(plan.exactBytes, haystack_, from + offset,
                                                    through + offset, accepting, progress_);
  if (!found) return std::nullopt;
  return *found - offset;
}

std::optional<std::int64_t> WildcardHexPattern::firstMatch(std::span<const std::uint8_t> haystack,
                                                           Range candidateRange,
                                                           TaskProgress& progress) const {
  const std::int64_t last = std::ssize(haystack) - length();
  const std::int64_t from = std::max<std::int64_t>(candidateRange.lowerBound, 0);
  if (!anchorRange_ || candidateRange.upperBound <= from || last < from) return std::nullopt;
  return WildcardSearch(*this, haystack, progress)
      .first(from, std::min(candidateRange.upperBound - 1, last));
}

std::optional<std::int64_t> WildcardHexPattern::firstMatchWrapped(
    std::span<const std::uint8_t> haystack, std::int64_t from, TaskProgress& progress) const {
  const std::int64_t last = std::ssize(haystack) - length();
  if (last < 0) return std::nullopt;
  if (!anchorRange_) return from >= 0 && from <= last ? from : 0;
  progress.setTotal(last + 1);
  if (const auto found = firstMatch(haystack, {from, last + 1}, progress)) return found;
  return firstMatch(haystack, {0, std::min(last + 1, from)}, progress);
}

}  // namespace quillmor
