#pragma once

#include "base/FileLocation.h"

namespace quillmor::SecureFileAccess {

/// Removes the temporary files of outputs that dead processes have left beside a destination, of
/// whatever outputs they were: regular files with the name of a `TemporaryOutput`, of the effective
/// user, under this one name only, older than a minute, and locked by nobody. The age protects a
/// file that has just been created and is not locked yet.
///
/// Whatever does not succeed is left for the next time; nothing is reported. In a huge directory
/// only a part of the names is looked at. Safe from any thread.
void removeStaleTemporariesBeside(const FileLocation& destination) noexcept;

}  // namespace quillmor::SecureFileAccess
