#include "search/scan/ByteSearch.h"

#include <algorithm>

#include "search/scan/NeedleSearch.h"

namespace quillmor::ByteSearch {

namespace {

using Bytes = std::span<const std::uint8_t>;

}  // namespace

std::optional<std::int64_t> index(Bytes needle, Bytes haystack, std::int64_t start, bool backwards,
                                  bool caseInsensitiveASCII) {
  return detail::index(needle, haystack, start, backwards, caseInsensitiveASCII, {});
}

std::optional<std::int64_t> firstAcceptedIndex(Bytes anchor, Bytes haystack, std::int64_t from,
                                               std::int64_t through, PositionPredicate accepting) {
  return detail::firstAcceptedIndex(anchor, haystack, from, through, accepting, {});
}

namespace detail {

std::optional<std::int64_t> index(Bytes needle, Bytes haystack, std::int64_t start, bool backwards,
                                  bool caseInsensitiveASCII, const SearchLimits& limits) {
  NeedleSearch search(caseInsensitiveASCII, limits);
  if (backwards) return search.last(needle, haystack, 0, std::max<std::int64_t>(start, 0));
  return search.first(needle, haystack, start, std::ssize(haystack));
}

std::optional<std::int64_t> linearIndex(Bytes needle, Bytes haystack, std::int64_t start,
                                        bool backwards, bool caseInsensitiveASCII,
                                        SearchLimits limits) {
  limits.workBudget = 0;
  return index(needle, haystack, start, backwards, caseInsensitiveASCII, limits);
}

std::optional<std::int64_t> firstAcceptedIndex(Bytes anchor, Bytes haystack, std::int64_t from,
                                               std::int64_t through, PositionPredicate accepting,
                                               const SearchLimits& limits) {
  return NeedleSearch(false, limits).firstAccepted(anchor, haystack, from, through, accepting);
}

}  // namespace detail

}  // namespace quillmor::ByteSearch
