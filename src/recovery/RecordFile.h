#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <utility>

#include "base/TaskProgress.h"
#include "fileaccess/FileDescriptor.h"
#include "recovery/RecordDirectory.h"
#include "recovery/RecordHeader.h"

namespace quillmor {

/// The file of a record, open for reading. Nobody but this user can have made or changed it; that
/// is all that is known of its content. One thread at a time.
class RecordFile {
 public:
  /// Throws code 3103 for anything but a regular file of the effective user, with one link, closed
  /// to others; 3104 when there is none; POSIX errors.
  static RecordFile open(const RecordDirectory& directory, const std::string& name);

  std::int64_t byteCount() const { return byteCount_; }
  /// Seconds since 1970 of the last change.
  std::int64_t modificationSeconds() const { return modificationSeconds_; }

  /// True if the process that wrote it still lives, by its lock; where the file system has none, by
  /// the process that `header` names, if there is one.
  bool isHeld(const RecordHeader* header = nullptr) const;

  /// Fills `room` with the bytes from `offset` on. Throws code 3101 when the file ends before, else
  /// POSIX errors and `Error::stopped()`.
  void read(std::int64_t offset, std::span<std::uint8_t> room, TaskProgress* progress) const;

  /// The header, if the file has the size that it says. Throws codes 3101 and 3102, EFBIG for a
  /// payload larger than a document can be, and other POSIX errors.
  RecordHeader header() const;

 private:
  RecordFile(FileDescriptor handle, std::int64_t byteCount, std::int64_t modificationSeconds)
      : handle_(std::move(handle)),
        byteCount_(byteCount),
        modificationSeconds_(modificationSeconds) {}

  FileDescriptor handle_;
  std::int64_t byteCount_;
  std::int64_t modificationSeconds_;
};

}  // namespace quillmor
