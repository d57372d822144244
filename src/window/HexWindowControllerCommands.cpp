// The commands of an editor window by the names of the menu actions that route to them.

#include <algorithm>
#include <array>

#include "window/HexWindowController.h"

namespace quillmor {

namespace {

struct Command {
  std::string_view action;
  void (*perform)(HexWindowController&);
};

template <auto Member>
constexpr void call(HexWindowController& controller) {
  (controller.*Member)();
}

template <std::int64_t BytesPerRow>
constexpr void setRow(HexWindowController& controller) {
  controller.setBytesPerRow(BytesPerRow);
}

constexpr auto kCommands = std::to_array<Command>({
    {"forwardSaveDocument:", call<&HexWindowController::saveDocument>},
    {"forwardSaveDocumentAs:", call<&HexWindowController::saveDocumentAs>},
    {"forwardRevertDocument:", call<&HexWindowController::revertDocument>},
    {"forwardReloadFromDisk:", call<&HexWindowController::reloadFromDisk>},
    {"forwardRevealInFinder:", call<&HexWindowController::revealInFinder>},
    {"forwardCopyFilePath:", call<&HexWindowController::copyFilePath>},
    {"forwardUndo:", call<&HexWindowController::undo>},
    {"forwardRedo:", call<&HexWindowController::redo>},
    {"forwardDeleteSelection:", call<&HexWindowController::deleteSelection>},
    {"forwardCopyCurrentOffset:", call<&HexWindowController::copyCurrentOffset>},
    {"forwardSelectAll:", call<&HexWindowController::selectAll>},
    {"forwardSelectRange:", call<&HexWindowController::selectRange>},
    {"forwardFind:", call<&HexWindowController::find>},
    {"forwardReplace:", call<&HexWindowController::replace>},
    {"forwardFindNext:", call<&HexWindowController::findNext>},
    {"forwardFindPrevious:", call<&HexWindowController::findPrevious>},
    {"forwardFindWildcardMask:", call<&HexWindowController::findWildcardMask>},
    {"forwardGoToOffset:", call<&HexWindowController::goToOffset>},
    {"forwardGoToStart:", call<&HexWindowController::goToStart>},
    {"forwardGoToEnd:", call<&HexWindowController::goToEnd>},
    {"forwardBytesPerRow8:", setRow<8>},
    {"forwardBytesPerRow16:", setRow<16>},
    {"forwardBytesPerRow32:", setRow<32>},
    {"forwardToggleInsertMode:", call<&HexWindowController::toggleInsertMode>},
    {"forwardAddBookmark:", call<&HexWindowController::addBookmark>},
    {"forwardNextBookmark:", call<&HexWindowController::nextBookmark>},
    {"forwardPreviousBookmark:", call<&HexWindowController::previousBookmark>},
    {"forwardShowBookmarks:", call<&HexWindowController::showBookmarks>},
    {"forwardRestoreLastSessionOffset:", call<&HexWindowController::restoreLastSessionOffset>},
    {"forwardClearBookmarks:", call<&HexWindowController::clearBookmarks>},
});

const Command* findCommand(std::string_view action) {
  const auto found =
      std::find_if(kCommands.begin(), kCommands.end(),
                   [action](const Command& command) { return command.action == action; });
  return found == kCommands.end() ? nullptr : &*found;
}

}  // namespace

bool HexWindowController::hasCommand(std::string_view action) {
  return findCommand(action) != nullptr;
}

void HexWindowController::perform(std::string_view action) {
  if (const Command* command = findCommand(action)) command->perform(*this);
}

}  // namespace quillmor
