#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "fileaccess/SystemCalls.h"

namespace quillmor::test {

enum class SystemCall {
  open,
  openat,
  pread,
  pwrite,
  write,
  close,
  posix_fadvise,
  fstat,
  fstatat,
  access,
  realpath,
  ftruncate,
  fallocate,
  sync_file_range,
  statvfs,
  fchmod,
  fsync,
  rename,
  renameat,
  renameat2,
  link,
  unlink,
  unlinkat,
  mkdir,
  getrandom,
  getrlimit,
  fcntl,
  flock,
  getdents64,
  fchown,
  lgetxattr,
  fsetxattr,
  fremovexattr
};

/// What a file was opened with.
struct OpenedFile {
  std::string path;
  int flags = 0;
  mode_t mode = 0;
};

/// The real system calls, except where a test wants otherwise: any single call can fail, come back
/// short, or be preceded by a change to the file. Calls are counted from 1, and may come from any
/// thread; what is to go wrong is said before they begin, and read when they have ended.
class FaultySystemCalls final : public SystemCalls {
 public:
  static constexpr int kEvery = 0;

  /// The `nth` call of this kind (or every one) fails. A failing `close` closes nevertheless, as it
  /// does on Linux; every other failing call does nothing.
  void fail(SystemCall kind, int nth, int errorNumber);

  /// The `nth` call of any kind fails.
  void failCall(int nth, int errorNumber);

  /// Every call is interrupted once before it is carried out.
  void interruptEveryCall() { interruptsEveryCall_ = true; }

  /// The `nth` pread, pwrite, write, getrandom or getdents64 (or every one) moves at most `count`
  /// bytes; none when 0.
  void limitCount(SystemCall kind, int nth, std::size_t count);

  /// Runs `action` right before the `nth` call of this kind is carried out.
  void before(SystemCall kind, int nth, std::function<void()> action);

  /// Changes what the system says of a file, in `fstat` and `fstatat`.
  void alterStatus(std::function<void(struct stat&)> alteration) {
    alteration_ = std::move(alteration);
  }

  /// Says that files may have at most `byteCount` bytes. What is written is not held to it.
  void limitFileSize(rlim_t byteCount) { fileSizeLimit_ = byteCount; }

  int count(SystemCall kind) const;
  const std::vector<SystemCall>& log() const { return log_; }
  /// The files that were asked for by `open`, in order.
  const std::vector<OpenedFile>& opened() const { return opened_; }
  /// The bytes asked for by each pread or write, in order.
  const std::vector<std::size_t>& requestedCounts(SystemCall kind) { return requested_[kind]; }

  int open(const char* path, int flags, mode_t mode) override;
  int openat(int directory, const char* path, int flags, mode_t mode) override;
  ssize_t pread(int descriptor, void* buffer, std::size_t count, off_t offset) override;
  ssize_t write(int descriptor, const void* buffer, std::size_t count) override;
  ssize_t pwrite(int descriptor, const void* buffer, std::size_t count, off_t offset) override;
  int close(int descriptor) override;
  int posix_fadvise(int descriptor, off_t offset, off_t length, int advice) override;
  int fstat(int descriptor, struct stat* status) override;
  int fstatat(int directory, const char* path, struct stat* status, int flags) override;
  int access(const char* path, int mode) override;
  char* realpath(const char* path, char* resolved) override;
  int ftruncate(int descriptor, off_t length) override;
  int fallocate(int descriptor, int mode, off_t offset, off_t length) override;
  int sync_file_range(int descriptor, off_t offset, off_t length, unsigned flags) override;
  int statvfs(const char* path, struct statvfs* status) override;
  int fchmod(int descriptor, mode_t mode) override;
  int fsync(int descriptor) override;
  int rename(const char* from, const char* to) override;
  int renameat(int fromDirectory, const char* from, int toDirectory, const char* to) override;
  int renameat2(int fromDirectory, const char* from, int toDirectory, const char* to,
                unsigned flags) override;
  int link(const char* from, const char* to) override;
  int unlink(const char* path) override;
  int unlinkat(int directory, const char* path, int flags) override;
  int mkdir(const char* path, mode_t mode) override;
  ssize_t getrandom(void* buffer, std::size_t count, unsigned flags) override;
  int getrlimit(int resource, struct rlimit* limit) override;
  int fcntl(int descriptor, int command, int argument) override;
  int flock(int descriptor, int operation) override;
  ssize_t getdents64(int descriptor, void* buffer, std::size_t count) override;
  int fchown(int descriptor, uid_t owner, gid_t group) override;
  ssize_t lgetxattr(const char* path, const char* name, void* value, std::size_t size) override;
  int fsetxattr(int descriptor, const char* name, const void* value, std::size_t size,
                int flags) override;
  int fremovexattr(int descriptor, const char* name) override;

 private:
  using Place = std::pair<SystemCall, int>;
  /// Which call of its kind, and which of all, a call is.
  struct Turn {
    int ofItsKind;
    int ofAll;
  };

  /// Counts the call and sets `errno`; false when it is to fail.
  bool admits(SystemCall kind);
  Turn begin(SystemCall kind);
  std::size_t allowedCount(SystemCall kind, std::size_t requested);
  int altered(int result, struct stat* status) const;

  template <typename Value>
  static const Value* planned(const std::map<Place, Value>& plan, Place place);

  mutable std::mutex mutex_;
  std::map<Place, int> failures_;
  std::map<int, int> failuresOfAnyKind_;
  std::map<Place, std::size_t> limits_;
  std::map<Place, std::function<void()>> actions_;
  std::function<void(struct stat&)> alteration_;
  std::optional<rlim_t> fileSizeLimit_;
  bool interruptsEveryCall_ = false;
  bool wasInterrupted_ = false;
  std::map<SystemCall, int> counts_;
  std::map<SystemCall, std::vector<std::size_t>> requested_;
  std::vector<SystemCall> log_;
  std::vector<OpenedFile> opened_;
};

}  // namespace quillmor::test
