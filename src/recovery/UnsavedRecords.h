#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "base/ByteUnits.h"
#include "base/ThreadSafety.h"
#include "recovery/JournalEntry.h"
#include "recovery/JournalWriter.h"
#include "recovery/RecordStore.h"

namespace quillmor {

/// The records of one document with unsaved changes: a snapshot, the journal of the edits since,
/// and the edits that wait to be appended. Without a snapshot the journal begins with the
/// document's file, or with nothing.
///
/// A journal is never continued after an edit that it does not have. Then only a new snapshot helps
/// (`needsSnapshot`), which takes the place of the older records.
///
/// The calls of the first group never wait for a disk; those of the second do, and belong on
/// another thread. Both are safe from any thread and at the same time.
class UnsavedRecords {
 public:
  /// The most bytes of edits that wait; an edit beyond them is left to a snapshot.
  static constexpr std::size_t kLongestQueue = 16 * kMiB;

  explicit UnsavedRecords(RecordStore store) : store_(std::move(store)) {}

  const RecordStore& store() const { return store_; }

  // Without waiting.

  /// What the header of a new journal says of the document, apart from its base. Edits that wait
  /// belong to the one before and call for a snapshot.
  void setOrigin(RecordHeader origin);
  /// Queues an edit, in time and memory of that edit. One that is too large, or for which there is
  /// no memory, calls for a snapshot.
  void add(const JournalEntry& edit) noexcept;
  /// Notes a change that no entry describes.
  void addUnknown() noexcept;
  /// True if there are changes that neither queue nor journal have.
  bool needsSnapshot() const;
  bool hasQueued() const;
  /// Names the present state of the document.
  std::uint64_t generation() const;
  /// Nothing is unsaved any more: the records go with the next call of the second group.
  void forget() noexcept;
  std::int64_t bytesOnDisk() const { return bytesOnDisk_.load(std::memory_order_relaxed); }
  /// True if there is a snapshot, which a journal needs no file beside; false for one that is to
  /// go.
  bool hasSnapshot() const;
  /// True if there are records that could not be removed.
  bool hasRetired() const { return hasRetired_.load(std::memory_order_relaxed); }

  // Waiting for a disk.

  /// Appends what is queued to the journal, which is made where there is none, and makes it
  /// durable. Throws POSIX errors and std::bad_alloc; the journal has ended then.
  void flush();

  /// Puts a snapshot of the state `generation` in the place of the older records. If the document
  /// has changed since, the snapshot goes instead; returns false then.
  bool install(std::unique_ptr<HeldRecord> snapshot, std::uint64_t generation);

  /// Removes the records, because a file has the document in the state `generation`; not when the
  /// document has changed since. Edits that follow are left to a snapshot until `forget`: the file
  /// that a journal of them would begin with is not known yet.
  void removeSaved(std::uint64_t generation) noexcept;

  /// Tries again to remove what could not be removed.
  void removeRetired() noexcept;

 private:
  void removeIfDue() QUILLMOR_REQUIRES(disk_);
  void append(std::vector<std::uint8_t>& entries, RecordHeader origin) QUILLMOR_REQUIRES(disk_);
  void removeRecords() noexcept QUILLMOR_REQUIRES(disk_);
  void retryRetired() noexcept QUILLMOR_REQUIRES(disk_);
  void retire(std::unique_ptr<HeldRecord> record) noexcept QUILLMOR_REQUIRES(disk_);
  void noteState() noexcept QUILLMOR_REQUIRES(disk_);

  const RecordStore store_;
  std::atomic<std::int64_t> bytesOnDisk_{0};
  std::atomic<bool> hasRetired_{false};

  /// Held while records are written; taken before `queue_`.
  mutable Mutex disk_;
  std::unique_ptr<HeldRecord> snapshot_ QUILLMOR_GUARDED_BY(disk_);
  std::unique_ptr<JournalWriter> journal_ QUILLMOR_GUARDED_BY(disk_);
  /// Records that could not be removed.
  std::vector<std::unique_ptr<HeldRecord>> retired_ QUILLMOR_GUARDED_BY(disk_);

  mutable Mutex queue_;
  RecordHeader origin_ QUILLMOR_GUARDED_BY(queue_);
  std::vector<std::uint8_t> entries_ QUILLMOR_GUARDED_BY(queue_);
  bool needsSnapshot_ QUILLMOR_GUARDED_BY(queue_) = false;
  bool isRemovalDue_ QUILLMOR_GUARDED_BY(queue_) = false;
  bool hasSnapshot_ QUILLMOR_GUARDED_BY(queue_) = false;
  std::uint64_t generation_ QUILLMOR_GUARDED_BY(queue_) = 0;
};

}  // namespace quillmor
