#include "search/Searching.h"

#include <algorithm>
#include <utility>

#include "base/SaturatingMath.h"
#include "search/scan/ByteSearch.h"

namespace quillmor {

namespace {

/// Walks the occurrences of several candidates back to front, in pieces that are searched for all
/// candidates before the piece before them is looked at.
class BackwardSearch {
 public:
  struct Hit {
    std::int64_t offset = 0;
    std::size_t candidate = 0;
  };

  BackwardSearch(std::span<const std::uint8_t> haystack,
                 const std::vector<SearchCandidate>& candidateList, bool ignoresASCIICase)
      : haystack_(haystack), pieceBytes_(searchedPieceBytes(candidateList)) {
    for (const SearchCandidate& candidate : candidateList) {
      matchers_.emplace_back(candidate.bytes, ignoresASCIICase);
    }
  }

  /// The last occurrence that begins at or before `start`.
  std::optional<Hit> lastBefore(std::int64_t start, TaskProgress& progress) {
    for (std::int64_t end = start + 1; end > 0;) {
      const std::int64_t begin = std::max<std::int64_t>(end - pieceBytes_, 0);
      if (const std::optional<Hit> hit = lastIn(begin, end - 1, progress)) return hit;
      progress.advance(end - begin);
      progress.checkpoint();
      end = begin;
    }
    return std::nullopt;
  }

 private:
  std::optional<Hit> lastIn(std::int64_t from, std::int64_t through, const TaskProgress& progress) {
    std::optional<Hit> best;
    for (std::size_t i = 0; i < matchers_.size(); ++i) {
      const bool winsTies =
          best && matchers_[i].needleLength() > matchers_[best->candidate].needleLength();
      // What begins before the best so far does not matter.
      const std::int64_t lowest = !best ? from : winsTies ? best->offset : best->offset + 1;
      if (lowest > through) continue;
      const auto offset = matchers_[i].last(haystack_, lowest, through, progress);
      if (offset) best = {*offset, i};
    }
    return best;
  }

  std::span<const std::uint8_t> haystack_;
  std::int64_t pieceBytes_;
  std::vector<Matcher> matchers_;
};

}  // namespace

std::optional<SearchPlan> searchPlan(SearchDirection direction, bool advanceFromCurrentSelection,
                                     const SearchOrigin& origin) {
  const bool forward = direction != SearchDirection::backward;
  if (!advanceFromCurrentSelection) {
    return SearchPlan{std::max<std::int64_t>(origin.caretOffset, 0), forward};
  }
  const HexSelection selection = origin.selection;
  const bool selected = selection.length > 0;
  if (!forward) {
    const std::int64_t anchor = selected ? selection.start : origin.caretOffset;
    if (anchor <= 0) return std::nullopt;
    return SearchPlan{anchor - 1, false};
  }
  const std::int64_t after = selected ? saturatingAdd(selection.start, selection.length)
                                      : saturatingAdd(origin.caretOffset, 1);
  return SearchPlan{std::min(after, origin.byteCount), true};
}

std::optional<SearchMatch> nextMatch(std::span<const std::uint8_t> bytes,
                                     const SearchRequest& request,
                                     const std::vector<SearchCandidate>& candidateList,
                                     const SearchPlan& plan, TaskProgress& progress) {
  progress.checkpoint();
  const bool folds = request.ignoresASCIICase();
  const std::int64_t start = clampedToCount(plan.startOffset, std::ssize(bytes));
  if (plan.forceForward) {
    progress.setTotal(std::ssize(bytes) - start);
    const auto hit = OccurrenceWalk(bytes, candidateList, folds, start).next(progress);
    if (!hit) return std::nullopt;
    return matchOf(bytes, request, candidateList, hit->candidate, hit->offset);
  }
  progress.setTotal(start + 1);
  const auto hit = BackwardSearch(bytes, candidateList, folds).lastBefore(start, progress);
  if (!hit) return std::nullopt;
  return matchOf(bytes, request, candidateList, hit->candidate, hit->offset);
}

SearchAllSummary searchAllSummary(std::span<const std::uint8_t> bytes, const SearchRequest& request,
                                  const std::vector<SearchCandidate>& candidateList,
                                  TaskProgress& progress) {
  SearchAllSummary summary;
  forEachOccurrence(bytes, request, candidateList, progress, [&](const OccurrenceWalk::Hit& hit) {
    if (summary.count++ == 0)
      summary.firstMatch = matchOf(bytes, request, candidateList, hit.candidate, hit.offset);
  });
  return summary;
}

SearchMatch matchOf(std::span<const std::uint8_t> bytes, const SearchRequest& request,
                    const std::vector<SearchCandidate>& candidateList, std::size_t candidate,
                    std::int64_t offset) {
  const SearchCandidate& found = candidateList[candidate];
  if (!request.ignoresASCIICase()) return {offset, found.bytes, found};
  const auto own = bytes.subspan(static_cast<std::size_t>(offset), found.bytes.size());
  return {offset, {own.begin(), own.end()}, found};
}

std::optional<SearchMatch> selectionMatch(std::span<const std::uint8_t> bytes,
                                          HexSelection selection, const SearchRequest& request,
                                          const std::vector<SearchCandidate>& candidateList) {
  if (selection.length <= 0) return std::nullopt;
  for (std::size_t i = 0; i < candidateList.size(); ++i) {
    if (std::cmp_not_equal(candidateList[i].bytes.size(), selection.length)) continue;
    Matcher matcher(candidateList[i].bytes, request.ignoresASCIICase());
    if (!matcher.first(bytes, selection.start, selection.start)) continue;
    return matchOf(bytes, request, candidateList, i, selection.start);
  }
  return std::nullopt;
}

}  // namespace quillmor
