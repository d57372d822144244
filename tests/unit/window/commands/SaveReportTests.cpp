#include "window/commands/SaveReport.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <ctime>
#include <sstream>

#include "recovery/SaveRecords.h"
#include "support/ErrorMatchers.h"
#include "support/WindowFixture.h"

namespace quillmor::test {
namespace {

/// Outlives what is kept in it.
class StateFolder {
 protected:
  TemporaryFolder state;
  RecordStore store{state.location("quillmor/recovery")};
};

class SaveReport : public WindowFixture {
 protected:
  SaveReport() {
    ::setenv("TZ", "UTC", 1);
    ::tzset();
  }

  const FileLocation file = FileLocation::fromPath("/folder/data.bin");
  const SaveReceipt receipt{.status = {.inode = 7, .size = 3},
                            .byteCount = 3,
                            .time = 1700000000,
                            .sha256 = "aa11",
                            .steps = {"First.", "Second.\nName: second"}};
};

TEST_F(SaveReport, showsWhatWasSavedAndWhatTheDiskHas) {
  EXPECT_EQ(saveReport(file, receipt, ReadBack{.sha256 = "aa11", .status = receipt.status}, 8200),
            "File: /folder/data.bin\n"
            "Saved: 2023-11-14 22:13:20\n"
            "Size: 3 bytes\n"
            "Records on disk: 8200 bytes\n\n"
            "SHA-256 saved:   aa11\n"
            "SHA-256 on disk: aa11\n"
            "The disk has the bytes that were saved.\n\n"
            "Steps:\n"
            "1. First.\n"
            "2. Second.\n"
            "   Name: second\n");
}

TEST_F(SaveReport, tellsADefectiveDiskFromALaterChange) {
  const auto text = [&](const ReadBack& read) { return saveReport(file, receipt, read, 0); };
  EXPECT_THAT(text({.sha256 = "bb", .status = receipt.status}),
              testing::HasSubstr("THE DISK HAS OTHER BYTES THAN WERE SAVED."));
  StableFileStatus changed = receipt.status;
  changed.changeSeconds = 1;
  EXPECT_THAT(text({.sha256 = "bb", .status = changed}),
              testing::HasSubstr("The file has been changed since it was saved."));
  EXPECT_THAT(text({.sha256 = "aa11", .status = changed}),
              testing::HasSubstr("The disk has the bytes that were saved."));
}

TEST_F(SaveReport, saysWhyAFileCannotBeReadBack) {
  EXPECT_THAT(saveReport(file, receipt, Error::posix(5, "No reading."), 0),
              testing::HasSubstr("SHA-256 on disk: -\n"
                                 "The file could not be read back: No reading."));
  EXPECT_THROW(saveReport(file, receipt, Error::stopped(), 0), Error);
}

TEST_F(SaveReport, saysWhenNoDigestWasTaken) {
  SaveReceipt without = receipt;
  without.sha256.clear();
  EXPECT_THAT(saveReport(file, without, ReadBack{.sha256 = "bb", .status = receipt.status}, 0),
              testing::HasSubstr("SHA-256 saved:   -\n"));
}

TEST_F(SaveReport, isShownByTheCommand) {
  const auto location = folder.write("data.bin", "hello");
  auto editor = openEdited(location);
  platform.alerts.expect("Last Save", "This document has not been saved since it was opened.");
  editor->perform("forwardShowLastSave:");
  editor->perform("forwardSaveDocument:");
  platform.executor.runAll();
  editor->perform("forwardShowLastSave:");
  platform.executor.runAll();
  ASSERT_EQ(editor.window->reports.size(), 1u);
  EXPECT_EQ(editor.window->reports[0].first, "Last Save");
  EXPECT_THAT(editor.window->reports[0].second,
              testing::AllOf(testing::HasSubstr("Size: 5 bytes"),
                             testing::HasSubstr("rewritten in place and flushed.")));
}

/// A document whose saves are made safe as those of the program.
class ReportOfASafeSave : private StateFolder, public WindowFixture {
 protected:
  ReportOfASafeSave() : WindowFixture(std::make_shared<SaveRecords>(store)) { records = &store; }

  std::string lastSave(const EditorUnderTest& editor) {
    editor->perform("forwardShowLastSave:");
    platform.executor.runAll();
    return editor.window->reports.back().second;
  }
};

TEST_F(ReportOfASafeSave, hasNoLineThatIsWiderThanItsWindow) {
  auto editor = openEdited(folder.write("data.bin", "hello"));
  editor->perform("forwardSaveDocument:");
  platform.executor.runAll();
  const std::string report = lastSave(editor);
  EXPECT_THAT(report, testing::HasSubstr("1. The new bytes were kept and flushed (8197 bytes).\n"
                                         "   Folder: "));
  EXPECT_THAT(report, testing::HasSubstr(".qrec\n2. "));
  std::istringstream lines(report);
  for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 90U) << line;
}

TEST_F(ReportOfASafeSave, countsTheRecordsOfTheDocument) {
  auto editor = openEdited(folder.write("data.bin", "hello"));
  editor->perform("forwardSaveDocument:");
  platform.executor.runAll();
  EXPECT_THAT(lastSave(editor), testing::HasSubstr("Records on disk: 0 bytes\n"));
  type(editor, "E");
  EXPECT_TRUE(editor->unsavedChanges().keepNow());
  const std::int64_t byteCount = editor->unsavedChanges().bytesOnDisk();
  ASSERT_GT(byteCount, RecordHeader::kByteCount);
  EXPECT_THAT(lastSave(editor),
              testing::HasSubstr("Records on disk: " + std::to_string(byteCount) + " bytes\n"));
}

TEST_F(SaveReport, isOfThisDocumentOnly) {
  auto editor = openEdited(folder.write("data.bin", "hello"));
  editor->perform("forwardSaveDocument:");
  platform.executor.runAll();
  editor->commands().replacement().openURLInCurrentWindow(folder.write("other.bin", "x"),
                                                          [](auto) {});
  platform.executor.runAll();
  EXPECT_FALSE(editor.document->lastSave());
}

}  // namespace
}  // namespace quillmor::test
