#pragma once

#include <string>

#include "base/FileLocation.h"

/// Paths with their symbolic links resolved. Neither function fails: a path that the system cannot
/// resolve stays as it is, and the open that follows reports what is wrong with it. Safe from any
/// thread.
namespace quillmor::SecureFileAccess {

/// Returns the key of a local file: its standardized path with symbolic links resolved as far as
/// the path can be followed; the rest is kept. Because ".." is removed before links are resolved,
/// this is a name to compare, not a path to open.
std::string resolvedPath(const FileLocation& location);

/// Returns the path without links of the file that the system reaches by `location`, to open it
/// again later. A last component that does not exist is kept after the real directory. Returns
/// `location` itself when the system cannot resolve it, and when it is not local.
FileLocation realLocation(const FileLocation& location);

}  // namespace quillmor::SecureFileAccess
