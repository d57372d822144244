#pragma once

#include <span>
#include <string>

#include "window/commands/CommandFamily.h"
#include "window/commands/Exporter.h"

namespace quillmor {

/// Writing the document's bytes, or texts made from them, to other files.
class ExportCommands : private CommandFamily {
 public:
  explicit ExportCommands(CommandContext& context) : CommandFamily(context), exporter_(context) {}
  static std::span<const CommandRow<ExportCommands>> rows();

  /// Asks where to and writes a report that a window shows.
  void saveReport(const std::string& title, const std::string& report);

 private:
  void createBackupCopy();
  void saveAtomicBackup();
  void exportSelection();
  void exportSelectionHexDump();
  void exportIntelHex();
  void exportHexDump();
  void exportASCIIStrings();
  void exportDifferenceReport();

  Exporter exporter_;
};

}  // namespace quillmor
