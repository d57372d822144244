#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "base/FileLocation.h"
#include "fileaccess/FileIdentity.h"

namespace quillmor {

using OutputDestinationIdentity = FileIdentity;

/// The file found at an output's destination; equal only when all eight fields are equal.
struct OutputDestinationSnapshot {
  OutputDestinationIdentity identity;
  /// The permission bits, octal 777 at most.
  std::uint16_t permissionMode = 0;
  /// The whole mode, type and permissions.
  std::uint32_t statusMode = 0;
  /// Bytes.
  std::int64_t size = 0;
  std::int64_t modificationSeconds = 0;
  std::int64_t modificationNanoseconds = 0;
  std::int64_t changeSeconds = 0;
  std::int64_t changeNanoseconds = 0;

  bool operator==(const OutputDestinationSnapshot&) const = default;
};

/// Checks of a place where an output is to be written. Safe from any thread.
namespace SecureFileAccess {

/// Throws code 1206 when the output would overwrite one of the protected files, whatever path leads
/// to it; 1200 for a destination that is not a local file.
void validateDistinctOutputURL(const FileLocation& destination,
                               std::span<const FileLocation> protectedURLs);

/// Throws code 1212 for a symbolic link, 1210 for anything else that is not a regular file, 1211
/// without a directory, 1200 for a destination that is not a local file. A destination that does
/// not exist is fine.
void validateOutputDestinationKind(const FileLocation& destination);

/// Returns what is at the destination, links not followed; absent when nothing is. Throws other
/// failures as POSIX errors.
std::optional<OutputDestinationSnapshot> outputDestinationSnapshot(const FileLocation& destination);

/// Throws code 1214 unless the destination is still what `expected` says.
void validateOutputDestinationSnapshot(const FileLocation& destination,
                                       const OutputDestinationSnapshot& expected);

}  // namespace SecureFileAccess

}  // namespace quillmor
