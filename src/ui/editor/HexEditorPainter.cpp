#include "ui/editor/HexEditorPainter.h"

#include <algorithm>
#include <cmath>

#include "base/HexText.h"
#include "editor/HexRowsText.h"

namespace quillmor {

namespace Style = HexEditorStyle;

HexEditorPainter::HexEditorPainter(const QFont& font)
    : table_(font),
      metrics_(font),
      method_(table_.isComplete() ? CellText::Method::glyphRun : CellText::Method::text) {}

HexEditorPainter::PixelGrid::PixelGrid(const QTransform& toDevice) {
  if (toDevice.type() > QTransform::TxScale) return;
  scaleX = toDevice.m11();
  scaleY = toDevice.m22();
  offsetX = toDevice.dx();
  offsetY = toDevice.dy();
}

double HexEditorPainter::PixelGrid::x(double value) const {
  return (std::round(value * scaleX + offsetX) - offsetX) / scaleX;
}

double HexEditorPainter::PixelGrid::y(double value) const {
  return (std::round(value * scaleY + offsetY) - offsetY) / scaleY;
}

QRectF HexEditorPainter::Pass::rect(const Rect& documentRect) const {
  return {QPointF(x(documentRect.x), y(documentRect.y)),
          QPointF(x(documentRect.maxX()), y(documentRect.maxY()))};
}

HexEditorPainter::Pass HexEditorPainter::makePass(QPainter& painter, const QRectF& dirty,
                                                  const HexEditorState& state, View view) const {
  const PixelGrid grid(painter.deviceTransform());
  Pass pass{.painter = painter, .state = state, .geometry = state.geometry(), .grid = grid};
  // Whole device pixels here keep every row equally high while scrolling.
  pass.scroll = {std::round(view.scroll.x * grid.scaleX) / grid.scaleX,
                 std::round(view.scroll.y * grid.scaleY) / grid.scaleY};
  pass.viewportWidth = view.viewport.width;
  pass.dirtyTop = pass.scroll.y + dirty.top();
  pass.dirtyBottom = pass.scroll.y + dirty.bottom();
  pass.selection = state.selection().normalized(state.storage()->count());
  for (std::size_t column = 0; column < pass.asciiX.size(); ++column) {
    const double cell = pass.geometry.hexCellX(static_cast<std::int64_t>(column));
    pass.highDigitX[column] = pass.x(cell);
    pass.lowDigitX[column] = pass.x(cell + pass.geometry.charWidth());
    pass.asciiX[column] = pass.x(pass.geometry.asciiCellX(static_cast<std::int64_t>(column)));
  }
  return pass;
}

void HexEditorPainter::paint(QPainter& painter, const QRectF& dirty, const HexEditorState& state,
                             View view) {
  const Pass pass = makePass(painter, dirty, state, view);
  for (CellText* cells : {&headerText_, &offsetText_, &byteText_, &asciiText_}) cells->clear();

  const double rowHeight = pass.geometry.rowHeight();
  if (pass.dirtyTop < rowHeight) {
    fillHeader(pass);
    collectHeader(pass);
  }
  double undrawn = std::max(pass.dirtyTop, rowHeight);
  if (const auto rows = pass.geometry.rowsMeeting(pass.dirtyTop, pass.dirtyBottom, state.shape())) {
    for (std::int64_t row = rows->first; row <= rows->last; ++row) drawRow(pass, row);
    undrawn = pass.geometry.rowTop(rows->last + 1);
  }
  for (; undrawn < pass.dirtyBottom; undrawn += rowHeight) {
    fillBackground(pass, undrawn, undrawn + rowHeight);
  }
  drawTexts(pass);
  if (view.showsCaret) drawCaret(pass);
}

Style::Rgb HexEditorPainter::backgroundAt(const Pass& pass, double documentY) const {
  return Style::background(std::clamp(documentY / pass.geometry.frameSize().height, 0.0, 1.0));
}

double HexEditorPainter::baseline(const Pass& pass, double rowTop) const {
  return pass.y(rowTop + HexEditorGeometry::kTextInset + metrics_.ascent());
}

void HexEditorPainter::fillBackground(const Pass& pass, double top, double bottom) const {
  const QRectF strip(QPointF(0, pass.y(top)), QPointF(pass.viewportWidth, pass.y(bottom)));
  pass.painter.fillRect(strip, Style::color(backgroundAt(pass, (top + bottom) / 2)));
}

void HexEditorPainter::fillHeader(const Pass& pass) const {
  const double height = pass.geometry.rowHeight();
  const QRectF band(QPointF(0, pass.y(0)), QPointF(pass.viewportWidth, pass.y(height)));
  const Style::Rgb background = backgroundAt(pass, height / 2);
  pass.painter.fillRect(
      band, Style::color(Style::blended(background, Style::kHeaderBand, Style::kHeaderBandAlpha)));
}

void HexEditorPainter::addText(CellText& cells, const Pass& pass, std::string_view text,
                               double documentX, double y) const {
  for (const char c : text) {
    cells.add(c, pass.x(documentX), y);
    documentX += pass.geometry.charWidth();
  }
}

void HexEditorPainter::collectHeader(const Pass& pass) {
  const double y = baseline(pass, 0);
  addText(headerText_, pass, "Offset", HexEditorGeometry::kOffsetColumnX, y);
  for (std::int64_t column = 0; column < pass.state.bytesPerRow(); ++column) {
    addText(headerText_, pass, uppercaseHexByteStrings[static_cast<std::size_t>(column)],
            pass.geometry.hexCellX(column), y);
  }
  addText(headerText_, pass, "ASCII", pass.geometry.asciiStart(), y);
}

void HexEditorPainter::drawRow(const Pass& pass, std::int64_t row) {
  const Style::Rgb under = fillRow(pass, row);
  fillSelection(pass, row, under);
  collectRow(pass, row);
}

Style::Rgb HexEditorPainter::fillRow(const Pass& pass, std::int64_t row) const {
  const double top = pass.geometry.rowTop(row);
  Style::Rgb fill = backgroundAt(pass, top + pass.geometry.rowHeight() / 2);
  if (row % 2 == 0) fill = Style::blended(fill, Style::kZebraStripe, Style::kZebraStripeAlpha);
  const QRectF strip(QPointF(0, pass.y(top)),
                     QPointF(pass.viewportWidth, pass.y(pass.geometry.rowTop(row + 1))));
  pass.painter.fillRect(strip, Style::color(fill));
  return fill;
}

void HexEditorPainter::fillSelection(const Pass& pass, std::int64_t row, Style::Rgb under) const {
  const std::int64_t rowStart = row * pass.state.bytesPerRow();
  const std::int64_t first = std::max<std::int64_t>(pass.selection.start - rowStart, 0);
  const std::int64_t end =
      std::min(pass.selection.start + pass.selection.length - rowStart, pass.state.bytesPerRow());
  if (pass.selection.length < 1 || first >= end) return;
  const QColor color =
      Style::color(Style::blended(under, Style::kSelection, Style::kSelectionAlpha));
  for (std::int64_t column = first; column < end; ++column) {
    pass.painter.fillRect(pass.rect(pass.geometry.hexHighlight(row, column)), color);
  }
  // Neighbouring ASCII highlights overlap; filled one by one their seams would show.
  Rect ascii = pass.geometry.asciiHighlight(row, first);
  ascii.width = pass.geometry.asciiHighlight(row, end - 1).maxX() - ascii.x;
  pass.painter.fillRect(pass.rect(ascii), color);
}

void HexEditorPainter::collectRow(const Pass& pass, std::int64_t row) {
  const std::int64_t rowStart = row * pass.state.bytesPerRow();
  const double y = baseline(pass, pass.geometry.rowTop(row));
  addText(offsetText_, pass, HexRowsText::offsetText(rowStart), HexEditorGeometry::kOffsetColumnX,
          y);
  const ByteBuffer& bytes = pass.state.storage()->bytes;
  const std::int64_t length = std::min(pass.state.bytesPerRow(), bytes.size() - rowStart);
  if (length < 1) return;
  std::array<std::uint8_t, kMaxColumns> copied;
  const auto rowBytes = std::span(copied).first(static_cast<std::size_t>(length));
  bytes.copyTo(rowStart, rowBytes);
  std::size_t column = 0;
  for (const std::uint8_t byte : rowBytes) {
    const std::string_view digits = uppercaseHexByteStrings[byte];
    byteText_.add(digits[0], pass.highDigitX[column], y);
    byteText_.add(digits[1], pass.lowDigitX[column], y);
    asciiText_.add(printableASCIIByteStrings[byte][0], pass.asciiX[column], y);
    ++column;
  }
}

void HexEditorPainter::drawTexts(const Pass& pass) {
  headerText_.draw(pass.painter, table_, method_, Style::color(Style::kHeaderText));
  offsetText_.draw(pass.painter, table_, method_, Style::color(Style::kOffsetText));
  byteText_.draw(pass.painter, table_, method_, Style::color(Style::kByteText));
  asciiText_.draw(pass.painter, table_, method_, Style::color(Style::kAsciiText));
}

void HexEditorPainter::drawCaret(const Pass& pass) const {
  const Rect caret = pass.state.caretDrawingRect();
  QRectF bar = pass.rect(caret);
  // Rounding both edges would make the bar's width depend on its place.
  bar.setWidth(std::max(std::round(caret.width * pass.grid.scaleX), 1.0) / pass.grid.scaleX);
  pass.painter.fillRect(bar, Style::color(Style::kCaret));
}

}  // namespace quillmor
