#include "search/ByteMatcher.h"

#include <algorithm>

namespace quillmor {

namespace {

std::uint8_t folded(std::uint8_t byte) {
  return byte >= 'A' && byte <= 'Z' ? byte | 0x20 : byte;
}

}  // namespace

ByteMatcher::ByteMatcher(std::span<const std::uint8_t> needle, bool caseInsensitiveASCII)
    : needle_(needle.begin(), needle.end()), folds_(caseInsensitiveASCII) {
  if (folds_) std::ranges::transform(needle_, needle_.begin(), folded);
}

bool ByteMatcher::matchesAt(std::span<const std::uint8_t> haystack, std::int64_t position) const {
  const auto part = haystack.subspan(static_cast<std::size_t>(position), needle_.size());
  return std::ranges::equal(needle_, part, {}, {},
                            [this](std::uint8_t byte) { return folds_ ? folded(byte) : byte; });
}

std::optional<std::int64_t> ByteMatcher::first(std::span<const std::uint8_t> haystack,
                                               std::int64_t from, std::int64_t through) {
  const std::int64_t last = static_cast<std::int64_t>(haystack.size()) - needleLength();
  if (needle_.empty()) return std::nullopt;
  const std::int64_t end = std::min(through, last);
  for (std::int64_t at = std::max<std::int64_t>(from, 0); at <= end; ++at)
    if (matchesAt(haystack, at)) return at;
  return std::nullopt;
}

std::optional<std::int64_t> ByteMatcher::last(std::span<const std::uint8_t> haystack,
                                              std::int64_t from, std::int64_t through) {
  const std::int64_t last = static_cast<std::int64_t>(haystack.size()) - needleLength();
  if (needle_.empty()) return std::nullopt;
  for (std::int64_t at = std::min(through, last); at >= std::max<std::int64_t>(from, 0); --at)
    if (matchesAt(haystack, at)) return at;
  return std::nullopt;
}

}  // namespace quillmor
