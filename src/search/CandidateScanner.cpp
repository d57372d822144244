#include "search/CandidateScanner.h"

#include <algorithm>
#include <iterator>

#include "base/SaturatingMath.h"

namespace quillmor {

namespace {

/// Bytes looked at between two questions whether to stop: a few milliseconds even where data and
/// candidate are made to be slow to tell apart.
constexpr std::int64_t kWorkBetweenReports = std::int64_t{1024} * 1024;

constexpr std::int64_t kPieceOfOneCandidate = std::int64_t{4} * 1024 * 1024;
constexpr std::int64_t kPieceOfSeveral = std::int64_t{256} * 1024;

constexpr std::int64_t kNowhere = kMaxInt64;

}  // namespace

std::int64_t searchedPieceBytes(const std::vector<SearchCandidate>& candidateList) {
  std::int64_t bytes = candidateList.size() > 1 ? kPieceOfSeveral : kPieceOfOneCandidate;
  // A piece shorter than a candidate would have most of its bytes looked at twice.
  for (const auto& candidate : candidateList) bytes = std::max(bytes, std::ssize(candidate.bytes));
  return bytes;
}

CandidateScanner::CandidateScanner(std::span<const std::uint8_t> haystack,
                                   const std::vector<SearchCandidate>& candidateList,
                                   bool ignoresASCIICase, std::int64_t start)
    : haystack_(haystack), pieceBytes_(searchedPieceBytes(candidateList)), reported_(start) {
  cursors_.reserve(candidateList.size());
  for (std::size_t i = 0; i < candidateList.size(); ++i) {
    const std::vector<std::uint8_t>& bytes = candidateList[i].bytes;
    cursors_.push_back({ByteMatcher(bytes, ignoresASCIICase), i,
                        static_cast<std::int64_t>(bytes.size()), start, false});
  }
  std::ranges::stable_sort(cursors_, std::ranges::greater{}, &Cursor::length);
}

std::optional<CandidateScanner::Hit> CandidateScanner::next(std::int64_t position,
                                                            TaskProgress& progress) {
  while (Cursor* const cursor = earliestBehind(position)) {
    if (cursor->isHit) return Hit{cursor->bound, cursor->candidate, cursor->length};
    searchPiece(*cursor, progress);
  }
  report(static_cast<std::int64_t>(haystack_.size()), progress);
  return std::nullopt;
}

/// The cursor that stands first; null when no candidate occurs any more. A longer candidate goes
/// before a shorter one that may occur at the same place, so the shorter ones need not even be
/// searched where the longer one is found.
CandidateScanner::Cursor* CandidateScanner::earliestBehind(std::int64_t position) {
  Cursor* earliest = nullptr;
  std::int64_t bound = kNowhere;
  for (Cursor& cursor : cursors_) {
    if (cursor.bound < position) {
      cursor.bound = position;
      cursor.isHit = false;
    }
    if (cursor.bound < bound) {
      bound = cursor.bound;
      earliest = &cursor;
    }
  }
  return earliest;
}

void CandidateScanner::searchPiece(Cursor& cursor, TaskProgress& progress) {
  const std::int64_t from = cursor.bound;
  const std::int64_t last = static_cast<std::int64_t>(haystack_.size()) - cursor.length;
  const std::int64_t end = saturatingAdd(from, pieceBytes_);
  const std::optional<std::int64_t> found = cursor.matcher.first(haystack_, from, end - 1);
  cursor.isHit = found.has_value();
  cursor.bound = found ? *found : end <= last ? end : kNowhere;
  unreportedWork_ += (found ? *found : std::min(end, std::max(from, last))) - from + cursor.length;
  if (unreportedWork_ >= kWorkBetweenReports) report(from, progress);
}

void CandidateScanner::report(std::int64_t walkedTo, TaskProgress& progress) {
  unreportedWork_ = 0;
  if (walkedTo > reported_) progress.advance(walkedTo - reported_);
  reported_ = std::max(reported_, walkedTo);
  progress.checkpoint();
}

}  // namespace quillmor
