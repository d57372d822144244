#include "search/scan/NeedleSearch.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace quillmor {

namespace {

using Outcome = ScanResult::Outcome;
using Direction = LinearSearch::Direction;

}  // namespace

bool NeedleSearch::canBeFound(Bytes needle, Bytes haystack) const {
  const std::int64_t length = std::ssize(needle);
  if (length == 0 || length > std::ssize(haystack)) return false;
  return length == 1 || length <= scanner_.limits().longestNeedle;
}

PatternView NeedleSearch::view(Bytes needle) const {
  return {.values = needle.data(),
          .masks = nullptr,
          .sparseOffsets = nullptr,
          .sparseCount = 0,
          .length = std::ssize(needle),
          .kind = folds_ ? PatternKind::folded : PatternKind::exact};
}

/// At least several times the needle, since each stretch reads the needle's length beyond its end.
std::int64_t NeedleSearch::stretchLength(Bytes needle) const {
  if (scanner_.limits().workBudget == 0) return std::numeric_limits<std::int64_t>::max();
  return std::max(scanner_.limits().linearStretch, 4 * std::ssize(needle));
}

const LinearSearch::FailureTable& NeedleSearch::table(Bytes needle, Direction direction,
                                                      StopCheck check) {
  auto& kept = direction == Direction::forward ? forward_ : backward_;
  if (kept.empty()) {
    auto table = LinearSearch::failureTable(needle, folds_, direction, check);
    LinearSearch::addShortcuts(table, needle, folds_, direction, check);
    kept = std::move(table);
  }
  return kept;
}

std::optional<std::int64_t> NeedleSearch::first(Bytes needle, Bytes haystack, std::int64_t from,
                                                std::int64_t through, StopCheck check) {
  if (!canBeFound(needle, haystack)) return std::nullopt;
  from = std::max<std::int64_t>(from, 0);
  through = std::min(through, std::ssize(haystack) - std::ssize(needle));
  const PatternView pattern = view(needle);
  const ScanResult result = scanner_.first(pattern, haystack, from, through, check);
  if (result.outcome == Outcome::found) return result.position;
  if (result.outcome == Outcome::absent) return std::nullopt;
  return firstAccepted(
      needle, haystack, result.position, through, [](std::int64_t) { return true; }, check);
}

std::optional<std::int64_t> NeedleSearch::firstAccepted(Bytes needle, Bytes haystack,
                                                        std::int64_t from, std::int64_t through,
                                                        PositionPredicate accepting,
                                                        StopCheck check) {
  if (!canBeFound(needle, haystack)) return std::nullopt;
  std::int64_t at = std::max<std::int64_t>(from, 0);
  const std::int64_t end = std::min(through, std::ssize(haystack) - std::ssize(needle));
  const PatternView pattern = view(needle);
  while (at <= end) {
    const ScanResult result = scanner_.first(pattern, haystack, at, end, check);
    if (result.outcome == Outcome::absent) break;
    at = result.position;
    if (result.outcome == Outcome::found) {
      if (accepting(at)) return at;
      scanner_.reject(pattern);
      ++at;
    } else if (at <= end) {
      const std::int64_t stretchEnd = at + std::min(stretchLength(needle) - 1, end - at);
      const auto found = firstInStretch(needle, haystack, at, stretchEnd, accepting, check);
      if (found) return found;
      scanner_.refill(pattern);
      at = stretchEnd + 1;
    }
  }
  return std::nullopt;
}

void NeedleSearch::collect(Bytes needle, Bytes haystack, std::int64_t from, std::int64_t through,
                           MatchList& list, StopCheck check) {
  list.count = 0;
  if (!canBeFound(needle, haystack)) return;
  std::int64_t at = std::max<std::int64_t>(from, 0);
  const std::int64_t end = std::min(through, std::ssize(haystack) - std::ssize(needle));
  const PatternView pattern = view(needle);
  while (at <= end && !list.isFull()) {
    const ScanResult result = scanner_.collect(pattern, haystack, at, end, list, check);
    if (result.outcome != Outcome::exhausted) break;
    at = result.position;
    if (at > end) break;
    const std::int64_t stretchEnd = at + std::min(stretchLength(needle) - 1, end - at);
    const auto found = firstInStretch(
        needle, haystack, at, stretchEnd, [](std::int64_t) { return true; }, check);
    if (found) {
      list.add(*found);
      at = list.freeFrom(at, std::ssize(needle));
    } else {
      scanner_.refill(pattern);
      at = stretchEnd + 1;
    }
  }
}

std::optional<std::int64_t> NeedleSearch::firstInStretch(Bytes needle, Bytes haystack,
                                                         std::int64_t from, std::int64_t through,
                                                         PositionPredicate accepting,
                                                         StopCheck check) {
  const auto found = LinearSearch::first(needle, table(needle, Direction::forward, check), folds_,
                                         haystack, from, through, accepting, check);
  linearBytes_ += (found ? *found : through) + std::ssize(needle) - from;
  return found;
}

std::optional<std::int64_t> NeedleSearch::lastInStretch(Bytes needle, Bytes haystack,
                                                        std::int64_t from, std::int64_t through,
                                                        StopCheck check) {
  const auto found = LinearSearch::last(needle, table(needle, Direction::backward, check), folds_,
                                        haystack, from, through, check);
  linearBytes_ += through + std::ssize(needle) - (found ? *found : from);
  return found;
}

std::optional<std::int64_t> NeedleSearch::last(Bytes needle, Bytes haystack, std::int64_t from,
                                               std::int64_t through, StopCheck check) {
  if (!canBeFound(needle, haystack)) return std::nullopt;
  const std::int64_t begin = std::max<std::int64_t>(from, 0);
  std::int64_t at = std::min(through, std::ssize(haystack) - std::ssize(needle));
  const PatternView pattern = view(needle);
  while (at >= begin) {
    const ScanResult result = scanner_.last(pattern, haystack, begin, at, check);
    if (result.outcome == Outcome::absent) break;
    at = result.position;
    if (result.outcome == Outcome::found) return at;
    if (at < begin) break;
    const std::int64_t stretchBegin = at - std::min(stretchLength(needle) - 1, at - begin);
    if (const auto found = lastInStretch(needle, haystack, stretchBegin, at, check)) return found;
    scanner_.refill(pattern);
    at = stretchBegin - 1;
  }
  return std::nullopt;
}

}  // namespace quillmor
