#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <utility>

#include "base/Error.h"
#include "recovery/JournalEntry.h"
#include "recovery/RecordStore.h"

namespace quillmor {

/// A journal on disk and what it takes to append to it. One thread at a time; every call may wait
/// for a disk.
class JournalWriter {
 public:
  /// Makes an empty journal, durably. Throws POSIX errors; nothing remains then.
  static std::unique_ptr<JournalWriter> create(const RecordStore& store, RecordContent content);

  /// Takes over a journal that has no entries yet; `headerCheck` is its `journalHeaderCheck`.
  JournalWriter(std::unique_ptr<HeldRecord> journal, std::uint32_t headerCheck)
      : journal_(std::move(journal)), chain_(headerCheck) {}

  /// Appends entries that `JournalEntry::appendTo` has put together, numbered and chained here, and
  /// makes them durable: one write and one flush for all of them. Throws a POSIX error. How much of
  /// them the journal has is not known then, so nothing is ever appended to it again: every further
  /// call throws the same error.
  void append(std::span<std::uint8_t> entries);

  const HeldRecord& record() const { return *journal_; }
  /// True if no entry is known to be in it.
  bool isEmpty() const { return journal_->byteCount() == RecordHeader::kByteCount; }
  /// Gives the journal away; this object is not used any more.
  std::unique_ptr<HeldRecord> takeRecord() { return std::move(journal_); }

 private:
  std::unique_ptr<HeldRecord> journal_;
  JournalChain chain_;
  std::optional<Error> failure_;
};

}  // namespace quillmor
