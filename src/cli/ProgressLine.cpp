#include "cli/ProgressLine.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <string_view>
#include <system_error>

namespace quillmor::cli {

namespace {

constexpr std::chrono::milliseconds kFirstDelay(300);
constexpr std::chrono::milliseconds kInterval(100);

/// Back to the start of the line, which is erased (ECMA-48, EL).
constexpr std::string_view kEraseLine = "\r\x1B[K";
constexpr const char* kLineFormat = "\r\x1B[K%s";
constexpr const char* kLineWithPercentFormat = "\r\x1B[K%s %d %%";

void writeToTerminal(std::string_view text) {
  // A line that cannot be shown is no failure of the work.
  [[maybe_unused]] const auto written = ::write(STDERR_FILENO, text.data(), text.size());
}

}  // namespace

ProgressLine::ProgressLine(const TaskProgress& progress) : progress_(progress) {
  if (::isatty(STDERR_FILENO) != 1) return;
  try {
    thread_ = std::thread([this] { run(); });
  } catch (const std::system_error&) {
    // There is no thread left; the work is done without being watched.
  }
}

void ProgressLine::end() {
  if (!thread_.joinable()) return;
  ending_.release();
  thread_.join();
}

void ProgressLine::draw() const noexcept {
  const double fraction = progress_.fraction();
  std::array<char, 64> line{};
  const int length = fraction < 0
                         ? std::snprintf(line.data(), line.size(), kLineFormat, activity_.load())
                         : std::snprintf(line.data(), line.size(), kLineWithPercentFormat,
                                         activity_.load(), static_cast<int>(fraction * 100));
  writeToTerminal({line.data(), std::min(static_cast<std::size_t>(length), line.size() - 1)});
}

void ProgressLine::run() noexcept {
  if (ending_.try_acquire_for(kFirstDelay)) return;
  do {
    draw();
  } while (!ending_.try_acquire_for(kInterval));
  writeToTerminal(kEraseLine);
}

}  // namespace quillmor::cli
