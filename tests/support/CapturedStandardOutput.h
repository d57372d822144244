#pragma once

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <string>

namespace quillmor::test {

/// What this process writes to its standard output while the object lives goes into memory.
class CapturedStandardOutput {
 public:
  CapturedStandardOutput()
      : kept_(::dup(STDOUT_FILENO)), file_(::memfd_create("output", MFD_CLOEXEC)) {
    std::fflush(stdout);
    ::dup2(file_, STDOUT_FILENO);
  }
  ~CapturedStandardOutput() {
    std::fflush(stdout);
    ::dup2(kept_, STDOUT_FILENO);
    ::close(kept_);
    ::close(file_);
  }
  CapturedStandardOutput(const CapturedStandardOutput&) = delete;
  CapturedStandardOutput& operator=(const CapturedStandardOutput&) = delete;

  /// Lets writes fail instead, as they do on a full device.
  void failWrites() const {
    const int full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
    ::dup2(full, STDOUT_FILENO);
    ::close(full);
  }

  std::string text() const {
    std::string text;
    std::array<char, 65536> piece{};
    for (ssize_t count = 0;
         (count = ::pread(file_, piece.data(), piece.size(), static_cast<off_t>(text.size()))) > 0;)
      text.append(piece.data(), static_cast<std::size_t>(count));
    return text;
  }

 private:
  int kept_;
  int file_;
};

}  // namespace quillmor::test
