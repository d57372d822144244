#include "window/commands/FormatCommands.h"

#include <algorithm>

#include "tools/patches/BookmarkFile.h"
#include "tools/patches/HexPatchRange.h"
#include "tools/patches/JSONPatchPreset.h"
#include "window/commands/SelectionMutation.h"

namespace quillmor {

namespace {

constexpr const char* kExportPatch = "Export Hex Patch";
constexpr const char* kApplyPatch = "Apply Hex Patch";
constexpr const char* kApplyPatchFailed = "Apply Hex Patch Failed";
constexpr const char* kExportBookmarks = "Export Bookmarks";
constexpr const char* kImportBookmarks = "Import Bookmarks";
constexpr const char* kDryRunPreset = "Dry Run JSON Preset";
constexpr const char* kApplyPreset = "Apply JSON Preset";

/// A preset that was run.
struct PresetRun {
  std::string report;
  JSONPresetResult result;
  bool changesBytes = false;
};

PresetRun runPreset(const ByteBuffer& bytes, const FileLocation& file,
                    std::vector<std::int64_t> bookmarks, std::int64_t maximumByteCount,
                    bool applies, TaskProgress& progress) {
  const auto preset = JSONPatchPreset::read(file, maxJSONPresetBytes, progress);
  auto result = applyJSONPreset(bytes, preset, std::move(bookmarks), maximumByteCount, progress);
  const bool changesBytes = applies && !(result.bytes == bytes);
  return {jsonPresetReport(preset, result), std::move(result), changesBytes};
}

}  // namespace

std::span<const CommandRow<FormatCommands>> FormatCommands::rows() {
  using Family = FormatCommands;
  static constexpr CommandRow<Family> kRows[] = {
      // A patch covers the selection, else the byte at the caret, so it needs bytes but no
      // selection.
      {{.action = "forwardExportHexPatch:",
        .title = "Export Hex Patch…",
        .need = CommandNeed::bytes,
        .busyTitle = kExportPatch},
       &Family::exportHexPatch},
      {{.action = "forwardApplyHexPatch:", .title = "Apply Hex Patch…", .busyTitle = kApplyPatch},
       &Family::applyHexPatch},
      {{.action = "forwardExportBookmarks:",
        .title = "Export Bookmarks…",
        .need = CommandNeed::bookmarks,
        .busyTitle = kExportBookmarks},
       &Family::exportBookmarks},
      {{.action = "forwardImportBookmarks:",
        .title = "Import Bookmarks…",
        .busyTitle = kImportBookmarks},
       &Family::importBookmarks},
      {{.action = "forwardDryRunJSONPreset:",
        .title = "Dry Run JSON Preset…",
        .busyTitle = kDryRunPreset},
       &Family::dryRunJSONPreset},
      {{.action = "forwardApplyJSONPreset:",
        .title = "Apply JSON Preset…",
        .busyTitle = kApplyPreset},
       &Family::applyJSONPreset},
  };
  return kRows;
}

void FormatCommands::exportHexPatch() {
  const auto range = exporter_.rangeForExportOrAlert(kExportPatch);
  if (!range) return;
  if (messages_.alertRefusal(refusalOfHexPatch(range->length), kExportPatch)) return;
  exporter_.exportTo({.title = kExportPatch,
                      .suggestedName = "Patch.txt",
                      .statusText = "Exporting hex patch…",
                      .failureTitle = "Export Hex Patch Failed"},
                     [range = *range](const ByteBuffer& bytes, const ExportTarget& target,
                                      TaskProgress& progress) {
                       const HexSelection selected = requireWithin(range, bytes);
                       writeHexPatch(bytes.span(selected.start, selected.length), selected.start,
                                     target, progress);
                     });
}

void FormatCommands::applyHexPatch() {
  const auto chosen = context_.chooseFile(kApplyPatch);
  if (!chosen) return;
  auto work = [location = *chosen](TaskProgress& progress) {
    return QuillmorPatch::read(location, maxPatchImportBytes, maxPatchDataBytes, progress);
  };
  context_.runBackgroundTask("Reading hex patch…", std::move(work),
                             [this](Result<QuillmorPatch> patch) {
                               if (!messages_.failed(patch, kApplyPatchFailed))
                                 applyPatch(patch.value());
                             });
}

void FormatCommands::applyPatch(const QuillmorPatch& patch) {
  const auto range = rangeReplacedByPatch(patch, session_.byteCount());
  if (!range.isOk()) return messages_.alert(kApplyPatch, range.error().message());
  const auto [start, removed] = range.value();
  const auto inserted = std::ssize(patch.data);
  if (!context_.validateResultingDocumentByteCount(removed, inserted, kApplyPatch)) return;
  const bool isThere =
      removed == inserted && session_.document().storage()->bytesEqual(range.value(), patch.data);
  if (isThere) return context_.updateStatus();
  messages_.attempt(kApplyPatchFailed, [&] {
    session_.replaceRange({.range = {start, removed},
                           .actionName = "Apply Patch",
                           .after = {.caretOffset = start, .selection = {start, inserted}}},
                          patch.data);
  });
}

void FormatCommands::exportBookmarks() {
  const auto& offsets = session_.bookmarks().offsets();
  if (offsets.empty()) return messages_.alert(kExportBookmarks, "No bookmarks to export.");
  exporter_.exportTo(
      {.title = kExportBookmarks,
       .suggestedName = "Bookmarks.json",
       .statusText = "Exporting bookmarks…",
       .failureTitle = "Export Bookmarks Failed",
       .savedPrefix = "Exported " + std::to_string(offsets.size()) + " bookmark(s) to "},
      [offsets](const ByteBuffer&, const ExportTarget& target, TaskProgress& progress) {
        const std::string text = BookmarkFile::text(offsets, maxBookmarkImportBytes);
        writeTextFile(target, progress, [&text](const TextSink& sink) { sink(text); });
      });
}

void FormatCommands::importBookmarks() {
  const auto chosen = context_.chooseFile(kImportBookmarks);
  if (!chosen) return;
  auto work = [location = *chosen](TaskProgress& progress) {
    return BookmarkFile::read(location, maxBookmarkImportBytes, progress);
  };
  auto completion = [this](Result<std::vector<std::int64_t>> offsets) {
    if (messages_.failed(offsets, "Import Bookmarks Failed")) return;
    Bookmarks& bookmarks = session_.bookmarks();
    bookmarks.replaceAll(std::move(offsets.value()));
    bookmarks.keepWithin(session_.byteCount());
    context_.updateStatus();
    messages_.alert(kImportBookmarks,
                    "Imported " + std::to_string(bookmarks.offsets().size()) + " bookmark(s)");
  };
  context_.runBackgroundTask("Importing bookmarks…", std::move(work), std::move(completion));
}

void FormatCommands::dryRunJSONPreset() {
  runJSONPreset(kDryRunPreset, "Dry running JSON preset…", /*applies=*/false);
}

void FormatCommands::applyJSONPreset() {
  runJSONPreset(kApplyPreset, "Applying JSON preset…", /*applies=*/true);
}

void FormatCommands::runJSONPreset(const std::string& title, const std::string& statusText,
                                   bool applies) {
  const auto chosen = context_.chooseFile(title);
  if (!chosen) return;
  auto work = [file = *chosen, bookmarks = session_.bookmarks().offsets(),
               limit = session_.editor().maximumByteCount(),
               applies](const ByteBuffer& bytes, HexSelection, TaskProgress& progress) {
    return runPreset(bytes, file, bookmarks, limit, applies, progress);
  };
  auto completion = [this, title](Result<PresetRun> run) {
    const std::string failureTitle = title + " Failed";
    if (messages_.failed(run, failureTitle)) return;
    JSONPresetResult& result = run.value().result;
    const HexSelection replaced = result.lastRuleFirstReplacement.value_or(HexSelection{});
    const auto install = [&] {
      session_.installDocument(std::move(result.bytes), std::move(result.bookmarks), kApplyPreset,
                               {.caretOffset = replaced.start, .selection = replaced});
    };
    if (run.value().changesBytes && messages_.attempt(failureTitle, install)) return;
    context_.showUtilityReport(title, run.value().report);
  };
  context_.runBackgroundSnapshotTask(statusText, {}, std::move(work), std::move(completion));
}

}  // namespace quillmor
