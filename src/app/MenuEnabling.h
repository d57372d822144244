#pragma once

#include <optional>
#include <string_view>

#include "window/commands/Command.h"

namespace quillmor {

/// The text field or view with the keyboard focus, as far as the menu must know it.
struct TextFocus {
  bool isEditable = false;
  bool hasText = false;
  bool hasSelection = false;
  bool canUndo = false;
  bool canRedo = false;
};

/// The standard commands that a focused text view carries out itself.
enum class TextAction { undo, redo, cut, copy, paste, delete_, selectAll };

/// One text command: its menu action, and the property of the text view that enables it.
struct TextCommand {
  std::string_view action;
  TextAction textAction;
  bool TextFocus::*need;
};

/// The text command with this menu action, or null.
const TextCommand* findTextCommand(std::string_view action);

/// The state that enables menu items, read at one moment. The values about a document are those of
/// the controller; without one they mean nothing.
struct EnablingContext {
  std::optional<TextFocus> textFocus;  ///< absent when the focus is not in a text view
  bool hasController = false;
  bool isBusy = false;
  bool hasFile = false;  ///< the document has a file on disk
  bool canUndo = false;
  bool canRedo = false;
  bool hasBookmarks = false;
  bool hasSelection = false;  ///< the selection is not empty
  bool hasBytes = false;      ///< the document is not empty
};

/// True if the menu item of the command is enabled. Commands that are not forwarded always are;
/// without a controller only "forwardOpenDocument:" is. Pure.
bool isEnabled(const Command& command, const EnablingContext& context);

}  // namespace quillmor
