#include "fileaccess/StableReading.h"

#include "fileaccess/FileErrors.h"

namespace quillmor::SecureFileAccess {

namespace {

ReadSnapshot snapshotOf(const StableFile& file, TaskProgress* progress) {
  return {.bytes = file.readAll(progress),
          .modificationDate = file.status().modificationDate(),
          .status = file.status()};
}

}  // namespace

bool isExceededLimit(const Error& error) {
  return error.domain() == ErrorDomain::quillmor && error.code() == kExceedsLimitCode;
}

ReadSnapshot readSnapshot(const FileLocation& location,
                          std::optional<std::int64_t> maximumByteCount, TaskProgress* progress) {
  return snapshotOf(StableFile(location, maximumByteCount), progress);
}

ReadSnapshot stableBytes(const FileLocation& location, std::optional<std::int64_t> maximumByteCount,
                         TaskProgress* progress) {
  return snapshotOf(StableFile::reservedByCaller(location, maximumByteCount), progress);
}

ByteBuffer readData(const FileLocation& location, std::optional<std::int64_t> maximumByteCount,
                    TaskProgress* progress) {
  return readSnapshot(location, maximumByteCount, progress).bytes;
}

}  // namespace quillmor::SecureFileAccess
