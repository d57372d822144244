#include "recovery/RecordFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>

#include "base/ByteUnits.h"
#include "document/QuillmorResourceLimits.h"
#include "fileaccess/SystemCalls.h"
#include "recovery/RecordNames.h"
#include "recovery/RecordStore.h"

namespace quillmor {

namespace {

constexpr mode_t kOthersMode = 0077;
constexpr std::int64_t kChunkByteCount = 8 * kMiB;

/// True for a file that nobody but this user can have made or changed.
bool isTrusted(const struct stat& status) {
  return S_ISREG(status.st_mode) && status.st_uid == ::geteuid() && status.st_nlink == 1 &&
         (status.st_mode & kOthersMode) == 0;
}

void requireFileSizeOf(const RecordHeader& header, std::int64_t fileByteCount) {
  const auto bookmarks = static_cast<std::int64_t>(header.bookmarkCount) * 8;
  const std::int64_t rest = fileByteCount - RecordHeader::kByteCount;
  const bool fits = header.kind == RecordKind::journal
                        ? header.bookmarkCount == 0 && rest >= 0
                        : rest >= bookmarks && header.payloadByteCount == rest - bookmarks;
  if (!fits) throw damagedRecordError();
  if (rest > QuillmorResourceLimits::maximumDocumentByteCount() + bookmarks)
    throw Error::posix(EFBIG);
}

}  // namespace

RecordFile RecordFile::open(const RecordDirectory& directory, const std::string& name) {
  FileDescriptor handle(directory.open(name, O_RDONLY));
  if (!handle.isOpen()) {
    if (errno == ENOENT) throw missingRecordError();
    if (errno == ELOOP) throw untrustedRecordError();
    throw lastSystemError();
  }
  struct stat status {};
  const int known =
      retryingInterrupted([&] { return SystemCalls::current().fstat(handle.get(), &status); });
  if (known != 0) throw lastSystemError();
  if (!isTrusted(status)) throw untrustedRecordError();
  return {std::move(handle), status.st_size, status.st_mtim.tv_sec};
}

bool RecordFile::isHeld(const RecordHeader* header) const {
  const int locked = retryingInterrupted(
      [&] { return SystemCalls::current().flock(handle_.get(), LOCK_SH | LOCK_NB); });
  if (locked == 0) return false;
  if (errno == EWOULDBLOCK) return true;
  const bool isOfThisStart = header != nullptr && header->bootID == currentBootID();
  return isOfThisStart && (::kill(static_cast<pid_t>(header->processID), 0) == 0 || errno == EPERM);
}

void RecordFile::read(std::int64_t offset, std::span<std::uint8_t> room,
                      TaskProgress* progress) const {
  while (!room.empty()) {
    if (progress != nullptr) progress->checkpoint();
    const auto piece = room.first(std::min(room.size(), static_cast<std::size_t>(kChunkByteCount)));
    const ssize_t count = retryingInterrupted([&] {
      return SystemCalls::current().pread(handle_.get(), piece.data(), piece.size(), offset);
    });
    if (count < 0) throw lastSystemError();
    if (count == 0) throw damagedRecordError();
    room = room.subspan(static_cast<std::size_t>(count));
    offset += count;
    if (progress != nullptr) progress->advance(count);
  }
}

RecordHeader RecordFile::header() const {
  if (byteCount_ < RecordHeader::kByteCount) throw damagedRecordError();
  std::array<std::uint8_t, RecordHeader::kByteCount> bytes{};
  read(0, bytes, nullptr);
  RecordHeader header = RecordHeader::decoded(bytes);
  requireFileSizeOf(header, byteCount_);
  return header;
}

}  // namespace quillmor
