#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "base/ContentDigest.h"
#include "fileaccess/DocumentOutput.h"
#include "fileaccess/StableFileStatus.h"

namespace quillmor {

/// A file as it was last read or saved: what tells whether another program has changed it since.
struct KnownFile {
  /// Larger files are not compared by their bytes: that would hold up the save.
  static constexpr std::int64_t maximumDigestByteCount = 67108864;

  StableFileStatus status;
  /// Of the file's bytes; absent when they are too many, and until it has been taken.
  std::optional<ContentDigest> digest = {};

  /// The file with `status` that has just been filled with `bytes`.
  static KnownFile of(const StableFileStatus& status, std::span<const std::uint8_t> bytes);

  /// Whether the file found at `destination` is another one or has other bytes. Times, permissions
  /// and links alone do not count. Where only they differ the file is read, because a program can
  /// set the modification time back; what cannot be compared counts as changed. Any thread.
  bool hasChanged(const DocumentDestination& destination) const;
};

}  // namespace quillmor
