// Rewriting the selected bytes in place, and cropping to them.

#include "tools/edits/ByteTransforms.h"
#include "window/HexWindowController.h"
#include "window/commands/Prompts.h"

namespace quillmor {

namespace {

constexpr const char* kPatternMessage =
    "Enter a byte pattern. The pattern is repeated across the active selection.";
constexpr const char* kCrop = "Crop to Selection";

}  // namespace

/// Rewrites the selection as one undoable step. `done` is called when the bytes have changed.
void HexWindowController::transformSelection(const std::string& title,
                                             const std::string& statusText, HexSelection range,
                                             MutationWork work, std::function<void()> done) {
  runBackgroundSelectionMutationTask(
      statusText, range, std::move(work),
      [this, title, range, done = std::move(done)](const Result<SelectionMutation>& result) {
        if (applyCompletedSelectionMutation(result, range, title) && window_ && done) done();
      });
}

void HexWindowController::invertSelection() {
  constexpr const char* kTitle = "Invert Selection";
  if (const auto range = activeSelectionOrAlert(kTitle))
    transformSelection(kTitle, "Inverting selection…", *range, ByteTransforms::inverted);
}

void HexWindowController::reverseSelection() {
  constexpr const char* kTitle = "Reverse Selection";
  if (const auto range = activeSelectionOrAlert(kTitle))
    transformSelection(kTitle, "Reversing selection…", *range, ByteTransforms::reversed);
}

void HexWindowController::swapSelection16() {
  swapSelectionBytes(2, "Swap Selection 16-bit Endian");
}

void HexWindowController::swapSelection32() {
  swapSelectionBytes(4, "Swap Selection 32-bit Endian");
}

void HexWindowController::swapSelectionBytes(std::int64_t groupSize, const std::string& title) {
  if (groupSize < 2) return;
  const auto range = activeSelectionOrAlert(title);
  if (!range) return;
  if (alertRefusal(refusalOfSwapping(range->length, groupSize), title)) return;
  auto swap = [groupSize](std::span<const std::uint8_t> bytes, TaskProgress& progress) {
    return ByteTransforms::groupsSwapped(bytes, groupSize, progress);
  };
  auto done = [this, title, note = noteOnTrailingBytes(range->length, groupSize)] {
    if (note) alert(title, *note);
  };
  transformSelection(title, "Swapping selection bytes…", *range, std::move(swap), std::move(done));
}

void HexWindowController::xorSelection() {
  applyPatternOperationToSelection("XOR Selection", "Applying XOR…", ByteOperation::exclusiveOr);
}

void HexWindowController::andSelection() {
  applyPatternOperationToSelection("AND Selection", "Processing selection…",
                                   ByteOperation::bitwiseAnd);
}

void HexWindowController::orSelection() {
  applyPatternOperationToSelection("OR Selection", "Processing selection…",
                                   ByteOperation::bitwiseOr);
}

void HexWindowController::applyPatternOperationToSelection(const std::string& title,
                                                           const std::string& statusText,
                                                           ByteOperation operation) {
  if (!activeSelectionOrAlert(title)) return;
  auto pattern =
      promptBytePattern(promptAlerts_, title, kPatternMessage, PatternInput::hexUnlessText);
  if (!pattern || !window_) return;
  // The question ran the event loop: the selection may be another one by now.
  const auto range = activeSelectionOrAlert(title);
  if (!range) return;
  auto combine = [operation, pattern = *std::move(pattern)](std::span<const std::uint8_t> bytes,
                                                            TaskProgress& progress) {
    return ByteTransforms::combined(bytes, operation, pattern, progress);
  };
  transformSelection(title, statusText, *range, std::move(combine));
}

void HexWindowController::cropToSelection() {
  const auto asked = activeSelectionOrAlert(kCrop);
  if (!asked) return;
  const auto response = platform_.alerts.runModal(
      {.messageText = kCrop,
       .informativeText = "Keep only the selected " + std::to_string(asked->length) +
                          " byte(s) and remove everything else?",
       .style = AlertStyle::warning,
       .buttons = {"Crop", "Cancel"}});
  if (response.button != 0 || !window_) return;
  // The question ran the event loop, and its number is what the user agreed to.
  const auto range = activeSelectionOrAlert(kCrop);
  if (!range || *range != *asked) return;
  auto copy = [](const ByteBuffer& bytes, HexSelection kept, TaskProgress& progress) {
    progress.setTotal(kept.length);
    return copyOf(bytes, kept, progress);
  };
  std::function completion = [this, range = *range](Result<ByteBuffer> kept) {
    const std::string failureTitle = std::string(kCrop) + " Failed";
    if (failed(kept, failureTitle)) return;
    attempt(failureTitle, [&] { installCrop(range, std::move(kept.value())); });
  };
  runBackgroundSnapshotTask("Cropping to selection…", *range, std::move(copy),
                            std::move(completion));
}

/// Makes the bytes of `range` the whole document, as one undoable step.
void HexWindowController::installCrop(HexSelection range, ByteBuffer kept) {
  if (kept.size() == byteCount()) return updateStatus();
  const bool registered = registerUndoSnapshot(kCrop, kept.size());
  bookmarks_.crop(range, byteCount());
  hexDocument_->storage()->bytes = std::move(kept);
  markManualEdit(0, {}, registered);
}

}  // namespace quillmor
