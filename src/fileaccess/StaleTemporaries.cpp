#include "fileaccess/StaleTemporaries.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <exception>
#include <string>
#include <vector>

#include "fileaccess/FileDescriptor.h"
#include "fileaccess/SystemCalls.h"
#include "fileaccess/TemporaryOutput.h"

namespace quillmor::SecureFileAccess {

namespace {

/// Some hundred names fit into a buffer, and an export waits for all that are read.
constexpr std::size_t kBufferByteCount = 32768;
constexpr int kMaximumReadCount = 64;
constexpr std::size_t kMaximumFileCount = 256;

constexpr std::int64_t kMinimumAgeInSeconds = 60;

/// Appends the names of temporary files among the entries that the system gave.
void appendTemporaryNames(const std::vector<std::byte>& buffer, std::size_t size,
                          std::vector<std::string>& names) {
  for (std::size_t offset = 0; offset < size && names.size() < kMaximumFileCount;) {
    const auto* entry = reinterpret_cast<const dirent64*>(buffer.data() + offset);
    if (isTemporaryOutputName(entry->d_name)) names.emplace_back(entry->d_name);
    offset += entry->d_reclen;
  }
}

std::vector<std::string> temporaryNamesIn(const FileLocation& directory) {
  std::vector<std::string> names;
  const FileDescriptor handle(openFile(directory, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!handle.isOpen()) return names;
  std::vector<std::byte> buffer(kBufferByteCount);
  for (int i = 0; i < kMaximumReadCount; ++i) {
    const ssize_t size = retryingInterrupted([&] {
      return SystemCalls::current().getdents64(handle.get(), buffer.data(), buffer.size());
    });
    if (size <= 0) break;
    appendTemporaryNames(buffer, static_cast<std::size_t>(size), names);
  }
  return names;
}

bool mayBeStale(const struct stat& status) {
  return S_ISREG(status.st_mode) && status.st_uid == ::geteuid() && status.st_nlink == 1 &&
         status.st_mtim.tv_sec < std::time(nullptr) - kMinimumAgeInSeconds;
}

FileIdentity identityOf(const struct stat& status) {
  return {status.st_dev, status.st_ino};
}

void removeIfStale(const FileLocation& location) {
  struct stat status {};
  const int found = retryingInterrupted([&] {
    return SystemCalls::current().fstatat(AT_FDCWD, location.path().c_str(), &status,
                                          AT_SYMLINK_NOFOLLOW);
  });
  if (found != 0 || !mayBeStale(status)) return;
  const FileDescriptor handle(openFile(location, O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC));
  if (!handle.isOpen()) return;
  const int locked = retryingInterrupted(
      [&] { return SystemCalls::current().flock(handle.get(), LOCK_EX | LOCK_NB); });
  if (locked != 0) return;
  // What was opened and locked may be another file by now than the one that was looked at.
  const int known =
      retryingInterrupted([&] { return SystemCalls::current().fstat(handle.get(), &status); });
  if (known == 0 && mayBeStale(status)) removeIfItIs(identityOf(status), location);
}

}  // namespace

void removeStaleTemporariesBeside(const FileLocation& destination) noexcept {
  try {
    for (const std::string& name : temporaryNamesIn(destination.directory()))
      removeIfStale(destination.sibling(name));
  } catch (const std::exception&) {
    return;
  }
}

}  // namespace quillmor::SecureFileAccess
