// Patches, presets and bookmark files.

#include <algorithm>

#include "tools/patches/BookmarkFile.h"
#include "tools/patches/HexPatch.h"
#include "tools/patches/HexPatchRange.h"
#include "tools/patches/JSONPatchPreset.h"
#include "window/HexWindowController.h"
#include "window/commands/WindowLimits.h"

namespace quillmor {

namespace {

constexpr const char* kExportPatch = "Export Hex Patch";
constexpr const char* kApplyPatch = "Apply Hex Patch";
constexpr const char* kApplyPatchFailed = "Apply Hex Patch Failed";
constexpr const char* kApplyPreset = "Apply JSON Preset";
constexpr const char* kExportBookmarks = "Export Bookmarks";
constexpr const char* kImportBookmarks = "Import Bookmarks";

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

void HexWindowController::exportHexPatch() {
  if (refuseWhileBusy(kExportPatch)) return;
  const auto range = rangeForExportOrAlert(kExportPatch);
  if (!range) return;
  if (alertRefusal(refusalOfHexPatch(range->length), kExportPatch)) return;
  exportTo({.title = kExportPatch,
            .suggestedName = "Patch.txt",
            .statusText = "Exporting hex patch…",
            .failureTitle = "Export Hex Patch Failed"},
           [range = *range](const ByteBuffer& bytes, const ExportTarget& target,
                            TaskProgress& progress) {
             const HexSelection selected = requireWithin(range, bytes);
             writeHexPatch(bytes.span(selected.start, selected.length), selected.start, target,
                           progress);
           });
}

void HexWindowController::applyHexPatch() {
  if (refuseWhileBusy(kApplyPatch)) return;
  const auto chosen = platform_.filePanels.runOpenPanel(kApplyPatch, false, documentDirectory());
  if (chosen.empty() || !window_) return;
  auto work = [location = chosen.front()](TaskProgress& progress) {
    return QuillmorPatch::read(location, maxPatchImportBytes, maxPatchDataBytes, progress);
  };
  std::function completion = [this](Result<QuillmorPatch> patch) {
    if (!failed(patch, kApplyPatchFailed)) applyPatch(patch.value());
  };
  runBackgroundTask("Reading hex patch…", std::move(work), std::move(completion));
}

void HexWindowController::applyPatch(const QuillmorPatch& patch) {
  const auto range = rangeReplacedByPatch(patch, byteCount());
  if (!range.isOk()) return alert(kApplyPatch, range.error().message());
  const auto [start, removed] = range.value();
  const auto inserted = std::ssize(patch.data);
  if (!validateResultingDocumentByteCount(removed, inserted, kApplyPatch)) return;
  const bool isThere =
      removed == inserted && hexDocument_->storage()->bytesEqual(range.value(), patch.data);
  if (isThere) return updateStatus();
  replaceRange({start, removed}, patch.data, {"Apply Patch", kApplyPatchFailed},
               {.caretOffset = start, .selection = {start, inserted}});
}

void HexWindowController::dryRunJSONPreset() {
  runJSONPreset("Dry Run JSON Preset", "Dry running JSON preset…", /*applies=*/false);
}

void HexWindowController::applyJSONPreset() {
  runJSONPreset(kApplyPreset, "Applying JSON preset…", /*applies=*/true);
}

void HexWindowController::runJSONPreset(const std::string& title, const std::string& statusText,
                                        bool applies) {
  if (refuseWhileBusy(title)) return;
  const auto chosen = platform_.filePanels.runOpenPanel(title, false, documentDirectory());
  if (chosen.empty() || !window_) return;
  auto work = [file = chosen.front(), bookmarks = bookmarks_.offsets(),
               limit = editor_.maximumByteCount(),
               applies](const ByteBuffer& bytes, HexSelection, TaskProgress& progress) {
    return runPreset(bytes, file, bookmarks, limit, applies, progress);
  };
  std::function completion = [this, title](Result<PresetRun> run) {
    const std::string failureTitle = title + " Failed";
    if (failed(run, failureTitle)) return;
    if (run.value().changesBytes &&
        attempt(failureTitle, [&] { installPresetResult(std::move(run.value().result)); }))
      return;
    showUtilityReport(title, run.value().report);
  };
  runBackgroundSnapshotTask(statusText, {}, std::move(work), std::move(completion));
}

/// Makes the result the document, as one step of undo.
void HexWindowController::installPresetResult(JSONPresetResult result) {
  const bool registered = registerUndoSnapshot(kApplyPreset, result.bytes.size());
  hexDocument_->storage()->bytes = std::move(result.bytes);
  bookmarks_.replaceAll(std::move(result.bookmarks));
  const HexSelection replaced = result.lastRuleFirstReplacement.value_or(HexSelection{});
  markManualEdit(replaced.start, replaced, registered);
}

void HexWindowController::exportBookmarks() {
  if (refuseWhileBusy(kExportBookmarks)) return;
  if (bookmarks_.offsets().empty()) return alert(kExportBookmarks, "No bookmarks to export.");
  const std::string count = std::to_string(bookmarks_.offsets().size());
  exportTo({.title = kExportBookmarks,
            .suggestedName = "Bookmarks.json",
            .statusText = "Exporting bookmarks…",
            .failureTitle = "Export Bookmarks Failed",
            .savedPrefix = "Exported " + count + " bookmark(s) to "},
           [offsets = bookmarks_.offsets()](const ByteBuffer&, const ExportTarget& target,
                                            TaskProgress& progress) {
             const std::string text = BookmarkFile::text(offsets, maxBookmarkImportBytes);
             writeTextFile(target, progress, [&text](const TextSink& sink) { sink(text); });
           });
}

void HexWindowController::importBookmarks() {
  if (refuseWhileBusy(kImportBookmarks)) return;
  const auto chosen =
      platform_.filePanels.runOpenPanel(kImportBookmarks, false, documentDirectory());
  if (chosen.empty() || !window_) return;
  auto work = [location = chosen.front()](TaskProgress& progress) {
    return BookmarkFile::read(location, maxBookmarkImportBytes, progress);
  };
  std::function completion = [this](Result<std::vector<std::int64_t>> offsets) {
    if (failed(offsets, "Import Bookmarks Failed")) return;
    bookmarks_.replaceAll(std::move(offsets.value()));
    bookmarks_.keepWithin(byteCount());
    updateStatus();
    alert(kImportBookmarks,
          "Imported " + std::to_string(bookmarks_.offsets().size()) + " bookmark(s)");
  };
  runBackgroundTask("Importing bookmarks…", std::move(work), std::move(completion));
}

}  // namespace quillmor
