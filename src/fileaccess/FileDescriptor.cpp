#include "fileaccess/FileDescriptor.h"

#include <utility>

#include "fileaccess/SystemCalls.h"

namespace quillmor {

FileDescriptor::FileDescriptor(FileDescriptor&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)) {}

FileDescriptor::~FileDescriptor() {
  closeOnce();
}

void FileDescriptor::synchronize() const {
  if (retryingInterrupted([this] { return SystemCalls::current().fsync(descriptor_); }) != 0)
    throw lastSystemError();
}

void FileDescriptor::close() {
  if (closeOnce() != 0 && errno != EINTR) throw lastSystemError();
}

int FileDescriptor::closeOnce() {
  if (!isOpen()) return 0;
  return SystemCalls::current().close(std::exchange(descriptor_, -1));
}

}  // namespace quillmor
