// Analyses of the document, from the command until the window that shows them; comparing with
// files.

#include <string>

#include "support/FailingAllocation.h"
#include "support/WindowFixture.h"
#include "window/commands/WindowLimits.h"

namespace quillmor::test {
namespace {

constexpr const char* kBusy =
    "Another operation is already running. Wait for it to finish before editing.";

class WindowReports : public WindowFixture {
 protected:
  using Report = std::pair<std::string, std::string>;

  /// What a command shows about `content`, after it was busy with `statusText`.
  Report reportOf(const EditorUnderTest& editor, const char* action, const char* statusText) {
    const auto before = editor.window->reports.size();
    editor->perform(action);
    EXPECT_TRUE(editor->isBusy()) << action;
    EXPECT_EQ(editor.window->statusText, statusText);
    platform.executor.runAll();
    EXPECT_FALSE(editor->isBusy()) << action;
    if (editor.window->reports.size() == before) return {"no report", action};
    return editor.window->reports.back();
  }
};

TEST_F(WindowReports, giveTheChecksumsOfTheDocument) {
  auto editor = makeEditor("123456789");
  const auto [title, report] = reportOf(editor, "forwardShowChecksums:", "Calculating checksums…");
  EXPECT_EQ(title, "Checksums");
  EXPECT_EQ(report,
            "Full document\nSize: 9 bytes\nCRC32: CBF43926\nAdler32: 091E01DE\nSUM8: DD\nSUM16: "
            "01DD\nSUM32: 000001DD\nMD5: 25f9e794323b453885f5181f1b624d0b\nSHA-1: "
            "f7c3bc1d808e04732adf679965ccc34ca7ae3441\nSHA-256: "
            "15e2b0d3c33891ebb0f1ef609ec419420c20e320ce94c65fbc8c3312448eb225\nEntropy: 3.1699 "
            "bits/byte");
}

TEST_F(WindowReports, giveTheChecksumsOfTheSelection) {
  auto editor = makeEditor("ab123456789");
  editor.editor().setSelection({2, 100});
  const auto report = reportOf(editor, "forwardShowChecksums:", "Calculating checksums…").second;
  EXPECT_TRUE(report.starts_with(
      "Selection 0x00000002 - 0x0000000A\nSize: 9 bytes\nCRC32: CBF43926\nAdler32: 091E01DE\n"))
      << report;
}

TEST_F(WindowReports, giveTheChecksumsOfARange) {
  constexpr const char* kQuestion =
      "Enter start offset and length. Decimal, 0xHEX, HEX, or HEXh are accepted.";
  auto editor = makeEditor("ab123456789");
  platform.alerts.expect("Checksum Range", kQuestion, "OK", {"0x2", "100"});
  const auto [title, report] =
      reportOf(editor, "forwardChecksumRange:", "Calculating range checksums…");
  EXPECT_EQ(title, "Checksum Range");
  EXPECT_TRUE(
      report.starts_with("Range: 0x00000002 - 0x0000000A\nLength: 9 bytes\nCRC32: CBF43926"))
      << report;
  platform.alerts.expect("Checksum Range", kQuestion, "OK", {"5", "0"});
  EXPECT_TRUE(reportOf(editor, "forwardChecksumRange:", "Calculating range checksums…")
                  .second.starts_with("Range: empty at 0x00000005\nLength: 0 bytes\nCRC32: "
                                      "00000000\nAdler32: 00000001\n"));
}

#if QUILLMOR_NEW_CAN_FAIL
TEST_F(WindowReports, sayWhyTheChecksumsOfARangeFailed) {
  auto editor = makeEditor("abc");
  platform.executor.aroundNextWork([](const std::function<void()>& work) {
    const FailingAllocation failing;
    work();
  });
  platform.alerts.expect(
      "Checksum Range", "Enter start offset and length. Decimal, 0xHEX, HEX, or HEXh are accepted.",
      "OK", {"0", "3"});
  editor->perform("forwardChecksumRange:");
  platform.alerts.expect("Checksum Range Failed", "Cannot allocate memory");
  platform.executor.runAll();
}
#endif

TEST_F(WindowReports, refuseRangesThatAreNone) {
  constexpr const char* kQuestion =
      "Enter start offset and length. Decimal, 0xHEX, HEX, or HEXh are accepted.";
  auto editor = makeEditor("abc");
  const std::vector<std::vector<std::string>> negative{{"-1", "1"}, {"0", "-1"}, {"0x-1", "-1"}};
  for (const auto& answers : negative) {
    platform.alerts.expectRefusedAnswer("Checksum Range", kQuestion, "OK", answers,
                                        "Start offset and length must be non-negative values.");
    editor->perform("forwardChecksumRange:");
  }
  platform.alerts.expectRefusedAnswer("Checksum Range", kQuestion, "OK", {"x", "-1"},
                                      "Enter a valid start offset and length.");
  editor->perform("forwardChecksumRange:");
  platform.alerts.expect("Checksum Range", kQuestion, "Cancel", {"0", "1"});
  editor->perform("forwardChecksumRange:");
  EXPECT_FALSE(editor->isBusy());
}

TEST_F(WindowReports, giveStatistics) {
  auto editor = makeEditor("xA");
  const auto [title, report] =
      reportOf(editor, "forwardShowSelectionStatistics:", "Calculating statistics…");
  EXPECT_EQ(title, "Selection Statistics");
  EXPECT_TRUE(report.starts_with("Scope: Document\nLength: 2 bytes\nEntropy: 1.0000 bits/byte\n"))
      << report;
  editor.editor().setSelection({1, 1});
  EXPECT_EQ(
      reportOf(editor, "forwardShowSelectionStatistics:", "Calculating statistics…").second,
      "Scope: Selection\nLength: 1 bytes\nEntropy: 0.0000 bits/byte\nUnique byte values: 1\n"
      "Minimum byte: 0x41\nMaximum byte: 0x41\n00 bytes: 0\nFF bytes: 0\nPrintable ASCII bytes: 1");
  auto empty = makeEditor("");
  EXPECT_EQ(reportOf(empty, "forwardShowSelectionStatistics:", "Calculating statistics…").second,
            "There are no bytes to analyze.");
}

TEST_F(WindowReports, giveInformationAboutTheFile) {
  const auto file = folder.write("rom.bin", "aabb");
  auto editor = openEditor(file);
  editor.editor().setCaretOffset(2);
  const auto [title, report] =
      reportOf(editor, "forwardShowFileInformation:", "Collecting file information…");
  EXPECT_EQ(title, "File Information");
  EXPECT_EQ(report, "Name: rom.bin\nPath: " + file.path() +
                        "\nSize: 4 bytes\nOffset: 0x00000002\nBytes per row: 16\nEdit mode: "
                        "Overwrite\nSelection: none\nFile entropy: 1.0000 bits/byte");
}

TEST_F(WindowReports, giveInformationAboutADocumentWithoutAFile) {
  auto editor = makeEditor("aabb");
  editor->perform("forwardToggleInsertMode:");
  editor->perform("forwardBytesPerRow8:");
  editor.editor().setSelection({1, 2});
  EXPECT_EQ(
      reportOf(editor, "forwardShowFileInformation:", "Collecting file information…").second,
      "Name: Untitled\nPath: Not saved\nSize: 4 bytes\nOffset: 0x00000000\nBytes per row: 8\nEdit "
      "mode: Insert\nSelection: 0x00000001 - 0x00000002 (2 bytes)\nSelection entropy: 1.0000 "
      "bits/byte\nFile entropy: 1.0000 bits/byte");
}

TEST_F(WindowReports, mapTheEntropy) {
  auto editor = makeEditor(std::string(4097, 'a'));
  const auto [title, report] = reportOf(editor, "forwardEntropyMap:", "Building entropy map…");
  EXPECT_EQ(title, "Entropy Map");
  EXPECT_TRUE(
      report.starts_with("Offset      Length  Entropy\n------------------------------\n"
                         "00000000    4096  0.0000\n00001000       1  0.0000"))
      << report;
  ASSERT_EQ(editor.window->entropyMaps.size(), 1U);
  EXPECT_EQ(editor.window->entropyMaps[0].byteCount, 4097);
  EXPECT_EQ(editor.window->entropyMaps[0].entropies, (std::vector<double>{0, 0}));
}

TEST_F(WindowReports, countTheBytes) {
  auto editor = makeEditor("aab");
  const auto [title, report] = reportOf(editor, "forwardShowByteFrequency:", "Counting bytes…");
  EXPECT_EQ(title, "Byte Frequency");
  EXPECT_TRUE(report.starts_with("Byte  Count      Percent\n---------------------------\n"))
      << report;
  ASSERT_EQ(editor.window->histograms.size(), 1U);
  EXPECT_EQ(editor.window->histograms[0]['a'], 2);
  EXPECT_EQ(editor.window->histograms[0]['b'], 1);
}

TEST_F(WindowReports, listStrings) {
  auto editor = makeEditor(std::string("abc\0abcd", 8));
  const auto [title, report] = reportOf(editor, "forwardStringsViewer:", "Finding strings…");
  EXPECT_EQ(title, "Strings Viewer");
  EXPECT_EQ(report, "Offset      Length  String\n00000004  4  abcd\n");
  auto none = makeEditor("abc");
  EXPECT_EQ(reportOf(none, "forwardStringsViewer:", "Finding strings…").second,
            "No printable ASCII strings with minimum length 4 were found.\n");
}

TEST_F(WindowReports, listNoMoreStringsThanAWindowHolds) {
  std::string content;
  for (int i = 0; i < 50'001; ++i) content.append("abcd", 5);
  auto editor = makeEditor(content);
  const auto report = reportOf(editor, "forwardStringsViewer:", "Finding strings…").second;
  EXPECT_TRUE(report.ends_with(
      "\nOutput truncated to fit the viewer limit. Export ASCII Strings to write the complete "
      "report.\nDisplayed strings: 50000\nTotal strings found: 50001\n"));
  auto longOne = makeEditor(std::string(maxUtilityReportCharacters, 'a'));
  const auto shortened = reportOf(longOne, "forwardStringsViewer:", "Finding strings…").second;
  EXPECT_TRUE(shortened.ends_with("\nDisplayed strings: 0\nTotal strings found: 1\n"));
}

TEST_F(WindowReports, mapNoMoreEntropyThanAWindowHolds) {
  auto editor = makeEditor(std::string(10'001 * 4096, 'a'));
  const auto report = reportOf(editor, "forwardEntropyMap:", "Building entropy map…").second;
  EXPECT_TRUE(report.ends_with(
      "\nOutput truncated to first 10000 chunk(s) to avoid excessive UI memory use.\nTotal chunks "
      "scanned: 10000"))
      << report.substr(report.size() - 200);
}

TEST_F(WindowReports, detectStructures) {
  auto editor = makeEditor("");
  const auto [title, report] =
      reportOf(editor, "forwardDetectFileStructure:", "Detecting file structure…");
  EXPECT_EQ(title, "File Structure Detector");
  EXPECT_EQ(report, "Detected structures:\n- Unknown / raw binary");
}

TEST_F(WindowReports, inspectOptionRoms) {
  auto editor = makeEditor("U\xAA");
  const auto [title, report] = reportOf(editor, "forwardPCIRomInfo:", "Inspecting PCI ROM…");
  EXPECT_EQ(title, "PCI ROM Info");
  EXPECT_EQ(report, "Not a PCI Option ROM: missing 55 AA signature.");
}

TEST_F(WindowReports, sayOnceThatTheWindowIsBusy) {
  auto editor = makeEditor("abc");
  BusyScope busy = editor->context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  for (const char* action :
       {"forwardShowChecksums:", "forwardShowSelectionStatistics:", "forwardShowFileInformation:",
        "forwardEntropyMap:", "forwardShowByteFrequency:", "forwardStringsViewer:",
        "forwardDetectFileStructure:", "forwardPCIRomInfo:", "forwardValidateACPIChecksum:"}) {
    platform.alerts.expect("Operation Busy", "Another operation is already running.");
    editor->perform(action);
  }
  EXPECT_TRUE(editor->isBusy());
  busy.end();
  EXPECT_TRUE(editor.window->reports.empty());
}

#if QUILLMOR_NEW_CAN_FAIL
TEST_F(WindowReports, sayWhyTheyFailed) {
  const struct {
    const char* action;
    const char* failureTitle;
  } reports[] = {{"forwardShowChecksums:", "Checksums Failed"},
                 {"forwardShowSelectionStatistics:", "Selection Statistics Failed"},
                 {"forwardShowFileInformation:", "File Information Failed"},
                 {"forwardEntropyMap:", "Entropy Map Failed"},
                 {"forwardShowByteFrequency:", "Byte Frequency Failed"},
                 {"forwardStringsViewer:", "Strings Viewer Failed"},
                 {"forwardDetectFileStructure:", "File Structure Detector Failed"},
                 {"forwardPCIRomInfo:", "PCI ROM Info Failed"}};
  auto editor = makeEditor("abcdef");
  for (const auto& report : reports) {
    platform.executor.aroundNextWork([](const std::function<void()>& work) {
      const FailingAllocation failing;
      work();
    });
    platform.alerts.expect(report.failureTitle, "Cannot allocate memory");
    editor->perform(report.action);
    platform.executor.runAll();
    EXPECT_FALSE(editor->isBusy());
  }
  EXPECT_TRUE(editor.window->reports.empty());
}
#endif

TEST_F(WindowReports, stopOnRequest) {
  auto editor = makeEditor(std::string(4 << 20, 'a'));
  for (const char* action :
       {"forwardShowChecksums:", "forwardShowSelectionStatistics:", "forwardShowFileInformation:",
        "forwardEntropyMap:", "forwardShowByteFrequency:", "forwardStringsViewer:"}) {
    editor->perform(action);
    editor->stopCurrentOperation();
    platform.executor.runAll();
    EXPECT_FALSE(editor->isBusy());
  }
  EXPECT_TRUE(editor.window->reports.empty());
}

class WindowComparing : public WindowReports {
 protected:
  void choose(const char* name) {
    platform.filePanels.openAnswers.push_back({folder.location(name)});
  }

  void compare(const EditorUnderTest& editor, const char* name) {
    choose(name);
    editor->perform("forwardCompareWithFile:");
    EXPECT_EQ(editor.window->statusText, "Comparing files…");
    platform.executor.runAll();
  }
};

TEST_F(WindowComparing, saysThatFilesAreIdentical) {
  folder.write("other", "abc");
  auto editor = makeEditor("abc");
  platform.alerts.expect("Compare With File",
                         "Files are identical.\n\nCompared file: other\nSize: 3 bytes");
  compare(editor, "other");
}

TEST_F(WindowComparing, countsWhatTheLongerFileHasMore) {
  folder.write("other", "0123456789AB");
  auto editor = makeEditor("0123456789");
  platform.alerts.expect("Compare With File",
                         "Files are different.\n\nCompared file: other\nCurrent size: 10 "
                         "bytes\nOther size: 12 bytes\nDifference count: 2\nFirst difference: "
                         "0x0000000A");
  compare(editor, "other");
  choose("other");
  const auto [title, report] = reportOf(editor, "forwardOpenCompareWindow:", "Comparing files…");
  EXPECT_EQ(title, "Compare");
  EXPECT_EQ(report,
            "Compared file: other\nCurrent size: 10\nOther size: 12\n\nOffset      Current  Other\n"
            "----------------------------\nSize differs by 2 byte(s).\nTotal differences: 0");
}

TEST_F(WindowComparing, saysWhyItFailed) {
  auto editor = makeEditor("abc");
  platform.alerts.expect("Compare With File Failed", "No such file or directory");
  compare(editor, "missing");
  platform.alerts.expect("Compare Failed", "No such file or directory");
  choose("missing");
  editor->perform("forwardOpenCompareWindow:");
  platform.executor.runAll();
  EXPECT_TRUE(editor.window->reports.empty());
}

TEST_F(WindowComparing, waitsForARunningOperation) {
  auto editor = makeEditor("abc");
  BusyScope busy = editor->context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  platform.alerts.expect("Compare With File", kBusy);
  editor->perform("forwardCompareWithFile:");
  platform.alerts.expect("Compare Window", kBusy);
  editor->perform("forwardOpenCompareWindow:");
  busy.end();
}

TEST_F(WindowComparing, doesNothingWithoutAFile) {
  auto editor = makeEditor("abc");
  platform.filePanels.openAnswers.assign(2, {});
  editor->perform("forwardCompareWithFile:");
  editor->perform("forwardOpenCompareWindow:");
  EXPECT_FALSE(editor->isBusy());
}

TEST_F(WindowReports, showAnOffset) {
  auto editor = makeEditor("abcdef");
  editor.editor().setSelection({1, 2});
  editor->commands().navigation().showOffset(4);
  EXPECT_EQ(editor.editor().caretOffset(), 4);
  EXPECT_EQ(editor.editor().selection(), HexSelection{});
  editor->commands().navigation().showOffset(100);
  EXPECT_EQ(editor.editor().caretOffset(), 6);
}

}  // namespace
}  // namespace quillmor::test
