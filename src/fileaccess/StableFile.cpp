#include "fileaccess/StableFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <new>
#include <utility>
#include <vector>

#include "base/Error.h"
#include "base/OrderedPieces.h"
#include "fileaccess/FileErrors.h"
#include "fileaccess/SystemCalls.h"
#include "fileaccess/URLReservations.h"

namespace quillmor {

using SecureFileAccess::kReadChunkByteCount;

namespace {

/// The threads take so much at a time that they rarely meet on one huge page.
constexpr std::int64_t kSharedPieceBytes = 4 * kMiB;

/// Reads at most `room.size()` bytes; 0 at the end of the file.
std::size_t readSome(const FileDescriptor& handle, std::int64_t offset,
                     std::span<std::uint8_t> room) {
  const ssize_t count = retryingInterrupted(
      [&] { return SystemCalls::current().pread(handle.get(), room.data(), room.size(), offset); });
  if (count < 0) throw lastSystemError();
  return static_cast<std::size_t>(count);
}

std::shared_ptr<ReadReservation> reservedAndChecked(const FileLocation& location) {
  auto reservation = SecureFileAccess::reserveReadURL(location);
  SecureFileAccess::validateReadableFileURL(location);
  return reservation;
}

SecureFileAccess::StableReadHandle openedWithin(const FileLocation& location,
                                                std::optional<std::int64_t> limit) {
  if (limit && *limit < 0) throw Error::quillmor(1205, "The file size limit is invalid.");
  auto opened = SecureFileAccess::openStableReadHandle(location);
  if (limit && SecureFileAccess::byteSize(opened.status) > *limit)
    throw SecureFileAccess::exceedsLimitError(*limit);
  return opened;
}

ByteBuffer roomFor(std::int64_t byteCount) {
  try {
    return ByteBuffer::uninitialized(byteCount);
  } catch (const std::bad_alloc&) {
    // A sparse file can claim any size; that is a failed read, not the end of the process.
    throw Error::outOfMemory();
  }
}

}  // namespace

void SecureFileAccess::validateReadableFileURL(const FileLocation& url) {
  if (!url.isLocalFile()) throw inputIsNotALocalFileError();
  const StableFileStatus status = fileStatus(url, FollowSymlinks::yes);
  if (status.isDirectory())
    throw Error::quillmor(1201, "Directories cannot be opened as binary files.");
  if (!status.isRegularFile()) throw inputIsNotARegularFileError();
  const int result =
      retryingInterrupted([&] { return SystemCalls::current().access(url.path().c_str(), R_OK); });
  if (result != 0) throw Error::quillmor(1202, "The selected file is not readable.");
}

SecureFileAccess::StableReadHandle SecureFileAccess::openStableReadHandle(
    const FileLocation& location) {
  const int descriptor = openFile(location, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) throw lastSystemError("Could not open the selected file for reading.");
  FileDescriptor handle(descriptor);
  const StableFileStatus status = fileStatus(handle);
  if (!status.isRegularFile()) throw inputIsNotARegularFileError();
  return {.handle = std::move(handle), .status = status};
}

StableFile::StableFile(const FileLocation& location, std::optional<std::int64_t> maximumByteCount)
    : StableFile(location, maximumByteCount, reservedAndChecked(location)) {}

StableFile::StableFile(const FileLocation& location, std::optional<std::int64_t> maximumByteCount,
                       std::shared_ptr<ReadReservation> reservation)
    : location_(location),
      maximumByteCount_(maximumByteCount),
      reservation_(std::move(reservation)),
      opened_(openedWithin(location, maximumByteCount)),
      size_(SecureFileAccess::byteSize(opened_.status)) {}

StableFile StableFile::reservedByCaller(const FileLocation& location,
                                        std::optional<std::int64_t> maximumByteCount) {
  return {location, maximumByteCount, nullptr};
}

void StableFile::forgetCachedBytes() const {
  SystemCalls::current().posix_fadvise(opened_.handle.get(), 0, 0, POSIX_FADV_DONTNEED);
}

void StableFile::read(std::int64_t offset, std::span<std::uint8_t> room) const {
  while (!room.empty()) {
    const std::size_t count = readSome(opened_.handle, offset, room);
    if (count == 0) throw SecureFileAccess::changedWhileReadingError();
    offset += static_cast<std::int64_t>(count);
    room = room.subspan(count);
  }
}

void StableFile::requireUnchanged() const {
  std::array<std::uint8_t, 1> next{};
  const bool hasGrown = readSome(opened_.handle, size_, next) > 0;
  const StableFileStatus handleStatus = SecureFileAccess::fileStatus(opened_.handle);
  if (maximumByteCount_ && handleStatus.size > *maximumByteCount_)
    throw SecureFileAccess::exceedsLimitError(*maximumByteCount_);
  if (hasGrown) throw SecureFileAccess::changedWhileReadingError();
  const StableFileStatus pathStatus = SecureFileAccess::fileStatus(location_, FollowSymlinks::yes);
  if (handleStatus != opened_.status || pathStatus != opened_.status)
    throw SecureFileAccess::changedWhileReadingError();
}

ByteBuffer StableFile::readAll(TaskProgress* progress) const {
  if (progress != nullptr) progress->setTotal(size_);
  ByteBuffer bytes = roomFor(size_);
  const auto all = bytes.mutableSpan();
  const std::int64_t pieceCount = (size_ + kSharedPieceBytes - 1) / kSharedPieceBytes;
  forEachPieceInOrder(pieceCount, /*mayShare=*/true, [&](std::int64_t index, int) {
    const std::int64_t end = std::min((index + 1) * kSharedPieceBytes, size_);
    for (std::int64_t begin = index * kSharedPieceBytes; begin < end;) {
      if (progress != nullptr) progress->checkpoint();
      const std::int64_t count = std::min(kReadChunkByteCount, end - begin);
      read(begin, all.subspan(static_cast<std::size_t>(begin), static_cast<std::size_t>(count)));
      if (progress != nullptr) progress->advance(count);
      begin += count;
    }
    return true;
  });
  requireUnchanged();
  return bytes;
}

void StableFile::forEachChunk(const std::function<void(std::span<const std::uint8_t>)>& process,
                              TaskProgress* progress) const {
  std::vector<std::uint8_t> chunk(static_cast<std::size_t>(std::min(kReadChunkByteCount, size_)));
  for (std::int64_t begin = 0; begin < size_; begin += kReadChunkByteCount) {
    if (progress != nullptr) progress->checkpoint();
    const std::int64_t count = std::min(kReadChunkByteCount, size_ - begin);
    const auto room = std::span(chunk).first(static_cast<std::size_t>(count));
    read(begin, room);
    process(room);
    if (progress != nullptr) progress->advance(count);
  }
  requireUnchanged();
}

}  // namespace quillmor
