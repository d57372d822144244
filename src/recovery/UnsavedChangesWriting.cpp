// When and how what is unsaved gets to the disk.

#include <utility>

#include "platform/RunInBackground.h"
#include "recovery/UnsavedChanges.h"

namespace quillmor {

void UnsavedChanges::proceed() noexcept {
  const auto begun = resultOf([&] { return beginDue(), Done(); });
  if (begun.isOk()) return;
  report(begun.error());
  resultOf([&] { return wakeAt(owner_.now() + SnapshotSchedule::kAfterFailure), Done(); });
}

/// Begins what is due and asks to be woken for what is not. When nothing is left to be written,
/// nothing wakes this process.
void UnsavedChanges::beginDue() {
  const Time now = owner_.now();
  if (records_->hasQueued() && !isFlushing_) {
    const Time due = lastFlush_ ? *lastFlush_ + kBetweenFlushes : now;
    due <= now ? flush() : wakeAt(due);
  }
  if (const auto due = schedule_.due(document_->storage()->count(), records_->needsSnapshot()))
    *due <= now ? beginSnapshot() : wakeAt(*due);
  removeRetiredWhenDue(now);
}

/// Nothing wakes this process while every record that was to go has gone.
void UnsavedChanges::removeRetiredWhenDue(Time now) {
  if (!records_->hasRetired()) return removalDue_.reset();
  if (!removalDue_) removalDue_ = now + SnapshotSchedule::kAfterFailure;
  if (*removalDue_ > now) return wakeAt(*removalDue_);
  removalDue_ = now + SnapshotSchedule::kAfterFailure;
  runInBackground(
      executor_, [records = records_] { return records->removeRetired(), Done(); },
      [this, life = std::weak_ptr(life_)](const Result<Done>&) {
        if (!life.expired()) proceed();
      });
}

void UnsavedChanges::retryRemovals() noexcept {
  if (!records_ || !records_->hasRetired()) return;
  resultOf([&] {
    return executor_.runDetached([records = records_] { records->removeRetired(); }), Done();
  });
}

void UnsavedChanges::flush() {
  lastFlush_ = owner_.now();
  auto work = [records = records_] { return records->flush(), Done(); };
  runInBackground(executor_, std::move(work),
                  [this, life = std::weak_ptr(life_)](const Result<Done>& outcome) {
                    if (!life.expired()) flushDidEnd(outcome);
                  });
  isFlushing_ = true;
}

void UnsavedChanges::flushDidEnd(const Result<Done>& outcome) {
  isFlushing_ = false;
  if (!outcome.isOk()) report(outcome.error());
  proceed();
}

void UnsavedChanges::beginSnapshot() {
  auto run =
      std::make_shared<SnapshotRun>(document_->data(), snapshotContent(), records_->generation());
  auto work = [run, records = records_] {
    return records->install(run->write(records->store()), run->generation());
  };
  runInBackground(executor_, std::move(work),
                  [this, life = std::weak_ptr(life_)](const Result<bool>& outcome) {
                    if (!life.expired()) snapshotDidEnd(outcome);
                  });
  run_ = std::move(run);
  schedule_.didBegin(owner_.now());
}

void UnsavedChanges::snapshotDidEnd(const Result<bool>& outcome) {
  using Outcome = SnapshotSchedule::Outcome;
  run_.reset();
  const bool isStopped = outcome.isOk() ? !outcome.value() : outcome.error().isStopped();
  const bool isRecorded = outcome.isOk() && outcome.value();
  schedule_.didEnd(owner_.now(), isRecorded  ? Outcome::recorded
                                 : isStopped ? Outcome::stopped
                                             : Outcome::failed);
  if (!isRecorded && !isStopped) report(outcome.error());
  if (isRecorded) tellKept();
  proceed();
}

bool UnsavedChanges::keepNow() noexcept {
  failure_.reset();
  if (!document_->isDocumentEdited()) return true;
  if (!isRecording()) return false;
  const auto kept = resultOf([&] { return keep(), Done(); });
  if (!kept.isOk()) failure_ = kept.error();
  return kept.isOk();
}

/// The journal is the shorter way, as long as it has everything.
void UnsavedChanges::keep() {
  if (isAnew_ || !isOriginalFile()) beginRecording(/*hasBase=*/false);
  if (!records_->needsSnapshot()) {
    const auto flushed = resultOf([&] { return records_->flush(), Done(); });
    if (flushed.isOk() && !records_->needsSnapshot() && hasBase()) return;
  }
  if (run_) run_->stop(std::chrono::milliseconds(0));
  const std::uint64_t generation = records_->generation();
  auto snapshot = records_->store().write(snapshotContent(), document_->storage()->bytes.span());
  const bool isRecorded = records_->install(std::move(snapshot), generation);
  schedule_.forgetEdits();
  if (isRecorded) tellKept();
}

/// A journal without a snapshot is of use only beside the very file that it begins with, which
/// another program may have touched since.
bool UnsavedChanges::hasBase() const {
  if (records_->hasSnapshot() || !location_) return true;
  const auto now = resultOf(
      [&] { return SecureFileAccess::fileStatusIfExists(*location_, FollowSymlinks::no); });
  return now.isOk() && now.value() == status_;
}

void UnsavedChanges::tellKept() noexcept {
  if (const auto kept = std::exchange(kept_, nullptr)) resultOf([&] { return kept(), Done(); });
}

void UnsavedChanges::wakeAt(Time due) {
  if (wake_ && *wake_ <= due) return;
  const auto delay = std::chrono::ceil<std::chrono::milliseconds>(due - owner_.now());
  executor_.postToMainAfter(delay, [this, life = std::weak_ptr(life_), due] {
    if (life.expired()) return;
    if (wake_ == due) wake_.reset();
    proceed();
  });
  wake_ = due;
}

void UnsavedChanges::report(const Error& error) noexcept {
  if (std::exchange(hasReported_, true)) return;
  resultOf([&] { return reportedFor_ = document_->location(), Done(); });
  resultOf([&] { return owner_.didFail(error), Done(); });
}

}  // namespace quillmor
