#pragma once

#include <optional>
#include <utility>

#include "base/ByteBuffer.h"
#include "base/ThreadSafety.h"

namespace quillmor {

/// Hands the bytes of a save from the main thread, which takes the snapshot, to the thread that
/// writes.
class AsyncWriteSnapshotHolder {
 public:
  /// Stores the snapshot for the next write; replaces one that was not taken.
  void store(ByteBuffer snapshot) {
    const MutexLock guard(lock_);
    snapshot_ = std::move(snapshot);
  }

  /// Takes the snapshot out of the holder; absent when there is none.
  std::optional<ByteBuffer> take() {
    const MutexLock guard(lock_);
    return std::exchange(snapshot_, std::nullopt);
  }

 private:
  Mutex lock_;
  std::optional<ByteBuffer> snapshot_ QUILLMOR_GUARDED_BY(lock_);
};

}  // namespace quillmor
