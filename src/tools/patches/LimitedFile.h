#pragma once

#include <cstdint>
#include <vector>

#include "base/ByteBuffer.h"
#include "base/Error.h"
#include "base/FileLocation.h"
#include "base/TaskProgress.h"

namespace quillmor {

/// The bytes of a file of at most `maxFileBytes`; throws `tooLarge` for a larger one, else what
/// `SecureFileAccess::readData` fails with. Any thread.
ByteBuffer readLimitedFile(const FileLocation& location, std::int64_t maxFileBytes,
                           const Error& tooLarge, TaskProgress& progress);

/// The same for a file that other work needs, whose share of the progress is not worth counting:
/// `progress` is only asked whether to stop.
std::vector<std::uint8_t> readLimitedFileUncounted(const FileLocation& location,
                                                   std::int64_t maxFileBytes, const Error& tooLarge,
                                                   const TaskProgress& progress);

}  // namespace quillmor
