#include "fileaccess/StableFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <new>
#include <utility>

#include "base/ByteUnits.h"
#include "base/OrderedPieces.h"
#include "fileaccess/FileErrors.h"
#include "fileaccess/SystemCalls.h"
#include "fileaccess/UrlReservations.h"

namespace quillmor {

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

SecureFileAccess::StableReadHandle openedFile(const FileLocation& location) {
  SecureFileAccess::validateReadableFileURL(location);
  return SecureFileAccess::openStableReadHandle(location);
}

}  // namespace

StableFile::StableFile(const FileLocation& location, std::optional<std::int64_t> maximumByteCount)
    : location_(location),
      maximumByteCount_(maximumByteCount),
      reservation_(SecureFileAccess::reserveReadURL(location)),
      opened_(openedFile(location)),
      size_(SecureFileAccess::byteSize(opened_.status)) {
  if (maximumByteCount_ && size_ > *maximumByteCount_)
    throw SecureFileAccess::exceedsLimitError(*maximumByteCount_);
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
  const StableFileStatus now = SecureFileAccess::fileStatus(opened_.handle);
  if (maximumByteCount_ && now.size > *maximumByteCount_)
    throw SecureFileAccess::exceedsLimitError(*maximumByteCount_);
  std::array<std::uint8_t, 1> next{};
  const bool hasGrown = readSome(opened_.handle, size_, next) > 0;
  if (hasGrown || now != opened_.status ||
      SecureFileAccess::fileStatus(location_, FollowSymlinks::yes) != opened_.status)
    throw SecureFileAccess::changedWhileReadingError();
}

ReadSnapshot SecureFileAccess::readSnapshotShared(const FileLocation& location,
                                                  std::optional<std::int64_t> maximumByteCount,
                                                  TaskProgress* progress) {
  const StableFile file(location, maximumByteCount);
  if (progress != nullptr) progress->setTotal(file.size());
  ByteBuffer bytes;
  try {
    bytes = ByteBuffer::uninitialized(file.size());
  } catch (const std::bad_alloc&) {
    // A sparse file can claim any size; that is a failed read, not the end of the process.
    throw Error::outOfMemory();
  }
  const auto all = bytes.mutableSpan();
  const std::int64_t pieceCount = (file.size() + kSharedPieceBytes - 1) / kSharedPieceBytes;
  forEachPieceInOrder(pieceCount, /*mayShare=*/true, [&](std::int64_t index, int) {
    const std::int64_t end = std::min((index + 1) * kSharedPieceBytes, file.size());
    for (std::int64_t begin = index * kSharedPieceBytes; begin < end;) {
      if (progress != nullptr) progress->checkpoint();
      const std::int64_t count = std::min(kReadChunkByteCount, end - begin);
      file.read(begin,
                all.subspan(static_cast<std::size_t>(begin), static_cast<std::size_t>(count)));
      if (progress != nullptr) progress->advance(count);
      begin += count;
    }
    return true;
  });
  file.requireUnchanged();
  return {.bytes = std::move(bytes),
          .modificationDate = file.status().modificationDate(),
          .status = file.status()};
}

}  // namespace quillmor
