#include "ui/window/HistogramView.h"

#include <algorithm>
#include <cmath>

#include "base/HexText.h"
#include "ui/window/ChartCanvas.h"
#include "ui/window/QtText.h"
#include "window/GroupedDecimal.h"

namespace quillmor {

namespace {

constexpr int kLabelledValues[] = {0x00, 0x40, 0x80, 0xC0, 0xFF};
constexpr int kLeastPitchWithGap = 3;
constexpr int kComfortablePitch = 3;
constexpr int kLeastPlotHeight = 72;

QString countLabel(std::int64_t count) {
  return toQString(groupedDecimal(count));
}

}  // namespace

HistogramView::HistogramView(const ByteCounts& counts, QWidget* parent)
    : ChartView(tr("Byte histogram"), parent), histogram_(counts) {
  setAccessibleDescription(HistogramView::summary());
  setMinimumSize(gutter() + ByteHistogram::kBarCount + 60, kLeastPlotHeight + 60);
}

void HistogramView::setScale(HistogramScale scale) {
  scale_ = scale;
  update();
}

int HistogramView::gutter() const {
  return fontMetrics().horizontalAdvance(countLabel(histogram_.maximum()));
}

int HistogramView::fittingWidth() const {
  const double ratio = devicePixelRatioF();
  const double plotWidth = std::ceil(kComfortablePitch * ratio) * ByteHistogram::kBarCount / ratio;
  return width() - static_cast<int>(areaBeside(gutter(), 1).width() - std::ceil(plotWidth));
}

QRect HistogramView::plotArea(double ratio) const {
  QRect area = areaBeside(gutter(), ratio);
  const int width = ByteHistogram::barPitch(area.width()) * ByteHistogram::kBarCount;
  area.translate((area.width() - width) / 2, 0);
  area.setWidth(width);
  return area;
}

QString HistogramView::description(Place place) const {
  return toQString(histogram_.description(static_cast<int>(place)));
}

QString HistogramView::summary() const {
  return toQString(histogram_.summary());
}

std::optional<ChartView::Place> HistogramView::placeAt(QPointF pixel, double ratio) const {
  const QRect plot = plotArea(ratio);
  if (pixel.y() < plot.top() || pixel.y() > plot.bottom() + 1) return std::nullopt;
  return ByteHistogram::valueAt(pixel.x() - plot.left(), plot.width() / ByteHistogram::kBarCount);
}

void HistogramView::paintChart(ChartCanvas& canvas) {
  const QRect plot = plotArea(canvas.ratio());
  canvas.fill(plot, ChartStyle::kPlot);
  paintGrid(canvas, plot);
  paintBars(canvas, plot);
  paintAxis(canvas, plot);
  drawFocus(canvas, plot);
}

void HistogramView::paintGrid(ChartCanvas& canvas, const QRect& plot) const {
  const auto line = [&](std::int64_t count) {
    const int height = qRound(histogram_.fraction(count, scale_) * plot.height());
    const int y = plot.bottom() + 1 - height;
    canvas.fill({plot.left(), y, plot.width(), canvas.hairline()}, ChartStyle::kGrid);
    drawSideLabel(canvas, plot, y, countLabel(count));
  };
  for (const std::int64_t count : histogram_.gridCounts(scale_)) line(count);
  if (histogram_.maximum() > 0) line(histogram_.maximum());
  drawSideLabel(canvas, plot, plot.bottom() + 1, countLabel(0));
}

void HistogramView::paintBars(ChartCanvas& canvas, const QRect& plot) const {
  const int pitch = plot.width() / ByteHistogram::kBarCount;
  const int width = pitch < kLeastPitchWithGap ? pitch : pitch - canvas.hairline();
  for (int value = 0; value < ByteHistogram::kBarCount; ++value) {
    const int left = plot.left() + value * pitch;
    const bool isMarked = markedPlace() == value;
    const bool isPointed = pointedPlace() == value;
    // A value that does not occur has a band alone.
    if (isMarked || isPointed)
      canvas.fill({left, plot.top(), width, plot.height()}, ChartStyle::kBand);
    const int height = histogram_.barHeight(value, scale_, plot.height());
    const QColor& color = isPointed  ? ChartStyle::kPointed
                          : isMarked ? ChartStyle::kMarked
                                     : ChartStyle::kData;
    canvas.fill({left, plot.bottom() + 1 - height, width, height}, color);
  }
}

void HistogramView::paintAxis(ChartCanvas& canvas, const QRect& plot) const {
  canvas.fill({plot.left(), plot.bottom() + 1, plot.width(), canvas.hairline()}, ChartStyle::kAxis);
  const int pitch = plot.width() / ByteHistogram::kBarCount;
  for (const int value : kLabelledValues) {
    drawBottomLabel(canvas, plot, plot.left() + value * pitch + pitch / 2,
                    toQString(uppercaseHexByteStrings[static_cast<std::size_t>(value)]));
  }
}

}  // namespace quillmor
