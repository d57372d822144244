#include "window/commands/ReportCommands.h"

#include "tools/analysis/ByteStatistics.h"
#include "tools/analysis/FileComparison.h"
#include "tools/analysis/FileStructure.h"
#include "tools/checksum/Checksum.h"
#include "tools/export/ASCIIStringsExporter.h"
#include "tools/firmware/PCIRomInfo.h"
#include "window/commands/Prompts.h"
#include "window/commands/UtilityReport.h"

namespace quillmor {

namespace {

constexpr const char* kFrequency = "Byte Frequency";
constexpr const char* kChecksums = "Checksums";
constexpr const char* kCompareWithFile = "Compare With File";
constexpr const char* kStatistics = "Selection Statistics";
constexpr const char* kInformation = "File Information";
constexpr const char* kCompareWindow = "Compare Window";
constexpr const char* kEntropy = "Entropy Map";
constexpr const char* kStructure = "File Structure Detector";
constexpr const char* kStrings = "Strings Viewer";
constexpr const char* kChecksumRange = "Checksum Range";
constexpr const char* kPCIRom = "PCI ROM Info";

struct FrequencyReport {
  ByteCounts counts;
  std::string text;
};

struct EntropyReport {
  EntropyMap map;
  std::string text;
};

}  // namespace

std::span<const CommandRow<ReportCommands>> ReportCommands::rows() {
  using Family = ReportCommands;
  static constexpr CommandRow<Family> kRows[] = {
      {{.action = "forwardShowByteFrequency:", .title = kFrequency}, &Family::showByteFrequency},
      {{.action = "forwardShowChecksums:", .title = kChecksums}, &Family::showChecksums},
      {{.action = "forwardCompareWithFile:",
        .title = "Compare With File…",
        .busyTitle = kCompareWithFile},
       &Family::compareWithFile},
      {{.action = "forwardShowSelectionStatistics:", .title = kStatistics},
       &Family::showSelectionStatistics},
      {{.action = "forwardShowFileInformation:", .title = kInformation},
       &Family::showFileInformation},
      {{.action = "forwardOpenCompareWindow:",
        .title = "Open Compare Window…",
        .busyTitle = kCompareWindow},
       &Family::openCompareWindow},
      {{.action = "forwardEntropyMap:", .title = "Entropy Map…"}, &Family::showEntropyMap},
      {{.action = "forwardDetectFileStructure:", .title = kStructure},
       &Family::detectFileStructure},
      {{.action = "forwardStringsViewer:", .title = kStrings}, &Family::stringsViewer},
      {{.action = "forwardChecksumRange:", .title = "Checksum Range…"}, &Family::checksumRange},
      {{.action = "forwardPCIRomInfo:", .title = kPCIRom}, &Family::showPCIRomInfo},
  };
  return kRows;
}

/// Makes a report in the background and shows it.
void ReportCommands::showReport(const std::string& title, const std::string& statusText,
                                ReportWork work) {
  auto completion = [this, title](Result<std::string> report) {
    if (!messages_.failed(report, title + " Failed"))
      context_.showUtilityReport(title, report.value());
  };
  context_.runBackgroundSnapshotTask(statusText, session_.selectedRange(), std::move(work),
                                     std::move(completion));
}

void ReportCommands::showChecksums() {
  showReport(kChecksums, "Calculating checksums…",
             [](const ByteBuffer& bytes, HexSelection selection, TaskProgress& progress) {
               return Checksum::report(bytes.span(), selection, progress);
             });
}

void ReportCommands::checksumRange() {
  const auto range = context_.ask(kChecksumRange, [&] {
    return askForRange(messages_.alerts(), kChecksumRange,
                       "Enter start offset and length. Decimal, 0xHEX, HEX, or HEXh are accepted.",
                       "Start offset and length must be non-negative values.");
  });
  if (!range) return;
  showReport(kChecksumRange, "Calculating range checksums…",
             [range = *range](const ByteBuffer& bytes, HexSelection, TaskProgress& progress) {
               return Checksum::rangeReport(bytes.span(), range, progress);
             });
}

void ReportCommands::showSelectionStatistics() {
  showReport(kStatistics, "Calculating statistics…",
             [](const ByteBuffer& bytes, HexSelection selection, TaskProgress& progress) {
               const bool hasSelection = selection.length > 0;
               const auto analyzed =
                   hasSelection ? bytes.span(selection.start, selection.length) : bytes.span();
               return selectionStatisticsReport(
                   analyzed, hasSelection ? StatisticsScope::selection : StatisticsScope::document,
                   progress);
             });
}

void ReportCommands::showFileInformation() {
  const auto& location = session_.document().location();
  FileInformation information{.path = location ? location->path() : "Not saved",
                              .caretOffset = session_.editor().caretOffset(),
                              .bytesPerRow = session_.editor().bytesPerRow(),
                              .insertMode = session_.editor().insertMode(),
                              .selection = session_.selectedRange()};
  if (location) information.name = location->lastPathComponent();
  showReport(kInformation, "Collecting file information…",
             [information = std::move(information)](const ByteBuffer& bytes, HexSelection,
                                                    TaskProgress& progress) {
               return fileInformationReport(bytes.span(), information, progress);
             });
}

void ReportCommands::stringsViewer() {
  showReport(kStrings, "Finding strings…",
             [](const ByteBuffer& bytes, HexSelection, TaskProgress& progress) {
               return ASCIIStringsExporter::extract(
                   bytes.span(), ASCIIStringsExporter::kDefaultMinimumLength,
                   maxUtilityReportCharacters, ASCIIStringsExporter::kMaximumReportEntries,
                   progress);
             });
}

void ReportCommands::detectFileStructure() {
  showReport(kStructure, "Detecting file structure…",
             [](const ByteBuffer& bytes, HexSelection, TaskProgress& progress) {
               return quillmor::detectFileStructure(bytes.span(), &progress).report;
             });
}

void ReportCommands::showPCIRomInfo() {
  showReport(kPCIRom, "Inspecting PCI ROM…",
             [](const ByteBuffer& bytes, HexSelection, TaskProgress&) {
               return pciRomInfo(bytes.span());
             });
}

void ReportCommands::showByteFrequency() {
  auto work = [](const ByteBuffer& bytes, HexSelection, TaskProgress& progress) {
    const ByteCounts counts = byteCounts(bytes.span(), &progress);
    return FrequencyReport{counts, frequencyReport(counts)};
  };
  auto completion = [this](Result<FrequencyReport> report) {
    if (messages_.failed(report, "Byte Frequency Failed")) return;
    context_.window()->openFrequencyWindow(kFrequency, report.value().text, report.value().counts);
  };
  context_.runBackgroundSnapshotTask("Counting bytes…", {}, work, std::move(completion));
}

void ReportCommands::showEntropyMap() {
  auto work = [](const ByteBuffer& bytes, HexSelection, TaskProgress& progress) {
    EntropyMap map = entropyMap(bytes.span(), progress);
    std::string text = truncatedUtilityReport(entropyMapReport(map));
    return EntropyReport{std::move(map), std::move(text)};
  };
  auto completion = [this](Result<EntropyReport> report) {
    if (messages_.failed(report, "Entropy Map Failed")) return;
    context_.window()->openEntropyWindow(kEntropy, report.value().text, report.value().map);
  };
  context_.runBackgroundSnapshotTask("Building entropy map…", {}, work, std::move(completion));
}

void ReportCommands::compareWithFile() {
  const auto chosen = context_.chooseFile(kCompareWithFile);
  if (!chosen) return;
  auto work = [other = *chosen](const ByteBuffer& bytes, HexSelection, TaskProgress& progress) {
    return comparisonSummary(quillmor::compareWithFile(bytes.span(), other, progress),
                             other.lastPathComponent());
  };
  auto completion = [this](Result<std::string> summary) {
    if (!messages_.failed(summary, "Compare With File Failed"))
      messages_.alert(kCompareWithFile, summary.value());
  };
  context_.runBackgroundSnapshotTask("Comparing files…", {}, std::move(work),
                                     std::move(completion));
}

void ReportCommands::openCompareWindow() {
  constexpr const char* kTitle = "Compare";
  const auto chosen = context_.chooseFile(kTitle, kCompareWindow);
  if (!chosen) return;
  showReport(
      kTitle, "Comparing files…",
      [other = *chosen](const ByteBuffer& bytes, HexSelection, TaskProgress& progress) {
        return compareWindowReport(bytes.span(), other, other.lastPathComponent(), progress).text;
      });
}

}  // namespace quillmor
