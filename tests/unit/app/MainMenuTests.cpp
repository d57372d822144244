#include "app/MainMenu.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <sstream>
#include <string>

namespace quillmor {
namespace {

/// The whole menu bar as text: title | key with the Command key | action.
constexpr std::string_view kWholeMenu = R"(
# Quillmor
About Quillmor | - | showAbout:
Preferences… | , | showPreferences:
Quit Quillmor | q | requestQuit:
# File
New | n | newDocument:
Open… | o | forwardOpenDocument:
Save | s | forwardSaveDocument:
Save As… | Shift S | forwardSaveDocumentAs:
Revert | - | forwardRevertDocument:
Reload from Disk | - | forwardReloadFromDisk:
Reveal in Finder | - | forwardRevealInFinder:
Copy File Path | - | forwardCopyFilePath:
Create Backup Copy… | - | forwardCreateBackupCopy:
Save Atomic Backup… | - | forwardSaveAtomicBackup:
Export Selection… | e | forwardExportSelection:
Export Selection Hex Dump… | - | forwardExportSelectionHexDump:
Export Intel HEX… | - | forwardExportIntelHex:
Export Hex Dump… | - | forwardExportHexDump:
Export Difference Report… | - | forwardExportDifferenceReport:
Export Hex Patch… | - | forwardExportHexPatch:
Apply Hex Patch… | - | forwardApplyHexPatch:
Close | w | performClose:
# Edit
Undo | z | forwardUndo:
Redo | Shift z | forwardRedo:
Cut | x | forwardCut:
Copy | c | forwardCopy:
Paste | v | forwardPaste:
Delete | Backspace | forwardDeleteSelection:
Copy as Hex | - | forwardCopyAsHex:
Copy as C Array | - | forwardCopyAsCArray:
Copy as Swift Array | - | forwardCopyAsSwiftArray:
Copy as Base64 | - | forwardCopyAsBase64:
Copy as Python Bytes | - | forwardCopyAsPythonBytes:
Copy as JSON Byte Array | - | forwardCopyAsJSONByteArray:
Copy Current Offset | - | forwardCopyCurrentOffset:
Copy Selection Range | - | forwardCopySelectionRange:
Select All | a | forwardSelectAll:
Select Range… | - | forwardSelectRange:
# Search
Find… | f | forwardFind:
Replace… | r | forwardReplace:
Find Next | g | forwardFindNext:
Find Previous | Shift G | forwardFindPrevious:
Find Wildcard/Mask… | - | forwardFindWildcardMask:
Go to Offset… | l | forwardGoToOffset:
Go to Start | - | forwardGoToStart:
Go to End | - | forwardGoToEnd:
Select Range… | - | forwardSelectRange:
# View
Bytes per Row: 8 | - | forwardBytesPerRow8:
Bytes per Row: 16 | - | forwardBytesPerRow16:
Bytes per Row: 32 | - | forwardBytesPerRow32:
Toggle Insert Mode | i | forwardToggleInsertMode:
Byte Frequency | - | forwardShowByteFrequency:
Checksums | - | forwardShowChecksums:
# Tools
Insert Bytes… | - | forwardInsertBytes:
Insert File at Offset… | - | forwardInsertFileAtOffset:
Append File to End… | - | forwardAppendFileToEnd:
Crop to Selection | - | forwardCropToSelection:
Fill Selection… | - | forwardFillSelection:
Fill Selection with 00 | - | forwardFillSelectionWithZero:
Fill Selection with FF | - | forwardFillSelectionWithFF:
Invert Selection | - | forwardInvertSelection:
Reverse Selection | - | forwardReverseSelection:
Swap Selection 16-bit Endian | - | forwardSwapSelection16:
Swap Selection 32-bit Endian | - | forwardSwapSelection32:
XOR Selection… | - | forwardXorSelection:
AND Selection… | - | forwardAndSelection:
OR Selection… | - | forwardOrSelection:
Compare With File… | - | forwardCompareWithFile:
Export Difference Report… | - | forwardExportDifferenceReport:
Export ASCII Strings… | - | forwardExportASCIIStrings:
Selection Statistics | - | forwardShowSelectionStatistics:
File Information | - | forwardShowFileInformation:
Data Inspector Detail | - | forwardShowDataInspectorDetail:
Edit Current Value… | - | forwardEditCurrentValue:
Bit Editor… | - | forwardBitEditor:
Open Compare Window… | - | forwardOpenCompareWindow:
Entropy Map… | - | forwardEntropyMap:
File Structure Detector | - | forwardDetectFileStructure:
Strings Viewer | - | forwardStringsViewer:
Checksum Range… | - | forwardChecksumRange:
PCI ROM Info | - | forwardPCIRomInfo:
Validate ACPI Checksum | - | forwardValidateACPIChecksum:
Fix ACPI Checksum | - | forwardFixACPIChecksum:
# Bookmarks
Add Bookmark | b | forwardAddBookmark:
Next Bookmark | ] | forwardNextBookmark:
Previous Bookmark | [ | forwardPreviousBookmark:
Show Bookmarks | - | forwardShowBookmarks:
Export Bookmarks… | - | forwardExportBookmarks:
Import Bookmarks… | - | forwardImportBookmarks:
Restore Last Session Offset | - | forwardRestoreLastSessionOffset:
Clear Bookmarks | - | forwardClearBookmarks:
# Presets
Rx580 macOS | - | forwardApplyRx580MacOSPreset:
Rx580 macOS + Fix Checksum | - | forwardApplyRx580MacOSPresetAndFixChecksum:
Validate Polaris Checksum | - | forwardValidatePolarisChecksum:
Fix Polaris Checksum | - | forwardFixPolarisChecksum:
Dry Run JSON Preset… | - | forwardDryRunJSONPreset:
Apply JSON Preset… | - | forwardApplyJSONPreset:
)";

std::vector<std::string> linesOf(std::string_view text) {
  std::istringstream in{std::string(text)};
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) {
    if (!line.empty()) lines.push_back(line);
  }
  return lines;
}

std::string keyText(const MenuItem& item) {
  if (item.keyEquivalent.empty()) return "-";
  if (item.keyEquivalent == "\b") return "Backspace";
  return (item.shift ? "Shift " : "") + std::string(item.keyEquivalent);
}

std::vector<std::string> describeMainMenu() {
  std::vector<std::string> lines;
  for (const Menu& menu : mainMenu()) {
    lines.push_back("# " + std::string(menu.title));
    for (const MenuItem& item : menu.items) {
      if (item.isSeparator()) continue;
      lines.push_back(std::string(item.title) + " | " + keyText(item) + " | " +
                      std::string(item.action));
    }
  }
  return lines;
}

TEST(MainMenu, holdsEveryRowInOrder) {
  EXPECT_THAT(describeMainMenu(), testing::ElementsAreArray(linesOf(kWholeMenu)));
}

TEST(MainMenu, isTitledMainMenu) {
  EXPECT_EQ(kMenuBarTitle, "MainMenu");
}

TEST(MainMenu, putsSeparatorsBetweenItemsOnly) {
  for (const Menu& menu : mainMenu()) {
    ASSERT_FALSE(menu.items.empty());
    EXPECT_FALSE(menu.items.front().isSeparator()) << menu.title;
    EXPECT_FALSE(menu.items.back().isSeparator()) << menu.title;
    for (std::size_t i = 1; i < menu.items.size(); ++i) {
      EXPECT_FALSE(menu.items[i - 1].isSeparator() && menu.items[i].isSeparator()) << menu.title;
    }
  }
}

TEST(MainMenu, givesEveryKeyToOneItemOnly) {
  std::set<std::string> keys;
  for (const Menu& menu : mainMenu()) {
    for (const MenuItem& item : menu.items) {
      if (item.keyEquivalent.empty()) continue;
      EXPECT_TRUE(keys.insert(keyText(item)).second) << item.title;
    }
  }
  EXPECT_EQ(keys.size(), 24U);
}

TEST(MainMenu, repeatsTwoItemsWithTheSameAction) {
  std::map<std::string_view, int> counts;
  for (const Menu& menu : mainMenu()) {
    for (const MenuItem& item : menu.items) {
      if (!item.isSeparator()) ++counts[item.action];
    }
  }
  std::map<std::string_view, int> repeated;
  for (const auto& [action, count] : counts) {
    if (count > 1) repeated.emplace(action, count);
  }
  EXPECT_EQ(repeated, (std::map<std::string_view, int>{{"forwardSelectRange:", 2},
                                                       {"forwardExportDifferenceReport:", 2}}));
}

TEST(ContextMenu, holdsCommandsOfEditorsOnly) {
  for (const MenuItem& item : contextMenu()) {
    if (item.isSeparator()) continue;
    EXPECT_TRUE(isForwarded(item.action)) << item.action;
    EXPECT_EQ(findCommand(item.action)->title, item.title);
  }
  EXPECT_FALSE(contextMenu().front().isSeparator());
  EXPECT_FALSE(contextMenu().back().isSeparator());
}

TEST(MainMenu, findsCommandsOfTheApplicationAndOfEditors) {
  ASSERT_NE(findCommand("requestQuit:"), nullptr);
  EXPECT_EQ(findCommand("requestQuit:")->title, "Quit Quillmor");
  ASSERT_NE(findCommand("forwardFind:"), nullptr);
  EXPECT_EQ(findCommand("forwardFind:")->title, "Find…");
  EXPECT_EQ(findCommand("forwardFly:"), nullptr);
  EXPECT_EQ(findCommand(""), nullptr);
}

TEST(MainMenu, tellsForwardedActionsFromOwnOnes) {
  EXPECT_TRUE(isForwarded("forwardFillSelection:"));
  EXPECT_FALSE(isForwarded("showAbout:"));
  EXPECT_FALSE(isForwarded(""));
}

}  // namespace
}  // namespace quillmor
