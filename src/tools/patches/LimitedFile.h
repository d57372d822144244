#pragma once

#include <cstdint>
#include <vector>

#include "base/ByteBuffer.h"
#include "base/Error.h"
#include "base/FileLocation.h"
#include "base/TaskProgress.h"

namespace quillmor {

/// Returns the bytes of a file of at most `maxFileBytes`. Throws `tooLarge` for a larger one, else
/// as `SecureFileAccess::readData` does. Any thread.
ByteBuffer readLimitedFile(const FileLocation& location, std::int64_t maxFileBytes,
                           const Error& tooLarge, TaskProgress& progress);

/// The same for a file that other work needs. Its share of the work is not worth counting, so
/// `progress` is only checked for a stop.
std::vector<std::uint8_t> readLimitedFileUncounted(const FileLocation& location,
                                                   std::int64_t maxFileBytes, const Error& tooLarge,
                                                   const TaskProgress& progress);

}  // namespace quillmor
