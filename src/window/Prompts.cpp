#include "window/Prompts.h"

#include "search/HexParser.h"
#include "search/TypedInput.h"

namespace quillmor {

namespace {

std::optional<std::int64_t> parseNonNegative(const std::string& text) {
  const auto value = HexParser::parseOffset(text);
  return value && *value >= 0 ? value : std::nullopt;
}

/// What the user filled in, or absent on "Cancel".
std::optional<AlertResponse> runResponseForm(AlertPresenter& alerts, const std::string& title,
                                             const std::string& message,
                                             std::vector<FormField> fields) {
  auto response = alerts.runModal({.messageText = title,
                                   .informativeText = message,
                                   .buttons = {"OK", "Cancel"},
                                   .fields = std::move(fields)});
  if (response.button != 0) return std::nullopt;
  return response;
}

/// The form's texts, or absent on "Cancel".
std::optional<std::vector<std::string>> runForm(AlertPresenter& alerts, const std::string& title,
                                                const std::string& message,
                                                std::vector<FormField> fields) {
  auto response = runResponseForm(alerts, title, message, std::move(fields));
  if (!response) return std::nullopt;
  return std::move(response->texts);
}

/// In the order of `InputMode`.
const FormField kModeField{.label = "Mode:", .choices = {"Auto", "Hex", "Text"}};
const FormField kBytesField{.label = "Bytes:", .placeholder = "DE AD BE EF"};

/// The pattern that a form beginning with the mode and the bytes was answered with; alerts when
/// there is none.
std::optional<std::vector<std::uint8_t>> patternOrAlert(AlertPresenter& alerts,
                                                        const std::string& title,
                                                        const AlertResponse& response) {
  auto bytes =
      bytesFromInput(response.texts.at(1), static_cast<int>(response.selectedChoices.at(0)));
  if (bytes && !bytes->empty()) return bytes;
  alerts.runModal({.messageText = title, .informativeText = "Enter a valid byte pattern."});
  return std::nullopt;
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
                                        const std::string& message, const std::string& negative) {
  const auto answers = runForm(
      alerts, title, message,
      {{.label = "Start:", .placeholder = "0x1000"}, {.label = "Length:", .placeholder = "256"}});
  if (!answers) return std::nullopt;
  const auto start = HexParser::parseOffset(answers->at(0));
  const auto length = HexParser::parseOffset(answers->at(1));
  if (start && length && *start >= 0 && *length >= 0) return HexSelection{*start, *length};
  alerts.runModal(
      {.messageText = title,
       .informativeText = start && length ? negative : "Enter a valid start offset and length."});
  return std::nullopt;
}

std::optional<std::int64_t> askForPositiveInteger(AlertPresenter& alerts, const std::string& title,
                                                  const std::string& message,
                                                  std::int64_t offered) {
  const auto answers =
      runForm(alerts, title, message, {{.label = "Length:", .text = std::to_string(offered)}});
  if (!answers) return std::nullopt;
  const auto number = HexParser::parseOffset(answers->at(0));
  if (number && *number >= 1) return number;
  alerts.runModal({.messageText = title, .informativeText = "Enter a number of 1 or more."});
  return std::nullopt;
}

std::optional<std::string> askForText(AlertPresenter& alerts, const std::string& title,
                                      const std::string& message, FormField field) {
  auto answers = runForm(alerts, title, message, {std::move(field)});
  if (!answers) return std::nullopt;
  return std::move(answers->at(0));
}

std::optional<std::vector<std::uint8_t>> promptBytePattern(AlertPresenter& alerts,
                                                           const std::string& title,
                                                           const std::string& message) {
  const auto response = runResponseForm(alerts, title, message, {kModeField, kBytesField});
  if (!response) return std::nullopt;
  return patternOrAlert(alerts, title, *response);
}

std::optional<PatternAndNumber> promptBytePatternAndNumber(AlertPresenter& alerts,
                                                           const std::string& title,
                                                           const std::string& message,
                                                           FormField numberField,
                                                           const std::string& invalidNumber) {
  const auto response =
      runResponseForm(alerts, title, message, {kModeField, kBytesField, std::move(numberField)});
  if (!response) return std::nullopt;
  auto pattern = patternOrAlert(alerts, title, *response);
  if (!pattern) return std::nullopt;
  const auto number = HexParser::parseOffset(response->texts.at(2));
  if (!number) {
    alerts.runModal({.messageText = title, .informativeText = invalidNumber});
    return std::nullopt;
  }
  return PatternAndNumber{*std::move(pattern), *number};
}

}  // namespace quillmor
