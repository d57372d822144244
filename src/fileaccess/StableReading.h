#pragma once

#include <cstdint>
#include <optional>

#include "base/ByteBuffer.h"
#include "base/Error.h"
#include "base/FileLocation.h"
#include "base/TaskProgress.h"
#include "fileaccess/StableFile.h"

// Reading a whole file through `StableFile`. All functions are safe from any thread. Where a
// `TaskProgress` is given, its total becomes the file's size, and a stop request ends the read with
// `Error::stopped()` before the next chunk.

namespace quillmor {

/// The bytes of a whole file, and the status it had while it was read.
struct ReadSnapshot {
  ByteBuffer bytes;
  /// Seconds since 1970.
  std::optional<double> modificationDate;
  StableFileStatus status;
};

namespace SecureFileAccess {

/// True if a read failed because the file is larger than it was allowed to be (code 1205).
bool isExceededLimit(const Error& error);

/// Reserves the location for reading, validates it and reads the whole file. Fails as
/// `reserveReadURL`, `validateReadableFileURL` and `stableBytes` do, in this order.
ReadSnapshot readSnapshot(const FileLocation& location,
                          std::optional<std::int64_t> maximumByteCount,
                          TaskProgress* progress = nullptr);

/// The same for a caller who holds a reservation of the file: checks nothing before it opens the
/// location. Codes 1203, 1204 and 1205, or a POSIX error.
ReadSnapshot stableBytes(const FileLocation& location, std::optional<std::int64_t> maximumByteCount,
                         TaskProgress* progress = nullptr);

/// Returns the bytes of `readSnapshot`.
ByteBuffer readData(const FileLocation& location, std::optional<std::int64_t> maximumByteCount,
                    TaskProgress* progress = nullptr);

}  // namespace SecureFileAccess

}  // namespace quillmor
