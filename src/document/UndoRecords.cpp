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

UndoRecords::Pending UndoRecords::prepareUndoEdit(std::int64_t start, std::int64_t removedCount,
                                                  std::int64_t insertedCount,
                                                  const std::string& actionName,
                                                  std::optional<ByteBuffer> removedBytes) {
  if (manager_ == nullptr) return {};
  const std::int64_t count = storage_().count();
  const std::int64_t clampedStart = clampedToCount(start, count);
  const std::int64_t removed = std::min(count - clampedStart, removedCount);
  // What cannot be recorded takes the history with it: undo must never skip a change.
  if (!manager_->isUndoRegistrationEnabled() || removed > maxUndoSnapshotBytes ||
      insertedCount > maxUndoSnapshotBytes) {
    return {.step = {}, .forgetsHistory = true};
  }
  const std::int64_t replacementLength = std::max<std::int64_t>(insertedCount, 0);
  auto record = captureEdit({clampedStart, removed}, replacementLength,
                            removed != replacementLength, std::move(removedBytes));
  return {.step = stepOf(std::move(record), actionName), .isRecorded = true};
}

UndoRecords::Pending UndoRecords::prepareUndoSnapshot(
    const std::string& actionName, std::optional<std::int64_t> resultingByteCount) {
  if (manager_ == nullptr) return {};
  const std::int64_t count = storage_().count();
  if (!manager_->isUndoRegistrationEnabled() || count > maxUndoSnapshotBytes ||
      resultingByteCount.value_or(count) > maxUndoSnapshotBytes) {
    return {.step = {}, .forgetsHistory = true};
  }
  return {.step = stepOf(captureSnapshot(), actionName), .isRecorded = true};
}

bool UndoRecords::commit(Pending pending) {
  if (pending.forgetsHistory) manager_->removeAllActions(target_);
  if (pending.isRecorded) manager_->commit(std::move(pending.step));
  return pending.isRecorded;
}

bool UndoRecords::registerUndoEdit(std::int64_t start, std::int64_t removedCount,
                                   std::int64_t insertedCount, const std::string& actionName,
                                   std::optional<ByteBuffer> removedBytes) {
  return commit(
      prepareUndoEdit(start, removedCount, insertedCount, actionName, std::move(removedBytes)));
}

bool UndoRecords::registerUndoSnapshot(const std::string& actionName,
                                       std::optional<std::int64_t> resultingByteCount) {
  return commit(prepareUndoSnapshot(actionName, resultingByteCount));
}

void UndoRecords::restoreEditRecord(const UndoEditRecord& record, const std::string& actionName) {
  HexStorage& storage = storage_();
  const HexSelection range =
      HexSelection{record.start, record.replacementLength}.normalized(storage.count());
  // All that takes memory comes first; changing the bytes is the last of it.
  auto bookmarks = record.bookmarks;
  std::optional<ByteBuffer> removed;
  if (range.length <= maxUndoSnapshotBytes) {
    auto inverse = captureEdit(range, record.restoreBytes.size(), record.bookmarks.has_value());
    removed = inverse.restoreBytes;
    manager_->commit(stepOf(std::move(inverse), actionName));
  }
  editor_.willRestore(range, removed ? &*removed : nullptr);
  storage.bytes.replace(range.start, range.length, record.restoreBytes.span());
  if (bookmarks) restoreBookmarks(*std::move(bookmarks));
  restoreCaretAndSelection(record.caretOffset, record.selection);
  editor_.didRestore({.offset = range.start,
                      .removedCount = range.length,
                      .insertedCount = record.restoreBytes.size()});
}

void UndoRecords::restoreStorageSnapshot(const UndoSnapshot& snapshot,
                                         const std::string& actionName) {
  HexStorage& storage = storage_();
  auto bookmarks = snapshot.bookmarks;
  if (storage.count() <= maxUndoSnapshotBytes)
    manager_->commit(stepOf(captureSnapshot(), actionName));
  const ReplacedRange range = replacedRange(storage.bytes.span(), snapshot.bytes.span());
  editor_.willRestore({range.offset, range.removedCount}, nullptr);
  storage.bytes = snapshot.bytes;
  restoreBookmarks(std::move(bookmarks));
  restoreCaretAndSelection(snapshot.caretOffset, snapshot.selection);
  editor_.didRestore(range);
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

UndoManager::PreparedStep UndoRecords::stepOf(UndoEditRecord record,
                                              const std::string& actionName) {
  auto restore = [this, record = std::move(record), actionName] {
    restoreEditRecord(record, actionName);
  };
  return manager_->prepareUndo(target_, std::move(restore), actionName);
}

UndoManager::PreparedStep UndoRecords::stepOf(UndoSnapshot snapshot,
                                              const std::string& actionName) {
  auto restore = [this, snapshot = std::move(snapshot), actionName] {
    restoreStorageSnapshot(snapshot, actionName);
  };
  return manager_->prepareUndo(target_, std::move(restore), actionName);
}

void UndoRecords::restoreBookmarks(std::vector<std::int64_t> offsets) noexcept {
  bookmarks_.replaceAll(std::move(offsets));
  bookmarks_.keepWithin(storage_().count());
}

void UndoRecords::restoreCaretAndSelection(std::int64_t caretOffset,
                                           HexSelection selection) noexcept {
  const std::int64_t count = storage_().count();
  editor_.restoreCaretAndSelection(clampedToCount(caretOffset, count), selection.normalized(count));
}

}  // namespace quillmor
