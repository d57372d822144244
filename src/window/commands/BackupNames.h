#pragma once

#include <optional>
#include <string>

#include "base/FileLocation.h"

namespace quillmor {

// The names that are offered for copies of a document; `file` is absent for one without a file.

/// "rom-backup.bin" for "rom.bin".
std::string backupCopyName(const std::optional<FileLocation>& file);

/// "rom.bin.bak" for "rom.bin".
std::string atomicBackupName(const std::optional<FileLocation>& file);

}  // namespace quillmor
