#include "window/commands/DocumentCommands.h"

namespace quillmor {

namespace {

constexpr const char* kSave = "Save";
constexpr const char* kSaveAs = "Save As";
constexpr const char* kRevert = "Revert";
constexpr const char* kReload = "Reload from Disk";

}  // namespace

std::span<const CommandRow<DocumentCommands>> DocumentCommands::rows() {
  using Family = DocumentCommands;
  static constexpr CommandRow<Family> kRows[] = {
      {{.action = "forwardSaveDocument:", .title = kSave, .key = "s", .busyTitle = kSave},
       &Family::saveDocument},
      {{.action = "forwardSaveDocumentAs:",
        .title = "Save As…",
        .key = "S",
        .shift = true,
        .busyTitle = kSaveAs},
       &Family::saveDocumentAs},
      {{.action = "forwardRevertDocument:",
        .title = kRevert,
        .need = CommandNeed::file,
        .busyTitle = kRevert},
       &Family::revertDocument},
      {{.action = "forwardReloadFromDisk:",
        .title = kReload,
        .need = CommandNeed::file,
        .busyTitle = kReload},
       &Family::reloadFromDisk},
  };
  return kRows;
}

void DocumentCommands::saveDocument() {
  saving_.saveCurrentDocument([](auto) {});
}

void DocumentCommands::saveDocumentAs() {
  saving_.chooseDestinationAndSave([](auto) {});
}

void DocumentCommands::revertDocument() {
  if (context_.refuseWithoutFile(kRevert)) return;
  const bool isConfirmed =
      context_.confirm("Revert Changes?",
                       "Discard unsaved changes to " + session_.document().displayName() +
                           " and reload the version currently on disk?",
                       "Revert", kRevert);
  if (!isConfirmed) return;
  replacement_.loadPreservingEditorState(*session_.document().location(), "Revert Failed", [] {});
}

void DocumentCommands::reloadFromDisk() {
  if (context_.refuseWithoutFile(kReload)) return;
  const FileLocation location = *session_.document().location();
  replacement_.prepareToReplaceCurrentDocument(
      location, {.failure = "Reload Failed", .busy = kReload},
      [this, owner = context_.owner().lock(), location](auto preparation) {
        if (preparation != DocumentReplacementPreparation::proceed) return;
        replacement_.loadPreservingEditorState(location, "Reload Failed", [this, location] {
          messages_.alert(kReload, "Reloaded: " + location.shownName());
        });
      });
}

}  // namespace quillmor
