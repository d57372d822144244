#include "ui/window/OutsideChangeRow.h"

#include <QAccessible>
#include <QHBoxLayout>
#include <QPushButton>
#include <utility>

#include "ui/window/ElidedLabel.h"

namespace quillmor {

OutsideChangeRow::OutsideChangeRow(Handlers handlers, QWidget* parent)
    : QWidget(parent),
      handlers_(std::move(handlers)),
      text_(new ElidedLabel(tr("Change on disk"), this, ElidedLabel::Kind::notice)),
      show_(makeButton(tr("Show"), tr("Show changes on disk"), handlers_.show)),
      reload_(makeButton(tr("Reload"), tr("Reload from disk"), handlers_.reload)),
      keepMine_(
          makeButton(tr("Keep Mine"), tr("Keep the bytes in the window"), handlers_.keepMine)) {
  setAccessibleName(tr("Change on disk"));
  auto* layout = new QHBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(8);
  layout->addWidget(text_);
  layout->addStretch(1);
  for (QPushButton* button : {show_, reload_, keepMine_}) layout->addWidget(button);
  hide();
}

QPushButton* OutsideChangeRow::makeButton(const QString& title, const QString& purpose,
                                          std::function<void()> action) {
  auto* button = new QPushButton(title, this);
  button->setAccessibleName(title);
  button->setAccessibleDescription(purpose);
  button->setFocusPolicy(Qt::TabFocus);
  connect(button, &QPushButton::clicked, this, [action = std::move(action)] { action(); });
  return button;
}

void OutsideChangeRow::showText(const QString& text,
                                EditorWindowSurface::OutsideChangeChoices choices) {
  const bool hadKeyboard = hasKeyboard();
  text_->setFullText(text);
  show_->setVisible(choices.canShow);
  reload_->setVisible(choices.canReload);
  show();
  if (hadKeyboard && !hasKeyboard()) handlers_.giveFocusBack();
  QAccessibleEvent announcement(text_, QAccessible::Alert);
  QAccessible::updateAccessibility(&announcement);
}

void OutsideChangeRow::hideLine() {
  const bool hadKeyboard = hasKeyboard();
  hide();
  text_->setFullText({});
  if (hadKeyboard) handlers_.giveFocusBack();
}

/// True if a button of the line has the focus of its window.
bool OutsideChangeRow::hasKeyboard() const {
  const QWidget* const focus = window()->focusWidget();
  return focus != nullptr && isAncestorOf(focus);
}

}  // namespace quillmor
