#pragma once

#include <QWidget>

namespace quillmor {

/// One line of small monospaced secondary text that stretches, is cut with an ellipsis where it
/// does not fit, and tells its whole text as tooltip and to assistive technology, where it is a
/// static text named by what it shows.
class ElidedLabel : public QWidget {
  Q_OBJECT

 public:
  /// `purpose` describes the line to assistive technology.
  ElidedLabel(const QString& purpose, QWidget* parent);

  void setFullText(const QString& text);
  const QString& fullText() const { return text_; }

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QString text_;
};

}  // namespace quillmor
