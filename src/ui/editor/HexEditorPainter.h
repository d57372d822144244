#pragma once

#include <QFontMetrics>
#include <QPainter>
#include <QRectF>
#include <array>
#include <cstdint>

#include "editor/GeometryTypes.h"
#include "editor/HexEditorState.h"
#include "ui/editor/CellText.h"
#include "ui/editor/GlyphTable.h"
#include "ui/editor/HexEditorStyle.h"

namespace quillmor {

/// Draws a hex view: only the rows that meet the dirty rectangle, first opaque backgrounds, then
/// each colour's text in one go, the caret last. GUI thread only.
///
/// All edges and baselines are put on whole device pixels, so the picture is crisp at any scale
/// factor. The background gradient is stepped by rows: it spans eight grey levels over the whole
/// document, and a row in one colour needs no blending.
class HexEditorPainter {
 public:
  explicit HexEditorPainter(const QFont& font);

  /// The measures that the layout is computed from.
  double widthOfW() const { return metrics_.horizontalAdvance(QLatin1Char('W')); }
  /// Ascent plus descent, in place of the height of the font's bounding rectangle, which the
  /// toolkit does not report.
  double fontHeight() const { return metrics_.height(); }

  CellText::Method method() const { return method_; }
  /// For comparison; the constructor chooses the fastest that works.
  void setMethod(CellText::Method method) { method_ = method; }

  /// The facts, besides the state, that drawing needs.
  struct View {
    Point scroll;  ///< document coordinates of the viewport's top left corner
    Size viewport;
    bool showsCaret = false;
  };

  /// Draws the part of the viewport inside `dirty`. The painter's coordinates are the viewport's.
  void paint(QPainter& painter, const QRectF& dirty, const HexEditorState& state, View view);

 private:
  /// The most bytes of a row.
  static constexpr std::size_t kMaxColumns = 32;

  /// The painter's device pixels; only translated and scaled painters are snapped.
  struct PixelGrid {
    double scaleX = 1;
    double scaleY = 1;
    double offsetX = 0;
    double offsetY = 0;

    explicit PixelGrid(const QTransform& toDevice);
    double x(double value) const;
    double y(double value) const;
  };

  /// The values that stay the same during one repaint.
  struct Pass {
    QPainter& painter;
    const HexEditorState& state;
    const HexEditorGeometry& geometry;
    PixelGrid grid;
    Point scroll{};
    double viewportWidth = 0;
    double dirtyTop = 0;  ///< document coordinates
    double dirtyBottom = 0;
    HexSelection selection{};
    /// Where the characters of the byte columns begin, in viewport coordinates.
    std::array<double, kMaxColumns> highDigitX{};
    std::array<double, kMaxColumns> lowDigitX{};
    std::array<double, kMaxColumns> asciiX{};

    double x(double documentX) const { return grid.x(documentX - scroll.x); }
    double y(double documentY) const { return grid.y(documentY - scroll.y); }
    QRectF rect(const Rect& documentRect) const;
  };

  Pass makePass(QPainter& painter, const QRectF& dirty, const HexEditorState& state,
                View view) const;
  HexEditorStyle::Rgb backgroundAt(const Pass& pass, double documentY) const;
  double baseline(const Pass& pass, double rowTop) const;
  void fillBackground(const Pass& pass, double top, double bottom) const;
  void fillHeader(const Pass& pass) const;
  void collectHeader(const Pass& pass);
  void drawRow(const Pass& pass, std::int64_t row);
  HexEditorStyle::Rgb fillRow(const Pass& pass, std::int64_t row) const;
  void fillSelection(const Pass& pass, std::int64_t row, HexEditorStyle::Rgb under) const;
  void collectRow(const Pass& pass, std::int64_t row);
  void drawTexts(const Pass& pass);
  void drawCaret(const Pass& pass) const;
  void addText(CellText& cells, const Pass& pass, std::string_view text, double documentX,
               double y) const;

  GlyphTable table_;
  QFontMetrics metrics_;
  CellText::Method method_;
  CellText headerText_;
  CellText offsetText_;
  CellText byteText_;
  CellText asciiText_;
};

}  // namespace quillmor
