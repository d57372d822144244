#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "document/HexSelection.h"

namespace quillmor {

/// The marked offsets of a document in strictly increasing order. An offset equal to the document's
/// size, the end of the data, may be marked too. Main thread only.
class Bookmarks {
 public:
  static constexpr std::size_t maxBookmarkEntries = 100000;

  enum class AddResult { added, alreadyPresent, limitReached };

  const std::vector<std::int64_t>& offsets() const { return offsets_; }

  /// Marks `offset`. An offset that is marked already is reported as such even when the list is
  /// full.
  AddResult add(std::int64_t offset);

  /// The first bookmark behind `caret`, or the first of all when there is none behind it; absent
  /// when nothing is marked.
  std::optional<std::int64_t> next(std::int64_t caret) const;
  /// The last bookmark before `caret`, or the last of all when there is none before it; absent when
  /// nothing is marked.
  std::optional<std::int64_t> previous(std::int64_t caret) const;

  void clear() { offsets_.clear(); }

  /// Drops the bookmarks outside of 0...`count`.
  void keepWithin(std::int64_t count);

  /// Keeps what lies on the bytes of `range` (within 0..<`count`), counted from its start; a
  /// bookmark behind the last of the `count` bytes stays there when the range ends with them.
  void crop(HexSelection range, std::int64_t count);

  /// Puts `offsets` in the place of the list. They are sorted and repeated ones dropped where
  /// necessary; of more than `maxBookmarkEntries` the lowest are kept.
  void replaceAll(std::vector<std::int64_t> offsets);

  /// Moves the bookmarks along with an edit, see `adjustBookmarksForEdit`.
  void adjustForEdit(std::int64_t start, std::int64_t removedCount, std::int64_t insertedCount);

 private:
  std::vector<std::int64_t> offsets_;
};

/// Moves the increasing `offsets` as an edit does that replaces `removedCount` bytes from `start`
/// by `insertedCount` others. Marks of removed bytes go, marks behind them move with their bytes,
/// and a mark at the place of an insertion moves behind it. An overwrite of equal length keeps all
/// marks. A negative count means that the edit has no such side. In place, one pass over what
/// moves.
void adjustBookmarksForEdit(std::vector<std::int64_t>& offsets, std::int64_t start,
                            std::int64_t removedCount, std::int64_t insertedCount);

}  // namespace quillmor
