#include "tools/edits/EditChecks.h"

#include <gtest/gtest.h>

#include "base/SaturatingMath.h"

namespace quillmor {
namespace {

constexpr std::int64_t kMinInt64 = -kMaxInt64 - 1;

TEST(EditChecks, limitWhatIsEditedAtOnce) {
  EXPECT_EQ(refusalOfEditing(0), std::nullopt);
  EXPECT_EQ(refusalOfEditing(268'435'456), std::nullopt);
  EXPECT_EQ(refusalOfEditing(268'435'457),
            "Selected range is 268435457 byte(s). The in-memory edit safety limit is 268435456 "
            "bytes to avoid memory pressure.");
}

TEST(EditChecks, limitWhatIsGenerated) {
  EXPECT_EQ(refusalOfGenerating(0), std::nullopt);
  EXPECT_EQ(refusalOfGenerating(268'435'456), std::nullopt);
  EXPECT_EQ(refusalOfGenerating(268'435'457),
            "Requested operation would generate 268435457 byte(s). The safety limit is 268435456 "
            "bytes to avoid memory pressure.");
  EXPECT_EQ(refusalOfGenerating(-1),
            "Requested operation would generate -1 byte(s). The safety limit is 268435456 bytes to "
            "avoid memory pressure.");
}

TEST(EditChecks, limitTheResult) {
  const std::string refusal =
      "The resulting document would exceed Quillmor's safe in-memory document limit of 100 bytes.";
  EXPECT_EQ(refusalOfResult(60, 0, 40, 100), std::nullopt);
  EXPECT_EQ(refusalOfResult(60, 0, 41, 100), refusal);
  EXPECT_EQ(refusalOfResult(60, 10, 50, 100), std::nullopt);
  EXPECT_EQ(refusalOfResult(60, 10, 51, 100), refusal);
  EXPECT_EQ(refusalOfResult(100, 0, 0, 100), std::nullopt);
  EXPECT_EQ(refusalOfResult(101, 0, 0, 100), refusal);
  EXPECT_EQ(refusalOfResult(0, 0, 268'435'457, 268'435'456),
            "The resulting document would exceed Quillmor's safe in-memory document limit of "
            "268435456 bytes.");
}

TEST(EditChecks, takeNoMoreAwayThanThereIs) {
  EXPECT_EQ(refusalOfResult(60, 61, 100, 100), std::nullopt);
  EXPECT_NE(refusalOfResult(60, kMaxInt64, 101, 100), std::nullopt);
  EXPECT_EQ(refusalOfResult(60, -5, 40, 100), std::nullopt);
  EXPECT_NE(refusalOfResult(60, -5, 41, 100), std::nullopt);
  EXPECT_NE(refusalOfResult(60, kMinInt64, 41, 100), std::nullopt);
}

TEST(EditChecks, takeANegativeInsertionForNone) {
  EXPECT_EQ(refusalOfResult(100, 0, -1, 100), std::nullopt);
  EXPECT_NE(refusalOfResult(101, 0, kMinInt64, 100), std::nullopt);
}

TEST(EditChecks, refuseAResultThatOverflows) {
  EXPECT_NE(refusalOfResult(1, 0, kMaxInt64, kMaxInt64), std::nullopt);
  EXPECT_EQ(refusalOfResult(1, 1, kMaxInt64, kMaxInt64), std::nullopt);
}

TEST(EditChecks, limitTheClipboard) {
  EXPECT_EQ(refusalOfCopying(16'777'216), std::nullopt);
  EXPECT_EQ(refusalOfCopying(16'777'217),
            "The selected range is too large to place on the pasteboard safely. Export the "
            "selection to a file instead.");
  EXPECT_EQ(refusalOfClipboardText(16'777'216), std::nullopt);
  EXPECT_EQ(refusalOfClipboardText(16'777'217),
            "The selected range is too large to convert into clipboard text safely. Export the "
            "range to a file instead.");
}

TEST(EditChecks, limitATextPatch) {
  EXPECT_EQ(refusalOfHexPatch(16'777'216), std::nullopt);
  EXPECT_EQ(refusalOfHexPatch(16'777'217),
            "The selected range is too large to export as one text patch safely. Export the raw "
            "selection or split the patch into smaller ranges.");
}

TEST(EditChecks, needAGroupToSwap) {
  EXPECT_EQ(refusalOfSwapping(1, 2), "Selection must contain at least 2 bytes.");
  EXPECT_EQ(refusalOfSwapping(2, 2), std::nullopt);
  EXPECT_EQ(refusalOfSwapping(3, 4), "Selection must contain at least 4 bytes.");
  EXPECT_EQ(refusalOfSwapping(4, 4), std::nullopt);
  EXPECT_EQ(refusalOfSwapping(0, 4), "Selection must contain at least 4 bytes.");
}

TEST(EditChecks, noteTheBytesBehindTheLastGroup) {
  EXPECT_EQ(noteOnTrailingBytes(6, 2), std::nullopt);
  EXPECT_EQ(noteOnTrailingBytes(7, 2),
            "Completed. 1 trailing byte(s) were left unchanged because the selection length is not "
            "divisible by 2.");
  EXPECT_EQ(noteOnTrailingBytes(8, 4), std::nullopt);
  EXPECT_EQ(noteOnTrailingBytes(11, 4),
            "Completed. 3 trailing byte(s) were left unchanged because the selection length is not "
            "divisible by 4.");
}

}  // namespace
}  // namespace quillmor
