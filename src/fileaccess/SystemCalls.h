#pragma once

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/types.h>

#include <cerrno>
#include <cstddef>
#include <string_view>

#include "base/Error.h"
#include "base/FileLocation.h"

namespace quillmor {

/// Every system call of guarded file access, and nothing else. Here a test can make any single call
/// fail, come back short, or find the file changed.
///
/// The members behave like the calls of the same name: -1 and `errno` on failure. This class makes
/// the real calls; a test derives from it and installs the derived object with `ScopedSystemCalls`.
/// The members are safe from any thread.
class SystemCalls {
 public:
  SystemCalls() = default;
  virtual ~SystemCalls() = default;
  SystemCalls(const SystemCalls&) = delete;
  SystemCalls& operator=(const SystemCalls&) = delete;

  virtual int open(const char* path, int flags, mode_t mode);
  virtual int openat(int directory, const char* path, int flags, mode_t mode);
  virtual ssize_t pread(int descriptor, void* buffer, std::size_t count, off_t offset);
  virtual ssize_t write(int descriptor, const void* buffer, std::size_t count);
  virtual ssize_t pwrite(int descriptor, const void* buffer, std::size_t count, off_t offset);
  virtual int close(int descriptor);
  /// 0, or the error's number, as the call of this name.
  virtual int posix_fadvise(int descriptor, off_t offset, off_t length, int advice);

  virtual int fstat(int descriptor, struct stat* status);
  virtual int fstatat(int directory, const char* path, struct stat* status, int flags);
  virtual int access(const char* path, int mode);
  /// `resolved` has room for PATH_MAX characters; null and `errno` on failure.
  virtual char* realpath(const char* path, char* resolved);

  virtual int ftruncate(int descriptor, off_t length);
  virtual int fallocate(int descriptor, int mode, off_t offset, off_t length);
  virtual int sync_file_range(int descriptor, off_t offset, off_t length, unsigned flags);
  virtual int statvfs(const char* path, struct statvfs* status);
  virtual int fchmod(int descriptor, mode_t mode);
  virtual int fsync(int descriptor);

  virtual int rename(const char* from, const char* to);
  virtual int renameat(int fromDirectory, const char* from, int toDirectory, const char* to);
  virtual int renameat2(int fromDirectory, const char* from, int toDirectory, const char* to,
                        unsigned flags);
  virtual int link(const char* from, const char* to);
  virtual int unlink(const char* path);
  virtual int unlinkat(int directory, const char* path, int flags);
  virtual int mkdir(const char* path, mode_t mode);

  virtual ssize_t getrandom(void* buffer, std::size_t count, unsigned flags);

  virtual int getrlimit(int resource, struct rlimit* limit);
  virtual int fcntl(int descriptor, int command, int argument);
  virtual int flock(int descriptor, int operation);
  virtual ssize_t getdents64(int descriptor, void* buffer, std::size_t count);

  virtual int fchown(int descriptor, uid_t owner, gid_t group);
  virtual ssize_t lgetxattr(const char* path, const char* name, void* value, std::size_t size);
  virtual int fsetxattr(int descriptor, const char* name, const void* value, std::size_t size,
                        int flags);
  virtual int fremovexattr(int descriptor, const char* name);

  /// The calls in use by this process: the real ones unless a `ScopedSystemCalls` is alive.
  static SystemCalls& current();
};

/// Replaces the system calls for the length of a scope. Scopes nest; they are opened and closed on
/// one thread while no file operation runs on another.
class ScopedSystemCalls {
 public:
  /// `replacement` outlives this object.
  explicit ScopedSystemCalls(SystemCalls& replacement);
  ~ScopedSystemCalls();
  ScopedSystemCalls(const ScopedSystemCalls&) = delete;
  ScopedSystemCalls& operator=(const ScopedSystemCalls&) = delete;

 private:
  SystemCalls* previous_;
};

/// Makes a call again as long as it fails with EINTR. Never used for `close`: on Linux the
/// descriptor is gone even when `close` was interrupted, and a second one could close another
/// thread's file.
template <typename Call>
auto retryingInterrupted(Call call) {
  for (;;) {
    const auto result = call();
    if (result != -1 || errno != EINTR) return result;
  }
}

/// Returns the error of the call that has just failed, with `message` as its text and the system's
/// text for `errno` as its reason.
Error lastSystemError(std::string_view message);

/// Returns the error of the call that has just failed, from `errno`, in the system's own words.
Error lastSystemError();

/// Opens `location`, repeated on EINTR; -1 and `errno` on failure. EINVAL when the location has no
/// form the file system could take (a NUL byte in its path).
int openFile(const FileLocation& location, int flags, mode_t mode = 0);

/// True if the file system can take the path: it has no NUL byte, which the system would take for
/// its end.
bool hasFileSystemRepresentation(std::string_view path);

}  // namespace quillmor
