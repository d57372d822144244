#include "ui/window/ChartView.h"

#include <QAccessibleWidget>
#include <QFontDatabase>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <algorithm>

#include "ui/window/ChartCanvas.h"

namespace quillmor {

namespace {

constexpr int kFontPixelSize = 11;
constexpr int kEdge = 14;       // logical pixels around the plot and its labels
constexpr int kLabelGap = 7;    // between the plot and a label
constexpr int kTickLength = 4;  // below the plot
constexpr ChartView::Place kPagesInAll = 16;

QAccessibleInterface* makeAccessible(const QString& /*className*/, QObject* object) {
  auto* const chart = qobject_cast<ChartView*>(object);
  return chart ? new QAccessibleWidget(chart, QAccessible::Chart, chart->accessibleName())
               : nullptr;
}

void installAccessible() {
  static const bool isInstalled = [] {
    return QAccessible::installFactory(makeAccessible), true;
  }();
  Q_UNUSED(isInstalled);
}

}  // namespace

ChartView::ChartView(const QString& name, QWidget* parent) : QWidget(parent) {
  QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  font.setPixelSize(kFontPixelSize);
  setFont(font);
  installAccessible();
  setAccessibleName(name);
  setFocusPolicy(Qt::StrongFocus);
  setMouseTracking(true);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

QString ChartView::readout() const {
  if (pointed_) return description(*pointed_);
  return marked_ ? description(*marked_) : summary();
}

int ChartView::labelHeight() const {
  return fontMetrics().height();
}

QRect ChartView::areaBeside(int left, double ratio) const {
  const QRectF area = QRectF(rect()).adjusted(kEdge + left + kLabelGap, kEdge, -kEdge - kLabelGap,
                                              -(kLabelGap + labelHeight() + 2));
  return QRect(QPoint(qRound(area.left() * ratio), qRound(area.top() * ratio)),
               QPoint(qRound(area.right() * ratio) - 1, qRound(area.bottom() * ratio) - 1));
}

void ChartView::drawFocus(ChartCanvas& canvas, const QRect& plot) const {
  if (!hasFocus()) return;
  const int width = canvas.hairline();
  const int distance = 2 * width;
  canvas.frame(plot.adjusted(-distance, -distance, distance, distance), width, ChartStyle::kData);
}

void ChartView::drawSideLabel(ChartCanvas& canvas, const QRect& plot, int y,
                              const QString& text) const {
  const int height = canvas.pixels(labelHeight());
  const int width = canvas.pixels(fontMetrics().horizontalAdvance(text));
  const QRect place(plot.left() - canvas.pixels(kLabelGap) - width, y - height / 2, width, height);
  canvas.text(place, Qt::AlignRight | Qt::AlignVCenter, text);
}

void ChartView::drawBottomLabel(ChartCanvas& canvas, const QRect& plot, int x,
                                const QString& text) const {
  const int top = plot.bottom() + 1 + canvas.hairline();
  canvas.fill({x - canvas.hairline() / 2, top, canvas.hairline(), canvas.pixels(kTickLength)},
              ChartStyle::kAxis);
  const int width = canvas.pixels(fontMetrics().horizontalAdvance(text));
  // A label at the very end stays inside the widget.
  const int left = std::min(x - width / 2, canvas.pixels(this->width()) - width);
  const QRect place(left, plot.bottom() + 1 + canvas.pixels(kLabelGap), width,
                    canvas.pixels(labelHeight()));
  canvas.text(place, Qt::AlignCenter, text);
}

void ChartView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  ChartCanvas canvas(painter);
  paintChart(canvas);
}

std::optional<ChartView::Place> ChartView::placeUnder(const QMouseEvent& event) const {
  const double ratio = devicePixelRatioF();
  return placeAt(event.position() * ratio, ratio);
}

void ChartView::mouseMoveEvent(QMouseEvent* event) {
  point(placeUnder(*event));
}

void ChartView::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return event->ignore();
  const auto place = placeUnder(*event);
  if (!place) return;
  mark(*place);
  emit activated(*place);
}

void ChartView::leaveEvent(QEvent*) {
  point(std::nullopt);
}

std::optional<ChartView::Place> ChartView::placeForKey(int key) const {
  const Place page = std::max<Place>(placeCount() / kPagesInAll, 1);
  const auto moved = [this](Place distance) { return marked_ ? *marked_ + distance : 0; };
  switch (key) {
    case Qt::Key_Left:
      return moved(-1);
    case Qt::Key_Right:
      return moved(1);
    case Qt::Key_PageUp:
      return moved(-page);
    case Qt::Key_PageDown:
      return moved(page);
    case Qt::Key_Home:
      return 0;
    case Qt::Key_End:
      return placeCount() - 1;
    default:
      return std::nullopt;
  }
}

void ChartView::keyPressEvent(QKeyEvent* event) {
  if (placeCount() == 0) return event->ignore();
  const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
  if (isReturn && marked_) {
    emit activated(*marked_);
    return;
  }
  const auto place = placeForKey(event->key());
  if (!place) return event->ignore();
  // The keys name what they mark, wherever the pointer rests.
  pointed_.reset();
  mark(std::clamp<Place>(*place, 0, placeCount() - 1));
}

void ChartView::focusInEvent(QFocusEvent* event) {
  QWidget::focusInEvent(event);
  update();
}

void ChartView::focusOutEvent(QFocusEvent* event) {
  QWidget::focusOutEvent(event);
  update();
}

void ChartView::point(std::optional<Place> place) {
  if (pointed_ == place) return;
  pointed_ = place;
  announce();
}

void ChartView::mark(Place place) {
  marked_ = place;
  setAccessibleDescription(description(place));
  announce();
}

void ChartView::announce() {
  update();
  emit readoutChanged(readout());
}

}  // namespace quillmor
