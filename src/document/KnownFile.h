#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "base/ContentDigest.h"
#include "base/TaskProgress.h"
#include "fileaccess/DocumentOutput.h"
#include "fileaccess/StableFileStatus.h"

namespace quillmor {

/// A file as it was last read or saved: what tells whether another program has changed it since.
struct KnownFile {
  StableFileStatus status;
  /// Of the file's bytes; absent when they are not known, after a write that failed.
  std::optional<ContentDigest> digest = {};

  /// The file with `status` that has `bytes`. Takes a tenth of a second a gibibyte. Any thread.
  static KnownFile of(const StableFileStatus& status, std::span<const std::uint8_t> bytes);

  /// Whether the file found at `destination` is another one or has other bytes. Times, permissions
  /// and links alone do not count. Where only they differ the file is read, because a program can
  /// set the modification time back; what cannot be compared counts as changed. Throws only what a
  /// stop request of `progress` ends with. Any thread.
  bool hasChanged(const DocumentDestination& destination, TaskProgress* progress = nullptr) const;
};

}  // namespace quillmor
