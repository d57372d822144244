#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "base/ContentDigest.h"
#include "base/TaskProgress.h"
#include "fileaccess/DocumentOutput.h"
#include "fileaccess/StableFileStatus.h"

namespace quillmor {

/// A file as it was last read or saved, to find out whether another program has changed it since.
struct KnownFile {
  StableFileStatus status;
  /// The digest of the file's bytes; absent after a write that failed, when they are not known.
  std::optional<ContentDigest> digest = {};

  /// Returns the file with `status` that has `bytes`. Takes a tenth of a second per gibibyte. Any
  /// thread.
  static KnownFile of(const StableFileStatus& status, std::span<const std::uint8_t> bytes);

  /// True if the file found at `destination` is another one or has other bytes. Times, permissions
  /// and links alone do not count. Where only they differ the file is read, because a program can
  /// set the modification time back. True also when the bytes cannot be compared. Throws only
  /// `Error::stopped()`. Any thread.
  bool hasChanged(const DocumentDestination& destination, TaskProgress* progress = nullptr) const;
};

}  // namespace quillmor
