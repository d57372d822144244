#pragma once

#include <cstdint>
#include <optional>
#include <random>
#include <span>
#include <string_view>
#include <vector>

#include "search/OccurrenceWalk.h"
#include "search/Replacing.h"
#include "search/SearchCandidate.h"
#include "search/SearchRequest.h"
#include "search/Searching.h"

namespace quillmor::test {

using SearchBytes = std::vector<std::uint8_t>;

/// The bytes of `text`, its NULs included.
SearchBytes searchBytes(std::string_view text);

/// Candidates of texts or hexadecimal bytes, in the order given.
std::vector<SearchCandidate> rawCandidates(std::initializer_list<std::string_view> texts);

/// A request whose candidates match exactly, or in either case.
SearchRequest exactRequest();
SearchRequest foldingRequest();

/// The definitions of the search functions, written down as plainly as possible: every candidate is
/// compared at every offset.
namespace naive {

bool occursAt(std::span<const std::uint8_t> bytes, const SearchRequest& request,
              const SearchCandidate& candidate, std::int64_t offset);
std::optional<OccurrenceWalk::Hit> bestAt(std::span<const std::uint8_t> bytes,
                                          const SearchRequest& request,
                                          const std::vector<SearchCandidate>& candidateList,
                                          std::int64_t offset);
std::optional<OccurrenceWalk::Hit> firstFrom(std::span<const std::uint8_t> bytes,
                                             const SearchRequest& request,
                                             const std::vector<SearchCandidate>& candidateList,
                                             std::int64_t position);
std::optional<OccurrenceWalk::Hit> lastFrom(std::span<const std::uint8_t> bytes,
                                            const SearchRequest& request,
                                            const std::vector<SearchCandidate>& candidateList,
                                            std::int64_t position);
std::vector<OccurrenceWalk::Hit> allHits(std::span<const std::uint8_t> bytes,
                                         const SearchRequest& request,
                                         const std::vector<SearchCandidate>& candidateList);

/// A document in which occurrences were replaced one after the other by single edits.
struct Replaced {
  SearchBytes bytes;
  std::vector<std::int64_t> bookmarks;
  std::int64_t lastCaret = 0;
};

/// `hits` are offsets of the document before, front to back.
Replaced replaceOneByOne(SearchBytes bytes, const std::vector<OccurrenceWalk::Hit>& hits,
                         const ReplacementTable& table, std::vector<std::int64_t> bookmarks);

}  // namespace naive

/// Small random documents with small alphabets, in which candidates meet, overlap and repeat.
class RandomRequests {
 public:
  explicit RandomRequests(unsigned seed) : random_(seed) {}

  /// 0...`limit`.
  std::int64_t upTo(std::int64_t limit) {
    return static_cast<std::int64_t>(random_() % static_cast<std::uint32_t>(limit + 1));
  }

  /// Chooses document, request, candidates, replacements and bookmarks anew.
  void choose();

  SearchBytes bytes;
  SearchRequest request;
  std::vector<SearchCandidate> candidateList;
  ReplacementTable table;
  std::vector<std::int64_t> bookmarks;

 private:
  SearchBytes text(std::int64_t minimum, std::int64_t maximum);

  std::mt19937 random_;
  std::int64_t alphabet_ = 1;
};

}  // namespace quillmor::test
