#pragma once

#include <functional>

#include "base/ByteBuffer.h"
#include "base/FileLocation.h"
#include "base/TaskProgress.h"
#include "fileaccess/StableReading.h"

namespace quillmor::cli {

/// Writes `changed` into the file that `snapshot` was read from, by a `FileSave` as in the editor.
/// Fails as that does, and with code 2001 when the file is no longer what was read. After a failure
/// half way the file has its old bytes again, or the message says what it holds. `beforeWriting` is
/// called after all checks and before the file is touched; what it throws is passed on. A request
/// to stop comes too late after that. With `verifies` the file is then read back from the disk;
/// code 2007 when it has other bytes than were saved.
void saveInPlace(const FileLocation& location, const ReadSnapshot& snapshot,
                 const ByteBuffer& changed, TaskProgress& progress,
                 const std::function<void()>& beforeWriting = {}, bool verifies = false);

}  // namespace quillmor::cli
