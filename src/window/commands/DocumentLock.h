#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "base/FileLocation.h"
#include "platform/BackgroundExecutor.h"
#include "recovery/OpenFileLock.h"
#include "recovery/RecordStore.h"

namespace quillmor {

/// The lock by which other processes know that the file of one window's document is open here.
/// Everything that may wait for a disk is done off the main thread. Main thread only; the executor
/// outlives this object.
class DocumentLock {
 public:
  using Completion = std::function<void(std::shared_ptr<const OpenFileLock>)>;

  /// Without `records` there are no locks.
  DocumentLock(BackgroundExecutor& executor, const RecordStore* records)
      : executor_(executor), records_(records) {}
  ~DocumentLock() { release(); }
  DocumentLock(const DocumentLock&) = delete;
  DocumentLock& operator=(const DocumentLock&) = delete;

  /// True if another process may have the file at `location` open: this process has not taken its
  /// lock, or was too late.
  bool mayBeOpenElsewhere(const FileLocation& location) const;

  /// Takes the lock of `location` and hands it over. Without locks the completion gets null, at
  /// once.
  void take(const FileLocation& location, Completion completion);

  /// True if the lock is to be that of another file from now on: the caller takes it and holds it.
  bool follow(const std::optional<FileLocation>& location);

  /// Keeps the lock of the document's file, in the place of the one before.
  void hold(const FileLocation& location, std::shared_ptr<const OpenFileLock> lock);

  /// Ends a lock that was taken and is not to be held; null is fine.
  static void letGo(BackgroundExecutor& executor,
                    std::shared_ptr<const OpenFileLock> lock) noexcept;

  /// Ends the lock that is held.
  void release() noexcept;

 private:
  BackgroundExecutor& executor_;
  const RecordStore* const records_;
  /// The file whose lock is held or being taken.
  std::optional<FileLocation> location_;
  std::shared_ptr<const OpenFileLock> lock_;
};

}  // namespace quillmor
