// What commands check before they start, and how a report is cut to what a window can show.

#include "document/QuillmorResourceLimits.h"
#include "search/typed/TypedInput.h"
#include "support/WindowFixture.h"
#include "window/commands/UtilityReport.h"
#include "window/commands/WindowLimits.h"

namespace quillmor::test {
namespace {

constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kLowest = std::numeric_limits<std::int64_t>::min();

class CommandChecks : public WindowFixture {
 protected:
  void expectGenerationRefused(std::int64_t count) {
    platform.alerts.expect("Fill", "Requested operation would generate " + std::to_string(count) +
                                       " byte(s). The safety limit is 268435456 bytes to avoid "
                                       "memory pressure.");
    EXPECT_FALSE(editor->context().validateGeneratedByteCount(count, "Fill"));
  }

  void expectResultRefused(std::int64_t removing, std::int64_t inserting) {
    platform.alerts.expect("Insert",
                           "The resulting document would exceed Quillmor's safe in-memory document "
                           "limit of 100 bytes.");
    EXPECT_FALSE(
        editor->context().validateResultingDocumentByteCount(removing, inserting, "Insert"));
  }

  bool allowsResult(std::int64_t removing, std::int64_t inserting) {
    return editor->context().validateResultingDocumentByteCount(removing, inserting, "Insert");
  }

  EditorUnderTest editor = makeEditor("0123456789");
};

TEST_F(CommandChecks, giveTheNormalisedSelection) {
  editor.editor().setSelection({4, 100});
  EXPECT_EQ(editor->context().activeSelectionOrAlert("Fill"), (HexSelection{4, 6}));
}

TEST_F(CommandChecks, refuseAnEmptySelection) {
  platform.alerts.expect("Fill", "Select one or more bytes first.");
  EXPECT_EQ(editor->context().activeSelectionOrAlert("Fill"), std::nullopt);
  EXPECT_EQ(platform.alerts.shown().back().buttons, std::vector<std::string>{"OK"});
}

TEST_F(CommandChecks, refuseASelectionWhileBusy) {
  editor.editor().setSelection({0, 3});
  BusyScope busy = editor->context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  platform.alerts.expect(
      "Fill", "Another operation is already running. Wait for it to finish before editing.");
  EXPECT_EQ(editor->context().activeSelectionOrAlert("Fill"), std::nullopt);
  busy.end();
}

TEST_F(CommandChecks, allowASelectionOfExactlyTheLimitAndRefuseOneByteMore) {
  editor.document->storage()->bytes = ByteBuffer::uninitialized(maxGeneratedInputBytes + 1);
  editor.editor().setSelection({1, maxGeneratedInputBytes});
  EXPECT_EQ(editor->context().activeSelectionOrAlert("Fill"),
            (HexSelection{1, maxGeneratedInputBytes}));
  editor.editor().setSelection({0, maxGeneratedInputBytes + 1});
  platform.alerts.expect("Fill",
                         "Selected range is 268435457 byte(s). The in-memory edit safety limit is "
                         "268435456 bytes to avoid memory pressure.");
  EXPECT_EQ(editor->context().activeSelectionOrAlert("Fill"), std::nullopt);
}

TEST_F(CommandChecks, boundWhatACommandGenerates) {
  EXPECT_TRUE(editor->context().validateGeneratedByteCount(0, "Fill"));
  EXPECT_TRUE(editor->context().validateGeneratedByteCount(268435455, "Fill"));
  EXPECT_TRUE(editor->context().validateGeneratedByteCount(268435456, "Fill"));
  expectGenerationRefused(268435457);
  expectGenerationRefused(-1);
  expectGenerationRefused(kLargest);
  expectGenerationRefused(kLowest);
}

TEST_F(CommandChecks, boundTheResultingDocument) {
  editor.editor().setMaximumByteCount(100);
  EXPECT_TRUE(allowsResult(0, 89));
  EXPECT_TRUE(allowsResult(0, 90));
  expectResultRefused(0, 91);
  EXPECT_TRUE(allowsResult(10, 100));
  expectResultRefused(10, 101);
}

TEST_F(CommandChecks, clampWhatIsRemovedAndInserted) {
  editor.editor().setMaximumByteCount(100);
  EXPECT_TRUE(allowsResult(kLargest, 100));
  expectResultRefused(kLargest, 101);
  EXPECT_TRUE(allowsResult(-5, 90));
  expectResultRefused(kLowest, 91);
  EXPECT_TRUE(allowsResult(0, kLowest));
  expectResultRefused(0, kLargest);
}

TEST_F(CommandChecks, useTheDocumentLimitOfTheMachine) {
  const std::int64_t limit = QuillmorResourceLimits::maximumDocumentByteCount();
  EXPECT_TRUE(allowsResult(0, limit - 10));
  platform.alerts.expect("Insert",
                         "The resulting document would exceed Quillmor's safe in-memory document "
                         "limit of " +
                             std::to_string(limit) + " bytes.");
  EXPECT_FALSE(allowsResult(0, limit - 9));
}

TEST(WindowLimits, areThoseThatCommandsRelyOn) {
  EXPECT_EQ(UndoRecords::maxUndoSnapshotBytes, 67'108'864);
  EXPECT_EQ(maxGeneratedInputBytes, 268'435'456);
  EXPECT_EQ(backgroundEditThresholdBytes, 1'048'576);
  EXPECT_EQ(maxClipboardTextSourceBytes, 16'777'216);
  EXPECT_EQ(maxBookmarkImportBytes, 8'388'608);
  EXPECT_EQ(Bookmarks::maxBookmarkEntries, 100'000U);
  EXPECT_EQ(backgroundSearchThresholdBytes, 1'048'576);
  EXPECT_EQ(maxPatchDataBytes, 16'777'216);
  EXPECT_EQ(maxJSONPresetBytes, 8'388'608);
  EXPECT_EQ(maxUtilityReportCharacters, 4'194'304);
  EXPECT_EQ(kPatchTemplate.size(), 32U);
  EXPECT_EQ(maxPatchImportBytes, 50'331'696);
}

constexpr const char* kNote =
    "\n\n[Report truncated in viewer to avoid excessive UI memory use. Export a report file for "
    "complete output when available.]\n";

std::string repeated(std::string_view scalar, std::int64_t count) {
  std::string text;
  text.reserve(scalar.size() * static_cast<std::size_t>(count));
  for (std::int64_t i = 0; i < count; ++i) text += scalar;
  return text;
}

TEST(UtilityReport, isShownWholeUpToTheLimitInScalarsOfAnyLength) {
  // A quarter of the limit times four scalars of one, two, three and four bytes.
  const std::string whole = repeated("aé€😀", 1'048'576);
  EXPECT_TRUE(truncatedUtilityReport(whole) == whole);
  for (const char* more : {"a", "é", "😀ab"}) {
    EXPECT_TRUE(truncatedUtilityReport(whole + more) == whole + kNote) << more;
  }
  EXPECT_EQ(truncatedUtilityReport(""), "");
}

TEST_F(CommandChecks, reportsAreShownUnderTheirTitle) {
  editor->context().showUtilityReport("Checksums", "line\n");
  ASSERT_EQ(editor.window->reports.size(), 1U);
  EXPECT_EQ(editor.window->reports[0].first, "Checksums");
  EXPECT_EQ(editor.window->reports[0].second, "line\n");
  const std::string whole(4'194'304, 'x');
  editor->context().showUtilityReport("Long", whole + "x");
  EXPECT_TRUE(editor.window->reports[1].second == whole + kNote);
}

}  // namespace
}  // namespace quillmor::test
