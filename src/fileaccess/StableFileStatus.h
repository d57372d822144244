#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "base/FileLocation.h"
#include "fileaccess/FileDescriptor.h"
#include "fileaccess/FileIdentity.h"

namespace quillmor {

/// What is compared to learn whether a file is still the same and unchanged: equal only when all
/// eight fields are equal.
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

/// The status of what the path names. A failing call is reported as the POSIX error in the system's
/// words; a path the file system cannot take is EINVAL.
StableFileStatus fileStatus(const FileLocation& location, FollowSymlinks followSymlinks);

/// The status of an open file; a failing call is reported as the POSIX error.
StableFileStatus fileStatus(const FileDescriptor& handle);

/// The same; a failing call is reported with `message` as its text.
StableFileStatus fileStatus(const FileDescriptor& handle, std::string_view message);

/// Like `fileStatus`, but absent when nothing exists at the path (ENOENT).
std::optional<StableFileStatus> fileStatusIfExists(const FileLocation& location,
                                                   FollowSymlinks followSymlinks);

/// The identity of the file the path leads to through links; absent when its status cannot be read.
/// Never fails.
std::optional<FileIdentity> identityIfKnown(const FileLocation& location);

/// The size of a regular file; code 1203 for anything else and for a negative size.
std::int64_t byteSize(const StableFileStatus& status);

}  // namespace SecureFileAccess

}  // namespace quillmor
