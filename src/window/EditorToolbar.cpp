#include "window/EditorToolbar.h"

#include <QHBoxLayout>
#include <QLinearGradient>
#include <QPainter>

#include "window/HexWindowController.h"
#include "window/QtText.h"
#include "window/ToolbarItems.h"

namespace quillmor {

namespace {

constexpr int kHeight = 44;
constexpr int kButtonPadding = 12;

}  // namespace

EditorToolbar::EditorToolbar(const Perform& perform, QWidget* parent) : QWidget(parent) {
  setFixedHeight(kHeight);
  setObjectName("toolbar");
  setAccessibleName(tr("Toolbar"));
  auto* stack = new QHBoxLayout(this);
  stack->setContentsMargins(10, 7, 10, 7);
  stack->setSpacing(8);
  for (const ToolbarItem& item : kToolbarItems) {
    auto* button = new QPushButton(toQString(item.title), this);
    button->setAccessibleName(toQString(item.title));
    button->setFocusPolicy(Qt::TabFocus);
    button->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
    // The style's own width is too wide for short titles and too narrow for long ones.
    const int titleWidth = button->fontMetrics().horizontalAdvance(button->text());
    button->setFixedWidth(titleWidth + 2 * kButtonPadding);
    connect(button, &QPushButton::clicked, this,
            [perform, action = item.action] { perform(action); });
    stack->addWidget(button);
    toolbarButtons_.push_back({button, HexWindowController::hasCommand(item.action)});
  }
  stack->addStretch(1);
  setButtonsEnabled(true);
}

int EditorToolbar::fittingWidth() const {
  return layout()->minimumSize().width();
}

void EditorToolbar::setButtonsEnabled(bool enabled) {
  for (const ToolbarButton& entry : toolbarButtons_)
    entry.button->setEnabled(enabled && entry.hasCommand);
}

void EditorToolbar::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  QLinearGradient metal(0, 0, 0, height());
  metal.setColorAt(0, QColor::fromRgbF(0.17F, 0.17F, 0.175F));
  metal.setColorAt(1, QColor::fromRgbF(0.115F, 0.115F, 0.12F));
  painter.fillRect(rect(), metal);
  painter.fillRect(QRectF(0, height() - 1, width(), 1), QColor::fromRgbF(0.0F, 0.0F, 0.0F, 0.7F));
}

}  // namespace quillmor
