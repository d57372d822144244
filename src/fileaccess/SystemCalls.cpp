#include "fileaccess/SystemCalls.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace quillmor {

namespace {

SystemCalls& realSystemCalls() {
  static SystemCalls calls;
  return calls;
}

constinit std::atomic<SystemCalls*> replacementCalls{nullptr};

}  // namespace

int SystemCalls::open(const char* path, int flags, mode_t mode) {
  return ::open(path, flags, mode);
}

int SystemCalls::openat(int directory, const char* path, int flags, mode_t mode) {
  return ::openat(directory, path, flags, mode);
}

ssize_t SystemCalls::pread(int descriptor, void* buffer, std::size_t count, off_t offset) {
  return ::pread(descriptor, buffer, count, offset);
}

ssize_t SystemCalls::write(int descriptor, const void* buffer, std::size_t count) {
  return ::write(descriptor, buffer, count);
}

ssize_t SystemCalls::pwrite(int descriptor, const void* buffer, std::size_t count, off_t offset) {
  return ::pwrite(descriptor, buffer, count, offset);
}

int SystemCalls::close(int descriptor) {
  return ::close(descriptor);
}

int SystemCalls::posix_fadvise(int descriptor, off_t offset, off_t length, int advice) {
  return ::posix_fadvise(descriptor, offset, length, advice);
}

int SystemCalls::fstat(int descriptor, struct stat* status) {
  return ::fstat(descriptor, status);
}

int SystemCalls::fstatat(int directory, const char* path, struct stat* status, int flags) {
  return ::fstatat(directory, path, status, flags);
}

int SystemCalls::access(const char* path, int mode) {
  return ::access(path, mode);
}

char* SystemCalls::realpath(const char* path, char* resolved) {
  return ::realpath(path, resolved);
}

int SystemCalls::ftruncate(int descriptor, off_t length) {
  return ::ftruncate(descriptor, length);
}

int SystemCalls::fallocate(int descriptor, int mode, off_t offset, off_t length) {
  return ::fallocate(descriptor, mode, offset, length);
}

int SystemCalls::sync_file_range(int descriptor, off_t offset, off_t length, unsigned flags) {
  return ::sync_file_range(descriptor, offset, length, flags);
}

int SystemCalls::statvfs(const char* path, struct statvfs* status) {
  return ::statvfs(path, status);
}

int SystemCalls::fchmod(int descriptor, mode_t mode) {
  return ::fchmod(descriptor, mode);
}

int SystemCalls::fsync(int descriptor) {
  return ::fsync(descriptor);
}

int SystemCalls::rename(const char* from, const char* to) {
  return ::rename(from, to);
}

int SystemCalls::renameat(int fromDirectory, const char* from, int toDirectory, const char* to) {
  return ::renameat(fromDirectory, from, toDirectory, to);
}

int SystemCalls::renameat2(int fromDirectory, const char* from, int toDirectory, const char* to,
                           unsigned flags) {
  return ::renameat2(fromDirectory, from, toDirectory, to, flags);
}

int SystemCalls::link(const char* from, const char* to) {
  return ::link(from, to);
}

int SystemCalls::unlink(const char* path) {
  return ::unlink(path);
}

int SystemCalls::unlinkat(int directory, const char* path, int flags) {
  return ::unlinkat(directory, path, flags);
}

int SystemCalls::mkdir(const char* path, mode_t mode) {
  return ::mkdir(path, mode);
}

ssize_t SystemCalls::getrandom(void* buffer, std::size_t count, unsigned flags) {
  return ::getrandom(buffer, count, flags);
}

int SystemCalls::getrlimit(int resource, struct rlimit* limit) {
  return ::getrlimit(static_cast<__rlimit_resource>(resource), limit);
}

int SystemCalls::fcntl(int descriptor, int command, int argument) {
  return ::fcntl(descriptor, command, argument);
}

int SystemCalls::flock(int descriptor, int operation) {
  return ::flock(descriptor, operation);
}

ssize_t SystemCalls::getdents64(int descriptor, void* buffer, std::size_t count) {
  return ::getdents64(descriptor, buffer, count);
}

int SystemCalls::fchown(int descriptor, uid_t owner, gid_t group) {
  return ::fchown(descriptor, owner, group);
}

ssize_t SystemCalls::lgetxattr(const char* path, const char* name, void* value, std::size_t size) {
  return ::lgetxattr(path, name, value, size);
}

int SystemCalls::fsetxattr(int descriptor, const char* name, const void* value, std::size_t size,
                           int flags) {
  return ::fsetxattr(descriptor, name, value, size, flags);
}

int SystemCalls::fremovexattr(int descriptor, const char* name) {
  return ::fremovexattr(descriptor, name);
}

SystemCalls& SystemCalls::current() {
  SystemCalls* const replacement = replacementCalls.load(std::memory_order_acquire);
  return replacement != nullptr ? *replacement : realSystemCalls();
}

ScopedSystemCalls::ScopedSystemCalls(SystemCalls& replacement)
    : previous_(replacementCalls.exchange(&replacement, std::memory_order_acq_rel)) {}

ScopedSystemCalls::~ScopedSystemCalls() {
  replacementCalls.store(previous_, std::memory_order_release);
}

Error lastSystemError(std::string_view message) {
  const int errorNumber = errno;
  return Error::posix(errorNumber, std::string(message));
}

Error lastSystemError() {
  return Error::posix(errno);
}

bool hasFileSystemRepresentation(std::string_view path) {
  return path.find('\0') == std::string_view::npos;
}

int openFile(const FileLocation& location, int flags, mode_t mode) {
  if (!hasFileSystemRepresentation(location.path())) {
    errno = EINVAL;
    return -1;
  }
  return retryingInterrupted(
      [&] { return SystemCalls::current().open(location.path().c_str(), flags, mode); });
}

}  // namespace quillmor
