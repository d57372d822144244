#include "ui/window/EntropyView.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/HexText.h"
#include "ui/window/ChartCanvas.h"
#include "ui/window/QtText.h"

namespace quillmor {

namespace {

constexpr int kGridStep = 2;  // bits per byte
constexpr double kLineWidth = 1.5;
constexpr QSize kLeastSize(320, 140);

int heightOf(double entropy, const QRect& plot) {
  return qRound(entropy / EntropyCurve::kMaximumEntropy * plot.height());
}

}  // namespace

EntropyView::EntropyView(EntropyMap map, QWidget* parent)
    : ChartView(tr("Entropy curve"), parent), curve_(std::move(map)) {
  setAccessibleDescription(EntropyView::summary());
  setMinimumSize(kLeastSize);
}

QRect EntropyView::plotArea(double ratio) const {
  // The first offset stands centred below the plot's left edge.
  return areaBeside(fontMetrics().horizontalAdvance("00000000") / 2, ratio);
}

QString EntropyView::description(Place place) const {
  return toQString(curve_.description(place));
}

QString EntropyView::summary() const {
  return toQString(curve_.summary());
}

std::optional<ChartView::Place> EntropyView::placeAt(QPointF pixel, double ratio) const {
  const QRect plot = plotArea(ratio);
  if (pixel.y() < plot.top() || pixel.y() > plot.bottom() + 1) return std::nullopt;
  const double height = (plot.bottom() + 1 - pixel.y()) / plot.height();
  return curve_.chunkAt(static_cast<int>(std::floor(pixel.x())) - plot.left(), plot.width(),
                        height * EntropyCurve::kMaximumEntropy);
}

void EntropyView::paintChart(ChartCanvas& canvas) {
  const QRect plot = plotArea(canvas.ratio());
  canvas.fill(plot, ChartStyle::kPlot);
  paintGrid(canvas, plot);
  paintCurve(canvas, plot);
  paintPlace(canvas, plot, markedPlace(), ChartStyle::kMarked);
  paintPlace(canvas, plot, pointedPlace(), ChartStyle::kPointed);
  canvas.fill({plot.left(), plot.bottom() + 1, plot.width(), canvas.hairline()}, ChartStyle::kAxis);
  drawFocus(canvas, plot);
}

void EntropyView::paintGrid(ChartCanvas& canvas, const QRect& plot) const {
  for (int bits = 0; bits <= EntropyCurve::kMaximumEntropy; bits += kGridStep) {
    const int y = plot.bottom() + 1 - heightOf(bits, plot);
    canvas.fill({plot.left(), y, plot.width(), canvas.hairline()}, ChartStyle::kGrid);
    drawSideLabel(canvas, plot, y, QString::number(bits));
  }
  for (const std::int64_t offset : curve_.offsetTicks()) {
    const auto x = static_cast<int>(offset * plot.width() / curve_.coveredByteCount());
    if (offset > 0 && x < plot.width())
      canvas.fill({plot.left() + x, plot.top(), canvas.hairline(), plot.height()},
                  ChartStyle::kGrid);
    drawBottomLabel(canvas, plot, plot.left() + x, toQString(uppercaseHex(offset, 8)));
  }
}

/// Filled from the axis; the line covers all values of its column and meets the one before.
void EntropyView::paintCurve(ChartCanvas& canvas, const QRect& plot) const {
  const auto columns = curve_.columns(plot.width());
  const int lineWidth = std::max(1, canvas.pixels(kLineWidth));
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const int x = plot.left() + static_cast<int>(i);
    const EntropyCurve::Column& before = columns[i > 0 ? i - 1 : 0];
    const int low = heightOf(std::min(columns[i].minimum, before.maximum), plot);
    const int high = heightOf(std::max(columns[i].maximum, before.minimum), plot);
    const int bottom = plot.bottom() + 1;
    const int top = std::max(std::min(bottom - high, bottom - lineWidth), plot.top());
    const int end = std::min(std::max(bottom - low, top + lineWidth), bottom);
    canvas.fill({x, end, 1, bottom - end}, ChartStyle::kDataFill);
    canvas.fill({x, top, 1, end - top}, ChartStyle::kData);
  }
}

void EntropyView::paintPlace(ChartCanvas& canvas, const QRect& plot, std::optional<Place> place,
                             const QColor& color) const {
  if (!place) return;
  const int width = canvas.hairline();
  const int x =
      std::min(plot.left() + curve_.columnOf(*place, plot.width()), plot.right() + 1 - width);
  canvas.fill({x, plot.top(), width, plot.height()}, color);
  const int y = plot.bottom() + 1 - heightOf(curve_.entropyOf(*place), plot);
  const int radius = canvas.pixels(3);
  canvas.fill({x - radius, y - radius, 2 * radius + width, 2 * radius + width}, color);
}

}  // namespace quillmor
