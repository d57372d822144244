// Analyses shown in windows of their own.

#include "tools/TextExport.h"
#include "window/HexWindowController.h"

namespace quillmor {

ExportTarget HexWindowController::exportTarget(FileLocation location,
                                               const std::optional<FileLocation>& input) const {
  std::vector<FileLocation> protectedUrls = documents_.openDocumentURLs(nullptr);
  if (input) protectedUrls.push_back(*input);
  return {std::move(location), std::move(protectedUrls)};
}

void HexWindowController::saveReport(const std::string& title, const std::string& report) {
  constexpr const char* kTitle = "Save Report";
  if (refuseWhileBusy(kTitle)) return;
  const auto destination =
      platform_.filePanels.runSavePanel(kTitle, title + ".txt", documentDirectory());
  if (!destination || !window_) return;
  auto work = [report, target = exportTarget(*destination)](TaskProgress& progress) {
    writeTextFile(target, progress, [&report](const TextSink& sink) { sink(report); });
    return Done{};
  };
  std::function completion = [this, path = destination->path()](const Result<Done>& result) {
    if (!failed(result, "Save Report Failed")) alert(kTitle, "Saved: " + path);
  };
  runBackgroundTask("Saving report…", std::move(work),
                    std::function<void(Result<Done>)>(std::move(completion)));
}

}  // namespace quillmor
