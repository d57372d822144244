#include "recovery/UnsavedRecords.h"

#include <new>
#include <utility>

#include "platform/RunInBackground.h"

namespace quillmor {

void UnsavedRecords::setOrigin(RecordHeader origin) {
  const MutexLock guard(queue_);
  origin_ = std::move(origin);
  if (entries_.empty()) return;
  // They stand on the one before.
  entries_ = {};
  needsSnapshot_ = true;
}

void UnsavedRecords::add(const JournalEntry& edit) noexcept {
  const MutexLock guard(queue_);
  ++generation_;
  if (entries_.size() + edit.byteCount() > kLongestQueue) needsSnapshot_ = true;
  // Later edits would stand after a hole.
  if (needsSnapshot_) return;
  try {
    edit.appendTo(entries_);
  } catch (const std::bad_alloc&) {
    needsSnapshot_ = true;
  }
}

void UnsavedRecords::addUnknown() noexcept {
  const MutexLock guard(queue_);
  ++generation_;
  needsSnapshot_ = true;
}

bool UnsavedRecords::needsSnapshot() const {
  const MutexLock guard(queue_);
  return needsSnapshot_;
}

bool UnsavedRecords::hasQueued() const {
  const MutexLock guard(queue_);
  return !entries_.empty();
}

std::uint64_t UnsavedRecords::generation() const {
  const MutexLock guard(queue_);
  return generation_;
}

bool UnsavedRecords::hasSnapshot() const {
  const MutexLock guard(queue_);
  return hasSnapshot_ && !isRemovalDue_;
}

void UnsavedRecords::forget() noexcept {
  const MutexLock guard(queue_);
  ++generation_;
  entries_ = {};
  needsSnapshot_ = false;
  isRemovalDue_ = true;
}

void UnsavedRecords::flush() {
  const MutexLock guard(disk_);
  removeIfDue();
  std::vector<std::uint8_t> entries;
  RecordHeader origin;
  {
    const MutexLock queueGuard(queue_);
    entries.swap(entries_);
    origin = origin_;
  }
  if (entries.empty()) return;
  try {
    append(entries, std::move(origin));
  } catch (...) {
    const MutexLock queueGuard(queue_);
    needsSnapshot_ = true;
    entries_ = {};
    throw;
  }
}

bool UnsavedRecords::install(std::unique_ptr<HeldRecord> snapshot, std::uint64_t generation) {
  const MutexLock guard(disk_);
  removeIfDue();
  bool isCurrent = false;
  {
    const MutexLock queueGuard(queue_);
    isCurrent = generation_ == generation;
    if (isCurrent) {
      entries_ = {};
      needsSnapshot_ = false;
    }
  }
  if (isCurrent) {
    removeRecords();
    snapshot_ = std::move(snapshot);
  } else {
    retire(std::move(snapshot));
  }
  noteState();
  return isCurrent;
}

void UnsavedRecords::removeSaved(std::uint64_t generation) noexcept {
  const MutexLock guard(disk_);
  {
    const MutexLock queueGuard(queue_);
    if (generation_ != generation) return;
    entries_ = {};
    needsSnapshot_ = true;
  }
  removeRecords();
  noteState();
}

void UnsavedRecords::removeRetired() noexcept {
  const MutexLock guard(disk_);
  retryRetired();
  noteState();
}

void UnsavedRecords::removeIfDue() {
  {
    const MutexLock guard(queue_);
    if (!std::exchange(isRemovalDue_, false)) return;
    hasSnapshot_ = false;
  }
  removeRecords();
  noteState();
}

/// Also makes the journal where there is none.
void UnsavedRecords::append(std::vector<std::uint8_t>& entries, RecordHeader origin) {
  if (!journal_) {
    RecordContent content{.header = std::move(origin)};
    if (snapshot_) {
      content.header.baseID = snapshot_->id();
      content.header.payloadDigest = {};
    }
    journal_ = JournalWriter::create(store_, std::move(content));
  }
  const auto appended = resultOf([&] { return journal_->append(entries), Done(); });
  // Nobody should be offered a journal without entries.
  if (!appended.isOk() && journal_->isEmpty())
    retire(std::exchange(journal_, nullptr)->takeRecord());
  noteState();
  if (!appended.isOk()) throw appended.error();
}

/// The journal goes first, because it is of no use without its base.
void UnsavedRecords::removeRecords() noexcept {
  retryRetired();
  if (journal_) retire(std::exchange(journal_, nullptr)->takeRecord());
  retire(std::exchange(snapshot_, nullptr));
}

void UnsavedRecords::retryRetired() noexcept {
  for (auto& record : std::exchange(retired_, {})) retire(std::move(record));
}

/// A record that cannot be removed is kept for the next try. It does no harm: it is older than the
/// one that has taken its place.
void UnsavedRecords::retire(std::unique_ptr<HeldRecord> record) noexcept {
  if (!record) return;
  const auto removed = resultOf([&] { return record->remove(), Done(); });
  if (removed.isOk()) return;
  resultOf([&] { return retired_.push_back(std::move(record)), Done(); });
}

void UnsavedRecords::noteState() noexcept {
  std::int64_t count = snapshot_ ? snapshot_->byteCount() : 0;
  if (journal_) count += journal_->record().byteCount();
  for (const auto& record : retired_) count += record->byteCount();
  bytesOnDisk_.store(count, std::memory_order_relaxed);
  hasRetired_.store(!retired_.empty(), std::memory_order_relaxed);
  const MutexLock guard(queue_);
  hasSnapshot_ = snapshot_ != nullptr;
}

}  // namespace quillmor
