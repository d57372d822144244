#include "app/MainMenu.h"

#include "app/ApplicationCommands.h"
#include "base/Check.h"
#include "window/commands/EditorCommands.h"

namespace quillmor {

namespace {

constexpr std::string_view kForwardPrefix = "forward";
constexpr std::string_view kSeparator{};

constexpr std::string_view kApplicationItems[] = {
    "showAbout:", kSeparator, "showPreferences:", kSeparator, "requestQuit:",
};

constexpr std::string_view kFileItems[] = {
    "newDocument:",
    "forwardOpenDocument:",
    kSeparator,
    "forwardSaveDocument:",
    "forwardSaveDocumentAs:",
    "forwardRevertDocument:",
    "forwardReloadFromDisk:",
    kSeparator,
    "forwardRevealInFinder:",
    "forwardCopyFilePath:",
    kSeparator,
    "forwardCreateBackupCopy:",
    "forwardSaveAtomicBackup:",
    kSeparator,
    "forwardExportSelection:",
    "forwardExportSelectionHexDump:",
    "forwardExportIntelHex:",
    "forwardExportHexDump:",
    kSeparator,
    "forwardExportDifferenceReport:",
    kSeparator,
    "forwardExportHexPatch:",
    "forwardApplyHexPatch:",
    kSeparator,
    "performClose:",
};

constexpr std::string_view kEditItems[] = {
    "forwardUndo:",
    "forwardRedo:",
    kSeparator,
    "forwardCut:",
    "forwardCopy:",
    "forwardPaste:",
    "forwardDeleteSelection:",
    kSeparator,
    "forwardCopyAsHex:",
    "forwardCopyAsCArray:",
    "forwardCopyAsSwiftArray:",
    "forwardCopyAsBase64:",
    "forwardCopyAsPythonBytes:",
    "forwardCopyAsJSONByteArray:",
    kSeparator,
    "forwardCopyCurrentOffset:",
    "forwardCopySelectionRange:",
    kSeparator,
    "forwardSelectAll:",
    "forwardSelectRange:",
};

constexpr std::string_view kSearchItems[] = {
    "forwardFind:",         "forwardReplace:",          kSeparator, "forwardFindNext:",
    "forwardFindPrevious:", "forwardFindWildcardMask:", kSeparator, "forwardGoToOffset:",
    "forwardGoToStart:",    "forwardGoToEnd:",          kSeparator, "forwardSelectRange:",
};

constexpr std::string_view kViewItems[] = {
    "forwardBytesPerRow8:",      "forwardBytesPerRow16:",
    "forwardBytesPerRow32:",     kSeparator,
    "forwardToggleInsertMode:",  kSeparator,
    "forwardShowByteFrequency:", "forwardShowChecksums:",
};

constexpr std::string_view kToolsItems[] = {
    "forwardInsertBytes:",
    "forwardInsertFileAtOffset:",
    "forwardAppendFileToEnd:",
    kSeparator,
    "forwardCropToSelection:",
    kSeparator,
    "forwardFillSelection:",
    "forwardFillSelectionWithZero:",
    "forwardFillSelectionWithFF:",
    kSeparator,
    "forwardInvertSelection:",
    "forwardReverseSelection:",
    "forwardSwapSelection16:",
    "forwardSwapSelection32:",
    kSeparator,
    "forwardXorSelection:",
    "forwardAndSelection:",
    "forwardOrSelection:",
    kSeparator,
    "forwardCompareWithFile:",
    "forwardExportDifferenceReport:",
    "forwardExportASCIIStrings:",
    kSeparator,
    "forwardShowSelectionStatistics:",
    "forwardShowFileInformation:",
    kSeparator,
    "forwardShowDataInspectorDetail:",
    "forwardEditCurrentValue:",
    "forwardBitEditor:",
    kSeparator,
    "forwardOpenCompareWindow:",
    kSeparator,
    "forwardEntropyMap:",
    "forwardDetectFileStructure:",
    "forwardStringsViewer:",
    "forwardChecksumRange:",
    kSeparator,
    "forwardPCIRomInfo:",
    "forwardValidateACPIChecksum:",
    "forwardFixACPIChecksum:",
};

constexpr std::string_view kBookmarksItems[] = {
    "forwardAddBookmark:",
    "forwardNextBookmark:",
    "forwardPreviousBookmark:",
    "forwardShowBookmarks:",
    kSeparator,
    "forwardExportBookmarks:",
    "forwardImportBookmarks:",
    kSeparator,
    "forwardRestoreLastSessionOffset:",
    kSeparator,
    "forwardClearBookmarks:",
};

constexpr std::string_view kPresetsItems[] = {
    "forwardApplyRx580MacOSPreset:",
    "forwardApplyRx580MacOSPresetAndFixChecksum:",
    kSeparator,
    "forwardValidatePolarisChecksum:",
    "forwardFixPolarisChecksum:",
    kSeparator,
    "forwardDryRunJSONPreset:",
    "forwardApplyJSONPreset:",
};

constexpr std::string_view kContextItems[] = {
    "forwardCut:",
    "forwardCopy:",
    "forwardPaste:",
    kSeparator,
    "forwardSelectAll:",
    "forwardSelectRange:",
    kSeparator,
    "forwardAddBookmark:",
    kSeparator,
    "forwardShowLastSave:",
    "forwardShowHistory:",
    "forwardLeaveNoTrace:",
};

Menu menu(std::string_view title, std::span<const std::string_view> actions) {
  Menu made{title, {}};
  for (const std::string_view action : actions) {
    if (action.empty()) {
      made.items.push_back({});
      continue;
    }
    const Command* const command = findCommand(action);
    checkPrecondition(command != nullptr, "every menu item has a command");
    made.items.push_back({command->title, action, command->key, command->shift});
  }
  return made;
}

}  // namespace

const Command* findCommand(std::string_view action) {
  const auto* row = findRow(applicationCommands(), action);
  return row ? &row->command : EditorCommands::find(action);
}

const std::vector<Menu>& mainMenu() {
  static const std::vector<Menu> menus = {
      menu("Quillmor", kApplicationItems),
      menu("File", kFileItems),
      menu("Edit", kEditItems),
      menu("Search", kSearchItems),
      menu("View", kViewItems),
      menu("Tools", kToolsItems),
      menu("Bookmarks", kBookmarksItems),
      menu("Presets", kPresetsItems),
  };
  return menus;
}

const std::vector<MenuItem>& contextMenu() {
  static const Menu made = menu({}, kContextItems);
  return made.items;
}

std::string commandTitle(std::string_view action) {
  constexpr std::string_view kEllipsis = "…";
  const Command* const command = findCommand(action);
  std::string_view title = command ? command->title : action;
  if (title.ends_with(kEllipsis)) title.remove_suffix(kEllipsis.size());
  return std::string(title);
}

bool isForwarded(std::string_view action) {
  return action.starts_with(kForwardPrefix);
}

}  // namespace quillmor
