// Questions for the user.

#include "window/commands/CommandContext.h"

namespace quillmor {

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

std::optional<FileLocation> CommandContext::chooseFile(const std::string& panelTitle,
                                                       const std::string& busyTitle) {
  return ask(busyTitle, [&]() -> std::optional<FileLocation> {
    auto chosen = platform_.filePanels.runOpenPanel(panelTitle, /*allowsMultipleSelection=*/false,
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
