#include "blackbox/cli/RunningCliTest.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <stdexcept>

namespace quillmor::test {

namespace {

constexpr std::int64_t kZeros = 64 * 1024 * 1024;
constexpr int kRules = 512;

}  // namespace

Fifo::Fifo(const std::string& path) {
  if (::mkfifo(path.c_str(), 0600) != 0) throw std::runtime_error("no FIFO");
  descriptor_ = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
}

bool Fifo::hasText() const {
  int count = 0;
  return ::ioctl(descriptor_, FIONREAD, &count) == 0 && count > 0;
}

std::string Fifo::readToEnd() const {
  std::string text;
  std::array<char, 65536> piece{};
  pollfd readable{descriptor_, POLLIN, 0};
  while (::poll(&readable, 1, -1) == 1) {
    const ssize_t count = ::read(descriptor_, piece.data(), piece.size());
    if (count <= 0) break;
    text.append(piece.data(), static_cast<std::size_t>(count));
  }
  return text;
}

void Fifo::close() {
  if (descriptor_ >= 0) ::close(descriptor_);
  descriptor_ = -1;
}

std::unique_ptr<ChildProcess> RunningCliTest::start(const std::string& command) const {
  return std::make_unique<ChildProcess>(std::vector<std::string>{"bash", "-c", command},
                                        environment(), folder.path().string());
}

void RunningCliTest::writeLongWork() const {
  writeZeros("zeros.bin", kZeros);
  folder.append("zeros.bin", "A");
  std::string rules = R"({"find": "41", "replace": "42"})";
  for (int i = 1; i < kRules; ++i) rules += R"(,{"find": "FF", "replace": "00"})";
  folder.write("preset.json", R"({"rules": [)" + rules + "]}");
}

}  // namespace quillmor::test
