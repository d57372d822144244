#pragma once

#include <sys/types.h>

#include <cstdint>
#include <vector>

#include "base/FileLocation.h"
#include "fileaccess/FileDescriptor.h"

namespace quillmor {

/// Who may do what with a file that an output is to replace.
struct ReplacedFileAccess {
  uid_t owner = 0;
  gid_t group = 0;
  /// The permission bits, octal 777 at most. With an access control list, the bits of the group are
  /// the list's mask.
  mode_t permissions = 0;
  /// The access control list in the system's form; empty when the file has none.
  std::vector<std::uint8_t> list;
};

namespace SecureFileAccess {

/// Returns the access of the file at `location`, links not followed. Throws a POSIX error when it
/// cannot be read.
ReplacedFileAccess accessOfFile(const FileLocation& location);

/// Gives a new file, which so far is for its owner only, the access of the file it replaces: group,
/// list, permissions, and the owner if the process may give files away. At no moment may anybody
/// else do more with it than with the replaced file. Where the group cannot be kept, group and
/// others get only what both had. Where the list cannot be kept (never without the group), what it
/// gave to all it named remains. Throws a POSIX error when the permissions cannot be set.
void carryOverAccess(const ReplacedFileAccess& access, const FileDescriptor& handle);

}  // namespace SecureFileAccess

}  // namespace quillmor
