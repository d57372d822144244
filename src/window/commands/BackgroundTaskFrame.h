#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "base/Result.h"
#include "base/TaskProgress.h"
#include "platform/AlertPresenter.h"
#include "platform/BackgroundExecutor.h"
#include "platform/RunInBackground.h"

namespace quillmor {

/// Shows what the frame is doing; implemented by the owner of the window. Main thread only.
class BusyStateObserver {
 public:
  virtual ~BusyStateObserver() = default;
  virtual void busyStateDidBegin() = 0;
  virtual void showBusyStatus(const std::string& statusText) = 0;
  virtual void busyStateDidEnd() = 0;
  /// `fraction` is 0 to 1, or negative while it is not known.
  virtual void showProgress(double fraction, bool canStop) = 0;
  virtual void hideProgress() = 0;
};

/// The one busy state of a window, and the frame in which its long work runs off the main thread.
/// Main thread only. When the frame has gone, completions of its tasks are not called.
class BackgroundTaskFrame {
 public:
  enum class Stopping { allowed, notAllowed };

  BackgroundTaskFrame(BackgroundExecutor& executor, AlertPresenter& alerts,
                      BusyStateObserver& observer);
  ~BackgroundTaskFrame();
  BackgroundTaskFrame(const BackgroundTaskFrame&) = delete;
  BackgroundTaskFrame& operator=(const BackgroundTaskFrame&) = delete;

  bool isBusy() const { return activity_ != nullptr; }

  /// Enters the busy state and shows `statusText`. While busy already: an alert, and false. When it
  /// throws, the busy state is not entered.
  bool beginBusyStatus(const std::string& statusText, Stopping stopping = Stopping::notAllowed);

  /// Shows another text in the busy state.
  void updateBusyStatus(const std::string& statusText);

  /// Leaves the busy state, whatever may fail in showing that.
  void endBusyStatus() noexcept;

  /// Does `step` of beginning the work of the busy state that is in force; ends it when that fails.
  template <class Step>
  void orEndBusyStatus(Step step) {
    try {
      step();
    } catch (...) {
      endBusyStatus();
      throw;
    }
  }

  /// The progress of the current operation, shared with its work; only while busy.
  std::shared_ptr<TaskProgress> progress() const;

  /// Asks the running work to stop; nothing happens when it cannot be stopped.
  void requestStop();

  /// Runs `work(TaskProgress&)` in the busy state on another thread. The busy state ends before the
  /// completion is called. While busy already, the completion gets the error 409.
  template <class Work, class T = std::invoke_result_t<Work&, TaskProgress&>>
  void run(const std::string& statusText, Work work, std::function<void(Result<T>)> completion) {
    if (!beginBusyStatus(statusText, Stopping::allowed)) return completion(busyError());
    orEndBusyStatus([&] {
      auto task = [work = std::move(work), progress = progress()]() mutable {
        auto value = work(*progress);
        progress->checkpoint();
        return value;
      };
      std::weak_ptr<Activity> activity = activity_;
      runInBackground(
          executor_, std::move(task),
          std::function([this, activity, completion = std::move(completion)](Result<T> result) {
            if (activity.expired()) return;
            endBusyStatus();
            completion(std::move(result));
          }));
    });
  }

  /// 409 "Another operation is already running."
  static Error busyError();
  static bool isBusyError(const Error& error);

 private:
  struct Activity {
    std::shared_ptr<TaskProgress> progress = std::make_shared<TaskProgress>();
    Stopping stopping = Stopping::notAllowed;
    bool isShowingProgress = false;
  };

  void refreshProgressLater(const std::weak_ptr<Activity>& activity,
                            std::chrono::milliseconds delay);

  BackgroundExecutor& executor_;
  AlertPresenter& alerts_;
  BusyStateObserver& observer_;
  std::shared_ptr<Activity> activity_;
};

}  // namespace quillmor
