#include "fileaccess/DocumentOutput.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

#include "fileaccess/FileWriting.h"
#include "fileaccess/SystemCalls.h"
#include "platform/RunInBackground.h"

namespace quillmor::SecureFileAccess {

namespace {

constexpr const char* kCouldNotOpen = "Could not open the document output file.";
constexpr WriteMessages kWriteMessages = {
    .couldNotWrite = "Could not write the document data.",
    .stopped = "The document write stopped before all data was saved."};

constexpr int kChangedDestinationCode = 1214;
constexpr mode_t kNewFileMode = 0666;
constexpr int kOpenFlags = O_WRONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC;

void requireLocalFile(const FileLocation& location) {
  if (!location.isLocalFile())
    throw Error::quillmor(1205, "Document output must be a local file URL.");
}

StableFileStatus documentStatus(const FileDescriptor& handle) {
  return fileStatus(handle, "Could not validate the document output file.");
}

/// Opens what was found, or makes the file where nothing was; never the other way round.
FileDescriptor openDestination(const DocumentDestination& destination) {
  const bool isNew = !destination.found;
  const int descriptor =
      isNew ? openFile(destination.location, kOpenFlags | O_CREAT | O_EXCL, kNewFileMode)
            : openFile(destination.location, kOpenFlags);
  if (descriptor >= 0) return FileDescriptor(descriptor);
  if (errno == (isNew ? EEXIST : ENOENT)) throw changedDestinationError();
  throw lastSystemError(kCouldNotOpen);
}

void requireWhatWasFound(const StableFileStatus& opened, const DocumentDestination& destination) {
  if (!opened.isRegularFile())
    throw Error::quillmor(1210, "The document output destination must be a regular file.");
  if (destination.found && opened != *destination.found) throw changedDestinationError();
}

/// While the file is being written, no other Quillmor writes it. Where the file system has no
/// locks, the comparison with what was found has to do.
void lock(const FileDescriptor& handle) {
  const int locked = retryingInterrupted(
      [&] { return SystemCalls::current().flock(handle.get(), LOCK_EX | LOCK_NB); });
  if (locked != 0 && errno == EWOULDBLOCK) throw changedDestinationError();
}

/// Takes room for `byteCount` bytes without changing the file's size. A file system that cannot do
/// so will say of each write whether there is room.
void reserveRoom(const FileDescriptor& handle, std::int64_t byteCount) {
  if (byteCount == 0) return;
  const int reserved = retryingInterrupted([&] {
    return SystemCalls::current().fallocate(handle.get(), FALLOC_FL_KEEP_SIZE, 0, byteCount);
  });
  if (reserved == 0) return;
  if (errno == ENOSPC || errno == EDQUOT || errno == EFBIG)
    throw lastSystemError(kWriteMessages.couldNotWrite);
}

void makeEmpty(const FileDescriptor& handle, FileEffect& effect) {
  const int result =
      retryingInterrupted([&] { return SystemCalls::current().ftruncate(handle.get(), 0); });
  if (result != 0) throw lastSystemError("Could not prepare the document output file.");
  effect = FileEffect::incomplete;
}

/// Writes all of the file that `handle` has just opened. Emptying the file gives its room back, so
/// that it is taken again.
void rewrite(std::span<const std::uint8_t> bytes, const FileDescriptor& handle, FileEffect& effect,
             TaskProgress* progress) {
  makeEmpty(handle, effect);
  reserveRoom(handle, std::ssize(bytes));
  writeAll(bytes, handle, kWriteMessages, progress, WriteBack::afterEachSlice);
  handle.synchronize();
  effect = FileEffect::complete;
}

/// The status of a file that has been written whole. A look that fails leaves the times open, which
/// makes the next save compare the bytes.
StableFileStatus statusAfterWrite(const FileDescriptor& handle, const StableFileStatus& opened,
                                  std::int64_t byteCount) {
  const auto looked = resultOf([&] { return documentStatus(handle); });
  if (looked.isOk()) return looked.value();
  StableFileStatus status = opened;
  status.size = byteCount;
  status.changeSeconds = std::numeric_limits<std::int64_t>::min();
  return status;
}

/// A second descriptor of a file that was made for a write. While it lives, no other file can have
/// the number by which that file is known.
FileDescriptor pinned(const FileDescriptor& handle) {
  const int descriptor = retryingInterrupted(
      [&] { return SystemCalls::current().fcntl(handle.get(), F_DUPFD_CLOEXEC, 0); });
  if (descriptor < 0) throw lastSystemError(kCouldNotOpen);
  return FileDescriptor(descriptor);
}

/// Removes a file that was made for a write, unless its name leads to another file by now.
void removeNewFile(const FileLocation& location, const FileDescriptor& handle,
                   std::optional<FileIdentity> identity) {
  if (!identity) identity = fileStatus(handle).identity();
  const auto now = fileStatusIfExists(location, FollowSymlinks::no);
  if (!now || now->identity() != *identity) return;
  const int removed =
      retryingInterrupted([&] { return SystemCalls::current().unlink(location.path().c_str()); });
  if (removed != 0) throw lastSystemError();
}

/// Puts the old bytes back. False when the name leads to another file by now.
bool putBack(const DocumentDestination& destination, FileEffect& effect) {
  const int descriptor = openFile(destination.location, kOpenFlags);
  if (descriptor < 0 && errno == ENOENT) return false;
  if (descriptor < 0) throw lastSystemError(kCouldNotOpen);
  FileDescriptor handle(descriptor);
  if (documentStatus(handle).identity() != destination.found->identity()) return false;
  rewrite(destination.oldBytes->span(), handle, effect, nullptr);
  handle.close();
  return true;
}

/// Undoes what a failed write has done. Returns what there is to say of the file when that fails.
std::string_view undo(const DocumentDestination& destination, const FileDescriptor& handle,
                      std::optional<FileIdentity> identity, FileEffect& effect) {
  if (!destination.found) {
    const auto removed =
        resultOf([&] { return removeNewFile(destination.location, handle, identity), Done(); });
    effect = removed.isOk() ? FileEffect::undone : FileEffect::incomplete;
    return {};
  }
  constexpr std::string_view kIncomplete = " The file is incomplete now.";
  if (effect == FileEffect::untouched) return {};
  if (!destination.oldBytes) return effect == FileEffect::incomplete ? kIncomplete : "";
  FileEffect oldBytesEffect = FileEffect::untouched;
  const auto undone = resultOf([&] { return putBack(destination, oldBytesEffect); });
  if (oldBytesEffect == FileEffect::complete) effect = FileEffect::undone;
  if (undone.isOk() || effect == FileEffect::undone) return {};
  // What failed may have been no more than closing a file that was complete.
  if (effect == FileEffect::complete && oldBytesEffect == FileEffect::untouched)
    return " The file has the new bytes.";
  effect = FileEffect::incomplete;
  return kIncomplete;
}

/// The room that a file system has for this user; absent when it does not say.
std::optional<std::uint64_t> freeByteCount(const std::string& directory) {
  struct statvfs status {};
  const int known = retryingInterrupted(
      [&] { return SystemCalls::current().statvfs(directory.c_str(), &status); });
  if (known != 0 || status.f_blocks == 0) return std::nullopt;
  return std::uint64_t{status.f_bavail} * status.f_frsize;
}

/// Opening a regular file for writing says all that can be said before it is touched.
void requireOpening(const DocumentDestination& destination) {
  if (!destination.found || !destination.found->isRegularFile()) return;
  const int descriptor = openFile(destination.location, kOpenFlags);
  if (descriptor < 0) throw lastSystemError(kCouldNotOpen);
  FileDescriptor(descriptor).close();
}

}  // namespace

Error changedDestinationError() {
  return Error::quillmor(kChangedDestinationCode,
                         "The file was changed or replaced by another program while the document "
                         "was being saved. Nothing was overwritten; choose the destination again.");
}

bool isChangedDestination(const Error& error) {
  return error.domain() == ErrorDomain::quillmor && error.code() == kChangedDestinationCode;
}

DocumentDestination documentDestination(const FileLocation& location) {
  requireLocalFile(location);
  try {
    return {location, fileStatusIfExists(location, FollowSymlinks::no)};
  } catch (const Error& error) {
    throw Error::posix(error.code(), kCouldNotOpen);
  }
}

void requireWritable(const DocumentDestination& destination, std::int64_t byteCount) {
  requireOpening(destination);
  const std::string couldNotWrite(kWriteMessages.couldNotWrite);
  struct rlimit limit {};
  const bool isLimited = SystemCalls::current().getrlimit(RLIMIT_FSIZE, &limit) == 0 &&
                         limit.rlim_cur != RLIM_INFINITY;
  if (isLimited && std::cmp_greater(byteCount, limit.rlim_cur))
    throw Error::posix(EFBIG, couldNotWrite);
  const std::int64_t growth = byteCount - (destination.found ? destination.found->size : 0);
  const auto room = freeByteCount(destination.location.directory().path());
  if (room && growth > 0 && std::cmp_greater(growth, *room))
    throw Error::posix(ENOSPC, couldNotWrite);
}

StableFileStatus writeDocumentBytes(std::span<const std::uint8_t> bytes,
                                    const DocumentDestination& destination, TaskProgress* progress,
                                    FileEffect* effectOut) {
  FileEffect effect = FileEffect::untouched;
  if (effectOut != nullptr) *effectOut = effect;
  requireLocalFile(destination.location);
  if (progress != nullptr) {
    progress->checkpoint();
    progress->setTotal(std::ssize(bytes));
  }
  FileDescriptor handle = openDestination(destination);
  // Held until the outcome is known.
  std::optional<FileDescriptor> pin;
  std::optional<FileIdentity> identity;
  const auto write = [&] {
    lock(handle);
    const StableFileStatus opened = documentStatus(handle);
    identity = opened.identity();
    if (!destination.found) pin.emplace(pinned(handle));
    requireWhatWasFound(opened, destination);
    if (destination.found && std::ssize(bytes) > opened.size)
      reserveRoom(handle, std::ssize(bytes));
    rewrite(bytes, handle, effect, progress);
    const StableFileStatus status = statusAfterWrite(handle, opened, std::ssize(bytes));
    handle.close();
    if (!destination.found) synchronizeDirectory(destination.location.directory());
    return status;
  };
  const auto written = resultOf(write);
  const std::string_view consequence =
      written.isOk() ? std::string_view() : undo(destination, handle, identity, effect);
  if (effectOut != nullptr) *effectOut = effect;
  if (written.isOk()) return written.value();
  const Error& error = written.error();
  if (consequence.empty()) throw error;
  throw error.withMessage(error.message() + std::string(consequence));
}

}  // namespace quillmor::SecureFileAccess
