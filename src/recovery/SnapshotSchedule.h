#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "base/ByteUnits.h"

namespace quillmor {

/// When a document with unsaved changes is written into a record as a whole. Knows no clock: every
/// call gets the time. Main thread only.
class SnapshotSchedule {
 public:
  using Time = std::chrono::steady_clock::time_point;
  using Duration = std::chrono::steady_clock::duration;

  /// A record is due when the last edit was so long ago,
  static constexpr Duration kIdle = std::chrono::seconds(5);
  /// or the first one that no record has,
  static constexpr Duration kLongest = std::chrono::seconds(30);
  /// or when there are so many of them.
  static constexpr std::int64_t kMostEdits = 300;
  /// A larger document waits for an idle moment in any case,
  static constexpr std::int64_t kSmallByteCount = 64 * kMiB;
  /// and so long after the beginning of the record before.
  static constexpr Duration kBetweenLarge = std::chrono::minutes(2);
  /// A record that took some time is followed by so many times as much without one: less than 5 %
  /// of the time goes to the disk.
  static constexpr int kRestFactor = 20;
  /// After a failure there is nothing to be gained by trying again at once.
  static constexpr Duration kAfterFailure = std::chrono::seconds(30);

  enum class Outcome { recorded, stopped, failed };

  void didEdit(Time now);

  /// A record of the document as it is now is being written.
  void didBegin(Time now);
  void didEnd(Time now, Outcome outcome);

  /// Everything is saved or recorded elsewhere. The rest after the last record stays.
  void forgetEdits();

  /// When the next record is due, for a document of `byteCount` bytes; absent when every edit is
  /// recorded, and while a record is being written. Edits that no journal has make it the
  /// only record, for which large documents do not wait either.
  std::optional<Time> due(std::int64_t byteCount, bool isOnlyRecord = false) const;

 private:
  /// Edits that no record has, or that came after a record was begun.
  struct Edits {
    std::int64_t count = 0;
    Time first;

    void add(Time now);
  };

  Edits unrecorded_;
  Edits sinceBegin_;
  Time lastEdit_;
  bool isRunning_ = false;
  Time lastBegin_;
  bool hasBegun_ = false;
  Time restsUntil_;
};

}  // namespace quillmor
