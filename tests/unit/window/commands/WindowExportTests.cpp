// Exports, from the question where to until the alert that says so.

#include <functional>
#include <string>
#include <utility>

#include "support/FaultySystemCalls.h"
#include "support/WindowFixture.h"

namespace quillmor::test {
namespace {

constexpr const char* kBusy =
    "Another operation is already running. Wait for it to finish before editing.";

/// One export: how it is asked for and what it says.
struct ExportCase {
  const char* action;
  const char* title;
  const char* suggestedName;
  const char* statusText;
  const char* failureTitle;
};

constexpr ExportCase kExports[] = {
    {"forwardExportHexDump:", "Export Hex Dump", "HexDump.txt", "Exporting hex dump…",
     "Export Hex Dump Failed"},
    {"forwardExportSelectionHexDump:", "Export Selection Hex Dump", "Selection-HexDump.txt",
     "Exporting selection hex dump…", "Export Selection Hex Dump Failed"},
    {"forwardExportIntelHex:", "Export Intel HEX", "Export.hex", "Exporting Intel HEX…",
     "Intel HEX Export Failed"},
    {"forwardExportASCIIStrings:", "Export ASCII Strings", "ASCII-Strings.txt",
     "Exporting ASCII strings…", "Export ASCII Strings Failed"},
    {"forwardExportDifferenceReport:", "Export Difference Report", "Difference-Report.txt",
     "Exporting difference report…", "Export Difference Report Failed"},
    {"forwardExportSelection:", "Export Selection", "Selection.bin", "Exporting selection…",
     "Export Selection Failed"},
    {"forwardCreateBackupCopy:", "Create Backup Copy", "Untitled-backup.bin",
     "Creating backup copy…", "Create Backup Copy Failed"},
    {"forwardSaveAtomicBackup:", "Save Atomic Backup", "Untitled.bak", "Saving atomic backup…",
     "Save Backup Failed"},
};

class WindowExports : public WindowFixture {
 protected:
  /// Answers what the export asks before it asks where to.
  void answerQuestionsOf(const ExportCase& exported) {
    const std::string title = exported.title;
    if (title == "Export ASCII Strings")
      platform.alerts.expect(title, "Minimum printable ASCII string length.", "OK", {"4"});
    if (title == "Export Difference Report")
      platform.filePanels.openAnswers.push_back({folder.location("other")});
  }

  void perform(const EditorUnderTest& editor, const ExportCase& exported, const char* name) {
    answerQuestionsOf(exported);
    platform.filePanels.saveAnswers.push_back(folder.location(name));
    editor->perform(exported.action);
  }

  static std::string overwrites(const std::string& name) {
    return "Choose a different output destination. Writing to " + name +
           " would overwrite an open document or another input file.";
  }

  std::string saved(const char* name) const { return "Saved: " + folder.location(name).path(); }
};

TEST_F(WindowExports, sayWhereTheirFilesAre) {
  folder.write("other", "abcdEfgh");
  for (const ExportCase& exported : kExports) {
    auto editor = makeEditor("abcdefgh");
    const bool isBackupCopy = std::string(exported.title) == "Create Backup Copy";
    perform(editor, exported, "out");
    EXPECT_TRUE(editor->isBusy());
    EXPECT_EQ(editor.window->statusText, exported.statusText);
    EXPECT_EQ(platform.filePanels.suggestedNames.back(), exported.suggestedName);
    platform.alerts.expect(exported.title, (isBackupCopy ? "Saved backup: " : "Saved: ") +
                                               folder.location("out").path());
    platform.executor.runAll();
    EXPECT_TRUE(folder.exists("out")) << exported.title;
    EXPECT_EQ(platform.alerts.shown().back().buttons, std::vector<std::string>{"OK"});
    EXPECT_FALSE(editor.document->isDocumentEdited());
    EXPECT_FALSE(editor.document->location());
    std::filesystem::remove(folder.path() / "out");
  }
}

TEST_F(WindowExports, nameTheirFilesVisibly) {
  const std::string name = "o\nSaved: x\xE2\x81\xA7\xFF";
  const std::string shown = "o\\x0ASaved: x\\u{2067}\\xFF";
  auto editor = makeEditor("abcdefgh");
  platform.filePanels.saveAnswers = {folder.location(name)};
  editor->perform("forwardExportHexDump:");
  platform.alerts.expect("Export Hex Dump", "Saved: " + folder.path().string() + "/" + shown);
  platform.executor.runAll();
  EXPECT_EQ(folder.names(), std::vector<std::string>{name});

  auto opened = openEditor(folder.location(name));
  platform.filePanels.saveAnswers = {folder.location(name)};
  opened->perform("forwardExportHexDump:");
  platform.alerts.expect("Export Hex Dump Failed", overwrites(shown));
  platform.executor.runAll();
}

TEST_F(WindowExports, sayWhyTheyFailed) {
  folder.write("other", "abcdEfgh");
  for (const ExportCase& exported : kExports) {
    auto editor = makeEditor("abcdefgh");
    perform(editor, exported, "missing/out");
    platform.alerts.expect(exported.failureTitle,
                           "The output destination directory is not available.");
    platform.executor.runAll();
    EXPECT_FALSE(editor->isBusy());
  }
  EXPECT_EQ(folder.names(), std::vector<std::string>{"other"});
}

TEST_F(WindowExports, neverLandOnAnOpenDocument) {
  folder.write("other", "abcdEfgh");
  const auto own = folder.write("own", "abcdefgh");
  const auto second = folder.write("second", "second");
  auto editor = openEditor(own);
  auto neighbour = openEditor(second);
  for (const ExportCase& exported : kExports) {
    for (const char* name : {"own", "second"}) {
      perform(editor, exported, name);
      platform.alerts.expect(exported.failureTitle, overwrites(name));
      platform.executor.runAll();
    }
  }
  EXPECT_EQ(folder.read("own"), "abcdefgh");
  EXPECT_EQ(folder.read("second"), "second");
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"other", "own", "second"}));
}

TEST_F(WindowExports, leaveNothingBehindWhenStopped) {
  folder.write("other", std::string(4 << 20, 'b'));
  for (const ExportCase& exported : kExports) {
    auto editor = makeEditor(std::string(4 << 20, 'a'));
    editor.editor().setSelection({0, 4 << 20});
    perform(editor, exported, "out");
    editor->stopCurrentOperation();
    platform.executor.runAll();
    EXPECT_FALSE(editor->isBusy());
    EXPECT_EQ(folder.names(), std::vector<std::string>{"other"}) << exported.title;
  }
}

TEST_F(WindowExports, leaveNothingBehindWhenStoppedWithTheFileHalfWritten) {
  folder.write("other", std::string(2 << 20, 'b'));
  for (const ExportCase& exported : kExports) {
    for (const SystemCall moment : {SystemCall::write, SystemCall::fsync}) {
      auto editor = makeEditor(std::string(2 << 20, 'a'));
      editor.editor().setSelection({0, 2 << 20});
      perform(editor, exported, "out");
      FaultySystemCalls calls;
      const ScopedSystemCalls scope(calls);
      calls.before(moment, 1, [&] { editor->stopCurrentOperation(); });
      platform.executor.runAll();
      EXPECT_FALSE(editor->isBusy());
      EXPECT_GE(calls.count(moment), 1) << exported.title;
      EXPECT_EQ(folder.names(), std::vector<std::string>{"other"}) << exported.title;
    }
  }
}

TEST_F(WindowExports, doNothingWithoutADestination) {
  folder.write("other", "");
  auto editor = makeEditor("abcdefgh");
  for (const ExportCase& exported : kExports) {
    answerQuestionsOf(exported);
    platform.filePanels.saveAnswers.push_back(std::nullopt);
    editor->perform(exported.action);
    EXPECT_FALSE(editor->isBusy());
  }
  EXPECT_EQ(folder.names(), std::vector<std::string>{"other"});
}

TEST_F(WindowExports, waitForARunningOperation) {
  auto editor = makeEditor("abcdefgh");
  BusyScope busy = editor->context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  for (const ExportCase& exported : kExports) {
    platform.alerts.expect(exported.title, kBusy);
    editor->perform(exported.action);
  }
  busy.end();
}

TEST_F(WindowExports, areSilentWhenTheWindowClosesMeanwhile) {
  folder.write("other", "");
  for (const ExportCase& exported : kExports) {
    auto editor = makeEditor("abcdefgh");
    perform(editor, exported, "out");
    editor.window->closeWindow();
    platform.executor.runAll();
  }
}

TEST_F(WindowExports, writeAHexDumpOfTheDocument) {
  auto editor = makeEditor("0123456789abcdef!");
  perform(editor, kExports[0], "out");
  platform.alerts.expect("Export Hex Dump", saved("out"));
  platform.executor.runAll();
  EXPECT_EQ(folder.read("out"),
            "00000000  30 31 32 33 34 35 36 37 38 39 61 62 63 64 65 66  |0123456789abcdef|\n"
            "00000010  21                                               |!|\n");
}

TEST_F(WindowExports, dumpTheSelectionUnderItsOwnOffsets) {
  auto editor = makeEditor("0123456789abcdef!");
  editor.editor().setSelection({3, 2});
  perform(editor, kExports[1], "out");
  platform.alerts.expect("Export Selection Hex Dump", saved("out"));
  platform.executor.runAll();
  EXPECT_EQ(folder.read("out"),
            "00000003  33 34                                            |34|\n");
}

TEST_F(WindowExports, takeTheByteAtTheCaretWhereNothingIsSelected) {
  auto editor = makeEditor("abc");
  editor.editor().setCaretOffset(1);
  perform(editor, kExports[5], "out");
  platform.alerts.expect("Export Selection", saved("out"));
  platform.executor.runAll();
  EXPECT_EQ(folder.read("out"), "b");
}

TEST_F(WindowExports, refuseWhereThereIsNoByte) {
  auto editor = makeEditor("abc");
  editor.editor().setCaretOffset(3);
  for (const char* title : {"Export Selection", "Export Selection Hex Dump", "Export Hex Patch"}) {
    platform.alerts.expect(title, "There is no byte at the current offset to export.");
  }
  editor->perform("forwardExportSelection:");
  editor->perform("forwardExportSelectionHexDump:");
  editor->perform("forwardExportHexPatch:");
}

TEST_F(WindowExports, writeOnlyTheSelectedBytes) {
  auto editor = makeEditor(std::string("a\0b\nc", 5));
  editor.editor().setSelection({1, 3});
  perform(editor, kExports[5], "out");
  platform.alerts.expect("Export Selection", saved("out"));
  platform.executor.runAll();
  EXPECT_EQ(folder.read("out"), std::string("\0b\n", 3));
}

TEST_F(WindowExports, writeIntelHex) {
  auto editor = makeEditor("ab");
  perform(editor, kExports[2], "out");
  platform.alerts.expect("Export Intel HEX", saved("out"));
  platform.executor.runAll();
  EXPECT_EQ(folder.read("out"), ":020000040000FA\n:0200000061623B\n:00000001FF\n");
}

TEST_F(WindowExports, writeAnEmptyDocumentToo) {
  auto editor = makeEditor("");
  perform(editor, kExports[2], "out.hex");
  platform.alerts.expect("Export Intel HEX", saved("out.hex"));
  platform.executor.runAll();
  EXPECT_EQ(folder.read("out.hex"), ":00000001FF\n");
  perform(editor, kExports[6], "copy");
  platform.alerts.expect("Create Backup Copy", "Saved backup: " + folder.location("copy").path());
  platform.executor.runAll();
  EXPECT_EQ(folder.read("copy"), "");
}

TEST_F(WindowExports, askForTheLengthOfStrings) {
  auto editor = makeEditor(std::string("abc\0abcd", 8));
  perform(editor, kExports[3], "out");
  EXPECT_EQ(platform.alerts.shown().back().fields.at(0).text, "4");
  platform.alerts.expect("Export ASCII Strings", saved("out"));
  platform.executor.runAll();
  EXPECT_EQ(folder.read("out"), "Offset      Length  String\n00000004  4  abcd\n");
}

TEST_F(WindowExports, refuseStringsOfNoLength) {
  auto editor = makeEditor("abc");
  for (const char* length : {"0", "-1", "many", "", "9223372036854775808"}) {
    platform.alerts.expectRefusedAnswer("Export ASCII Strings",
                                        "Minimum printable ASCII string length.", "OK", {length},
                                        "Enter a number of 1 or more.");
    editor->perform("forwardExportASCIIStrings:");
  }
  platform.alerts.expect("Export ASCII Strings", "Minimum printable ASCII string length.", "Cancel",
                         {"4"});
  editor->perform("forwardExportASCIIStrings:");
}

TEST_F(WindowExports, compareWithAFileThatIsProtectedToo) {
  folder.write("other", "aXc");
  auto editor = makeEditor("abc");
  perform(editor, kExports[4], "other");
  platform.alerts.expect("Export Difference Report Failed", overwrites("other"));
  platform.executor.runAll();
  EXPECT_EQ(folder.read("other"), "aXc");
  perform(editor, kExports[4], "out");
  platform.alerts.expect("Export Difference Report", saved("out"));
  platform.executor.runAll();
  EXPECT_EQ(folder.read("out"),
            "Quillmor Difference Report\nCompared file: other\nCurrent size: 3 bytes\nCompared "
            "size: 3 bytes\n\nOffset      Current  Compared\n-----------------------------\n"
            "00000001  0x62     0x58\n\nTotal differences: 1");
}

TEST_F(WindowExports, stopAtTheQuestionWhichFileToCompare) {
  auto editor = makeEditor("abc");
  platform.filePanels.openAnswers.push_back({});
  editor->perform("forwardExportDifferenceReport:");
  EXPECT_FALSE(editor->isBusy());
}

TEST_F(WindowExports, suggestBackupsBesideTheFile) {
  auto editor = openEdited(folder.write("rom.bin", "abc"));
  perform(editor, kExports[6], "copy");
  EXPECT_EQ(platform.filePanels.suggestedNames.back(), "rom-backup.bin");
  platform.alerts.expect("Create Backup Copy", "Saved backup: " + folder.location("copy").path());
  platform.executor.runAll();
  perform(editor, kExports[7], "atomic");
  EXPECT_EQ(platform.filePanels.suggestedNames.back(), "rom.bin.bak");
  platform.alerts.expect("Save Atomic Backup", saved("atomic"));
  platform.executor.runAll();
  EXPECT_EQ(folder.read("copy"), "Jbc");
  EXPECT_EQ(folder.read("atomic"), "Jbc");
  EXPECT_EQ(folder.read("rom.bin"), "abc");
  EXPECT_TRUE(editor.document->isDocumentEdited());
  EXPECT_EQ(editor.document->location(), folder.location("rom.bin"));
}

TEST_F(WindowExports, replaceAFileThatIsNobodys) {
  folder.write("out", "what was there");
  auto editor = makeEditor("abc");
  perform(editor, kExports[6], "out");
  platform.alerts.expect("Create Backup Copy", "Saved backup: " + folder.location("out").path());
  platform.executor.runAll();
  EXPECT_EQ(folder.read("out"), "abc");
}

TEST_F(WindowExports, keepTheBytesOfTheMomentTheyBegan) {
  auto editor = makeEditor("abc");
  perform(editor, kExports[6], "out");
  editor.document->storage()->bytes.set(0, 'X');
  platform.alerts.expect("Create Backup Copy", "Saved backup: " + folder.location("out").path());
  platform.executor.runAll();
  EXPECT_EQ(folder.read("out"), "abc");
}

TEST_F(WindowExports, cannotBeStoppedOnceTheFileIsComplete) {
  auto editor = makeEditor("abc");
  perform(editor, kExports[6], "out");
  platform.executor.runOneWork();
  editor->stopCurrentOperation();
  platform.alerts.expect("Create Backup Copy", "Saved backup: " + folder.location("out").path());
  platform.executor.runAll();
  EXPECT_EQ(folder.read("out"), "abc");
}

TEST_F(WindowExports, saveTheReportOfAWindow) {
  auto editor = makeEditor("abc");
  platform.filePanels.saveAnswers.push_back(folder.location("report"));
  editor->commands().exporting().saveReport("Checksums", "CRC32: 352441C2");
  EXPECT_EQ(platform.filePanels.suggestedNames.back(), "Checksums.txt");
  EXPECT_EQ(editor.window->statusText, "Saving report…");
  platform.alerts.expect("Save Report", saved("report"));
  platform.executor.runAll();
  EXPECT_EQ(folder.read("report"), "CRC32: 352441C2");
  platform.filePanels.saveAnswers.push_back(folder.location("missing/report"));
  editor->commands().exporting().saveReport("Checksums", "");
  platform.alerts.expect("Save Report Failed",
                         "The output destination directory is not available.");
  platform.executor.runAll();
  BusyScope busy = editor->context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  platform.alerts.expect("Save Report", kBusy);
  editor->commands().exporting().saveReport("Checksums", "");
  busy.end();
}

}  // namespace
}  // namespace quillmor::test
