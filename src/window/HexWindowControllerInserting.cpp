// Filling the selection, and putting typed bytes or a file into the document.

#include "fileaccess/StableReading.h"
#include "search/typed/TypedInput.h"
#include "tools/edits/RepeatedBytes.h"
#include "window/HexWindowController.h"
#include "window/commands/Prompts.h"

namespace quillmor {

namespace {

constexpr const char* kFill = "Fill Selection";
constexpr const char* kInsert = "Insert Bytes";
constexpr const char* kInvalidRepeatCount = "Enter a valid repeat count.";
constexpr const char* kNothingGenerated = "No bytes were generated.";

/// Bytes made from this size on are made off the main thread.
constexpr std::int64_t kBackgroundGenerationBytes = 1'048'576;

/// So many bytes are inserted into a copy of the document, off the main thread.
constexpr std::int64_t kPreparedInsertionBytes = 1'048'576;

/// A length beyond 64 bits is refused as the largest one is.
std::int64_t repeatedLength(const PatternAndNumber& typed) {
  return safeProduct(std::ssize(typed.pattern), typed.number).value_or(kMaxInt64);
}

}  // namespace

HexWindowController::Insertion HexWindowController::prepareInsertion(const ByteBuffer& original,
                                                                     std::int64_t offset,
                                                                     ByteBuffer bytes,
                                                                     TaskProgress& progress) {
  Insertion insertion{.offset = offset, .bytes = std::move(bytes)};
  if (insertion.bytes.size() >= kPreparedInsertionBytes)
    insertion.document = documentWith(original, {offset, 0}, insertion.bytes, progress);
  return insertion;
}

/// Inserts as one undoable step, and selects what was inserted.
void HexWindowController::insert(const Insertion& insertion, const EditTitles& titles) {
  const std::int64_t count = insertion.bytes.size();
  const EditPlace after{.caretOffset = insertion.offset + count,
                        .selection = {insertion.offset, count}};
  if (!insertion.document) {
    replaceRange({insertion.offset, 0}, insertion.bytes.span(), titles, after);
    return;
  }
  attempt(titles.failure, [&] {
    announceEdit(insertion.offset, 0, count, titles.actionName);
    hexDocument_->storage()->bytes = *insertion.document;
    markManualEdit(after.caretOffset, after.selection, announcedEdit_->undo.isRecorded);
  });
}

/// Makes `count` bytes of the repeated pattern to be inserted at the caret: at once when they are
/// few, else in the background.
void HexWindowController::generateRepeatedBytes(std::vector<std::uint8_t> pattern,
                                                std::int64_t count, const std::string& statusText,
                                                std::function<void(Result<Insertion>)> completion) {
  auto work = [pattern = std::move(pattern), count, offset = editor_.caretOffset()](
                  const ByteBuffer& bytes, HexSelection, TaskProgress& progress) {
    return prepareInsertion(
        bytes, offset, repeatedBytes(pattern, count, maxGeneratedInputBytes, progress), progress);
  };
  if (count >= kBackgroundGenerationBytes)
    return runBackgroundSnapshotTask(statusText, {}, std::move(work), std::move(completion));
  TaskProgress progress;
  completion(resultOf([&] { return work(hexDocument_->storage()->bytes, {}, progress); }));
}

void HexWindowController::fillSelection() {
  if (refuseWhileBusy(kFill)) return;
  if (selectedRange().length < 1) return insertFill();
  auto pattern = promptBytePattern(promptAlerts_, kFill,
                                   "Enter a pattern to repeat across the selected bytes.",
                                   PatternInput::autoHexOrText);
  if (!pattern || !window_ || refuseWhileBusy(kFill)) return;
  // The question ran the event loop.
  const HexSelection range = selectedRange();
  if (range.length < 1) return alert(kFill, "Select one or more bytes first.");
  fillCurrentSelection(range, *std::move(pattern), kFill, "Generating fill bytes…");
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
        applyCompletedSelectionMutation(result, range, title, /*misfitTitle=*/title + " Failed");
      });
}

/// Fills bytes of its own where there is no selection.
void HexWindowController::insertFill() {
  const auto answer = promptBytePatternAndNumber(
      promptAlerts_, kFill,
      "No selection is active. Enter a pattern and length to insert filled bytes at the current "
      "offset.",
      {.field = {.label = "Length:", .placeholder = "256"},
       .invalid = "Enter a valid length.",
       .refusalOf = [this](const PatternAndNumber& typed) -> Refusal {
         if (typed.number < 1) return "Length must be greater than zero.";
         return refusalOfInserting(typed.number);
       }});
  if (!answer || !window_ || refuseWhileBusy(kFill)) return;
  generateAndInsert(answer->pattern, answer->number, kFill, "Generating fill bytes…");
}

void HexWindowController::insertBytes() {
  if (refuseWhileBusy(kInsert)) return;
  const auto answer = promptBytePatternAndNumber(
      promptAlerts_, kInsert, "Enter bytes to insert at the current offset.",
      {.field = {.label = "Repeat count:", .placeholder = "1", .text = "1"},
       .invalid = kInvalidRepeatCount,
       .refusalOf = [this](const PatternAndNumber& typed) -> Refusal {
         if (typed.number < 0) return kInvalidRepeatCount;
         if (typed.number == 0) return kNothingGenerated;
         return refusalOfInserting(repeatedLength(typed));
       }});
  if (!answer || !window_ || refuseWhileBusy(kInsert)) return;
  generateAndInsert(answer->pattern, repeatedLength(*answer), kInsert, "Generating bytes…");
}

/// For inserting `count` bytes.
Refusal HexWindowController::refusalOfInserting(std::int64_t count) const {
  if (auto refusal = refusalOfGenerating(count)) return refusal;
  return refusalOfResult(byteCount(), 0, count, editor_.maximumByteCount());
}

void HexWindowController::generateAndInsert(std::vector<std::uint8_t> pattern, std::int64_t count,
                                            const std::string& title,
                                            const std::string& statusText) {
  // The document may have changed since the answer was accepted.
  if (alertRefusal(refusalOfInserting(count), title)) return;
  generateRepeatedBytes(std::move(pattern), count, statusText,
                        [this, title](const Result<Insertion>& generated) {
                          if (failed(generated, title + " Failed")) return;
                          if (generated.value().bytes.empty())
                            return alert(title, kNothingGenerated);
                          insert(generated.value(), {title, title + " Failed"});
                        });
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
                                     const std::function<std::int64_t()>& place) {
  if (refuseWhileBusy(texts.title)) return;
  if (editor_.maximumByteCount() - byteCount() < 1) {
    return alert(texts.title, "The document has reached Quillmor's safe in-memory document limit.");
  }
  const auto chosen = platform_.filePanels.runOpenPanel(texts.title, false, documentDirectory());
  if (chosen.empty() || !window_ || refuseWhileBusy(texts.title)) return;
  const std::int64_t room = std::max<std::int64_t>(editor_.maximumByteCount() - byteCount(), 0);
  auto work = [location = chosen.front(), limit = std::min(room, maxGeneratedInputBytes),
               offset = place()](const ByteBuffer& bytes, HexSelection, TaskProgress& progress) {
    return prepareInsertion(bytes, offset, SecureFileAccess::readData(location, limit, &progress),
                            progress);
  };
  std::function completion = [this, texts](const Result<Insertion>& read) {
    insertReadFile(texts, read);
  };
  runBackgroundSnapshotTask(texts.statusText, {}, std::move(work),
                            std::function<void(Result<Insertion>)>(std::move(completion)));
}

void HexWindowController::insertReadFile(const InsertedFileTexts& texts,
                                         const Result<Insertion>& read) {
  const std::string failureTitle = texts.actionName + " Failed";
  const bool isTooLarge = !read.isOk() && SecureFileAccess::isExceededLimit(read.error());
  if (isTooLarge && window_) return alert(failureTitle, texts.tooLarge);
  if (failed(read, failureTitle)) return;
  const std::int64_t count = read.value().bytes.size();
  if (count < 1) return alert(texts.title, texts.empty);
  if (alertRefusal(refusalOfInserting(count), texts.title)) return;
  insert(read.value(), {texts.actionName, failureTitle});
}

}  // namespace quillmor
