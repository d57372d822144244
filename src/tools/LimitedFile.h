#pragma once

#include <cstdint>

#include "base/ByteBuffer.h"
#include "base/Error.h"
#include "base/FileLocation.h"
#include "base/TaskProgress.h"

namespace quillmor {

/// The bytes of a file of at most `maxFileBytes`; throws `tooLarge` for a larger one, else what
/// `SecureFileAccess::readData` fails with. Any thread.
ByteBuffer readLimitedFile(const FileLocation& location, std::int64_t maxFileBytes,
                           const Error& tooLarge, TaskProgress& progress);

}  // namespace quillmor
