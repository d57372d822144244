// Files handed to the application: from the command line and from the open panel.

#include <algorithm>
#include <utility>

#include "app/AppDelegate.h"
#include "fileaccess/UrlReservations.h"

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
  openRequests_.push_back({std::move(toOpen), part, std::move(editor)});
  if (!isOpening_) runNextOpenRequest();
}

void AppDelegate::runNextOpenRequest() {
  if (openRequests_.empty()) return;
  isOpening_ = true;
  OpenRequest request = std::move(openRequests_.front());
  openRequests_.pop_front();
  auto finish = [this, reply = std::move(request.reply)](bool everyFileOpened) {
    isOpening_ = false;
    if (documents_.documents().empty()) openUntitledDocumentIfNeeded();
    reply(everyFileOpened);
    if (!isOpening_) runNextOpenRequest();
  };
  if (request.locations.empty()) return finish(true);
  const FileLocation first = request.locations.front();
  request.locations.erase(request.locations.begin());
  try {
    openInWindowOf(request.editor.lock(), first,
                   [this, rest = std::move(request.locations), finish = std::move(finish)](
                       bool opened) { openAdditionalDocuments(rest, opened, finish); });
  } catch (...) {
    isOpening_ = false;
    throw;
  }
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

void AppDelegate::openInWindowOf(std::shared_ptr<HexWindowController> controller,
                                 const FileLocation& location, NewWindowCompletion completion) {
  if (!controller || !controller->hasWindow()) controller = currentHexWindowController();
  if (!controller) controller = showNewEditorWindow(/*isPendingInitialLoad=*/false);
  controller->openURLInCurrentWindow(location, [completion = std::move(completion)](
                                                   OpenCurrentResult result) {
    completion(result == OpenCurrentResult::opened || result == OpenCurrentResult::broughtToFront);
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
  pendingLoads_.push_back({location, {std::move(completion)}});
  const auto controller = showNewEditorWindow(/*isPendingInitialLoad=*/true);
  controller->beginLoadFileInCurrentWindow(
      location, /*preservingEditorState=*/false,
      [this, location, weak = std::weak_ptr(controller)](Result<OpenCurrentResult> result) {
        const bool isShown = result.isOk() && result.value() == OpenCurrentResult::opened;
        const auto loading = weak.lock();
        if (loading && !isShown) loading->closeUnusedWindow();
        if (!result.isOk() && !result.error().isStopped()) {
          platform_.alerts.runModal(
              {.messageText = "Open Failed", .informativeText = result.error().message()});
        }
        finishPendingLoad(location, result.isOk());
      });
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
