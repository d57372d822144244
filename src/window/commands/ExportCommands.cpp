#include "window/commands/ExportCommands.h"

#include "tools/export/ASCIIStringsExporter.h"
#include "tools/export/DifferenceReportExporter.h"
#include "tools/export/HexDumpExporter.h"
#include "tools/export/IntelHexExporter.h"
#include "window/commands/BackupNames.h"
#include "window/commands/Prompts.h"
#include "window/commands/SelectionMutation.h"

namespace quillmor {

namespace {

constexpr const char* kBackupCopy = "Create Backup Copy";
constexpr const char* kAtomicBackup = "Save Atomic Backup";
constexpr const char* kSelection = "Export Selection";
constexpr const char* kSelectionHexDump = "Export Selection Hex Dump";
constexpr const char* kIntelHex = "Export Intel HEX";
constexpr const char* kHexDump = "Export Hex Dump";
constexpr const char* kStrings = "Export ASCII Strings";
constexpr const char* kDifferences = "Export Difference Report";
constexpr const char* kReport = "Save Report";

void writeAllBytes(const ByteBuffer& bytes, const ExportTarget& target, TaskProgress& progress) {
  writeBytes(bytes.span(), target, progress);
}

}  // namespace

std::span<const CommandRow<ExportCommands>> ExportCommands::rows() {
  using Family = ExportCommands;
  static constexpr CommandRow<Family> kRows[] = {
      {{.action = "forwardCreateBackupCopy:",
        .title = "Create Backup Copy…",
        .busyTitle = kBackupCopy},
       &Family::createBackupCopy},
      {{.action = "forwardSaveAtomicBackup:",
        .title = "Save Atomic Backup…",
        .busyTitle = kAtomicBackup},
       &Family::saveAtomicBackup},
      {{.action = "forwardExportSelection:",
        .title = "Export Selection…",
        .key = "e",
        .need = CommandNeed::bytes,
        .busyTitle = kSelection},
       &Family::exportSelection},
      {{.action = "forwardExportSelectionHexDump:",
        .title = "Export Selection Hex Dump…",
        .need = CommandNeed::bytes,
        .busyTitle = kSelectionHexDump},
       &Family::exportSelectionHexDump},
      {{.action = "forwardExportIntelHex:", .title = "Export Intel HEX…", .busyTitle = kIntelHex},
       &Family::exportIntelHex},
      {{.action = "forwardExportHexDump:", .title = "Export Hex Dump…", .busyTitle = kHexDump},
       &Family::exportHexDump},
      {{.action = "forwardExportASCIIStrings:",
        .title = "Export ASCII Strings…",
        .busyTitle = kStrings},
       &Family::exportASCIIStrings},
      {{.action = "forwardExportDifferenceReport:",
        .title = "Export Difference Report…",
        .busyTitle = kDifferences},
       &Family::exportDifferenceReport},
  };
  return kRows;
}

void ExportCommands::createBackupCopy() {
  exporter_.exportTo({.title = kBackupCopy,
                      .suggestedName = backupCopyName(session_.document().location()),
                      .statusText = "Creating backup copy…",
                      .failureTitle = "Create Backup Copy Failed",
                      .savedPrefix = "Saved backup: "},
                     writeAllBytes);
}

void ExportCommands::saveAtomicBackup() {
  exporter_.exportTo({.title = kAtomicBackup,
                      .suggestedName = atomicBackupName(session_.document().location()),
                      .statusText = "Saving atomic backup…",
                      .failureTitle = "Save Backup Failed"},
                     writeAllBytes);
}

void ExportCommands::exportSelection() {
  const auto range = exporter_.rangeForExportOrAlert(kSelection);
  if (!range) return;
  exporter_.exportTo({.title = kSelection,
                      .suggestedName = "Selection.bin",
                      .statusText = "Exporting selection…",
                      .failureTitle = "Export Selection Failed"},
                     [range = *range](const ByteBuffer& bytes, const ExportTarget& target,
                                      TaskProgress& progress) {
                       const HexSelection selected = requireWithin(range, bytes);
                       writeBytes(bytes.span(selected.start, selected.length), target, progress);
                     });
}

void ExportCommands::exportSelectionHexDump() {
  const auto range = exporter_.rangeForExportOrAlert(kSelectionHexDump);
  if (!range) return;
  exporter_.exportTo({.title = kSelectionHexDump,
                      .suggestedName = "Selection-HexDump.txt",
                      .statusText = "Exporting selection hex dump…",
                      .failureTitle = "Export Selection Hex Dump Failed"},
                     [range = *range](const ByteBuffer& bytes, const ExportTarget& target,
                                      TaskProgress& progress) {
                       HexDumpExporter::write(bytes.span(), requireWithin(range, bytes), target,
                                              progress);
                     });
}

void ExportCommands::exportIntelHex() {
  exporter_.exportTo(
      {.title = kIntelHex,
       .suggestedName = "Export.hex",
       .statusText = "Exporting Intel HEX…",
       .failureTitle = "Intel HEX Export Failed"},
      [](const ByteBuffer& bytes, const ExportTarget& target, TaskProgress& progress) {
        IntelHexExporter::write(bytes.span(), target, progress);
      });
}

void ExportCommands::exportHexDump() {
  exporter_.exportTo(
      {.title = kHexDump,
       .suggestedName = "HexDump.txt",
       .statusText = "Exporting hex dump…",
       .failureTitle = "Export Hex Dump Failed"},
      [](const ByteBuffer& bytes, const ExportTarget& target, TaskProgress& progress) {
        HexDumpExporter::write(bytes.span(), target, progress);
      });
}

void ExportCommands::exportASCIIStrings() {
  const auto minimum = context_.ask(kStrings, [&] {
    return askForPositiveInteger(messages_.alerts(), kStrings,
                                 "Minimum printable ASCII string length.",
                                 ASCIIStringsExporter::kDefaultMinimumLength);
  });
  if (!minimum) return;
  exporter_.exportTo({.title = kStrings,
                      .suggestedName = "ASCII-Strings.txt",
                      .statusText = "Exporting ASCII strings…",
                      .failureTitle = "Export ASCII Strings Failed"},
                     [minimum = *minimum](const ByteBuffer& bytes, const ExportTarget& target,
                                          TaskProgress& progress) {
                       ASCIIStringsExporter::write(bytes.span(), minimum, target, progress);
                     });
}

void ExportCommands::exportDifferenceReport() {
  const auto compared = context_.chooseFile(kDifferences);
  if (!compared) return;
  exporter_.exportTo(
      {.title = kDifferences,
       .suggestedName = "Difference-Report.txt",
       .statusText = "Exporting difference report…",
       .failureTitle = "Export Difference Report Failed"},
      [compared = *compared](const ByteBuffer& bytes, const ExportTarget& target,
                             TaskProgress& progress) {
        DifferenceReportExporter::write(bytes.span(), compared, compared.lastPathComponent(),
                                        target, progress);
      },
      compared);
}

void ExportCommands::saveReport(const std::string& title, const std::string& report) {
  if (context_.refuseWhileBusy(kReport)) return;
  exporter_.exportTo(
      {.title = kReport,
       .suggestedName = title + ".txt",
       .statusText = "Saving report…",
       .failureTitle = "Save Report Failed"},
      [report](const ByteBuffer&, const ExportTarget& target, TaskProgress& progress) {
        writeTextFile(target, progress, [&report](const TextSink& sink) { sink(report); });
      });
}

}  // namespace quillmor
