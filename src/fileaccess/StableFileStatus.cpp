#include "fileaccess/StableFileStatus.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <type_traits>

#include "base/Error.h"
#include "fileaccess/SystemCalls.h"

namespace quillmor {

namespace {

constexpr double kNanosecondsPerSecond = 1000000000;

StableFileStatus makeStatus(const struct stat& raw) {
  // Where the system's number were signed, a negative one would have to be refused here.
  static_assert(std::is_unsigned_v<decltype(raw.st_dev)>);
  return {.device = raw.st_dev,
          .inode = raw.st_ino,
          .mode = raw.st_mode,
          .size = raw.st_size,
          .modificationSeconds = raw.st_mtim.tv_sec,
          .modificationNanoseconds = raw.st_mtim.tv_nsec,
          .changeSeconds = raw.st_ctim.tv_sec,
          .changeNanoseconds = raw.st_ctim.tv_nsec};
}

int statusOfPath(const FileLocation& location, FollowSymlinks followSymlinks, struct stat* raw) {
  if (!hasFileSystemRepresentation(location.path())) {
    errno = EINVAL;
    return -1;
  }
  const int flags = followSymlinks == FollowSymlinks::yes ? 0 : AT_SYMLINK_NOFOLLOW;
  return retryingInterrupted([&] {
    return SystemCalls::current().fstatat(AT_FDCWD, location.path().c_str(), raw, flags);
  });
}

}  // namespace

bool StableFileStatus::isRegularFile() const {
  return S_ISREG(mode);
}

bool StableFileStatus::isDirectory() const {
  return S_ISDIR(mode);
}

bool StableFileStatus::isSymbolicLink() const {
  return S_ISLNK(mode);
}

double StableFileStatus::modificationDate() const {
  return static_cast<double>(modificationSeconds) +
         static_cast<double>(modificationNanoseconds) / kNanosecondsPerSecond;
}

namespace SecureFileAccess {

StableFileStatus fileStatus(const FileLocation& location, FollowSymlinks followSymlinks) {
  struct stat raw {};
  if (statusOfPath(location, followSymlinks, &raw) != 0) throw lastSystemError();
  return makeStatus(raw);
}

StableFileStatus fileStatus(const FileDescriptor& handle) {
  struct stat raw {};
  if (retryingInterrupted([&] { return SystemCalls::current().fstat(handle.get(), &raw); }) != 0)
    throw lastSystemError();
  return makeStatus(raw);
}

std::optional<StableFileStatus> fileStatusIfExists(const FileLocation& location,
                                                   FollowSymlinks followSymlinks) {
  struct stat raw {};
  if (statusOfPath(location, followSymlinks, &raw) == 0) return makeStatus(raw);
  if (errno == ENOENT) return std::nullopt;
  throw lastSystemError();
}

std::optional<FileIdentity> identityIfKnown(const FileLocation& location) {
  struct stat raw {};
  if (statusOfPath(location, FollowSymlinks::yes, &raw) != 0) return std::nullopt;
  return makeStatus(raw).identity();
}

std::int64_t byteSize(const StableFileStatus& status) {
  if (status.isRegularFile() && status.size >= 0) return status.size;
  throw Error::quillmor(
      1203, "Only regular files with a supported size can be opened as binary documents.");
}

}  // namespace SecureFileAccess

}  // namespace quillmor
