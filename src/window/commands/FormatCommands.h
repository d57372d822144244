#pragma once

#include <span>
#include <string>

#include "tools/patches/HexPatch.h"
#include "window/commands/CommandFamily.h"
#include "window/commands/Exporter.h"

namespace quillmor {

/// Patches, presets and bookmark files.
class FormatCommands : private CommandFamily {
 public:
  explicit FormatCommands(CommandContext& context) : CommandFamily(context), exporter_(context) {}
  static std::span<const CommandRow<FormatCommands>> rows();

 private:
  void exportHexPatch();
  void applyHexPatch();
  void exportBookmarks();
  void importBookmarks();
  void dryRunJSONPreset();
  void applyJSONPreset();

  void applyPatch(const QuillmorPatch& patch);
  void runJSONPreset(const std::string& title, const std::string& statusText, bool applies);

  Exporter exporter_;
};

}  // namespace quillmor
