#include "window/commands/BackgroundTaskFrame.h"

namespace quillmor {

namespace {

constexpr int kBusyCode = 409;
constexpr const char* kBusyMessage = "Another operation is already running.";

/// Short work finishes without a progress bar flashing up.
constexpr std::chrono::milliseconds kProgressDelay{300};
constexpr std::chrono::milliseconds kProgressInterval{50};

}  // namespace

BusyScope& BusyScope::operator=(BusyScope&& other) noexcept {
  if (this == &other) return *this;
  end();
  frame_ = std::exchange(other.frame_, nullptr);
  activity_ = std::exchange(other.activity_, {});
  return *this;
}

void BusyScope::end() noexcept {
  // The activity is the frame's: it goes with it.
  if (!activity_.expired()) frame_->endBusyStatus();
  activity_.reset();
}

BackgroundTaskFrame::BackgroundTaskFrame(BackgroundExecutor& executor, AlertPresenter& alerts,
                                         BusyStateObserver& observer)
    : executor_(executor), alerts_(alerts), observer_(observer) {}

BackgroundTaskFrame::~BackgroundTaskFrame() {
  if (activity_) activity_->progress->requestStop();
}

BusyScope BackgroundTaskFrame::beginBusyStatus(const std::string& statusText, Stopping stopping) {
  if (isBusy()) {
    alerts_.runModal({.messageText = "Operation Busy", .informativeText = kBusyMessage});
    return {};
  }
  activity_ = std::make_shared<Activity>();
  activity_->stopping = stopping;
  BusyScope busy(*this, activity_);
  observer_.busyStateDidBegin();
  observer_.showBusyStatus(statusText);
  refreshProgressLater(activity_, kProgressDelay);
  return busy;
}

void BackgroundTaskFrame::updateBusyStatus(const std::string& statusText) {
  if (isBusy()) observer_.showBusyStatus(statusText);
}

void BackgroundTaskFrame::endBusyStatus() noexcept {
  const bool wasShowingProgress = activity_->isShowingProgress;
  activity_.reset();
  // If this cannot be shown now, the next change shows it; the result of the work must go on.
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
