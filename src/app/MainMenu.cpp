#include "app/MainMenu.h"

namespace quillmor {

namespace {

constexpr std::string_view kForwardPrefix = "forward";
constexpr bool kShift = true;
constexpr MenuItem kSeparator{};

constexpr MenuItem kApplicationItems[] = {
    {"About Quillmor", "showAbout:"},          kSeparator,
    {"Preferences…", "showPreferences:", ","}, kSeparator,
    {"Quit Quillmor", "requestQuit:", "q"},
};

constexpr MenuItem kFileItems[] = {
    {"New", "newDocument:", "n"},
    {"Open…", "forwardOpenDocument:", "o"},
    kSeparator,
    {"Save", "forwardSaveDocument:", "s"},
    {"Save As…", "forwardSaveDocumentAs:", "S", kShift},
    {"Revert", "forwardRevertDocument:"},
    {"Reload from Disk", "forwardReloadFromDisk:"},
    kSeparator,
    {"Reveal in Finder", "forwardRevealInFinder:"},
    {"Copy File Path", "forwardCopyFilePath:"},
    kSeparator,
    {"Create Backup Copy…", "forwardCreateBackupCopy:"},
    {"Save Atomic Backup…", "forwardSaveAtomicBackup:"},
    kSeparator,
    {"Export Selection…", "forwardExportSelection:", "e"},
    {"Export Selection Hex Dump…", "forwardExportSelectionHexDump:"},
    {"Export Intel HEX…", "forwardExportIntelHex:"},
    {"Export Hex Dump…", "forwardExportHexDump:"},
    kSeparator,
    {"Export Difference Report…", "forwardExportDifferenceReport:"},
    kSeparator,
    {"Export Hex Patch…", "forwardExportHexPatch:"},
    {"Apply Hex Patch…", "forwardApplyHexPatch:"},
    kSeparator,
    {"Close", "performClose:", "w"},
};

constexpr MenuItem kEditItems[] = {
    {"Undo", "forwardUndo:", "z"},
    {"Redo", "forwardRedo:", "z", kShift},
    kSeparator,
    {"Cut", "forwardCut:", "x"},
    {"Copy", "forwardCopy:", "c"},
    {"Paste", "forwardPaste:", "v"},
    {"Delete", "forwardDeleteSelection:", "\b"},
    kSeparator,
    {"Copy as Hex", "forwardCopyAsHex:"},
    {"Copy as C Array", "forwardCopyAsCArray:"},
    {"Copy as Swift Array", "forwardCopyAsSwiftArray:"},
    {"Copy as Base64", "forwardCopyAsBase64:"},
    {"Copy as Python Bytes", "forwardCopyAsPythonBytes:"},
    {"Copy as JSON Byte Array", "forwardCopyAsJSONByteArray:"},
    kSeparator,
    {"Copy Current Offset", "forwardCopyCurrentOffset:"},
    {"Copy Selection Range", "forwardCopySelectionRange:"},
    kSeparator,
    {"Select All", "forwardSelectAll:", "a"},
    {"Select Range…", "forwardSelectRange:"},
};

constexpr MenuItem kSearchItems[] = {
    {"Find…", "forwardFind:", "f"},
    {"Replace…", "forwardReplace:", "r"},
    kSeparator,
    {"Find Next", "forwardFindNext:", "g"},
    {"Find Previous", "forwardFindPrevious:", "G", kShift},
    {"Find Wildcard/Mask…", "forwardFindWildcardMask:"},
    kSeparator,
    {"Go to Offset…", "forwardGoToOffset:", "l"},
    {"Go to Start", "forwardGoToStart:"},
    {"Go to End", "forwardGoToEnd:"},
    kSeparator,
    {"Select Range…", "forwardSelectRange:"},
};

constexpr MenuItem kViewItems[] = {
    {"Bytes per Row: 8", "forwardBytesPerRow8:"},
    {"Bytes per Row: 16", "forwardBytesPerRow16:"},
    {"Bytes per Row: 32", "forwardBytesPerRow32:"},
    kSeparator,
    {"Toggle Insert Mode", "forwardToggleInsertMode:", "i"},
    kSeparator,
    {"Byte Frequency", "forwardShowByteFrequency:"},
    {"Checksums", "forwardShowChecksums:"},
};

constexpr MenuItem kToolsItems[] = {
    {"Insert Bytes…", "forwardInsertBytes:"},
    {"Insert File at Offset…", "forwardInsertFileAtOffset:"},
    {"Append File to End…", "forwardAppendFileToEnd:"},
    kSeparator,
    {"Crop to Selection", "forwardCropToSelection:"},
    kSeparator,
    {"Fill Selection…", "forwardFillSelection:"},
    {"Fill Selection with 00", "forwardFillSelectionWithZero:"},
    {"Fill Selection with FF", "forwardFillSelectionWithFF:"},
    kSeparator,
    {"Invert Selection", "forwardInvertSelection:"},
    {"Reverse Selection", "forwardReverseSelection:"},
    {"Swap Selection 16-bit Endian", "forwardSwapSelection16:"},
    {"Swap Selection 32-bit Endian", "forwardSwapSelection32:"},
    kSeparator,
    {"XOR Selection…", "forwardXorSelection:"},
    {"AND Selection…", "forwardAndSelection:"},
    {"OR Selection…", "forwardOrSelection:"},
    kSeparator,
    {"Compare With File…", "forwardCompareWithFile:"},
    {"Export Difference Report…", "forwardExportDifferenceReport:"},
    {"Export ASCII Strings…", "forwardExportASCIIStrings:"},
    kSeparator,
    {"Selection Statistics", "forwardShowSelectionStatistics:"},
    {"File Information", "forwardShowFileInformation:"},
    kSeparator,
    {"Data Inspector Detail", "forwardShowDataInspectorDetail:"},
    {"Edit Current Value…", "forwardEditCurrentValue:"},
    {"Bit Editor…", "forwardBitEditor:"},
    kSeparator,
    {"Open Compare Window…", "forwardOpenCompareWindow:"},
    kSeparator,
    {"Entropy Map…", "forwardEntropyMap:"},
    {"File Structure Detector", "forwardDetectFileStructure:"},
    {"Strings Viewer", "forwardStringsViewer:"},
    {"Checksum Range…", "forwardChecksumRange:"},
    kSeparator,
    {"PCI ROM Info", "forwardPCIRomInfo:"},
    {"Validate ACPI Checksum", "forwardValidateACPIChecksum:"},
    {"Fix ACPI Checksum", "forwardFixACPIChecksum:"},
};

constexpr MenuItem kBookmarksItems[] = {
    {"Add Bookmark", "forwardAddBookmark:", "b"},
    {"Next Bookmark", "forwardNextBookmark:", "]"},
    {"Previous Bookmark", "forwardPreviousBookmark:", "["},
    {"Show Bookmarks", "forwardShowBookmarks:"},
    kSeparator,
    {"Export Bookmarks…", "forwardExportBookmarks:"},
    {"Import Bookmarks…", "forwardImportBookmarks:"},
    kSeparator,
    {"Restore Last Session Offset", "forwardRestoreLastSessionOffset:"},
    kSeparator,
    {"Clear Bookmarks", "forwardClearBookmarks:"},
};

constexpr MenuItem kPresetsItems[] = {
    {"Rx580 macOS", "forwardApplyRx580MacOSPreset:"},
    {"Rx580 macOS + Fix Checksum", "forwardApplyRx580MacOSPresetAndFixChecksum:"},
    kSeparator,
    {"Validate Polaris Checksum", "forwardValidatePolarisChecksum:"},
    {"Fix Polaris Checksum", "forwardFixPolarisChecksum:"},
    kSeparator,
    {"Dry Run JSON Preset…", "forwardDryRunJSONPreset:"},
    {"Apply JSON Preset…", "forwardApplyJSONPreset:"},
};

}  // namespace

const std::vector<Menu>& mainMenu() {
  static const std::vector<Menu> menus = {
      {"Quillmor", kApplicationItems}, {"File", kFileItems},       {"Edit", kEditItems},
      {"Search", kSearchItems},        {"View", kViewItems},       {"Tools", kToolsItems},
      {"Bookmarks", kBookmarksItems},  {"Presets", kPresetsItems},
  };
  return menus;
}

const Menu* findMenu(std::string_view title) {
  for (const Menu& menu : mainMenu()) {
    if (menu.title == title) return &menu;
  }
  return nullptr;
}

std::vector<MenuItem> itemsWithAction(std::string_view action) {
  std::vector<MenuItem> found;
  for (const Menu& menu : mainMenu()) {
    for (const MenuItem& item : menu.items) {
      if (!item.isSeparator() && item.action == action) found.push_back(item);
    }
  }
  return found;
}

std::string commandTitle(std::string_view action) {
  constexpr std::string_view kEllipsis = "…";
  const auto items = itemsWithAction(action);
  std::string_view title = items.empty() ? action : items.front().title;
  if (title.ends_with(kEllipsis)) title.remove_suffix(kEllipsis.size());
  return std::string(title);
}

bool isForwarded(std::string_view action) {
  return action.starts_with(kForwardPrefix);
}

}  // namespace quillmor
