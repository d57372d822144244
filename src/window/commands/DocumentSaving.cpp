#include "window/commands/DocumentSaving.h"

#include <utility>

namespace quillmor {

void DocumentSaving::saveCurrentDocument(Completion completion) {
  const auto& location = context_.document().location();
  if (!location) return chooseDestinationAndSave(std::move(completion));
  performDocumentSave(*location, DocumentSaveOperation::save, "Save", std::move(completion));
}

void DocumentSaving::chooseDestinationAndSave(Completion completion) {
  constexpr const char* kSaveAs = "Save As";
  const auto& location = context_.document().location();
  const std::string name =
      location ? location->lastPathComponent() : context_.document().displayName();
  const auto destination = context_.chooseDestination(kSaveAs, name);
  if (!destination) return completion(DocumentSaveResult::cancelled);
  performDocumentSave(*destination, DocumentSaveOperation::saveAs, kSaveAs, std::move(completion));
}

void DocumentSaving::performDocumentSave(const FileLocation& destination,
                                         DocumentSaveOperation operation,
                                         const std::string& statusTitle, Completion completion) {
  // Shared with the hooks, so that it is there when they cannot be made.
  std::shared_ptr<Run> run;
  bool isRefused = false;
  auto begun = resultOf([&] {
    BusyScope busy = context_.frame().beginBusyStatus(statusTitle + "…");
    isRefused = !busy;
    if (isRefused) return Done();
    run = std::make_shared<Run>(Run{.busy = std::move(busy), .completion = completion});
    run->sessionHold =
        context_.platform().workspace.holdSessionEnd("Saving " + destination.shownName());
    lockAndSave(destination, operation, run);
    return Done();
  });
  if (isRefused) return completion(DocumentSaveResult::failed);
  if (begun.isOk()) return;
  // The save has ended and its caller has the result; only showing it has failed.
  if (run && !run->completion) throw std::move(begun.error());
  Run unstarted{.busy = {}, .completion = std::move(completion)};
  saveDidEnd({DocumentSaveResult::failed, std::move(begun.error())}, run ? *run : unstarted);
}

/// Finds out whether another process has the destination open, where that is not known, and asks.
void DocumentSaving::lockAndSave(const FileLocation& destination, DocumentSaveOperation operation,
                                 const std::shared_ptr<Run>& run) {
  DocumentLock& lock = context_.documentLock();
  if (!lock.mayBeOpenElsewhere(destination)) return save(destination, operation, run);
  lock.take(destination, [this, owner = context_.owner(), &executor = context_.platform().executor,
                          destination, operation, run](std::shared_ptr<const OpenFileLock> taken) {
    const auto held = owner.lock();
    if (!held) {
      DocumentLock::letGo(executor, std::move(taken));
      return std::exchange(run->completion, nullptr)(DocumentSaveResult::failed);
    }
    run->lock = std::move(taken);
    const auto begun = resultOf([&] {
      if (mayReplaceOpenFile(*run)) return save(destination, operation, run), Done();
      return saveDidEnd({DocumentSaveResult::cancelled, {}}, *run), Done();
    });
    if (begun.isOk()) return;
    if (!run->completion) throw begun.error();
    saveDidEnd({DocumentSaveResult::failed, begun.error()}, *run);
  });
}

/// True unless another process has the destination open and the user does not want to overwrite it.
bool DocumentSaving::mayReplaceOpenFile(const Run& run) {
  if (!run.lock || !run.lock->isHeldByAnother()) return true;
  const auto response = context_.platform().alerts.runModal(
      {.messageText = openInAnotherProcessError().message(),
       .informativeText = "Saving now replaces the bytes that the other Quillmor has read.",
       .style = AlertStyle::warning,
       .buttons = {"Cancel", "Save Anyway"},
       .cancelButton = 0});
  return response.button == 1;
}

void DocumentSaving::save(const FileLocation& destination, DocumentSaveOperation operation,
                          const std::shared_ptr<Run>& run) {
  context_.saver().save(context_.session().sharedDocument(), destination, operation,
                        hooks(destination, run));
}

DocumentSaver::Hooks DocumentSaving::hooks(const FileLocation& destination,
                                           const std::shared_ptr<Run>& run) {
  DocumentSaver::Hooks hooks;
  hooks.progress = context_.frame().progress();
  hooks.confirmOverwritingChangedFile = [this, owner = context_.owner()] {
    const auto held = owner.lock();
    return held && confirmsOverwritingChangedFile();
  };
  hooks.confirmSavingWithoutSafetyCopy = [this, owner = context_.owner()] {
    const auto held = owner.lock();
    return held && confirmsSavingWithoutSafetyCopy();
  };
  hooks.places = [this, owner = context_.owner()] {
    const auto held = owner.lock();
    return held ? context_.session().places() : EditorPlaces{};
  };
  hooks.willWrite = [this, owner = context_.owner(), name = destination.shownName()] {
    if (const auto held = owner.lock()) context_.frame().updateBusyStatus("Saving " + name);
  };
  hooks.didTakeBytes = [this, owner = context_.owner()]() -> std::function<void()> {
    const auto held = owner.lock();
    return held ? context_.unsavedChanges().removalOnceSaved() : nullptr;
  };
  hooks.completion = [this, owner = context_.owner(), run](const DocumentSaveOutcome& outcome) {
    if (const auto held = owner.lock()) return saveDidEnd(outcome, *run);
    std::exchange(run->completion, nullptr)(outcome.result);
  };
  return hooks;
}

bool DocumentSaving::confirmsOverwritingChangedFile() {
  const auto response = context_.platform().alerts.runModal(
      {.messageText = "The file has been changed by another program.",
       .informativeText = "Saving now replaces those changes by the bytes in this window.",
       .style = AlertStyle::warning,
       .buttons = {"Cancel", "Overwrite"},
       .cancelButton = 0});
  return response.button == 1;
}

/// The file of a save is the document's file after it.
void DocumentSaving::keepOrLetGo(std::shared_ptr<const OpenFileLock> lock,
                                 DocumentSaveResult result) {
  const auto& location = context_.document().location();
  if (lock && location && context_.hasWindow() && result == DocumentSaveResult::success)
    return context_.documentLock().hold(*location, std::move(lock));
  DocumentLock::letGo(context_.platform().executor, std::move(lock));
}

bool DocumentSaving::confirmsSavingWithoutSafetyCopy() {
  const auto response = context_.platform().alerts.runModal(
      {.messageText = "Save Without a Safety Copy?",
       .informativeText =
           "There is no room for a copy of the new bytes, neither in Quillmor's own folder nor "
           "beside the file. If saving is interrupted, the old and the new bytes can be lost.",
       .style = AlertStyle::warning,
       .buttons = {"Cancel", "Save Anyway"},
       .cancelButton = 0});
  return response.button == 1;
}

void DocumentSaving::saveDidEnd(const DocumentSaveOutcome& outcome, Run& run) {
  const Completion onlyOnce = std::exchange(run.completion, nullptr);
  keepOrLetGo(std::exchange(run.lock, nullptr), outcome.result);
  run.busy.end();
  run.sessionHold.reset();
  // The waiting caller gets the result even when the alert cannot be shown.
  auto shown = resultOf([&] {
    if (outcome.result == DocumentSaveResult::failed)
      retryingWithoutMemory([&] { context_.messages().alert("Save Failed", *outcome.error); });
    return Done();
  });
  onlyOnce(outcome.result);
  if (!shown.isOk()) throw std::move(shown.error());
}

}  // namespace quillmor
