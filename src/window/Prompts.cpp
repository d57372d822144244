#include "window/Prompts.h"

#include "search/HexParser.h"

namespace quillmor {

namespace {

std::optional<std::int64_t> parseNonNegative(const std::string& text) {
  const auto value = HexParser::parseOffset(text);
  return value && *value >= 0 ? value : std::nullopt;
}

/// The form's answers, or absent on "Cancel".
std::optional<std::vector<std::string>> runForm(AlertPresenter& alerts, const std::string& title,
                                                const std::string& message,
                                                std::vector<FormField> fields) {
  const auto response = alerts.runModal({.messageText = title,
                                         .informativeText = message,
                                         .buttons = {"OK", "Cancel"},
                                         .fields = std::move(fields)});
  if (response.button != 0) return std::nullopt;
  return response.texts;
}

}  // namespace

std::optional<std::int64_t> askForOffset(AlertPresenter& alerts, const std::string& title,
                                         const std::string& message) {
  const auto answers =
      runForm(alerts, title, message, {{.label = "Offset:", .placeholder = "0x1000"}});
  if (!answers) return std::nullopt;
  const auto offset = parseNonNegative(answers->at(0));
  if (!offset) alerts.runModal({.messageText = title, .informativeText = "Enter a valid offset."});
  return offset;
}

std::optional<HexSelection> askForRange(AlertPresenter& alerts, const std::string& title,
                                        const std::string& message) {
  const auto answers = runForm(
      alerts, title, message,
      {{.label = "Start:", .placeholder = "0x1000"}, {.label = "Length:", .placeholder = "256"}});
  if (!answers) return std::nullopt;
  const auto start = parseNonNegative(answers->at(0));
  const auto length = parseNonNegative(answers->at(1));
  if (!start || !length) {
    alerts.runModal(
        {.messageText = title, .informativeText = "Enter a valid start offset and length."});
    return std::nullopt;
  }
  return HexSelection{*start, *length};
}

std::optional<std::string> askForText(AlertPresenter& alerts, const std::string& title,
                                      const std::string& message, FormField field) {
  auto answers = runForm(alerts, title, message, {std::move(field)});
  if (!answers) return std::nullopt;
  return std::move(answers->at(0));
}

}  // namespace quillmor
