// Which editor a menu command goes to, which text view comes first, and what is enabled.

#include <gmock/gmock.h>

#include <set>

#include "app/MainMenu.h"
#include "support/ApplicationFixture.h"

namespace quillmor::test {
namespace {

class AppCommands : public ApplicationFixture {
 protected:
  /// An editor of a file with `content`.
  EditorUnderTest openNow(std::string_view name, std::string_view content) {
    delegate.openNow(folder.write(name, content));
    return editorAt(application.windows.size() - 1);
  }

  bool isEnabled(std::string_view action) const { return delegate.validateMenuItem(action); }
};

TEST_F(AppCommands, goToTheKeyWindowsEditor) {
  auto first = openNow("first.bin", "first");
  auto second = openNow("second.bin", "second");
  EXPECT_EQ(delegate.currentHexWindowController(), second.controller);
  delegate.perform("forwardGoToEnd:");
  EXPECT_EQ(second.editor().caretOffset(), 6);
  EXPECT_EQ(first.editor().caretOffset(), 0);

  delegate.editorWindowDidBecomeKey(*first.controller);
  EXPECT_EQ(delegate.currentHexWindowController(), first.controller);
  delegate.perform("forwardSelectAll:");
  EXPECT_EQ(first.editor().selection(), (HexSelection{0, 5}));
  EXPECT_EQ(second.editor().selection(), HexSelection{});
}

TEST_F(AppCommands, goToTheEditorUsedLastWhileAReportIsKey) {
  auto first = openNow("first.bin", "first");
  auto second = openNow("second.bin", "second");
  delegate.editorWindowDidBecomeKey(*first.controller);
  // A report window that becomes key tells the delegate nothing.
  first->context().showUtilityReport("Report", "text");
  delegate.perform("forwardGoToEnd:");
  EXPECT_EQ(first.editor().caretOffset(), 5);
  EXPECT_EQ(second.editor().caretOffset(), 0);
}

TEST_F(AppCommands, goToTheNextEditorWhenTheFrontOneHasClosed) {
  auto first = openNow("first.bin", "first");
  auto second = openNow("second.bin", "second");
  auto third = openNow("third.bin", "third");
  delegate.editorWindowDidBecomeKey(*first.controller);
  first.window->closeWindow();
  // Something may keep the controller alive for longer; it is current no more.
  EXPECT_EQ(delegate.currentHexWindowController(), third.controller);
  third.window->closeWindow();
  second.window->closeWindow();
  EXPECT_EQ(delegate.currentHexWindowController(), nullptr);
  delegate.perform("forwardGoToEnd:");
  EXPECT_FALSE(isEnabled("forwardGoToEnd:"));
}

TEST_F(AppCommands, reachEveryCommandOfAnEditor) {
  auto editor = openNow("data.bin", "hello");
  delegate.perform("forwardToggleInsertMode:");
  EXPECT_TRUE(editor.editor().insertMode());
  delegate.perform("forwardBytesPerRow8:");
  EXPECT_EQ(editor.editor().bytesPerRow(), 8);
  delegate.perform("forwardBytesPerRow16:");
  EXPECT_EQ(editor.editor().bytesPerRow(), 16);
  delegate.perform("forwardBytesPerRow32:");
  EXPECT_EQ(editor.editor().bytesPerRow(), 32);
  delegate.perform("forwardGoToEnd:");
  delegate.perform("forwardCopyCurrentOffset:");
  EXPECT_EQ(platform.pasteboard.heldText, "0x00000005");
  delegate.perform("forwardGoToStart:");
  EXPECT_EQ(editor.editor().caretOffset(), 0);
  delegate.perform("forwardDeleteSelection:");
  EXPECT_EQ(editor.text(), "ello");
  delegate.perform("forwardUndo:");
  EXPECT_EQ(editor.text(), "hello");
  delegate.perform("forwardRedo:");
  EXPECT_EQ(editor.text(), "ello");
  delegate.perform("forwardSaveDocument:");
  platform.executor.runAll();
  EXPECT_EQ(folder.read("data.bin"), "ello");
  platform.filePanels.saveAnswers.push_back(folder.location("copy.bin"));
  delegate.perform("forwardSaveDocumentAs:");
  platform.executor.runAll();
  EXPECT_EQ(folder.read("copy.bin"), "ello");
  platform.alerts.expect(
      "Revert Changes?",
      "Discard unsaved changes to copy.bin and reload the version currently on disk?", "Cancel");
  delegate.perform("forwardRevertDocument:");
  platform.alerts.expect("Reload from Disk", "Reloaded: copy.bin");
  delegate.perform("forwardReloadFromDisk:");
  platform.executor.runAll();
}

TEST_F(AppCommands, ofBookmarksAndPlacesReachTheEditor) {
  auto editor = openNow("data.bin", "hello");
  platform.alerts.expect("Bookmarks", "Added bookmark at 0x00000000.");
  delegate.perform("forwardAddBookmark:");
  delegate.perform("forwardGoToEnd:");
  delegate.perform("forwardPreviousBookmark:");
  EXPECT_EQ(editor.editor().caretOffset(), 0);
  delegate.perform("forwardGoToEnd:");
  delegate.perform("forwardNextBookmark:");
  EXPECT_EQ(editor.editor().caretOffset(), 0);
  delegate.perform("forwardShowBookmarks:");
  platform.executor.runAll();
  EXPECT_EQ(editor.window->reports.size(), 1U);
  platform.alerts.expect("Bookmarks", "Cleared 1 bookmark(s).");
  delegate.perform("forwardClearBookmarks:");
  platform.alerts.expect("Session", "No saved offset for this file.");
  delegate.perform("forwardRestoreLastSessionOffset:");
  platform.alerts.expect("Go to Offset", "Enter decimal, 0xHEX, HEX, or HEXh offset.", "OK", {"2"});
  delegate.perform("forwardGoToOffset:");
  EXPECT_EQ(editor.editor().caretOffset(), 2);
  platform.alerts.expect(
      "Select Range",
      "Enter a start offset and length. Values may be decimal, 0xHEX, HEX, or HEXh.", "OK",
      {"1", "2"});
  delegate.perform("forwardSelectRange:");
  EXPECT_EQ(editor.editor().selection(), (HexSelection{1, 2}));
}

TEST_F(AppCommands, withoutAnEditorDoNothing) {
  for (const Menu& menu : mainMenu()) {
    for (const MenuItem& item : menu.items) {
      if (isForwarded(item.action) && item.action != "forwardOpenDocument:") {
        delegate.perform(item.action);
        EXPECT_FALSE(isEnabled(item.action)) << item.action;
      }
    }
  }
  EXPECT_EQ(platform.beeper.count, 0);
}

TEST_F(AppCommands, standardOnesGoToTheFocusedTextViewFirst) {
  auto editor = openNow("data.bin", "hello");
  editor.editor().setCaretOffset(3);
  application.focus = TextFocus{.isEditable = true, .canUndo = true, .canRedo = true};
  for (const char* action : {"forwardUndo:", "forwardRedo:", "forwardCut:", "forwardCopy:",
                             "forwardPaste:", "forwardDeleteSelection:", "forwardSelectAll:"}) {
    delegate.perform(action);
  }
  EXPECT_EQ(application.sentActions,
            (std::vector{TextAction::undo, TextAction::redo, TextAction::cut, TextAction::copy,
                         TextAction::paste, TextAction::delete_, TextAction::selectAll}));
  EXPECT_EQ(editor.text(), "hello");
  EXPECT_EQ(editor.editor().selection(), HexSelection{});
  delegate.perform("forwardGoToEnd:");
  EXPECT_EQ(editor.editor().caretOffset(), 5) << "other commands go to the editor all the same";
}

TEST_F(AppCommands, undoInATextViewBeepsWhenThereIsNothingToUndo) {
  auto editor = newEditedDocument("abc");
  application.focus = TextFocus{};
  delegate.perform("forwardUndo:");
  delegate.perform("forwardRedo:");
  EXPECT_EQ(platform.beeper.count, 2);
  EXPECT_EQ(editor.window->notice, "There is nothing to redo.");
  EXPECT_TRUE(application.sentActions.empty());
  EXPECT_EQ(editor.text(), "abc");
}

TEST_F(AppCommands, areRefusedInTheWindowTheyWereChosenIn) {
  auto first = openNow("first.bin", "first");
  auto second = openNow("second.bin", "second");
  application.focus = TextFocus{};
  delegate.perform("forwardUndo:", {.editor = first.controller});
  EXPECT_EQ(first.window->notice, "There is nothing to undo.");
  EXPECT_EQ(second.window->notice, "");
}

TEST_F(AppCommands, goToTheEditorWhenTheTextViewDoesNotAnswer) {
  auto editor = openNow("data.bin", "hello");
  application.focus = TextFocus{.hasText = true};
  application.textViewAnswers = false;
  delegate.perform("forwardSelectAll:");
  EXPECT_EQ(editor.editor().selection(), (HexSelection{0, 5}));
}

TEST_F(AppCommands, undoAndRedoBeepWhileTheEditorIsBusy) {
  auto editor = newEditedDocument("abc");
  BusyScope busy = editor->context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  delegate.perform("forwardUndo:");
  delegate.perform("forwardRedo:");
  EXPECT_EQ(platform.beeper.count, 2);
  platform.alerts.expect(
      "Delete", "Another operation is already running. Wait for it to finish before editing.");
  delegate.perform("forwardDeleteSelection:");
  busy.end();
  EXPECT_EQ(editor.text(), "abc");
}

TEST_F(AppCommands, ofTheApplicationItself) {
  delegate.perform("showAbout:");
  EXPECT_EQ(application.aboutWindowsShown, 1);
  delegate.perform("performClose:");
  EXPECT_EQ(application.closesPerformed, 1);
  delegate.perform("newDocument:");
  EXPECT_EQ(application.windows.size(), 1U);
  EXPECT_EQ(editorAt(0).window->title, "Untitled");
  delegate.perform("newDocument:");
  EXPECT_EQ(editorAt(1).window->title, "Untitled 2");
  platform.alerts.expect("Quillmor Preferences",
                         "Dark metallic UI. Bytes per row and Insert/Overwrite mode are now saved "
                         "per user and restored for new windows.");
  delegate.perform("showPreferences:");
  EXPECT_EQ(platform.alerts.shown().back().buttons, std::vector<std::string>{"OK"});
  delegate.perform("requestQuit:");
  EXPECT_EQ(application.terminations, 1);
}

TEST_F(AppCommands, areEnabledByTheStateOfTheCurrentEditor) {
  EXPECT_TRUE(isEnabled("showAbout:"));
  EXPECT_TRUE(isEnabled("newDocument:"));
  EXPECT_TRUE(isEnabled("forwardOpenDocument:"));
  delegate.newDocument();
  auto editor = editorAt(0);
  const std::set<std::string_view> ofAnEmptyDocument{"forwardOpenDocument:",
                                                     "forwardSaveDocument:",
                                                     "forwardSaveDocumentAs:",
                                                     "forwardBytesPerRow8:",
                                                     "forwardBytesPerRow16:",
                                                     "forwardBytesPerRow32:",
                                                     "forwardAddBookmark:",
                                                     "forwardToggleInsertMode:",
                                                     "forwardRestoreLastSessionOffset:",
                                                     "forwardDeleteSelection:",
                                                     "forwardCut:",
                                                     "forwardPaste:",
                                                     "forwardInsertBytes:",
                                                     "forwardInsertFileAtOffset:",
                                                     "forwardAppendFileToEnd:",
                                                     "forwardFillSelection:",
                                                     "forwardCreateBackupCopy:",
                                                     "forwardSaveAtomicBackup:",
                                                     "forwardExportIntelHex:",
                                                     "forwardExportHexDump:",
                                                     "forwardExportDifferenceReport:",
                                                     "forwardApplyHexPatch:",
                                                     "forwardShowByteFrequency:",
                                                     "forwardShowChecksums:",
                                                     "forwardCompareWithFile:",
                                                     "forwardExportASCIIStrings:",
                                                     "forwardShowSelectionStatistics:",
                                                     "forwardShowFileInformation:",
                                                     "forwardOpenCompareWindow:",
                                                     "forwardEntropyMap:",
                                                     "forwardDetectFileStructure:",
                                                     "forwardStringsViewer:",
                                                     "forwardChecksumRange:",
                                                     "forwardPCIRomInfo:",
                                                     "forwardImportBookmarks:",
                                                     "forwardDryRunJSONPreset:",
                                                     "forwardApplyJSONPreset:"};
  for (const Menu& menu : mainMenu()) {
    for (const MenuItem& item : menu.items) {
      if (!isForwarded(item.action)) continue;
      EXPECT_EQ(isEnabled(item.action), ofAnEmptyDocument.contains(item.action)) << item.action;
    }
  }
  BusyScope busy = editor->context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  for (const std::string_view action : ofAnEmptyDocument) EXPECT_FALSE(isEnabled(action)) << action;
  EXPECT_TRUE(isEnabled("newDocument:"));
  busy.end();
}

TEST_F(AppCommands, areEnabledByTheDocument) {
  auto editor = openNow("data.bin", "hello");
  for (const char* action :
       {"forwardRevertDocument:", "forwardReloadFromDisk:", "forwardGoToOffset:",
        "forwardGoToStart:", "forwardGoToEnd:", "forwardSelectAll:", "forwardSelectRange:",
        "forwardCopyCurrentOffset:", "forwardExportSelection:", "forwardExportSelectionHexDump:",
        "forwardExportHexPatch:", "forwardValidateACPIChecksum:", "forwardFixACPIChecksum:",
        "forwardValidatePolarisChecksum:", "forwardFixPolarisChecksum:",
        "forwardApplyRx580MacOSPreset:", "forwardApplyRx580MacOSPresetAndFixChecksum:"}) {
    EXPECT_TRUE(isEnabled(action)) << action;
  }
  EXPECT_FALSE(isEnabled("forwardUndo:"));
  editor.editor().handleTextInput("4");
  EXPECT_TRUE(isEnabled("forwardUndo:"));
  EXPECT_FALSE(isEnabled("forwardRedo:"));
  editor->perform("forwardUndo:");
  EXPECT_TRUE(isEnabled("forwardRedo:"));
  for (const char* action :
       {"forwardNextBookmark:", "forwardPreviousBookmark:", "forwardShowBookmarks:",
        "forwardClearBookmarks:", "forwardExportBookmarks:"}) {
    EXPECT_FALSE(isEnabled(action)) << action;
  }
  platform.alerts.expect("Bookmarks", "Added bookmark at 0x00000000.");
  editor->perform("forwardAddBookmark:");
  for (const char* action :
       {"forwardNextBookmark:", "forwardPreviousBookmark:", "forwardShowBookmarks:",
        "forwardClearBookmarks:", "forwardExportBookmarks:"}) {
    EXPECT_TRUE(isEnabled(action)) << action;
  }
}

TEST_F(AppCommands, inATextViewAreEnabledByThatView) {
  openNow("data.bin", "hello");
  application.focus = TextFocus{};
  EXPECT_FALSE(isEnabled("forwardSelectAll:"));
  EXPECT_FALSE(isEnabled("forwardDeleteSelection:"));
  application.focus = TextFocus{.isEditable = true, .hasText = true, .hasSelection = true};
  for (const char* action : {"forwardCut:", "forwardCopy:", "forwardPaste:",
                             "forwardDeleteSelection:", "forwardSelectAll:"}) {
    EXPECT_TRUE(isEnabled(action)) << action;
  }
  EXPECT_FALSE(isEnabled("forwardUndo:"));
}

TEST_F(AppCommands, existForAllMenuRows) {
  const std::set<std::string_view> ofTheApplication{"forwardOpenDocument:"};
  for (const Menu& menu : mainMenu()) {
    for (const MenuItem& item : menu.items) {
      if (!isForwarded(item.action) || ofTheApplication.contains(item.action)) continue;
      EXPECT_TRUE(EditorCommands::find(item.action) != nullptr) << item.action;
    }
  }
}

}  // namespace
}  // namespace quillmor::test
