#include "window/commands/EditCommands.h"

#include "base/ByteUnits.h"
#include "base/HexText.h"
#include "search/typed/TypedInput.h"

namespace quillmor {

namespace {

/// Clipboard text from this size on is read off the main thread.
constexpr std::int64_t kBackgroundPasteBytes = kMiB;

constexpr const char* kCut = "Cut";
constexpr const char* kCopy = "Copy";
constexpr const char* kPaste = "Paste";
constexpr const char* kPasteFailed = "Paste Failed";
constexpr const char* kDelete = "Delete";
constexpr const char* kCopyRange = "Copy Selection Range";
constexpr const char* kCopyPath = "Copy File Path";
constexpr const char* kNothingToPaste = "The clipboard holds nothing to paste.";

/// The title of the command that copies text in a style.
constexpr const char* titleOf(ClipboardTextStyle style) {
  switch (style) {
    case ClipboardTextStyle::hex:
      return "Copy as Hex";
    case ClipboardTextStyle::cArray:
      return "Copy as C Array";
    case ClipboardTextStyle::swiftArray:
      return "Copy as Swift Array";
    case ClipboardTextStyle::base64:
      return "Copy as Base64";
    case ClipboardTextStyle::pythonBytes:
      return "Copy as Python Bytes";
    case ClipboardTextStyle::jsonByteArray:
      return "Copy as JSON Byte Array";
  }
  return "";
}

constexpr Command copyingAs(std::string_view action, ClipboardTextStyle style) {
  return {.action = action,
          .title = titleOf(style),
          .need = CommandNeed::bytes,
          .busyTitle = titleOf(style)};
}

}  // namespace

std::span<const CommandRow<EditCommands>> EditCommands::rows() {
  using Family = EditCommands;
  using Style = ClipboardTextStyle;
  static constexpr CommandRow<Family> kRows[] = {
      {{.action = "forwardUndo:", .title = "Undo", .key = "z", .need = CommandNeed::undo},
       &Family::undo},
      {{.action = "forwardRedo:",
        .title = "Redo",
        .key = "z",
        .shift = true,
        .need = CommandNeed::redo},
       &Family::redo},
      {{.action = "forwardCut:", .title = kCut, .key = "x", .busyTitle = kCut}, &Family::cut},
      {{.action = "forwardCopy:",
        .title = kCopy,
        .key = "c",
        .need = CommandNeed::bytes,
        .busyTitle = kCopy},
       &Family::copy},
      {{.action = "forwardPaste:", .title = kPaste, .key = "v"}, &Family::paste},
      {{.action = "forwardDeleteSelection:", .title = kDelete, .key = "\b", .busyTitle = kDelete},
       &Family::deleteSelection},
      {copyingAs("forwardCopyAsHex:", Style::hex), &Family::copyAs<Style::hex>},
      {copyingAs("forwardCopyAsCArray:", Style::cArray), &Family::copyAs<Style::cArray>},
      {copyingAs("forwardCopyAsSwiftArray:", Style::swiftArray),
       &Family::copyAs<Style::swiftArray>},
      {copyingAs("forwardCopyAsBase64:", Style::base64), &Family::copyAs<Style::base64>},
      {copyingAs("forwardCopyAsPythonBytes:", Style::pythonBytes),
       &Family::copyAs<Style::pythonBytes>},
      {copyingAs("forwardCopyAsJSONByteArray:", Style::jsonByteArray),
       &Family::copyAs<Style::jsonByteArray>},
      {{.action = "forwardCopyCurrentOffset:",
        .title = "Copy Current Offset",
        .need = CommandNeed::bytes},
       &Family::copyCurrentOffset},
      {{.action = "forwardCopySelectionRange:",
        .title = kCopyRange,
        .need = CommandNeed::bytes,
        .busyTitle = kCopyRange},
       &Family::copySelectionRange},
      {{.action = "forwardCopyFilePath:", .title = kCopyPath, .need = CommandNeed::file},
       &Family::copyFilePath},
  };
  return kRows;
}

void EditCommands::undo() {
  if (context_.isBusy()) return messages_.refuse(BackgroundTaskFrame::busyError().message());
  if (!session_.undo()) messages_.refuse(kNothingToUndo);
}

void EditCommands::redo() {
  if (context_.isBusy()) return messages_.refuse(BackgroundTaskFrame::busyError().message());
  if (!session_.redo()) messages_.refuse(kNothingToRedo);
}

void EditCommands::cut() {
  copySelectionToPasteboard(/*deleteAfterCopy=*/true);
}

void EditCommands::copy() {
  copySelectionToPasteboard(/*deleteAfterCopy=*/false);
}

void EditCommands::deleteSelection() {
  session_.editor().deleteSelectionOrByte(/*backward=*/false);
}

/// The bytes that a copying command takes; absent, after an alert, when they are too many.
std::optional<HexSelection> EditCommands::rangeForClipboardOrAlert(
    const std::string& title, Refusal (*refusalOf)(std::int64_t length)) {
  const auto range = selectedRangeForClipboard(
      session_.editor().selection(), session_.editor().caretOffset(), session_.byteCount());
  if (range && messages_.alertRefusal(refusalOf(range->length), title)) return std::nullopt;
  return range;
}

void EditCommands::copySelectionToPasteboard(bool deleteAfterCopy) {
  const std::string title = deleteAfterCopy ? kCut : kCopy;
  const auto range = rangeForClipboardOrAlert(title, refusalOfCopying);
  if (!range) return;
  // Without a selection the byte at the caret is taken; undo brings back that nothing was selected.
  auto completion = [this, title, place = session_.place(),
                     deleteAfterCopy](Result<StandardClipboardPayload> payload) {
    if (messages_.failed(payload, title + " Failed")) return;
    if (!publishStandardClipboardPayload(std::move(payload.value())) || !deleteAfterCopy) return;
    const bool hasFailed = messages_.attempt(title + " Failed", [&] {
      // Another selection may have been made meanwhile; what was published goes.
      session_.editor().placeCaretAndSelection(place.caretOffset, place.selection);
      session_.editor().deleteSelectionOrByte(/*backward=*/false);
    });
    if (hasFailed) session_.editor().showCaretAndSelection();
  };
  constexpr auto payloadOf = [](const ByteBuffer& bytes, HexSelection selected,
                                TaskProgress& progress) {
    return standardClipboardPayload(bytes.slice(selected.start, selected.length), &progress);
  };
  context_.runSnapshotTaskFrom(backgroundEditThresholdBytes, range->length,
                               deleteAfterCopy ? "Preparing cut…" : "Preparing copy…", *range,
                               payloadOf, std::move(completion));
}

bool EditCommands::publishStandardClipboardPayload(StandardClipboardPayload payload) {
  if (context_.platform().pasteboard.setBytes(std::move(payload.data),
                                              std::move(payload.hexString)))
    return true;
  messages_.alert(kCopy, "The pasteboard rejected the selected data. Nothing was removed.");
  return false;
}

void EditCommands::copySelectionAsText(ClipboardTextStyle style) {
  const std::string title = titleOf(style);
  const auto range = rangeForClipboardOrAlert(title, refusalOfClipboardText);
  if (!range) return;
  auto work = [style](const ByteBuffer& bytes, HexSelection selected, TaskProgress& progress) {
    return clipboardText(bytes.span(selected.start, selected.length), style, &progress);
  };
  auto completion = [this, title](Result<std::string> text) {
    if (messages_.failed(text, title + " Failed")) return;
    if (!context_.platform().pasteboard.setText(std::move(text.value())))
      messages_.alert(title, "The pasteboard rejected the converted text.");
  };
  context_.runSnapshotTaskFrom(backgroundEditThresholdBytes, range->length, "Preparing copy…",
                               *range, std::move(work), std::move(completion));
}

void EditCommands::copyCurrentOffset() {
  context_.platform().pasteboard.setText(offsetText(session_.editor().caretOffset()));
}

void EditCommands::copySelectionRange() {
  const HexSelection range = session_.selectedRange();
  if (range.length < 1) return messages_.alert(kCopyRange, "Select one or more bytes first.");
  context_.platform().pasteboard.setText(offsetText(range.start) + " - " +
                                         offsetText(range.start + range.length - 1));
}

void EditCommands::copyFilePath() {
  if (context_.refuseWithoutFile(kCopyPath)) return;
  context_.platform().pasteboard.setText(session_.document().location()->path());
}

void EditCommands::paste() {
  if (context_.isBusy())
    return messages_.alert(kPasteFailed, BackgroundTaskFrame::busyError().message());
  if (const auto held = context_.platform().pasteboard.bytes(maxGeneratedInputBytes)) {
    if (!context_.validateGeneratedByteCount(held->byteCount, kPaste)) return;
    return pastePreparedBytes(held->bytes.span());
  }
  auto text = boundedPasteboardString();
  if (!text) return;
  const bool isLong = std::ssize(*text) >= kBackgroundPasteBytes;
  auto work = [text = *std::move(text)](TaskProgress&) {
    return bytesForPastedText(text, maxGeneratedInputBytes, maxTextInputCharacters);
  };
  auto completion = [this](const Result<std::vector<std::uint8_t>>& bytes) {
    if (!messages_.failed(bytes, kPasteFailed)) pastePreparedBytes(bytes.value());
  };
  if (isLong) return context_.runBackgroundTask("Preparing paste…", std::move(work), completion);
  TaskProgress progress;
  completion(resultOf([&] { return work(progress); }));
}

/// The pasteboard's text. Absent with a beep when there is none, with an alert when it is too long.
std::optional<std::string> EditCommands::boundedPasteboardString() {
  auto held = context_.platform().pasteboard.text(maxClipboardTextSourceBytes);
  if (!held || (!held->isTooLong && held->text.empty())) {
    messages_.refuse(kNothingToPaste);
    return std::nullopt;
  }
  if (held->isTooLong) {
    messages_.alert(kPaste,
                    "Clipboard text is too large to paste safely. The text source limit is " +
                        std::to_string(maxClipboardTextSourceBytes) + " bytes.");
    return std::nullopt;
  }
  return std::move(held->text);
}

void EditCommands::pastePreparedBytes(std::span<const std::uint8_t> bytes) {
  const std::int64_t count = std::ssize(bytes);
  if (count < 1) return messages_.refuse(kNothingToPaste);
  if (!context_.validateGeneratedByteCount(count, kPaste)) return;
  const std::int64_t replaced = session_.editor().byteCountReplacedBy(count);
  if (!context_.validateResultingDocumentByteCount(replaced, count, kPaste)) return;
  messages_.attempt(kPasteFailed, [&] { session_.editor().paste(bytes); });
}

}  // namespace quillmor
