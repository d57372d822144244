#include "search/scan/ByteSearch.h"

#include <algorithm>

namespace quillmor::ByteSearch {

std::optional<std::int64_t> index(std::span<const std::uint8_t> needle,
                                  std::span<const std::uint8_t> haystack, std::int64_t start,
                                  bool backwards, bool caseInsensitiveASCII) {
  Matcher matcher(needle, caseInsensitiveASCII);
  if (backwards) return matcher.last(haystack, 0, std::max<std::int64_t>(start, 0));
  return matcher.first(haystack, start, std::ssize(haystack));
}

std::optional<std::int64_t> firstAcceptedIndex(std::span<const std::uint8_t> anchor,
                                               std::span<const std::uint8_t> haystack,
                                               std::int64_t from, std::int64_t through,
                                               const Matcher::Predicate& accepting,
                                               StopCheck check) {
  return Matcher(anchor, false).firstAccepted(haystack, from, through, accepting, check);
}

}  // namespace quillmor::ByteSearch
