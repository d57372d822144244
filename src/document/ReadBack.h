#pragma once

#include <string>

#include "base/FileLocation.h"
#include "base/TaskProgress.h"
#include "fileaccess/StableFileStatus.h"

namespace quillmor {

/// A file as the disk has it.
struct ReadBack {
  /// SHA-256 in lowercase hexadecimal.
  std::string sha256;
  StableFileStatus status;
};

/// Reads a file from the disk rather than from the system's memory, as far as the system allows.
/// Throws what `StableFile` does, and `Error::stopped()`. Any thread.
ReadBack readBack(const FileLocation& location, TaskProgress* progress = nullptr);

/// The same for a caller who holds a reservation of the file.
ReadBack readBackReserved(const FileLocation& location);

}  // namespace quillmor
