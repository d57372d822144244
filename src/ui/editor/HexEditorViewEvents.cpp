#include <QApplication>
#include <QDragEnterEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>

#include "ui/editor/HexEditorView.h"

namespace quillmor {

namespace {

constexpr double kAngleDeltaPerNotch = 120;
constexpr int kAutoScrollMilliseconds = 50;

KeyPress::Key keyFor(int qtKey) {
  using Key = KeyPress::Key;
  switch (qtKey) {
    case Qt::Key_Backspace:
      return Key::deleteBackward;
    case Qt::Key_Delete:
      return Key::deleteForward;
    case Qt::Key_Left:
      return Key::left;
    case Qt::Key_Right:
      return Key::right;
    case Qt::Key_Down:
      return Key::down;
    case Qt::Key_Up:
      return Key::up;
    default:
      return Key::other;
  }
}

KeyPress keyPressFor(const QKeyEvent& event) {
  return {.key = keyFor(event.key()),
          .shift = event.modifiers().testFlag(Qt::ShiftModifier),
          .command = event.modifiers().testFlag(Qt::ControlModifier),
          .characters = event.text().toStdString()};
}

/// Whether Alt or the desktop's key is held, with which keys choose menus and switch windows. AltGr
/// types characters, though some keyboards report it as Alt.
bool isShortcut(Qt::KeyboardModifiers modifiers) {
  return (modifiers & (Qt::AltModifier | Qt::MetaModifier)) != 0 &&
         !modifiers.testFlag(Qt::GroupSwitchModifier);
}

/// Keys that type nothing, and Tab, which moves the focus for people who work without a mouse. They
/// do not get as far as the editor, which refuses every key with a beep while editing is disabled:
/// this toolkit also delivers Shift, Control and the page keys, which only scroll, as key presses.
bool belongsToToolkit(const QKeyEvent& event) {
  if (event.key() == Qt::Key_Tab || event.key() == Qt::Key_Backtab) return true;
  if (keyFor(event.key()) != KeyPress::Key::other) return false;
  return event.text().isEmpty() || isShortcut(event.modifiers());
}

QPointF turnedSideways(QPointF delta, Qt::KeyboardModifiers modifiers) {
  // Some platforms have turned the wheel already.
  const bool turns = (modifiers & (Qt::ShiftModifier | Qt::AltModifier)) != 0 && delta.x() == 0;
  return turns ? delta.transposed() : delta;
}

/// How far a wheel event scrolls, in pixels; positive values move the content right and down.
QPointF wheelDistance(const QWheelEvent& event, QPointF pixelsPerNotch) {
  // Only events of a gesture carry pixels to rely on; wheels count notches.
  if (event.phase() != Qt::NoScrollPhase && !event.pixelDelta().isNull()) {
    return turnedSideways(event.pixelDelta(), event.modifiers());
  }
  const QPointF notches =
      turnedSideways(event.angleDelta(), event.modifiers()) / kAngleDeltaPerNotch;
  return {notches.x() * pixelsPerNotch.x(), notches.y() * pixelsPerNotch.y()};
}

}  // namespace

void HexEditorView::keyPressEvent(QKeyEvent* event) {
  if (editor_ == nullptr || belongsToToolkit(*event))
    return QAbstractScrollArea::keyPressEvent(event);
  if (!editor_->keyDown(keyPressFor(*event))) event->ignore();
}

void HexEditorView::mousePressEvent(QMouseEvent* event) {
  if (editor_ == nullptr || event->button() != Qt::LeftButton) return event->ignore();
  editor_->mouseDown(documentPoint(event->position()));
}

void HexEditorView::mouseDoubleClickEvent(QMouseEvent* event) {
  mousePressEvent(event);
}

void HexEditorView::mouseMoveEvent(QMouseEvent* event) {
  if (editor_ == nullptr || !event->buttons().testFlag(Qt::LeftButton)) {
    autoScrollTimer_.stop();
    return event->ignore();
  }
  // Mouse events that Qt makes from touches are no motions of the pointer.
  const bool isOfPointer = event->source() == Qt::MouseEventNotSynthesized;
  if (isOfPointer && !heldMotions_.tookPlace(event->timestamp())) return event->ignore();
  dragPoint_ = event->position();
  const bool isOutside = !QRectF(viewport()->rect()).contains(dragPoint_);
  if (!isOutside || !editor_->trackingDragStart()) {
    autoScrollTimer_.stop();
  } else if (!autoScrollTimer_.isActive()) {
    autoScrollTimer_.start(kAutoScrollMilliseconds, this);
  }
  editor_->mouseDragged(documentPoint(dragPoint_));
}

void HexEditorView::mouseReleaseEvent(QMouseEvent* event) {
  if (editor_ == nullptr || event->button() != Qt::LeftButton) return event->ignore();
  autoScrollTimer_.stop();
  editor_->mouseUp();
}

void HexEditorView::hideEvent(QHideEvent* event) {
  QAbstractScrollArea::hideEvent(event);
  autoScrollTimer_.stop();
}

void HexEditorView::timerEvent(QTimerEvent* event) {
  if (event->timerId() != autoScrollTimer_.timerId()) {
    return QAbstractScrollArea::timerEvent(event);
  }
  autoScroll();
}

void HexEditorView::autoScroll() {
  if (!isAutoScrolling()) return;
  if (!editor_->isEditingEnabled()) return autoScrollTimer_.stop();
  const Point point = documentPoint(dragPoint_);
  const std::int64_t caret = editor_->caretOffset();
  if (editor_->geometry().offsetFor(point, editor_->shape(), caret) == caret) return;
  editor_->mouseDragged(point);
}

QPointF HexEditorView::wheelNotch() const {
  const int lines = QApplication::wheelScrollLines();
  const double charWidth = editor_->geometry().charWidth();
  const double rowHeight = editor_->geometry().rowHeight();
  return {std::min(lines * charWidth, pageLength(viewport()->width(), charWidth)),
          std::min(lines * rowHeight, pageLength(viewport()->height(), rowHeight))};
}

void HexEditorView::wheelEvent(QWheelEvent* event) {
  // With Control held a wheel zooms, which is not this view's to do.
  if (editor_ == nullptr || event->modifiers().testFlag(Qt::ControlModifier)) {
    return event->ignore();
  }
  const QPointF distance = wheelDistance(*event, wheelNotch());
  const Point from = scrollPosition();
  scrollTo({from.x - distance.x(), from.y - distance.y()});
  // At the end of the way another view may take over.
  event->setAccepted(scrollPosition() != from);
}

void HexEditorView::dragEnterEvent(QDragEnterEvent* event) {
  drops_.dragEnter(*event);
}

void HexEditorView::dragMoveEvent(QDragMoveEvent* event) {
  drops_.dragMove(*event);
}

void HexEditorView::dropEvent(QDropEvent* event) {
  drops_.drop(*event);
}

}  // namespace quillmor
