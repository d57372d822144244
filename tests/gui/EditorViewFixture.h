#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QImage>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QTest>
#include <QVBoxLayout>
#include <QWheelEvent>

#include "support/EditorDoubles.h"
#include "ui/editor/HexEditorView.h"

namespace quillmor::test {

/// A window with a hex view that has the focus and a text field that has not.
class EditorViewTest : public testing::Test {
 protected:
  EditorViewTest() {
    state.setDelegate(&delegate);
    auto* layout = new QVBoxLayout(&window);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(&view);
    layout->addWidget(&other);
    window.resize(760, 400);
    window.show();
    view.setFocus();
    QApplication::processEvents();
  }

  ~EditorViewTest() override {
    view.setParent(nullptr);
    other.setParent(nullptr);
  }

  void setBytes(ByteBuffer bytes) {
    state.storage()->bytes = std::move(bytes);
    delegate.rememberBytes();
    state.recalcMetrics();
    view.redrawVisiblePart();
  }

  void setCountingBytes(int count) {
    std::vector<std::uint8_t> bytes;
    for (int i = 0; i < count; ++i) bytes.push_back(static_cast<std::uint8_t>(i));
    setBytes(ByteBuffer(bytes));
  }

  const HexEditorGeometry& geometry() const { return state.geometry(); }

  /// What the viewport shows, at `ratio` device pixels per pixel.
  QImage picture(double ratio = 1) {
    const QSizeF size = QSizeF(view.viewport()->size()) * ratio;
    QImage image(size.toSize(), QImage::Format_RGB32);
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::magenta);
    view.viewport()->render(&image);
    return image;
  }

  QPoint hexPoint(std::int64_t offset, int digit = 0) const {
    return cellPoint(
        geometry().hexCellX(offset % state.bytesPerRow()) + (digit + 0.5) * geometry().charWidth(),
        offset);
  }
  QPoint asciiPoint(std::int64_t offset) const {
    return cellPoint(geometry().asciiCellX(offset % state.bytesPerRow()) + 3, offset);
  }

  void mouse(QEvent::Type type, QPoint point, Qt::MouseButton button = Qt::LeftButton) {
    const bool isMove = type == QEvent::MouseMove;
    const Qt::MouseButtons held = type == QEvent::MouseButtonRelease ? Qt::NoButton : button;
    QMouseEvent event(type, point, view.viewport()->mapToGlobal(point),
                      isMove ? Qt::NoButton : button, held, Qt::NoModifier);
    QApplication::sendEvent(view.viewport(), &event);
  }

  /// Returns whether the view used the event.
  bool wheel(QPoint pixels, QPoint angle, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QWheelEvent event(QPointF(10, 10), view.viewport()->mapToGlobal(QPointF(10, 10)), pixels, angle,
                      Qt::NoButton, modifiers,
                      pixels.isNull() ? Qt::NoScrollPhase : Qt::ScrollUpdate, false);
    event.ignore();
    QApplication::sendEvent(view.viewport(), &event);
    return event.isAccepted();
  }

  /// Returns whether the view used the key.
  bool key(int qtKey, const QString& text = {}, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QKeyEvent event(QEvent::KeyPress, qtKey, modifiers, text);
    QApplication::sendEvent(&view, &event);
    return event.isAccepted();
  }

  CountingBeeper beeper;
  HexEditorState state{beeper};
  RecordingDelegate delegate{state};
  QWidget window;
  HexEditorView view{state};
  QLineEdit other;

 private:
  QPoint cellPoint(double x, std::int64_t offset) const {
    const double y = geometry().rowTop(offset / state.bytesPerRow()) + 5;
    const Point scroll = view.scrollPosition();
    return QPointF(x - scroll.x, y - scroll.y).toPoint();
  }
};

}  // namespace quillmor::test
