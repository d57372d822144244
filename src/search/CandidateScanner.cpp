#include "search/CandidateScanner.h"

#include <algorithm>
#include <cstring>
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

/// Whether an occurrence may begin within another one of the same candidate. Told of short ones
/// only, which is what lists of several candidates are made of.
bool mayOverlapItself(std::span<const std::uint8_t> bytes, bool ignoresASCIICase) {
  constexpr std::size_t kShort = 16;
  if (ignoresASCIICase || bytes.size() > kShort) return bytes.size() > 1;
  for (std::size_t shift = 1; shift < bytes.size(); ++shift) {
    if (std::ranges::equal(bytes.subspan(shift), bytes.first(bytes.size() - shift))) return true;
  }
  return false;
}

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
    : haystack_(haystack),
      candidateList_(candidateList),
      folds_(ignoresASCIICase),
      pieceBytes_(searchedPieceBytes(candidateList)),
      reported_(start) {
  cursors_.reserve(candidateList.size());
  for (std::size_t i = 0; i < candidateList.size(); ++i) {
    const std::vector<std::uint8_t>& bytes = candidateList[i].bytes;
    // Among several, the place of another one's occurrence may decide which of a candidate's own
    // overlapping occurrences count.
    const bool isBatched = candidateList.size() == 1 || !mayOverlapItself(bytes, ignoresASCIICase);
    cursors_.push_back({.bound = start,
                        .isBatched = isBatched,
                        .candidate = i,
                        .length = std::ssize(bytes),
                        .searchedTo = start,
                        .list = {},
                        .matcher = ByteMatcher(bytes, ignoresASCIICase)});
  }
  std::ranges::stable_sort(cursors_, std::ranges::greater{}, &Cursor::length);
}

std::optional<CandidateScanner::Hit> CandidateScanner::next(std::int64_t position,
                                                            TaskProgress& progress) {
  while (Cursor* const cursor = earliestBehind(position)) {
    if (unreportedWork_ >= kWorkBetweenReports) report(cursor->bound, progress);
    if (cursor->isHit) return Hit{cursor->bound, cursor->candidate, cursor->length};
    searchPiece(*cursor);
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
  const bool endsThere = cursor.isHit && cursor.bound + cursor.length == position;
  cursor.isHit = true;
  while (cursor.listed < cursor.list.count) {
    cursor.bound = cursor.list.positions[static_cast<std::size_t>(cursor.listed++)];
    if (cursor.bound >= position) return;
  }
  cursor.bound = std::max(position, cursor.searchedTo);
  // Where occurrences follow upon each other, looking is much quicker than searching.
  cursor.isHit = endsThere && !cursor.isBatched && occursAt(cursor, position);
  if (cursor.isHit) unreportedWork_ += cursor.length;
}

bool CandidateScanner::occursAt(const Cursor& cursor, std::int64_t position) const {
  if (folds_ || std::ssize(haystack_) - position < cursor.length) return false;
  const std::vector<std::uint8_t>& bytes = candidateList_[cursor.candidate].bytes;
  return std::memcmp(haystack_.data() + position, bytes.data(), bytes.size()) == 0;
}

void CandidateScanner::searchPiece(Cursor& cursor) {
  const std::int64_t from = cursor.bound;
  const std::int64_t last = std::ssize(haystack_) - cursor.length;
  const std::int64_t end = saturatingAdd(from, pieceBytes_);
  MatchList& list = cursor.list;
  if (cursor.isBatched) {
    cursor.matcher.collect(haystack_, from, end - 1, list);
  } else {
    list.count = 0;
    if (const auto found = cursor.matcher.first(haystack_, from, end - 1)) list.add(*found);
  }
  const bool mayBeMore = cursor.isBatched ? list.isFull() : list.count > 0;
  cursor.searchedTo = mayBeMore ? list.last() + 1 : end <= last ? end : kNowhere;
  unreportedWork_ += std::min(cursor.searchedTo, std::max(from, last)) - from + cursor.length;
  cursor.listed = 0;
  pass(cursor, from);
}

void CandidateScanner::report(std::int64_t walkedTo, TaskProgress& progress) {
  unreportedWork_ = 0;
  if (walkedTo > reported_) progress.advance(walkedTo - reported_);
  reported_ = std::max(reported_, walkedTo);
  progress.checkpoint();
}

}  // namespace quillmor
