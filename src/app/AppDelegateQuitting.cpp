// Quitting: never while an editor is busy, never past unsaved changes without asking.

#include <algorithm>
#include <utility>

#include "app/AppDelegate.h"

namespace quillmor {

bool AppDelegate::applicationShouldTerminate() {
  const auto controllers = editorControllers();
  const bool anyBusy = std::any_of(controllers.begin(), controllers.end(),
                                   [](const auto& controller) { return controller->isBusy(); });
  if (anyBusy) {
    platform_.alerts.runModal(
        {.messageText = "Operation in Progress",
         .informativeText = "Wait for the current operation to finish before quitting Quillmor."});
  }
  return !anyBusy;
}

void AppDelegate::requestQuit() {
  // The review saves in the background; a second request while it runs changes nothing.
  if (isReviewing_ || !applicationShouldTerminate()) return;
  isReviewing_ = true;
  reviewUnsavedDocuments(editorControllers());
}

void AppDelegate::reviewUnsavedDocuments(
    std::vector<std::shared_ptr<HexWindowController>> remaining) {
  while (!remaining.empty() && !remaining.front()->document().isDocumentEdited()) {
    remaining.erase(remaining.begin());
  }
  if (remaining.empty()) {
    isReviewing_ = false;
    // Another window may have started something while a save of this review was running.
    if (applicationShouldTerminate()) surface_.terminate();
    return;
  }
  const auto controller = remaining.front();
  remaining.erase(remaining.begin());
  controller->activate();
  controller->requestClose([this, remaining = std::move(remaining)](bool mayClose) {
    if (mayClose) return reviewUnsavedDocuments(remaining);
    isReviewing_ = false;
  });
}

}  // namespace quillmor
