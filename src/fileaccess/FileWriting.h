#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "base/FileLocation.h"
#include "base/TaskProgress.h"
#include "fileaccess/FileDescriptor.h"

namespace quillmor::SecureFileAccess {

/// The largest number of bytes given to the system at once.
inline constexpr std::int64_t kWriteSliceByteCount = 8388608;

/// What a writer says when its bytes cannot be written.
struct WriteMessages {
  /// A call failed.
  std::string_view couldNotWrite;
  /// A call wrote nothing.
  std::string_view stopped;
};

/// Writes all of `bytes` at the descriptor's position, in slices of at most 8 MiB; partial writes
/// are resumed, EINTR is repeated. A failing call gives its POSIX error, a call that writes 0 bytes
/// gives EIO, with the texts of `messages`. `progress`, when given, is advanced; a stop request is
/// not looked at, because a half written file helps nobody.
void writeAll(std::span<const std::uint8_t> bytes, const FileDescriptor& handle,
              const WriteMessages& messages, TaskProgress* progress = nullptr);

/// Makes the directory's entries durable after a file in it was created or moved; the POSIX error
/// in the system's words on failure. A directory that may not be read, or whose file system knows
/// no such request, stays unflushed, as there is no other way; that is no failure.
void synchronizeDirectory(const FileLocation& directory);

}  // namespace quillmor::SecureFileAccess
