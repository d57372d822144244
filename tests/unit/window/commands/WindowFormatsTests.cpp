// Patches, presets and bookmark files, from the question which file until the document has changed.

#include <filesystem>
#include <string>

#include "support/WindowFixture.h"
#include "window/commands/WindowLimits.h"

namespace quillmor::test {
namespace {

constexpr const char* kBusy =
    "Another operation is already running. Wait for it to finish before editing.";

class WindowFormats : public WindowFixture {
 protected:
  /// Performs a command that reads `content` from the file it asks for.
  void performWith(const EditorUnderTest& editor, const char* action, std::string_view content,
                   const char* statusText) {
    platform.filePanels.openAnswers.push_back({folder.write("input", content)});
    editor->perform(action);
    EXPECT_TRUE(editor->isBusy());
    EXPECT_EQ(editor.window->statusText, statusText);
    platform.executor.runAll();
    EXPECT_FALSE(editor->isBusy());
  }

  void applyPatch(const EditorUnderTest& editor, std::string_view patch) {
    performWith(editor, "forwardApplyHexPatch:", patch, "Reading hex patch…");
  }

  void applyPreset(const EditorUnderTest& editor, std::string_view preset) {
    performWith(editor, "forwardApplyJSONPreset:", preset, "Applying JSON preset…");
  }

  void dryRunPreset(const EditorUnderTest& editor, std::string_view preset) {
    performWith(editor, "forwardDryRunJSONPreset:", preset, "Dry running JSON preset…");
  }

  void importBookmarks(const EditorUnderTest& editor, std::string_view file) {
    performWith(editor, "forwardImportBookmarks:", file, "Importing bookmarks…");
  }

  void bookmark(const EditorUnderTest& editor, std::int64_t offset) {
    platform.alerts.expect("Bookmarks",
                           "Added bookmark at 0x0000000" + std::to_string(offset) + ".");
    editor.editor().setCaretOffset(offset);
    editor->perform("forwardAddBookmark:");
  }

  static std::string undoName(const EditorUnderTest& editor) {
    return editor.document->undoManager().undoActionName();
  }
};

TEST_F(WindowFormats, exportTheSelectionAsAPatch) {
  auto editor = makeEditor("abcdef");
  editor.editor().setSelection({2, 3});
  platform.filePanels.saveAnswers.push_back(folder.location("out"));
  editor->perform("forwardExportHexPatch:");
  EXPECT_EQ(editor.window->statusText, "Exporting hex patch…");
  platform.alerts.expect("Export Hex Patch", "Saved: " + folder.location("out").path());
  platform.executor.runAll();
  EXPECT_EQ(folder.read("out"), "QuillmorPatch 1\nOFFSET 0x00000002\nDATA 63 64 65\n");
}

TEST_F(WindowFormats, exportTheByteAtTheCaretAsAPatch) {
  auto editor = makeEditor("abcdef");
  editor.editor().setCaretOffset(5);
  platform.filePanels.saveAnswers.push_back(folder.location("out"));
  editor->perform("forwardExportHexPatch:");
  platform.alerts.expect("Export Hex Patch", "Saved: " + folder.location("out").path());
  platform.executor.runAll();
  EXPECT_EQ(folder.read("out"), "QuillmorPatch 1\nOFFSET 0x00000005\nDATA 66\n");
}

TEST_F(WindowFormats, sayWhyAPatchWasNotExported) {
  auto editor = makeEditor("abcdef");
  platform.filePanels.saveAnswers.push_back(folder.location("missing/out"));
  editor->perform("forwardExportHexPatch:");
  platform.alerts.expect("Export Hex Patch Failed",
                         "The output destination directory is not available.");
  platform.executor.runAll();
  BusyScope busy = editor->context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  platform.alerts.expect("Export Hex Patch", kBusy);
  editor->perform("forwardExportHexPatch:");
  busy.end();
}

TEST_F(WindowFormats, refusePatchesThatNobodyCouldImport) {
  auto editor = makeEditor(std::string(maxPatchDataBytes + 1, 'a'));
  editor.editor().setSelection({0, maxPatchDataBytes + 1});
  platform.alerts.expect("Export Hex Patch",
                         "The selected range is too large to export as one text patch safely. "
                         "Export the raw selection or split the patch into smaller ranges.");
  editor->perform("forwardExportHexPatch:");
  editor.editor().setSelection({0, maxPatchDataBytes});
  platform.filePanels.saveAnswers.push_back(folder.location("out"));
  editor->perform("forwardExportHexPatch:");
  platform.alerts.expect("Export Hex Patch", "Saved: " + folder.location("out").path());
  platform.executor.runAll();
  EXPECT_LE(std::filesystem::file_size(folder.location("out").path()), maxPatchImportBytes);
}

TEST_F(WindowFormats, applyAPatch) {
  auto editor = makeEditor("abcdef");
  applyPatch(editor, "QuillmorPatch 1\nOFFSET 0x00000002\nDATA 58 59\n");
  EXPECT_EQ(editor.text(), "abXYef");
  EXPECT_EQ(editor.editor().caretOffset(), 2);
  EXPECT_EQ(editor.editor().selection(), (HexSelection{2, 2}));
  EXPECT_EQ(undoName(editor), "Apply Patch");
  EXPECT_TRUE(editor.document->isDocumentEdited());
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), "abcdef");
  EXPECT_FALSE(editor.document->isDocumentEdited());
}

TEST_F(WindowFormats, applyAPatchBeyondTheEnd) {
  auto editor = makeEditor("abc");
  bookmark(editor, 3);
  applyPatch(editor, "QuillmorPatch 1\nOFFSET 2\nDATA 58 59 5A\n");
  EXPECT_EQ(editor.text(), "abXYZ");
  EXPECT_EQ(editor->bookmarks().offsets(), std::vector<std::int64_t>{5});
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), "abc");
  EXPECT_EQ(editor->bookmarks().offsets(), std::vector<std::int64_t>{3});
}

TEST_F(WindowFormats, appendAPatchAtTheEnd) {
  auto editor = makeEditor("abc");
  applyPatch(editor, "QuillmorPatch 1\noffset 3\ndata 58\n");
  EXPECT_EQ(editor.text(), "abcX");
  platform.alerts.expect("Apply Hex Patch", "Patch offset is outside the file.");
  applyPatch(editor, "QuillmorPatch 1\nOFFSET 5\nDATA 58\n");
  EXPECT_EQ(editor.text(), "abcX");
}

TEST_F(WindowFormats, recordNothingForAPatchThatChangesNothing) {
  auto editor = makeEditor("abc");
  applyPatch(editor, "QuillmorPatch 1\nOFFSET 1\nDATA 62 63\n");
  EXPECT_FALSE(editor.document->isDocumentEdited());
  EXPECT_FALSE(editor.document->undoManager().canUndo());
}

TEST_F(WindowFormats, refuseAPatchThatMakesTheDocumentTooLarge) {
  auto editor = makeEditor("abc");
  editor.editor().setMaximumByteCount(4);
  platform.alerts.expect(
      "Apply Hex Patch",
      "The resulting document would exceed Quillmor's safe in-memory document limit of 4 bytes.");
  applyPatch(editor, "QuillmorPatch 1\nOFFSET 3\nDATA 58 59\n");
  applyPatch(editor, "QuillmorPatch 1\nOFFSET 3\nDATA 58\n");
  EXPECT_EQ(editor.text(), "abcX");
}

TEST_F(WindowFormats, sayWhatIsWrongWithAPatch) {
  const struct {
    const char* file;
    const char* message;
  } patches[] = {
      {"\xFF", "Patch file is not valid UTF-8 text."},
      {"QuillmorPatch 1\nOFFSET 0\nDATA 00\n\n",
       "Patch contains more lines than the supported format."},
      {"QuillmorPatch 2\nOFFSET 0\nDATA 00\n", "Invalid or unsupported Quillmor patch header."},
      {"QuillmorPatch 1\nLENGTH 0\nDATA 00\n", "Patch contains an unsupported field."},
      {"QuillmorPatch 1\nDATA 00\n", "Patch must contain exactly one valid OFFSET field."},
      {"QuillmorPatch 1\nOFFSET 0\n", "Patch must contain exactly one non-empty DATA field."},
      {"QuillmorPatch 1\nOFFSET 0\nDATA 00\n \t", "Invalid Quillmor patch file."},
  };
  auto editor = makeEditor("abc");
  for (const auto& patch : patches) {
    platform.alerts.expect("Apply Hex Patch Failed", patch.message);
    applyPatch(editor, patch.file);
  }
  platform.alerts.expect("Apply Hex Patch Failed", "Patch file is too large to import safely.");
  applyPatch(editor, std::string(maxPatchImportBytes + 1, ' '));
  EXPECT_EQ(editor.text(), "abc");
}

TEST_F(WindowFormats, dropAPatchWhoseWindowHasClosed) {
  auto editor = makeEditor("abc");
  platform.filePanels.openAnswers.push_back(
      {folder.write("input", "QuillmorPatch 1\nOFFSET 0\nDATA 58\n")});
  editor->perform("forwardApplyHexPatch:");
  editor.window->closeWindow();
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "abc");
}

constexpr const char* kPreset = R"({"name": "Swap", "rules": [
  {"name": "first", "find": "61 62", "replace": "58"},
  {"find": "58", "replace": "59 5A 59"}]})";
constexpr const char* kPresetReport =
    "Preset: Swap\nfirst: 2 match(es)\nRule 2: 2 match(es)\n\nTotal: 4 replacement(s)";

TEST_F(WindowFormats, dryRunAPreset) {
  auto editor = makeEditor("ab-ab");
  dryRunPreset(editor, kPreset);
  ASSERT_EQ(editor.window->reports.size(), 1U);
  EXPECT_EQ(editor.window->reports[0].first, "Dry Run JSON Preset");
  EXPECT_EQ(editor.window->reports[0].second, kPresetReport);
  EXPECT_EQ(editor.text(), "ab-ab");
  EXPECT_FALSE(editor.document->isDocumentEdited());
  EXPECT_FALSE(editor.document->undoManager().canUndo());
}

TEST_F(WindowFormats, applyAPreset) {
  auto editor = makeEditor("ab-ab");
  bookmark(editor, 2);
  applyPreset(editor, kPreset);
  ASSERT_EQ(editor.window->reports.size(), 1U);
  EXPECT_EQ(editor.window->reports[0].first, "Apply JSON Preset");
  EXPECT_EQ(editor.window->reports[0].second, kPresetReport);
  EXPECT_EQ(editor.text(), "YZY-YZY");
  EXPECT_EQ(editor->bookmarks().offsets(), std::vector<std::int64_t>{3});
  EXPECT_EQ(editor.editor().caretOffset(), 0);
  EXPECT_EQ(editor.editor().selection(), (HexSelection{0, 3}));
  EXPECT_EQ(undoName(editor), "Apply JSON Preset");
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), "ab-ab");
  EXPECT_EQ(editor->bookmarks().offsets(), std::vector<std::int64_t>{2});
  EXPECT_FALSE(editor.document->isDocumentEdited());
  editor->perform("forwardRedo:");
  EXPECT_EQ(editor.text(), "YZY-YZY");
}

TEST_F(WindowFormats, recordNothingForAPresetThatChangesNothing) {
  auto editor = makeEditor("abc");
  applyPreset(editor, R"({"rules": [{"name": "none", "find": "FF", "replace": "00"},
                                    {"name": "same", "find": "61", "replace": "61"}]})");
  ASSERT_EQ(editor.window->reports.size(), 1U);
  EXPECT_TRUE(editor.window->reports[0].second.ends_with(
      "none: 0 match(es)\nsame: 1 match(es)\n\nTotal: 1 replacement(s)"));
  EXPECT_FALSE(editor.document->isDocumentEdited());
  EXPECT_FALSE(editor.document->undoManager().canUndo());
}

TEST_F(WindowFormats, sayWhatIsWrongWithAPreset) {
  const std::string longName(513, 'n');
  const std::string rule = R"({"name": "r", "find": "00", "replace": "01"})";
  std::string rules = rule;
  for (int i = 1; i < 513; ++i) rules += "," + rule;
  const std::pair<std::string, std::string> presets[] = {
      {"{\"rules\":", "Preset file is not valid JSON."},
      {std::string(65, '[') + std::string(65, ']'),
       "Preset file is nested too deeply to import safely."},
      {"[]", "Preset must be a JSON object."},
      {R"({"name": ")" + longName + "\"}", "Preset name is too long to import safely."},
      {R"({"name": "n"})", "Preset is missing rules array."},
      {R"({"rules": [)" + rules + "]}", "Preset contains too many rules to apply safely."},
      {R"({"rules": [{"name": ")" + longName + R"(", "find": "00", "replace": "00"}]})",
       "Rule name at index 0 is too long to import safely."},
      {std::string(maxJSONPresetBytes + 1, ' '), "Preset file is too large to import safely."},
  };
  auto editor = makeEditor("abc");
  for (const auto& [file, message] : presets) {
    platform.alerts.expect("Apply JSON Preset Failed", message);
    applyPreset(editor, file);
    platform.alerts.expect("Dry Run JSON Preset Failed", message);
    dryRunPreset(editor, file);
  }
  EXPECT_EQ(editor.text(), "abc");
}

TEST_F(WindowFormats, sayWhichRuleOfAPresetIsWrong) {
  auto editor = makeEditor("abc");
  platform.alerts.expect("Apply JSON Preset Failed",
                         "Invalid rule at index 1: \"find\" must be hexadecimal bytes.");
  applyPreset(editor, R"({"rules": [{"find": "00", "replace": "01"},
                                    {"find": "0g", "replace": "01"}]})");
  EXPECT_EQ(editor.text(), "abc");
}

TEST_F(WindowFormats, refuseAPresetThatMakesTheDocumentTooLarge) {
  auto editor = makeEditor("abc");
  editor.editor().setMaximumByteCount(5);
  platform.alerts.expect("Apply JSON Preset Failed",
                         "JSON preset output would grow too much to process safely.");
  applyPreset(editor, R"({"rules": [{"find": "61", "replace": "58 58 58 58"}]})");
  EXPECT_EQ(editor.text(), "abc");
  applyPreset(editor, R"({"rules": [{"find": "61", "replace": "58 58 58"}]})");
  EXPECT_EQ(editor.text(), "XXXbc");
}

TEST_F(WindowFormats, exportAndImportBookmarks) {
  auto editor = makeEditor("abcdef");
  bookmark(editor, 4);
  bookmark(editor, 1);
  platform.filePanels.saveAnswers.push_back(folder.location("marks"));
  editor->perform("forwardExportBookmarks:");
  EXPECT_EQ(platform.filePanels.suggestedNames.back(), "Bookmarks.json");
  EXPECT_EQ(editor.window->statusText, "Exporting bookmarks…");
  platform.alerts.expect("Export Bookmarks",
                         "Exported 2 bookmark(s) to " + folder.location("marks").path());
  platform.executor.runAll();
  auto other = makeEditor("abcdef");
  platform.alerts.expect("Import Bookmarks", "Imported 2 bookmark(s)");
  importBookmarks(other, folder.read("marks"));
  EXPECT_EQ(other->bookmarks().offsets(), (std::vector<std::int64_t>{1, 4}));
  EXPECT_FALSE(other.document->isDocumentEdited());
}

TEST_F(WindowFormats, dropBookmarksBeyondTheEnd) {
  auto editor = makeEditor("abc");
  bookmark(editor, 2);
  platform.alerts.expect("Import Bookmarks", "Imported 2 bookmark(s)");
  importBookmarks(editor, "[4, 3, 0, 3, 9223372036854775807]");
  EXPECT_EQ(editor->bookmarks().offsets(), (std::vector<std::int64_t>{0, 3}));
}

TEST_F(WindowFormats, refuseToExportNoBookmarks) {
  auto editor = makeEditor("abc");
  platform.alerts.expect("Export Bookmarks", "No bookmarks to export.");
  editor->perform("forwardExportBookmarks:");
}

TEST_F(WindowFormats, sayWhyBookmarksWereNotExported) {
  auto editor = makeEditor("abc");
  bookmark(editor, 1);
  platform.filePanels.saveAnswers.push_back(folder.location("missing/marks"));
  editor->perform("forwardExportBookmarks:");
  platform.alerts.expect("Export Bookmarks Failed",
                         "The output destination directory is not available.");
  platform.executor.runAll();
}

TEST_F(WindowFormats, sayWhatIsWrongWithABookmarkFile) {
  std::string many = "[0";
  for (int i = 0; i < 100'000; ++i) many += ",0";
  const std::pair<std::string, std::string> files[] = {
      {"[1", "Bookmark file is not valid JSON."},
      {std::string(65, '[') + std::string(65, ']'),
       "Bookmark file is nested too deeply to import safely."},
      {R"({"format": "other", "bookmarks": []})",
       "Bookmark file has an unsupported format identifier."},
      {R"({"version": true, "bookmarks": []})", "Bookmark file has an unsupported version."},
      {R"({"version": 1})", "Bookmark file must contain a bookmarks array."},
      {many + "]", "Bookmark file contains too many entries to import safely."},
      {"[0, 1.5]", "Bookmark at index 1 is not an integer offset."},
      {"[-1]", "Bookmark at index 0 is not a valid non-negative integer offset."},
      {std::string(maxBookmarkImportBytes + 1, ' '),
       "Bookmark file is too large to import safely."},
  };
  auto editor = makeEditor("abc");
  bookmark(editor, 2);
  for (const auto& [file, message] : files) {
    platform.alerts.expect("Import Bookmarks Failed", message);
    importBookmarks(editor, file);
  }
  EXPECT_EQ(editor->bookmarks().offsets(), std::vector<std::int64_t>{2});
}

TEST_F(WindowFormats, waitForARunningOperation) {
  const std::pair<const char*, const char*> commands[] = {
      {"forwardApplyHexPatch:", "Apply Hex Patch"},
      {"forwardDryRunJSONPreset:", "Dry Run JSON Preset"},
      {"forwardApplyJSONPreset:", "Apply JSON Preset"},
      {"forwardExportBookmarks:", "Export Bookmarks"},
      {"forwardImportBookmarks:", "Import Bookmarks"}};
  auto editor = makeEditor("abc");
  BusyScope busy = editor->context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  for (const auto& [action, title] : commands) {
    platform.alerts.expect(title, kBusy);
    editor->perform(action);
  }
  busy.end();
}

TEST_F(WindowFormats, doNothingWithoutAFile) {
  auto editor = makeEditor("abc");
  bookmark(editor, 1);
  platform.filePanels.openAnswers.assign(4, {});
  platform.filePanels.saveAnswers.assign(2, std::nullopt);
  for (const char* action :
       {"forwardApplyHexPatch:", "forwardDryRunJSONPreset:", "forwardApplyJSONPreset:",
        "forwardExportBookmarks:", "forwardImportBookmarks:", "forwardExportHexPatch:"}) {
    editor->perform(action);
    EXPECT_FALSE(editor->isBusy());
  }
  EXPECT_TRUE(folder.names().empty());
}

}  // namespace
}  // namespace quillmor::test
