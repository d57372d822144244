#include "window/commands/BackgroundTaskFrame.h"

namespace quillmor {

namespace {

constexpr int kBusyCode = 409;
constexpr const char* kBusyMessage = "Another operation is already running.";

/// Short work finishes without a progress bar flashing up.
constexpr std::chrono::milliseconds kProgressDelay{300};
constexpr std::chrono::milliseconds kProgressInterval{50};

}  // namespace

BackgroundTaskFrame::BackgroundTaskFrame(BackgroundExecutor& executor, AlertPresenter& alerts,
                                         BusyStateObserver& observer)
    : executor_(executor), alerts_(alerts), observer_(observer) {}

BackgroundTaskFrame::~BackgroundTaskFrame() {
  if (activity_) activity_->progress->requestStop();
}

bool BackgroundTaskFrame::beginBusyStatus(const std::string& statusText, Stopping stopping) {
  if (isBusy()) {
    alerts_.runModal({.messageText = "Operation Busy", .informativeText = kBusyMessage});
    return false;
  }
  activity_ = std::make_shared<Activity>();
  activity_->stopping = stopping;
  orEndBusyStatus([&] {
    observer_.busyStateDidBegin();
    observer_.showBusyStatus(statusText);
    refreshProgressLater(activity_, kProgressDelay);
  });
  return true;
}

void BackgroundTaskFrame::updateBusyStatus(const std::string& statusText) {
  if (isBusy()) observer_.showBusyStatus(statusText);
}

void BackgroundTaskFrame::endBusyStatus() noexcept {
  if (!isBusy()) return;
  const bool wasShowingProgress = activity_->isShowingProgress;
  activity_.reset();
  // What cannot be shown now is shown with the next change; the outcome of the work must get on.
  resultOf([&] {
    retryingWithoutMemory([&] {
      if (wasShowingProgress) observer_.hideProgress();
      observer_.busyStateDidEnd();
    });
    return Done();
  });
}

std::shared_ptr<TaskProgress> BackgroundTaskFrame::progress() const {
  return activity_ ? activity_->progress : nullptr;
}

void BackgroundTaskFrame::requestStop() {
  if (activity_ && activity_->stopping == Stopping::allowed) activity_->progress->requestStop();
}

Error BackgroundTaskFrame::busyError() {
  return Error::quillmor(kBusyCode, kBusyMessage);
}

bool BackgroundTaskFrame::isBusyError(const Error& error) {
  return error.domain() == ErrorDomain::quillmor && error.code() == kBusyCode;
}

void BackgroundTaskFrame::refreshProgressLater(const std::weak_ptr<Activity>& activity,
                                               std::chrono::milliseconds delay) {
  executor_.postToMainAfter(delay, [this, activity] {
    const auto current = activity.lock();
    if (!current) return;
    current->isShowingProgress = true;
    const TaskProgress& progress = *current->progress;
    observer_.showProgress(progress.fraction(),
                           current->stopping == Stopping::allowed && progress.canBeStopped());
    refreshProgressLater(activity, kProgressInterval);
  });
}

}  // namespace quillmor
