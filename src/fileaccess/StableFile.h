#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>

#include "base/ByteBuffer.h"
#include "base/ByteUnits.h"
#include "base/FileLocation.h"
#include "base/TaskProgress.h"
#include "fileaccess/FileDescriptor.h"
#include "fileaccess/Reservations.h"
#include "fileaccess/StableFileStatus.h"

namespace quillmor {

namespace SecureFileAccess {

/// The largest number of bytes asked of the system at once.
inline constexpr std::int64_t kReadChunkByteCount = kMiB;

/// Checks a location before it is opened: code 1200 (not a local file), 1201 (a directory), 1203
/// (not a regular file), 1202 (not readable), or the POSIX error of its status.
void validateReadableFileURL(const FileLocation& url);

struct StableReadHandle {
  FileDescriptor handle;
  /// Taken from the open descriptor.
  StableFileStatus status;
};

/// Opens a regular file for reading without ever waiting for a FIFO or a device. Code 1203 or a
/// POSIX error.
StableReadHandle openStableReadHandle(const FileLocation& location);

}  // namespace SecureFileAccess

/// An open file that is read so that the bytes are those of one moment: never a mixture of two
/// states, never more bytes than allowed, never anything but a regular file. What was learnt from
/// the bytes counts only after `requireUnchanged`, which the reads of the whole file call
/// themselves.
class StableFile {
 public:
  /// Reserves the file for reading, checks and opens it. Fails as `reserveReadURL` and
  /// `validateReadableFileURL` do, then with code 1203, 1205 or a POSIX error. Without a
  /// `maximumByteCount` there is no limit.
  explicit StableFile(const FileLocation& location,
                      std::optional<std::int64_t> maximumByteCount = std::nullopt);

  /// Opens the file for a caller who holds a reservation of it. Nothing is checked before.
  static StableFile reservedByCaller(const FileLocation& location,
                                     std::optional<std::int64_t> maximumByteCount);

  /// Bytes, as the file had when it was opened.
  std::int64_t size() const { return size_; }

  /// What the file looked like when it was opened.
  const StableFileStatus& status() const { return opened_.status; }

  /// Asks the system to forget what it holds of the file in memory, so that the next read is from
  /// the disk. Bytes that have been flushed only; a system that cannot do so reads as ever.
  void forgetCachedBytes() const;

  /// Fills `room` with the bytes from `offset` on, all of which lie within the size. Code 1204 when
  /// the file has become shorter, else a POSIX error. Any thread, several at a time.
  void read(std::int64_t offset, std::span<std::uint8_t> room) const;

  /// Code 1204, or 1205 when it has grown beyond the limit, unless the file is still what was
  /// opened and its path still leads to it.
  void requireUnchanged() const;

  /// Returns all bytes, read straight into place. Two threads share the work where the file is
  /// large: half of the time is the system's, for making the memory. The total of `progress`
  /// becomes the size; a stop request ends the read before the next chunk.
  ByteBuffer readAll(TaskProgress* progress = nullptr) const;

  /// Calls `process` with all bytes in order, in chunks of at most `kReadChunkByteCount`; each is
  /// valid during the call. What `process` throws ends the read and is passed on. Advances
  /// `progress`, whose total is the caller's to set; a stop request ends the read before the next
  /// chunk.
  void forEachChunk(const std::function<void(std::span<const std::uint8_t>)>& process,
                    TaskProgress* progress = nullptr) const;

 private:
  StableFile(const FileLocation& location, std::optional<std::int64_t> maximumByteCount,
             std::shared_ptr<ReadReservation> reservation);

  const FileLocation location_;
  const std::optional<std::int64_t> maximumByteCount_;
  /// Null when the caller holds one.
  const std::shared_ptr<ReadReservation> reservation_;
  const SecureFileAccess::StableReadHandle opened_;
  const std::int64_t size_;
};

}  // namespace quillmor
