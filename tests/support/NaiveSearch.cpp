#include "support/NaiveSearch.h"

#include <algorithm>

namespace quillmor::naive {

namespace {

std::uint8_t comparable(std::uint8_t byte, bool folds) {
  const bool isUpper = byte >= 'A' && byte <= 'Z';
  return folds && isUpper ? static_cast<std::uint8_t>(byte + 32) : byte;
}

bool wildcardMatchesAt(const std::vector<std::optional<std::uint8_t>>& pattern, Bytes haystack,
                       std::int64_t position) {
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    if (pattern[i] && haystack[static_cast<std::size_t>(position) + i] != *pattern[i]) return false;
  }
  return true;
}

}  // namespace

bool matchesAt(Bytes needle, Bytes haystack, std::int64_t position, bool folds) {
  if (needle.empty() || position < 0) return false;
  if (position > std::ssize(haystack) - std::ssize(needle)) return false;
  for (std::size_t i = 0; i < needle.size(); ++i) {
    const std::uint8_t byte = haystack[static_cast<std::size_t>(position) + i];
    if (comparable(byte, folds) != comparable(needle[i], folds)) return false;
  }
  return true;
}

std::optional<std::int64_t> first(Bytes needle, Bytes haystack, std::int64_t from,
                                  std::int64_t through, bool folds) {
  const std::int64_t end = std::min(through, std::ssize(haystack));
  for (std::int64_t at = std::max<std::int64_t>(from, 0); at <= end; ++at) {
    if (matchesAt(needle, haystack, at, folds)) return at;
  }
  return std::nullopt;
}

std::optional<std::int64_t> last(Bytes needle, Bytes haystack, std::int64_t from,
                                 std::int64_t through, bool folds) {
  const std::int64_t begin = std::max<std::int64_t>(from, 0);
  for (std::int64_t at = std::min(through, std::ssize(haystack)); at >= begin; --at) {
    if (matchesAt(needle, haystack, at, folds)) return at;
  }
  return std::nullopt;
}

std::optional<std::int64_t> index(Bytes needle, Bytes haystack, std::int64_t start, bool backwards,
                                  bool folds) {
  if (backwards) return last(needle, haystack, 0, std::max<std::int64_t>(start, 0), folds);
  return first(needle, haystack, start, std::ssize(haystack), folds);
}

std::vector<std::int64_t> matches(Bytes needle, Bytes haystack, std::int64_t from,
                                  std::int64_t through) {
  std::vector<std::int64_t> all;
  const std::int64_t end = std::min(through, std::ssize(haystack));
  for (std::int64_t at = std::max<std::int64_t>(from, 0); at <= end; ++at) {
    if (matchesAt(needle, haystack, at, false)) all.push_back(at);
  }
  return all;
}

std::optional<std::int64_t> firstWrapped(const std::vector<std::optional<std::uint8_t>>& pattern,
                                         Bytes haystack, std::int64_t from) {
  const std::int64_t last = std::ssize(haystack) - std::ssize(pattern);
  if (pattern.empty()) return std::nullopt;
  for (std::int64_t at = std::max<std::int64_t>(from, 0); at <= last; ++at) {
    if (wildcardMatchesAt(pattern, haystack, at)) return at;
  }
  for (std::int64_t at = 0; at <= last; ++at) {
    if (wildcardMatchesAt(pattern, haystack, at)) return at;
  }
  return std::nullopt;
}

}  // namespace quillmor::naive
