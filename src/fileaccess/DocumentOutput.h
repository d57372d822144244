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

/// Where a document is to be written, and what is there now.
struct DocumentDestination {
  FileLocation location;
  /// The status of the file there, links not followed; absent when there was none.
  std::optional<StableFileStatus> found = {};
  /// The bytes of the file there, to be put back when the write fails; absent when the caller does
  /// not need them.
  std::optional<ByteBuffer> oldBytes = {};
};

/// Writing a document into its file. All functions may be called on any thread.
namespace SecureFileAccess {

/// Returns the status of the place where a document is to be written. Code 1205 for a location that
/// is not a local file. A POSIX error, with the text of a failing open, when the status cannot be
/// read.
DocumentDestination documentDestination(const FileLocation& location);

/// Fails as writing `byteCount` bytes would, as far as that is known before the file is touched:
/// when the file may not be written, a limit of this process on file sizes is too low, or its file
/// system has not enough room.
void requireWritable(const DocumentDestination& destination, std::int64_t byteCount);

/// What a write has made of a file.
enum class FileEffect {
  /// Nothing; the bytes are as they were.
  untouched,
  /// It was begun and taken back: the old bytes are there again, or no file where there was none.
  undone,
  /// Neither the old nor the new bytes are there for certain.
  incomplete,
  /// The new bytes are there.
  complete,
};

/// Makes `bytes` the whole content of the file and flushes it to stable storage, and its directory
/// too when the file is new. An existing file is rewritten in place, so that it keeps its identity,
/// owner, permissions and links. The caller holds the output reservation.
///
/// Nothing is overwritten unless it is what `destination` says, and no other Quillmor writes it at
/// the moment (see `isChangedDestination`). Room that the file needs beyond its own is taken before
/// it is emptied. After a failure a new file is removed, and an existing one gets its `oldBytes`
/// back. Without them, a failure half way leaves it incomplete. When they cannot be put back, the
/// message says what the file has now.
///
/// Sets `effect`, when given, even when the write fails.
///
/// Returns the file's status after the flush; without times where that cannot be looked at, which
/// is no failure. Code 1205 for a location that is not a local file, 1210 for anything but a
/// regular file, or a POSIX error. A stop request of `progress` has no effect once the file is
/// touched.
StableFileStatus writeDocumentBytes(std::span<const std::uint8_t> bytes,
                                    const DocumentDestination& destination,
                                    TaskProgress* progress = nullptr, FileEffect* effect = nullptr);

/// Code 1214: the file is not the one found before, or appeared since. Nothing was overwritten.
Error changedDestinationError();
bool isChangedDestination(const Error& error);

}  // namespace SecureFileAccess

}  // namespace quillmor
