// Going to places, the settings of the view, and the offset remembered from the last session.

#include "window/HexWindowController.h"
#include "window/commands/Prompts.h"

namespace quillmor {

namespace {

constexpr const char* kBytesPerRowKey = "com.tenvale.Quillmor.bytesPerRow";
constexpr const char* kInsertModeKey = "com.tenvale.Quillmor.insertMode";
constexpr const char* kSessionOffsetKeyPrefix = "Quillmor.session.offset.";

bool isOfferedBytesPerRow(std::int64_t value) {
  return value == 8 || value == 16 || value == 32;
}

}  // namespace

void HexWindowController::showOffset(std::int64_t offset) {
  goTo(std::min(offset, byteCount()), {});
}

void HexWindowController::goToOffset() {
  if (refuseWhileBusy("Go to Offset")) return;
  const auto offset =
      askForOffset(promptAlerts_, "Go to Offset", "Enter decimal, 0xHEX, HEX, or HEXh offset.");
  if (offset) showOffset(*offset);
}

void HexWindowController::goToStart() {
  goTo(0, {});
}

void HexWindowController::goToEnd() {
  goTo(byteCount(), {});
}

void HexWindowController::selectRange() {
  if (refuseWhileBusy("Select Range")) return;
  const auto range =
      askForRange(promptAlerts_, "Select Range",
                  "Enter a start offset and length. Values may be decimal, 0xHEX, HEX, or HEXh.");
  if (!range) return;
  const HexSelection selection = range->normalized(byteCount());
  goTo(selection.start, selection);
}

void HexWindowController::setBytesPerRow(std::int64_t bytesPerRow) {
  editor_.setBytesPerRow(bytesPerRow);
  platform_.defaults.setInteger(kBytesPerRowKey, bytesPerRow);
  updateStatus();
}

void HexWindowController::toggleInsertMode() {
  if (refuseWhileBusy("Toggle Insert Mode")) return;
  editor_.setInsertMode(!editor_.insertMode());
  platform_.defaults.setBoolean(kInsertModeKey, editor_.insertMode());
  updateStatus();
}

void HexWindowController::revealInFinder() {
  if (refuseWithoutFile("Reveal in Finder")) return;
  platform_.workspace.revealInFileManager(*hexDocument_->location());
}

void HexWindowController::applyUserDefaults() {
  const auto bytesPerRow = platform_.defaults.integer(kBytesPerRowKey);
  if (bytesPerRow && isOfferedBytesPerRow(*bytesPerRow)) editor_.setBytesPerRow(*bytesPerRow);
  editor_.setInsertMode(platform_.defaults.boolean(kInsertModeKey).value_or(false));
}

std::optional<std::string> HexWindowController::sessionOffsetKey() const {
  if (!hexDocument_->location()) return std::nullopt;
  return kSessionOffsetKeyPrefix + hexDocument_->location()->path();
}

void HexWindowController::saveSessionOffset() {
  if (const auto key = sessionOffsetKey())
    platform_.defaults.setInteger(*key, editor_.caretOffset());
}

void HexWindowController::restoreLastSessionOffset() {
  if (refuseWithoutFile("Session")) return;
  const auto offset = platform_.defaults.integer(*sessionOffsetKey());
  if (!offset) return alert("Session", "No saved offset for this file.");
  if (*offset < 0 || *offset > byteCount()) {
    return alert("Session", "The saved offset is outside the current file.");
  }
  goTo(*offset, {*offset, 0});
}

}  // namespace quillmor
