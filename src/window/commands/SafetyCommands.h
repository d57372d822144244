#pragma once

#include <span>
#include <string>

#include "window/commands/CommandFamily.h"

namespace quillmor {

/// What keeps the bytes of the document safe, for the user to see.
class SafetyCommands : private CommandFamily {
 public:
  explicit SafetyCommands(CommandContext& context) : CommandFamily(context) {}
  static std::span<const CommandRow<SafetyCommands>> rows();

 private:
  void showLastSave();
  void leaveNoTrace();
  void keepNothing();
  void keepAgain();
  bool isConfirmed(const std::string& question, const std::string& text, const std::string& button);
};

}  // namespace quillmor
