#include "search/WildcardSearch.h"

#include <algorithm>
#include <cstring>

#include "search/ByteSearch.h"

namespace quillmor {

namespace {

using Outcome = ScanResult::Outcome;

constexpr std::int64_t kPiece = std::int64_t{4} * 1024 * 1024;
/// Comparing so many bytes takes about a millisecond.
constexpr std::int64_t kComparisonsBetweenCheckpoints = std::int64_t{4} * 1024 * 1024;
constexpr std::int64_t kWord = 8;

std::uint64_t wordAt(const std::uint8_t* at) {
  std::uint64_t word = 0;
  std::memcpy(&word, at, sizeof word);
  return word;
}

std::vector<std::uint8_t> reversedWithMargins(const std::vector<std::uint8_t>& bytes) {
  std::vector<std::uint8_t> reversed(bytes.size() + 2 * kReversedMargin);
  std::ranges::reverse_copy(bytes, reversed.begin() + kReversedMargin);
  return reversed;
}

}  // namespace

WildcardSearch::WildcardSearch(const WildcardHexPattern& pattern,
                               std::span<const std::uint8_t> haystack, TaskProgress& progress,
                               const SearchLimits& limits)
    : pattern_(pattern),
      haystack_(haystack),
      progress_(progress),
      reversedValues_(reversedWithMargins(pattern.values_)),
      reversedMasks_(reversedWithMargins(pattern.masks_)),
      view_{.values = pattern.values_.data(),
            .masks = pattern.masks_.data(),
            .reversedValues = reversedValues_.data(),
            .reversedMasks = reversedMasks_.data(),
            .length = pattern.length(),
            .kind = PatternKind::masked},
      scanner_(limits) {}

std::optional<std::int64_t> WildcardSearch::first(std::int64_t from, std::int64_t through) {
  while (from <= through) {
    progress_.checkpoint();
    const std::int64_t end = from + std::min(kPiece - 1, through - from);
    if (const auto found = firstInPiece(from, end)) return found;
    progress_.advance(end - from + 1);
    from = end + 1;
  }
  return std::nullopt;
}

std::optional<std::int64_t> WildcardSearch::firstInPiece(std::int64_t from, std::int64_t through) {
  while (from <= through) {
    const ScanResult result = scanner_.first(view_, haystack_, from, through);
    if (result.outcome == Outcome::found) return result.position;
    if (result.outcome == Outcome::absent) return std::nullopt;
    progress_.checkpoint();
    scanner_.refill();
    from = result.position;
    if (!plan_) plan_ = pattern_.anchorPlan(haystack_, progress_);
    if (std::holds_alternative<WildcardHexPattern::Impossible>(*plan_)) return std::nullopt;
    if (isAnchorWorthSearching()) return firstAnchored(from, through);
  }
  return std::nullopt;
}

bool WildcardSearch::isAnchorWorthSearching() const {
  constexpr std::size_t kFewBytes = 2;
  return scanner_.limits().workBudget == 0 ||
         std::get<WildcardHexPattern::Anchored>(*plan_).exactBytes.size() > kFewBytes;
}

std::optional<std::int64_t> WildcardSearch::firstAnchored(std::int64_t from, std::int64_t through) {
  const auto& plan = std::get<WildcardHexPattern::Anchored>(*plan_);
  const std::int64_t offset = plan.patternOffset;
  const auto found = ByteSearch::detail::firstAcceptedIndex(
      plan.exactBytes, haystack_, from + offset, through + offset,
      [&](std::int64_t position) { return matchesAt(position - offset); }, scanner_.limits());
  if (!found) return std::nullopt;
  return *found - offset;
}

/// Compares word by word, beginning with what is likely to differ.
bool WildcardSearch::matchesAt(std::int64_t position) {
  const std::int64_t lastWord = pattern_.length() - kWord;
  account(kCandidateCost);
  if (isRuined(position)) return false;
  if (lastWord >= 0 && differsAt(position, std::min(failedOffset_, lastWord))) return false;
  std::int64_t offset = 0;
  while (offset <= lastWord && !differsAt(position, offset)) offset += kWord;
  account(offset);
  const std::int64_t end = std::min(offset + kWord, pattern_.length());
  for (; offset < end; ++offset) {
    const auto index = static_cast<std::size_t>(offset);
    const std::size_t place = static_cast<std::size_t>(position) + index;
    if (((haystack_[place] ^ pattern_.values_[index]) & pattern_.masks_[index]) == 0) continue;
    failedOffset_ = std::max<std::int64_t>(offset - kWord / 2, 0);
    culprits_[oldestCulprit_] = position + offset;
    oldestCulprit_ = (oldestCulprit_ + 1) % culprits_.size();
    return false;
  }
  return true;
}

bool WildcardSearch::isRuined(std::int64_t position) const {
  return std::ranges::any_of(culprits_, [&](std::int64_t culprit) {
    if (culprit < position || culprit >= position + pattern_.length()) return false;
    const auto offset = static_cast<std::size_t>(culprit - position);
    const std::uint8_t byte = haystack_[static_cast<std::size_t>(culprit)];
    return ((byte ^ pattern_.values_[offset]) & pattern_.masks_[offset]) != 0;
  });
}

bool WildcardSearch::differsAt(std::int64_t position, std::int64_t offset) const {
  const std::uint64_t wanted = wordAt(pattern_.values_.data() + offset);
  const std::uint64_t mask = wordAt(pattern_.masks_.data() + offset);
  return ((wordAt(haystack_.data() + position + offset) ^ wanted) & mask) != 0;
}

void WildcardSearch::account(std::int64_t comparisons) {
  unaccounted_ += comparisons;
  if (unaccounted_ < kComparisonsBetweenCheckpoints) return;
  unaccounted_ = 0;
  progress_.checkpoint();
}

}  // namespace quillmor
