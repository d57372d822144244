#include <QApplication>
#include <QDragEnterEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>

#include "editor/HexEditorView.h"

namespace quillmor {

namespace {

constexpr double kAngleDeltaPerNotch = 120;

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

/// Keys that type nothing, and Tab, which moves the focus for people who work without a mouse.
bool belongsToToolkit(const QKeyEvent& event) {
  if (event.key() == Qt::Key_Tab || event.key() == Qt::Key_Backtab) return true;
  return keyFor(event.key()) == KeyPress::Key::other && event.text().isEmpty();
}

/// How far a wheel event scrolls, in pixels; positive values move the content right and down.
QPointF wheelDistance(const QWheelEvent& event, Point pixelsPerLine) {
  QPointF distance;
  // Only events of a gesture carry pixels to rely on; wheels count notches.
  if (event.phase() != Qt::NoScrollPhase && !event.pixelDelta().isNull()) {
    distance = event.pixelDelta();
  } else {
    const double lines = QApplication::wheelScrollLines();
    distance = QPointF(event.angleDelta()) / kAngleDeltaPerNotch * lines;
    distance = {distance.x() * pixelsPerLine.x, distance.y() * pixelsPerLine.y};
  }
  const bool sideways = event.modifiers().testFlag(Qt::ShiftModifier) && distance.x() == 0;
  return sideways ? distance.transposed() : distance;
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
  if (editor_ == nullptr || !event->buttons().testFlag(Qt::LeftButton)) return event->ignore();
  editor_->mouseDragged(documentPoint(event->position()));
}

void HexEditorView::mouseReleaseEvent(QMouseEvent* event) {
  if (editor_ == nullptr || event->button() != Qt::LeftButton) return event->ignore();
  editor_->mouseUp();
}

void HexEditorView::wheelEvent(QWheelEvent* event) {
  if (editor_ == nullptr) return event->ignore();
  const HexEditorGeometry& geometry = editor_->geometry();
  const QPointF distance =
      wheelDistance(*event, {.x = geometry.charWidth(), .y = geometry.rowHeight()});
  const Point from = scrollPosition();
  scrollTo({from.x - distance.x(), from.y - distance.y()});
  // At the end of the way another view may take over.
  event->setAccepted(scrollPosition() != from);
}

void HexEditorView::dragEnterEvent(QDragEnterEvent* event) {
  answerFileDrag(*event);
}

void HexEditorView::dragMoveEvent(QDragMoveEvent* event) {
  answerFileDrag(*event);
}

void HexEditorView::dropEvent(QDropEvent* event) {
  performFileDrop(*event, fileDropHandler_);
}

}  // namespace quillmor
