#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <optional>

#include "base/ByteBuffer.h"
#include "base/TaskProgress.h"
#include "base/ThreadSafety.h"
#include "recovery/RecordStore.h"

namespace quillmor {

/// One record of a whole document being written on another thread, from bytes that it shares with
/// the document until they are written or no longer wanted.
class SnapshotRun {
 public:
  /// `generation` names the state of the document, for `UnsavedRecords`.
  SnapshotRun(ByteBuffer bytes, RecordContent content, std::uint64_t generation);
  SnapshotRun(const SnapshotRun&) = delete;
  SnapshotRun& operator=(const SnapshotRun&) = delete;

  std::uint64_t generation() const { return generation_; }

  /// Writes the record; called once, on any thread. Shares no bytes any more when it returns.
  /// Throws `Error::stopped()` and POSIX errors.
  std::unique_ptr<HeldRecord> write(const RecordStore& store);

  /// Asks the work to stop and waits until it shares the bytes no longer, at most `patience`. True
  /// if it does not. Any thread.
  bool stop(std::chrono::milliseconds patience) noexcept;

 private:
  class Reading;

  const std::uint64_t generation_;
  RecordContent content_;
  TaskProgress progress_;
  Mutex lock_;
  std::condition_variable_any released_;
  std::optional<ByteBuffer> bytes_ QUILLMOR_GUARDED_BY(lock_);
  bool isReading_ QUILLMOR_GUARDED_BY(lock_) = false;
};

}  // namespace quillmor
