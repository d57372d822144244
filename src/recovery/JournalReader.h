#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "base/ByteBuffer.h"
#include "document/SafetyCopy.h"
#include "recovery/RecordHeader.h"

namespace quillmor {

/// A document as the entries of a journal leave it.
struct ReplayedJournal {
  ByteBuffer bytes;
  /// After the last entry; the bookmarks have moved with the edits.
  EditorPlaces places;
  std::int64_t entryCount = 0;
  /// The time of the last entry; that of the header when there is none.
  RecordTime lastEdit;
  /// True if the last entry was cut off or damaged, as a crash leaves it; the replay ends before
  /// it.
  bool wasCutOff = false;
};

/// Applies the edits of a journal to the bytes that it begins with. `file` is the journal's whole
/// file, header included, and is not trusted: an entry that does not fit the document or the chain
/// of checks ends the replay. Throws codes 3101 and 3102 for the header. Any thread.
ReplayedJournal replayJournal(std::span<const std::uint8_t> file, ByteBuffer base,
                              std::vector<std::int64_t> bookmarks);

}  // namespace quillmor
