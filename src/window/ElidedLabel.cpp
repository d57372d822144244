#include "window/ElidedLabel.h"

#include <QFontDatabase>
#include <QFontMetrics>
#include <QPainter>

namespace quillmor {

namespace {

constexpr int kFontPixelSize = 11;

}  // namespace

ElidedLabel::ElidedLabel(const QString& purpose, QWidget* parent) : QWidget(parent) {
  QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  font.setPixelSize(kFontPixelSize);
  setFont(font);
  setAccessibleName(purpose);
  setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void ElidedLabel::setFullText(const QString& text) {
  if (text_ == text) return;
  text_ = text;
  setToolTip(text);
  setAccessibleDescription(text);
  update();
}

QSize ElidedLabel::sizeHint() const {
  const QFontMetrics metrics(font());
  return {metrics.horizontalAdvance(text_), metrics.height() + 2};
}

QSize ElidedLabel::minimumSizeHint() const {
  return {0, QFontMetrics(font()).height() + 2};
}

void ElidedLabel::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setPen(palette().color(QPalette::Disabled, QPalette::WindowText).lighter(140));
  const QString shown = QFontMetrics(font()).elidedText(text_, Qt::ElideRight, width());
  painter.drawText(rect(), Qt::AlignLeft | Qt::AlignVCenter, shown);
}

}  // namespace quillmor
