#pragma once

#include <atomic>
#include <semaphore>
#include <thread>

#include "base/TaskProgress.h"

namespace quillmor::cli {

/// One line on standard error that shows the progress of the work, from 300 ms on and only on a
/// terminal. Main thread.
class ProgressLine {
 public:
  /// `progress` outlives the object.
  explicit ProgressLine(const TaskProgress& progress);
  ~ProgressLine() { end(); }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  /// What the work is doing now, such as "Reading"; the text outlives the object.
  void setActivity(const char* activity) { activity_ = activity; }

  /// Erases the line for good, so that other text may be written to the terminal.
  void end();

 private:
  void draw() const noexcept;
  void run() noexcept;

  const TaskProgress& progress_;
  std::atomic<const char*> activity_{""};
  std::binary_semaphore ending_{0};
  std::thread thread_;
};

}  // namespace quillmor::cli
