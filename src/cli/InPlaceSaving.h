#pragma once

#include <functional>

#include "base/ByteBuffer.h"
#include "base/FileLocation.h"
#include "base/TaskProgress.h"
#include "fileaccess/StableReading.h"

namespace quillmor::cli {

/// Writes `changed` into the file that `snapshot` was read from, as the editor saves a document.
/// Fails as that does, and with code 2001 when the file is no longer what was read. After a failure
/// half way the file has its old bytes again, or the message says what it holds. A request
/// to stop is heeded only as long as the file is untouched. `beforeWriting` is called then, when
/// all that can be known to stand in the way does not; what it throws is passed on.
void saveInPlace(const FileLocation& location, const ReadSnapshot& snapshot, ByteBuffer changed,
                 TaskProgress& progress, const std::function<void()>& beforeWriting = {});

}  // namespace quillmor::cli
