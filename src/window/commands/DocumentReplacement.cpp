#include "window/commands/DocumentReplacement.h"

#include <utility>

#include "document/DocumentController.h"
#include "fileaccess/URLReservations.h"

namespace quillmor {

namespace {

/// The error a load ends with when nobody is left to show the file to.
Error windowClosedError() {
  return Error::quillmor(410, "The editor window was closed before the file finished opening.");
}

}  // namespace

void DocumentReplacement::openDroppedFile(const FileLocation& location) {
  if (context_.isBusy()) {
    context_.messages().noteOpenFailure(location, BackgroundTaskFrame::busyError());
    context_.messages().alert(
        "Open Dropped File",
        "Another operation is already running. Wait for it to finish before opening a "
        "dropped file.");
    return;
  }
  openURLInCurrentWindow(location, [](auto) {});
}

void DocumentReplacement::openURLInCurrentWindow(const FileLocation& location,
                                                 OpenCompletion completion) {
  context_.messages().clearNotice();
  if (context_.isBusy()) {
    context_.messages().noteOpenFailure(location, BackgroundTaskFrame::busyError());
    context_.messages().alert("Open Failed", BackgroundTaskFrame::busyError().message());
    return completion(OpenCurrentResult::failed);
  }
  if (const auto shown = context_.documents().documentShowing(location, nullptr)) {
    shown->activateOpenWindows();
    return completion(OpenCurrentResult::broughtToFront);
  }
  prepareToReplaceCurrentDocument(location, {.failure = "Open Failed", .busy = "Open"},
                                  [this, owner = context_.owner().lock(), location,
                                   completion = std::move(completion)](auto preparation) {
                                    if (preparation == DocumentReplacementPreparation::cancelled)
                                      return completion(OpenCurrentResult::cancelled);
                                    if (preparation == DocumentReplacementPreparation::failed)
                                      return completion(OpenCurrentResult::failed);
                                    openPrepared(location, completion);
                                  });
}

void DocumentReplacement::openPrepared(const FileLocation& location,
                                       const OpenCompletion& completion) {
  beginLoadFileInCurrentWindow(
      location, /*preservingEditorState=*/false,
      [this, owner = context_.owner().lock(), location, completion](auto result) {
        if (result.isOk()) return completion(result.value());
        if (result.error().isStopped()) return completion(OpenCurrentResult::cancelled);
        context_.messages().noteOpenFailure(location, result.error());
        context_.messages().alert("Open Failed", result.error().message());
        completion(OpenCurrentResult::failed);
      });
}

void DocumentReplacement::prepareToReplaceCurrentDocument(
    const FileLocation& location, const Titles& titles,
    std::function<void(DocumentReplacementPreparation)> completion) {
  using Preparation = DocumentReplacementPreparation;
  try {
    SecureFileAccess::validateURLIsNotReservedForReading(location);
  } catch (const Error& error) {
    context_.messages().noteOpenFailure(location, error);
    context_.messages().alert(titles.failure, error.message());
    return completion(Preparation::failed);
  }
  if (!context_.document().isDocumentEdited()) return completion(Preparation::proceed);
  constexpr std::size_t kSave = 0;
  constexpr std::size_t kDontSave = 1;
  const auto response = context_.messages().alerts().runModal(
      {.messageText = "Replace Current Document?",
       .informativeText = "The current document has unsaved changes. Save before opening another "
                          "file in this window?",
       .style = AlertStyle::warning,
       .buttons = {"Save", "Don't Save", "Cancel"}});
  if (response.button != kSave && response.button != kDontSave)
    return completion(Preparation::cancelled);
  if (context_.refuseWhileBusy(titles.busy)) return completion(Preparation::failed);
  if (response.button == kDontSave) return completion(Preparation::proceed);
  saving_.saveCurrentDocument([completion = std::move(completion)](DocumentSaveResult result) {
    switch (result) {
      case DocumentSaveResult::success:
        return completion(Preparation::proceed);
      case DocumentSaveResult::cancelled:
        return completion(Preparation::cancelled);
      case DocumentSaveResult::failed:
        return completion(Preparation::failed);
    }
  });
}

void DocumentReplacement::loadPreservingEditorState(const FileLocation& location,
                                                    const std::string& failureTitle,
                                                    std::function<void()> success) {
  beginLoadFileInCurrentWindow(location, /*preservingEditorState=*/true,
                               [this, owner = context_.owner().lock(), failureTitle,
                                success = std::move(success)](auto result) {
                                 if (!result.isOk()) {
                                   if (!result.error().isStopped())
                                     context_.messages().alert(failureTitle, result.error());
                                 } else if (result.value() == OpenCurrentResult::opened) {
                                   success();
                                 }
                               });
}

void DocumentReplacement::beginLoadFileInCurrentWindow(const FileLocation& location,
                                                       bool preservingEditorState,
                                                       LoadCompletion completion) {
  if (context_.isBusy()) return completion(BackgroundTaskFrame::busyError());
  BusyScope busy = context_.frame().beginBusyStatus("Opening " + location.shownName(),
                                                    BackgroundTaskFrame::Stopping::allowed);
  startLoad(location, preservingEditorState, std::move(busy), std::move(completion));
}

void DocumentReplacement::startLoad(const FileLocation& location, bool preservingEditorState,
                                    BusyScope busy, LoadCompletion completion) {
  auto work = [location, progress = context_.frame().progress()] {
    return loadDocument(location, progress.get());
  };
  auto finish = [this, owner = context_.owner(), preservingEditorState,
                 busy = std::make_shared<BusyScope>(std::move(busy)),
                 completion = std::move(completion)](Result<LoadedDocument> result) {
    const auto held = owner.lock();
    if (!held) return completion(windowClosedError());
    auto outcome = finishLoad(preservingEditorState, std::move(result));
    busy->end();
    completion(std::move(outcome));
  };
  runInBackground(context_.platform().executor, std::move(work), std::move(finish));
}

Result<OpenCurrentResult> DocumentReplacement::finishLoad(bool preservingEditorState,
                                                          Result<LoadedDocument> result) {
  auto outcome = resultOf([&] {
    if (!context_.hasWindow()) throw windowClosedError();
    if (!result.isOk()) throw std::move(result.error());
    context_.frame().progress()->checkpoint();
    return showLoadedFile(preservingEditorState, result.value());
  });
  // From here on the document's own location keeps other operations of the editor from the file.
  if (result.isOk()) result.value().reservation->release();
  return outcome;
}

OpenCurrentResult DocumentReplacement::showLoadedFile(bool preservingEditorState,
                                                      LoadedDocument& loaded) {
  HexDocument& document = context_.document();
  if (const auto shown = context_.documents().documentShowing(loaded.location, &document)) {
    shown->activateOpenWindows();
    return OpenCurrentResult::broughtToFront;
  }
  auto storage = std::make_shared<HexStorage>();
  storage->bytes = std::move(loaded.snapshot.bytes);
  if (!preservingEditorState) willReplace_();
  // From here on nothing fails but showing what has happened, which is tried again.
  document.isPendingInitialLoad = false;
  // The record of a save that has left the old file incomplete stays for the next start.
  document.setUnfinishedSave(nullptr);
  EditSession& session = context_.session();
  session.takeStorage(storage, preservingEditorState);
  showingInAnyCase(
      [&] {
        document.replaceContentsForSingleWindowOpen(std::move(storage), std::move(loaded.location),
                                                    loaded.snapshot.modificationDate, loaded.known);
      },
      [&] { retryingWithoutMemory([&] { session.showStorage(); }); });
  if (!preservingEditorState) context_.documents().noteOpened(*document.location());
  return OpenCurrentResult::opened;
}

void DocumentReplacement::showRecovered(RecoveredDocument recovered) {
  requireDocumentByteCount(recovered.bytes.size());
  auto storage = std::make_shared<HexStorage>();
  storage->bytes = std::move(recovered.bytes);
  willReplace_();
  context_.document().isPendingInitialLoad = false;
  EditSession& session = context_.session();
  session.takeStorage(storage, /*preservingEditorState=*/false);
  session.bookmarks().replaceAll(std::move(recovered.places.bookmarks));
  showingInAnyCase(
      [&] {
        context_.document().installRecovered(std::move(storage), std::move(recovered.location),
                                             recovered.knownFile);
      },
      [&] {
        retryingWithoutMemory([&] {
          session.showStorage();
          session.goTo({recovered.places.caretOffset, recovered.places.selection});
        });
      });
}

}  // namespace quillmor
