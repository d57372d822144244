#include "recovery/RecordDirectory.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <set>
#include <string_view>

#include "base/ThreadSafety.h"
#include "fileaccess/FileWriting.h"
#include "fileaccess/SystemCalls.h"

namespace quillmor {

namespace {

constexpr int kOpenFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr mode_t kDirectoryMode = 0700;
constexpr mode_t kFileMode = 0600;
constexpr mode_t kOthersMode = 0077;
constexpr std::size_t kBufferByteCount = 32768;

FileDescriptor openDirectory(const FileLocation& location) {
  const int descriptor = openFile(location, kOpenFlags);
  if (descriptor < 0) throw lastSystemError();
  return FileDescriptor(descriptor);
}

void requirePrivate(const FileDescriptor& directory) {
  struct stat status {};
  const int known =
      retryingInterrupted([&] { return SystemCalls::current().fstat(directory.get(), &status); });
  if (known != 0) throw lastSystemError();
  if (status.st_uid != ::geteuid() || (status.st_mode & kOthersMode) != 0)
    throw Error::posix(EPERM);
}

/// The directories that this process has found or made, and whose names it has flushed.
class DurableNames {
 public:
  bool has(const std::string& path) {
    const MutexLock guard(lock_);
    return paths_.contains(path);
  }
  void add(const std::string& path) {
    const MutexLock guard(lock_);
    paths_.insert(path);
  }

 private:
  Mutex lock_;
  std::set<std::string> paths_ QUILLMOR_GUARDED_BY(lock_);
};

/// Makes the directory and the ones above it, as far as they are missing. A new name counts only
/// when the directory that holds it has been flushed.
void makeDirectories(const FileLocation& location) {
  const auto make = [&] {
    return retryingInterrupted(
        [&] { return SystemCalls::current().mkdir(location.path().c_str(), kDirectoryMode); });
  };
  int made = make();
  if (made != 0 && errno == ENOENT && location.directory() != location) {
    makeDirectories(location.directory());
    made = make();
  }
  if (made != 0 && errno != EEXIST) throw lastSystemError();
  // One that is there may have been made a moment ago by a process that has not flushed it yet.
  static DurableNames durableNames;
  if (made == 0 || !durableNames.has(location.path()))
    SecureFileAccess::synchronizeDirectory(location.directory());
  durableNames.add(location.path());
}

void appendNames(const std::vector<std::byte>& buffer, std::size_t size,
                 std::vector<std::string>& names) {
  for (std::size_t offset = 0; offset < size;) {
    const auto* entry = reinterpret_cast<const dirent64*>(buffer.data() + offset);
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") names.emplace_back(name);
    offset += entry->d_reclen;
  }
}

}  // namespace

std::shared_ptr<const RecordDirectory> RecordDirectory::openPrivate(const FileLocation& location) {
  FileDescriptor descriptor = openDirectory(location);
  requirePrivate(descriptor);
  return std::make_shared<RecordDirectory>(location, std::move(descriptor), /*isPrivate=*/true);
}

std::shared_ptr<const RecordDirectory> RecordDirectory::makePrivate(const FileLocation& location) {
  makeDirectories(location);
  return openPrivate(location);
}

std::shared_ptr<const RecordDirectory> RecordDirectory::openShared(const FileLocation& location) {
  return std::make_shared<RecordDirectory>(location, openDirectory(location), /*isPrivate=*/false);
}

FileLocation RecordDirectory::locationOf(const std::string& name) const {
  return FileLocation::fromPath(location_.path() + "/" + name);
}

int RecordDirectory::open(const std::string& name, int flags) const {
  return retryingInterrupted([&] {
    return SystemCalls::current().openat(descriptor_.get(), name.c_str(),
                                         flags | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, kFileMode);
  });
}

std::vector<std::string> RecordDirectory::names() const {
  // A descriptor of its own: reading moves the position.
  const int descriptor = open(".", O_RDONLY | O_DIRECTORY);
  if (descriptor < 0) throw lastSystemError();
  const FileDescriptor handle(descriptor);
  std::vector<std::string> names;
  std::vector<std::byte> buffer(kBufferByteCount);
  for (;;) {
    const ssize_t size = retryingInterrupted([&] {
      return SystemCalls::current().getdents64(handle.get(), buffer.data(), buffer.size());
    });
    if (size < 0) throw lastSystemError();
    if (size == 0) return names;
    appendNames(buffer, static_cast<std::size_t>(size), names);
  }
}

void RecordDirectory::rename(const std::string& from, const std::string& to) const {
  const int renamed = retryingInterrupted([&] {
    return SystemCalls::current().renameat(descriptor_.get(), from.c_str(), descriptor_.get(),
                                           to.c_str());
  });
  if (renamed != 0) throw lastSystemError();
  synchronize();
}

void RecordDirectory::remove(const std::string& name) const {
  const int removed = retryingInterrupted(
      [&] { return SystemCalls::current().unlinkat(descriptor_.get(), name.c_str(), 0); });
  if (removed != 0 && errno != ENOENT) throw lastSystemError();
}

void RecordDirectory::synchronize() const {
  const int result =
      retryingInterrupted([&] { return SystemCalls::current().fsync(descriptor_.get()); });
  // EINVAL: network file systems that keep their directories elsewhere have no such operation.
  if (result != 0 && errno != EINVAL) throw lastSystemError();
}

}  // namespace quillmor
