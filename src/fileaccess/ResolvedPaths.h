#pragma once

#include <string>

#include "base/FileLocation.h"

/// Paths with their symbolic links resolved. Neither function fails: where the system gives no
/// answer the path stays as it is, and the open that follows reports what is wrong with it. Safe
/// from any thread.
namespace quillmor::SecureFileAccess {

/// The key under which a local file is known: its standardized path with symbolic links resolved as
/// far as the path can be followed; the rest is kept. Because ".." is removed before links are
/// looked at, this is a name to compare, not a path to open.
std::string resolvedPath(const FileLocation& location);

/// The path without links of the very file that the system reaches by `location`, for a file that
/// is to be opened again later. A last component that does not exist is kept behind the real
/// directory. `location` itself when the system cannot resolve it, and when it is not local.
FileLocation realLocation(const FileLocation& location);

}  // namespace quillmor::SecureFileAccess
