#pragma once

#include <string_view>

#include "base/TaskProgress.h"
#include "cli/ProgressLine.h"

namespace quillmor::cli {

/// Thrown when nobody reads standard output any more.
struct ClosedPipe {};

/// The program's standard output, unbuffered. Throws `ClosedPipe`, `Error::stopped()` when a stop
/// was requested, and the POSIX error of a failed write. Main thread.
class StandardOutput {
 public:
  /// Both outlive the object. The progress line gives way to the first text on a terminal.
  StandardOutput(const TaskProgress& progress, ProgressLine& progressLine);

  void write(std::string_view text);

  /// Ends the text written so far with a line feed, unless it has one or there is none.
  void endLine();

 private:
  void recover(int error) const;

  const TaskProgress& progress_;
  ProgressLine& progressLine_;
  const bool isTerminal_;
  char last_ = '\n';
};

}  // namespace quillmor::cli
