#include "search/scan/Matcher.h"

#include <algorithm>
#include <limits>

#include "search/scan/LinearSearch.h"
#include "search/scan/SearchLimits.h"

namespace quillmor {

namespace {

using Outcome = ScanResult::Outcome;
using LinearSearch::Direction;

bool acceptAll(std::int64_t /*position*/) {
  return true;
}

bool canBeFound(std::int64_t length, const SearchLimits& limits) {
  return length == 1 || (length > 1 && length <= limits.longestNeedle);
}

/// At least several times the needle, since each stretch reads the needle's length after its end.
std::int64_t stretchLength(std::int64_t length, const SearchLimits& limits) {
  if (limits.workBudget == 0) return std::numeric_limits<std::int64_t>::max();
  return std::max(limits.linearStretch, 4 * length);
}

}  // namespace

Matcher::Matcher(Bytes needle, bool caseInsensitiveASCII)
    : needle_(needle),
      folds_(caseInsensitiveASCII),
      canBeFound_(canBeFound(std::ssize(needle), SearchLimits::current())),
      stretch_(stretchLength(std::ssize(needle), SearchLimits::current())),
      scanner_({.values = needle.data(),
                .length = std::ssize(needle),
                .kind = caseInsensitiveASCII ? PatternKind::folded : PatternKind::exact}) {}

/// The greatest position a match can have; negative when there is none.
std::int64_t Matcher::lastPosition(Bytes haystack) const {
  return canBeFound_ ? std::ssize(haystack) - std::ssize(needle_) : -1;
}

std::optional<std::int64_t> Matcher::first(Bytes haystack, std::int64_t from, std::int64_t through,
                                           StopCheck check) {
  return firstAccepted(haystack, from, through, acceptAll, check);
}

std::optional<std::int64_t> Matcher::firstAccepted(Bytes haystack, std::int64_t from,
                                                   std::int64_t through, const Predicate& accepting,
                                                   StopCheck check) {
  std::int64_t at = std::max<std::int64_t>(from, 0);
  const std::int64_t end = std::min(through, lastPosition(haystack));
  while (at <= end) {
    const ScanResult result = scanner_.first(haystack, at, end, check);
    if (result.outcome == Outcome::absent) break;
    at = result.position;
    if (result.outcome == Outcome::found) {
      if (accepting(at)) return at;
      scanner_.reject();
      ++at;
    } else if (at <= end) {
      const std::int64_t stretchEnd = at + std::min(stretch_ - 1, end - at);
      if (const auto found = firstInStretch(haystack, at, stretchEnd, accepting, check))
        return found;
      scanner_.refill();
      at = stretchEnd + 1;
    }
  }
  return std::nullopt;
}

void Matcher::collect(Bytes haystack, std::int64_t from, std::int64_t through, MatchList& list,
                      StopCheck check) {
  list.count = 0;
  std::int64_t at = std::max<std::int64_t>(from, 0);
  const std::int64_t end = std::min(through, lastPosition(haystack));
  while (at <= end && !list.isFull()) {
    const ScanResult result = scanner_.collect(haystack, at, end, list, check);
    if (result.outcome != Outcome::exhausted) break;
    at = result.position;
    if (at > end) break;
    const std::int64_t stretchEnd = at + std::min(stretch_ - 1, end - at);
    if (const auto found = firstInStretch(haystack, at, stretchEnd, acceptAll, check)) {
      list.add(*found);
      at = list.freeFrom(at, std::ssize(needle_));
    } else {
      scanner_.refill();
      at = stretchEnd + 1;
    }
  }
}

std::optional<std::int64_t> Matcher::last(Bytes haystack, std::int64_t from, std::int64_t through,
                                          StopCheck check) {
  const std::int64_t begin = std::max<std::int64_t>(from, 0);
  std::int64_t at = std::min(through, lastPosition(haystack));
  while (at >= begin) {
    const ScanResult result = scanner_.last(haystack, begin, at, check);
    if (result.outcome == Outcome::absent) break;
    at = result.position;
    if (result.outcome == Outcome::found) return at;
    if (at < begin) break;
    const std::int64_t stretchBegin = at - std::min(stretch_ - 1, at - begin);
    if (const auto found = lastInStretch(haystack, stretchBegin, at, check)) return found;
    scanner_.refill();
    at = stretchBegin - 1;
  }
  return std::nullopt;
}

std::optional<std::int64_t> Matcher::firstInStretch(Bytes haystack, std::int64_t from,
                                                    std::int64_t through,
                                                    const Predicate& accepting, StopCheck check) {
  if (forward_.empty()) {
    forward_ = LinearSearch::failureTable(needle_, folds_, Direction::forward, check);
  }
  return LinearSearch::first(needle_, forward_, folds_, haystack, from, through, accepting, check);
}

std::optional<std::int64_t> Matcher::lastInStretch(Bytes haystack, std::int64_t from,
                                                   std::int64_t through, StopCheck check) {
  if (backward_.empty()) {
    backward_ = LinearSearch::failureTable(needle_, folds_, Direction::backward, check);
  }
  return LinearSearch::last(needle_, backward_, folds_, haystack, from, through, check);
}

}  // namespace quillmor
