#include "window/commands/BackupNames.h"

namespace quillmor {

std::string backupCopyName(const std::optional<FileLocation>& file) {
  if (!file) return "Untitled-backup.bin";
  const std::string name = file->lastPathComponent();
  const std::size_t dot = name.rfind('.');
  // The dot of a hidden file begins its name, and one at the end is followed by no extension.
  const bool hasExtension = dot != std::string::npos && dot > 0 && dot + 1 < name.size();
  if (!hasExtension) return name + "-backup";
  return name.substr(0, dot) + "-backup" + name.substr(dot);
}

std::string atomicBackupName(const std::optional<FileLocation>& file) {
  return (file ? file->lastPathComponent() : "Untitled") + ".bak";
}

}  // namespace quillmor
