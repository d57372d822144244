// Sentences in the status area: what was refused, not found, or why something failed.

#include "window/HexWindowController.h"

namespace quillmor {

HexWindowController::NoticePlace HexWindowController::noticePlace() const {
  return {editor_.caretOffset(), editor_.selection(), editor_.editingHighNibble()};
}

void HexWindowController::showNotice(const std::string& text) {
  if (!window_) return;
  noticePlace_ = noticePlace();
  window_->setNotice(text);
}

void HexWindowController::clearNotice() {
  if (!noticePlace_) return;
  noticePlace_.reset();
  if (window_) window_->setNotice("");
}

/// The caret and the selection are set to what they are time and again; only a move counts.
void HexWindowController::clearNoticeAfterMove() {
  if (noticePlace_ && *noticePlace_ != noticePlace()) clearNotice();
}

void HexWindowController::refuse(const std::string& reason) {
  platform_.beeper.beep();
  showNotice(reason);
}

void HexWindowController::didRefuse(const std::string& reason) {
  showNotice(reason);
}

void HexWindowController::noteReason(const Error& error) {
  if (!error.reason().empty()) showNotice(error.messageWithReason());
}

void HexWindowController::noteOpenFailure(const FileLocation& location, const Error& error) {
  const std::string name = location.shownName();
  showNotice("Could not open " + (name.empty() ? location.shownPath() : name) + ": " +
             (error.reason().empty() ? error.message() : error.reason()));
}

}  // namespace quillmor
