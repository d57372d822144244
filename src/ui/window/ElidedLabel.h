#pragma once

#include <QAccessible>
#include <QWidget>

namespace quillmor {

/// One line of small monospaced text, cut with an ellipsis if it does not fit. The whole text is
/// its tooltip, and its name for assistive technology.
class ElidedLabel : public QWidget {
  Q_OBJECT

 public:
  /// A line stretches in the colour of secondary text, and is a static text to assistive
  /// technology. A notice takes as much room as its text needs, in the colour of text, and is an
  /// alert.
  enum class Kind { line, notice };

  /// `purpose` describes the label to assistive technology.
  ElidedLabel(const QString& purpose, QWidget* parent, Kind kind = Kind::line);

  QAccessible::Role accessibleRole() const;

  void setFullText(const QString& text);
  const QString& fullText() const { return text_; }

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  const Kind kind_;
  QString text_;
};

}  // namespace quillmor
