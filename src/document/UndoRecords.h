#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/ByteBuffer.h"
#include "document/Bookmarks.h"
#include "document/HexSelection.h"
#include "document/HexStorage.h"
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
  /// Called after the bytes have changed, with a caret and a selection that lie within them: takes
  /// them over. Shows nothing yet, because showing can fail and the step is not complete.
  virtual void restoreCaretAndSelection(std::int64_t caret, HexSelection selection) noexcept = 0;
};

/// Registers the changes of one editor with its document's undo manager, and undoes them. A record
/// holds at most 64 MiB; a change too large for that clears the history, so that undo never skips a
/// change. Main thread only.
///
/// When memory runs out, each function throws std::bad_alloc and changes nothing; so do the steps,
/// which put back all or nothing.
///
/// The registered steps refer to this object: its owner removes the actions of `target` first when
/// it goes.
class UndoRecords {
 public:
  /// The most bytes that one record may hold.
  static constexpr std::int64_t maxUndoSnapshotBytes = 67108864;

  /// `storage` gives the storage of the moment, since a document may exchange it. `manager` may be
  /// null for a document without undo. All references outlive this object.
  UndoRecords(std::function<HexStorage&()> storage, UndoManager* manager, Bookmarks& bookmarks,
              UndoRecordsEditor& editor, const void* target);

  /// What a change becomes in the history once it has happened.
  struct Pending {
    UndoManager::PreparedStep step;
    /// Whether the change can be undone.
    bool isRecorded = false;
    /// Whether it takes the history with it instead.
    bool forgetsHistory = false;
  };

  /// Prepares the record of an edit, see `registerUndoEdit`. The history stays as it is.
  Pending prepareUndoEdit(std::int64_t start, std::int64_t removedCount, std::int64_t insertedCount,
                          const std::string& actionName, std::optional<ByteBuffer> removed = {});
  /// The same for `registerUndoSnapshot`.
  Pending prepareUndoSnapshot(const std::string& actionName,
                              std::optional<std::int64_t> resultingByteCount = {});
  /// The prepared change has happened; returns whether it can be undone. Takes no memory but for
  /// what the undo manager's observer does.
  bool commit(Pending pending);

  /// To be called before an edit that replaces `removedCount` bytes from `start` by `insertedCount`
  /// others. Returns whether the edit can be undone; otherwise all steps of the target are gone.
  /// `removed`, where given, are the bytes removed, so that they need not be copied once more.
  bool registerUndoEdit(std::int64_t start, std::int64_t removedCount, std::int64_t insertedCount,
                        const std::string& actionName, std::optional<ByteBuffer> removed = {});

  /// To be called before an operation that changes bytes all over and leaves `resultingByteCount`
  /// of them (as many as now when absent). Returns the same.
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
