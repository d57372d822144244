#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>

#include "base/FileLocation.h"
#include "fileaccess/FileDescriptor.h"
#include "fileaccess/FileIdentity.h"

namespace quillmor {

/// A new file in the directory of an output's destination, to be moved there when it is complete.
///
/// Until it is released it is locked (`flock`), which tells other processes that it is not stale.
/// Its inode stays in use even when the file has been closed, so no other file in its place can
/// pass for it. The destructor removes the file if it is still there. Movable; used by one thread
/// at a time.
class TemporaryOutput {
 public:
  /// Creates the file exclusively with `creationMode`, to which the process's mask applies. Throws
  /// code 1215 or a POSIX error; on failure nothing remains.
  static TemporaryOutput create(const FileLocation& destination, mode_t creationMode);
  TemporaryOutput(TemporaryOutput&& other) noexcept;
  ~TemporaryOutput();
  TemporaryOutput(const TemporaryOutput&) = delete;
  TemporaryOutput& operator=(const TemporaryOutput&) = delete;
  TemporaryOutput& operator=(TemporaryOutput&&) = delete;

  const FileLocation& location() const { return location_; }
  const FileIdentity& identity() const { return identity_; }

  /// The file, open for writing until `close`.
  const FileDescriptor& handle() const { return handle_; }

  /// Closes the file for writing; fails as `FileDescriptor::close` does.
  void close() { handle_.close(); }

  /// Throws code 1215 unless the location still leads to this very file, or it has been released.
  void validatePathOwnership() const;

  /// Gives up the location: the file was moved into place, or linked there and removed here.
  void release() noexcept;

 private:
  TemporaryOutput(FileLocation&& location, const FileIdentity& identity, FileDescriptor&& handle,
                  FileDescriptor&& pin) noexcept;

  FileLocation location_;
  FileIdentity identity_;
  FileDescriptor handle_;
  /// Keeps lock and inode. A second descriptor, because the file is closed, and its errors
  /// reported, before it is installed.
  FileDescriptor pin_;
  bool pathNeedsCleanup_ = true;
};

namespace SecureFileAccess {

/// True if this is the name of a temporary file, whatever its destination.
bool isTemporaryOutputName(std::string_view name);

/// Removes the file. Returns 0, or -1 and `errno`.
int unlinkPath(const FileLocation& location);

/// Removes the path if it names this very file; a file of another identity is left alone. Errors
/// are ignored, as there is nobody left to tell.
void removeIfItIs(const FileIdentity& identity, const FileLocation& location) noexcept;

}  // namespace SecureFileAccess

}  // namespace quillmor
