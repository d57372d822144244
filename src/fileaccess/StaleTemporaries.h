#pragma once

#include "base/FileLocation.h"

namespace quillmor::SecureFileAccess {

/// Removes the temporary files that dead processes have left in the directory of a destination,
/// whatever their outputs were. These are regular files of the effective user with the name of a
/// `TemporaryOutput`, with one link only, older than a minute, and locked by nobody. The age
/// protects a file that has just been created and is not locked yet.
///
/// Failures are ignored and left for the next time. In a huge directory only some of the names are
/// looked at. Safe from any thread.
void removeStaleTemporariesBeside(const FileLocation& destination) noexcept;

}  // namespace quillmor::SecureFileAccess
