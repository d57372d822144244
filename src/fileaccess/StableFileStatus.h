#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "base/FileLocation.h"
#include "fileaccess/FileDescriptor.h"
#include "fileaccess/FileIdentity.h"

namespace quillmor {

/// What is compared to find out whether a file is the same and unchanged. Equal only when all eight
/// fields are equal.
struct StableFileStatus {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  /// File type and permission bits.
  std::uint32_t mode = 0;
  /// Bytes.
  std::int64_t size = 0;
  std::int64_t modificationSeconds = 0;
  std::int64_t modificationNanoseconds = 0;
  std::int64_t changeSeconds = 0;
  std::int64_t changeNanoseconds = 0;

  bool operator==(const StableFileStatus&) const = default;

  FileIdentity identity() const { return {device, inode}; }
  bool isRegularFile() const;
  bool isDirectory() const;
  bool isSymbolicLink() const;

  /// The modification time in seconds since 1970.
  double modificationDate() const;
};

/// What to do with a symbolic link as the last component of a path.
enum class FollowSymlinks { no, yes };

namespace SecureFileAccess {

/// Returns the status of what the path names. Throws a POSIX error in the system's words; EINVAL
/// for a path the file system cannot take.
StableFileStatus fileStatus(const FileLocation& location, FollowSymlinks followSymlinks);

/// Returns the status of an open file. Throws a POSIX error.
StableFileStatus fileStatus(const FileDescriptor& handle);

/// The same; the POSIX error has `message` as its text.
StableFileStatus fileStatus(const FileDescriptor& handle, std::string_view message);

/// Like `fileStatus`, but absent when nothing exists at the path (ENOENT).
std::optional<StableFileStatus> fileStatusIfExists(const FileLocation& location,
                                                   FollowSymlinks followSymlinks);

/// Returns the identity of the file the path leads to through links; absent when its status cannot
/// be read. Never fails.
std::optional<FileIdentity> identityIfKnown(const FileLocation& location);

/// Returns the size of a regular file. Throws code 1203 for anything else and for a negative size.
std::int64_t byteSize(const StableFileStatus& status);

}  // namespace SecureFileAccess

}  // namespace quillmor
