#include "ui/window/ChartCanvas.h"

#include <cmath>

namespace quillmor {

ChartCanvas::ChartCanvas(QPainter& painter) : painter_(painter) {
  const QTransform toDevice = painter.deviceTransform();
  ratio_ = toDevice.m11();
  shift_ = {std::round(toDevice.dx()) - toDevice.dx(), std::round(toDevice.dy()) - toDevice.dy()};
}

QRectF ChartCanvas::rect(const QRect& pixels) const {
  const QRectF shifted = QRectF(pixels).translated(shift_);
  return {shifted.topLeft() / ratio_, shifted.size() / ratio_};
}

void ChartCanvas::fill(const QRect& pixels, const QColor& color) {
  if (!pixels.isEmpty()) painter_.fillRect(rect(pixels), color);
}

void ChartCanvas::frame(const QRect& pixels, int width, const QColor& color) {
  const QRect inner = pixels.adjusted(width, width, -width, -width);
  fill({pixels.left(), pixels.top(), pixels.width(), width}, color);
  fill({pixels.left(), inner.bottom() + 1, pixels.width(), width}, color);
  fill({pixels.left(), inner.top(), width, inner.height()}, color);
  fill({inner.right() + 1, inner.top(), width, inner.height()}, color);
}

void ChartCanvas::text(const QRect& pixels, Qt::Alignment alignment, const QString& text) {
  painter_.setPen(ChartStyle::kLabel);
  painter_.drawText(rect(pixels), static_cast<int>(alignment) | Qt::TextDontClip, text);
}

}  // namespace quillmor
