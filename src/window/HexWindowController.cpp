#include "window/HexWindowController.h"

#include <utility>

#include "base/HexText.h"
#include "document/QuillmorResourceLimits.h"
#include "tools/analysis/DataInspector.h"

namespace quillmor {

HexWindowController::HexWindowController(std::shared_ptr<HexDocument> document,
                                         const EditorEnvironment& environment)
    : hexDocument_(std::move(document)),
      platform_(environment.platform),
      documents_(environment.documents),
      saver_(environment.saver),
      editor_(platform_.beeper),
      undoRecords_([this]() -> HexStorage& { return *hexDocument_->storage(); },
                   &hexDocument_->undoManager(), bookmarks_, *this, this),
      frame_(platform_.executor, platform_.alerts, *this) {
  const std::int64_t limit = QuillmorResourceLimits::maximumDocumentByteCount();
  UndoManager& undoManager = hexDocument_->undoManager();
  const int cap = undoLevelCap(limit);
  if (undoManager.levelsOfUndo() == 0 || undoManager.levelsOfUndo() > cap)
    undoManager.setLevelsOfUndo(cap);
  editor_.setMaximumByteCount(limit);
  editor_.setStorage(hexDocument_->storage());
  editor_.setDelegate(this);
  applyUserDefaults();
}

HexWindowController::~HexWindowController() {
  removeUndoActions();
}

void HexWindowController::attachWindow(EditorWindowSurface& window) {
  window_ = &window;
  editor_.recalcMetrics();
  documentIdentityDidChange();
  updateStatus();
}

std::string HexWindowController::statusText() const {
  return "Size: " + std::to_string(byteCount()) + " bytes  |  Offset: 0x" +
         uppercaseHex(editor_.caretOffset(), 8) +
         "  |  Mode: " + (editor_.insertMode() ? "Insert" : "Overwrite") +
         "  |  Selection: " + std::to_string(editor_.selection().length);
}

void HexWindowController::updateStatus() {
  clearNoticeAfterMove();
  if (!window_ || isBusy()) return;
  window_->setStatusText(statusText());
  window_->setInspectorText(
      DataInspector::inspectorText(hexDocument_->storage()->bytes.span(), editor_.caretOffset()));
  window_->revalidateMenus();
}

void HexWindowController::alert(const std::string& title, const std::string& text) {
  platform_.alerts.runModal({.messageText = title, .informativeText = text});
}

void HexWindowController::alert(const std::string& title, const Error& error) {
  noteReason(error);
  alert(title, error.message());
}

bool HexWindowController::alertRefusal(const Refusal& refusal, const std::string& title) {
  if (refusal) alert(title, *refusal);
  return refusal.has_value();
}

void HexWindowController::showFailure(const Error& error, const std::string& title) {
  // The frame has already shown the busy alert.
  if (window_ && !error.isStopped() && !BackgroundTaskFrame::isBusyError(error))
    alert(title, error);
}

bool HexWindowController::attempt(const std::string& failureTitle,
                                  const std::function<void()>& work) {
  const auto result = resultOf([&] {
    work();
    return Done{};
  });
  if (!result.isOk()) showFailure(result.error(), failureTitle);
  return !result.isOk();
}

bool HexWindowController::refuseWhileBusy(const std::string& title) {
  if (!isBusy()) return false;
  alert(title, "Another operation is already running. Wait for it to finish before editing.");
  return true;
}

bool HexWindowController::refuseWithoutFile(const std::string& title) {
  if (hexDocument_->location()) return false;
  alert(title, "Current document has no file path.");
  return true;
}

void HexWindowController::busyStateDidBegin() {
  editor_.setEditingEnabled(false);
  if (!window_) return;
  window_->setToolbarEnabled(false);
  window_->revalidateMenus();
}

void HexWindowController::showBusyStatus(const std::string& statusText) {
  if (window_) window_->setStatusText(statusText);
}

void HexWindowController::busyStateDidEnd() {
  editor_.setEditingEnabled(true);
  if (!window_) return;
  window_->setToolbarEnabled(true);
  updateStatus();
}

void HexWindowController::showProgress(double fraction, bool canStop) {
  if (window_) window_->showProgress(fraction, canStop);
}

void HexWindowController::hideProgress() {
  if (window_) window_->hideProgress();
}

bool HexWindowController::windowShouldClose() {
  if (!isBusy()) return true;
  alert("Operation in Progress",
        "Wait for the current file operation to finish before closing this editor window.");
  return false;
}

void HexWindowController::requestClose(std::function<void(bool)> completion) {
  if (!windowShouldClose()) return completion(false);
  if (!hexDocument_->isDocumentEdited()) return completion(true);
  const auto response = platform_.alerts.runModal(
      {.messageText =
           "Do you want to save the changes you made to \"" + hexDocument_->displayName() + "\"?",
       .informativeText = "Your changes will be lost if you don't save them.",
       .style = AlertStyle::warning,
       .buttons = {"Save", "Don't Save", "Cancel"}});
  if (response.button == 1) return completion(true);
  if (response.button != 0) return completion(false);
  saveCurrentDocumentBeforeReplacing(
      [completion = std::move(completion)](DocumentSaveResult result) {
        completion(result == DocumentSaveResult::success);
      });
}

void HexWindowController::closeUnusedWindow() {
  if (window_) window_->closeWindow();
}

void HexWindowController::windowWillClose() {
  if (!window_) return;
  EditorWindowSurface& window = *std::exchange(window_, nullptr);
  // The document lets go of its windows here; this object lives at least until the end of the
  // function.
  const auto self = shared_from_this();
  saveSessionOffset();
  removeUndoActions();
  window.unregisterDrags();
  lastSearchRequest_ = {};
  window.closeFindReplacePanels();
  window.closeUtilityWindows();
  editor_.setDelegate(nullptr);
  editor_.setSurface(nullptr);
  hexDocument_->removeWindowController(this);
  if (hexDocument_->windowControllers().empty()) documents_.close(hexDocument_.get());
}

}  // namespace quillmor
