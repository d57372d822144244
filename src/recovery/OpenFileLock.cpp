#include "recovery/OpenFileLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

#include "base/ThreadSafety.h"
#include "fileaccess/FileDescriptor.h"
#include "fileaccess/ResolvedPaths.h"
#include "fileaccess/SystemCalls.h"
#include "platform/RunInBackground.h"
#include "recovery/RecordDirectory.h"
#include "recovery/RecordNames.h"

namespace quillmor {

namespace {

constexpr int kOpenElsewhereCode = 3106;
constexpr std::string_view kSuffix = ".lock";
/// How often a lock file may vanish between being opened and being locked.
constexpr int kMaximumAttempts = 100;

struct LockedFile {
  /// Absent when the lock is not held here.
  std::optional<FileDescriptor> handle = {};
  bool isHeldByAnother = false;
};

bool isThatFile(const RecordDirectory& directory, const std::string& name,
                const FileDescriptor& handle) {
  struct stat opened {};
  const int known =
      retryingInterrupted([&] { return SystemCalls::current().fstat(handle.get(), &opened); });
  if (known != 0) throw lastSystemError();
  if (!S_ISREG(opened.st_mode)) throw Error::posix(EPERM);
  const FileDescriptor current(directory.open(name, O_RDONLY));
  struct stat named {};
  return current.isOpen() &&
         retryingInterrupted([&] { return SystemCalls::current().fstat(current.get(), &named); }) ==
             0 &&
         named.st_dev == opened.st_dev && named.st_ino == opened.st_ino;
}

/// The process, for people who look into the directory; nothing depends on it.
void writeProcessID(const FileDescriptor& handle) {
  const std::string text = std::to_string(::getpid()) + "\n";
  SystemCalls& calls = SystemCalls::current();
  if (retryingInterrupted([&] { return calls.ftruncate(handle.get(), 0); }) != 0) return;
  retryingInterrupted([&] { return calls.pwrite(handle.get(), text.data(), text.size(), 0); });
}

/// Opens and locks the file of a lock. Who lets a lock go removes its file first. So a file that
/// was opened before and locked after that is nobody's any more, and another one is made.
LockedFile lockFile(const RecordDirectory& directory, const std::string& name) {
  for (int attempt = 0; attempt < kMaximumAttempts; ++attempt) {
    const int descriptor = directory.open(name, O_RDWR | O_CREAT);
    if (descriptor < 0) throw lastSystemError();
    FileDescriptor handle(descriptor);
    const int locked = retryingInterrupted(
        [&] { return SystemCalls::current().flock(handle.get(), LOCK_EX | LOCK_NB); });
    if (locked != 0 && errno == EWOULDBLOCK) return {.isHeldByAnother = true};
    if (locked != 0) throw lastSystemError();
    if (!isThatFile(directory, name, handle)) continue;
    writeProcessID(handle);
    return {.handle = std::move(handle)};
  }
  return {};
}

}  // namespace

/// The locks of this process.
class OpenFileLock::Table {
 public:
  static Table& shared() {
    // Never destroyed, so that a lock let go while the process ends still finds it.
    static Table& table = *new Table;
    return table;
  }

  struct Outcome {
    bool isHeld = false;
    bool isHeldByAnother = false;
  };

  /// Adds a holder to the lock at `path`, the file `name` in `location`, if this process has or
  /// gets it. Throws what keeping a lock fails with.
  Outcome add(const std::string& path, const FileLocation& location, const std::string& name)
      QUILLMOR_EXCLUDES(lock_) {
    const MutexLock guard(lock_);
    const auto held = held_.find(path);
    if (held != held_.end()) {
      ++held->second.holderCount;
      return {.isHeld = true};
    }
    const auto directory = RecordDirectory::makePrivate(location);
    LockedFile file = lockFile(*directory, name);
    if (!file.handle) return {.isHeldByAnother = file.isHeldByAnother};
    held_.emplace(path, Held{directory, name, std::move(*file.handle)});
    return {.isHeld = true};
  }

  void remove(const std::string& path) QUILLMOR_EXCLUDES(lock_) {
    const MutexLock guard(lock_);
    const auto held = held_.find(path);
    if (--held->second.holderCount > 0) return;
    // Removed while it is still locked: it cannot be another process's.
    resultOf([&] { return held->second.directory->remove(held->second.name), Done(); });
    held_.erase(held);
  }

 private:
  struct Held {
    std::shared_ptr<const RecordDirectory> directory;
    std::string name;
    FileDescriptor handle;
    int holderCount = 1;
  };

  Mutex lock_;
  std::map<std::string, Held> held_ QUILLMOR_GUARDED_BY(lock_);
};

std::shared_ptr<const OpenFileLock> OpenFileLock::take(const FileLocation& directory,
                                                       const FileLocation& file) {
  const std::shared_ptr<OpenFileLock> lock(new OpenFileLock);
  resultOf([&] {
    const std::string name =
        pathHash(SecureFileAccess::realLocation(file).path()) + std::string(kSuffix);
    std::string path = directory.path() + "/" + name;
    const Table::Outcome outcome = Table::shared().add(path, directory, name);
    if (outcome.isHeld) lock->path_ = std::move(path);
    lock->isHeldByAnother_ = outcome.isHeldByAnother;
    return Done();
  });
  return lock;
}

OpenFileLock::~OpenFileLock() {
  if (!path_.empty()) Table::shared().remove(path_);
}

Error openInAnotherProcessError() {
  return Error::quillmor(kOpenElsewhereCode, "This file is open in another Quillmor.");
}

}  // namespace quillmor
