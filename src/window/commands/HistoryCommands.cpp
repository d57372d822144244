#include "window/commands/HistoryCommands.h"

#include <utility>

namespace quillmor {

namespace {

constexpr const char* kHistory = "History";

EditorPlaces placesAfter(const EditHistory& history, std::int64_t state) {
  if (state == 0) return {};
  const HistoryStep& step = history.step(state - 1);
  return {.caretOffset = step.caretOffset, .selection = step.selection};
}

}  // namespace

std::span<const CommandRow<HistoryCommands>> HistoryCommands::rows() {
  using Family = HistoryCommands;
  static constexpr CommandRow<Family> kRows[] = {
      {{.action = "forwardShowHistory:", .title = kHistory}, &Family::showHistory},
  };
  return kRows;
}

void HistoryCommands::showHistory() {
  if (!context_.history().isEnabled())
    return messages_.alert(kHistory, "This document keeps no history.");
  if (context_.hasWindow()) context_.window()->openHistoryWindow();
}

void HistoryCommands::openState(std::int64_t state) {
  const EditHistory& history = context_.history();
  if (state > history.stepCount() || !history.canOpen(state))
    return messages_.alert(kHistory, "The bytes of this state are no longer kept.");
  auto work = [steps = history.stepsFrom(state), bytes = session_.bytes()](TaskProgress& progress) {
    return bytesBeforeSteps(steps, bytes, progress);
  };
  auto show = [this, places = placesAfter(history, state)](Result<ByteBuffer> bytes) {
    constexpr const char* kFailed = "Open This State Failed";
    if (messages_.failed(bytes, kFailed)) return;
    messages_.attempt(kFailed, [&] { context_.openUntitled(std::move(bytes.value()), places); });
  };
  context_.runBackgroundTask("Opening a state of the history…", std::move(work), std::move(show));
}

}  // namespace quillmor
