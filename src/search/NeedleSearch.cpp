#include "search/NeedleSearch.h"

#include <algorithm>
#include <limits>

namespace quillmor {

namespace {

using Outcome = ScanResult::Outcome;
using Direction = LinearSearch::Direction;

/// How many positions the linear search takes over before scanning is tried again: the data may be
/// of another kind by then.
constexpr std::int64_t kStretch = std::int64_t{4} * 1024 * 1024;

}  // namespace

bool NeedleSearch::canBeFound(Bytes needle, Bytes haystack) const {
  const std::int64_t length = std::ssize(needle);
  if (length == 0 || length > std::ssize(haystack)) return false;
  return length == 1 || length <= scanner_.limits().longestNeedle;
}

PatternView NeedleSearch::view(Bytes needle) const {
  return {.values = needle.data(),
          .masks = nullptr,
          .reversedValues = nullptr,
          .reversedMasks = nullptr,
          .length = std::ssize(needle),
          .kind = folds_ ? PatternKind::folded : PatternKind::exact};
}

/// At least several times the needle, since each stretch reads the needle's length beyond its end.
std::int64_t NeedleSearch::stretchLength(Bytes needle) const {
  if (scanner_.limits().workBudget == 0) return std::numeric_limits<std::int64_t>::max();
  return std::max(kStretch, 4 * std::ssize(needle));
}

const LinearSearch::FailureTable& NeedleSearch::table(Bytes needle, Direction direction) {
  auto& table = direction == Direction::forward ? forward_ : backward_;
  if (table.empty()) {
    table = LinearSearch::failureTable(needle, folds_, direction);
    LinearSearch::addShortcuts(table, needle, folds_, direction);
  }
  return table;
}

std::optional<std::int64_t> NeedleSearch::first(Bytes needle, Bytes haystack, std::int64_t from,
                                                std::int64_t through) {
  if (!canBeFound(needle, haystack)) return std::nullopt;
  from = std::max<std::int64_t>(from, 0);
  through = std::min(through, std::ssize(haystack) - std::ssize(needle));
  const PatternView pattern = view(needle);
  const ScanResult result = scanner_.first(pattern, haystack, from, through);
  if (result.outcome == Outcome::found) return result.position;
  if (result.outcome == Outcome::absent) return std::nullopt;
  return firstAccepted(needle, haystack, result.position, through,
                       [](std::int64_t) { return true; });
}

std::optional<std::int64_t> NeedleSearch::firstAccepted(Bytes needle, Bytes haystack,
                                                        std::int64_t from, std::int64_t through,
                                                        PositionPredicate accepting) {
  if (!canBeFound(needle, haystack)) return std::nullopt;
  std::int64_t at = std::max<std::int64_t>(from, 0);
  const std::int64_t end = std::min(through, std::ssize(haystack) - std::ssize(needle));
  const PatternView pattern = view(needle);
  while (at <= end) {
    const ScanResult result = scanner_.first(pattern, haystack, at, end);
    if (result.outcome == Outcome::absent) break;
    at = result.position;
    if (result.outcome == Outcome::found) {
      if (accepting(at)) return at;
      scanner_.reject(pattern);
      ++at;
    } else if (at <= end) {
      const std::int64_t stretchEnd = at + std::min(stretchLength(needle) - 1, end - at);
      const auto found = LinearSearch::first(needle, table(needle, Direction::forward), folds_,
                                             haystack, at, stretchEnd, accepting);
      linearBytes_ += (found ? *found : stretchEnd) + std::ssize(needle) - at;
      if (found) return found;
      scanner_.refill();
      at = stretchEnd + 1;
    }
  }
  return std::nullopt;
}

std::optional<std::int64_t> NeedleSearch::last(Bytes needle, Bytes haystack, std::int64_t from,
                                               std::int64_t through) {
  if (!canBeFound(needle, haystack)) return std::nullopt;
  const std::int64_t begin = std::max<std::int64_t>(from, 0);
  std::int64_t at = std::min(through, std::ssize(haystack) - std::ssize(needle));
  const PatternView pattern = view(needle);
  while (at >= begin) {
    const ScanResult result = scanner_.last(pattern, haystack, begin, at);
    if (result.outcome == Outcome::absent) break;
    at = result.position;
    if (result.outcome == Outcome::found) return at;
    if (at < begin) break;
    const std::int64_t stretchBegin = at - std::min(stretchLength(needle) - 1, at - begin);
    const auto found = LinearSearch::last(needle, table(needle, Direction::backward), folds_,
                                          haystack, stretchBegin, at);
    linearBytes_ += at + std::ssize(needle) - (found ? *found : stretchBegin);
    if (found) return found;
    scanner_.refill();
    at = stretchBegin - 1;
  }
  return std::nullopt;
}

}  // namespace quillmor
