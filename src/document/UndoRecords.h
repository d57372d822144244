#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/ByteBuffer.h"
#include "base/ByteUnits.h"
#include "document/Bookmarks.h"
#include "document/HexSelection.h"
#include "document/HexStorage.h"
#include "document/ReplacedRange.h"
#include "document/UndoManager.h"

namespace quillmor {

/// What undo keeps of an edit that replaces one contiguous range.
struct UndoEditRecord {
  /// Offset of the range, within the data.
  std::int64_t start = 0;
  /// Length of the range as it stands after the edit.
  std::int64_t replacementLength = 0;
  /// The bytes that the edit removes.
  ByteBuffer restoreBytes;
  /// The bookmarks before the edit; absent when the edit moves none, because the length stays.
  std::optional<std::vector<std::int64_t>> bookmarks;
  /// Caret and selection before the edit.
  std::int64_t caretOffset = 0;
  HexSelection selection;
};

/// What undo keeps of an operation that changes bytes all over: everything as it was before.
struct UndoSnapshot {
  /// The whole content, shared with the document until it changes.
  ByteBuffer bytes;
  std::vector<std::int64_t> bookmarks;
  std::int64_t caretOffset = 0;
  HexSelection selection;
};

/// The part of an editor that undo records capture and restore.
class UndoRecordsEditor {
 public:
  virtual ~UndoRecordsEditor() = default;
  virtual std::int64_t caretOffset() const = 0;
  virtual HexSelection selection() const = 0;
  /// Takes over a caret and a selection that lie within the changed bytes. Shows nothing yet,
  /// because showing can fail and the step is not complete.
  virtual void restoreCaretAndSelection(std::int64_t caret, HexSelection selection) noexcept = 0;
  /// All that can fail is done but the change of these bytes, which follows. `removed` are these
  /// bytes where there is a copy of them, else null.
  virtual void willRestore(HexSelection range, const ByteBuffer* removed) noexcept = 0;
  /// The last of a step: these bytes have been put back.
  virtual void didRestore(const ReplacedRange& range) noexcept = 0;
};

/// Registers the changes of one editor with its document's undo manager, and undoes them. A record
/// holds at most 64 MiB; a change too large for that clears the history, so that undo never skips a
/// change. Main thread only.
///
/// When memory runs out, each function throws std::bad_alloc and changes nothing. The same holds
/// for the steps, which put back all or nothing.
///
/// The registered steps refer to this object: its owner removes the actions of `target` before it
/// is destroyed.
class UndoRecords {
 public:
  /// The most bytes that one record may hold.
  static constexpr std::int64_t maxUndoSnapshotBytes = 64 * kMiB;

  /// `storage` returns the current storage, since a document may replace it. `manager` may be null
  /// for a document without undo. All references outlive this object.
  UndoRecords(std::function<HexStorage&()> storage, UndoManager* manager, Bookmarks& bookmarks,
              UndoRecordsEditor& editor, const void* target);

  /// What a change becomes in the history once it has happened.
  struct Pending {
    UndoManager::PreparedStep step;
    /// True if the change can be undone.
    bool isRecorded = false;
    /// True if it clears the history instead.
    bool forgetsHistory = false;
  };

  /// Prepares the record of an edit, see `registerUndoEdit`. The history stays as it is.
  Pending prepareUndoEdit(std::int64_t start, std::int64_t removedCount, std::int64_t insertedCount,
                          const std::string& actionName, std::optional<ByteBuffer> removed = {});
  /// The same for `registerUndoSnapshot`.
  Pending prepareUndoSnapshot(const std::string& actionName,
                              std::optional<std::int64_t> resultingByteCount = {});
  /// Notes that the prepared change has happened; true if it can be undone. Takes no memory, except
  /// for what the undo manager's observer does.
  bool commit(Pending pending);

  /// Called before an edit that replaces `removedCount` bytes from `start` with `insertedCount`
  /// others. True if the edit can be undone; otherwise all steps of the target are removed.
  /// `removed`, when given, are the bytes removed, so that they need not be copied again.
  bool registerUndoEdit(std::int64_t start, std::int64_t removedCount, std::int64_t insertedCount,
                        const std::string& actionName, std::optional<ByteBuffer> removed = {});

  /// Called before an operation that changes bytes all over and leaves `resultingByteCount` of them
  /// (as many as now when absent). Returns the same.
  bool registerUndoSnapshot(const std::string& actionName,
                            std::optional<std::int64_t> resultingByteCount = {});

 private:
  void restoreEditRecord(const UndoEditRecord& record, const std::string& actionName);
  void restoreStorageSnapshot(const UndoSnapshot& snapshot, const std::string& actionName);

  UndoEditRecord captureEdit(HexSelection range, std::int64_t replacementLength, bool withBookmarks,
                             std::optional<ByteBuffer> removed = {}) const;
  UndoSnapshot captureSnapshot() const;
  UndoManager::PreparedStep stepOf(UndoEditRecord record, const std::string& actionName);
  UndoManager::PreparedStep stepOf(UndoSnapshot snapshot, const std::string& actionName);
  void restoreBookmarks(std::vector<std::int64_t> offsets) noexcept;
  void restoreCaretAndSelection(std::int64_t caretOffset, HexSelection selection) noexcept;

  std::function<HexStorage&()> storage_;
  UndoManager* manager_;
  Bookmarks& bookmarks_;
  UndoRecordsEditor& editor_;
  const void* target_;
};

}  // namespace quillmor
