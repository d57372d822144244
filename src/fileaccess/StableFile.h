#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "base/FileLocation.h"
#include "fileaccess/Reservations.h"
#include "fileaccess/StableReading.h"

namespace quillmor {

/// A file of which any part is read when it is needed, and none is kept: for work that one pass
/// answers. What was learnt counts only once `requireUnchanged` has returned.
class StableFile {
 public:
  /// Reserves, checks and opens the file; fails as `SecureFileAccess::readSnapshot` does. The limit
  /// is 0 or more.
  explicit StableFile(const FileLocation& location,
                      std::optional<std::int64_t> maximumByteCount = std::nullopt);

  /// Bytes, as the file had when it was opened.
  std::int64_t size() const { return size_; }

  /// What the file looked like when it was opened.
  const StableFileStatus& status() const { return opened_.status; }

  /// Fills `room` with the bytes from `offset` on, all of which lie within the size. Code 1204 when
  /// the file has become shorter, else a POSIX error. Any thread, several at a time.
  void read(std::int64_t offset, std::span<std::uint8_t> room) const;

  /// Code 1204, or 1205 when it has grown beyond the limit, unless the file is still what was
  /// opened and its path still leads to it.
  void requireUnchanged() const;

 private:
  const FileLocation location_;
  const std::optional<std::int64_t> maximumByteCount_;
  const std::shared_ptr<ReadReservation> reservation_;
  const SecureFileAccess::StableReadHandle opened_;
  const std::int64_t size_;
};

namespace SecureFileAccess {

/// What `readSnapshot` reads, and as safely, but by two threads where the file is large: half of
/// the time to load it is the system's, for making the memory it goes to. Fails as that does.
ReadSnapshot readSnapshotShared(const FileLocation& location,
                                std::optional<std::int64_t> maximumByteCount,
                                TaskProgress* progress = nullptr);

}  // namespace SecureFileAccess

}  // namespace quillmor
