// Filling the selection, and putting typed bytes or a file into the document.

#include "fileaccess/StableReading.h"
#include "search/TypedInput.h"
#include "tools/RepeatedBytes.h"
#include "window/HexWindowController.h"
#include "window/Prompts.h"

namespace quillmor {

namespace {

constexpr const char* kFill = "Fill Selection";
constexpr const char* kInsert = "Insert Bytes";
constexpr const char* kInvalidRepeatCount = "Enter a valid repeat count.";

/// Bytes made from this size on are made off the main thread.
constexpr std::int64_t kBackgroundGenerationBytes = 1'048'576;

std::int64_t sizeOf(const std::vector<std::uint8_t>& bytes) {
  return static_cast<std::int64_t>(bytes.size());
}

}  // namespace

/// Makes `count` bytes of the repeated pattern: at once when they are few, else in the background.
void HexWindowController::generateRepeatedBytes(
    std::vector<std::uint8_t> pattern, std::int64_t count, const std::string& statusText,
    std::function<void(Result<ByteBuffer>)> completion) {
  auto work = [pattern = std::move(pattern), count](TaskProgress& progress) {
    return repeatedBytes(pattern, count, maxGeneratedInputBytes, progress);
  };
  if (count >= kBackgroundGenerationBytes)
    return runBackgroundTask(statusText, std::move(work), std::move(completion));
  TaskProgress progress;
  completion(resultOf([&] { return work(progress); }));
}

void HexWindowController::fillSelection() {
  if (refuseWhileBusy(kFill)) return;
  if (selectedRange().length < 1) return insertFill();
  auto pattern = promptBytePattern(platform_.alerts, kFill,
                                   "Enter a pattern to repeat across the selected bytes.");
  if (!pattern || !window_) return;
  if (const auto range = activeSelectionOrAlert(kFill))
    fillCurrentSelection(*range, *std::move(pattern), kFill, "Generating fill bytes…");
}

void HexWindowController::fillSelectionWithZero() {
  fillSelectionWithByte(0x00, "Fill Selection with 00");
}

void HexWindowController::fillSelectionWithFF() {
  fillSelectionWithByte(0xFF, "Fill Selection with FF");
}

void HexWindowController::fillSelectionWithByte(std::uint8_t value, const std::string& title) {
  if (const auto range = activeSelectionOrAlert(title))
    fillCurrentSelection(*range, {value}, title, "Filling selection…");
}

void HexWindowController::fillCurrentSelection(HexSelection range,
                                               std::vector<std::uint8_t> pattern,
                                               const std::string& title,
                                               const std::string& statusText) {
  if (!validateGeneratedByteCount(range.length, title)) return;
  auto repeat = [pattern = std::move(pattern)](std::span<const std::uint8_t> bytes,
                                               TaskProgress& progress) {
    return repeatedBytes(pattern, std::ssize(bytes), maxGeneratedInputBytes, progress);
  };
  runBackgroundSelectionMutationTask(
      statusText, range, std::move(repeat), [this, range, title](const auto& result) {
        const bool stillFits = range.normalized(byteCount()) == range;
        applyCompletedSelectionMutation(result, range, stillFits ? title : title + " Failed");
      });
}

/// Fills bytes of its own where there is no selection.
void HexWindowController::insertFill() {
  const auto answer = promptBytePatternAndNumber(
      platform_.alerts, kFill,
      "No selection is active. Enter a pattern and length to insert filled bytes at the current "
      "offset.",
      {.label = "Length:", .placeholder = "256"}, "Enter a valid length.");
  if (!answer || !window_ || refuseWhileBusy(kFill)) return;
  if (answer->number < 1) return alert(kFill, "Length must be greater than zero.");
  generateAndInsert(answer->pattern, answer->number, kFill, "Generating fill bytes…");
}

void HexWindowController::insertBytes() {
  if (refuseWhileBusy(kInsert)) return;
  const auto answer = promptBytePatternAndNumber(
      platform_.alerts, kInsert, "Enter bytes to insert at the current offset.",
      {.label = "Repeat count:", .placeholder = "1", .text = "1"}, kInvalidRepeatCount);
  if (!answer || !window_ || refuseWhileBusy(kInsert)) return;
  if (answer->number < 0) return alert(kInsert, kInvalidRepeatCount);
  const auto total = safeProduct(sizeOf(answer->pattern), answer->number);
  generateAndInsert(answer->pattern, total.value_or(kMaxInt64), kInsert, "Generating bytes…");
}

void HexWindowController::generateAndInsert(std::vector<std::uint8_t> pattern, std::int64_t count,
                                            const std::string& title,
                                            const std::string& statusText) {
  if (!validateGeneratedByteCount(count, title)) return;
  if (!validateResultingDocumentByteCount(0, count, title)) return;
  generateRepeatedBytes(
      std::move(pattern), count, statusText, [this, title](const Result<ByteBuffer>& bytes) {
        if (failed(bytes, title + " Failed")) return;
        if (bytes.value().empty()) return alert(title, "No bytes were generated.");
        insertInto(editor_.caretOffset(), bytes.value(), title, title + " Failed");
      });
}

/// Inserts before `offset` as one undoable step, and selects what was inserted.
void HexWindowController::insertInto(std::int64_t offset, const ByteBuffer& bytes,
                                     const std::string& actionName,
                                     const std::string& failureTitle) {
  const HexSelection inserted{offset, bytes.size()};
  replaceRange({offset, 0}, bytes.span(), {actionName, failureTitle},
               {.caretOffset = offset + bytes.size(), .selection = inserted});
}

void HexWindowController::insertFileAtOffset() {
  insertFile({.title = "Insert File at Offset",
              .actionName = "Insert File",
              .statusText = "Reading file to insert…",
              .tooLarge = "The selected file is too large to insert safely in one operation.",
              .empty = "The selected file is empty. No bytes were inserted."},
             [this] { return editor_.caretOffset(); });
}

void HexWindowController::appendFileToEnd() {
  insertFile({.title = "Append File to End",
              .actionName = "Append File",
              .statusText = "Reading file to append…",
              .tooLarge = "The selected file is too large to append safely in one operation.",
              .empty = "The selected file is empty. No bytes were appended."},
             [this] { return byteCount(); });
}

void HexWindowController::insertFile(const InsertedFileTexts& texts,
                                     std::function<std::int64_t()> place) {
  if (refuseWhileBusy(texts.title)) return;
  const std::int64_t room = editor_.maximumByteCount() - byteCount();
  if (room < 1) {
    return alert(texts.title, "The document has reached Quillmor's safe in-memory document limit.");
  }
  const auto chosen = platform_.filePanels.runOpenPanel(texts.title, false, documentDirectory());
  if (chosen.empty() || !window_ || refuseWhileBusy(texts.title)) return;
  const std::int64_t limit = std::min(room, maxGeneratedInputBytes);
  auto work = [location = chosen.front(), limit](TaskProgress& progress) {
    return SecureFileAccess::readData(location, limit, &progress);
  };
  std::function completion = [this, texts, place = std::move(place)](Result<ByteBuffer> read) {
    insertReadFile(texts, place, read);
  };
  runBackgroundTask(texts.statusText, std::move(work), std::move(completion));
}

void HexWindowController::insertReadFile(const InsertedFileTexts& texts,
                                         const std::function<std::int64_t()>& place,
                                         const Result<ByteBuffer>& read) {
  const std::string failureTitle = texts.actionName + " Failed";
  const bool isTooLarge = !read.isOk() && SecureFileAccess::isExceededLimit(read.error());
  if (isTooLarge && window_) return alert(failureTitle, texts.tooLarge);
  if (failed(read, failureTitle)) return;
  const std::int64_t count = read.value().size();
  if (count < 1) return alert(texts.title, texts.empty);
  if (!validateGeneratedByteCount(count, texts.title)) return;
  if (!validateResultingDocumentByteCount(0, count, texts.title)) return;
  insertInto(place(), read.value(), texts.actionName, failureTitle);
}

}  // namespace quillmor
