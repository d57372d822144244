// Calls that read a file, ask for its status, change who may use it, and close it.

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdlib>

#include "faults/shim/WatchedCall.h"

using namespace quillmor::test;

namespace {

/// Makes a call on a descriptor, which comes first among the arguments.
template <class Result, class... Arguments>
Result onFile(const char* name, Changes changes, int descriptor, Arguments... arguments) {
  const WatchedCall call(name, descriptor, changes);
  if (call.fails()) return -1;
  return nextFunction<Result(int, Arguments...)>(name)(descriptor, arguments...);
}

/// Makes a call on a path, which comes first among the arguments.
template <class Result, class... Arguments>
Result onPath(const char* name, Changes changes, const char* path, Arguments... arguments) {
  const WatchedCall call(name, AT_FDCWD, path, changes);
  if (call.fails()) return -1;
  return nextFunction<Result(const char*, Arguments...)>(name)(path, arguments...);
}

/// Makes a call on a path below a directory, which come first among the arguments.
template <class... Arguments>
int below(const char* name, Changes changes, int directory, const char* path,
          Arguments... arguments) {
  const WatchedCall call(name, directory, path, changes);
  if (call.fails()) return -1;
  return nextFunction<int(int, const char*, Arguments...)>(name)(directory, path, arguments...);
}

/// A status that tells nothing of the times of a file.
int withoutTimes(int result, struct stat* status) {
  if (result == 0 && isRobbedOf("comparison")) status->st_mtim = status->st_ctim = {};
  return result;
}

}  // namespace

extern "C" {

int close(int descriptor) {
  static auto* const real = nextFunction<int(int)>("close");
  const WatchedCall call("close", descriptor, Changes::something);
  const int error = call.error();
  const int result = real(descriptor);
  if (error == 0) return result;
  // The descriptor is gone all the same, as on a real disk.
  errno = error;
  return -1;
}

int fcntl(int descriptor, int command, ...) {
  va_list arguments;
  va_start(arguments, command);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  return onFile<int>("fcntl", Changes::nothing, descriptor, command, argument);
}
int fcntl64(int, int, ...) __attribute__((alias("fcntl")));

ssize_t read(int descriptor, void* buffer, size_t count) {
  return onFile<ssize_t>("read", Changes::nothing, descriptor, buffer, count);
}

ssize_t pread(int descriptor, void* buffer, size_t count, off_t offset) {
  return onFile<ssize_t>("pread", Changes::nothing, descriptor, buffer, count, offset);
}
ssize_t pread64(int, void*, size_t, off64_t) __attribute__((alias("pread")));

ssize_t getdents64(int descriptor, void* buffer, size_t count) noexcept {
  return onFile<ssize_t>("getdents64", Changes::nothing, descriptor, buffer, count);
}

int flock(int descriptor, int operation) noexcept {
  if (isRobbedOf("lock")) return 0;
  return onFile<int>("flock", Changes::nothing, descriptor, operation);
}

int fstat(int descriptor, struct stat* status) noexcept {
  return withoutTimes(onFile<int>("fstat", Changes::nothing, descriptor, status), status);
}

int stat(const char* path, struct stat* status) noexcept {
  return withoutTimes(onPath<int>("stat", Changes::nothing, path, status), status);
}

int lstat(const char* path, struct stat* status) noexcept {
  return withoutTimes(onPath<int>("lstat", Changes::nothing, path, status), status);
}

int fstatat(int directory, const char* path, struct stat* status, int flags) noexcept {
  return withoutTimes(below("fstatat", Changes::nothing, directory, path, status, flags), status);
}

int statx(int directory, const char* path, int flags, unsigned mask,
          struct statx* status) noexcept {
  return below("statx", Changes::nothing, directory, path, flags, mask, status);
}

int fstatvfs(int descriptor, struct statvfs* status) noexcept {
  return onFile<int>("fstatvfs", Changes::nothing, descriptor, status);
}

int statvfs(const char* path, struct statvfs* status) noexcept {
  return onPath<int>("statvfs", Changes::nothing, path, status);
}

int access(const char* path, int mode) noexcept {
  return onPath<int>("access", Changes::nothing, path, mode);
}

int faccessat(int directory, const char* path, int mode, int flags) noexcept {
  return below("faccessat", Changes::nothing, directory, path, mode, flags);
}

char* realpath(const char* path, char* resolved) noexcept {
  static auto* const real = nextFunction<char*(const char*, char*)>("realpath");
  const WatchedCall call("realpath", AT_FDCWD, path, Changes::nothing);
  return call.fails() ? nullptr : real(path, resolved);
}

int fchmod(int descriptor, mode_t mode) noexcept {
  return onFile<int>("fchmod", Changes::something, descriptor, mode);
}

int fchmodat(int directory, const char* path, mode_t mode, int flags) noexcept {
  return below("fchmodat", Changes::something, directory, path, mode, flags);
}

int fchown(int descriptor, uid_t owner, gid_t group) noexcept {
  return onFile<int>("fchown", Changes::something, descriptor, owner, group);
}

ssize_t fgetxattr(int descriptor, const char* name, void* value, size_t size) noexcept {
  return onFile<ssize_t>("fgetxattr", Changes::nothing, descriptor, name, value, size);
}

ssize_t lgetxattr(const char* path, const char* name, void* value, size_t size) noexcept {
  return onPath<ssize_t>("lgetxattr", Changes::nothing, path, name, value, size);
}

int fsetxattr(int descriptor, const char* name, const void* value, size_t size,
              int flags) noexcept {
  return onFile<int>("fsetxattr", Changes::takesRoom, descriptor, name, value, size, flags);
}

int lsetxattr(const char* path, const char* name, const void* value, size_t size,
              int flags) noexcept {
  return onPath<int>("lsetxattr", Changes::takesRoom, path, name, value, size, flags);
}

int setxattr(const char* path, const char* name, const void* value, size_t size,
             int flags) noexcept {
  return onPath<int>("setxattr", Changes::takesRoom, path, name, value, size, flags);
}

int fremovexattr(int descriptor, const char* name) noexcept {
  return onFile<int>("fremovexattr", Changes::something, descriptor, name);
}

int futimens(int descriptor, const timespec times[2]) noexcept {
  return onFile<int>("futimens", Changes::something, descriptor, times);
}
}
