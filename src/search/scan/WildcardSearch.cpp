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

/// The places of the bytes asked for, if there are few: comparing one of them at many positions
/// takes about as long as comparing this many places at one.
std::vector<std::int64_t> offsetsIfSparse(const std::vector<std::uint8_t>& masks) {
  constexpr std::int64_t kPlacesForEachByte = 16;
  const auto bytes = std::ranges::count_if(masks, [](std::uint8_t mask) { return mask != 0; });
  std::vector<std::int64_t> offsets;
  if (bytes * kPlacesForEachByte > std::ssize(masks)) return offsets;
  for (std::int64_t at = 0; at < std::ssize(masks); ++at) {
    if (masks[static_cast<std::size_t>(at)] != 0) offsets.push_back(at);
  }
  return offsets;
}

}  // namespace

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
                 TaskProgress& progress);

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
  PatternScanner scanner_;
  std::optional<WildcardHexPattern::AnchorPlan> plan_;
  /// The position from which on other probes may be chosen.
  std::int64_t refillFrom_ = 0;
};

WildcardSearch::WildcardSearch(const WildcardHexPattern& pattern,
                               std::span<const std::uint8_t> haystack, TaskProgress& progress)
    : pattern_(pattern),
      haystack_(haystack),
      progress_(progress),
      sparseOffsets_(offsetsIfSparse(pattern.masks_)),
      scanner_({.values = pattern.values_.data(),
                .masks = pattern.masks_.data(),
                .sparseOffsets = sparseOffsets_.data(),
                .sparseCount = std::ssize(sparseOffsets_),
                .length = pattern.length(),
                .kind = PatternKind::masked}) {}

std::optional<std::int64_t> WildcardSearch::first(std::int64_t from, std::int64_t through) {
  refillFrom_ = from + refillInterval();
  while (from <= through && !isImpossible()) {
    const std::int64_t end = from + std::min(kPiece - 1, through - from);
    if (const auto found = firstInPiece(from, end)) return found;
    progress_.advance(end - from + 1);
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
    if (isAnchorWorthSearching()) {
      const auto found = firstAnchored(from, through);
      scanner_.refill();
      return found;
    }
    persist(from);
  }
  return std::nullopt;
}

/// Has the scan go on from `position` though it goes badly. Choosing other probes takes a look at
/// the whole pattern, so that is left to when many times its length have been passed.
void WildcardSearch::persist(std::int64_t position) {
  if (position < refillFrom_) return scanner_.persist();
  refillFrom_ = position + refillInterval();
  scanner_.refill();
}

std::int64_t WildcardSearch::refillInterval() const {
  return std::max(kPiece, 4 * pattern_.length());
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
