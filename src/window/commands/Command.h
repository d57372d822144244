#pragma once

#include <string_view>

namespace quillmor {

/// What a document must have for a command to be enabled.
enum class CommandNeed { nothing, file, undo, redo, bookmarks, selection, bytes };

/// The facts of one command, apart from the function that carries it out.
struct Command {
  std::string_view action;    ///< its name, such as "forwardFillSelection:"
  std::string_view title;     ///< as in the menus, with its ellipsis
  std::string_view key = {};  ///< with the Command key; empty for none, "\b" for Backspace
  bool shift = false;         ///< whether the key adds the Shift key
  CommandNeed need = CommandNeed::nothing;
  /// The title of the alert that refuses the command while another operation runs. Empty for a
  /// command that may be carried out meanwhile, and for those that refuse in their own way: undo
  /// and redo beep, Paste has a text of its own, and reports are refused by the task frame.
  std::string_view busyTitle = {};
};

/// One row of a family of commands: all that there is to know of the command.
template <class Family>
struct CommandRow {
  Command command;
  void (Family::*perform)() = nullptr;
};

/// The row of `rows` with this action, or null.
template <class Rows>
auto findRow(const Rows& rows, std::string_view action) -> decltype(&*rows.begin()) {
  for (const auto& row : rows) {
    if (row.command.action == action) return &row;
  }
  return nullptr;
}

}  // namespace quillmor
