#include "editor/HexEditorGeometry.h"

#include <algorithm>
#include <cmath>

#include "base/SaturatingMath.h"

namespace quillmor {

namespace {

double representableDimension(double value) {
  constexpr double kMaximum = HexEditorGeometry::maximumRepresentableDocumentDimension;
  return std::isfinite(value) && value < kMaximum ? value : kMaximum;
}

bool isPositiveAndFinite(double value) {
  return std::isfinite(value) && value > 0;
}

}  // namespace

std::int64_t HexEditorGeometry::toInt(double value) {
  if (!std::isfinite(value)) return std::signbit(value) ? kMinInt64 : kMaxInt64;
  if (value <= -maximumRepresentableDocumentDimension) return kMinInt64;
  if (value >= maximumRepresentableDocumentDimension) return kMaxInt64;
  return static_cast<std::int64_t>(value);
}

std::int64_t HexEditorGeometry::rowCount(HexDocumentShape shape) {
  if (shape.bytesPerRow < 1) return 1;
  return saturatingAdd(shape.byteCount / shape.bytesPerRow, 1);
}

void HexEditorGeometry::setFontMetrics(double widthOfW, double fontHeight) {
  if (metricsInitialized_) return;
  charWidth_ = std::max(widthOfW, 1.0);
  rowHeight_ = std::max(fontHeight + 7, 1.0);
  offsetWidth_ = charWidth_ * 10;
  metricsInitialized_ = true;
  lastMetricShape_ = {.byteCount = -1, .bytesPerRow = -1};
  lastMetricViewportSize_ = {-1, -1};
}

bool HexEditorGeometry::recalcMetrics(HexDocumentShape shape, Size viewport) {
  if (shape == lastMetricShape_) {
    if (viewport == lastMetricViewportSize_) return false;
  } else {
    layOutColumns(shape);
  }
  lastMetricViewportSize_ = viewport;
  const Size size{std::max(viewport.width, desiredDocumentSize_.width),
                  std::max(viewport.height, desiredDocumentSize_.height)};
  if (size == frameSize_) return false;
  frameSize_ = size;
  return true;
}

void HexEditorGeometry::layOutColumns(HexDocumentShape shape) {
  lastMetricShape_ = shape;
  const auto columns = static_cast<double>(shape.bytesPerRow);
  hexStart_ = offsetWidth_ + 22;
  asciiStart_ = hexStart_ + charWidth_ * columns * 3 + 28;
  const auto rows = static_cast<double>(std::max<std::int64_t>(rowCount(shape), 1));
  desiredDocumentSize_ = {representableDimension(charWidth_ * columns + asciiStart_ + 24),
                          representableDimension(rowHeight_ * (rows + 1))};
}

double HexEditorGeometry::rowTop(std::int64_t row) const {
  return rowHeight_ * (static_cast<double>(row) + 1);
}

double HexEditorGeometry::hexCellX(std::int64_t column) const {
  return hexStart_ + charWidth_ * static_cast<double>(column) * 3;
}

double HexEditorGeometry::asciiCellX(std::int64_t column) const {
  return asciiStart_ + charWidth_ * static_cast<double>(column);
}

Rect HexEditorGeometry::hexHighlight(std::int64_t row, std::int64_t column) const {
  return {hexCellX(column) - 2, rowTop(row) + 2, charWidth_ * 2 + 4, rowHeight_ - 4};
}

Rect HexEditorGeometry::asciiHighlight(std::int64_t row, std::int64_t column) const {
  return {asciiCellX(column) - 1, rowTop(row) + 2, charWidth_ + 2, rowHeight_ - 4};
}

Rect HexEditorGeometry::caretDrawingRect(CaretPlace caret, std::int64_t bytesPerRow) const {
  if (bytesPerRow < 1) return {};
  const std::int64_t row = caret.offset / bytesPerRow;
  const std::int64_t column = caret.offset % bytesPerRow;
  double x = asciiCellX(column);
  if (caret.area == EditingArea::hex) {
    x = hexCellX(column) + (caret.highNibble ? 0 : charWidth_);
  }
  return {x, rowTop(row) + 3, 1.4, std::max(rowHeight_ - 6, 1.0)};
}

std::optional<RowRange> HexEditorGeometry::rowsMeeting(double minY, double maxY,
                                                       HexDocumentShape shape) const {
  if (!isPositiveAndFinite(rowHeight_) || !std::isfinite(minY) || !std::isfinite(maxY)) return {};
  const std::int64_t first = std::max<std::int64_t>(1, toInt(minY / rowHeight_)) - 1;
  const std::int64_t below = saturatingAdd(std::max<std::int64_t>(toInt(maxY / rowHeight_), 0), 1);
  const std::int64_t last = std::min(below, rowCount(shape) - 1);
  if (last < first) return {};
  return RowRange{first, last};
}

RowRange HexEditorGeometry::visibleRows(double minY, double maxY, HexDocumentShape shape) const {
  const std::int64_t lastRow = rowCount(shape) - 1;
  const std::int64_t first = std::clamp<std::int64_t>(toInt(minY / rowHeight_) - 1, 0, lastRow);
  const std::int64_t last = toInt(std::ceil(maxY / rowHeight_)) - 2;
  return {first, std::clamp(last, first, lastRow)};
}

double HexEditorGeometry::contextAround(double viewportHeight, std::int64_t rows) const {
  const std::int64_t room = (toInt(viewportHeight / rowHeight_) - 1) / 2;
  return rowHeight_ * static_cast<double>(std::clamp<std::int64_t>(room, 0, rows));
}

PlaceInView HexEditorGeometry::placeToKeep(double scrollY, double viewportHeight,
                                           std::int64_t caretOffset, HexDocumentShape shape) const {
  const RowRange visible = visibleRows(scrollY, scrollY + viewportHeight, shape);
  const std::int64_t caretRow = caretOffset / shape.bytesPerRow;
  const bool seesCaret = caretRow >= visible.first && caretRow <= visible.last;
  const std::int64_t row = seesCaret ? caretRow : visible.first;
  return {.offset = seesCaret ? caretOffset : row * shape.bytesPerRow,
          .distance = rowTop(row) - scrollY};
}

double HexEditorGeometry::scrollFor(const PlaceInView& place, std::int64_t bytesPerRow) const {
  return rowTop(place.offset / bytesPerRow) - place.distance;
}

std::int64_t HexEditorGeometry::columnFor(double x, std::int64_t bytesPerRow) const {
  const double column =
      x >= asciiStart_ ? (x - asciiStart_) / charWidth_ : (x - hexStart_) / (charWidth_ * 3);
  const std::int64_t whole = std::isfinite(column) ? toInt(column) : 0;
  return std::min(whole, bytesPerRow - 1);
}

std::int64_t HexEditorGeometry::offsetFor(Point point, HexDocumentShape shape,
                                          std::int64_t caretOffset) const {
  if (!std::isfinite(point.x) || !std::isfinite(point.y) || !isPositiveAndFinite(rowHeight_) ||
      !isPositiveAndFinite(charWidth_)) {
    return clampedToCount(caretOffset, shape.byteCount);
  }
  const std::int64_t row = std::max<std::int64_t>(1, toInt(point.y / rowHeight_)) - 1;
  const std::int64_t rowStart = saturatingMultiply(row, shape.bytesPerRow);
  const std::int64_t offset = saturatingAdd(rowStart, columnFor(point.x, shape.bytesPerRow));
  return clampedToCount(offset, shape.byteCount);
}

}  // namespace quillmor
