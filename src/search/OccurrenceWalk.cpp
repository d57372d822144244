#include "search/OccurrenceWalk.h"

#include <algorithm>
#include <functional>

#include "base/ByteUnits.h"
#include "base/SaturatingMath.h"

namespace quillmor {

namespace {

/// Bytes looked at between two checks: a few milliseconds even where data and candidate are made to
/// be slow to tell apart.
constexpr std::int64_t kWorkBetweenChecks = kMiB;

constexpr std::int64_t kPieceOfOneCandidate = 4 * kMiB;
constexpr std::int64_t kPieceOfSeveral = 256 * kKiB;

constexpr std::int64_t kNowhere = kMaxInt64;

/// A search may look at a needle's length of bytes after the end of each piece.
std::int64_t pieceFor(std::int64_t usual, std::int64_t needleLength) {
  return std::max(usual, 4 * needleLength);
}

}  // namespace

std::int64_t searchedPieceBytes(const std::vector<SearchCandidate>& candidateList) {
  std::int64_t bytes = candidateList.size() > 1 ? kPieceOfSeveral : kPieceOfOneCandidate;
  for (const auto& candidate : candidateList) bytes = pieceFor(bytes, std::ssize(candidate.bytes));
  return bytes;
}

OccurrenceWalk::OccurrenceWalk(std::span<const std::uint8_t> haystack,
                               const std::vector<SearchCandidate>& candidateList,
                               bool ignoresASCIICase, std::int64_t start)
    : haystack_(haystack),
      pieceBytes_(searchedPieceBytes(candidateList)),
      position_(start),
      walkedTo_(start),
      reported_(start) {
  cursors_.reserve(candidateList.size());
  for (const auto& candidate : candidateList) addCursor(candidate.bytes, ignoresASCIICase);
  std::ranges::stable_sort(cursors_, std::ranges::greater{}, &Cursor::length);
}

OccurrenceWalk::OccurrenceWalk(std::span<const std::uint8_t> haystack,
                               std::span<const std::uint8_t> needle)
    : OccurrenceWalk(haystack, {}, false) {
  pieceBytes_ = pieceFor(kPieceOfOneCandidate, std::ssize(needle));
  addCursor(needle, false);
}

void OccurrenceWalk::addCursor(std::span<const std::uint8_t> needle, bool ignoresASCIICase) {
  cursors_.push_back({.bound = position_,
                      .candidate = cursors_.size(),
                      .length = std::ssize(needle),
                      .searchedTo = position_,
                      .list = {},
                      .matcher = Matcher(needle, ignoresASCIICase)});
}

std::optional<OccurrenceWalk::Hit> OccurrenceWalk::next(TaskProgress& progress) {
  const auto report = [&] {
    progress.advance(walkedTo_ - reported_);
    reported_ = walkedTo_;
    progress.checkpoint();
  };
  return next(StopCheck(report));
}

std::optional<OccurrenceWalk::Hit> OccurrenceWalk::next(StopCheck check) {
  while (Cursor* const cursor = earliest()) {
    if (uncheckedWork_ >= kWorkBetweenChecks) checkAt(cursor->bound, check);
    if (cursor->isHit) {
      position_ = cursor->bound + cursor->length;
      return Hit{cursor->bound, cursor->candidate, cursor->length};
    }
    searchPiece(*cursor, check);
  }
  checkAt(std::ssize(haystack_), check);
  return std::nullopt;
}

/// The cursor that stands first; null when no candidate occurs any more. A longer candidate goes
/// before a shorter one that may occur at the same place, so the shorter ones need not even be
/// searched where the longer one is found.
OccurrenceWalk::Cursor* OccurrenceWalk::earliest() {
  Cursor* earliest = nullptr;
  std::int64_t bound = kNowhere;
  for (Cursor& cursor : cursors_) {
    if (cursor.bound < position_) pass(cursor, position_);
    if (cursor.bound < bound) {
      bound = cursor.bound;
      earliest = &cursor;
    }
  }
  return earliest;
}

/// Moves a cursor to its next occurrence at or after `position`, or to where the search for it is
/// to go on.
void OccurrenceWalk::pass(Cursor& cursor, std::int64_t position) {
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

/// Moves a cursor to the first occurrence at or after `position` that begins within the last one
/// passed, if there is one. Lists leave these out, and yet they count where the occurrence of
/// another candidate ends before them.
void OccurrenceWalk::takeOverlapping(Cursor& cursor, std::int64_t position) {
  uncheckedWork_ += cursor.length;
  if (const auto found = cursor.matcher.first(haystack_, position, cursor.passedEnd - 1)) {
    cursor.bound = *found;
    cursor.isHit = true;
  } else {
    cursor.passedEnd = position;
  }
}

void OccurrenceWalk::searchPiece(Cursor& cursor, StopCheck check) {
  const std::int64_t from = cursor.bound;
  const std::int64_t last = std::ssize(haystack_) - cursor.length;
  const std::int64_t end = saturatingAdd(from, pieceBytes_);
  MatchList& list = cursor.list;
  cursor.listed = 0;
  cursor.passedEnd = 0;
  cursor.matcher.collect(haystack_, from, end - 1, list, check);
  cursor.searchedTo = list.isFull() ? list.last() + 1 : end <= last ? end : kNowhere;
  uncheckedWork_ += std::min(cursor.searchedTo, std::max(from, last)) - from + cursor.length;
  pass(cursor, from);
}

void OccurrenceWalk::checkAt(std::int64_t walkedTo, StopCheck check) {
  uncheckedWork_ = 0;
  walkedTo_ = std::max(walkedTo_, walkedTo);
  check();
}

}  // namespace quillmor
