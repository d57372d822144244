#pragma once

#include <functional>
#include <span>
#include <string>

#include "window/commands/CommandFamily.h"

namespace quillmor {

/// Analyses shown in windows of their own, and comparing with a file.
class ReportCommands : private CommandFamily {
 public:
  explicit ReportCommands(CommandContext& context) : CommandFamily(context) {}
  static std::span<const CommandRow<ReportCommands>> rows();

 private:
  using ReportWork = std::function<std::string(const ByteBuffer&, HexSelection, TaskProgress&)>;

  void showByteFrequency();
  void showChecksums();
  void compareWithFile();
  void showSelectionStatistics();
  void showFileInformation();
  void openCompareWindow();
  void showEntropyMap();
  void detectFileStructure();
  void stringsViewer();
  void checksumRange();
  void showPCIRomInfo();

  void showReport(const std::string& title, const std::string& statusText, ReportWork work);
};

}  // namespace quillmor
