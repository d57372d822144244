#pragma once

#include "base/ByteBuffer.h"
#include "base/FileLocation.h"
#include "base/TaskProgress.h"
#include "fileaccess/StableReading.h"

namespace quillmor::cli {

/// Writes `changed` into the file that `snapshot` was read from, as the editor saves a document.
/// Fails as that does, and with code 2001 when the file is no longer what was read. After a failure
/// half way the file has its old bytes again, or the message says that it is incomplete. A request
/// to stop is heeded only as long as the file is untouched.
void saveInPlace(const FileLocation& location, const ReadSnapshot& snapshot, ByteBuffer changed,
                 TaskProgress& progress);

}  // namespace quillmor::cli
