#include "window/commands/TransformCommands.h"

#include "window/commands/Prompts.h"

namespace quillmor {

namespace {

constexpr const char* kInvert = "Invert Selection";
constexpr const char* kReverse = "Reverse Selection";
constexpr const char* kSwap16 = "Swap Selection 16-bit Endian";
constexpr const char* kSwap32 = "Swap Selection 32-bit Endian";
constexpr const char* kXor = "XOR Selection";
constexpr const char* kAnd = "AND Selection";
constexpr const char* kOr = "OR Selection";
constexpr const char* kCrop = "Crop to Selection";
constexpr const char* kPatternMessage =
    "Enter a byte pattern. The pattern is repeated across the active selection.";

/// A command that needs a selection and an idle window.
constexpr Command onSelection(std::string_view action, std::string_view title,
                              std::string_view busyTitle) {
  return {.action = action, .title = title, .need = CommandNeed::selection, .busyTitle = busyTitle};
}

}  // namespace

std::span<const CommandRow<TransformCommands>> TransformCommands::rows() {
  using Family = TransformCommands;
  static constexpr CommandRow<Family> kRows[] = {
      {onSelection("forwardInvertSelection:", kInvert, kInvert), &Family::invertSelection},
      {onSelection("forwardReverseSelection:", kReverse, kReverse), &Family::reverseSelection},
      {onSelection("forwardSwapSelection16:", kSwap16, kSwap16), &Family::swapSelection16},
      {onSelection("forwardSwapSelection32:", kSwap32, kSwap32), &Family::swapSelection32},
      {onSelection("forwardXorSelection:", "XOR Selection…", kXor), &Family::xorSelection},
      {onSelection("forwardAndSelection:", "AND Selection…", kAnd), &Family::andSelection},
      {onSelection("forwardOrSelection:", "OR Selection…", kOr), &Family::orSelection},
      {onSelection("forwardCropToSelection:", kCrop, kCrop), &Family::cropToSelection},
  };
  return kRows;
}

void TransformCommands::invertSelection() {
  if (const auto range = context_.activeSelectionOrAlert(kInvert))
    selectionEditing_.run({kInvert, "Inverting selection…", *range, ByteTransforms::inverted});
}

void TransformCommands::reverseSelection() {
  if (const auto range = context_.activeSelectionOrAlert(kReverse))
    selectionEditing_.run({kReverse, "Reversing selection…", *range, ByteTransforms::reversed});
}

void TransformCommands::swapSelection16() {
  swapSelectionBytes(2, kSwap16);
}

void TransformCommands::swapSelection32() {
  swapSelectionBytes(4, kSwap32);
}

void TransformCommands::swapSelectionBytes(std::int64_t groupSize, const std::string& title) {
  const auto range = context_.activeSelectionOrAlert(title);
  if (!range) return;
  if (messages_.alertRefusal(refusalOfSwapping(range->length, groupSize), title)) return;
  auto swap = [groupSize](std::span<const std::uint8_t> bytes, TaskProgress& progress) {
    return ByteTransforms::groupsSwapped(bytes, groupSize, progress);
  };
  auto done = [this, title, note = noteOnTrailingBytes(range->length, groupSize)] {
    if (note) messages_.alert(title, *note);
  };
  selectionEditing_.run({title, "Swapping selection bytes…", *range, std::move(swap)},
                        std::move(done));
}

void TransformCommands::xorSelection() {
  applyPatternOperationToSelection(kXor, "Applying XOR…", ByteOperation::exclusiveOr);
}

void TransformCommands::andSelection() {
  applyPatternOperationToSelection(kAnd, "Processing selection…", ByteOperation::bitwiseAnd);
}

void TransformCommands::orSelection() {
  applyPatternOperationToSelection(kOr, "Processing selection…", ByteOperation::bitwiseOr);
}

void TransformCommands::applyPatternOperationToSelection(const std::string& title,
                                                         const std::string& statusText,
                                                         ByteOperation operation) {
  if (!context_.activeSelectionOrAlert(title)) return;
  auto pattern = context_.ask(title, [&] {
    return promptBytePattern(messages_.alerts(), title, kPatternMessage,
                             PatternInput::hexUnlessText);
  });
  if (!pattern) return;
  // The selection may be another one by now.
  const auto range = context_.activeSelectionOrAlert(title);
  if (!range) return;
  auto combine = [operation, pattern = *std::move(pattern)](std::span<const std::uint8_t> bytes,
                                                            TaskProgress& progress) {
    return ByteTransforms::combined(bytes, operation, pattern, progress);
  };
  selectionEditing_.run({title, statusText, *range, std::move(combine)});
}

void TransformCommands::cropToSelection() {
  const auto asked = context_.activeSelectionOrAlert(kCrop);
  if (!asked) return;
  const std::string question = "Keep only the selected " + std::to_string(asked->length) +
                               " byte(s) and remove everything else?";
  if (!context_.confirm(kCrop, question, "Crop", kCrop)) return;
  // The number in the question is what the user agreed to.
  const auto range = context_.activeSelectionOrAlert(kCrop);
  if (!range || *range != *asked) return;
  auto copy = [](const ByteBuffer& bytes, HexSelection kept, TaskProgress& progress) {
    progress.setTotal(kept.length);
    return copyOf(bytes, kept, progress);
  };
  auto completion = [this, range = *range](Result<ByteBuffer> kept) {
    const std::string failureTitle = std::string(kCrop) + " Failed";
    if (messages_.failed(kept, failureTitle)) return;
    messages_.attempt(failureTitle, [&] { installCrop(range, std::move(kept.value())); });
  };
  context_.runBackgroundSnapshotTask("Cropping to selection…", *range, std::move(copy),
                                     std::move(completion));
}

/// Makes the bytes of `range` the whole document.
void TransformCommands::installCrop(HexSelection range, ByteBuffer kept) {
  if (kept.size() == session_.byteCount()) return context_.updateStatus();
  Bookmarks bookmarks = session_.bookmarks();
  bookmarks.crop(range, session_.byteCount());
  session_.installDocument(std::move(kept), bookmarks.offsets(), kCrop, {});
}

}  // namespace quillmor
