// Copying, cutting and pasting.

#include "base/HexText.h"
#include "search/typed/TypedInput.h"
#include "window/HexWindowController.h"
#include "window/commands/WindowLimits.h"

namespace quillmor {

namespace {

/// Clipboard text from this size on is read off the main thread.
constexpr std::int64_t kBackgroundPasteBytes = 1'048'576;

constexpr const char* kPaste = "Paste";
constexpr const char* kPasteFailed = "Paste Failed";
constexpr const char* kNothingToPaste = "The clipboard holds nothing to paste.";

std::int64_t sizeOf(const std::string& text) {
  return static_cast<std::int64_t>(text.size());
}

}  // namespace

/// What a copying command takes; absent, after an alert, when that is too much.
std::optional<HexSelection> HexWindowController::rangeForClipboardOrAlert(
    const std::string& title, Refusal (*refusalOf)(std::int64_t length)) {
  const auto range =
      selectedRangeForClipboard(editor_.selection(), editor_.caretOffset(), byteCount());
  if (range && alertRefusal(refusalOf(range->length), title)) return std::nullopt;
  return range;
}

void HexWindowController::copy() {
  copySelectionToPasteboard(/*deleteAfterCopy=*/false);
}

void HexWindowController::cut() {
  copySelectionToPasteboard(/*deleteAfterCopy=*/true);
}

void HexWindowController::copySelectionToPasteboard(bool deleteAfterCopy) {
  const std::string title = deleteAfterCopy ? "Cut" : "Copy";
  if (refuseWhileBusy(title)) return;
  const auto range = rangeForClipboardOrAlert(title, refusalOfCopying);
  if (!range) return;
  // Without a selection the byte at the caret is taken; undo brings back that nothing was selected.
  const EditPlace place{.caretOffset = editor_.caretOffset(), .selection = editor_.selection()};
  std::function completion = [this, title, place,
                              deleteAfterCopy](Result<StandardClipboardPayload> payload) {
    if (failed(payload, title + " Failed")) return;
    if (!publishStandardClipboardPayload(std::move(payload.value())) || !deleteAfterCopy) return;
    const bool hasFailed = attempt(title + " Failed", [&] {
      // Another selection may have been made meanwhile; what was published goes.
      editor_.placeCaretAndSelection(place.caretOffset, place.selection);
      editor_.deleteSelectionOrByte(/*backward=*/false);
    });
    if (hasFailed) editor_.showCaretAndSelection();
  };
  constexpr auto payloadOf = [](const ByteBuffer& bytes, HexSelection selected,
                                TaskProgress& progress) {
    return standardClipboardPayload(bytes.slice(selected.start, selected.length), &progress);
  };
  runSelectionTask(deleteAfterCopy ? "Preparing cut…" : "Preparing copy…", *range, payloadOf,
                   std::move(completion));
}

bool HexWindowController::publishStandardClipboardPayload(StandardClipboardPayload payload) {
  if (platform_.pasteboard.setBytes(std::move(payload.data), std::move(payload.hexString)))
    return true;
  alert("Copy", "The pasteboard rejected the selected data. Nothing was removed.");
  return false;
}

void HexWindowController::copySelectionAsText(const std::string& title, ClipboardTextStyle style) {
  if (refuseWhileBusy(title)) return;
  const auto range = rangeForClipboardOrAlert(title, refusalOfClipboardText);
  if (!range) return;
  auto work = [style](const ByteBuffer& bytes, HexSelection selected, TaskProgress& progress) {
    return clipboardText(bytes.span(selected.start, selected.length), style, &progress);
  };
  std::function completion = [this, title](Result<std::string> text) {
    if (failed(text, title + " Failed")) return;
    if (!platform_.pasteboard.setText(std::move(text.value())))
      alert(title, "The pasteboard rejected the converted text.");
  };
  runSelectionTask("Preparing copy…", *range, std::move(work), std::move(completion));
}

void HexWindowController::copyCurrentOffset() {
  platform_.pasteboard.setText("0x" + uppercaseHex(editor_.caretOffset(), 8));
}

void HexWindowController::copySelectionRange() {
  if (refuseWhileBusy("Copy Selection Range")) return;
  const HexSelection range = selectedRange();
  if (range.length < 1) return alert("Copy Selection Range", "Select one or more bytes first.");
  platform_.pasteboard.setText("0x" + uppercaseHex(range.start, 8) + " - 0x" +
                               uppercaseHex(range.start + range.length - 1, 8));
}

void HexWindowController::copyFilePath() {
  if (refuseWithoutFile("Copy File Path")) return;
  platform_.pasteboard.setText(hexDocument_->location()->path());
}

void HexWindowController::paste() {
  if (isBusy()) return alert(kPasteFailed, BackgroundTaskFrame::busyError().message());
  if (const auto held = platform_.pasteboard.bytes(maxGeneratedInputBytes)) {
    if (!validateGeneratedByteCount(held->byteCount, kPaste)) return;
    return pastePreparedBytes(held->bytes.span());
  }
  auto text = boundedPasteboardString();
  if (!text) return;
  const bool isLong = sizeOf(*text) >= kBackgroundPasteBytes;
  auto work = [text = *std::move(text)](TaskProgress&) {
    return bytesForPastedText(text, maxGeneratedInputBytes, maxTextInputCharacters);
  };
  std::function completion = [this](Result<std::vector<std::uint8_t>> bytes) {
    if (!failed(bytes, kPasteFailed)) pastePreparedBytes(bytes.value());
  };
  if (isLong) return runBackgroundTask("Preparing paste…", std::move(work), std::move(completion));
  TaskProgress progress;
  completion(resultOf([&] { return work(progress); }));
}

/// The pasteboard's text. Absent with a beep when there is none, with an alert when it is too long.
std::optional<std::string> HexWindowController::boundedPasteboardString() {
  auto held = platform_.pasteboard.text(maxClipboardTextSourceBytes);
  if (!held || (!held->isTooLong && held->text.empty())) {
    refuse(kNothingToPaste);
    return std::nullopt;
  }
  if (held->isTooLong) {
    alert(kPaste, "Clipboard text is too large to paste safely. The text source limit is " +
                      std::to_string(maxClipboardTextSourceBytes) + " bytes.");
    return std::nullopt;
  }
  return std::move(held->text);
}

void HexWindowController::pastePreparedBytes(std::span<const std::uint8_t> bytes) {
  const auto count = static_cast<std::int64_t>(bytes.size());
  if (count < 1) return refuse(kNothingToPaste);
  if (!validateGeneratedByteCount(count, kPaste)) return;
  if (!validateResultingDocumentByteCount(editor_.byteCountReplacedBy(count), count, kPaste))
    return;
  attempt(kPasteFailed, [&] { editor_.paste(bytes); });
}

}  // namespace quillmor
