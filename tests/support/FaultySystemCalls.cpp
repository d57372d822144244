#include "support/FaultySystemCalls.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace quillmor::test {

void FaultySystemCalls::fail(SystemCall kind, int nth, int errorNumber) {
  failures_[{kind, nth}] = errorNumber;
}

void FaultySystemCalls::failCall(int nth, int errorNumber) {
  failuresOfAnyKind_[nth] = errorNumber;
}

void FaultySystemCalls::limitCount(SystemCall kind, int nth, std::size_t count) {
  limits_[{kind, nth}] = count;
}

void FaultySystemCalls::before(SystemCall kind, int nth, std::function<void()> action) {
  actions_[{kind, nth}] = std::move(action);
}

int FaultySystemCalls::count(SystemCall kind) const {
  const std::lock_guard lock(mutex_);
  const auto found = counts_.find(kind);
  return found == counts_.end() ? 0 : found->second;
}

template <typename Value>
const Value* FaultySystemCalls::planned(const std::map<Place, Value>& plan, Place place) {
  auto found = plan.find(place);
  if (found == plan.end()) found = plan.find({place.first, kEvery});
  return found == plan.end() ? nullptr : &found->second;
}

FaultySystemCalls::Turn FaultySystemCalls::begin(SystemCall kind) {
  const std::lock_guard lock(mutex_);
  log_.push_back(kind);
  return {++counts_[kind], static_cast<int>(log_.size())};
}

bool FaultySystemCalls::admits(SystemCall kind) {
  const Turn turn = begin(kind);
  // The action may make calls of its own.
  if (const auto* action = planned(actions_, {kind, turn.ofItsKind})) (*action)();

  std::optional<int> errorNumber;
  if (interruptsEveryCall_) {
    const std::lock_guard lock(mutex_);
    // An interrupted close has closed, so it is the only call that must not come a second time.
    wasInterrupted_ = kind == SystemCall::close ? false : !wasInterrupted_;
    if (kind == SystemCall::close || wasInterrupted_) errorNumber = EINTR;
  }
  if (const int* failure = planned(failures_, {kind, turn.ofItsKind})) errorNumber = *failure;
  const auto found = failuresOfAnyKind_.find(turn.ofAll);
  if (found != failuresOfAnyKind_.end()) errorNumber = found->second;
  if (!errorNumber) return true;
  errno = *errorNumber;
  return false;
}

std::size_t FaultySystemCalls::allowedCount(SystemCall kind, std::size_t requested) {
  const std::lock_guard lock(mutex_);
  requested_[kind].push_back(requested);
  const std::size_t* limit = planned(limits_, {kind, counts_[kind]});
  return limit == nullptr ? requested : std::min(requested, *limit);
}

int FaultySystemCalls::altered(int result, struct stat* status) const {
  if (result == 0 && alteration_) alteration_(*status);
  return result;
}

int FaultySystemCalls::open(const char* path, int flags, mode_t mode) {
  {
    const std::lock_guard lock(mutex_);
    opened_.push_back({path, flags, mode});
  }
  return admits(SystemCall::open) ? SystemCalls::open(path, flags, mode) : -1;
}

int FaultySystemCalls::openat(int directory, const char* path, int flags, mode_t mode) {
  return admits(SystemCall::openat) ? SystemCalls::openat(directory, path, flags, mode) : -1;
}

ssize_t FaultySystemCalls::pread(int descriptor, void* buffer, std::size_t count, off_t offset) {
  if (!admits(SystemCall::pread)) return -1;
  return SystemCalls::pread(descriptor, buffer, allowedCount(SystemCall::pread, count), offset);
}

ssize_t FaultySystemCalls::write(int descriptor, const void* buffer, std::size_t count) {
  if (!admits(SystemCall::write)) return -1;
  return SystemCalls::write(descriptor, buffer, allowedCount(SystemCall::write, count));
}

ssize_t FaultySystemCalls::pwrite(int descriptor, const void* buffer, std::size_t count,
                                  off_t offset) {
  if (!admits(SystemCall::pwrite)) return -1;
  return SystemCalls::pwrite(descriptor, buffer, allowedCount(SystemCall::pwrite, count), offset);
}

int FaultySystemCalls::close(int descriptor) {
  const bool isAdmitted = admits(SystemCall::close);
  const int errorNumber = errno;
  const int result = SystemCalls::close(descriptor);
  if (isAdmitted) return result;
  errno = errorNumber;
  return -1;
}

int FaultySystemCalls::posix_fadvise(int descriptor, off_t offset, off_t length, int advice) {
  if (!admits(SystemCall::posix_fadvise)) return errno;
  return SystemCalls::posix_fadvise(descriptor, offset, length, advice);
}

int FaultySystemCalls::fstat(int descriptor, struct stat* status) {
  if (!admits(SystemCall::fstat)) return -1;
  return altered(SystemCalls::fstat(descriptor, status), status);
}

int FaultySystemCalls::fstatat(int directory, const char* path, struct stat* status, int flags) {
  if (!admits(SystemCall::fstatat)) return -1;
  return altered(SystemCalls::fstatat(directory, path, status, flags), status);
}

int FaultySystemCalls::access(const char* path, int mode) {
  return admits(SystemCall::access) ? SystemCalls::access(path, mode) : -1;
}

char* FaultySystemCalls::realpath(const char* path, char* resolved) {
  return admits(SystemCall::realpath) ? SystemCalls::realpath(path, resolved) : nullptr;
}

int FaultySystemCalls::ftruncate(int descriptor, off_t length) {
  return admits(SystemCall::ftruncate) ? SystemCalls::ftruncate(descriptor, length) : -1;
}

int FaultySystemCalls::fallocate(int descriptor, int mode, off_t offset, off_t length) {
  if (!admits(SystemCall::fallocate)) return -1;
  return SystemCalls::fallocate(descriptor, mode, offset, length);
}

int FaultySystemCalls::sync_file_range(int descriptor, off_t offset, off_t length, unsigned flags) {
  if (!admits(SystemCall::sync_file_range)) return -1;
  return SystemCalls::sync_file_range(descriptor, offset, length, flags);
}

int FaultySystemCalls::statvfs(const char* path, struct statvfs* status) {
  return admits(SystemCall::statvfs) ? SystemCalls::statvfs(path, status) : -1;
}

int FaultySystemCalls::fchmod(int descriptor, mode_t mode) {
  return admits(SystemCall::fchmod) ? SystemCalls::fchmod(descriptor, mode) : -1;
}

int FaultySystemCalls::fsync(int descriptor) {
  return admits(SystemCall::fsync) ? SystemCalls::fsync(descriptor) : -1;
}

int FaultySystemCalls::rename(const char* from, const char* to) {
  return admits(SystemCall::rename) ? SystemCalls::rename(from, to) : -1;
}

int FaultySystemCalls::renameat(int fromDirectory, const char* from, int toDirectory,
                                const char* to) {
  if (!admits(SystemCall::renameat)) return -1;
  return SystemCalls::renameat(fromDirectory, from, toDirectory, to);
}

int FaultySystemCalls::renameat2(int fromDirectory, const char* from, int toDirectory,
                                 const char* to, unsigned flags) {
  if (!admits(SystemCall::renameat2)) return -1;
  return SystemCalls::renameat2(fromDirectory, from, toDirectory, to, flags);
}

int FaultySystemCalls::link(const char* from, const char* to) {
  return admits(SystemCall::link) ? SystemCalls::link(from, to) : -1;
}

int FaultySystemCalls::unlink(const char* path) {
  return admits(SystemCall::unlink) ? SystemCalls::unlink(path) : -1;
}

int FaultySystemCalls::unlinkat(int directory, const char* path, int flags) {
  return admits(SystemCall::unlinkat) ? SystemCalls::unlinkat(directory, path, flags) : -1;
}

int FaultySystemCalls::mkdir(const char* path, mode_t mode) {
  return admits(SystemCall::mkdir) ? SystemCalls::mkdir(path, mode) : -1;
}

ssize_t FaultySystemCalls::getrandom(void* buffer, std::size_t count, unsigned flags) {
  if (!admits(SystemCall::getrandom)) return -1;
  return SystemCalls::getrandom(buffer, allowedCount(SystemCall::getrandom, count), flags);
}

int FaultySystemCalls::getrlimit(int resource, struct rlimit* limit) {
  if (!admits(SystemCall::getrlimit)) return -1;
  const int result = SystemCalls::getrlimit(resource, limit);
  if (result == 0 && resource == RLIMIT_FSIZE && fileSizeLimit_) limit->rlim_cur = *fileSizeLimit_;
  return result;
}

int FaultySystemCalls::fcntl(int descriptor, int command, int argument) {
  return admits(SystemCall::fcntl) ? SystemCalls::fcntl(descriptor, command, argument) : -1;
}

int FaultySystemCalls::flock(int descriptor, int operation) {
  return admits(SystemCall::flock) ? SystemCalls::flock(descriptor, operation) : -1;
}

ssize_t FaultySystemCalls::getdents64(int descriptor, void* buffer, std::size_t count) {
  if (!admits(SystemCall::getdents64)) return -1;
  return SystemCalls::getdents64(descriptor, buffer, allowedCount(SystemCall::getdents64, count));
}

int FaultySystemCalls::fchown(int descriptor, uid_t owner, gid_t group) {
  return admits(SystemCall::fchown) ? SystemCalls::fchown(descriptor, owner, group) : -1;
}

ssize_t FaultySystemCalls::lgetxattr(const char* path, const char* name, void* value,
                                     std::size_t size) {
  return admits(SystemCall::lgetxattr) ? SystemCalls::lgetxattr(path, name, value, size) : -1;
}

int FaultySystemCalls::fsetxattr(int descriptor, const char* name, const void* value,
                                 std::size_t size, int flags) {
  if (!admits(SystemCall::fsetxattr)) return -1;
  return SystemCalls::fsetxattr(descriptor, name, value, size, flags);
}

int FaultySystemCalls::fremovexattr(int descriptor, const char* name) {
  return admits(SystemCall::fremovexattr) ? SystemCalls::fremovexattr(descriptor, name) : -1;
}

}  // namespace quillmor::test
