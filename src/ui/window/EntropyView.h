#pragma once

#include "ui/window/ChartView.h"
#include "window/EntropyCurve.h"

namespace quillmor {

/// The curve of an entropy map. The places of this chart are the chunks of the map.
class EntropyView : public ChartView {
 public:
  EntropyView(EntropyMap map, QWidget* parent);

  QRect plotArea(double ratio) const override;
  const EntropyCurve& curve() const { return curve_; }

 protected:
  Place placeCount() const override { return curve_.chunkCount(); }
  QString description(Place place) const override;
  QString summary() const override;
  std::optional<Place> placeAt(QPointF pixel, double ratio) const override;
  void paintChart(ChartCanvas& canvas) override;

 private:
  void paintGrid(ChartCanvas& canvas, const QRect& plot) const;
  void paintCurve(ChartCanvas& canvas, const QRect& plot) const;
  void paintPlace(ChartCanvas& canvas, const QRect& plot, std::optional<Place> place,
                  const QColor& color) const;

  const EntropyCurve curve_;
};

}  // namespace quillmor
