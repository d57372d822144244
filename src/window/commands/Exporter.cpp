#include "window/commands/Exporter.h"

#include <utility>

#include "document/DocumentController.h"
#include "tools/edits/ClipboardText.h"

namespace quillmor {

void Exporter::exportTo(const Texts& texts, Work work, const std::optional<FileLocation>& input) {
  const auto destination = context_.chooseDestination(texts.title, texts.suggestedName);
  if (!destination) return;
  std::vector<FileLocation> protectedURLs = context_.documents().openDocumentURLs(nullptr);
  if (input) protectedURLs.push_back(*input);
  auto task = [work = std::move(work), target = ExportTarget{*destination, protectedURLs}](
                  const ByteBuffer& bytes, HexSelection, TaskProgress& progress) {
    work(bytes, target, progress);
    return Done{};
  };
  context_.runBackgroundSnapshotTask(
      texts.statusText, {}, std::move(task),
      [this, texts, path = destination->shownPath()](const Result<Done>& result) {
        if (!context_.messages().failed(result, texts.failureTitle))
          context_.messages().alert(texts.title, texts.savedPrefix + path);
      });
}

std::optional<HexSelection> Exporter::rangeForExportOrAlert(const std::string& title) {
  EditSession& session = context_.session();
  const auto range = selectedRangeForClipboard(session.editor().selection(),
                                               session.editor().caretOffset(), session.byteCount());
  if (!range) context_.messages().alert(title, "There is no byte at the current offset to export.");
  return range;
}

}  // namespace quillmor
