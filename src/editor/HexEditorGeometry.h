#pragma once

#include <cstdint>
#include <optional>

#include "editor/GeometryTypes.h"

namespace quillmor {

/// The column that the caret types into.
enum class EditingArea { hex, ascii };

/// The facts, besides the font, that the layout of a document depends on.
struct HexDocumentShape {
  std::int64_t byteCount = 0;
  std::int64_t bytesPerRow = 16;
  bool operator==(const HexDocumentShape&) const = default;
};

/// Where the caret stands: a byte, a column, and which of the byte's two digits.
struct CaretPlace {
  std::int64_t offset = 0;
  EditingArea area = EditingArea::hex;
  bool highNibble = true;
};

/// Rows `first`...`last`, both included.
struct RowRange {
  std::int64_t first = 0;
  std::int64_t last = 0;
  bool operator==(const RowRange&) const = default;
};

/// A byte, and the distance from the top of the viewport down to the top of its row.
struct PlaceInView {
  std::int64_t offset = 0;
  double distance = 0;
  bool operator==(const PlaceInView&) const = default;
};

/// The arithmetic of the hex view: where rows, cells, highlights and the caret lie in the document,
/// and which byte lies under a point. Knows no widget and holds no bytes. Main thread only.
///
/// The document is a header line, then one row after another. All coordinates are document
/// coordinates: the header's top left corner is (0, 0) whatever part of the document is shown.
class HexEditorGeometry {
 public:
  /// Caps each dimension of the document: the largest double below 2^63.
  static constexpr double maximumRepresentableDocumentDimension = 9223372036854774784.0;

  /// From the top of the header or of a row down to the top of its line of text: the text's
  /// baseline lies this distance plus the font's ascent below the row's top.
  static constexpr double kTextInset = 4;

  /// The x coordinate of the header's "Offset" and of the row offsets.
  static constexpr double kOffsetColumnX = 12;

  /// Returns `value` truncated toward zero, or the nearest signed 64-bit value if it does not fit.
  /// Infinities and NaN give the largest value, or the smallest if the sign bit is set.
  static std::int64_t toInt(double value);

  /// Returns the number of rows, at least 1. The position just past the last byte always has a row,
  /// so a full last row is followed by an empty one. 1 when `bytesPerRow` is below 1.
  static std::int64_t rowCount(HexDocumentShape shape);

  /// Takes the measures of the view's font: the width of the string "W", and the height of the
  /// font's bounding rectangle, to which a row adds 7. Only the first call counts; the font never
  /// changes. The next `recalcMetrics` lays out anew, because the layout so far used placeholders.
  void setFontMetrics(double widthOfW, double fontHeight);

  /// Lays the document out again. Columns and the desired size are computed only when `shape`
  /// differs from the last layout's. Returns whether `frameSize` changed.
  bool recalcMetrics(HexDocumentShape shape, Size viewport);

  double charWidth() const { return charWidth_; }
  double rowHeight() const { return rowHeight_; }
  double hexStart() const { return hexStart_; }
  double asciiStart() const { return asciiStart_; }

  /// The size that shows all rows and columns.
  Size desiredDocumentSize() const { return desiredDocumentSize_; }

  /// The size of the document as laid out: the desired size, but never smaller than the viewport.
  Size frameSize() const { return frameSize_; }

  /// The top of data row `row`; row 0 lies under the header.
  double rowTop(std::int64_t row) const;

  /// The left edge of the cells of byte column `column`.
  double hexCellX(std::int64_t column) const;
  double asciiCellX(std::int64_t column) const;

  /// The highlighted area under the cell of a selected byte.
  Rect hexHighlight(std::int64_t row, std::int64_t column) const;
  Rect asciiHighlight(std::int64_t row, std::int64_t column) const;

  /// The caret's bar; the zero rectangle when `bytesPerRow` is below 1.
  Rect caretDrawingRect(CaretPlace caret, std::int64_t bytesPerRow) const;

  /// The data rows to draw for a dirty rectangle that spans `minY`...`maxY`. None when nothing is
  /// to be drawn or the numbers are not finite.
  std::optional<RowRange> rowsMeeting(double minY, double maxY, HexDocumentShape shape) const;

  /// The data rows that are at least partly within `minY`...`maxY`, or the nearest row if there is
  /// none. The numbers are finite.
  RowRange visibleRows(double minY, double maxY, HexDocumentShape shape) const;

  /// The height that a viewport of `viewportHeight` can show above and below a row: whole rows, at
  /// most `rows` of them.
  double contextAround(double viewportHeight, std::int64_t rows) const;

  /// Returns the place to keep still when the row length changes, in a viewport of `viewportHeight`
  /// scrolled to `scrollY`. That is the caret if its row is visible, else the first visible row.
  /// The numbers are finite.
  PlaceInView placeToKeep(double scrollY, double viewportHeight, std::int64_t caretOffset,
                          HexDocumentShape shape) const;

  /// Returns the scroll position at which `place` keeps its distance from the top; not clamped to
  /// the document.
  double scrollFor(const PlaceInView& place, std::int64_t bytesPerRow) const;

  /// The offset under `point`, 0...`shape.byteCount`. Left of the hex cells the column is negative
  /// on purpose: such a click lands a few bytes before its row. `caretOffset` (clamped) is the
  /// answer when the numbers are not finite.
  std::int64_t offsetFor(Point point, HexDocumentShape shape, std::int64_t caretOffset) const;

 private:
  std::int64_t columnFor(double x, std::int64_t bytesPerRow) const;
  void layOutColumns(HexDocumentShape shape);

  // Placeholders until the font is measured and the document laid out.
  double charWidth_ = 8;
  double rowHeight_ = 20;
  double offsetWidth_ = 92;
  double hexStart_ = 112;
  double asciiStart_ = 0;
  bool metricsInitialized_ = false;
  HexDocumentShape lastMetricShape_{.byteCount = -1, .bytesPerRow = -1};
  Size lastMetricViewportSize_{-1, -1};
  Size desiredDocumentSize_;
  Size frameSize_;
};

}  // namespace quillmor
