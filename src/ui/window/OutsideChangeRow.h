#pragma once

#include <QString>
#include <QWidget>
#include <functional>

#include "window/commands/EditorWindowSurface.h"

class QPushButton;

namespace quillmor {

class ElidedLabel;

/// The line of an editor window that says what another program has done to the document's file,
/// with buttons for what the user can do about it. Hidden until it has something to say.
class OutsideChangeRow : public QWidget {
  Q_OBJECT

 public:
  struct Handlers {
    std::function<void()> show;
    std::function<void()> reload;
    std::function<void()> keepMine;
    /// Takes the keyboard when the line goes while one of its buttons has it.
    std::function<void()> giveFocusBack;
  };

  OutsideChangeRow(Handlers handlers, QWidget* parent);

  /// Shows the line and announces it to assistive technology.
  void showText(const QString& text, EditorWindowSurface::OutsideChangeChoices choices);
  void hideLine();

 private:
  QPushButton* makeButton(const QString& title, const QString& purpose,
                          std::function<void()> action);
  bool hasKeyboard() const;

  const Handlers handlers_;
  ElidedLabel* text_;
  QPushButton* show_;
  QPushButton* reload_;
  QPushButton* keepMine_;
};

}  // namespace quillmor
