#include "app/MenuEnabling.h"

#include <algorithm>

#include "app/MainMenu.h"

namespace quillmor {

namespace {

constexpr TextCommand kTextCommands[] = {
    {"forwardUndo:", TextAction::undo, &TextFocus::canUndo},
    {"forwardRedo:", TextAction::redo, &TextFocus::canRedo},
    {"forwardCut:", TextAction::cut, &TextFocus::isEditable},
    {"forwardCopy:", TextAction::copy, &TextFocus::hasSelection},
    {"forwardPaste:", TextAction::paste, &TextFocus::isEditable},
    {"forwardDeleteSelection:", TextAction::delete_, &TextFocus::isEditable},
    {"forwardSelectAll:", TextAction::selectAll, &TextFocus::hasText},
};

bool isMet(CommandNeed need, const EnablingContext& context) {
  switch (need) {
    case CommandNeed::nothing:
      return true;
    case CommandNeed::file:
      return context.hasFile;
    case CommandNeed::undo:
      return context.canUndo;
    case CommandNeed::redo:
      return context.canRedo;
    case CommandNeed::bookmarks:
      return context.hasBookmarks;
    case CommandNeed::selection:
      return context.hasSelection;
    case CommandNeed::bytes:
      return context.hasBytes;
  }
  return false;
}

}  // namespace

const TextCommand* findTextCommand(std::string_view action) {
  const auto* found = std::ranges::find(kTextCommands, action, &TextCommand::action);
  return found == std::end(kTextCommands) ? nullptr : found;
}

bool isEnabled(const Command& command, const EnablingContext& context) {
  if (!isForwarded(command.action)) return true;
  const TextCommand* const textCommand = findTextCommand(command.action);
  if (textCommand && context.textFocus) return (*context.textFocus).*textCommand->need;
  if (!context.hasController) return command.action == "forwardOpenDocument:";
  return !context.isBusy && isMet(command.need, context);
}

}  // namespace quillmor
