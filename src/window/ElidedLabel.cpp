#include "window/ElidedLabel.h"

#include <QAccessibleWidget>
#include <QFontDatabase>
#include <QFontMetrics>
#include <QPainter>

namespace quillmor {

namespace {

constexpr int kFontPixelSize = 11;

QAccessibleInterface* makeAccessible(const QString& /*className*/, QObject* object) {
  auto* const label = qobject_cast<ElidedLabel*>(object);
  return label ? new QAccessibleWidget(label, QAccessible::StaticText) : nullptr;
}

/// Makes the toolkit present every label as a static text.
void installAccessible() {
  static const bool isInstalled = [] {
    return QAccessible::installFactory(makeAccessible), true;
  }();
  Q_UNUSED(isInstalled);
}

}  // namespace

ElidedLabel::ElidedLabel(const QString& purpose, QWidget* parent) : QWidget(parent) {
  QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  font.setPixelSize(kFontPixelSize);
  setFont(font);
  installAccessible();
  setAccessibleDescription(purpose);
  setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void ElidedLabel::setFullText(const QString& text) {
  if (text_ == text) return;
  text_ = text;
  setToolTip(text);
  // Announces the new name as well.
  setAccessibleName(text);
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
