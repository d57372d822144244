#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "base/ByteBuffer.h"
#include "base/Error.h"
#include "base/FileLocation.h"
#include "base/TaskProgress.h"
#include "fileaccess/FileDescriptor.h"
#include "fileaccess/StableFileStatus.h"

namespace quillmor {

/// Where a document is to be written, and what stands there now.
struct DocumentDestination {
  FileLocation location;
  /// What the last look found there, links not followed; absent when nothing was there.
  std::optional<StableFileStatus> found = {};
  /// The bytes of the file that is there, to be put back when the write fails; absent where the
  /// caller does without.
  std::optional<ByteBuffer> oldBytes = {};
};

/// Writing a document into its file. All functions may be called on any thread.
namespace SecureFileAccess {

/// Looks at the place where a document is to be written. Code 1205 for a location that is not a
/// local file, the POSIX error for one that cannot be looked at, with the text of a failing open.
DocumentDestination documentDestination(const FileLocation& location);

/// Fails as writing `byteCount` bytes would, as far as that is known before the file is touched: a
/// file that may not be written, or a limit of this process on the size of files.
void requireWritable(const DocumentDestination& destination, std::int64_t byteCount);

/// Makes `bytes` the whole content of the file and flushes it to stable storage, and its directory
/// too when the file is new. An existing file is rewritten and not replaced, so that it keeps its
/// identity, owner, permissions and links. The caller holds the output reservation.
///
/// Nothing is overwritten unless it is what `destination` says (see `isChangedDestination`). After
/// a failure a new file is gone again, and an existing one has its `oldBytes` again; without them a
/// failure half way leaves it torn. When they cannot be put back, the message says what the file
/// holds now.
///
/// `wasTouched`, when given, tells whether the write has emptied the file or made it, whatever it
/// then came to.
///
/// Returns the file's status after the flush. Code 1205 for a location that is not a local file,
/// 1210 for anything but a regular file, or a POSIX error. A stop request of `progress` is heeded
/// only before the file is touched.
StableFileStatus writeDocumentBytes(std::span<const std::uint8_t> bytes,
                                    const DocumentDestination& destination,
                                    TaskProgress* progress = nullptr, bool* wasTouched = nullptr);

/// Code 1214: the file is not the one found before, or has appeared since. Nothing was overwritten.
Error changedDestinationError();
bool isChangedDestination(const Error& error);

}  // namespace SecureFileAccess

}  // namespace quillmor
