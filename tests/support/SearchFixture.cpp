#include "support/SearchFixture.h"

#include <algorithm>

#include "document/Bookmarks.h"

namespace quillmor::test {

namespace {

std::uint8_t lowered(std::uint8_t byte) {
  return byte >= 'A' && byte <= 'Z' ? static_cast<std::uint8_t>(byte + 0x20) : byte;
}

std::int64_t sizeOf(std::span<const std::uint8_t> bytes) {
  return static_cast<std::int64_t>(bytes.size());
}

}  // namespace

SearchBytes searchBytes(std::string_view text) {
  return {text.begin(), text.end()};
}

std::vector<SearchCandidate> rawCandidates(std::initializer_list<std::string_view> texts) {
  std::vector<SearchCandidate> result;
  for (const std::string_view text : texts) {
    result.push_back({searchBytes(text), SearchCandidateKind::Raw()});
  }
  return result;
}

SearchRequest exactRequest() {
  return {.mode = SearchMode::hexValues};
}

SearchRequest foldingRequest() {
  return {.mode = SearchMode::textString};
}

namespace naive {

bool occursAt(std::span<const std::uint8_t> bytes, const SearchRequest& request,
              const SearchCandidate& candidate, std::int64_t offset) {
  if (offset + sizeOf(candidate.bytes) > sizeOf(bytes)) return false;
  for (std::size_t i = 0; i < candidate.bytes.size(); ++i) {
    const std::uint8_t there = bytes[static_cast<std::size_t>(offset) + i];
    const bool equal = request.ignoresASCIICase() ? lowered(there) == lowered(candidate.bytes[i])
                                                  : there == candidate.bytes[i];
    if (!equal) return false;
  }
  return true;
}

std::optional<OccurrenceWalk::Hit> bestAt(std::span<const std::uint8_t> bytes,
                                          const SearchRequest& request,
                                          const std::vector<SearchCandidate>& candidateList,
                                          std::int64_t offset) {
  std::optional<OccurrenceWalk::Hit> best;
  for (std::size_t i = 0; i < candidateList.size(); ++i) {
    const std::int64_t length = sizeOf(candidateList[i].bytes);
    if (best && best->length >= length) continue;
    if (occursAt(bytes, request, candidateList[i], offset)) best = {offset, i, length};
  }
  return best;
}

std::optional<OccurrenceWalk::Hit> firstFrom(std::span<const std::uint8_t> bytes,
                                             const SearchRequest& request,
                                             const std::vector<SearchCandidate>& candidateList,
                                             std::int64_t position) {
  for (std::int64_t offset = std::max<std::int64_t>(position, 0); offset < sizeOf(bytes);
       ++offset) {
    if (const auto hit = bestAt(bytes, request, candidateList, offset)) return hit;
  }
  return std::nullopt;
}

std::optional<OccurrenceWalk::Hit> lastFrom(std::span<const std::uint8_t> bytes,
                                            const SearchRequest& request,
                                            const std::vector<SearchCandidate>& candidateList,
                                            std::int64_t position) {
  const std::int64_t highest = std::min(std::max<std::int64_t>(position, 0), sizeOf(bytes));
  for (std::int64_t offset = highest; offset >= 0; --offset) {
    if (const auto hit = bestAt(bytes, request, candidateList, offset)) return hit;
  }
  return std::nullopt;
}

std::vector<OccurrenceWalk::Hit> allHits(std::span<const std::uint8_t> bytes,
                                         const SearchRequest& request,
                                         const std::vector<SearchCandidate>& candidateList) {
  std::vector<OccurrenceWalk::Hit> hits;
  std::int64_t position = 0;
  while (const auto hit = firstFrom(bytes, request, candidateList, position)) {
    hits.push_back(*hit);
    position = hit->end();
  }
  return hits;
}

Replaced replaceOneByOne(SearchBytes bytes, const std::vector<OccurrenceWalk::Hit>& hits,
                         const ReplacementTable& table, std::vector<std::int64_t> bookmarks) {
  Replaced result{std::move(bytes), std::move(bookmarks), 0};
  std::int64_t shift = 0;
  for (const OccurrenceWalk::Hit& hit : hits) {
    const SearchBytes& replacement = table[hit.candidate];
    const auto at = result.bytes.begin() + hit.offset + shift;
    const auto gap = result.bytes.erase(at, at + hit.length);
    result.bytes.insert(gap, replacement.begin(), replacement.end());
    adjustBookmarksForEdit(result.bookmarks, hit.offset + shift, hit.length, sizeOf(replacement));
    result.lastCaret = hit.offset + shift + sizeOf(replacement);
    shift += sizeOf(replacement) - hit.length;
  }
  return result;
}

}  // namespace naive

SearchBytes RandomRequests::text(std::int64_t minimum, std::int64_t maximum) {
  SearchBytes result(static_cast<std::size_t>(minimum + upTo(maximum - minimum)));
  for (std::uint8_t& byte : result) {
    byte = static_cast<std::uint8_t>((upTo(1) == 0 ? 'a' : 'A') + upTo(alphabet_));
  }
  return result;
}

void RandomRequests::choose() {
  alphabet_ = upTo(2);
  request = upTo(1) == 0 ? exactRequest() : foldingRequest();
  bytes = text(0, upTo(3) == 0 ? 80 : 20);
  candidateList.clear();
  table.clear();
  for (std::int64_t count = upTo(3); count >= 0; --count) {
    candidateList.push_back({text(1, 4), SearchCandidateKind::Raw()});
    // Sometimes just what is there, sometimes nothing.
    table.push_back(upTo(4) == 0 ? candidateList.back().bytes : text(0, 6));
  }
  bookmarks.clear();
  for (std::int64_t offset = upTo(3); offset <= sizeOf(bytes); offset += 1 + upTo(5)) {
    bookmarks.push_back(offset);
  }
}

}  // namespace quillmor::test
