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

  /// Marks `offset`. Reports an offset that is already marked as such even when the list is full.
  AddResult add(std::int64_t offset);

  /// Returns the first bookmark after `caret`, or the first of all when there is none after it;
  /// absent when nothing is marked.
  std::optional<std::int64_t> next(std::int64_t caret) const;
  /// Returns the last bookmark before `caret`, or the last of all when there is none before it;
  /// absent when nothing is marked.
  std::optional<std::int64_t> previous(std::int64_t caret) const;

  void clear() { offsets_.clear(); }

  /// Removes the bookmarks outside of 0...`count`.
  void keepWithin(std::int64_t count);

  /// Keeps the bookmarks of the bytes in `range` (within 0..<`count`), counted from its start. A
  /// bookmark at `count` stays at the end when the range ends there.
  void crop(HexSelection range, std::int64_t count);

  /// Replaces the list with `offsets`, sorted and without repeated ones. Keeps the lowest
  /// `maxBookmarkEntries`.
  void replaceAll(std::vector<std::int64_t> offsets);

  /// Moves the bookmarks along with an edit, see `adjustBookmarksForEdit`.
  void adjustForEdit(std::int64_t start, std::int64_t removedCount, std::int64_t insertedCount);

 private:
  std::vector<std::int64_t> offsets_;
};

/// Moves the increasing `offsets` as an edit does that replaces `removedCount` bytes from `start`
/// with `insertedCount` others. Marks of removed bytes are removed, and marks after them move with
/// their bytes. A mark at the place of an insertion moves after it. An overwrite of equal length
/// keeps all marks. A negative count counts as none. In place, one pass over what moves.
void adjustBookmarksForEdit(std::vector<std::int64_t>& offsets, std::int64_t start,
                            std::int64_t removedCount, std::int64_t insertedCount);

}  // namespace quillmor
