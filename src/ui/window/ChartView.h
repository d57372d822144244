#pragma once

#include <QWidget>
#include <cstdint>
#include <optional>

namespace quillmor {

class ChartCanvas;

/// A chart of places in a row, counted from 0. The place under the pointer is described in words. A
/// click, or the Left, Right, Page Up, Page Down, Home and End keys mark a place, which is
/// described while the pointer is elsewhere. A click and Return activate a place.
class ChartView : public QWidget {
  Q_OBJECT

 public:
  using Place = std::int64_t;

  /// `name` is the chart's name for assistive technology; `readout` is its description.
  ChartView(const QString& name, QWidget* parent);

  std::optional<Place> markedPlace() const { return marked_; }

  /// Describes the place under the pointer, else the marked place, else the whole chart.
  QString readout() const;

  /// The plot without the axes' labels in device pixels of the widget, `ratio` of them per logical
  /// one.
  virtual QRect plotArea(double ratio) const = 0;

 signals:
  void readoutChanged(const QString& readout);
  void activated(qint64 place);

 protected:
  virtual Place placeCount() const = 0;
  virtual QString description(Place place) const = 0;
  virtual QString summary() const = 0;
  /// The place at a point of the plot in device pixels from the widget's top left corner.
  virtual std::optional<Place> placeAt(QPointF pixel, double ratio) const = 0;
  virtual void paintChart(ChartCanvas& canvas) = 0;

  std::optional<Place> pointedPlace() const { return pointed_; }

  /// The widget less its margins, less `left` logical pixels for labels beside the plot and a line
  /// of labels below it. In device pixels.
  QRect areaBeside(int left, double ratio) const;
  void drawFocus(ChartCanvas& canvas, const QRect& plot) const;
  /// Draws a label of the vertical axis at a device pixel row.
  void drawSideLabel(ChartCanvas& canvas, const QRect& plot, int y, const QString& text) const;
  /// The same for the horizontal axis, with a tick, at a device pixel column.
  void drawBottomLabel(ChartCanvas& canvas, const QRect& plot, int x, const QString& text) const;
  int labelHeight() const;

  void paintEvent(QPaintEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;

 private:
  std::optional<Place> placeUnder(const QMouseEvent& event) const;
  std::optional<Place> placeForKey(int key) const;
  void point(std::optional<Place> place);
  void mark(Place place);
  void announce();

  std::optional<Place> pointed_;
  std::optional<Place> marked_;
};

}  // namespace quillmor
