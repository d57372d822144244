// The commands of an editor window by the names of the menu actions that route to them.

#include <algorithm>
#include <array>

#include "window/HexWindowController.h"

namespace quillmor {

namespace {

struct Command {
  std::string_view action;
  void (*perform)(HexWindowController&);
};

template <auto Member>
constexpr void call(HexWindowController& controller) {
  (controller.*Member)();
}

template <std::int64_t BytesPerRow>
constexpr void setRow(HexWindowController& controller) {
  controller.setBytesPerRow(BytesPerRow);
}

struct CopyAs {
  const char* title;
  ClipboardTextStyle style;
};

constexpr CopyAs kCopyAsHex{"Copy as Hex", ClipboardTextStyle::hex};
constexpr CopyAs kCopyAsCArray{"Copy as C Array", ClipboardTextStyle::cArray};
constexpr CopyAs kCopyAsSwiftArray{"Copy as Swift Array", ClipboardTextStyle::swiftArray};
constexpr CopyAs kCopyAsBase64{"Copy as Base64", ClipboardTextStyle::base64};
constexpr CopyAs kCopyAsPythonBytes{"Copy as Python Bytes", ClipboardTextStyle::pythonBytes};
constexpr CopyAs kCopyAsJSONByteArray{"Copy as JSON Byte Array", ClipboardTextStyle::jsonByteArray};

template <const CopyAs& Copy>
void copyAs(HexWindowController& controller) {
  controller.copySelectionAsText(Copy.title, Copy.style);
}

constexpr auto kCommands = std::to_array<Command>({
    {"forwardSaveDocument:", call<&HexWindowController::saveDocument>},
    {"forwardSaveDocumentAs:", call<&HexWindowController::saveDocumentAs>},
    {"forwardRevertDocument:", call<&HexWindowController::revertDocument>},
    {"forwardReloadFromDisk:", call<&HexWindowController::reloadFromDisk>},
    {"forwardRevealInFinder:", call<&HexWindowController::revealInFinder>},
    {"forwardCopyFilePath:", call<&HexWindowController::copyFilePath>},
    {"forwardUndo:", call<&HexWindowController::undo>},
    {"forwardRedo:", call<&HexWindowController::redo>},
    {"forwardCut:", call<&HexWindowController::cut>},
    {"forwardCopy:", call<&HexWindowController::copy>},
    {"forwardPaste:", call<&HexWindowController::paste>},
    {"forwardCopyAsHex:", copyAs<kCopyAsHex>},
    {"forwardCopyAsCArray:", copyAs<kCopyAsCArray>},
    {"forwardCopyAsSwiftArray:", copyAs<kCopyAsSwiftArray>},
    {"forwardCopyAsBase64:", copyAs<kCopyAsBase64>},
    {"forwardCopyAsPythonBytes:", copyAs<kCopyAsPythonBytes>},
    {"forwardCopyAsJSONByteArray:", copyAs<kCopyAsJSONByteArray>},
    {"forwardDeleteSelection:", call<&HexWindowController::deleteSelection>},
    {"forwardCopyCurrentOffset:", call<&HexWindowController::copyCurrentOffset>},
    {"forwardCopySelectionRange:", call<&HexWindowController::copySelectionRange>},
    {"forwardSelectAll:", call<&HexWindowController::selectAll>},
    {"forwardSelectRange:", call<&HexWindowController::selectRange>},
    {"forwardFind:", call<&HexWindowController::find>},
    {"forwardReplace:", call<&HexWindowController::replace>},
    {"forwardFindNext:", call<&HexWindowController::findNext>},
    {"forwardFindPrevious:", call<&HexWindowController::findPrevious>},
    {"forwardFindWildcardMask:", call<&HexWindowController::findWildcardMask>},
    {"forwardGoToOffset:", call<&HexWindowController::goToOffset>},
    {"forwardGoToStart:", call<&HexWindowController::goToStart>},
    {"forwardGoToEnd:", call<&HexWindowController::goToEnd>},
    {"forwardBytesPerRow8:", setRow<8>},
    {"forwardBytesPerRow16:", setRow<16>},
    {"forwardBytesPerRow32:", setRow<32>},
    {"forwardToggleInsertMode:", call<&HexWindowController::toggleInsertMode>},
    {"forwardInsertBytes:", call<&HexWindowController::insertBytes>},
    {"forwardInsertFileAtOffset:", call<&HexWindowController::insertFileAtOffset>},
    {"forwardAppendFileToEnd:", call<&HexWindowController::appendFileToEnd>},
    {"forwardCropToSelection:", call<&HexWindowController::cropToSelection>},
    {"forwardFillSelection:", call<&HexWindowController::fillSelection>},
    {"forwardFillSelectionWithZero:", call<&HexWindowController::fillSelectionWithZero>},
    {"forwardFillSelectionWithFF:", call<&HexWindowController::fillSelectionWithFF>},
    {"forwardInvertSelection:", call<&HexWindowController::invertSelection>},
    {"forwardReverseSelection:", call<&HexWindowController::reverseSelection>},
    {"forwardSwapSelection16:", call<&HexWindowController::swapSelection16>},
    {"forwardSwapSelection32:", call<&HexWindowController::swapSelection32>},
    {"forwardXorSelection:", call<&HexWindowController::xorSelection>},
    {"forwardAndSelection:", call<&HexWindowController::andSelection>},
    {"forwardOrSelection:", call<&HexWindowController::orSelection>},
    {"forwardShowDataInspectorDetail:", call<&HexWindowController::showDataInspectorDetail>},
    {"forwardEditCurrentValue:", call<&HexWindowController::editCurrentValue>},
    {"forwardBitEditor:", call<&HexWindowController::bitEditor>},
    {"forwardAddBookmark:", call<&HexWindowController::addBookmark>},
    {"forwardNextBookmark:", call<&HexWindowController::nextBookmark>},
    {"forwardPreviousBookmark:", call<&HexWindowController::previousBookmark>},
    {"forwardShowBookmarks:", call<&HexWindowController::showBookmarks>},
    {"forwardRestoreLastSessionOffset:", call<&HexWindowController::restoreLastSessionOffset>},
    {"forwardClearBookmarks:", call<&HexWindowController::clearBookmarks>},
    {"forwardCreateBackupCopy:", call<&HexWindowController::createBackupCopy>},
    {"forwardSaveAtomicBackup:", call<&HexWindowController::saveAtomicBackup>},
    {"forwardExportSelection:", call<&HexWindowController::exportSelection>},
    {"forwardExportSelectionHexDump:", call<&HexWindowController::exportSelectionHexDump>},
    {"forwardExportIntelHex:", call<&HexWindowController::exportIntelHex>},
    {"forwardExportHexDump:", call<&HexWindowController::exportHexDump>},
    {"forwardExportDifferenceReport:", call<&HexWindowController::exportDifferenceReport>},
    {"forwardExportHexPatch:", call<&HexWindowController::exportHexPatch>},
    {"forwardApplyHexPatch:", call<&HexWindowController::applyHexPatch>},
    {"forwardShowByteFrequency:", call<&HexWindowController::showByteFrequency>},
    {"forwardShowChecksums:", call<&HexWindowController::showChecksums>},
    {"forwardCompareWithFile:", call<&HexWindowController::compareWithFile>},
    {"forwardExportASCIIStrings:", call<&HexWindowController::exportASCIIStrings>},
    {"forwardShowSelectionStatistics:", call<&HexWindowController::showSelectionStatistics>},
    {"forwardShowFileInformation:", call<&HexWindowController::showFileInformation>},
    {"forwardOpenCompareWindow:", call<&HexWindowController::openCompareWindow>},
    {"forwardEntropyMap:", call<&HexWindowController::showEntropyMap>},
    {"forwardDetectFileStructure:", call<&HexWindowController::detectFileStructure>},
    {"forwardStringsViewer:", call<&HexWindowController::stringsViewer>},
    {"forwardChecksumRange:", call<&HexWindowController::checksumRange>},
    {"forwardPCIRomInfo:", call<&HexWindowController::showPCIRomInfo>},
    {"forwardValidateACPIChecksum:", call<&HexWindowController::validateACPIChecksum>},
    {"forwardFixACPIChecksum:", call<&HexWindowController::fixACPIChecksum>},
    {"forwardExportBookmarks:", call<&HexWindowController::exportBookmarks>},
    {"forwardImportBookmarks:", call<&HexWindowController::importBookmarks>},
    {"forwardApplyRx580MacOSPreset:", call<&HexWindowController::applyRx580MacOSPreset>},
    {"forwardApplyRx580MacOSPresetAndFixChecksum:",
     call<&HexWindowController::applyRx580MacOSPresetAndFixChecksum>},
    {"forwardValidatePolarisChecksum:", call<&HexWindowController::validatePolarisChecksum>},
    {"forwardFixPolarisChecksum:", call<&HexWindowController::fixPolarisChecksum>},
    {"forwardDryRunJSONPreset:", call<&HexWindowController::dryRunJSONPreset>},
    {"forwardApplyJSONPreset:", call<&HexWindowController::applyJSONPreset>},
});

const Command* findCommand(std::string_view action) {
  const auto found =
      std::find_if(kCommands.begin(), kCommands.end(),
                   [action](const Command& command) { return command.action == action; });
  return found == kCommands.end() ? nullptr : &*found;
}

}  // namespace

bool HexWindowController::hasCommand(std::string_view action) {
  return findCommand(action) != nullptr;
}

void HexWindowController::perform(std::string_view action) {
  const Command* command = findCommand(action);
  if (!command) return;
  clearNotice();
  command->perform(*this);
}

}  // namespace quillmor
