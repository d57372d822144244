// Saving, reverting, reloading, and replacing the document of the window by another file.

#include <utility>

#include "document/QuillmorResourceLimits.h"
#include "fileaccess/Reservations.h"
#include "fileaccess/ResolvedPaths.h"
#include "fileaccess/UrlReservations.h"
#include "platform/RunInBackground.h"
#include "window/HexWindowController.h"

namespace quillmor {

namespace {

/// The error a load ends with when nobody is left to show the file to.
Error windowClosedError() {
  return Error::quillmor(410, "The editor window was closed before the file finished opening.");
}

}  // namespace

void HexWindowController::saveDocument() {
  if (refuseWhileBusy("Save")) return;
  if (!hexDocument_->location()) return saveDocumentAs();
  performDocumentSave(*hexDocument_->location(), DocumentSaveOperation::save, "Save", [](auto) {});
}

void HexWindowController::saveDocumentAs() {
  if (refuseWhileBusy("Save As")) return;
  chooseDestinationAndSave([](auto) {});
}

void HexWindowController::saveCurrentDocumentBeforeReplacing(
    std::function<void(DocumentSaveResult)> completion) {
  if (!hexDocument_->location()) return chooseDestinationAndSave(std::move(completion));
  performDocumentSave(*hexDocument_->location(), DocumentSaveOperation::save, "Save",
                      std::move(completion));
}

std::optional<FileLocation> HexWindowController::documentDirectory() const {
  if (!hexDocument_->location()) return std::nullopt;
  return hexDocument_->location()->directory();
}

void HexWindowController::chooseDestinationAndSave(
    std::function<void(DocumentSaveResult)> completion) {
  const auto& location = hexDocument_->location();
  const std::string name = location ? location->lastPathComponent() : hexDocument_->displayName();
  const auto destination = platform_.filePanels.runSavePanel("Save As", name, documentDirectory());
  if (!destination) return completion(DocumentSaveResult::cancelled);
  performDocumentSave(*destination, DocumentSaveOperation::saveAs, "Save As",
                      std::move(completion));
}

void HexWindowController::performDocumentSave(const FileLocation& destination,
                                              DocumentSaveOperation operation,
                                              const std::string& statusTitle,
                                              std::function<void(DocumentSaveResult)> completion) {
  if (!beginBusyStatus(statusTitle + "…")) return completion(DocumentSaveResult::failed);
  DocumentSaver::Hooks hooks;
  hooks.progress = frame_.progress();
  hooks.confirmOverwritingChangedFile = [weak = weak_from_this()] {
    const auto self = weak.lock();
    if (!self) return false;
    const auto response = self->platform_.alerts.runModal(
        {.messageText = "The file has been changed by another program.",
         .informativeText = "Saving now replaces those changes by the bytes in this window.",
         .style = AlertStyle::warning,
         .buttons = {"Cancel", "Overwrite"},
         .cancelButton = 0});
    return response.button == 1;
  };
  hooks.willWrite = [weak = weak_from_this(), name = destination.shownName()] {
    if (const auto self = weak.lock()) self->frame_.updateBusyStatus("Saving " + name);
  };
  hooks.completion = [weak = weak_from_this(),
                      completion = std::move(completion)](const DocumentSaveOutcome& outcome) {
    if (const auto self = weak.lock()) {
      self->endBusyStatus();
      if (outcome.result == DocumentSaveResult::failed) self->alert("Save Failed", *outcome.error);
    }
    completion(outcome.result);
  };
  saver_.save(hexDocument_, destination, operation, std::move(hooks));
}

void HexWindowController::revertDocument() {
  if (refuseWhileBusy("Revert") || refuseWithoutFile("Revert")) return;
  const auto response = platform_.alerts.runModal(
      {.messageText = "Revert Changes?",
       .informativeText = "Discard unsaved changes to " + hexDocument_->displayName() +
                          " and reload the version currently on disk?",
       .style = AlertStyle::warning,
       .buttons = {"Revert", "Cancel"}});
  if (response.button != 0) return;
  loadPreservingEditorState(*hexDocument_->location(), "Revert Failed", [] {});
}

void HexWindowController::reloadFromDisk() {
  if (refuseWhileBusy("Reload from Disk") || refuseWithoutFile("Reload from Disk")) return;
  const FileLocation location = *hexDocument_->location();
  prepareToReplaceCurrentDocument(
      location, "Reload Failed", [this, self = shared_from_this(), location](auto preparation) {
        if (preparation != DocumentReplacementPreparation::proceed) return;
        loadPreservingEditorState(location, "Reload Failed", [this, location] {
          alert("Reload from Disk", "Reloaded: " + location.shownName());
        });
      });
}

void HexWindowController::loadPreservingEditorState(const FileLocation& location,
                                                    const std::string& failureTitle,
                                                    std::function<void()> success) {
  beginLoadFileInCurrentWindow(
      location, /*preservingEditorState=*/true,
      [this, self = shared_from_this(), failureTitle, success = std::move(success)](auto result) {
        if (!result.isOk()) {
          if (!result.error().isStopped()) alert(failureTitle, result.error());
        } else if (result.value() == OpenCurrentResult::opened) {
          success();
        }
      });
}

void HexWindowController::openDroppedFile(const FileLocation& location) {
  if (isBusy()) {
    noteOpenFailure(location, BackgroundTaskFrame::busyError());
    alert("Open Dropped File",
          "Another operation is already running. Wait for it to finish before opening a dropped "
          "file.");
    return;
  }
  openURLInCurrentWindow(location, [](auto) {});
}

void HexWindowController::openURLInCurrentWindow(const FileLocation& location,
                                                 OpenCompletion completion) {
  clearNotice();
  if (isBusy()) {
    noteOpenFailure(location, BackgroundTaskFrame::busyError());
    alert("Open Failed", BackgroundTaskFrame::busyError().message());
    return completion(OpenCurrentResult::failed);
  }
  if (const auto shown = documents_.documentShowing(location, nullptr)) {
    shown->activateOpenWindows();
    return completion(OpenCurrentResult::broughtToFront);
  }
  prepareToReplaceCurrentDocument(location, "Open Failed",
                                  [this, self = shared_from_this(), location,
                                   completion = std::move(completion)](auto preparation) {
                                    if (preparation == DocumentReplacementPreparation::cancelled)
                                      return completion(OpenCurrentResult::cancelled);
                                    if (preparation == DocumentReplacementPreparation::failed)
                                      return completion(OpenCurrentResult::failed);
                                    beginLoadFileInCurrentWindow(
                                        location, /*preservingEditorState=*/false,
                                        [this, self, location, completion](auto result) {
                                          if (result.isOk()) return completion(result.value());
                                          if (result.error().isStopped())
                                            return completion(OpenCurrentResult::cancelled);
                                          noteOpenFailure(location, result.error());
                                          alert("Open Failed", result.error().message());
                                          completion(OpenCurrentResult::failed);
                                        });
                                  });
}

void HexWindowController::prepareToReplaceCurrentDocument(
    const FileLocation& afterValidatingReadURL, const std::string& validationErrorTitle,
    std::function<void(DocumentReplacementPreparation)> completion) {
  try {
    SecureFileAccess::validateURLIsNotReservedForReading(afterValidatingReadURL);
  } catch (const Error& error) {
    noteOpenFailure(afterValidatingReadURL, error);
    alert(validationErrorTitle, error.message());
    return completion(DocumentReplacementPreparation::failed);
  }
  if (!hexDocument_->isDocumentEdited()) return completion(DocumentReplacementPreparation::proceed);
  const auto response = platform_.alerts.runModal(
      {.messageText = "Replace Current Document?",
       .informativeText = "The current document has unsaved changes. Save before opening another "
                          "file in this window?",
       .style = AlertStyle::warning,
       .buttons = {"Save", "Don't Save", "Cancel"}});
  if (response.button == 1) return completion(DocumentReplacementPreparation::proceed);
  if (response.button != 0) return completion(DocumentReplacementPreparation::cancelled);
  saveCurrentDocumentBeforeReplacing(
      [completion = std::move(completion)](DocumentSaveResult result) {
        switch (result) {
          case DocumentSaveResult::success:
            return completion(DocumentReplacementPreparation::proceed);
          case DocumentSaveResult::cancelled:
            return completion(DocumentReplacementPreparation::cancelled);
          case DocumentSaveResult::failed:
            return completion(DocumentReplacementPreparation::failed);
        }
      });
}

void HexWindowController::beginLoadFileInCurrentWindow(const FileLocation& location,
                                                       bool preservingEditorState,
                                                       LoadCompletion completion) {
  if (isBusy()) return completion(BackgroundTaskFrame::busyError());
  frame_.beginBusyStatus("Opening " + location.shownName(), BackgroundTaskFrame::Stopping::allowed);
  const auto work = [location, progress = frame_.progress()] {
    // Saving must never have to follow a link, so the real file becomes the document's location.
    LoadedFile file{SecureFileAccess::realLocation(location), {}, {}};
    file.reservation = SecureFileAccess::reserveReadURL(file.location);
    SecureFileAccess::validateReadableFileURL(file.location);
    file.snapshot = SecureFileAccess::stableBytes(
        file.location, QuillmorResourceLimits::maximumDocumentByteCount(), progress.get());
    progress->checkpoint();
    return file;
  };
  frame_.start(work, std::function([weak = weak_from_this(), preservingEditorState,
                                    completion = std::move(completion)](Result<LoadedFile> result) {
                 const auto self = weak.lock();
                 if (!self) return completion(windowClosedError());
                 if (!self->window_) {
                   self->endBusyStatus();
                   result = windowClosedError();
                   return completion(result.error());
                 }
                 self->finishLoad(preservingEditorState, std::move(result), completion);
               }));
}

void HexWindowController::finishLoad(bool preservingEditorState, Result<LoadedFile> result,
                                     const LoadCompletion& completion) {
  Result<OpenCurrentResult> outcome = Error::stopped();
  if (!result.isOk()) {
    outcome = result.error();
  } else if (!frame_.progress()->stopRequested()) {
    outcome = resultOf([&] { return showLoadedFile(preservingEditorState, result.value()); });
  }
  // From here on the document's own location keeps other operations of the editor from the file.
  if (result.isOk()) result.value().reservation->release();
  endBusyStatus();
  completion(std::move(outcome));
}

OpenCurrentResult HexWindowController::showLoadedFile(bool preservingEditorState,
                                                      LoadedFile& file) {
  if (const auto shown = documents_.documentShowing(file.location, hexDocument_.get())) {
    shown->activateOpenWindows();
    return OpenCurrentResult::broughtToFront;
  }
  auto storage = std::make_shared<HexStorage>();
  storage->bytes = std::move(file.snapshot.bytes);
  if (!preservingEditorState) saveSessionOffset();
  hexDocument_->replaceContentsForSingleWindowOpen(std::move(storage), file.location,
                                                   file.snapshot.modificationDate);
  hexDocument_->setFileStatus(file.snapshot.status);
  hexDocument_->isPendingInitialLoad = false;
  preservingEditorState ? documentStorageDidReload() : startAtTheBeginning();
  return OpenCurrentResult::opened;
}

void HexWindowController::startAtTheBeginning() {
  editor_.setStorage(hexDocument_->storage());
  bookmarks_.clear();
  forgetAnnouncements();
  removeUndoActions();
  editor_.recalcMetrics();
  moveCaret(0, {});
}

void HexWindowController::documentStorageDidReload() {
  const std::int64_t caret = editor_.caretOffset();
  const HexSelection selection = editor_.selection();
  bookmarks_.keepWithin(byteCount());
  forgetAnnouncements();
  removeUndoActions();
  editor_.setStorage(hexDocument_->storage());
  editor_.recalcMetrics();
  moveCaret(clampedToCount(caret, byteCount()), selection.normalized(byteCount()));
}

void HexWindowController::documentIdentityDidChange() {
  if (!window_) return;
  window_->setIdentity(hexDocument_->displayName(), hexDocument_->location(),
                       hexDocument_->isDocumentEdited());
  window_->revalidateMenus();
}

void HexWindowController::activate() {
  if (window_) window_->bringToFront();
}

}  // namespace quillmor
