#include "ui/window/ElidedLabel.h"

#include <QAccessibleWidget>
#include <QFontDatabase>
#include <QFontMetrics>
#include <QPainter>

namespace quillmor {

namespace {

constexpr int kFontPixelSize = 11;

QAccessibleInterface* makeAccessible(const QString& /*className*/, QObject* object) {
  auto* const label = qobject_cast<ElidedLabel*>(object);
  return label ? new QAccessibleWidget(label, label->accessibleRole()) : nullptr;
}

/// Makes the toolkit present every label in its role, named by its text.
void installAccessible() {
  static const bool isInstalled = [] {
    return QAccessible::installFactory(makeAccessible), true;
  }();
  Q_UNUSED(isInstalled);
}

}  // namespace

ElidedLabel::ElidedLabel(const QString& purpose, QWidget* parent, Kind kind)
    : QWidget(parent), kind_(kind) {
  QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  font.setPixelSize(kFontPixelSize);
  setFont(font);
  installAccessible();
  setAccessibleDescription(purpose);
  setSizePolicy(kind == Kind::notice ? QSizePolicy::Maximum : QSizePolicy::Ignored,
                QSizePolicy::Fixed);
}

QAccessible::Role ElidedLabel::accessibleRole() const {
  return kind_ == Kind::notice ? QAccessible::AlertMessage : QAccessible::StaticText;
}

void ElidedLabel::setFullText(const QString& text) {
  if (text_ == text) return;
  text_ = text;
  setToolTip(text);
  // Announces the new name as well.
  setAccessibleName(text);
  if (kind_ == Kind::notice) updateGeometry();
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
  const QColor secondary = palette().color(QPalette::Disabled, QPalette::WindowText).lighter(140);
  painter.setPen(kind_ == Kind::notice ? palette().color(QPalette::WindowText) : secondary);
  const QString shown = QFontMetrics(font()).elidedText(text_, Qt::ElideRight, width());
  painter.drawText(rect(), Qt::AlignLeft | Qt::AlignVCenter, shown);
}

}  // namespace quillmor
