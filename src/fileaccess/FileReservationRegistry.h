#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "base/SaturatingMath.h"
#include "base/ThreadSafety.h"
#include "fileaccess/FileIdentity.h"
#include "fileaccess/Reservations.h"

namespace quillmor {

/// The two names under which a file is reserved.
struct ReservationKeys {
  /// The standardized path with symbolic links resolved.
  std::string canonicalPath;
  /// Absent when the status cannot be read, for instance because the file does not exist yet.
  std::optional<FileIdentity> identity;
};

/// Who reads and who writes which file. A file is known by its path and by its identity, so that
/// two paths to one file collide. Reads can share a file; an output excludes everything else.
///
/// The application has one, `SecureFileAccess::fileReservationRegistry()`. Safe from any thread. It
/// outlives the reservations it returns.
class FileReservationRegistry {
 public:
  /// `maximumReadCount` is the largest number of reads of one file; it only keeps the counter from
  /// overflowing.
  explicit FileReservationRegistry(std::int64_t maximumReadCount = kMaxInt64);

  /// Code 1208 while the file is being written, 1209 when there are too many reads of it.
  std::shared_ptr<ReadReservation> reserveRead(const ReservationKeys& keys,
                                               const std::string& displayName)
      QUILLMOR_EXCLUDES(lock_);

  /// Code 1207 while the file is being read or written.
  std::shared_ptr<OutputReservation> reserveOutput(const ReservationKeys& keys,
                                                   const std::string& displayName)
      QUILLMOR_EXCLUDES(lock_);

  /// Code 1208 while the file is being written; takes no reservation.
  void validateIsNotReservedForOutput(const ReservationKeys& keys, const std::string& displayName)
      QUILLMOR_EXCLUDES(lock_);

 private:
  enum class Admission { granted, beingWritten, tooManyReads };

  Admission admitRead(const ReservationKeys& keys) QUILLMOR_EXCLUDES(lock_);
  bool admitOutput(const ReservationKeys& keys) QUILLMOR_EXCLUDES(lock_);
  /// Both keys, or none when memory runs out.
  void addRead(const ReservationKeys& keys) QUILLMOR_REQUIRES(lock_);
  void addOutput(const ReservationKeys& keys) QUILLMOR_REQUIRES(lock_);
  void releaseRead(const ReservationKeys& keys) QUILLMOR_EXCLUDES(lock_);
  void releaseOutput(const ReservationKeys& keys) QUILLMOR_EXCLUDES(lock_);
  bool isReservedForOutput(const ReservationKeys& keys) const QUILLMOR_REQUIRES(lock_);
  bool isReservedForReading(const ReservationKeys& keys) const QUILLMOR_REQUIRES(lock_);

  const std::int64_t maximumReadCount_;
  Mutex lock_;
  std::unordered_set<std::string> outputPaths_ QUILLMOR_GUARDED_BY(lock_);
  std::unordered_set<FileIdentity> outputIdentities_ QUILLMOR_GUARDED_BY(lock_);
  /// Counts are at least 1; a key whose count would become 0 is removed.
  std::unordered_map<std::string, std::int64_t> readPathCounts_ QUILLMOR_GUARDED_BY(lock_);
  std::unordered_map<FileIdentity, std::int64_t> readIdentityCounts_ QUILLMOR_GUARDED_BY(lock_);
};

namespace SecureFileAccess {

/// The registry of this process, made on first use and never destroyed.
FileReservationRegistry& fileReservationRegistry();

}  // namespace SecureFileAccess

}  // namespace quillmor
