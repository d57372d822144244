#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "tools/edits/ClipboardText.h"
#include "window/commands/CommandFamily.h"

namespace quillmor {

/// The Edit menu: undo and redo, deleting, and the clipboard.
class EditCommands : private CommandFamily {
 public:
  static constexpr const char* kNothingToUndo = "There is nothing to undo.";
  static constexpr const char* kNothingToRedo = "There is nothing to redo.";

  explicit EditCommands(CommandContext& context) : CommandFamily(context) {}
  static std::span<const CommandRow<EditCommands>> rows();

 private:
  void undo();
  void redo();
  void cut();
  void copy();
  void paste();
  void deleteSelection();
  template <ClipboardTextStyle Style>
  void copyAs() {
    copySelectionAsText(Style);
  }
  void copyCurrentOffset();
  void copySelectionRange();
  void copyFilePath();

  std::optional<HexSelection> rangeForClipboardOrAlert(const std::string& title,
                                                       Refusal (*refusalOf)(std::int64_t length));
  void copySelectionToPasteboard(bool deleteAfterCopy);
  bool publishStandardClipboardPayload(StandardClipboardPayload payload);
  void copySelectionAsText(ClipboardTextStyle style);
  std::optional<std::string> boundedPasteboardString();
  void pastePreparedBytes(std::span<const std::uint8_t> bytes);
};

}  // namespace quillmor
