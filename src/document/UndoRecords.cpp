#include "document/UndoRecords.h"

#include <algorithm>
#include <utility>

#include "base/SaturatingMath.h"

namespace quillmor {

UndoRecords::UndoRecords(std::function<HexStorage&()> storage, UndoManager* manager,
                         Bookmarks& bookmarks, UndoRecordsEditor& editor, const void* target)
    : storage_(std::move(storage)),
      manager_(manager),
      bookmarks_(bookmarks),
      editor_(editor),
      target_(target) {}

bool UndoRecords::registerUndoEdit(std::int64_t start, std::int64_t removedCount,
                                   std::int64_t insertedCount, const std::string& actionName,
                                   std::optional<ByteBuffer> removedBytes) {
  if (manager_ == nullptr) return false;
  if (!manager_->isUndoRegistrationEnabled()) return forgetHistory();
  const std::int64_t count = storage_().count();
  const std::int64_t clampedStart = clampedToCount(start, count);
  const std::int64_t removed = std::min(count - clampedStart, removedCount);
  if (removed > maxUndoSnapshotBytes || insertedCount > maxUndoSnapshotBytes) {
    return forgetHistory();
  }
  const std::int64_t replacementLength = std::max<std::int64_t>(insertedCount, 0);
  registerEditRecord(captureEdit({clampedStart, removed}, replacementLength,
                                 removed != replacementLength, std::move(removedBytes)),
                     actionName);
  return true;
}

bool UndoRecords::registerUndoSnapshot(const std::string& actionName,
                                       std::optional<std::int64_t> resultingByteCount) {
  if (manager_ == nullptr) return false;
  const std::int64_t count = storage_().count();
  if (!manager_->isUndoRegistrationEnabled() || count > maxUndoSnapshotBytes ||
      resultingByteCount.value_or(count) > maxUndoSnapshotBytes) {
    return forgetHistory();
  }
  registerSnapshot(captureSnapshot(), actionName);
  return true;
}

void UndoRecords::restoreEditRecord(const UndoEditRecord& record, const std::string& actionName) {
  HexStorage& storage = storage_();
  const HexSelection range =
      HexSelection{record.start, record.replacementLength}.normalized(storage.count());
  if (range.length <= maxUndoSnapshotBytes) {
    registerEditRecord(captureEdit(range, record.restoreBytes.size(), record.bookmarks.has_value()),
                       actionName);
  }
  storage.bytes.replace(range.start, range.length, record.restoreBytes.span());
  if (record.bookmarks) restoreBookmarks(*record.bookmarks);
  restoreCaretAndSelection(record.caretOffset, record.selection);
}

void UndoRecords::restoreStorageSnapshot(const UndoSnapshot& snapshot,
                                         const std::string& actionName) {
  HexStorage& storage = storage_();
  if (storage.count() <= maxUndoSnapshotBytes) registerSnapshot(captureSnapshot(), actionName);
  storage.bytes = snapshot.bytes;
  restoreBookmarks(snapshot.bookmarks);
  restoreCaretAndSelection(snapshot.caretOffset, snapshot.selection);
}

UndoEditRecord UndoRecords::captureEdit(HexSelection range, std::int64_t replacementLength,
                                        bool withBookmarks,
                                        std::optional<ByteBuffer> removed) const {
  UndoEditRecord record{.start = range.start,
                        .replacementLength = replacementLength,
                        .restoreBytes = removed ? *std::move(removed) : storage_().slice(range),
                        .bookmarks = std::nullopt,
                        .caretOffset = editor_.caretOffset(),
                        .selection = editor_.selection()};
  if (withBookmarks) record.bookmarks = bookmarks_.offsets();
  return record;
}

UndoSnapshot UndoRecords::captureSnapshot() const {
  return {.bytes = storage_().bytes,
          .bookmarks = bookmarks_.offsets(),
          .caretOffset = editor_.caretOffset(),
          .selection = editor_.selection()};
}

void UndoRecords::registerEditRecord(UndoEditRecord record, const std::string& actionName) {
  manager_->registerUndo(target_, [this, record = std::move(record), actionName] {
    restoreEditRecord(record, actionName);
  });
  manager_->setActionName(actionName);
}

void UndoRecords::registerSnapshot(UndoSnapshot snapshot, const std::string& actionName) {
  manager_->registerUndo(target_, [this, snapshot = std::move(snapshot), actionName] {
    restoreStorageSnapshot(snapshot, actionName);
  });
  manager_->setActionName(actionName);
}

void UndoRecords::restoreBookmarks(const std::vector<std::int64_t>& offsets) {
  bookmarks_.replaceAll(offsets);
  bookmarks_.keepWithin(storage_().count());
}

void UndoRecords::restoreCaretAndSelection(std::int64_t caretOffset, HexSelection selection) {
  const std::int64_t count = storage_().count();
  editor_.restoreCaretAndSelection(clampedToCount(caretOffset, count), selection.normalized(count));
}

/// What cannot be recorded takes the history with it: undo must never skip a change.
bool UndoRecords::forgetHistory() {
  manager_->removeAllActions(target_);
  return false;
}

}  // namespace quillmor
