#pragma once

#include <functional>
#include <memory>
#include <unordered_map>

#include "base/ThreadSafety.h"

namespace quillmor {

/// A token whose lifetime is a reservation. Safe from any thread.
class FileReservation {
 public:
  /// A token without a reservation, so that everything that can fail is done before anything is
  /// reserved.
  FileReservation() = default;
  /// Releases the reservation if nobody has.
  ~FileReservation();
  FileReservation(const FileReservation&) = delete;
  FileReservation& operator=(const FileReservation&) = delete;

  /// Makes this the token of a reservation that `releaseHandler` undoes; it must not throw.
  void begin(std::function<void()> releaseHandler) noexcept QUILLMOR_EXCLUDES(lock_);

  /// Ends the reservation. Only the first call does anything.
  void release() QUILLMOR_EXCLUDES(lock_);

 private:
  Mutex lock_;
  std::function<void()> releaseHandler_ QUILLMOR_GUARDED_BY(lock_);
};

/// One of any number of reads of a file that run side by side.
class ReadReservation final : public FileReservation {};

/// The only use of a file, for writing it.
class OutputReservation final : public FileReservation {};

/// The read reservations a document has taken while it is being opened. Safe from any thread.
class ReadReservationHolder {
 public:
  /// Keeps `reservation`, which is not null.
  void add(std::shared_ptr<ReadReservation> reservation) QUILLMOR_EXCLUDES(lock_);

  /// Removes one reservation from the holder without releasing it; null when it is not held.
  std::shared_ptr<ReadReservation> remove(const ReadReservation& reservation)
      QUILLMOR_EXCLUDES(lock_);

  /// Releases every held reservation, even one that others share.
  void releaseAll() QUILLMOR_EXCLUDES(lock_);

 private:
  Mutex lock_;
  std::unordered_map<const ReadReservation*, std::shared_ptr<ReadReservation>> reservations_
      QUILLMOR_GUARDED_BY(lock_);
};

}  // namespace quillmor
