#include "window/commands/WindowMessages.h"

#include "window/commands/BackgroundTaskFrame.h"

namespace quillmor {

WindowMessages::WindowMessages(const PlatformServices& platform, const EditSession& session,
                               std::function<EditorWindowSurface*()> window)
    : platform_(platform),
      session_(session),
      window_(std::move(window)),
      windowAlerts_(platform.alerts, [this] { return window_() != nullptr; }) {}

WindowMessages::NoticePlace WindowMessages::noticePlace() const {
  const HexEditorState& editor = session_.editor();
  return {editor.caretOffset(), editor.selection(), editor.editingHighNibble()};
}

void WindowMessages::showNotice(const std::string& text) {
  EditorWindowSurface* const window = window_();
  if (window == nullptr) return;
  noticePlace_ = noticePlace();
  window->setNotice(text);
}

void WindowMessages::clearNotice() {
  if (!noticePlace_) return;
  noticePlace_.reset();
  if (EditorWindowSurface* const window = window_()) window->setNotice("");
}

void WindowMessages::clearNoticeAfterMove() {
  if (noticePlace_ && *noticePlace_ != noticePlace()) clearNotice();
}

void WindowMessages::refuse(const std::string& reason) {
  platform_.beeper.beep();
  showNotice(reason);
}

void WindowMessages::noteReason(const Error& error) {
  if (!error.reason().empty()) showNotice(error.messageWithReason());
}

void WindowMessages::noteOpenFailure(const FileLocation& location, const Error& error) {
  const std::string name = location.shownName();
  showNotice("Could not open " + (name.empty() ? location.shownPath() : name) + ": " +
             (error.reason().empty() ? error.message() : error.reason()));
}

void WindowMessages::alert(const std::string& title, const std::string& text) {
  platform_.alerts.runModal({.messageText = title, .informativeText = text});
}

void WindowMessages::alert(const std::string& title, const Error& error) {
  noteReason(error);
  alert(title, error.message());
}

bool WindowMessages::alertRefusal(const Refusal& refusal, const std::string& title) {
  if (refusal) alert(title, *refusal);
  return refusal.has_value();
}

void WindowMessages::showFailure(const Error& error, const std::string& title) {
  // The frame has already shown the busy alert.
  if (window_() != nullptr && !error.isStopped() && !BackgroundTaskFrame::isBusyError(error))
    alert(title, error);
}

bool WindowMessages::attempt(const std::string& failureTitle, const std::function<void()>& work) {
  const auto result = resultOf([&] {
    work();
    return Done{};
  });
  if (!result.isOk()) showFailure(result.error(), failureTitle);
  return !result.isOk();
}

}  // namespace quillmor
