#include "search/scan/WildcardSearch.h"

#include <algorithm>

#include "search/scan/NeedleSearch.h"

namespace quillmor {

namespace {

using Outcome = ScanResult::Outcome;

constexpr std::int64_t kPiece = std::int64_t{4} * 1024 * 1024;
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

WildcardSearch::WildcardSearch(const WildcardHexPattern& pattern,
                               std::span<const std::uint8_t> haystack, TaskProgress& progress,
                               const SearchLimits& limits)
    : pattern_(pattern),
      haystack_(haystack),
      progress_(progress),
      sparseOffsets_(offsetsIfSparse(pattern.masks_)),
      view_{.values = pattern.values_.data(),
            .masks = pattern.masks_.data(),
            .sparseOffsets = sparseOffsets_.data(),
            .sparseCount = std::ssize(sparseOffsets_),
            .length = pattern.length(),
            .kind = PatternKind::masked},
      scanner_(limits) {}

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
    const ScanResult result = scanner_.first(view_, haystack_, from, through, progress_);
    if (result.outcome == Outcome::found) return result.position;
    if (result.outcome == Outcome::absent) return std::nullopt;
    from = result.position;
    if (!plan_) plan_ = pattern_.anchorPlan(haystack_, progress_);
    if (isImpossible()) return std::nullopt;
    if (isAnchorWorthSearching()) {
      const auto found = firstAnchored(from, through);
      scanner_.refill(view_);
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
  scanner_.refill(view_);
}

std::int64_t WildcardSearch::refillInterval() const {
  return std::max(kPiece, 4 * pattern_.length());
}

bool WildcardSearch::isImpossible() const {
  return plan_ && std::holds_alternative<WildcardHexPattern::Impossible>(*plan_);
}

bool WildcardSearch::isAnchorWorthSearching() const {
  constexpr std::size_t kFewBytes = 2;
  return scanner_.limits().workBudget == 0 ||
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
      match = scanner_.firstAtAnyCost(view_, haystack_, position, end);
      scannedTo = match.value_or(end) + 1;
    }
    return match == position;
  };
  NeedleSearch anchor(false, scanner_.limits());
  const auto found = anchor.firstAccepted(plan.exactBytes, haystack_, from + offset,
                                          through + offset, accepting, progress_);
  if (!found) return std::nullopt;
  return *found - offset;
}

}  // namespace quillmor
