#pragma once

#include <QImage>
#include <QLineEdit>
#include <QMouseEvent>
#include <stdexcept>
#include <string>

#include "gui/RealApplication.h"
#include "ui/window/ChartView.h"
#include "ui/window/ReportWindow.h"

namespace quillmor::test {

/// The base of tests of report windows in the real application.
class ReportFixture : public RealApplication {
 protected:
  /// The report window opened last, with the keyboard.
  template <class Window = ReportWindow>
  static Window& newest() {
    auto* window = topLevel<Window>();
    if (!window) throw std::logic_error("no report window");
    makeActive(*window);
    return *window;
  }

  ReportWindow& show(const std::string& report, const std::string& title = "Report") {
    open("hello").controller().context().showUtilityReport(title, report);
    return newest();
  }

  static QLineEdit& field(const ReportWindow& window) { return *window.findChild<QLineEdit*>(); }

  static void point(ChartView& chart, QPointF place) {
    send(chart, QEvent::MouseMove, place, Qt::NoButton);
  }

  static void click(ChartView& chart, QPointF place, Qt::MouseButton button = Qt::LeftButton) {
    send(chart, QEvent::MouseButtonPress, place, button);
    send(chart, QEvent::MouseButtonRelease, place, button);
  }

  static void leave(ChartView& chart) {
    QEvent event(QEvent::Leave);
    QApplication::sendEvent(&chart, &event);
  }

  /// What the widget shows, at `ratio` device pixels per pixel.
  static QImage picture(QWidget& widget, double ratio) {
    QImage image((QSizeF(widget.size()) * ratio).toSize(), QImage::Format_RGB32);
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::magenta);
    widget.render(&image);
    return image;
  }

  /// How many pixels of a colour are in a part of the picture.
  static int pixelsOf(const QImage& image, const QColor& color, const QRect& part) {
    int count = 0;
    for (int y = part.top(); y <= part.bottom(); ++y) {
      for (int x = part.left(); x <= part.right(); ++x) {
        if (image.pixel(x, y) == color.rgb()) ++count;
      }
    }
    return count;
  }

  static QString readout(const ReportWindow& window, const QString& purpose) {
    for (const auto* line : window.findChildren<ElidedLabel*>()) {
      if (line->accessibleDescription() == purpose) return line->fullText();
    }
    throw std::logic_error("no line " + purpose.toStdString());
  }

 private:
  static void send(QWidget& widget, QEvent::Type type, QPointF place, Qt::MouseButton button) {
    const bool isPress = type == QEvent::MouseButtonPress;
    QMouseEvent event(type, place, widget.mapToGlobal(place), button,
                      isPress ? button : Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(&widget, &event);
  }
};

}  // namespace quillmor::test
