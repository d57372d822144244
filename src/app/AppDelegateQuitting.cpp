// Quitting: never while an editor is busy, never past unsaved changes without asking.

#include <algorithm>
#include <utility>

#include "app/AppDelegate.h"
#include "platform/RunInBackground.h"

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

/// The questions before the end. When an error drops them on the way, the answer is no.
struct AppDelegate::Review {
  explicit Review(std::function<void(bool)> whenDone) : completion(std::move(whenDone)) {}
  ~Review() {
    resultOf([&] { return end(false), Done(); });
  }
  Review(const Review&) = delete;
  Review& operator=(const Review&) = delete;

  void end(bool mayEnd) {
    if (const auto once = std::exchange(completion, nullptr)) once(mayEnd);
  }

  std::function<void(bool)> completion;
};

void AppDelegate::requestQuit() {
  beginReview([this](bool mayEnd) {
    if (mayEnd) surface_.terminate();
  });
}

void AppDelegate::reviewForSessionEnd(std::function<void(bool)> completion) {
  beginReview(std::move(completion));
}

void AppDelegate::beginReview(std::function<void(bool)> completion) {
  // The review saves in the background; a second request while it runs changes nothing.
  if (!review_.expired() || !applicationShouldTerminate()) return completion(false);
  const auto review = std::make_shared<Review>(std::move(completion));
  review_ = review;
  reviewUnsavedDocuments({}, review);
}

std::string AppDelegate::keepUnsavedChanges() {
  std::string names;
  for (const auto& controller : editorControllers()) {
    UnsavedChanges& changes = controller->unsavedChanges();
    if (changes.keepNow() || !changes.failure()) continue;
    names += (names.empty() ? "\"" : ", \"") + controller->document().displayName() + "\"";
  }
  return names;
}

void AppDelegate::endSession() {
  const std::string names = keepUnsavedChanges();
  if (!names.empty() && !std::exchange(hasRefusedSessionEnd_, true)) {
    platform_.alerts.runModal(
        {.messageText = "Unsaved Changes Cannot Be Kept",
         .informativeText = "Quillmor was asked to end, but the unsaved changes of " + names +
                            " could not be recorded. Save them, or they will be lost."});
    return;
  }
  for (const auto& controller : editorControllers()) {
    controller->leaveRecordsBehind();
    controller->stopCurrentOperation();
  }
  surface_.terminate();
}

void AppDelegate::reviewUnsavedDocuments(DiscardedStates discarded,
                                         const std::shared_ptr<Review>& review) {
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
    return review->end(applicationShouldTerminate());
  }
  const auto& controller = *next;
  if (controller->isBusy() && !applicationShouldTerminate()) return review->end(false);
  controller->activate();
  controller->requestClose(
      [this, controller, review, discarded = std::move(discarded)](bool mayClose) mutable {
        if (!mayClose) {
          review_.reset();
          return review->end(false);
        }
        const HexDocument& document = controller->document();
        if (document.isDocumentEdited()) discarded[controller] = document.changeCountToken();
        reviewUnsavedDocuments(std::move(discarded), review);
      });
}

}  // namespace quillmor
