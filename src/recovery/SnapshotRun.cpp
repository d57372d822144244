#include "recovery/SnapshotRun.h"

#include <span>
#include <utility>

namespace quillmor {

/// Lends the bytes of a run; its end gives up the share in them.
class SnapshotRun::Reading {
 public:
  explicit Reading(SnapshotRun& run) : run_(run) {
    const MutexLock guard(run.lock_);
    if (!run.bytes_) throw Error::stopped();
    run.isReading_ = true;
    bytes_ = run.bytes_->span();
  }
  ~Reading() { end(); }
  Reading(const Reading&) = delete;
  Reading& operator=(const Reading&) = delete;

  /// Gives up the share; nothing more happens the second time.
  void end() {
    const MutexLock guard(run_.lock_);
    run_.bytes_.reset();
    run_.isReading_ = false;
    run_.released_.notify_all();
  }

  std::span<const std::uint8_t> bytes() const { return bytes_; }

 private:
  SnapshotRun& run_;
  std::span<const std::uint8_t> bytes_;
};

SnapshotRun::SnapshotRun(ByteBuffer bytes, RecordContent content, std::uint64_t generation)
    : generation_(generation), content_(std::move(content)), bytes_(std::move(bytes)) {}

std::unique_ptr<HeldRecord> SnapshotRun::write(const RecordStore& store) {
  Reading reading(*this);
  // An edit need not wait for the disk.
  content_.payloadWasRead = [&reading] { reading.end(); };
  return store.write(std::move(content_), reading.bytes(), &progress_);
}

bool SnapshotRun::stop(std::chrono::milliseconds patience) noexcept {
  const auto deadline = std::chrono::steady_clock::now() + patience;
  progress_.requestStop();
  const MutexLock guard(lock_);
  while (isReading_) {
    if (released_.wait_until(lock_, deadline) == std::cv_status::timeout) break;
  }
  if (!isReading_) bytes_.reset();
  return !bytes_;
}

}  // namespace quillmor
