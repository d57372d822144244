// Calls that change or flush the bytes of a file.

#include <fcntl.h>
#include <linux/falloc.h>
#include <sys/ioctl.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <vector>

#include "faults/shim/WatchedCall.h"

using namespace quillmor::test;

namespace {

/// Makes a call that flushes nothing: no process can see whether a file has reached the disk, and
/// waiting for it would be most of the time of the tests. What a flush is for is told by the log.
int flush(const char* name, int descriptor) {
  if (isRobbedOf("flush")) return 0;
  const WatchedCall call(name, descriptor, Changes::takesRoom);
  if (call.fails()) return -1;
  if (call.isLogged()) logEffect(EffectKind::synchronize, fileOf(descriptor).inode, call.path());
  if (call.counts()) return 0;
  return nextFunction<int(int)>(name)(descriptor);
}

/// True for a write that the program believes in and that does not happen.
bool isSwallowed(const WatchedCall& call) {
  return isRobbedOf("record") && isRecord(call.path());
}

/// Logs that a call may have changed the size of a file.
void logNewSize(int descriptor, const WatchedFile& before, const std::string& path) {
  const WatchedFile after = fileOf(descriptor);
  if (after.size != before.size) logSize(after.inode, path, after.size);
}

}  // namespace

extern "C" {

ssize_t write(int descriptor, const void* data, size_t count) {
  static auto* const real = nextFunction<ssize_t(int, const void*, size_t)>("write");
  const WatchedCall call("write", descriptor, Changes::takesRoom);
  if (call.fails()) return -1;
  if (isSwallowed(call)) return static_cast<ssize_t>(count);
  const std::int64_t offset = call.isLogged() ? positionOf(descriptor) : 0;
  const ssize_t written = real(descriptor, data, call.shortened(count));
  if (call.isLogged() && written > 0)
    logData(fileOf(descriptor).inode, call.path(), offset, data, static_cast<std::size_t>(written));
  return written;
}

ssize_t pwrite(int descriptor, const void* data, size_t count, off_t offset) {
  static auto* const real = nextFunction<ssize_t(int, const void*, size_t, off_t)>("pwrite");
  const WatchedCall call("pwrite", descriptor, Changes::takesRoom);
  if (call.fails()) return -1;
  if (isSwallowed(call)) return static_cast<ssize_t>(count);
  const ssize_t written = real(descriptor, data, call.shortened(count), offset);
  if (call.isLogged() && written > 0)
    logData(fileOf(descriptor).inode, call.path(), offset, data, static_cast<std::size_t>(written));
  return written;
}

ssize_t writev(int descriptor, const iovec* parts, int count) {
  static auto* const real = nextFunction<ssize_t(int, const iovec*, int)>("writev");
  if (const WatchedCall call("writev", descriptor, Changes::takesRoom); call.counts()) {
    if (call.fails()) return -1;
    std::vector<char> data;
    for (const iovec* part = parts; part != parts + count; ++part) {
      const char* const begin = static_cast<const char*>(part->iov_base);
      data.insert(data.end(), begin, begin + part->iov_len);
    }
    const std::int64_t offset = positionOf(descriptor);
    const ssize_t written = nextFunction<ssize_t(int, const void*, size_t)>("write")(
        descriptor, data.data(), call.shortened(data.size()));
    if (call.isLogged() && written > 0)
      logData(fileOf(descriptor).inode, call.path(), offset, data.data(),
              static_cast<std::size_t>(written));
    return written;
  }
  return real(descriptor, parts, count);
}

int ftruncate(int descriptor, off_t size) noexcept {
  static auto* const real = nextFunction<int(int, off_t)>("ftruncate");
  const WatchedCall call("ftruncate", descriptor, Changes::something);
  if (call.fails()) return -1;
  const int result = real(descriptor, size);
  if (call.isLogged() && result == 0) logSize(fileOf(descriptor).inode, call.path(), size);
  return result;
}

int truncate(const char* path, off_t size) noexcept {
  static auto* const real = nextFunction<int(const char*, off_t)>("truncate");
  const WatchedCall call("truncate", AT_FDCWD, path, Changes::something);
  if (call.fails()) return -1;
  const int result = real(path, size);
  if (call.isLogged() && result == 0) logSize(fileAt(call.path()).inode, call.path(), size);
  return result;
}

int fallocate(int descriptor, int mode, off_t offset, off_t length) {
  static auto* const real = nextFunction<int(int, int, off_t, off_t)>("fallocate");
  const WatchedCall call("fallocate", descriptor, Changes::takesRoom);
  if (call.fails()) return -1;
  const WatchedFile before = call.isLogged() ? fileOf(descriptor) : WatchedFile{};
  const int result = real(descriptor, mode, offset, length);
  if (!call.isLogged() || result != 0) return result;
  if ((mode & ~FALLOC_FL_KEEP_SIZE) != 0)
    logEffect(EffectKind::notUnderstood, before.inode, "fallocate");
  logNewSize(descriptor, before, call.path());
  return result;
}

int posix_fallocate(int descriptor, off_t offset, off_t length) {
  static auto* const real = nextFunction<int(int, off_t, off_t)>("posix_fallocate");
  const WatchedCall call("posix_fallocate", descriptor, Changes::takesRoom);
  if (call.fails()) return call.error();
  const WatchedFile before = call.isLogged() ? fileOf(descriptor) : WatchedFile{};
  const int result = real(descriptor, offset, length);
  if (call.isLogged() && result == 0) logNewSize(descriptor, before, call.path());
  return result;
}

ssize_t copy_file_range(int from, off64_t* fromOffset, int descriptor, off64_t* offset,
                        size_t length, unsigned flags) {
  static auto* const real =
      nextFunction<ssize_t(int, off64_t*, int, off64_t*, size_t, unsigned)>("copy_file_range");
  const WatchedCall call("copy_file_range", descriptor, Changes::takesRoom);
  if (call.fails()) return -1;
  const ssize_t copied = real(from, fromOffset, descriptor, offset, call.shortened(length), flags);
  if (call.isLogged() && copied > 0)
    logEffect(EffectKind::notUnderstood, fileOf(descriptor).inode, "copy_file_range");
  return copied;
}

int ioctl(int descriptor, unsigned long request, ...) noexcept {
  static auto* const real = nextFunction<int(int, unsigned long, void*)>("ioctl");
  va_list arguments;
  va_start(arguments, request);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  const WatchedCall call("ioctl", descriptor, Changes::takesRoom);
  if (call.fails()) return -1;
  const int result = real(descriptor, request, argument);
  if (call.isLogged() && result == 0)
    logEffect(EffectKind::notUnderstood, fileOf(descriptor).inode, "ioctl");
  return result;
}

int fsync(int descriptor) {
  return flush("fsync", descriptor);
}

int fdatasync(int descriptor) {
  return flush("fdatasync", descriptor);
}

int sync_file_range(int descriptor, off64_t offset, off64_t length, unsigned flags) {
  static auto* const real = nextFunction<int(int, off64_t, off64_t, unsigned)>("sync_file_range");
  // No promise that anything reaches the disk, so nothing is logged.
  const WatchedCall call("sync_file_range", descriptor, Changes::something);
  return call.fails() ? -1 : real(descriptor, offset, length, flags);
}

ssize_t pwrite64(int, const void*, size_t, off64_t) __attribute__((alias("pwrite")));
int ftruncate64(int, off64_t) noexcept __attribute__((alias("ftruncate")));
int truncate64(const char*, off64_t) noexcept __attribute__((alias("truncate")));
int fallocate64(int, int, off64_t, off64_t) __attribute__((alias("fallocate")));
int posix_fallocate64(int, off64_t, off64_t) __attribute__((alias("posix_fallocate")));
}
