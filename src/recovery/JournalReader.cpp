#include "recovery/JournalReader.h"

#include <utility>

#include "base/ReplayedBytes.h"
#include "base/SaturatingMath.h"
#include "document/Bookmarks.h"
#include "document/QuillmorResourceLimits.h"
#include "recovery/JournalEntry.h"

namespace quillmor {

namespace {

/// True if `start` and `length` are a range within 0..<`count`. No sum can overflow.
bool isWithin(std::int64_t start, std::int64_t length, std::int64_t count) {
  return start >= 0 && start <= count && length >= 0 && length <= count - start;
}

/// True if the edit can be made in a document of `count` bytes, and leaves caret and selection
/// within it.
bool fits(const JournalEntry& entry, std::int64_t count, std::int64_t limit) {
  if (!isWithin(entry.offset, entry.removedCount, count)) return false;
  const std::int64_t kept = count - entry.removedCount;
  const std::int64_t inserted = std::ssize(entry.inserted);
  if (kept > limit || inserted > limit - kept) return false;
  return isWithin(entry.caretOffset, 0, kept + inserted) &&
         isWithin(entry.selection.start, entry.selection.length, kept + inserted);
}

}  // namespace

ReplayedJournal replayJournal(std::span<const std::uint8_t> file, ByteBuffer base,
                              std::vector<std::int64_t> bookmarks) {
  const RecordHeader header = RecordHeader::decoded(file);
  if (header.kind != RecordKind::journal) throw damagedRecordError();
  const std::int64_t limit = QuillmorResourceLimits::maximumDocumentByteCount();
  const std::int64_t count = base.size();
  ReplayedBytes bytes(base);
  base = {};
  ReplayedJournal replayed{.bytes = {},
                           .places = {.caretOffset = clampedToCount(header.caretOffset, count),
                                      .selection = header.selection.normalized(count),
                                      .bookmarks = std::move(bookmarks)},
                           .lastEdit = header.created};
  JournalChain chain(journalHeaderCheck(file));
  auto rest = file.subspan(RecordHeader::kByteCount);
  JournalEntry entry;
  while (chain.read(rest, entry) && fits(entry, bytes.size(), limit)) {
    bytes.replace(entry.offset, entry.removedCount, entry.inserted);
    adjustBookmarksForEdit(replayed.places.bookmarks, entry.offset, entry.removedCount,
                           std::ssize(entry.inserted));
    replayed.places.caretOffset = entry.caretOffset;
    replayed.places.selection = entry.selection;
    replayed.lastEdit = entry.time;
    ++replayed.entryCount;
    rest = rest.subspan(entry.byteCount());
  }
  replayed.bytes = bytes.take();
  replayed.wasCutOff = !rest.empty();
  return replayed;
}

}  // namespace quillmor
