#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "base/Result.h"
#include "document/EditRecorder.h"
#include "document/HexDocument.h"
#include "document/SafetyCopy.h"
#include "platform/BackgroundExecutor.h"
#include "recovery/SnapshotRun.h"
#include "recovery/SnapshotSchedule.h"
#include "recovery/UnsavedRecords.h"

namespace quillmor {

/// Keeps the unsaved changes of one document in records, so that they outlive this process.
///
/// Edits go to a journal, at most once a second; from time to time the whole document goes to a
/// snapshot, which takes the place of the older records (`SnapshotSchedule`). Both are written on
/// other threads, and an edit stops a snapshot under way rather than wait for it. The records go
/// when nothing is unsaved any more, with `discard`, and when nothing is to be kept; else they
/// stay, whatever this process ends with.
///
/// Main thread only. Nothing here throws: a failure is told to the owner, once for each file.
class UnsavedChanges : public EditRecorder {
 public:
  using Time = SnapshotSchedule::Time;

  /// Entries wait for so long after the journal was written.
  static constexpr std::chrono::milliseconds kBetweenFlushes{1000};
  /// An edit waits no longer for the share of a snapshot under way; after that it copies the bytes.
  static constexpr std::chrono::milliseconds kPatience{16};

  /// What its owner does for it.
  struct Owner {
    /// Caret, selection and bookmarks as they are now.
    std::function<EditorPlaces()> places;
    /// Changes could not be recorded. Called once for each file of the document.
    std::function<void(const Error&)> didFail = [](const Error&) {};
    std::function<Time()> now = std::chrono::steady_clock::now;
  };

  /// `executor` outlives this object and its work. Without a `store` nothing is recorded.
  UnsavedChanges(std::shared_ptr<HexDocument> document, BackgroundExecutor& executor,
                 const RecordStore* store, Owner owner);

  // EditRecorder
  void willEdit(HexSelection range, const ByteBuffer* removed) noexcept override;
  void editDidNotHappen() noexcept override { isEditing_ = false; }
  void didEdit(const RecordedEdit& edit) noexcept override;

  /// Name, file or edited state of the document may have changed, or it is that of another file.
  void documentDidChange() noexcept;
  /// The document has other bytes, by no edit.
  void contentWasReplaced() noexcept;

  /// Another program has changed the document's file, so that a journal of the edits since is of no
  /// use alone: what is unsaved goes to a snapshot soon.
  void fileWasChanged() noexcept;

  /// `kept` is called once, on the main thread, when a durable snapshot has all that is unsaved, or
  /// when nothing is to be kept any more. Takes the place of the one before.
  void whenKept(std::function<void()> kept) { kept_ = std::move(kept); }

  /// The user does not want the unsaved changes: their records go.
  void discard() noexcept;

  /// What removes the records, unless the document has changed by then. It waits for a disk, does
  /// not throw, and may be called on any thread, once a file has the document as it is now: so no
  /// crash leaves records of what is saved. Null when nothing is recorded.
  std::function<void()> removalOnceSaved() const;

  /// Tries again to remove what could not be removed, off the main thread.
  void retryRemovals() noexcept;

  /// With false the records go, and there are none until it is called with true; what is unsaved
  /// then is recorded soon.
  void setKeeping(bool isKeeping) noexcept;
  bool isKeeping() const { return isKeeping_; }

  /// Makes everything that is unsaved durable before it returns, for the end of the process. False
  /// when that is not possible; `failure` has the reason, or none where nothing is to be recorded.
  bool keepNow() noexcept;
  const std::optional<Error>& failure() const { return failure_; }

  /// What the records of the document take on the disk.
  std::int64_t bytesOnDisk() const { return records_ ? records_->bytesOnDisk() : 0; }

 private:
  bool isRecording() const { return records_ != nullptr && isKeeping_; }
  void beginRecording(bool hasBase);
  void startAnew() noexcept;
  bool isOriginalFile() const;
  bool hasKnownFile() const;
  std::optional<StableFileStatus> knownStatus() const;
  RecordHeader header(const EditorPlaces& places) const;
  RecordContent snapshotContent() const;

  void proceed() noexcept;
  void beginDue();
  void flush();
  void flushDidEnd(const Result<Done>& outcome);
  void removeRetiredWhenDue(Time now);
  void beginSnapshot();
  void snapshotDidEnd(const Result<bool>& outcome);
  void keep();
  bool hasBase() const;
  void tellKept() noexcept;
  void wakeAt(Time due);
  void report(const Error& error) noexcept;
  template <class Step>
  void recording(Step step) noexcept;

  const std::shared_ptr<HexDocument> document_;
  BackgroundExecutor& executor_;
  const Owner owner_;
  /// Null without a store.
  std::shared_ptr<UnsavedRecords> records_;
  bool isKeeping_ = true;
  SnapshotSchedule schedule_;

  /// True until the first change since the document was as it is on disk.
  bool isAnew_ = true;
  /// The file that the records belong to, as the document last knew it.
  std::optional<FileLocation> location_;
  std::optional<StableFileStatus> status_;
  /// The file as the document knows it, when that is not what is on the disk any more.
  std::optional<StableFileStatus> lostStatus_;
  /// From `willEdit` until the edit has happened or failed; whether the document was as it is on
  /// disk before.
  bool isEditing_ = false;
  bool wasUnedited_ = false;

  /// When records that could not be removed are tried again; absent while there are none.
  std::optional<Time> removalDue_;
  bool isFlushing_ = false;
  std::optional<Time> lastFlush_;
  /// The snapshot under way.
  std::shared_ptr<SnapshotRun> run_;
  /// The earliest wake-up that was asked for.
  std::optional<Time> wake_;
  bool hasReported_ = false;
  std::optional<FileLocation> reportedFor_;
  std::optional<Error> failure_;
  std::function<void()> kept_;
  /// Destroyed first, so that callbacks see that this object has gone.
  std::shared_ptr<Done> life_ = std::make_shared<Done>();
};

}  // namespace quillmor
