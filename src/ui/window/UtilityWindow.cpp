#include "ui/window/UtilityWindow.h"

#include <QScreen>
#include <QScrollArea>

#include "window/WindowCascade.h"

namespace quillmor {

namespace {

PanelPlacement::Frame frameOf(const QRect& rect) {
  return {.origin = {rect.x(), rect.y()}, .size = {rect.width(), rect.height()}};
}

}  // namespace

UtilityWindow::UtilityWindow() {
  setAttribute(Qt::WA_DeleteOnClose);
}

/// For a screen without room for all controls at once.
void UtilityWindow::scrollContent() {
  QWidget* const focus = focusWidget();
  auto* scroll = new QScrollArea(this);
  scroll->setFrameShape(QFrame::NoFrame);
  scroll->setFocusPolicy(Qt::NoFocus);
  scroll->setWidgetResizable(true);
  scroll->setWidget(takeCentralWidget());
  setCentralWidget(scroll);
  if (focus != nullptr) focus->setFocus();
}

void UtilityWindow::placeOver(const QWidget& owner, const std::vector<const QWidget*>& others) {
  const QRect available = owner.screen()->availableGeometry();
  // The desktop's frame is known only of a window that has been shown; both windows get the same
  // one.
  const QSize decoration = owner.frameGeometry().size() - owner.size();
  const QSize room = available.size() - decoration;
  // The menu bar comes later.
  const QSize needed = minimumSizeHint() + QSize(0, 2 * fontMetrics().height());
  if (needed.boundedTo(room) != needed) scrollContent();
  resize(size().boundedTo(room));
  std::vector<PanelPlacement::Origin> taken;
  for (const QWidget* other : others) {
    if (other->isVisible()) taken.push_back(frameOf(other->frameGeometry()).origin);
  }
  const auto frame = frameOf({QPoint(), size() + decoration});
  const auto origin = WindowCascade::originOver(frameOf(owner.frameGeometry()), frame.size,
                                                frameOf(available), taken);
  move(static_cast<int>(origin.x), static_cast<int>(origin.y));
}

}  // namespace quillmor
