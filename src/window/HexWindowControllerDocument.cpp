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

Result<OpenCurrentResult> windowClosed() {
  return resultOf([]() -> OpenCurrentResult { throw windowClosedError(); });
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
  if (!destination || !window_) return completion(DocumentSaveResult::cancelled);
  performDocumentSave(*destination, DocumentSaveOperation::saveAs, "Save As",
                      std::move(completion));
}

void HexWindowController::performDocumentSave(const FileLocation& destination,
                                              DocumentSaveOperation operation,
                                              const std::string& statusTitle,
                                              SaveCompletion completion) {
  bool isRefused = false;
  // Shared with the hooks, so that it is there when they cannot be made.
  std::shared_ptr<SaveCompletion> held;
  auto begun = resultOf([&] {
    isRefused = !beginBusyStatus(statusTitle + "…");
    if (isRefused) return Done();
    held = std::make_shared<SaveCompletion>(std::move(completion));
    saver_.save(hexDocument_, destination, operation, saveHooks(destination, held));
    return Done();
  });
  if (isRefused) return completion(DocumentSaveResult::failed);
  if (begun.isOk()) return;
  // A save that has ended could not say how; whoever waits for it has been told.
  if (held && !*held) throw std::move(begun.error());
  saveDidEnd({DocumentSaveResult::failed, std::move(begun.error())}, held ? *held : completion);
}

DocumentSaver::Hooks HexWindowController::saveHooks(
    const FileLocation& destination, const std::shared_ptr<SaveCompletion>& completion) {
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
  hooks.completion = [weak = weak_from_this(), completion](const DocumentSaveOutcome& outcome) {
    if (const auto self = weak.lock()) return self->saveDidEnd(outcome, *completion);
    std::exchange(*completion, nullptr)(outcome.result);
  };
  return hooks;
}

void HexWindowController::saveDidEnd(const DocumentSaveOutcome& outcome,
                                     SaveCompletion& completion) {
  const SaveCompletion onlyOnce = std::exchange(completion, nullptr);
  endBusyStatus();
  // Whoever waits for the save is told even when the user cannot be.
  auto shown = resultOf([&] {
    if (outcome.result == DocumentSaveResult::failed)
      retryingWithoutMemory([&] { alert("Save Failed", *outcome.error); });
    return Done();
  });
  onlyOnce(outcome.result);
  if (!shown.isOk()) throw std::move(shown.error());
}

void HexWindowController::revertDocument() {
  if (refuseWhileBusy("Revert") || refuseWithoutFile("Revert")) return;
  const auto response = platform_.alerts.runModal(
      {.messageText = "Revert Changes?",
       .informativeText = "Discard unsaved changes to " + hexDocument_->displayName() +
                          " and reload the version currently on disk?",
       .style = AlertStyle::warning,
       .buttons = {"Revert", "Cancel"}});
  if (response.button != 0 || !window_) return;
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
  if (!window_) return completion(DocumentReplacementPreparation::cancelled);
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
  frame_.orEndBusyStatus(
      [&] { startLoad(location, preservingEditorState, std::move(completion)); });
}

void HexWindowController::startLoad(const FileLocation& location, bool preservingEditorState,
                                    LoadCompletion completion) {
  const auto work = [location, progress = frame_.progress()] {
    // Saving must never have to follow a link, so the real file becomes the document's location.
    // Messages name what was to be opened.
    LoadedFile file{SecureFileAccess::realLocation(location), {}, {}, {}};
    file.reservation = SecureFileAccess::reserveReadURL(file.location, location.shownName());
    SecureFileAccess::validateReadableFileURL(file.location);
    file.snapshot = SecureFileAccess::stableBytes(
        file.location, QuillmorResourceLimits::maximumDocumentByteCount(), progress.get());
    progress->checkpoint();
    file.known = KnownFile::of(file.snapshot.status, file.snapshot.bytes.span());
    return file;
  };
  runInBackground(platform_.executor, work,
                  std::function([weak = weak_from_this(), preservingEditorState,
                                 completion = std::move(completion)](Result<LoadedFile> result) {
                    const auto self = weak.lock();
                    if (self)
                      self->finishLoad(preservingEditorState, std::move(result), completion);
                    if (!self) completion(windowClosed());
                  }));
}

void HexWindowController::finishLoad(bool preservingEditorState, Result<LoadedFile> result,
                                     const LoadCompletion& completion) {
  auto outcome = resultOf([&] {
    if (!window_) throw windowClosedError();
    if (!result.isOk()) throw std::move(result.error());
    frame_.progress()->checkpoint();
    return showLoadedFile(preservingEditorState, result.value());
  });
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
  // From here on nothing fails but showing what has happened, which is tried again.
  hexDocument_->isPendingInitialLoad = false;
  takeStorage(storage, preservingEditorState);
  showingInAnyCase(
      [&] {
        hexDocument_->replaceContentsForSingleWindowOpen(
            std::move(storage), std::move(file.location), file.snapshot.modificationDate,
            file.known);
      },
      [&] { retryingWithoutMemory([&] { showStorage(); }); });
  return OpenCurrentResult::opened;
}

/// Makes `storage` the one that is edited: nothing of another one is left.
void HexWindowController::takeStorage(std::shared_ptr<HexStorage> storage,
                                      bool preservingEditorState) noexcept {
  const std::int64_t count = storage->count();
  const std::int64_t caret = preservingEditorState ? editor_.caretOffset() : 0;
  const HexSelection selection = preservingEditorState ? editor_.selection() : HexSelection{};
  preservingEditorState ? bookmarks_.keepWithin(count) : bookmarks_.clear();
  forgetAnnouncements();
  removeUndoActions();
  editor_.setStorage(std::move(storage));
  editor_.placeCaretAndSelection(clampedToCount(caret, count), selection.normalized(count));
}

void HexWindowController::showStorage() {
  editor_.recalcMetrics();
  editor_.showCaretAndSelection();
}

void HexWindowController::documentStorageDidReload() {
  takeStorage(hexDocument_->storage(), /*preservingEditorState=*/true);
  showStorage();
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
