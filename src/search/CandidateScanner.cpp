#include "search/CandidateScanner.h"

#include <algorithm>
#include <functional>
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
  // A search may look at a candidate's length of bytes behind the end of each piece.
  for (const auto& candidate : candidateList) {
    bytes = std::max(bytes, 4 * std::ssize(candidate.bytes));
  }
  return bytes;
}

CandidateScanner::CandidateScanner(std::span<const std::uint8_t> haystack,
                                   const std::vector<SearchCandidate>& candidateList,
                                   bool ignoresASCIICase, std::int64_t start)
    : haystack_(haystack), pieceBytes_(searchedPieceBytes(candidateList)), reported_(start) {
  cursors_.reserve(candidateList.size());
  for (std::size_t i = 0; i < candidateList.size(); ++i) {
    const std::vector<std::uint8_t>& bytes = candidateList[i].bytes;
    cursors_.push_back({.bound = start,
                        .candidate = i,
                        .length = std::ssize(bytes),
                        .searchedTo = start,
                        .list = {},
                        .matcher = Matcher(bytes, ignoresASCIICase)});
  }
  std::ranges::stable_sort(cursors_, std::ranges::greater{}, &Cursor::length);
}

std::optional<CandidateScanner::Hit> CandidateScanner::next(std::int64_t position,
                                                            TaskProgress& progress) {
  while (Cursor* const cursor = earliestBehind(position)) {
    if (unreportedWork_ >= kWorkBetweenReports) report(cursor->bound, progress);
    if (cursor->isHit) return Hit{cursor->bound, cursor->candidate, cursor->length};
    searchPiece(*cursor, progress);
  }
  report(std::ssize(haystack_), progress);
  return std::nullopt;
}

/// The cursor that stands first; null when no candidate occurs any more. A longer candidate goes
/// before a shorter one that may occur at the same place, so the shorter ones need not even be
/// searched where the longer one is found.
CandidateScanner::Cursor* CandidateScanner::earliestBehind(std::int64_t position) {
  Cursor* earliest = nullptr;
  std::int64_t bound = kNowhere;
  for (Cursor& cursor : cursors_) {
    if (cursor.bound < position) pass(cursor, position);
    if (cursor.bound < bound) {
      bound = cursor.bound;
      earliest = &cursor;
    }
  }
  return earliest;
}

/// Moves a cursor to its next occurrence at or behind `position`, or to where the search for it is
/// to go on.
void CandidateScanner::pass(Cursor& cursor, std::int64_t position) {
  const MatchList& list = cursor.list;
  std::int64_t passed = kNowhere;
  cursor.isHit = false;
  cursor.bound = std::max(position, cursor.searchedTo);
  for (; cursor.listed < list.count; ++cursor.listed) {
    const std::int64_t listed = list.positions[static_cast<std::size_t>(cursor.listed)];
    cursor.isHit = listed >= position;
    if (cursor.isHit) {
      cursor.bound = listed;
      break;
    }
    passed = listed;
  }
  if (passed != kNowhere) cursor.passedEnd = passed + cursor.length;
  if (position < cursor.passedEnd) takeOverlapping(cursor, position);
}

/// Moves a cursor to the first occurrence at or behind `position` that begins within the last one
/// passed, if there is one. Lists leave these out, and yet they count where the occurrence of
/// another candidate ends before them.
void CandidateScanner::takeOverlapping(Cursor& cursor, std::int64_t position) {
  unreportedWork_ += cursor.length;
  if (const auto found = cursor.matcher.first(haystack_, position, cursor.passedEnd - 1)) {
    cursor.bound = *found;
    cursor.isHit = true;
  } else {
    cursor.passedEnd = position;
  }
}

void CandidateScanner::searchPiece(Cursor& cursor, const TaskProgress& progress) {
  const std::int64_t from = cursor.bound;
  const std::int64_t last = std::ssize(haystack_) - cursor.length;
  const std::int64_t end = saturatingAdd(from, pieceBytes_);
  MatchList& list = cursor.list;
  cursor.listed = 0;
  cursor.passedEnd = 0;
  cursor.matcher.collect(haystack_, from, end - 1, list, progress);
  cursor.searchedTo = list.isFull() ? list.last() + 1 : end <= last ? end : kNowhere;
  unreportedWork_ += std::min(cursor.searchedTo, std::max(from, last)) - from + cursor.length;
  pass(cursor, from);
}

void CandidateScanner::report(std::int64_t walkedTo, TaskProgress& progress) {
  unreportedWork_ = 0;
  if (walkedTo > reported_) progress.advance(walkedTo - reported_);
  reported_ = std::max(reported_, walkedTo);
  progress.checkpoint();
}

}  // namespace quillmor
