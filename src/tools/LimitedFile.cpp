#include "tools/LimitedFile.h"

#include "fileaccess/StableReading.h"

namespace quillmor {

ByteBuffer readLimitedFile(const FileLocation& location, std::int64_t maxFileBytes,
                           const Error& tooLarge, TaskProgress& progress) {
  try {
    return SecureFileAccess::readData(location, maxFileBytes, &progress);
  } catch (const Error& error) {
    if (SecureFileAccess::isExceededLimit(error)) throw tooLarge;
    throw;
  }
}

}  // namespace quillmor
