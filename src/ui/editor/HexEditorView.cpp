#include "ui/editor/HexEditorView.h"

#include <QAccessible>
#include <QPaintEvent>
#include <QScopedValueRollback>
#include <QScrollBar>

#include "ui/editor/HexEditorAccessible.h"

namespace quillmor {

HexEditorView::HexEditorView(HexEditorState& editor, QWidget* parent)
    : QAbstractScrollArea(parent), editor_(&editor), painter_(HexEditorStyle::font()) {
  HexEditorAccessible::install();
  setAccessibleName(tr("Hex editor"));
  setFrameShape(QFrame::NoFrame);
  // A click takes the focus itself, and only while editing is enabled.
  setFocusPolicy(Qt::TabFocus);
  viewport()->setAcceptDrops(true);
  viewport()->setAttribute(Qt::WA_OpaquePaintEvent);
  viewport()->setAutoFillBackground(false);
  editor_->setFontMetrics(painter_.widthOfW(), painter_.fontHeight());
  editor_->setSurface(this);
  layOut();
}

HexEditorView::~HexEditorView() {
  if (editor_ != nullptr) editor_->setSurface(nullptr);
}

void HexEditorView::detached() {
  editor_ = nullptr;
  revealWhenShown_.reset();
  autoScrollTimer_.stop();
  viewport()->update();
}

bool HexEditorView::showsCaret() const {
  return editor_ != nullptr && editor_->isEditingEnabled() && window()->focusWidget() == this;
}

void HexEditorView::paintEvent(QPaintEvent* event) {
  QPainter painter(viewport());
  if (editor_ == nullptr) {
    return painter.fillRect(event->rect(), HexEditorStyle::color(HexEditorStyle::background(0)));
  }
  const Size size{static_cast<double>(viewport()->width()),
                  static_cast<double>(viewport()->height())};
  painter_.paint(painter, event->rect(), *editor_,
                 {.scroll = scrollPosition(), .viewport = size, .showsCaret = showsCaret()});
}

void HexEditorView::redrawVisiblePart() {
  viewport()->update();
}

void HexEditorView::focusInEvent(QFocusEvent* event) {
  QAbstractScrollArea::focusInEvent(event);
  viewport()->update();
}

void HexEditorView::focusOutEvent(QFocusEvent* event) {
  QAbstractScrollArea::focusOutEvent(event);
  // An alert that takes the focus in the middle of a drag swallows the button's release.
  autoScrollTimer_.stop();
  viewport()->update();
}

void HexEditorView::takeKeyboardFocus() {
  setFocus(Qt::MouseFocusReason);
}

void HexEditorView::caretOrSelectionChanged() {
  HexEditorAccessible::announceCaret(*this);
}

void HexEditorView::contentsChanged() {
  HexEditorAccessible::announceText(*this, announcedText_);
}

// Layout and scrolling

void HexEditorView::layOut() {
  if (editor_ == nullptr) return;
  editor_->setViewportSize(
      {static_cast<double>(viewport()->width()), static_cast<double>(viewport()->height())});
  editor_->recalcMetrics();
  updateScrollBars();
  viewport()->update();
}

void HexEditorView::resizeEvent(QResizeEvent* event) {
  QAbstractScrollArea::resizeEvent(event);
  layOut();
}

void HexEditorView::showEvent(QShowEvent* event) {
  QAbstractScrollArea::showEvent(event);
  layOut();
  if (const auto rect = std::exchange(revealWhenShown_, std::nullopt)) scrollToVisible(*rect);
}

void HexEditorView::documentSizeChanged() {
  updateScrollBars();
}

QSizeF HexEditorView::scrolledSize() const {
  const QSizeF whole = maximumViewportSize();
  const Size document = editor_->geometry().desiredDocumentSize();
  const bool fits = document.width <= whole.width() && document.height <= whole.height();
  return fits ? whole : QSizeF(viewport()->size());
}

void HexEditorView::updateScrollBars() {
  if (editor_ == nullptr) return;
  const HexEditorGeometry& geometry = editor_->geometry();
  const Size document = geometry.desiredDocumentSize();
  const QSizeF size = scrolledSize();
  horizontal_.setExtent(document.width, size.width());
  vertical_.setExtent(document.height, size.height());
  // Bars that appear or vanish resize the viewport, which calls this again before it returns.
  syncScrollBar(*horizontalScrollBar(), horizontal_, size.width(), geometry.charWidth());
  syncScrollBar(*verticalScrollBar(), vertical_, size.height(), geometry.rowHeight());
}

double HexEditorView::pageLength(double viewport, double line) {
  return std::max(viewport - line, line);
}

void HexEditorView::syncScrollBar(QScrollBar& bar, const ScrollAxis& axis, double viewport,
                                  double line) {
  const QScopedValueRollback guard(isSyncingScrollBars_, true);
  bar.setSingleStep(axis.barSteps(line));
  bar.setPageStep(axis.barSteps(pageLength(viewport, line)));
  bar.setRange(0, axis.barMaximum());
  bar.setValue(axis.barValue());
}

void HexEditorView::scrollContentsBy(int /*dx*/, int /*dy*/) {
  if (isSyncingScrollBars_ || editor_ == nullptr) return;
  bool moved = false;
  if (horizontalScrollBar()->value() != horizontal_.barValue()) {
    moved = horizontal_.setPosition(horizontal_.positionForBar(horizontalScrollBar()->value()));
  }
  if (verticalScrollBar()->value() != vertical_.barValue()) {
    moved = vertical_.setPosition(vertical_.positionForBar(verticalScrollBar()->value())) || moved;
  }
  if (moved) scrollPositionChanged();
}

void HexEditorView::scrollTo(Point position) {
  if (editor_ == nullptr) return;
  const bool movedX = horizontal_.setPosition(position.x);
  const bool movedY = vertical_.setPosition(position.y);
  if (movedX || movedY) scrollPositionChanged();
}

void HexEditorView::scrollPositionChanged() {
  updateScrollBars();
  viewport()->update();
  HexEditorAccessible::announceScrolling(*this, announcedText_);
}

void HexEditorView::scrollToVisible(const Rect& rect) {
  if (!isVisible()) {
    revealWhenShown_ = rect;
    return;
  }
  const bool movedX = horizontal_.reveal(rect.x, rect.maxX());
  const bool movedY = vertical_.reveal(rect.y, rect.maxY());
  if (movedX || movedY) scrollPositionChanged();
}

Point HexEditorView::documentPoint(QPointF viewportPoint) const {
  return {viewportPoint.x() + horizontal_.position(), viewportPoint.y() + vertical_.position()};
}

QRectF HexEditorView::viewportRect(const Rect& documentRect) const {
  return {documentRect.x - horizontal_.position(), documentRect.y - vertical_.position(),
          documentRect.width, documentRect.height};
}

}  // namespace quillmor
