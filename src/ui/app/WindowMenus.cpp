#include "ui/app/WindowMenus.h"

#include <QApplication>
#include <QEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMenuBar>
#include <algorithm>

#include "app/MainMenu.h"
#include "ui/window/QtText.h"

namespace quillmor {

namespace {

/// The key equivalent of an item. Qt's Ctrl is the Command key.
QKeySequence keySequenceFor(const MenuItem& item) {
  if (item.keyEquivalent.empty()) return {};
  const QString key = item.keyEquivalent == "\b" ? QStringLiteral("Backspace")
                                                 : toQString(item.keyEquivalent).toUpper();
  return QKeySequence::fromString((item.shift ? "Ctrl+Shift+" : "Ctrl+") + key);
}

/// In a menu title "&" marks the access key, so a literal one is doubled.
QString menuTitle(std::string_view title) {
  return toQString(title).replace("&", "&&");
}

}  // namespace

WindowMenus::WindowMenus(QWidget& window, QMenuBar* menuBar, Handlers handlers)
    : QObject(&window), window_(window), handlers_(std::move(handlers)) {
  for (const Menu& menu : mainMenu()) {
    QMenu* shown = nullptr;
    if (menuBar) {
      shown = menuBar->addMenu("&" + menuTitle(menu.title));
      connect(shown, &QMenu::aboutToShow, this, &WindowMenus::revalidate);
    }
    for (const MenuItem& item : menu.items) {
      if (item.isSeparator()) {
        if (shown) shown->addSeparator();
        continue;
      }
      const QKeySequence key = keySequenceFor(item);
      if (!shown && key.isEmpty()) continue;
      QAction* action = makeItem(item.title, item.action, key);
      shown ? shown->addAction(action) : window.addAction(action);
    }
  }
  if (menuBar) menuBar->setAccessibleName(toQString(kMenuBarTitle));
  qApp->installEventFilter(this);
  connect(qApp, &QApplication::focusChanged, this, &WindowMenus::revalidateLater);
  revalidate();
}

QAction* WindowMenus::makeItem(std::string_view title, std::string_view action,
                               const QKeySequence& key) {
  auto* item = new QAction(menuTitle(title), this);
  item->setShortcut(key);
  item->setMenuRole(QAction::NoRole);
  connect(item, &QAction::triggered, this, [this, action] {
    // The state may have changed since the item was last validated; a shortcut does not open the
    // menu.
    if (handlers_.validate(action)) handlers_.perform(action);
  });
  entries_.push_back({action, item});
  return item;
}

void WindowMenus::showContextMenu(const QPoint& place) {
  auto* shown = new QMenu(&window_);
  shown->setAttribute(Qt::WA_DeleteOnClose);
  shown->setAccessibleName("Context Menu");
  for (const MenuItem& item : contextMenu()) {
    if (item.isSeparator()) {
      shown->addSeparator();
      continue;
    }
    QAction* action = find(item.action);
    // What has no place in the menu bar is made when it is first shown.
    if (!action) action = makeItem(item.title, item.action, keySequenceFor(item));
    shown->addAction(action);
  }
  revalidate();
  shown->popup(place);
}

void WindowMenus::revalidateLater() {
  if (revalidationIsDue_) return;
  revalidationIsDue_ = true;
  QMetaObject::invokeMethod(
      this, [this] { revalidate(); }, Qt::QueuedConnection);
}

void WindowMenus::revalidate() {
  revalidationIsDue_ = false;
  for (const Entry& entry : entries_) entry.item->setEnabled(handlers_.validate(entry.action));
}

bool WindowMenus::eventFilter(QObject* watched, QEvent* event) {
  switch (event->type()) {
    case QEvent::ShortcutOverride:
      // A disabled item's shortcut is not found at all, so the items must be right before the
      // search.
      if (window_.isActiveWindow()) revalidate();
      return isIn(watched) && claims(static_cast<QKeyEvent&>(*event));
    case QEvent::MouseButtonPress:
      // Typing goes where the user has clicked, even if no window manager sees to it.
      if (isIn(watched) && QApplication::activeWindow() != &window_) window_.activateWindow();
      return false;
    case QEvent::ActivationChange:
      if (watched == &window_) revalidateLater();
      return false;
    default:
      return false;
  }
}

bool WindowMenus::isIn(const QObject* object) const {
  return object->isWidgetType() && static_cast<const QWidget*>(object)->window() == &window_;
}

/// Whether the key is one that text fields would take for themselves: with it they delete a word,
/// where "Delete" deletes the selection and nothing else.
bool WindowMenus::claims(QKeyEvent& key) const {
  const QAction* item = find("forwardDeleteSelection:");
  if (!item || !item->isEnabled() || item->shortcut() != QKeySequence(key.keyCombination()))
    return false;
  key.ignore();
  return true;
}

QAction* WindowMenus::find(std::string_view action) const {
  const auto found = std::find_if(entries_.begin(), entries_.end(),
                                  [action](const Entry& entry) { return entry.action == action; });
  return found == entries_.end() ? nullptr : found->item;
}

}  // namespace quillmor
