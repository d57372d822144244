// Writing the document's bytes to other files.

#include "tools/export/ASCIIStringsExporter.h"
#include "tools/export/DifferenceReportExporter.h"
#include "tools/export/HexDumpExporter.h"
#include "tools/export/IntelHexExporter.h"
#include "tools/export/TextExport.h"
#include "window/HexWindowController.h"
#include "window/commands/BackupNames.h"
#include "window/commands/Prompts.h"

namespace quillmor {

namespace {

constexpr const char* kExportStrings = "Export ASCII Strings";

}  // namespace

ExportTarget HexWindowController::exportTarget(FileLocation location,
                                               const std::optional<FileLocation>& input) const {
  std::vector<FileLocation> protectedUrls = documents_.openDocumentURLs(nullptr);
  if (input) protectedUrls.push_back(*input);
  return {std::move(location), std::move(protectedUrls)};
}

/// Asks where to and writes there in the background. `input` is a file that the work reads.
void HexWindowController::exportTo(const ExportTexts& texts, ExportWork work,
                                   const std::optional<FileLocation>& input) {
  const auto destination =
      platform_.filePanels.runSavePanel(texts.title, texts.suggestedName, documentDirectory());
  if (!destination || !window_) return;
  auto task = [work = std::move(work), target = exportTarget(*destination, input)](
                  const ByteBuffer& bytes, HexSelection, TaskProgress& progress) {
    work(bytes, target, progress);
    return Done{};
  };
  std::function completion = [this, texts,
                              path = destination->shownPath()](const Result<Done>& result) {
    if (!failed(result, texts.failureTitle)) alert(texts.title, texts.savedPrefix + path);
  };
  runBackgroundSnapshotTask(texts.statusText, {}, std::move(task),
                            std::function<void(Result<Done>)>(std::move(completion)));
}

/// The selection, or the byte at the caret; absent, after an alert, when there is neither.
std::optional<HexSelection> HexWindowController::rangeForExportOrAlert(const std::string& title) {
  const auto range =
      selectedRangeForClipboard(editor_.selection(), editor_.caretOffset(), byteCount());
  if (!range) alert(title, "There is no byte at the current offset to export.");
  return range;
}

void HexWindowController::exportHexDump() {
  constexpr const char* kTitle = "Export Hex Dump";
  if (refuseWhileBusy(kTitle)) return;
  exportTo({.title = kTitle,
            .suggestedName = "HexDump.txt",
            .statusText = "Exporting hex dump…",
            .failureTitle = "Export Hex Dump Failed"},
           [](const ByteBuffer& bytes, const ExportTarget& target, TaskProgress& progress) {
             HexDumpExporter::write(bytes.span(), target, progress);
           });
}

void HexWindowController::exportSelectionHexDump() {
  constexpr const char* kTitle = "Export Selection Hex Dump";
  if (refuseWhileBusy(kTitle)) return;
  const auto range = rangeForExportOrAlert(kTitle);
  if (!range) return;
  exportTo({.title = kTitle,
            .suggestedName = "Selection-HexDump.txt",
            .statusText = "Exporting selection hex dump…",
            .failureTitle = "Export Selection Hex Dump Failed"},
           [range = *range](const ByteBuffer& bytes, const ExportTarget& target,
                            TaskProgress& progress) {
             HexDumpExporter::write(bytes.span(), requireWithin(range, bytes), target, progress);
           });
}

void HexWindowController::exportSelection() {
  constexpr const char* kTitle = "Export Selection";
  if (refuseWhileBusy(kTitle)) return;
  const auto range = rangeForExportOrAlert(kTitle);
  if (!range) return;
  exportTo({.title = kTitle,
            .suggestedName = "Selection.bin",
            .statusText = "Exporting selection…",
            .failureTitle = "Export Selection Failed"},
           [range = *range](const ByteBuffer& bytes, const ExportTarget& target,
                            TaskProgress& progress) {
             const HexSelection selected = requireWithin(range, bytes);
             writeBytes(bytes.span(selected.start, selected.length), target, progress);
           });
}

void HexWindowController::exportIntelHex() {
  constexpr const char* kTitle = "Export Intel HEX";
  if (refuseWhileBusy(kTitle)) return;
  exportTo({.title = kTitle,
            .suggestedName = "Export.hex",
            .statusText = "Exporting Intel HEX…",
            .failureTitle = "Intel HEX Export Failed"},
           [](const ByteBuffer& bytes, const ExportTarget& target, TaskProgress& progress) {
             IntelHexExporter::write(bytes.span(), target, progress);
           });
}

void HexWindowController::exportASCIIStrings() {
  if (refuseWhileBusy(kExportStrings)) return;
  const auto minimum =
      askForPositiveInteger(promptAlerts_, kExportStrings, "Minimum printable ASCII string length.",
                            ASCIIStringsExporter::kDefaultMinimumLength);
  if (!minimum || !window_ || refuseWhileBusy(kExportStrings)) return;
  exportTo({.title = kExportStrings,
            .suggestedName = "ASCII-Strings.txt",
            .statusText = "Exporting ASCII strings…",
            .failureTitle = "Export ASCII Strings Failed"},
           [minimum = *minimum](const ByteBuffer& bytes, const ExportTarget& target,
                                TaskProgress& progress) {
             ASCIIStringsExporter::write(bytes.span(), minimum, target, progress);
           });
}

void HexWindowController::exportDifferenceReport() {
  constexpr const char* kTitle = "Export Difference Report";
  if (refuseWhileBusy(kTitle)) return;
  const auto chosen = platform_.filePanels.runOpenPanel(kTitle, false, documentDirectory());
  if (chosen.empty() || !window_ || refuseWhileBusy(kTitle)) return;
  const FileLocation& compared = chosen.front();
  exportTo(
      {.title = kTitle,
       .suggestedName = "Difference-Report.txt",
       .statusText = "Exporting difference report…",
       .failureTitle = "Export Difference Report Failed"},
      [compared](const ByteBuffer& bytes, const ExportTarget& target, TaskProgress& progress) {
        DifferenceReportExporter::write(bytes.span(), compared, compared.lastPathComponent(),
                                        target, progress);
      },
      compared);
}

void HexWindowController::createBackupCopy() {
  constexpr const char* kTitle = "Create Backup Copy";
  if (refuseWhileBusy(kTitle)) return;
  exportTo({.title = kTitle,
            .suggestedName = backupCopyName(hexDocument_->location()),
            .statusText = "Creating backup copy…",
            .failureTitle = "Create Backup Copy Failed",
            .savedPrefix = "Saved backup: "},
           writeAllBytes);
}

void HexWindowController::saveAtomicBackup() {
  constexpr const char* kTitle = "Save Atomic Backup";
  if (refuseWhileBusy(kTitle)) return;
  exportTo({.title = kTitle,
            .suggestedName = atomicBackupName(hexDocument_->location()),
            .statusText = "Saving atomic backup…",
            .failureTitle = "Save Backup Failed"},
           writeAllBytes);
}

void HexWindowController::writeAllBytes(const ByteBuffer& bytes, const ExportTarget& target,
                                        TaskProgress& progress) {
  writeBytes(bytes.span(), target, progress);
}

void HexWindowController::saveReport(const std::string& title, const std::string& report) {
  constexpr const char* kTitle = "Save Report";
  if (refuseWhileBusy(kTitle)) return;
  exportTo({.title = kTitle,
            .suggestedName = title + ".txt",
            .statusText = "Saving report…",
            .failureTitle = "Save Report Failed"},
           [report](const ByteBuffer&, const ExportTarget& target, TaskProgress& progress) {
             writeTextFile(target, progress, [&report](const TextSink& sink) { sink(report); });
           });
}

}  // namespace quillmor
