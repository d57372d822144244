#include "window/commands/Prompts.h"

#include <utility>

#include "search/typed/HexParser.h"
#include "search/typed/InputNotes.h"
#include "search/typed/TypedInput.h"

namespace quillmor {

namespace {

using Pattern = std::vector<std::uint8_t>;

/// The places of the fields of a form that begins with a byte pattern.
constexpr std::size_t kModeIndex = 0;
constexpr std::size_t kBytesIndex = 1;
constexpr std::size_t kNumberIndex = 2;

constexpr const char* kInvalidRange = "Enter a valid start offset and length.";

Alert formOf(const std::string& title, const std::string& message, std::vector<FormField> fields) {
  return {.messageText = title,
          .informativeText = message,
          .buttons = {"OK", "Cancel"},
          .fields = std::move(fields)};
}

/// The note of field `index`, which depends on that field's text alone.
auto noteOn(std::size_t index, std::string (*noteOf)(std::string_view)) {
  return [index, noteOf](const AlertResponse& form) { return noteOf(form.texts.at(index)); };
}

std::vector<std::string> modeTitles(PatternInput input) {
  if (input == PatternInput::hexUnlessText) return {"Hex", "Text"};
  return {"Auto", "Hex", "Text"};
}

/// The input mode that the pop-up of `modeTitles` is set to.
int modeOf(PatternInput input, const AlertResponse& form) {
  const int first = input == PatternInput::hexUnlessText ? kInputModeHex : kInputModeAuto;
  return first + static_cast<int>(form.selectedChoices.at(kModeIndex));
}

std::vector<FormField> patternFields(PatternInput input) {
  const auto note = [input](const AlertResponse& form) {
    return InputNotes::typedBytes(form.texts.at(kBytesIndex), modeOf(input, form));
  };
  return {{.label = "Mode:", .choices = modeTitles(input)},
          {.label = "Bytes:", .placeholder = "DE AD BE EF", .note = note}};
}

std::variant<Pattern, AnswerRefusal> readPattern(PatternInput input, const AlertResponse& form) {
  auto bytes = bytesFromInput(form.texts.at(kBytesIndex), modeOf(input, form));
  if (bytes && !bytes->empty()) return *std::move(bytes);
  return AnswerRefusal{"Enter a valid byte pattern.", kBytesIndex};
}

}  // namespace

void refuseAnswer(AlertPresenter& alerts, Alert& form, const AlertResponse& response,
                  const AnswerRefusal& refusal) {
  alerts.runModal({.messageText = form.messageText, .informativeText = refusal.message});
  for (std::size_t i = 0; i < form.fields.size(); ++i) {
    form.fields[i].text = response.texts.at(i);
    form.fields[i].selectedChoice = response.selectedChoices.at(i);
  }
  form.focusedField = refusal.field;
}

std::optional<std::int64_t> askForOffset(AlertPresenter& alerts, const std::string& title,
                                         const std::string& message) {
  Alert form = formOf(
      title, message,
      {{.label = "Offset:", .placeholder = "0x1000", .note = noteOn(0, InputNotes::offset)}});
  return askUntilRead<std::int64_t>(
      alerts, std::move(form),
      [](const AlertResponse& answers) -> std::variant<std::int64_t, AnswerRefusal> {
        const auto offset = HexParser::parseOffset(answers.texts.at(0));
        if (offset && *offset >= 0) return *offset;
        return AnswerRefusal{"Enter a valid offset."};
      });
}

std::optional<HexSelection> askForRange(AlertPresenter& alerts, const std::string& title,
                                        const std::string& message, const std::string& negative) {
  Alert form =
      formOf(title, message,
             {{.label = "Start:", .placeholder = "0x1000", .note = noteOn(0, InputNotes::offset)},
              {.label = "Length:", .placeholder = "256", .note = noteOn(1, InputNotes::number)}});
  return askUntilRead<HexSelection>(
      alerts, std::move(form),
      [&negative](const AlertResponse& answers) -> std::variant<HexSelection, AnswerRefusal> {
        const auto start = HexParser::parseOffset(answers.texts.at(0));
        const auto length = HexParser::parseOffset(answers.texts.at(1));
        if (!start || !length) return AnswerRefusal{kInvalidRange, start ? 1U : 0U};
        if (*start < 0 || *length < 0) return AnswerRefusal{negative, *start < 0 ? 0U : 1U};
        return HexSelection{*start, *length};
      });
}

std::optional<std::int64_t> askForPositiveInteger(AlertPresenter& alerts, const std::string& title,
                                                  const std::string& message,
                                                  std::int64_t offered) {
  Alert form = formOf(title, message,
                      {{.label = "Length:",
                        .text = std::to_string(offered),
                        .note = noteOn(0, InputNotes::number)}});
  return askUntilRead<std::int64_t>(
      alerts, std::move(form),
      [](const AlertResponse& answers) -> std::variant<std::int64_t, AnswerRefusal> {
        const auto number = HexParser::parseOffset(answers.texts.at(0));
        if (number && *number >= 1) return *number;
        return AnswerRefusal{"Enter a number of 1 or more."};
      });
}

std::optional<std::string> askForText(
    AlertPresenter& alerts, const std::string& title, const std::string& message, FormField field,
    const std::function<std::optional<std::string>(const std::string&)>& refusalOf) {
  return askUntilRead<std::string>(
      alerts, formOf(title, message, {std::move(field)}),
      [&refusalOf](const AlertResponse& answers) -> std::variant<std::string, AnswerRefusal> {
        if (auto refusal = refusalOf(answers.texts.at(0)))
          return AnswerRefusal{*std::move(refusal)};
        return answers.texts.at(0);
      });
}

std::optional<Pattern> promptBytePattern(AlertPresenter& alerts, const std::string& title,
                                         const std::string& message, PatternInput input) {
  return askUntilRead<Pattern>(
      alerts, formOf(title, message, patternFields(input)),
      [input](const AlertResponse& answers) { return readPattern(input, answers); });
}

std::optional<PatternAndNumber> promptBytePatternAndNumber(AlertPresenter& alerts,
                                                           const std::string& title,
                                                           const std::string& message,
                                                           NumberPrompt number) {
  auto fields = patternFields(PatternInput::autoHexOrText);
  fields.push_back(std::move(number.field));
  fields.back().note = noteOn(kNumberIndex, InputNotes::number);
  return askUntilRead<PatternAndNumber>(
      alerts, formOf(title, message, std::move(fields)),
      [&number](const AlertResponse& answers) -> std::variant<PatternAndNumber, AnswerRefusal> {
        auto pattern = readPattern(PatternInput::autoHexOrText, answers);
        if (auto* refusal = std::get_if<AnswerRefusal>(&pattern)) return std::move(*refusal);
        const auto typed = HexParser::parseOffset(answers.texts.at(kNumberIndex));
        if (!typed) return AnswerRefusal{number.invalid, kNumberIndex};
        PatternAndNumber answer{std::get<Pattern>(std::move(pattern)), *typed};
        if (auto refusal = number.refusalOf(answer))
          return AnswerRefusal{*std::move(refusal), kNumberIndex};
        return answer;
      });
}

}  // namespace quillmor
