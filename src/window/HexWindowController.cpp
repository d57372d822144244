#include "window/HexWindowController.h"

#include <utility>

#include "document/DocumentController.h"

namespace quillmor {

HexWindowController::HexWindowController(std::shared_ptr<HexDocument> document,
                                         const EditorEnvironment& environment)
    : context_(std::move(document), environment, [this] { return weak_from_this(); }) {
  session().addEditRecorder(unsavedChanges());
  commands_.navigation().applyUserDefaults();
}

void HexWindowController::attachWindow(EditorWindowSurface& window) {
  context_.attachWindow(window);
  editor().recalcMetrics();
  documentIdentityDidChange();
  context_.updateStatus();
}

bool HexWindowController::windowShouldClose() {
  if (!isBusy()) return true;
  context_.messages().alert(
      "Operation in Progress",
      "Wait for the current file operation to finish before closing this editor "
      "window.");
  return false;
}

void HexWindowController::requestClose(std::function<void(bool)> completion) {
  if (!windowShouldClose()) return completion(false);
  if (!document().isDocumentEdited()) return completion(true);
  const auto response = context_.platform().alerts.runModal(
      {.messageText =
           "Do you want to save the changes you made to \"" + document().displayName() + "\"?",
       .informativeText = "Your changes will be lost if you don't save them.",
       .style = AlertStyle::warning,
       .buttons = {"Save", "Don't Save", "Cancel"}});
  if (response.button == 1) {
    unwantedState_ = document().changeCountToken();
    return completion(true);
  }
  if (response.button != 0) return completion(false);
  commands_.saving().saveCurrentDocument(
      [completion = std::move(completion)](DocumentSaveResult result) {
        completion(result == DocumentSaveResult::success);
      });
}

void HexWindowController::closeUnusedWindow() {
  if (hasWindow()) context_.window()->closeWindow();
}

void HexWindowController::windowWillClose() {
  EditorWindowSurface* const window = context_.detachWindow();
  if (window == nullptr) return;
  // The document lets go of its windows here; this object lives at least until the end of the
  // function.
  const auto self = shared_from_this();
  commands_.navigation().saveSessionOffset();
  outsideChanges_.stop();
  context_.documentLock().release();
  window->unregisterDrags();
  commands_.searching().setLastSearchRequest({});
  window->closeFindReplacePanels();
  window->closeUtilityWindows();
  session().removeEditRecorder(unsavedChanges());
  if (unwantedState_ == document().changeCountToken()) {
    unsavedChanges().discard();
    context_.saver().forgetUnfinishedSave(document());
  } else {
    unsavedChanges().keepNow();
  }
  unsavedChanges().retryRemovals();
  session().close();
  document().removeWindowController(this);
  if (!document().windowControllers().empty()) return;
  context_.documents().close(&document());
  if (unwantedState_ == document().changeCountToken()) document().changesWereGivenUp();
}

void HexWindowController::documentStorageDidReload() {
  session().takeStorage(document().storage(), /*preservingEditorState=*/true);
  unsavedChanges().contentWasReplaced();
  session().showStorage();
}

void HexWindowController::documentIdentityDidChange() {
  unsavedChanges().documentDidChange();
  if (!hasWindow()) return;
  context_.window()->setIdentity(document().displayName(), document().location(),
                                 document().isDocumentEdited());
  context_.window()->revalidateMenus();
  outsideChanges_.documentDidChange();
  followFileWithLock();
}

/// Tells other processes which file is open here, and the user when another process has it open.
void HexWindowController::followFileWithLock() {
  const auto& location = document().location();
  if (!context_.documentLock().follow(location)) return;
  auto didTake = [this, weak = weak_from_this(), &executor = context_.platform().executor,
                  taken = *location](std::shared_ptr<const OpenFileLock> lock) {
    const auto self = weak.lock();
    if (!self || !hasWindow() || document().location() != taken)
      return DocumentLock::letGo(executor, std::move(lock));
    const bool isOpenElsewhere = lock && lock->isHeldByAnother();
    context_.documentLock().hold(taken, std::move(lock));
    if (isOpenElsewhere) context_.messages().showNotice(openInAnotherProcessError().message());
  };
  context_.documentLock().take(*location, std::move(didTake));
}

void HexWindowController::activate() {
  if (hasWindow()) context_.window()->bringToFront();
}

}  // namespace quillmor
