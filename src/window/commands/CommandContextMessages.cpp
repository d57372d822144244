// Sentences for the user: notices in the status area, alerts and questions.

#include "window/commands/CommandContext.h"

namespace quillmor {

CommandContext::NoticePlace CommandContext::noticePlace() const {
  const HexEditorState& editor = session_.editor();
  return {editor.caretOffset(), editor.selection(), editor.editingHighNibble()};
}

void CommandContext::showNotice(const std::string& text) {
  if (!window_) return;
  noticePlace_ = noticePlace();
  window_->setNotice(text);
}

void CommandContext::clearNotice() {
  if (!noticePlace_) return;
  noticePlace_.reset();
  if (window_) window_->setNotice("");
}

void CommandContext::refuse(const std::string& reason) {
  platform_.beeper.beep();
  showNotice(reason);
}

void CommandContext::noteReason(const Error& error) {
  if (!error.reason().empty()) showNotice(error.messageWithReason());
}

void CommandContext::noteOpenFailure(const FileLocation& location, const Error& error) {
  const std::string name = location.shownName();
  showNotice("Could not open " + (name.empty() ? location.shownPath() : name) + ": " +
             (error.reason().empty() ? error.message() : error.reason()));
}

void CommandContext::alert(const std::string& title, const std::string& text) {
  platform_.alerts.runModal({.messageText = title, .informativeText = text});
}

void CommandContext::alert(const std::string& title, const Error& error) {
  noteReason(error);
  alert(title, error.message());
}

bool CommandContext::alertRefusal(const Refusal& refusal, const std::string& title) {
  if (refusal) alert(title, *refusal);
  return refusal.has_value();
}

void CommandContext::showFailure(const Error& error, const std::string& title) {
  // The frame has already shown the busy alert.
  if (window_ && !error.isStopped() && !BackgroundTaskFrame::isBusyError(error))
    alert(title, error);
}

bool CommandContext::attempt(const std::string& failureTitle, const std::function<void()>& work) {
  const auto result = resultOf([&] {
    work();
    return Done{};
  });
  if (!result.isOk()) showFailure(result.error(), failureTitle);
  return !result.isOk();
}

bool CommandContext::confirm(const std::string& title, const std::string& text,
                             const std::string& button, const std::string& busyTitle) {
  const auto question = [&]() -> std::optional<Done> {
    const auto response = platform_.alerts.runModal({.messageText = title,
                                                     .informativeText = text,
                                                     .style = AlertStyle::warning,
                                                     .buttons = {button, "Cancel"}});
    if (response.button != 0) return std::nullopt;
    return Done{};
  };
  return ask(busyTitle, question).has_value();
}

std::optional<FileLocation> CommandContext::chooseFile(const std::string& title) {
  return ask(title, [&]() -> std::optional<FileLocation> {
    auto chosen = platform_.filePanels.runOpenPanel(title, /*allowsMultipleSelection=*/false,
                                                    documentDirectory());
    if (chosen.empty()) return std::nullopt;
    return std::move(chosen.front());
  });
}

std::optional<FileLocation> CommandContext::chooseDestination(const std::string& title,
                                                              const std::string& suggestedName) {
  return ask(title, [&] {
    return platform_.filePanels.runSavePanel(title, suggestedName, documentDirectory());
  });
}

std::optional<FileLocation> CommandContext::documentDirectory() {
  if (!document().location()) return std::nullopt;
  return document().location()->directory();
}

}  // namespace quillmor
