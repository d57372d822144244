#pragma once

#include <QColor>
#include <QPainter>
#include <QRect>

namespace quillmor {

/// The colours of the charts, which go with the application's dark palette.
namespace ChartStyle {

inline constexpr QColor kPlot(22, 22, 23);
inline constexpr QColor kGrid(44, 44, 46);
inline constexpr QColor kAxis(92, 92, 96);
inline constexpr QColor kLabel(160, 160, 164);
inline constexpr QColor kData(94, 142, 196);
inline constexpr QColor kDataFill(94, 142, 196, 76);
inline constexpr QColor kPointed(178, 209, 244);
inline constexpr QColor kMarked(255, 214, 10);
inline constexpr QColor kBand(255, 255, 255, 26);

}  // namespace ChartStyle

/// Draws in whole device pixels of a widget, counted from its top left corner, so that edges are
/// crisp at any scale factor; texts in the widget's font.
class ChartCanvas {
 public:
  explicit ChartCanvas(QPainter& painter);

  /// Device pixels per logical pixel.
  double ratio() const { return ratio_; }

  /// The width of a thin line in device pixels.
  int hairline() const { return hairlineAt(ratio_); }
  static int hairlineAt(double ratio) { return ratio < 2 ? 1 : static_cast<int>(ratio); }

  /// A length in logical pixels as the nearest number of device pixels.
  int pixels(double length) const { return qRound(length * ratio_); }

  void fill(const QRect& pixels, const QColor& color);
  void frame(const QRect& pixels, int width, const QColor& color);
  void text(const QRect& pixels, Qt::Alignment alignment, const QString& text);

 private:
  QRectF rect(const QRect& pixels) const;

  QPainter& painter_;
  double ratio_ = 1;
  QPointF shift_;  ///< of the widget's corner to a device pixel's, in device pixels
};

}  // namespace quillmor
