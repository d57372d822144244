#pragma once

#include <QObject>
#include <QThreadPool>

#include "platform/BackgroundExecutor.h"

namespace quillmor {

/// Runs work on threads of its own, and functions on the main thread's event loop. Made and
/// destroyed on the main thread; everything else may be called from any thread.
class QtBackgroundExecutor : public BackgroundExecutor {
 public:
  QtBackgroundExecutor();

  /// Waits for work that has started. Functions that have not run on the main thread by then are
  /// dropped.
  ~QtBackgroundExecutor() override;

  void runDetached(std::function<void()> work) override;
  void postToMain(std::function<void()> function) override;
  void postToMainAfter(std::chrono::milliseconds delay, std::function<void()> function) override;

 private:
  QObject mainThreadContext_;  ///< outlives the pool: work may post until its last moment
  QThreadPool pool_;
};

}  // namespace quillmor
