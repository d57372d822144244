// Analyses shown in windows of their own, and comparing with a file.

#include "tools/analysis/ByteStatistics.h"
#include "tools/analysis/FileComparison.h"
#include "tools/analysis/FileStructure.h"
#include "tools/checksum/Checksum.h"
#include "tools/export/ASCIIStringsExporter.h"
#include "tools/firmware/PCIRomInfo.h"
#include "window/HexWindowController.h"
#include "window/commands/Prompts.h"
#include "window/commands/UtilityReport.h"
#include "window/commands/WindowLimits.h"

namespace quillmor {

namespace {

constexpr const char* kCompareWithFile = "Compare With File";

struct FrequencyReport {
  ByteCounts counts;
  std::string text;
};

struct EntropyReport {
  EntropyMap map;
  std::string text;
};

}  // namespace

/// Makes a report in the background and shows it.
void HexWindowController::showReport(const std::string& title, const std::string& statusText,
                                     ReportWork work) {
  std::function completion = [this, title](Result<std::string> report) {
    if (!failed(report, title + " Failed")) showUtilityReport(title, report.value());
  };
  runBackgroundSnapshotTask(statusText, selectedRange(), std::move(work), std::move(completion));
}

void HexWindowController::showChecksums() {
  showReport("Checksums", "Calculating checksums…",
             [](const ByteBuffer& bytes, HexSelection selection, TaskProgress& progress) {
               return Checksum::report(bytes.span(), selection, progress);
             });
}

void HexWindowController::checksumRange() {
  constexpr const char* kTitle = "Checksum Range";
  const auto range =
      askForRange(promptAlerts_, kTitle,
                  "Enter start offset and length. Decimal, 0xHEX, HEX, or HEXh are accepted.",
                  "Start offset and length must be non-negative values.");
  if (!range || !window_) return;
  showReport(kTitle, "Calculating range checksums…",
             [range = *range](const ByteBuffer& bytes, HexSelection, TaskProgress& progress) {
               return Checksum::rangeReport(bytes.span(), range, progress);
             });
}

void HexWindowController::showSelectionStatistics() {
  showReport("Selection Statistics", "Calculating statistics…",
             [](const ByteBuffer& bytes, HexSelection selection, TaskProgress& progress) {
               const bool hasSelection = selection.length > 0;
               const auto analyzed =
                   hasSelection ? bytes.span(selection.start, selection.length) : bytes.span();
               return selectionStatisticsReport(
                   analyzed, hasSelection ? StatisticsScope::selection : StatisticsScope::document,
                   progress);
             });
}

void HexWindowController::showFileInformation() {
  const auto& location = hexDocument_->location();
  FileInformation information{.path = location ? location->path() : "Not saved",
                              .caretOffset = editor_.caretOffset(),
                              .bytesPerRow = editor_.bytesPerRow(),
                              .insertMode = editor_.insertMode(),
                              .selection = selectedRange()};
  if (location) information.name = location->lastPathComponent();
  showReport("File Information", "Collecting file information…",
             [information = std::move(information)](const ByteBuffer& bytes, HexSelection,
                                                    TaskProgress& progress) {
               return fileInformationReport(bytes.span(), information, progress);
             });
}

void HexWindowController::stringsViewer() {
  showReport("Strings Viewer", "Finding strings…",
             [](const ByteBuffer& bytes, HexSelection, TaskProgress& progress) {
               return ASCIIStringsExporter::extract(
                   bytes.span(), ASCIIStringsExporter::kDefaultMinimumLength,
                   maxUtilityReportCharacters, ASCIIStringsExporter::kMaximumReportEntries,
                   progress);
             });
}

void HexWindowController::detectFileStructure() {
  showReport("File Structure Detector", "Detecting file structure…",
             [](const ByteBuffer& bytes, HexSelection, TaskProgress& progress) {
               return quillmor::detectFileStructure(bytes.span(), &progress).report;
             });
}

void HexWindowController::showPCIRomInfo() {
  showReport("PCI ROM Info", "Inspecting PCI ROM…",
             [](const ByteBuffer& bytes, HexSelection, TaskProgress&) {
               return pciRomInfo(bytes.span());
             });
}

void HexWindowController::showByteFrequency() {
  auto work = [](const ByteBuffer& bytes, HexSelection, TaskProgress& progress) {
    const ByteCounts counts = byteCounts(bytes.span(), &progress);
    return FrequencyReport{counts, frequencyReport(counts)};
  };
  std::function completion = [this](Result<FrequencyReport> report) {
    if (failed(report, "Byte Frequency Failed")) return;
    window_->openFrequencyWindow("Byte Frequency", report.value().text, report.value().counts);
  };
  runBackgroundSnapshotTask("Counting bytes…", {}, work, std::move(completion));
}

void HexWindowController::showEntropyMap() {
  auto work = [](const ByteBuffer& bytes, HexSelection, TaskProgress& progress) {
    EntropyMap map = entropyMap(bytes.span(), progress);
    std::string text = truncatedUtilityReport(entropyMapReport(map));
    return EntropyReport{std::move(map), std::move(text)};
  };
  std::function completion = [this](Result<EntropyReport> report) {
    if (failed(report, "Entropy Map Failed")) return;
    window_->openEntropyWindow("Entropy Map", report.value().text, report.value().map);
  };
  runBackgroundSnapshotTask("Building entropy map…", {}, work, std::move(completion));
}

void HexWindowController::compareWithFile() {
  if (refuseWhileBusy(kCompareWithFile)) return;
  const auto chosen =
      platform_.filePanels.runOpenPanel(kCompareWithFile, false, documentDirectory());
  if (chosen.empty() || !window_) return;
  auto work = [other = chosen.front()](const ByteBuffer& bytes, HexSelection,
                                       TaskProgress& progress) {
    return comparisonSummary(quillmor::compareWithFile(bytes.span(), other, progress),
                             other.lastPathComponent());
  };
  std::function completion = [this](Result<std::string> summary) {
    if (!failed(summary, "Compare With File Failed")) alert(kCompareWithFile, summary.value());
  };
  runBackgroundSnapshotTask("Comparing files…", {}, std::move(work), std::move(completion));
}

void HexWindowController::openCompareWindow() {
  constexpr const char* kTitle = "Compare";
  if (refuseWhileBusy("Compare Window")) return;
  const auto chosen = platform_.filePanels.runOpenPanel(kTitle, false, documentDirectory());
  if (chosen.empty() || !window_) return;
  showReport(
      kTitle, "Comparing files…",
      [other = chosen.front()](const ByteBuffer& bytes, HexSelection, TaskProgress& progress) {
        return compareWindowReport(bytes.span(), other, other.lastPathComponent(), progress).text;
      });
}

}  // namespace quillmor
