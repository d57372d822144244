#pragma once

#include <cstdint>
#include <span>

#include "base/FileLocation.h"
#include "base/TaskProgress.h"
#include "fileaccess/FileDescriptor.h"
#include "fileaccess/StableFileStatus.h"

namespace quillmor::SecureFileAccess {

/// Opens a file for writing in place, creating it when there is none, and empties it. Links are not
/// followed. Code 1210 for anything but a regular file, else a POSIX error.
FileDescriptor openDocumentOutputFile(const FileLocation& location);

/// Makes `bytes` the whole content of the file and flushes it to stable storage, and its directory
/// too when the file is new. An existing file is rewritten and not replaced, so that it keeps its
/// identity, owner, permissions and links; a failure half way leaves it torn. The caller holds the
/// output reservation.
///
/// Returns the file's status after the flush. Code 1205 for a location that is not a local file,
/// 1210, or a POSIX error. A stop request of `progress` is heeded only before the file is touched.
/// May be called on any thread.
StableFileStatus writeDocumentBytes(std::span<const std::uint8_t> bytes,
                                    const FileLocation& location, TaskProgress* progress = nullptr);

}  // namespace quillmor::SecureFileAccess
