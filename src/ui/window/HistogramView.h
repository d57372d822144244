#pragma once

#include "ui/window/ChartView.h"
#include "window/ByteHistogram.h"

namespace quillmor {

/// A histogram of the byte values. The places of this chart are the values.
class HistogramView : public ChartView {
 public:
  HistogramView(const ByteCounts& counts, QWidget* parent);

  HistogramScale scale() const { return scale_; }
  void setScale(HistogramScale scale);

  /// The width, in logical pixels, at which the bars fill the plot and are a readable whole number
  /// of device pixels wide.
  int fittingWidth() const;

  QRect plotArea(double ratio) const override;

 protected:
  Place placeCount() const override { return ByteHistogram::kBarCount; }
  QString description(Place place) const override;
  QString summary() const override;
  std::optional<Place> placeAt(QPointF pixel, double ratio) const override;
  void paintChart(ChartCanvas& canvas) override;

 private:
  int gutter() const;
  void paintGrid(ChartCanvas& canvas, const QRect& plot) const;
  void paintBars(ChartCanvas& canvas, const QRect& plot) const;
  void paintAxis(ChartCanvas& canvas, const QRect& plot) const;

  const ByteHistogram histogram_;
  HistogramScale scale_ = HistogramScale::linear;
};

}  // namespace quillmor
