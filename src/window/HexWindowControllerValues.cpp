// Reading the bytes at the caret as values, and writing values in their place.

#include "tools/DataInspector.h"
#include "tools/InspectorEdit.h"
#include "window/HexWindowController.h"
#include "window/Prompts.h"

namespace quillmor {

namespace {

constexpr const char* kEditValue = "Edit Current Value";
constexpr const char* kBitEditor = "Bit Editor";

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
  const auto response = platform_.alerts.runModal(
      {.messageText = kEditValue,
       .informativeText = "Select a type and enter a value.",
       .buttons = {"Apply", "Cancel"},
       .fields = {{.label = "Type:",
                   .choices = {inspectorEditTypeTitles.begin(), inspectorEditTypeTitles.end()}},
                  {.label = "Value:", .placeholder = "Value"}}});
  if (response.button != 0 || !window_) return;
  const auto bytes =
      bytesForInspectorEdit(static_cast<int>(response.selectedChoices.at(0)), response.texts.at(1));
  if (!bytes) return alert(kEditValue, "Invalid value for selected type.");
  overwriteAtCaret(*bytes, kEditValue, "Edit Value");
}

void HexWindowController::bitEditor() {
  if (refuseWhileBusy(kBitEditor) || refuseAtEnd(kBitEditor)) return;
  const std::uint8_t current = hexDocument_->storage()->bytes[editor_.caretOffset()];
  const auto text = askForText(platform_.alerts, kBitEditor, "Enter 8 bits for the current byte.",
                               {.label = "Bits:", .text = bitsOfByte(current)});
  if (!text || !window_) return;
  const auto answer = byteForBits(*text);
  if (const auto* refusal = std::get_if<BitTextRefusal>(&answer))
    return alert(kBitEditor, std::string(messageFor(*refusal)));
  overwriteAtCaret({std::get<std::uint8_t>(answer)}, kBitEditor, "Edit Bits");
}

/// Puts `bytes` over those at the caret as one undoable step, unless they are there already.
void HexWindowController::overwriteAtCaret(const std::vector<std::uint8_t>& bytes,
                                           const std::string& title,
                                           const std::string& actionName) {
  // The dialog ran the event loop.
  if (refuseWhileBusy(title)) return;
  const HexSelection range{editor_.caretOffset(), static_cast<std::int64_t>(bytes.size())};
  if (range.normalized(byteCount()) != range)
    return alert(title, "Selected type does not fit before EOF.");
  HexStorage& storage = *hexDocument_->storage();
  if (storage.bytesEqual(range, bytes)) return updateStatus();
  replaceRange(range, bytes, {actionName, title + " Failed"},
               {.caretOffset = range.start, .selection = range});
}

}  // namespace quillmor
