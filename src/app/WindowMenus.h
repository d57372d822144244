#pragma once

#include <QAction>
#include <QMainWindow>
#include <QObject>
#include <functional>
#include <string_view>
#include <vector>

namespace quillmor {

/// The main menu in one window: as a menu bar of an editor, or as shortcuts alone in a report
/// window.
class WindowMenus : public QObject {
 public:
  struct Handlers {
    std::function<void(std::string_view action)> perform;
    std::function<bool(std::string_view action)> validate;
  };

  enum class Presentation { menuBar, shortcutsOnly };

  /// Belongs to `window` and dies with it.
  WindowMenus(QMainWindow& window, Presentation presentation, Handlers handlers);

  /// Enables and disables the items once the current event has been dealt with.
  void revalidateLater();
  void revalidate();

  /// Brings the items up to date before a key is looked up among their shortcuts.
  bool eventFilter(QObject* watched, QEvent* event) override;

  /// The action object of an item; null when the menu has none with that name.
  QAction* find(std::string_view action) const;

 private:
  struct Entry {
    std::string_view action;
    QAction* item;
  };

  QAction* makeItem(std::string_view title, std::string_view action, const QKeySequence& key);

  const Handlers handlers_;
  std::vector<Entry> entries_;
  bool revalidationIsDue_ = false;
};

}  // namespace quillmor
