#include "window/commands/CommandContext.h"

#include <algorithm>

#include "base/HexText.h"
#include "base/SaturatingMath.h"
#include "tools/analysis/DataInspector.h"
#include "window/commands/UtilityReport.h"

namespace quillmor {

namespace {

constexpr const char* kTooLargeToUndo = "This change was too large to be undone.";

}  // namespace

CommandContext::CommandContext(std::shared_ptr<HexDocument> document,
                               const EditorEnvironment& environment,
                               std::function<std::weak_ptr<void>()> owner)
    : platform_(environment.platform),
      documents_(environment.documents),
      saver_(environment.saver),
      documentLock_(platform_.executor, environment.records),
      owner_(std::move(owner)),
      openUntitled_(environment.openUntitled),
      history_(std::make_shared<EditHistory>(
          [held = document]() -> const ByteBuffer& { return held->storage()->bytes; })),
      session_(std::move(document), platform_.beeper, *this),
      frame_(platform_.executor, platform_.alerts, *this),
      mayKeepTraces_(environment.traces == Traces::kept),
      unsavedChanges_(session_.sharedDocument(), platform_.executor, environment.records,
                      ownerOfChanges()) {
  session_.addEditRecorder(*history_);
  setTraces(environment.traces);
}

std::string CommandContext::statusText() const {
  const HexEditorState& editor = session_.editor();
  return "Size: " + std::to_string(session_.byteCount()) + " bytes  |  Offset: 0x" +
         uppercaseHex(editor.caretOffset(), 8) +
         "  |  Mode: " + (editor.insertMode() ? "Insert" : "Overwrite") +
         "  |  Selection: " + std::to_string(editor.selection().length);
}

/// Looks at the bytes at the caret only: all of them in one piece may be expensive at every key.
std::string CommandContext::inspectorText() const {
  const std::int64_t caret = clampedToCount(session_.editor().caretOffset(), session_.byteCount());
  const std::int64_t length =
      std::min(session_.byteCount() - caret, DataInspector::kInspectedByteCount);
  return DataInspector::inspectorText(session_.bytes().slice(caret, length).span(), 0);
}

void CommandContext::updateStatus() {
  messages_.clearNoticeAfterMove();
  if (!window_ || isBusy()) return;
  window_->setStatusText(statusText());
  window_->setInspectorText(inspectorText());
  window_->revalidateMenus();
}

void CommandContext::showUtilityReport(const std::string& title, const std::string& report) {
  if (window_) window_->openReportWindow(title, truncatedUtilityReport(report));
}

void CommandContext::sessionDidEdit(bool canBeUndone) {
  updateStatus();
  canBeUndone ? messages_.clearNotice() : messages_.showNotice(kTooLargeToUndo);
}

bool CommandContext::refuseWhileBusy(const std::string& title) {
  if (!isBusy()) return false;
  messages_.alert(title,
                  "Another operation is already running. Wait for it to finish before editing.");
  return true;
}

bool CommandContext::refuseWithoutFile(const std::string& title) {
  if (document().location()) return false;
  messages_.alert(title, "Current document has no file path.");
  return true;
}

std::optional<HexSelection> CommandContext::activeSelectionOrAlert(const std::string& title) {
  if (refuseWhileBusy(title)) return std::nullopt;
  const HexSelection range = session_.selectedRange();
  if (range.length < 1) {
    messages_.alert(title, "Select one or more bytes first.");
    return std::nullopt;
  }
  if (messages_.alertRefusal(refusalOfEditing(range.length), title)) return std::nullopt;
  return range;
}

bool CommandContext::validateGeneratedByteCount(std::int64_t count, const std::string& title) {
  return !messages_.alertRefusal(refusalOfGenerating(count), title);
}

bool CommandContext::validateResultingDocumentByteCount(std::int64_t removing,
                                                        std::int64_t inserting,
                                                        const std::string& title) {
  return !messages_.alertRefusal(refusalOfResult(session_.byteCount(), removing, inserting,
                                                 session_.editor().maximumByteCount()),
                                 title);
}

void CommandContext::busyStateDidBegin() {
  editor().setEditingEnabled(false);
  if (!window_) return;
  window_->setToolbarEnabled(false);
  window_->revalidateMenus();
}

void CommandContext::showBusyStatus(const std::string& statusText) {
  if (window_) window_->setStatusText(statusText);
}

void CommandContext::busyStateDidEnd() {
  editor().setEditingEnabled(true);
  if (!window_) return;
  window_->setToolbarEnabled(true);
  updateStatus();
}

void CommandContext::showProgress(double fraction, bool canStop) {
  if (window_) window_->showProgress(fraction, canStop);
}

void CommandContext::hideProgress() {
  if (window_) window_->hideProgress();
}

}  // namespace quillmor
