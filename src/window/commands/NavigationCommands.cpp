#include "window/commands/NavigationCommands.h"

#include <algorithm>

#include "window/commands/Prompts.h"

namespace quillmor {

namespace {

constexpr const char* kBytesPerRowKey = "com.tenvale.Quillmor.bytesPerRow";
constexpr const char* kInsertModeKey = "com.tenvale.Quillmor.insertMode";
constexpr const char* kSessionOffsetKeyPrefix = "Quillmor.session.offset.";

constexpr const char* kReveal = "Reveal in Finder";
constexpr const char* kSelectRange = "Select Range";
constexpr const char* kGoToOffset = "Go to Offset";
constexpr const char* kInsertMode = "Toggle Insert Mode";
constexpr const char* kSession = "Session";

bool isOfferedBytesPerRow(std::int64_t value) {
  return value == 8 || value == 16 || value == 32;
}

}  // namespace

std::span<const CommandRow<NavigationCommands>> NavigationCommands::rows() {
  using Family = NavigationCommands;
  static constexpr CommandRow<Family> kRows[] = {
      {{.action = "forwardRevealInFinder:", .title = kReveal, .need = CommandNeed::file},
       &Family::revealInFinder},
      {{.action = "forwardSelectAll:",
        .title = "Select All",
        .key = "a",
        .need = CommandNeed::bytes},
       &Family::selectAll},
      {{.action = "forwardSelectRange:",
        .title = "Select Range…",
        .need = CommandNeed::bytes,
        .busyTitle = kSelectRange},
       &Family::selectRange},
      {{.action = "forwardGoToOffset:",
        .title = "Go to Offset…",
        .key = "l",
        .need = CommandNeed::bytes,
        .busyTitle = kGoToOffset},
       &Family::goToOffset},
      {{.action = "forwardGoToStart:", .title = "Go to Start", .need = CommandNeed::bytes},
       &Family::goToStart},
      {{.action = "forwardGoToEnd:", .title = "Go to End", .need = CommandNeed::bytes},
       &Family::goToEnd},
      {{.action = "forwardBytesPerRow8:", .title = "Bytes per Row: 8"},
       &Family::showBytesPerRow<8>},
      {{.action = "forwardBytesPerRow16:", .title = "Bytes per Row: 16"},
       &Family::showBytesPerRow<16>},
      {{.action = "forwardBytesPerRow32:", .title = "Bytes per Row: 32"},
       &Family::showBytesPerRow<32>},
      {{.action = "forwardToggleInsertMode:",
        .title = kInsertMode,
        .key = "i",
        .busyTitle = kInsertMode},
       &Family::toggleInsertMode},
      {{.action = "forwardRestoreLastSessionOffset:", .title = "Restore Last Session Offset"},
       &Family::restoreLastSessionOffset},
  };
  return kRows;
}

void NavigationCommands::revealInFinder() {
  if (context_.refuseWithoutFile(kReveal)) return;
  context_.platform().workspace.revealInFileManager(*session_.document().location());
}

void NavigationCommands::selectAll() {
  session_.moveCaret({0, {0, session_.byteCount()}});
}

void NavigationCommands::selectRange() {
  const auto range =
      askForRange(messages_.alerts(), kSelectRange,
                  "Enter a start offset and length. Values may be decimal, 0xHEX, HEX, or HEXh.");
  if (!range) return;
  const HexSelection selection = range->normalized(session_.byteCount());
  session_.goTo({selection.start, selection});
}

void NavigationCommands::showOffset(std::int64_t offset) {
  session_.goTo({std::min(offset, session_.byteCount()), {}});
}

void NavigationCommands::goToOffset() {
  const auto offset =
      askForOffset(messages_.alerts(), kGoToOffset, "Enter decimal, 0xHEX, HEX, or HEXh offset.");
  if (offset) showOffset(*offset);
}

void NavigationCommands::goToStart() {
  session_.goTo({});
}

void NavigationCommands::goToEnd() {
  session_.goTo({session_.byteCount(), {}});
}

void NavigationCommands::setBytesPerRow(std::int64_t bytesPerRow) {
  session_.editor().setBytesPerRow(bytesPerRow);
  context_.platform().defaults.setInteger(kBytesPerRowKey, bytesPerRow);
  context_.updateStatus();
}

void NavigationCommands::toggleInsertMode() {
  HexEditorState& editor = session_.editor();
  editor.setInsertMode(!editor.insertMode());
  context_.platform().defaults.setBoolean(kInsertModeKey, editor.insertMode());
  context_.updateStatus();
}

void NavigationCommands::applyUserDefaults() {
  UserDefaults& defaults = context_.platform().defaults;
  const auto bytesPerRow = defaults.integer(kBytesPerRowKey);
  if (bytesPerRow && isOfferedBytesPerRow(*bytesPerRow))
    session_.editor().setBytesPerRow(*bytesPerRow);
  session_.editor().setInsertMode(defaults.boolean(kInsertModeKey).value_or(false));
}

std::optional<std::string> NavigationCommands::sessionOffsetKey() const {
  const auto& location = session_.document().location();
  if (!location) return std::nullopt;
  return kSessionOffsetKeyPrefix + location->path();
}

void NavigationCommands::saveSessionOffset() {
  if (context_.traces() == Traces::none) return;
  if (const auto key = sessionOffsetKey())
    context_.platform().defaults.setInteger(*key, session_.editor().caretOffset());
}

void NavigationCommands::restoreLastSessionOffset() {
  if (context_.refuseWithoutFile(kSession)) return;
  const auto offset = context_.platform().defaults.integer(*sessionOffsetKey());
  if (!offset) return messages_.alert(kSession, "No saved offset for this file.");
  if (*offset < 0 || *offset > session_.byteCount())
    return messages_.alert(kSession, "The saved offset is outside the current file.");
  session_.goTo({*offset, {*offset, 0}});
}

}  // namespace quillmor
