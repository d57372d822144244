#include "editor/HexEditorGeometry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "base/SaturatingMath.h"

namespace quillmor {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

/// Cells of 8 by 20: columns at 102 (hex) and, with 16 per row, 514 (ASCII).
HexEditorGeometry laidOut(HexDocumentShape shape, Size viewport = {}) {
  HexEditorGeometry geometry;
  geometry.setFontMetrics(8, 13);
  geometry.recalcMetrics(shape, viewport);
  return geometry;
}

TEST(HexEditorGeometry, beginsWithPlaceholders) {
  const HexEditorGeometry geometry;
  EXPECT_EQ(geometry.charWidth(), 8);
  EXPECT_EQ(geometry.rowHeight(), 20);
  EXPECT_EQ(geometry.hexStart(), 112);
  EXPECT_EQ(geometry.asciiStart(), 0);
  EXPECT_EQ(geometry.desiredDocumentSize(), (Size{0, 0}));
}

TEST(HexEditorGeometry, takesTheFontsMeasuresOnce) {
  HexEditorGeometry geometry;
  geometry.setFontMetrics(7.5, 15);
  geometry.setFontMetrics(30, 40);
  geometry.recalcMetrics({.byteCount = 10, .bytesPerRow = 16}, {});
  EXPECT_EQ(geometry.charWidth(), 7.5);
  EXPECT_EQ(geometry.rowHeight(), 22);
  EXPECT_EQ(geometry.hexStart(), 75 + 22) << "ten characters for the offsets";
}

TEST(HexEditorGeometry, theFontsMeasuresReplaceALayoutMadeWithThePlaceholders) {
  const HexDocumentShape shape{.byteCount = 100, .bytesPerRow = 32};
  HexEditorGeometry early;
  early.recalcMetrics(shape, {300, 200});
  early.setFontMetrics(7.5, 15);
  EXPECT_TRUE(early.recalcMetrics(shape, {300, 200}));

  HexEditorGeometry expected;
  expected.setFontMetrics(7.5, 15);
  expected.recalcMetrics(shape, {300, 200});
  EXPECT_EQ(early.hexStart(), expected.hexStart());
  EXPECT_EQ(early.asciiStart(), expected.asciiStart());
  EXPECT_EQ(early.desiredDocumentSize(), expected.desiredDocumentSize());
  EXPECT_EQ(early.frameSize(), expected.frameSize());
}

TEST(HexEditorGeometry, neverMakesACellSmallerThanOnePixel) {
  HexEditorGeometry geometry;
  geometry.setFontMetrics(0.25, -9);
  geometry.recalcMetrics({.byteCount = 10, .bytesPerRow = 16}, {});
  EXPECT_EQ(geometry.charWidth(), 1);
  EXPECT_EQ(geometry.rowHeight(), 1);
  EXPECT_EQ(geometry.hexStart(), 10 + 22);
}

TEST(HexEditorGeometry, placesTheColumnsAndSizesTheDocument) {
  const auto geometry = laidOut({.byteCount = 100, .bytesPerRow = 16});
  EXPECT_EQ(geometry.hexStart(), 102);
  EXPECT_EQ(geometry.asciiStart(), 102 + 8 * 16 * 3 + 28);
  EXPECT_EQ(geometry.desiredDocumentSize().width, 8 * 16 + 514 + 24);
  EXPECT_EQ(geometry.desiredDocumentSize().height, 20 * (7 + 1));
  EXPECT_EQ(geometry.frameSize(), geometry.desiredDocumentSize());
}

TEST(HexEditorGeometry, frameCoversAtLeastTheViewport) {
  auto geometry = laidOut({.byteCount = 0, .bytesPerRow = 8}, {2000, 30});
  EXPECT_EQ(geometry.frameSize(), (Size{2000, 40}));
  EXPECT_TRUE(geometry.recalcMetrics({.byteCount = 0, .bytesPerRow = 8}, {2000, 900}));
  EXPECT_EQ(geometry.frameSize(), (Size{2000, 900}));
}

TEST(HexEditorGeometry, reportsAChangeOnlyWhenTheFrameChanges) {
  auto geometry = laidOut({.byteCount = 10, .bytesPerRow = 16}, {1000, 800});
  EXPECT_FALSE(geometry.recalcMetrics({.byteCount = 10, .bytesPerRow = 16}, {1000, 800}));
  EXPECT_FALSE(geometry.recalcMetrics({.byteCount = 11, .bytesPerRow = 16}, {1000, 800}));
  EXPECT_TRUE(geometry.recalcMetrics({.byteCount = 11, .bytesPerRow = 16}, {1001, 800}));
  EXPECT_TRUE(geometry.recalcMetrics({.byteCount = 16 * 50, .bytesPerRow = 16}, {1001, 800}));
}

TEST(HexEditorGeometry, columnsMoveWhenTheBytesPerRowChange) {
  auto geometry = laidOut({.byteCount = 10, .bytesPerRow = 16});
  geometry.recalcMetrics({.byteCount = 10, .bytesPerRow = 32}, {});
  EXPECT_EQ(geometry.asciiStart(), 102 + 8 * 32 * 3 + 28);
}

TEST(HexEditorGeometry, capsTheSizeOfHugeDocuments) {
  HexEditorGeometry geometry;
  geometry.setFontMetrics(8, 1e12);
  geometry.recalcMetrics({.byteCount = kMaxInt64, .bytesPerRow = 8}, {});
  EXPECT_EQ(geometry.desiredDocumentSize().height,
            HexEditorGeometry::maximumRepresentableDocumentDimension);
  HexEditorGeometry endless;
  endless.setFontMetrics(kInfinity, 13);
  endless.recalcMetrics({.byteCount = 1, .bytesPerRow = 8}, {});
  EXPECT_EQ(endless.desiredDocumentSize().width,
            HexEditorGeometry::maximumRepresentableDocumentDimension);
}

TEST(HexEditorGeometry, alwaysHasARowForTheEndPosition) {
  EXPECT_EQ(HexEditorGeometry::rowCount({.byteCount = 0, .bytesPerRow = 16}), 1);
  EXPECT_EQ(HexEditorGeometry::rowCount({.byteCount = 15, .bytesPerRow = 16}), 1);
  EXPECT_EQ(HexEditorGeometry::rowCount({.byteCount = 16, .bytesPerRow = 16}), 2);
  EXPECT_EQ(HexEditorGeometry::rowCount({.byteCount = 17, .bytesPerRow = 16}), 2);
  EXPECT_EQ(HexEditorGeometry::rowCount({.byteCount = 17, .bytesPerRow = 0}), 1);
  EXPECT_EQ(HexEditorGeometry::rowCount({.byteCount = kMaxInt64, .bytesPerRow = 1}), kMaxInt64);
}

TEST(HexEditorGeometry, convertsToIntegersBySaturation) {
  EXPECT_EQ(HexEditorGeometry::toInt(2.9), 2);
  EXPECT_EQ(HexEditorGeometry::toInt(-2.9), -2);
  EXPECT_EQ(HexEditorGeometry::toInt(9223372036854774784.0), kMaxInt64);
  EXPECT_EQ(HexEditorGeometry::toInt(-9223372036854774784.0), kMinInt64);
  EXPECT_EQ(HexEditorGeometry::toInt(9223372036854773760.0), 9223372036854773760);
  EXPECT_EQ(HexEditorGeometry::toInt(1e300), kMaxInt64);
  EXPECT_EQ(HexEditorGeometry::toInt(kInfinity), kMaxInt64);
  EXPECT_EQ(HexEditorGeometry::toInt(-kInfinity), kMinInt64);
  EXPECT_EQ(HexEditorGeometry::toInt(std::copysign(kNan, 1.0)), kMaxInt64);
  EXPECT_EQ(HexEditorGeometry::toInt(std::copysign(kNan, -1.0)), kMinInt64);
}

TEST(HexEditorGeometry, placesRowsCellsAndHighlights) {
  const auto geometry = laidOut({.byteCount = 100, .bytesPerRow = 16});
  EXPECT_EQ(geometry.rowTop(0), 20);
  EXPECT_EQ(geometry.rowTop(3), 80);
  EXPECT_EQ(geometry.hexCellX(2), 102 + 48);
  EXPECT_EQ(geometry.asciiCellX(2), 514 + 16);
  EXPECT_EQ(geometry.hexHighlight(1, 2), (Rect{148, 42, 20, 16}));
  EXPECT_EQ(geometry.asciiHighlight(1, 2), (Rect{529, 42, 10, 16}));
}

TEST(HexEditorGeometry, drawsTheCaretInItsColumn) {
  const auto geometry = laidOut({.byteCount = 100, .bytesPerRow = 16});
  EXPECT_EQ(geometry.caretDrawingRect({.offset = 0}, 16), (Rect{102, 23, 1.4, 14}));
  EXPECT_EQ(geometry.caretDrawingRect({.offset = 18, .area = EditingArea::ascii}, 16),
            (Rect{530, 43, 1.4, 14}));
  EXPECT_EQ(geometry.caretDrawingRect(
                {.offset = 18, .area = EditingArea::ascii, .highNibble = false}, 16),
            (Rect{530, 43, 1.4, 14}));
}

TEST(HexEditorGeometry, caretMovesOneCharacterAfterTheFirstDigit) {
  const auto geometry = laidOut({.byteCount = 100, .bytesPerRow = 16});
  const Rect high = geometry.caretDrawingRect({.offset = 5}, 16);
  const Rect low = geometry.caretDrawingRect({.offset = 5, .highNibble = false}, 16);
  EXPECT_EQ(low.x - high.x, geometry.charWidth());
  EXPECT_EQ(low.y, high.y);
}

TEST(HexEditorGeometry, caretAtTheEndOfAFullRowStandsOnTheNextOne) {
  const auto geometry = laidOut({.byteCount = 16, .bytesPerRow = 16});
  EXPECT_EQ(geometry.caretDrawingRect({.offset = 16}, 16), (Rect{102, 43, 1.4, 14}));
  EXPECT_LE(geometry.caretDrawingRect({.offset = 16}, 16).maxY(),
            geometry.desiredDocumentSize().height);
}

TEST(HexEditorGeometry, caretHasNoPlaceWithoutColumnsAndKeepsAHeight) {
  const auto geometry = laidOut({.byteCount = 16, .bytesPerRow = 16});
  EXPECT_EQ(geometry.caretDrawingRect({.offset = 3}, 0), Rect{});
  HexEditorGeometry flat;
  flat.setFontMetrics(8, -9);
  EXPECT_EQ(flat.caretDrawingRect({.offset = 3}, 16).height, 1);
}

TEST(HexEditorGeometry, findsTheRowsOfADirtyRectangle) {
  const HexDocumentShape shape{.byteCount = 160, .bytesPerRow = 16};
  const auto geometry = laidOut(shape);
  EXPECT_EQ(geometry.rowsMeeting(0, 20, shape), (RowRange{0, 2}));
  EXPECT_EQ(geometry.rowsMeeting(0, 10, shape), (RowRange{0, 1}));
  EXPECT_EQ(geometry.rowsMeeting(60, 79, shape), (RowRange{2, 4}));
  EXPECT_EQ(geometry.rowsMeeting(-500, 10000, shape), (RowRange{0, 10}));
  EXPECT_EQ(geometry.rowsMeeting(0, 1e300, shape), (RowRange{0, 10}));
  EXPECT_EQ(geometry.rowsMeeting(10000, 20000, shape), std::nullopt);
}

TEST(HexEditorGeometry, tellsTheVisibleRows) {
  const HexDocumentShape shape{.byteCount = 160, .bytesPerRow = 16};
  const auto geometry = laidOut(shape);
  EXPECT_EQ(geometry.visibleRows(0, 60, shape), (RowRange{0, 1}));
  EXPECT_EQ(geometry.visibleRows(0, 61, shape), (RowRange{0, 2}));
  EXPECT_EQ(geometry.visibleRows(39, 60, shape), (RowRange{0, 1}));
  EXPECT_EQ(geometry.visibleRows(40, 60, shape), (RowRange{1, 1}));
  EXPECT_EQ(geometry.visibleRows(0, 10, shape), (RowRange{0, 0}));
  EXPECT_EQ(geometry.visibleRows(100, 5000, shape), (RowRange{4, 10}));
  EXPECT_EQ(geometry.visibleRows(5000, 6000, shape), (RowRange{10, 10}));
}

TEST(HexEditorGeometry, keepsTheRowOfAVisibleCaretInItsPlace) {
  const HexDocumentShape shape{.byteCount = 1600, .bytesPerRow = 16};
  const auto geometry = laidOut(shape);
  // Row 10 has its top at 220.
  const PlaceInView place = geometry.placeToKeep(150, 100, 165, shape);
  EXPECT_EQ(place, (PlaceInView{.offset = 165, .distance = 70}));
  EXPECT_EQ(geometry.scrollFor(place, 8), 20 * 21 - 70) << "offset 165 is in row 20";
  EXPECT_EQ(geometry.scrollFor(place, 16), 150);
  EXPECT_EQ(geometry.scrollFor(place, 32), 20 * 6 - 70) << "offset 165 is in row 5";
}

TEST(HexEditorGeometry, keepsTheFirstVisibleRowWhereTheCaretIsNot) {
  const HexDocumentShape shape{.byteCount = 1600, .bytesPerRow = 16};
  const auto geometry = laidOut(shape);
  for (const std::int64_t caret : {0, 16 * 40}) {
    const PlaceInView place = geometry.placeToKeep(225, 100, caret, shape);
    EXPECT_EQ(place, (PlaceInView{.offset = 160, .distance = -5}));
    EXPECT_EQ(geometry.scrollFor(place, 8), 20 * 21 + 5);
    EXPECT_EQ(geometry.scrollFor(place, 32), 20 * 6 + 5);
  }
}

TEST(HexEditorGeometry, hasAsMuchContextAsTheViewportHasRoomFor) {
  const auto geometry = laidOut({.byteCount = 1600, .bytesPerRow = 16});
  EXPECT_EQ(geometry.contextAround(400, 3), 60);
  EXPECT_EQ(geometry.contextAround(140, 3), 60);
  EXPECT_EQ(geometry.contextAround(139, 3), 40);
  EXPECT_EQ(geometry.contextAround(60, 3), 20);
  EXPECT_EQ(geometry.contextAround(59, 3), 0);
  EXPECT_EQ(geometry.contextAround(0, 3), 0);
}

TEST(HexEditorGeometry, drawsNoRowsForNumbersThatAreNotFinite) {
  const HexDocumentShape shape{.byteCount = 160, .bytesPerRow = 16};
  const auto geometry = laidOut(shape);
  EXPECT_EQ(geometry.rowsMeeting(kNan, 10, shape), std::nullopt);
  EXPECT_EQ(geometry.rowsMeeting(0, kInfinity, shape), std::nullopt);
  HexEditorGeometry endless;
  endless.setFontMetrics(8, kInfinity);
  EXPECT_EQ(endless.rowsMeeting(0, 10, shape), std::nullopt);
}

TEST(HexEditorGeometry, findsTheByteUnderAPoint) {
  const HexDocumentShape shape{.byteCount = 160, .bytesPerRow = 16};
  const auto geometry = laidOut(shape);
  EXPECT_EQ(geometry.offsetFor({102, 20}, shape, 0), 0);
  EXPECT_EQ(geometry.offsetFor({102 + 24 * 3 + 23, 20 + 45}, shape, 0), 32 + 3);
  EXPECT_EQ(geometry.offsetFor({514, 41}, shape, 0), 16);
  EXPECT_EQ(geometry.offsetFor({514 + 8 * 7 + 7, 41}, shape, 0), 16 + 7);
}

TEST(HexEditorGeometry, pointsOutsideLandOnTheNearestByte) {
  const HexDocumentShape shape{.byteCount = 150, .bytesPerRow = 16};
  const auto geometry = laidOut(shape);
  EXPECT_EQ(geometry.offsetFor({150, 5}, shape, 0), 2) << "the header counts as row 0";
  EXPECT_EQ(geometry.offsetFor({150, -700}, shape, 0), 2);
  EXPECT_EQ(geometry.offsetFor({5000, 41}, shape, 0), 31);
  EXPECT_EQ(geometry.offsetFor({505, 41}, shape, 0), 31) << "the gap before the ASCII column";
  EXPECT_EQ(geometry.offsetFor({102, 5000}, shape, 0), 150);
  EXPECT_EQ(geometry.offsetFor({1e300, 1e300}, shape, 0), 150);
}

TEST(HexEditorGeometry, aClickLeftOfTheHexCellsLandsBeforeTheRow) {
  const HexDocumentShape shape{.byteCount = 160, .bytesPerRow = 16};
  const auto geometry = laidOut(shape);
  EXPECT_EQ(geometry.offsetFor({95, 61}, shape, 0), 32) << "less than a cell: still column 0";
  EXPECT_EQ(geometry.offsetFor({102 - 24 * 2, 61}, shape, 0), 30);
  EXPECT_EQ(geometry.offsetFor({0, 61}, shape, 0), 32 - 4);
  EXPECT_EQ(geometry.offsetFor({0, 21}, shape, 0), 0);
}

TEST(HexEditorGeometry, numbersThatAreNotFiniteKeepTheCaret) {
  const HexDocumentShape shape{.byteCount = 160, .bytesPerRow = 16};
  const auto geometry = laidOut(shape);
  EXPECT_EQ(geometry.offsetFor({kNan, 30}, shape, 7), 7);
  EXPECT_EQ(geometry.offsetFor({30, kInfinity}, shape, 700), 160);
  EXPECT_EQ(geometry.offsetFor({30, -kInfinity}, shape, -3), 0);
  HexEditorGeometry endless;
  endless.setFontMetrics(8, kInfinity);
  EXPECT_EQ(endless.offsetFor({1, 1}, shape, 9), 9);
}

TEST(HexEditorGeometry, reachesTheLastRowsOfHugeDocuments) {
  const HexDocumentShape shape{.byteCount = std::int64_t{1} << 30, .bytesPerRow = 8};
  const auto geometry = laidOut(shape);
  const std::int64_t lastRow = HexEditorGeometry::rowCount(shape) - 1;
  EXPECT_EQ(lastRow, 134'217'728);
  const double top = geometry.rowTop(lastRow);
  EXPECT_EQ(geometry.desiredDocumentSize().height, top + geometry.rowHeight());
  EXPECT_EQ(geometry.offsetFor({102 + 24, top - 1}, shape, 0), shape.byteCount - 8 + 1);
  EXPECT_EQ(geometry.rowsMeeting(top - 25, top + 20, shape), (RowRange{lastRow - 2, lastRow}));
}

TEST(HexEditorGeometry, saturatesOffsetsThatDoNotFit) {
  const HexDocumentShape shape{.byteCount = kMaxInt64, .bytesPerRow = 32};
  const auto geometry = laidOut(shape);
  EXPECT_EQ(geometry.offsetFor({102, 9e18}, shape, 0), kMaxInt64);
}

}  // namespace
}  // namespace quillmor
