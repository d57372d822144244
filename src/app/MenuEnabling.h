#pragma once

#include <functional>
#include <optional>
#include <string_view>

#include "app/MainMenu.h"

namespace quillmor {

/// The text field or view with the keyboard focus, as far as the menu must know it.
struct TextFocus {
  bool isEditable = false;
  bool hasText = false;
  bool hasSelection = false;
  bool canUndo = false;
  bool canRedo = false;
};

/// What the menu items' state depends on, read at one moment. The values about a document are those
/// of the current controller; without one they mean nothing.
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

/// Whether the command behind an action exists.
using HasCommand = std::function<bool(std::string_view action)>;

/// Whether a menu item with `action` is enabled. An editor command needs to exist besides what its
/// own rule asks for; items that are not forwarded are always enabled. Pure but for `hasCommand`.
bool isEnabled(std::string_view action, const EnablingContext& context,
               const HasCommand& hasCommand);

/// The same for a row of the menu. Separators, which have no action, count as enabled.
bool isEnabled(const MenuItem& item, const EnablingContext& context, const HasCommand& hasCommand);

}  // namespace quillmor
