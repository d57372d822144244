#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/FileLocation.h"
#include "fileaccess/FileDescriptor.h"

namespace quillmor {

/// A directory of records, open. Every call on a file in it goes through its descriptor, so that it
/// stays in this directory whatever becomes of the path. Any thread; every call may wait for a
/// disk.
class RecordDirectory {
 public:
  /// Opens a directory that belongs to the effective user and to nobody else. Throws a POSIX error:
  /// EPERM when others own it or may use it, ENOTDIR or ELOOP for anything but a directory.
  static std::shared_ptr<const RecordDirectory> openPrivate(const FileLocation& location);

  /// The same; makes the directory with mode 0700 where it is missing, its parents too, and makes
  /// that durable.
  static std::shared_ptr<const RecordDirectory> makePrivate(const FileLocation& location);

  /// Opens any directory, such as that of a document.
  static std::shared_ptr<const RecordDirectory> openShared(const FileLocation& location);

  RecordDirectory(FileLocation location, FileDescriptor descriptor, bool isPrivate)
      : location_(std::move(location)), descriptor_(std::move(descriptor)), isPrivate_(isPrivate) {}

  const FileLocation& location() const { return location_; }
  FileLocation locationOf(const std::string& name) const;
  bool isPrivate() const { return isPrivate_; }

  /// The descriptor of an entry opened with `flags`, never through a link and never waiting; -1 and
  /// `errno` on failure. A new file has mode 0600.
  int open(const std::string& name, int flags) const;

  /// The names of all entries. Throws a POSIX error.
  std::vector<std::string> names() const;

  /// Gives an entry another name, durably. Throws a POSIX error.
  void rename(const std::string& from, const std::string& to) const;

  /// Removes an entry; one that is missing is none. Throws a POSIX error.
  void remove(const std::string& name) const;

  /// Makes the entries durable. Throws a POSIX error.
  void synchronize() const;

 private:
  FileLocation location_;
  FileDescriptor descriptor_;
  bool isPrivate_;
};

}  // namespace quillmor
