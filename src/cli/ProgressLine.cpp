#include "cli/ProgressLine.h"

#include <unistd.h>

#include <chrono>
#include <string>
#include <string_view>

namespace quillmor::cli {

namespace {

constexpr std::chrono::milliseconds kFirstDelay(300);
constexpr std::chrono::milliseconds kInterval(100);

/// Back to the start of the line, which is erased (ECMA-48, EL).
constexpr std::string_view kEraseLine = "\r\x1B[K";

void writeToTerminal(std::string_view text) {
  // A line that cannot be shown is no failure of the work.
  [[maybe_unused]] const auto written = ::write(STDERR_FILENO, text.data(), text.size());
}

}  // namespace

ProgressLine::ProgressLine(const TaskProgress& progress) : progress_(progress) {
  if (::isatty(STDERR_FILENO) == 1) thread_ = std::thread([this] { run(); });
}

void ProgressLine::end() {
  if (!thread_.joinable()) return;
  ending_.release();
  thread_.join();
}

void ProgressLine::run() {
  if (ending_.try_acquire_for(kFirstDelay)) return;
  do {
    const double fraction = progress_.fraction();
    std::string line = std::string(kEraseLine) + activity_.load();
    if (fraction >= 0) line += " " + std::to_string(static_cast<int>(fraction * 100)) + " %";
    writeToTerminal(line);
  } while (!ending_.try_acquire_for(kInterval));
  writeToTerminal(kEraseLine);
}

}  // namespace quillmor::cli
