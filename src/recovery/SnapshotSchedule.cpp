#include "recovery/SnapshotSchedule.h"

#include <algorithm>

namespace quillmor {

void SnapshotSchedule::Edits::add(Time now) {
  if (count == 0) first = now;
  ++count;
}

void SnapshotSchedule::didEdit(Time now) {
  lastEdit_ = now;
  unrecorded_.add(now);
  if (isRunning_) sinceBegin_.add(now);
}

void SnapshotSchedule::didBegin(Time now) {
  isRunning_ = true;
  hasBegun_ = true;
  lastBegin_ = now;
  sinceBegin_ = {};
}

void SnapshotSchedule::didEnd(Time now, Outcome outcome) {
  isRunning_ = false;
  restsUntil_ = std::max(restsUntil_, now + kRestFactor * (now - lastBegin_));
  if (outcome == Outcome::failed) restsUntil_ = std::max(restsUntil_, now + kAfterFailure);
  if (outcome == Outcome::recorded) unrecorded_ = sinceBegin_;
}

void SnapshotSchedule::forgetEdits() {
  unrecorded_ = {};
  sinceBegin_ = {};
}

std::optional<SnapshotSchedule::Time> SnapshotSchedule::due(std::int64_t byteCount,
                                                            bool isOnlyRecord) const {
  if (unrecorded_.count == 0 || isRunning_) return std::nullopt;
  Time due = lastEdit_ + kIdle;
  if (byteCount > kSmallByteCount) {
    if (hasBegun_ && !isOnlyRecord) due = std::max(due, lastBegin_ + kBetweenLarge);
  } else {
    due = std::min(due, unrecorded_.first + kLongest);
    if (unrecorded_.count >= kMostEdits) due = lastEdit_;
  }
  return std::max(due, restsUntil_);
}

}  // namespace quillmor
