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
  if (!review_.expired() || !applicationShouldTerminate()) return;
  const auto review = std::make_shared<Done>();
  review_ = review;
  reviewUnsavedDocuments({}, review);
}

void AppDelegate::reviewUnsavedDocuments(DiscardedStates discarded,
                                         const std::shared_ptr<void>& review) {
  const auto controllers = editorControllers();
  const auto needsReview = [&](const std::shared_ptr<HexWindowController>& controller) {
    const HexDocument& document = controller->document();
    const auto answer = discarded.find(controller);
    return document.isDocumentEdited() &&
           (answer == discarded.end() || answer->second != document.changeCountToken());
  };
  const auto next = std::find_if(controllers.begin(), controllers.end(), needsReview);
  if (next == controllers.end()) {
    review_.reset();
    // Another window may have started something while a save of this review was running.
    if (applicationShouldTerminate()) surface_.terminate();
    return;
  }
  const auto& controller = *next;
  if (controller->isBusy() && !applicationShouldTerminate()) return;
  controller->activate();
  controller->requestClose(
      [this, controller, review, discarded = std::move(discarded)](bool mayClose) mutable {
        if (!mayClose) return review_.reset();
        const HexDocument& document = controller->document();
        if (document.isDocumentEdited()) discarded[controller] = document.changeCountToken();
        reviewUnsavedDocuments(std::move(discarded), review);
      });
}

}  // namespace quillmor
