#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "window/commands/Command.h"

/// The main menu as data. No widget is needed to read or test it. Everything here is immutable
/// after its first use and safe from any thread.
namespace quillmor {

/// The facts of the command with this action, of the application or of an editor; null when there
/// is none.
const Command* findCommand(std::string_view action);

/// One row of a menu; a row without a title is a separator.
struct MenuItem {
  std::string_view title;
  std::string_view action;              ///< such as "forwardFillSelection:"
  std::string_view keyEquivalent = {};  ///< see `Command::key`
  bool shift = false;

  bool isSeparator() const { return title.empty(); }
  bool operator==(const MenuItem&) const = default;
};

struct Menu {
  std::string_view title;
  std::vector<MenuItem> items;
};

/// The title of the menu bar itself.
inline constexpr std::string_view kMenuBarTitle = "MainMenu";

/// The menus in the order of the menu bar, the application menu first.
const std::vector<Menu>& mainMenu();

/// The context menu of the hex view: what acts on the selection, and what has no place in the menu
/// bar.
const std::vector<MenuItem>& contextMenu();

/// The name of the command with `action` as alerts show it: its menu title without the ellipsis;
/// the action itself when there is no such command.
std::string commandTitle(std::string_view action);

/// True if `action` is passed on to an editor, as "forwardFillSelection:" is.
bool isForwarded(std::string_view action);

}  // namespace quillmor
