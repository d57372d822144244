#include "fileaccess/FileWriting.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <string>

#include "base/Error.h"
#include "fileaccess/SystemCalls.h"

namespace quillmor::SecureFileAccess {

namespace {

std::size_t writeOnce(std::span<const std::uint8_t> bytes, const FileDescriptor& handle,
                      const WriteMessages& messages) {
  const ssize_t count = retryingInterrupted(
      [&] { return SystemCalls::current().write(handle.get(), bytes.data(), bytes.size()); });
  if (count < 0) throw lastSystemError(messages.couldNotWrite);
  if (count == 0) throw Error::posix(0, std::string(messages.stopped));
  return static_cast<std::size_t>(count);
}

}  // namespace

void writeAll(std::span<const std::uint8_t> bytes, const FileDescriptor& handle,
              const WriteMessages& messages, TaskProgress* progress, WriteBack writeBack) {
  constexpr auto kSlice = static_cast<std::size_t>(kWriteSliceByteCount);
  while (!bytes.empty()) {
    auto slice = bytes.first(std::min(bytes.size(), kSlice));
    const bool isWhole = slice.size() == kSlice;
    bytes = bytes.subspan(slice.size());
    while (!slice.empty()) {
      const std::size_t count = writeOnce(slice, handle, messages);
      slice = slice.subspan(count);
      if (progress != nullptr) progress->advance(static_cast<std::int64_t>(count));
    }
    if (isWhole && writeBack == WriteBack::afterEachSlice) beginWritingBack(handle);
  }
}

void beginWritingBack(const FileDescriptor& handle) {
  SystemCalls::current().sync_file_range(handle.get(), 0, 0, SYNC_FILE_RANGE_WRITE);
}

void synchronizeFile(const FileLocation& location) {
  const int descriptor = openFile(location, O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC);
  if (descriptor < 0) throw lastSystemError();
  FileDescriptor(descriptor).synchronize();
  synchronizeDirectory(location.directory());
}

void synchronizeDirectory(const FileLocation& directory) {
  const int descriptor = openFile(directory, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) {
    // Files may be put into a directory that may not be read; there is no other way to flush it.
    if (errno == EACCES) return;
    throw lastSystemError();
  }
  FileDescriptor handle(descriptor);
  const int result =
      retryingInterrupted([&] { return SystemCalls::current().fsync(handle.get()); });
  // EINVAL: network file systems that keep their directories elsewhere have no such operation.
  if (result != 0 && errno != EINVAL) throw lastSystemError();
}

}  // namespace quillmor::SecureFileAccess
