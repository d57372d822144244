#pragma once

#include <functional>
#include <memory>

#include "base/FileLocation.h"

namespace quillmor {

/// A file that is being watched; destroying it ends the watch. Main thread only.
class FileWatch {
 public:
  FileWatch() = default;
  virtual ~FileWatch() = default;
  FileWatch(const FileWatch&) = delete;
  FileWatch& operator=(const FileWatch&) = delete;
};

/// Tells when something may have happened to a file. Main thread only; never waits for a disk.
class FileWatcher {
 public:
  virtual ~FileWatcher() = default;

  /// Watches a file whether it exists or not: its bytes, and what becomes of its name. Calls
  /// `mayHaveChanged` on the main thread after every change and now and then without one; what has
  /// changed is for the caller to find out. The first call says that the watch has begun. None
  /// comes once the watch has been destroyed.
  virtual std::unique_ptr<FileWatch> watch(const FileLocation& location,
                                           std::function<void()> mayHaveChanged) = 0;
};

}  // namespace quillmor
