#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "window/commands/CommandFamily.h"

namespace quillmor {

/// Reading the bytes at the caret as values, and writing values in their place.
class ValueCommands : private CommandFamily {
 public:
  explicit ValueCommands(CommandContext& context) : CommandFamily(context) {}
  static std::span<const CommandRow<ValueCommands>> rows();

 private:
  void showDataInspectorDetail();
  void editCurrentValue();
  void bitEditor();

  bool refuseAtEnd(const std::string& title);
  bool fitsAtCaret(const std::vector<std::uint8_t>& bytes) const;
  void overwriteAtCaret(const std::vector<std::uint8_t>& bytes, const std::string& title,
                        const std::string& actionName);
};

}  // namespace quillmor
