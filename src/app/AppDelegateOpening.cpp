// Files handed to the application: from the command line and from the open panel.

#include <algorithm>
#include <utility>

#include "app/AppDelegate.h"
#include "fileaccess/URLReservations.h"
#include "platform/RunInBackground.h"

namespace quillmor {

/// A reply that waits for several parts of one request.
struct AppDelegate::SharedReply {
  OpenReply reply;
  int waiting = 0;
  bool everyFileOpened = true;

  void partDidEnd(bool opened) {
    everyFileOpened = everyFileOpened && opened;
    if (--waiting == 0) reply(everyFileOpened);
  }
};

/// Sees to it that a request is replied to and that the next one begins, even when an error drops
/// the completion that was to do so.
struct AppDelegate::RequestEnd {
  RequestEnd(AppDelegate& owner, OpenReply whenDone)
      : delegate(owner), life(owner.life_), reply(std::move(whenDone)) {}
  ~RequestEnd() {
    if (isDone || life.expired()) return;
    resultOf([&] { return tell(false), Done(); });
    resultOf([&] {
      delegate.platform_.executor.postToMain([&delegate = delegate, life = life] {
        if (!life.expired() && delegate.opening_.expired()) delegate.runNextOpenRequest();
      });
      return Done();
    });
  }
  RequestEnd(const RequestEnd&) = delete;
  RequestEnd& operator=(const RequestEnd&) = delete;

  void tell(bool everyFileOpened) {
    if (const auto once = std::exchange(reply, nullptr)) once(everyFileOpened);
  }

  AppDelegate& delegate;
  const std::weak_ptr<Done> life;
  OpenReply reply;
  /// Whether the next request has begun.
  bool isDone = false;
};

void AppDelegate::openFiles(const std::vector<FileLocation>& locations, OpenReply reply,
                            std::weak_ptr<HexWindowController> editor) {
  const auto shared = std::make_shared<SharedReply>(SharedReply{std::move(reply)});
  const OpenReply part = [shared](bool opened) { shared->partDidEnd(opened); };
  std::vector<FileLocation> toOpen;
  for (const FileLocation& location : locations) {
    NewWindowCompletion joined = part;
    if (coalesceWithPendingNewWindowOpenIfPresent(location, joined)) {
      ++shared->waiting;
    } else {
      toOpen.push_back(location);
    }
  }
  if (toOpen.empty() && !locations.empty()) return;
  ++shared->waiting;
  openRequests_.push_back(
      {std::move(toOpen), std::make_shared<RequestEnd>(*this, part), std::move(editor)});
  if (opening_.expired()) runNextOpenRequest();
}

void AppDelegate::runNextOpenRequest() {
  if (openRequests_.empty()) return;
  OpenRequest request = std::move(openRequests_.front());
  openRequests_.pop_front();
  opening_ = request.end;
  auto finish = [this, end = std::move(request.end)](bool everyFileOpened) {
    opening_.reset();
    if (documents_.documents().empty()) openUntitledDocumentIfNeeded();
    end->tell(everyFileOpened);
    if (opening_.expired()) runNextOpenRequest();
    end->isDone = true;
  };
  if (request.locations.empty()) return finish(true);
  const FileLocation first = request.locations.front();
  request.locations.erase(request.locations.begin());
  openInWindowOf(request.editor.lock(), first,
                 [this, rest = std::move(request.locations), finish = std::move(finish)](
                     bool opened) { openAdditionalDocuments(rest, opened, finish); });
}

std::shared_ptr<HexWindowController> AppDelegate::openNow(const FileLocation& location) {
  const auto document = documents_.makeUntitledDocument(platform_.executor);
  try {
    document->read(location);
  } catch (...) {
    documents_.close(document.get());
    throw;
  }
  return showEditorWindow(document);
}

void AppDelegate::offerRecovery() {
  if (recovery_) recovery_->offerAll();
}

void AppDelegate::openInWindowOf(std::shared_ptr<HexWindowController> controller,
                                 const FileLocation& location, NewWindowCompletion completion) {
  if (!controller || !controller->hasWindow()) controller = currentHexWindowController();
  if (!controller) controller = showNewEditorWindow(/*isPendingInitialLoad=*/false);
  controller->commands().replacement().openURLInCurrentWindow(
      location, [completion = std::move(completion)](OpenCurrentResult result) {
        completion(result == OpenCurrentResult::opened ||
                   result == OpenCurrentResult::broughtToFront);
      });
}

void AppDelegate::openAdditionalDocuments(std::vector<FileLocation> locations, bool everyFileOpened,
                                          OpenReply reply) {
  if (locations.empty()) return reply(everyFileOpened);
  const FileLocation next = locations.front();
  locations.erase(locations.begin());
  openInNewWindow(
      next, [this, rest = std::move(locations), everyFileOpened, reply = std::move(reply)](
                bool opened) { openAdditionalDocuments(rest, everyFileOpened && opened, reply); });
}

void AppDelegate::openInNewWindow(const FileLocation& location, NewWindowCompletion completion) {
  if (const auto shown = documents_.documentShowing(location, nullptr)) {
    shown->activateOpenWindows();
    return completion(true);
  }
  if (coalesceWithPendingNewWindowOpenIfPresent(location, completion)) return;
  const auto controller = showNewEditorWindow(/*isPendingInitialLoad=*/true);
  try {
    pendingLoads_.push_back({location, {std::move(completion)}});
    controller->commands().replacement().beginLoadFileInCurrentWindow(
        location, /*preservingEditorState=*/false,
        [this, location, weak = std::weak_ptr(controller)](Result<OpenCurrentResult> result) {
          newWindowLoadDidEnd(location, weak.lock(), result);
        });
  } catch (...) {
    std::erase_if(pendingLoads_, [&](const auto& load) { return load.location == location; });
    controller->closeUnusedWindow();
    throw;
  }
}

void AppDelegate::newWindowLoadDidEnd(const FileLocation& location,
                                      const std::shared_ptr<HexWindowController>& controller,
                                      const Result<OpenCurrentResult>& result) {
  // The waiting callers get the result even when the alert cannot be shown.
  auto shown = resultOf([&] {
    const bool isShown = result.isOk() && result.value() == OpenCurrentResult::opened;
    if (controller && !isShown) controller->closeUnusedWindow();
    if (!result.isOk() && !result.error().isStopped()) {
      if (const auto current = currentHexWindowController())
        current->context().messages().noteOpenFailure(location, result.error());
      platform_.alerts.runModal(
          {.messageText = "Open Failed", .informativeText = result.error().message()});
    }
    return Done();
  });
  finishPendingLoad(location, result.isOk());
  if (!shown.isOk()) throw std::move(shown.error());
}

bool AppDelegate::coalesceWithPendingNewWindowOpenIfPresent(const FileLocation& location,
                                                            NewWindowCompletion& completion) {
  const auto isSameFile = [&](const PendingNewWindowDocumentLoad& load) {
    return SecureFileAccess::urlsReferToSameFile(load.location, location);
  };
  const auto load = std::find_if(pendingLoads_.begin(), pendingLoads_.end(), isSameFile);
  if (load == pendingLoads_.end()) return false;
  load->completions.push_back(std::move(completion));
  return true;
}

void AppDelegate::finishPendingLoad(const FileLocation& location, bool opened) {
  const auto load = std::find_if(
      pendingLoads_.begin(), pendingLoads_.end(),
      [&](const PendingNewWindowDocumentLoad& entry) { return entry.location == location; });
  if (load == pendingLoads_.end()) return;
  const auto completions = std::move(load->completions);
  pendingLoads_.erase(load);
  for (const auto& completion : completions) completion(opened);
}

}  // namespace quillmor
