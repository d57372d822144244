#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "base/FileLocation.h"
#include "base/TaskProgress.h"
#include "fileaccess/FileDescriptor.h"

namespace quillmor::SecureFileAccess {

/// The largest number of bytes passed to the system at once.
inline constexpr std::int64_t kWriteSliceByteCount = 8388608;

/// The messages of a writer whose bytes cannot be written.
struct WriteMessages {
  /// A call failed.
  std::string_view couldNotWrite;
  /// A call wrote nothing.
  std::string_view stopped;
};

/// When the disk begins with what is written: when the system thinks fit, or after each slice,
/// while the next one is copied. The latter makes a flush to follow shorter, and a write may wait
/// longer.
enum class WriteBack { whenTheSystemLikes, afterEachSlice };

/// Writes all of `bytes` at the descriptor's position, in slices of at most 8 MiB. Partial writes
/// are resumed, EINTR is repeated. A failing call throws its POSIX error, a call that writes 0
/// bytes throws EIO, with the texts of `messages`. Advances `progress`, when given. Ignores stop
/// requests, because a half written file is of no use.
void writeAll(std::span<const std::uint8_t> bytes, const FileDescriptor& handle,
              const WriteMessages& messages, TaskProgress* progress = nullptr,
              WriteBack writeBack = WriteBack::whenTheSystemLikes);

/// Lets the disk begin with what was written. It is no flush, and where it fails nothing is lost
/// but time.
void beginWritingBack(const FileDescriptor& handle);

/// Makes what a file has durable, and its name too. Throws a POSIX error in the system's words.
void synchronizeFile(const FileLocation& location);

/// Makes the directory's entries durable after a file in it was created or moved. Throws a POSIX
/// error in the system's words. A directory that may not be read, or whose file system has no such
/// request, stays unflushed without an error, as there is no other way.
void synchronizeDirectory(const FileLocation& directory);

}  // namespace quillmor::SecureFileAccess
