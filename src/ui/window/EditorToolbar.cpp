#include "ui/window/EditorToolbar.h"

#include <QHBoxLayout>
#include <QLinearGradient>
#include <QMenu>
#include <QPainter>
#include <algorithm>

#include "ui/window/QtText.h"
#include "window/ToolbarItems.h"

namespace quillmor {

namespace {

constexpr int kHeight = 44;
constexpr int kButtonPadding = 12;
constexpr int kSideInset = 10;
constexpr int kEndInset = 7;
constexpr int kSpacing = 8;

/// Sizes and names a button like all of the band.
void prepareButton(QPushButton& button, const QString& name) {
  button.setAccessibleName(name);
  button.setFocusPolicy(Qt::TabFocus);
  button.setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
  // The style's own width is too wide for short titles and too narrow for long ones.
  const int titleWidth = button.fontMetrics().horizontalAdvance(button.text());
  button.setFixedWidth(titleWidth + 2 * kButtonPadding);
}

}  // namespace

EditorToolbar::EditorToolbar(const Perform& perform, QWidget* parent) : QWidget(parent) {
  setFixedHeight(kHeight);
  setObjectName("toolbar");
  setAccessibleName(tr("Toolbar"));
  auto* stack = new QHBoxLayout(this);
  stack->setContentsMargins(kSideInset, kEndInset, kSideInset, kEndInset);
  stack->setSpacing(kSpacing);
  overflow_ = makeOverflowButton();
  for (const ToolbarItem& item : kToolbarItems) {
    toolbarButtons_.push_back(makeButton(item, perform));
    stack->addWidget(toolbarButtons_.back().button);
  }
  stack->addWidget(overflow_);
  stack->addStretch(1);
  setTabOrder(toolbarButtons_.back().button, overflow_);
  setButtonsEnabled(true);
}

EditorToolbar::ToolbarButton EditorToolbar::makeButton(const ToolbarItem& item,
                                                       const Perform& perform) {
  const QString title = toQString(item.title);
  auto* button = new QPushButton(title, this);
  prepareButton(*button, title);
  QAction* menuItem = overflow_->menu()->addAction(title);
  const auto performItem = [perform, action = item.action] { perform(action); };
  connect(button, &QPushButton::clicked, this, performItem);
  connect(menuItem, &QAction::triggered, this, performItem);
  return {button, menuItem};
}

QPushButton* EditorToolbar::makeOverflowButton() {
  auto* button = new QPushButton(QStringLiteral("»"), this);
  prepareButton(*button, tr("More"));
  button->setToolTip(tr("More"));
  button->setMenu(new QMenu(button));
  return button;
}

/// The width that the first `count` buttons take, with the space between them.
int EditorToolbar::widthOfButtons(std::size_t count) const {
  int width = kSpacing * std::max(static_cast<int>(count) - 1, 0);
  for (std::size_t i = 0; i < count; ++i) width += toolbarButtons_[i].button->minimumWidth();
  return width;
}

int EditorToolbar::fittingWidth() const {
  return widthOfButtons(toolbarButtons_.size()) + 2 * kSideInset;
}

QSize EditorToolbar::minimumSizeHint() const {
  return {overflow_->width() + 2 * kSideInset, kHeight};
}

void EditorToolbar::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  showWhatFits();
}

void EditorToolbar::showWhatFits() {
  std::size_t shown = toolbarButtons_.size();
  if (width() < fittingWidth()) {
    const int room = width() - 2 * kSideInset - kSpacing - overflow_->width();
    while (shown > 0 && widthOfButtons(shown) > room) --shown;
  }
  for (std::size_t i = 0; i < toolbarButtons_.size(); ++i) {
    toolbarButtons_[i].button->setVisible(i < shown);
    toolbarButtons_[i].menuItem->setVisible(i >= shown);
  }
  overflow_->setVisible(shown < toolbarButtons_.size());
  layout()->activate();
}

void EditorToolbar::setButtonsEnabled(bool enabled) {
  for (const ToolbarButton& entry : toolbarButtons_) {
    entry.button->setEnabled(enabled);
    entry.menuItem->setEnabled(enabled);
  }
  overflow_->setEnabled(enabled);
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
