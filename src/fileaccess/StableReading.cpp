#include "fileaccess/StableReading.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <new>
#include <string>

#include "base/Error.h"
#include "fileaccess/FileErrors.h"
#include "fileaccess/SystemCalls.h"

namespace quillmor::SecureFileAccess {

namespace {

/// Collects the file in one array that has its final size from the start.
class ByteAccumulator final : public StableContents {
 public:
  void makeContents(std::int64_t byteCount) override {
    try {
      bytes_ = ByteBuffer::uninitialized(byteCount);
    } catch (const std::bad_alloc&) {
      // A sparse file can claim any size; that is a failed read, not the end of the process.
      throw Error::outOfMemory();
    }
  }

  std::span<std::uint8_t> roomForChunk(std::int64_t maximumByteCount) override {
    return bytes_.mutableSpan().subspan(filledByteCount_,
                                        static_cast<std::size_t>(maximumByteCount));
  }

  void append(std::span<const std::uint8_t> chunk) override { filledByteCount_ += chunk.size(); }

  ByteBuffer takeBytes() { return std::move(bytes_); }

 private:
  ByteBuffer bytes_;
  std::size_t filledByteCount_ = 0;
};

/// Reads at most `room.size()` bytes; 0 at the end of the file.
std::size_t readInto(std::span<std::uint8_t> room, const FileDescriptor& handle) {
  const ssize_t count = retryingInterrupted(
      [&] { return SystemCalls::current().read(handle.get(), room.data(), room.size()); });
  if (count < 0) throw lastSystemError();
  return static_cast<std::size_t>(count);
}

/// Reads up to `size` bytes and returns how many there were.
std::int64_t readChunks(const FileDescriptor& handle, std::int64_t size, StableContents& contents,
                        TaskProgress* progress) {
  std::int64_t taken = 0;
  while (taken < size) {
    if (progress != nullptr) progress->checkpoint();
    const auto room = contents.roomForChunk(std::min(size - taken, kReadChunkByteCount));
    const std::size_t count = readInto(room, handle);
    if (count == 0) break;
    contents.append(room.first(count));
    taken += static_cast<std::int64_t>(count);
    if (progress != nullptr) progress->advance(static_cast<std::int64_t>(count));
  }
  return taken;
}

/// Fails when there is a byte behind those that were read.
void validateEndOfFile(const FileDescriptor& handle, std::optional<std::int64_t> limit) {
  std::array<std::uint8_t, 1> next{};
  if (readInto(next, handle) == 0) return;
  if (limit && fileStatus(handle).size > *limit) throw exceedsLimitError(*limit);
  throw changedWhileReadingError();
}

}  // namespace

StableFileStatus stableContents(const FileLocation& location,
                                std::optional<std::int64_t> maximumByteCount,
                                StableContents& contents, TaskProgress* progress) {
  if (maximumByteCount && *maximumByteCount < 0)
    throw Error::quillmor(1205, "The file size limit is invalid.");
  const StableReadHandle file = openStableReadHandle(location);
  const std::int64_t size = byteSize(file.status);
  if (maximumByteCount && size > *maximumByteCount) throw exceedsLimitError(*maximumByteCount);

  if (progress != nullptr) progress->setTotal(size);
  contents.makeContents(size);
  const std::int64_t taken = readChunks(file.handle, size, contents, progress);
  if (taken == size) validateEndOfFile(file.handle, maximumByteCount);

  const StableFileStatus handleStatus = fileStatus(file.handle);
  const StableFileStatus pathStatus = fileStatus(location, FollowSymlinks::yes);
  if (taken != size || handleStatus != file.status || pathStatus != file.status)
    throw changedWhileReadingError();
  return file.status;
}

bool isExceededLimit(const Error& error) {
  return error.domain() == ErrorDomain::quillmor && error.code() == kExceedsLimitCode;
}

ReadSnapshot stableBytes(const FileLocation& location, std::optional<std::int64_t> maximumByteCount,
                         TaskProgress* progress) {
  ByteAccumulator accumulator;
  const StableFileStatus status = stableContents(location, maximumByteCount, accumulator, progress);
  return {.bytes = accumulator.takeBytes(),
          .modificationDate = status.modificationDate(),
          .status = status};
}

void validateReadableFileURL(const FileLocation& url) {
  if (!url.isLocalFile()) throw inputIsNotALocalFileError();
  const StableFileStatus status = fileStatus(url, FollowSymlinks::yes);
  if (status.isDirectory())
    throw Error::quillmor(1201, "Directories cannot be opened as binary files.");
  if (!status.isRegularFile()) throw inputIsNotARegularFileError();
  const int result =
      retryingInterrupted([&] { return SystemCalls::current().access(url.path().c_str(), R_OK); });
  if (result != 0) throw Error::quillmor(1202, "The selected file is not readable.");
}

StableReadHandle openStableReadHandle(const FileLocation& location) {
  const int descriptor = openFile(location, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) throw lastSystemError("Could not open the selected file for reading.");
  FileDescriptor handle(descriptor);
  const StableFileStatus status = fileStatus(handle);
  if (!status.isRegularFile()) throw inputIsNotARegularFileError();
  return {.handle = std::move(handle), .status = status};
}

ReadSnapshot readSnapshot(const FileLocation& location,
                          std::optional<std::int64_t> maximumByteCount, TaskProgress* progress) {
  const auto reservation = reserveReadURL(location);
  validateReadableFileURL(location);
  return stableBytes(location, maximumByteCount, progress);
}

ByteBuffer readData(const FileLocation& location, std::optional<std::int64_t> maximumByteCount,
                    TaskProgress* progress) {
  return readSnapshot(location, maximumByteCount, progress).bytes;
}

}  // namespace quillmor::SecureFileAccess
