// Reading the bytes at the caret as values, and writing values in their place.

#include "search/typed/InputNotes.h"
#include "tools/analysis/DataInspector.h"
#include "tools/edits/InspectorEdit.h"
#include "window/HexWindowController.h"
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

bool HexWindowController::refuseAtEnd(const std::string& title) {
  if (editor_.caretOffset() < byteCount()) return false;
  alert(title, std::string(DataInspector::kCaretAtEnd));
  return true;
}

void HexWindowController::showDataInspectorDetail() {
  constexpr const char* kTitle = "Data Inspector";
  const auto report =
      DataInspector::detailReport(hexDocument_->storage()->bytes.span(), editor_.caretOffset());
  if (!report) return alert(kTitle, std::string(DataInspector::kCaretAtEnd));
  showUtilityReport(kTitle, *report);
}

void HexWindowController::editCurrentValue() {
  if (refuseWhileBusy(kEditValue) || refuseAtEnd(kEditValue)) return;
  const Alert form{
      .messageText = kEditValue,
      .informativeText = "Select a type and enter a value.",
      .buttons = {"Apply", "Cancel"},
      .fields = {{.label = "Type:",
                  .choices = {inspectorEditTypeTitles.begin(), inspectorEditTypeTitles.end()}},
                 {.label = "Value:", .placeholder = "Value", .note = noteOnTypedValue}}};
  const auto bytes = askUntilRead<Bytes>(
      promptAlerts_, form,
      [this](const AlertResponse& answers) -> std::variant<Bytes, AnswerRefusal> {
        auto typed = typedValue(answers);
        if (!typed) return AnswerRefusal{"Invalid value for selected type.", kValueField};
        if (!fitsAtCaret(*typed)) return AnswerRefusal{kDoesNotFit, kValueField};
        return *std::move(typed);
      });
  if (bytes && window_) overwriteAtCaret(*bytes, kEditValue, "Edit Value");
}

void HexWindowController::bitEditor() {
  if (refuseWhileBusy(kBitEditor) || refuseAtEnd(kBitEditor)) return;
  const std::uint8_t current = hexDocument_->storage()->bytes[editor_.caretOffset()];
  const auto refusalOf = [](const std::string& text) -> std::optional<std::string> {
    const auto answer = byteForBits(text);
    if (const auto* refusal = std::get_if<BitTextRefusal>(&answer))
      return std::string(messageFor(*refusal));
    return std::nullopt;
  };
  const auto text = askForText(
      promptAlerts_, kBitEditor, "Enter 8 bits for the current byte.",
      {.label = "Bits:", .text = bitsOfByte(current), .note = noteOnTypedBits}, refusalOf);
  if (!text || !window_) return;
  overwriteAtCaret({std::get<std::uint8_t>(byteForBits(*text))}, kBitEditor, "Edit Bits");
}

bool HexWindowController::fitsAtCaret(const std::vector<std::uint8_t>& bytes) const {
  return byteCount() - editor_.caretOffset() >= std::ssize(bytes);
}

/// Puts `bytes` over those at the caret as one undoable step, unless they are there already.
void HexWindowController::overwriteAtCaret(const std::vector<std::uint8_t>& bytes,
                                           const std::string& title,
                                           const std::string& actionName) {
  // The dialog ran the event loop.
  if (refuseWhileBusy(title)) return;
  const HexSelection range{editor_.caretOffset(), std::ssize(bytes)};
  if (!fitsAtCaret(bytes)) return alert(title, kDoesNotFit);
  HexStorage& storage = *hexDocument_->storage();
  if (storage.bytesEqual(range, bytes)) return updateStatus();
  replaceRange(range, bytes, {actionName, title + " Failed"},
               {.caretOffset = range.start, .selection = range});
}

}  // namespace quillmor
