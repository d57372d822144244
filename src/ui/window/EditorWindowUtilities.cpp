// The windows beside an editor: reports, charts and the history.

#include <utility>

#include "ui/window/EditorWindow.h"
#include "ui/window/EntropyWindow.h"
#include "ui/window/FrequencyWindowController.h"
#include "ui/window/HistoryWindow.h"
#include "ui/window/ReportWindow.h"

namespace quillmor {

void EditorWindow::openReportWindow(const std::string& title, const std::string& report) {
  showUtilityWindow(new ReportWindow(title, report, saveHandler()));
}

void EditorWindow::openFrequencyWindow(const std::string& title, const std::string& report,
                                       const ByteCounts& counts) {
  showUtilityWindow(new FrequencyWindowController(title, report, counts, saveHandler()));
}

void EditorWindow::openEntropyWindow(const std::string& title, const std::string& report,
                                     const EntropyMap& map) {
  const auto showOffset = [this, guard = QPointer<EditorWindow>(this)](std::int64_t offset) {
    if (guard) showOffsetUnlessBusy(offset);
  };
  showUtilityWindow(new EntropyWindow(title, report, map, showOffset, saveHandler()));
}

void EditorWindow::openHistoryWindow() {
  if (historyWindow_ && historyWindow_->isVisible()) return historyWindow_->bringToFront();
  auto open = [weak = std::weak_ptr(controller_)](std::int64_t state) {
    if (const auto controller = weak.lock()) controller->commands().history().openState(state);
  };
  historyWindow_ = new HistoryWindow(controller_->context().sharedHistory(), std::move(open));
  showUtilityWindow(historyWindow_);
}

/// Returns the function that saves the report of a window, which may outlive this one by an event.
ReportWindow::SaveHandler EditorWindow::saveHandler() const {
  return [weak = std::weak_ptr(controller_)](const std::string& title, const std::string& report) {
    if (const auto controller = weak.lock())
      controller->commands().exporting().saveReport(title, report);
  };
}

void EditorWindow::showUtilityWindow(UtilityWindow* window) {
  std::erase_if(retainedUtilityWindows_, [](const auto& held) { return held.isNull(); });
  window->placeOver(*this, {retainedUtilityWindows_.begin(), retainedUtilityWindows_.end()});
  retainedUtilityWindows_.emplace_back(window);
  handlers_.didOpenUtilityWindow(*window);
  window->show();
}

void EditorWindow::showOffsetUnlessBusy(std::int64_t offset) {
  if (controller_->isBusy())
    return controller_->context().messages().refuse(BackgroundTaskFrame::busyError().message());
  controller_->commands().navigation().showOffset(offset);
}

void EditorWindow::closeUtilityWindows() {
  for (const auto& window : retainedUtilityWindows_) {
    if (window) window->close();
  }
  retainedUtilityWindows_.clear();
}

}  // namespace quillmor
