#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "base/TaskProgress.h"
#include "search/SearchCandidate.h"
#include "search/scan/Matcher.h"

namespace quillmor {

/// How many positions are searched for one candidate of `candidateList` before something else is
/// done: few enough that several candidates, which are short, find the same bytes in the cache, and
/// that progress is reported often.
std::int64_t searchedPieceBytes(const std::vector<SearchCandidate>& candidateList);

/// Walks the occurrences of one or several candidates through bytes, front to back, each from the
/// end of the one before. Each candidate's next occurrence, or how far there is none, is kept until
/// it is passed. So the whole walk looks at each byte about once for each candidate, however many
/// occurrences there are.
///
/// Haystack and candidates outlive the walk. For one thread at a time.
class OccurrenceWalk {
 public:
  struct Hit {
    std::int64_t offset = 0;
    std::size_t candidate = 0;  ///< index into the list
    std::int64_t length = 0;    ///< bytes, 1 or more

    std::int64_t end() const { return offset + length; }
    bool operator==(const Hit&) const = default;
  };

  /// Begins at `start`, 0 or more.
  OccurrenceWalk(std::span<const std::uint8_t> haystack,
                 const std::vector<SearchCandidate>& candidateList, bool ignoresASCIICase,
                 std::int64_t start = 0);

  /// A walk through the exact occurrences of one needle, which outlives it.
  OccurrenceWalk(std::span<const std::uint8_t> haystack, std::span<const std::uint8_t> needle);

  /// The earliest occurrence of any candidate from the end of the one before on. Where several
  /// begin, the longest; among equally long ones the first in the list.
  ///
  /// Every few milliseconds `progress` advances, by the bytes between `start` and the end of the
  /// haystack in all, and is asked whether to stop: then throws `Error::stopped()`. The call may be
  /// repeated.
  std::optional<Hit> next(TaskProgress& progress);

  /// The same with a check that runs as often.
  std::optional<Hit> next(StopCheck check);

 private:
  /// A candidate, and where it may occur next.
  struct Cursor {
    std::int64_t bound = 0;  ///< no occurrence begins before it
    bool isHit = false;      ///< whether one begins at `bound`
    std::size_t candidate = 0;
    std::int64_t length = 0;
    std::int64_t searchedTo = 0;  ///< no occurrence begins before it but those in the list
    MatchList list;               ///< occurrences found at a time
    int listed = 0;               ///< how many of the list have been passed
    std::int64_t passedEnd = 0;   ///< where the last one passed ends
    Matcher matcher;
  };

  void addCursor(std::span<const std::uint8_t> needle, bool ignoresASCIICase);
  Cursor* earliest();
  void pass(Cursor& cursor, std::int64_t position);
  void takeOverlapping(Cursor& cursor, std::int64_t position);
  void searchPiece(Cursor& cursor, StopCheck check);
  void checkAt(std::int64_t walkedTo, StopCheck check);

  std::span<const std::uint8_t> haystack_;
  std::int64_t pieceBytes_;
  std::int64_t position_;        // where the next occurrence may begin
  std::vector<Cursor> cursors_;  // the longest first, equal lengths in the order of the list
  std::int64_t walkedTo_;        // as of the last check
  std::int64_t reported_;        // the position progress has been told of
  std::int64_t uncheckedWork_ = 0;
};

}  // namespace quillmor
