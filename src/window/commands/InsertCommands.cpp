#include "window/commands/InsertCommands.h"

#include "base/ByteUnits.h"
#include "fileaccess/StableReading.h"
#include "search/typed/TypedInput.h"
#include "tools/edits/RepeatedBytes.h"
#include "window/commands/Prompts.h"

namespace quillmor {

namespace {

constexpr const char* kFill = "Fill Selection";
constexpr const char* kFillWithZero = "Fill Selection with 00";
constexpr const char* kFillWithFF = "Fill Selection with FF";
constexpr const char* kInsert = "Insert Bytes";
constexpr const char* kInsertFile = "Insert File at Offset";
constexpr const char* kAppendFile = "Append File to End";
constexpr const char* kInvalidRepeatCount = "Enter a valid repeat count.";
constexpr const char* kNothingGenerated = "No bytes were generated.";

/// Bytes made from this size on are made off the main thread.
constexpr std::int64_t kBackgroundGenerationBytes = kMiB;

/// From this size on, bytes are inserted into a copy of the document off the main thread.
constexpr std::int64_t kPreparedInsertionBytes = kMiB;

/// A length beyond 64 bits is refused as the largest one is.
std::int64_t repeatedLength(const PatternAndNumber& typed) {
  return safeProduct(std::ssize(typed.pattern), typed.number).value_or(kMaxInt64);
}

}  // namespace

std::span<const CommandRow<InsertCommands>> InsertCommands::rows() {
  using Family = InsertCommands;
  static constexpr CommandRow<Family> kRows[] = {
      {{.action = "forwardInsertBytes:", .title = "Insert Bytes…", .busyTitle = kInsert},
       &Family::insertBytes},
      {{.action = "forwardInsertFileAtOffset:",
        .title = "Insert File at Offset…",
        .busyTitle = kInsertFile},
       &Family::insertFileAtOffset},
      {{.action = "forwardAppendFileToEnd:",
        .title = "Append File to End…",
        .busyTitle = kAppendFile},
       &Family::appendFileToEnd},
      {{.action = "forwardFillSelection:", .title = "Fill Selection…", .busyTitle = kFill},
       &Family::fillSelection},
      {{.action = "forwardFillSelectionWithZero:",
        .title = kFillWithZero,
        .need = CommandNeed::selection,
        .busyTitle = kFillWithZero},
       &Family::fillSelectionWithZero},
      {{.action = "forwardFillSelectionWithFF:",
        .title = kFillWithFF,
        .need = CommandNeed::selection,
        .busyTitle = kFillWithFF},
       &Family::fillSelectionWithFF},
  };
  return kRows;
}

InsertCommands::Insertion InsertCommands::prepareInsertion(const ByteBuffer& original,
                                                           std::int64_t offset, ByteBuffer bytes,
                                                           TaskProgress& progress) {
  Insertion insertion{.offset = offset, .bytes = std::move(bytes)};
  if (insertion.bytes.size() >= kPreparedInsertionBytes)
    insertion.document = documentWith(original, {offset, 0}, insertion.bytes, progress);
  return insertion;
}

/// Inserts as one undoable step, and selects what was inserted.
void InsertCommands::insert(const Insertion& insertion, const std::string& actionName,
                            const std::string& failureTitle) {
  const std::int64_t count = insertion.bytes.size();
  RangeEdit edit{
      .range = {insertion.offset, 0},
      .actionName = actionName,
      .after = {.caretOffset = insertion.offset + count, .selection = {insertion.offset, count}}};
  messages_.attempt(failureTitle, [&] {
    if (insertion.document) {
      session_.installPrepared(std::move(edit), *insertion.document);
    } else {
      session_.replaceRange(std::move(edit), insertion.bytes.span());
    }
  });
}

/// For inserting `count` bytes.
Refusal InsertCommands::refusalOfInserting(std::int64_t count) const {
  if (auto refusal = refusalOfGenerating(count)) return refusal;
  return refusalOfResult(session_.byteCount(), 0, count, session_.editor().maximumByteCount());
}

/// Makes `count` bytes of the repeated pattern to be inserted at the caret: at once when they are
/// few, else in the background.
void InsertCommands::generateRepeatedBytes(std::vector<std::uint8_t> pattern, std::int64_t count,
                                           const std::string& statusText,
                                           std::function<void(Result<Insertion>)> completion) {
  auto work = [pattern = std::move(pattern), count, offset = session_.editor().caretOffset()](
                  const ByteBuffer& bytes, HexSelection, TaskProgress& progress) {
    return prepareInsertion(
        bytes, offset, repeatedBytes(pattern, count, maxGeneratedInputBytes, progress), progress);
  };
  context_.runSnapshotTaskFrom(kBackgroundGenerationBytes, count, statusText, {}, std::move(work),
                               std::move(completion));
}

void InsertCommands::generateAndInsert(std::vector<std::uint8_t> pattern, std::int64_t count,
                                       const std::string& title, const std::string& statusText) {
  // The document may have changed since the answer was accepted.
  if (messages_.alertRefusal(refusalOfInserting(count), title)) return;
  generateRepeatedBytes(std::move(pattern), count, statusText,
                        [this, title](const Result<Insertion>& generated) {
                          const std::string failureTitle = title + " Failed";
                          if (messages_.failed(generated, failureTitle)) return;
                          if (generated.value().bytes.empty())
                            return messages_.alert(title, kNothingGenerated);
                          insert(generated.value(), title, failureTitle);
                        });
}

void InsertCommands::insertBytes() {
  const auto answer = context_.ask(kInsert, [&] {
    return promptBytePatternAndNumber(
        messages_.alerts(), kInsert, "Enter bytes to insert at the current offset.",
        {.field = {.label = "Repeat count:", .placeholder = "1", .text = "1"},
         .invalid = kInvalidRepeatCount,
         .refusalOf = [this](const PatternAndNumber& typed) -> Refusal {
           if (typed.number < 0) return kInvalidRepeatCount;
           if (typed.number == 0) return kNothingGenerated;
           return refusalOfInserting(repeatedLength(typed));
         }});
  });
  if (answer) {
    generateAndInsert(answer->pattern, repeatedLength(*answer), kInsert, "Generating bytes…");
  }
}

void InsertCommands::fillSelection() {
  if (session_.selectedRange().length < 1) return insertFill();
  auto pattern = context_.ask(kFill, [&] {
    return promptBytePattern(messages_.alerts(), kFill,
                             "Enter a pattern to repeat across the selected bytes.",
                             PatternInput::autoHexOrText);
  });
  if (!pattern) return;
  // The selection may be another one by now.
  const HexSelection range = session_.selectedRange();
  if (range.length < 1) return messages_.alert(kFill, "Select one or more bytes first.");
  fillCurrentSelection(range, *std::move(pattern), kFill, "Generating fill bytes…");
}

/// Fills bytes of its own where there is no selection.
void InsertCommands::insertFill() {
  const auto answer = context_.ask(kFill, [&] {
    return promptBytePatternAndNumber(
        messages_.alerts(), kFill,
        "No selection is active. Enter a pattern and length to insert filled bytes at the current "
        "offset.",
        {.field = {.label = "Length:", .placeholder = "256"},
         .invalid = "Enter a valid length.",
         .refusalOf = [this](const PatternAndNumber& typed) -> Refusal {
           if (typed.number < 1) return "Length must be greater than zero.";
           return refusalOfInserting(typed.number);
         }});
  });
  if (answer) generateAndInsert(answer->pattern, answer->number, kFill, "Generating fill bytes…");
}

void InsertCommands::fillSelectionWithZero() {
  fillSelectionWithByte(0x00, kFillWithZero);
}

void InsertCommands::fillSelectionWithFF() {
  fillSelectionWithByte(0xFF, kFillWithFF);
}

void InsertCommands::fillSelectionWithByte(std::uint8_t value, const std::string& title) {
  if (const auto range = context_.activeSelectionOrAlert(title))
    fillCurrentSelection(*range, {value}, title, "Filling selection…");
}

void InsertCommands::fillCurrentSelection(HexSelection range, std::vector<std::uint8_t> pattern,
                                          const std::string& title, const std::string& statusText) {
  if (!context_.validateGeneratedByteCount(range.length, title)) return;
  auto repeat = [pattern = std::move(pattern)](std::span<const std::uint8_t> bytes,
                                               TaskProgress& progress) {
    return repeatedBytes(pattern, std::ssize(bytes), maxGeneratedInputBytes, progress);
  };
  selectionEditing_.run({.title = title,
                         .statusText = statusText,
                         .range = range,
                         .work = std::move(repeat),
                         .misfitTitle = title + " Failed"});
}

void InsertCommands::insertFileAtOffset() {
  insertFile({.title = kInsertFile,
              .actionName = "Insert File",
              .statusText = "Reading file to insert…",
              .tooLarge = "The selected file is too large to insert safely in one operation.",
              .empty = "The selected file is empty. No bytes were inserted."},
             [this] { return session_.editor().caretOffset(); });
}

void InsertCommands::appendFileToEnd() {
  insertFile({.title = kAppendFile,
              .actionName = "Append File",
              .statusText = "Reading file to append…",
              .tooLarge = "The selected file is too large to append safely in one operation.",
              .empty = "The selected file is empty. No bytes were appended."},
             [this] { return session_.byteCount(); });
}

void InsertCommands::insertFile(const InsertedFileTexts& texts,
                                const std::function<std::int64_t()>& place) {
  const std::int64_t limit = session_.editor().maximumByteCount();
  if (limit - session_.byteCount() < 1) {
    return messages_.alert(texts.title,
                           "The document has reached Quillmor's safe in-memory document limit.");
  }
  auto chosen = context_.chooseFile(texts.title);
  if (!chosen) return;
  const std::int64_t room = std::max<std::int64_t>(limit - session_.byteCount(), 0);
  auto work = [location = *std::move(chosen), maximum = std::min(room, maxGeneratedInputBytes),
               offset = place()](const ByteBuffer& bytes, HexSelection, TaskProgress& progress) {
    return prepareInsertion(bytes, offset, SecureFileAccess::readData(location, maximum, &progress),
                            progress);
  };
  context_.runBackgroundSnapshotTask(
      texts.statusText, {}, std::move(work),
      [this, texts](const Result<Insertion>& read) { insertReadFile(texts, read); });
}

void InsertCommands::insertReadFile(const InsertedFileTexts& texts, const Result<Insertion>& read) {
  const std::string failureTitle = texts.actionName + " Failed";
  const bool isTooLarge = !read.isOk() && SecureFileAccess::isExceededLimit(read.error());
  if (isTooLarge && context_.hasWindow()) return messages_.alert(failureTitle, texts.tooLarge);
  if (messages_.failed(read, failureTitle)) return;
  const std::int64_t count = read.value().bytes.size();
  if (count < 1) return messages_.alert(texts.title, texts.empty);
  if (messages_.alertRefusal(refusalOfInserting(count), texts.title)) return;
  insert(read.value(), texts.actionName, failureTitle);
}

}  // namespace quillmor
