#include "cli/StandardOutput.h"

#include <unistd.h>

#include <cerrno>

#include "base/Error.h"

namespace quillmor::cli {

StandardOutput::StandardOutput(const TaskProgress& progress, ProgressLine& progressLine)
    : progress_(progress), progressLine_(progressLine), isTerminal_(::isatty(STDOUT_FILENO) == 1) {}

void StandardOutput::write(std::string_view text) {
  if (text.empty()) return;
  if (isTerminal_) progressLine_.end();
  last_ = text.back();
  while (!text.empty()) {
    const ssize_t count = ::write(STDOUT_FILENO, text.data(), text.size());
    const int error = errno;
    // A signal interrupts the call.
    progress_.checkpoint();
    if (count >= 0) {
      text.remove_prefix(static_cast<std::size_t>(count));
    } else if (error == EPIPE) {
      throw ClosedPipe();
    } else if (error != EINTR) {
      throw Error::posix(error,
                         "Could not write to standard output: " + Error::posix(error).message());
    }
  }
}

void StandardOutput::endLine() {
  if (last_ != '\n') write("\n");
}

}  // namespace quillmor::cli
