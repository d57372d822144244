#pragma once

#include <QPointer>
#include <QRect>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "app/ApplicationSurface.h"
#include "platform/PlatformServices.h"
#include "window/SearchHistory.h"

class QMenuBar;
class QWidget;

namespace quillmor {

class AboutWindowController;
class AppDelegate;
class EditorWindow;
class RecoveryWindow;
class UtilityWindow;
class WindowMenus;

/// Makes the application's windows and their menus, and reports to the delegate which window has
/// the keyboard.
class ApplicationWindows : public ApplicationSurface {
 public:
  explicit ApplicationWindows(const PlatformServices& platform);
  ~ApplicationWindows() override;

  /// The delegate that menus and windows report to; set before the first window is shown.
  void setDelegate(AppDelegate& delegate) { delegate_ = &delegate; }

  void showEditorWindow(const std::shared_ptr<HexWindowController>& controller) override;
  std::optional<TextFocus> focusedTextView(const CommandOrigin& origin) const override;
  bool sendTextAction(TextAction action, const CommandOrigin& origin) override;
  void performClose(const CommandOrigin& origin) override;
  void showAboutWindow() override;
  void showRecoveryList(RecoveryController& recovery) override;
  void refreshRecoveryList() override;
  void terminate() override;

  /// Destroys every window at once. Call it before the delegate is destroyed and outside any event
  /// of a window.
  void destroyWindows();

  /// The editor windows that are open, in the order they were made.
  std::vector<EditorWindow*> editorWindows() const;

  /// Returns the menus of a window; null for a window without menus.
  static WindowMenus* menusOf(QWidget& window);

 private:
  /// Gives a window its menus. Commands go to `owner`, or to the current editor once that has
  /// closed.
  void addMenus(QWidget& window, const std::weak_ptr<HexWindowController>& owner,
                QMenuBar* menuBar = nullptr);

  static void addContextMenu(EditorWindow& window);

  const PlatformServices platform_;
  SearchHistories searchHistories_;
  AppDelegate* delegate_ = nullptr;
  std::vector<QPointer<EditorWindow>> editorWindows_;
  std::vector<QPointer<UtilityWindow>> utilityWindows_;
  QPointer<AboutWindowController> aboutWindowController_;
  std::optional<QRect> aboutWindowFrame_;
  QPointer<RecoveryWindow> recoveryWindow_;
  RecoveryController* recovery_ = nullptr;
};

}  // namespace quillmor
