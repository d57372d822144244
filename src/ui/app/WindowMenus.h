#pragma once

#include <QAction>
#include <QObject>
#include <QPoint>
#include <QWidget>
#include <functional>
#include <string_view>
#include <vector>

class QKeyEvent;
class QMenuBar;

namespace quillmor {

/// The main menu in one window: as the menu bar of an editor, or as shortcuts alone in the other
/// windows.
class WindowMenus : public QObject {
 public:
  struct Handlers {
    std::function<void(std::string_view action)> perform;
    std::function<bool(std::string_view action)> validate;
  };

  /// Belongs to `window` and is destroyed with it. Fills `menuBar`; null for shortcuts alone.
  WindowMenus(QWidget& window, QMenuBar* menuBar, Handlers handlers);

  /// Shows the context menu of the hex view at a place on the screen. Returns at once.
  void showContextMenu(const QPoint& place);

  /// Enables and disables the items after the current event.
  void revalidateLater();
  void revalidate();

  /// Updates the items before a key is looked up among the window's shortcuts, and when the window
  /// becomes active or inactive. Activates a window that is clicked.
  bool eventFilter(QObject* watched, QEvent* event) override;

  /// The action object of an item; null when the menu has none with that name.
  QAction* find(std::string_view action) const;

 private:
  struct Entry {
    std::string_view action;
    QAction* item;
  };

  bool isIn(const QObject* object) const;
  bool claims(QKeyEvent& key) const;
  QAction* makeItem(std::string_view title, std::string_view action, const QKeySequence& key);

  QWidget& window_;
  const Handlers handlers_;
  std::vector<Entry> entries_;
  bool revalidationIsDue_ = false;
};

}  // namespace quillmor
