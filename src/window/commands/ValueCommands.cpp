#include "window/commands/ValueCommands.h"

#include "search/typed/InputNotes.h"
#include "tools/analysis/DataInspector.h"
#include "tools/edits/InspectorEdit.h"
#include "window/commands/Prompts.h"

namespace quillmor {

namespace {

constexpr const char* kEditValue = "Edit Current Value";
constexpr const char* kBitEditor = "Bit Editor";
constexpr const char* kDoesNotFit = "Selected type does not fit before EOF.";

/// The places of the fields of the value editor.
constexpr std::size_t kTypeField = 0;
constexpr std::size_t kValueField = 1;

using Bytes = std::vector<std::uint8_t>;

std::optional<Bytes> typedValue(const AlertResponse& form) {
  return bytesForInspectorEdit(static_cast<int>(form.selectedChoices.at(kTypeField)),
                               form.texts.at(kValueField));
}

std::string noteOnTypedValue(const AlertResponse& form) {
  if (form.texts.at(kValueField).empty()) return {};
  const auto bytes = typedValue(form);
  return bytes ? InputNotes::bytes(*bytes) : "not a value of this type";
}

std::string noteOnTypedBits(const AlertResponse& form) {
  const auto answer = byteForBits(form.texts.at(0));
  const auto* byte = std::get_if<std::uint8_t>(&answer);
  return byte != nullptr ? InputNotes::bytes({byte, 1}) : "not 8 bits";
}

}  // namespace

std::span<const CommandRow<ValueCommands>> ValueCommands::rows() {
  using Family = ValueCommands;
  static constexpr CommandRow<Family> kRows[] = {
      {{.action = "forwardShowDataInspectorDetail:",
        .title = "Data Inspector Detail",
        .need = CommandNeed::bytes},
       &Family::showDataInspectorDetail},
      {{.action = "forwardEditCurrentValue:",
        .title = "Edit Current Value…",
        .need = CommandNeed::bytes,
        .busyTitle = kEditValue},
       &Family::editCurrentValue},
      {{.action = "forwardBitEditor:",
        .title = "Bit Editor…",
        .need = CommandNeed::bytes,
        .busyTitle = kBitEditor},
       &Family::bitEditor},
  };
  return kRows;
}

bool ValueCommands::refuseAtEnd(const std::string& title) {
  if (session_.editor().caretOffset() < session_.byteCount()) return false;
  messages_.alert(title, std::string(DataInspector::kCaretAtEnd));
  return true;
}

void ValueCommands::showDataInspectorDetail() {
  constexpr const char* kTitle = "Data Inspector";
  const auto report =
      DataInspector::detailReport(session_.bytes().span(), session_.editor().caretOffset());
  if (!report) return messages_.alert(kTitle, std::string(DataInspector::kCaretAtEnd));
  context_.showUtilityReport(kTitle, *report);
}

void ValueCommands::editCurrentValue() {
  if (refuseAtEnd(kEditValue)) return;
  const Alert form{
      .messageText = kEditValue,
      .informativeText = "Select a type and enter a value.",
      .buttons = {"Apply", "Cancel"},
      .fields = {{.label = "Type:",
                  .choices = {inspectorEditTypeTitles.begin(), inspectorEditTypeTitles.end()}},
                 {.label = "Value:", .placeholder = "Value", .note = noteOnTypedValue}}};
  const auto read = [this](const AlertResponse& answers) -> std::variant<Bytes, AnswerRefusal> {
    auto typed = typedValue(answers);
    if (!typed) return AnswerRefusal{"Invalid value for selected type.", kValueField};
    if (!fitsAtCaret(*typed)) return AnswerRefusal{kDoesNotFit, kValueField};
    return *std::move(typed);
  };
  const auto bytes =
      context_.ask(kEditValue, [&] { return askUntilRead<Bytes>(messages_.alerts(), form, read); });
  if (bytes) overwriteAtCaret(*bytes, kEditValue, "Edit Value");
}

void ValueCommands::bitEditor() {
  if (refuseAtEnd(kBitEditor)) return;
  const std::uint8_t current = session_.bytes()[session_.editor().caretOffset()];
  const auto refusalOf = [](const std::string& text) -> std::optional<std::string> {
    const auto answer = byteForBits(text);
    if (const auto* refusal = std::get_if<BitTextRefusal>(&answer))
      return std::string(messageFor(*refusal));
    return std::nullopt;
  };
  const auto text = context_.ask(kBitEditor, [&] {
    return askForText(messages_.alerts(), kBitEditor, "Enter 8 bits for the current byte.",
                      {.label = "Bits:", .text = bitsOfByte(current), .note = noteOnTypedBits},
                      refusalOf);
  });
  if (text) {
    overwriteAtCaret({std::get<std::uint8_t>(byteForBits(*text))}, kBitEditor, "Edit Bits");
  }
}

bool ValueCommands::fitsAtCaret(const std::vector<std::uint8_t>& bytes) const {
  return session_.byteCount() - session_.editor().caretOffset() >= std::ssize(bytes);
}

/// Puts `bytes` over those at the caret as one undoable step, unless they are there already.
void ValueCommands::overwriteAtCaret(const std::vector<std::uint8_t>& bytes,
                                     const std::string& title, const std::string& actionName) {
  const HexSelection range{session_.editor().caretOffset(), std::ssize(bytes)};
  if (!fitsAtCaret(bytes)) return messages_.alert(title, kDoesNotFit);
  if (session_.document().storage()->bytesEqual(range, bytes)) return context_.updateStatus();
  messages_.attempt(title + " Failed", [&] {
    session_.replaceRange({.range = range,
                           .actionName = actionName,
                           .after = {.caretOffset = range.start, .selection = range}},
                          bytes);
  });
}

}  // namespace quillmor
