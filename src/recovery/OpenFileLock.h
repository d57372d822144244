#pragma once

#include <memory>
#include <string>

#include "base/Error.h"
#include "base/FileLocation.h"

namespace quillmor {

/// Tells other processes of this user that a file is open here: as long as one such object of a
/// process lives, the process holds a lock file that is named after the file's canonical path. All
/// objects of one process share the lock. It says nothing about the file itself and keeps nobody
/// from it.
///
/// Where locks cannot be kept, because there is no directory for them or its file system has none,
/// the object holds nothing, and nobody else is known to have the file open. Any thread; taking a
/// lock and the last destructor may wait for a disk.
class OpenFileLock {
 public:
  /// Takes the lock of `file` in the private `directory`, which is made where it is missing. Fails
  /// only for want of memory.
  static std::shared_ptr<const OpenFileLock> take(const FileLocation& directory,
                                                  const FileLocation& file);

  /// Lets the lock go with the last object of this process. Removes the lock file then.
  ~OpenFileLock();
  OpenFileLock(const OpenFileLock&) = delete;
  OpenFileLock& operator=(const OpenFileLock&) = delete;

  /// True if another process had the lock when it was to be taken; this object then holds none.
  bool isHeldByAnother() const { return isHeldByAnother_; }

 private:
  class Table;

  OpenFileLock() = default;

  /// The path of the lock file; empty when nothing is held.
  std::string path_;
  bool isHeldByAnother_ = false;
};

/// Code 2811 "This file is open in another Quillmor."
Error openInAnotherProcessError();

}  // namespace quillmor
