#include "cli/StandardOutput.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>

#include "base/Error.h"

namespace quillmor::cli {

namespace {

/// Between two looks at the stop request.
constexpr int kWaitForReaderMilliseconds = 100;

}  // namespace

StandardOutput::StandardOutput(const TaskProgress& progress, ProgressLine& progressLine)
    : progress_(progress), progressLine_(progressLine), isTerminal_(::isatty(STDOUT_FILENO) == 1) {}

void StandardOutput::write(std::string_view text) {
  if (text.empty()) return;
  if (isTerminal_) progressLine_.end();
  last_ = text.back();
  while (!text.empty()) {
    progress_.checkpoint();
    const ssize_t count = ::write(STDOUT_FILENO, text.data(), text.size());
    if (count >= 0) {
      text.remove_prefix(static_cast<std::size_t>(count));
    } else {
      recover(errno);
    }
  }
}

/// Returns when it makes sense to write again.
void StandardOutput::recover(int error) const {
  // A signal has interrupted the call; the next checkpoint knows of it.
  if (error == EINTR) return;
  if (error == EPIPE) throw ClosedPipe();
  if (error != EAGAIN) {
    throw Error::posix(error,
                       "Could not write to standard output: " + Error::posix(error).message());
  }
  // Whoever started the program has made the pipe a non-blocking one.
  pollfd output{.fd = STDOUT_FILENO, .events = POLLOUT, .revents = 0};
  ::poll(&output, 1, kWaitForReaderMilliseconds);
}

void StandardOutput::endLine() {
  if (last_ != '\n') write("\n");
}

}  // namespace quillmor::cli
