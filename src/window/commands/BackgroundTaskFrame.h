#pragma once

#include <functional>
#include <memory>
#include <string>
#include <type_traits>
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

class BackgroundTaskFrame;

/// The busy state of a window, as long as this object lives; empty when it was refused. Main thread
/// only; may outlive its frame.
class [[nodiscard]] BusyScope {
 public:
  BusyScope() = default;
  ~BusyScope() { end(); }
  BusyScope(BusyScope&& other) noexcept { *this = std::move(other); }
  BusyScope& operator=(BusyScope&& other) noexcept;

  /// True if the busy state was entered and has not ended.
  explicit operator bool() const { return !activity_.expired(); }

  /// Ends the busy state at once.
  void end() noexcept;

 private:
  friend class BackgroundTaskFrame;
  BusyScope(BackgroundTaskFrame& frame, std::weak_ptr<void> activity)
      : frame_(&frame), activity_(std::move(activity)) {}

  BackgroundTaskFrame* frame_ = nullptr;
  std::weak_ptr<void> activity_;
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

  /// Enters the busy state and shows `statusText`. While busy already: an alert, and an empty
  /// scope. When it throws, the busy state is not entered.
  BusyScope beginBusyStatus(const std::string& statusText,
                            Stopping stopping = Stopping::notAllowed);

  /// Shows another text in the busy state.
  void updateBusyStatus(const std::string& statusText);

  /// The progress of the current operation, shared with its work; only while busy.
  std::shared_ptr<TaskProgress> progress() const;

  /// Asks the running work to stop; nothing happens when it cannot be stopped.
  void requestStop();

  /// Runs `work(TaskProgress&)` in the busy state on another thread. The busy state ends before
  /// `completion`, which takes a `Result` of what the work returns. While busy already, the
  /// completion gets the error 409.
  template <class Work, class T = std::invoke_result_t<Work&, TaskProgress&>>
  void run(const std::string& statusText, Work work,
           std::type_identity_t<std::function<void(Result<T>)>> completion) {
    auto busy = std::make_shared<BusyScope>(beginBusyStatus(statusText, Stopping::allowed));
    if (!*busy) return completion(busyError());
    auto task = [work = std::move(work), progress = progress()]() mutable {
      auto value = work(*progress);
      progress->checkpoint();
      return value;
    };
    runInBackground(executor_, std::move(task),
                    std::function([busy, completion = std::move(completion)](Result<T> result) {
                      // The frame may have gone meanwhile.
                      if (!*busy) return;
                      busy->end();
                      completion(std::move(result));
                    }));
  }

  /// 409 "Another operation is already running."
  static Error busyError();
  static bool isBusyError(const Error& error);

 private:
  friend class BusyScope;

  struct Activity {
    std::shared_ptr<TaskProgress> progress = std::make_shared<TaskProgress>();
    Stopping stopping = Stopping::notAllowed;
    bool isShowingProgress = false;
  };

  /// Leaves the busy state, whatever may fail in showing that.
  void endBusyStatus() noexcept;
  void refreshProgressLater(const std::weak_ptr<Activity>& activity,
                            std::chrono::milliseconds delay);

  BackgroundExecutor& executor_;
  AlertPresenter& alerts_;
  BusyStateObserver& observer_;
  std::shared_ptr<Activity> activity_;
};

}  // namespace quillmor
