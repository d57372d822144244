#include "ui/app/ApplicationWindows.h"

#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QScreen>
#include <QShortcut>
#include <algorithm>
#include <utility>

#include "app/AppDelegate.h"
#include "app/MainMenu.h"
#include "app/RecoveryController.h"
#include "platform/RunInBackground.h"
#include "ui/app/AboutWindowController.h"
#include "ui/app/RecoveryWindow.h"
#include "ui/app/WindowMenus.h"
#include "ui/editor/HexEditorView.h"
#include "ui/window/EditorWindow.h"
#include "ui/window/UtilityWindow.h"

namespace quillmor {

namespace {

constexpr const char* kMenusName = "windowMenus";

QWidget* windowOf(const CommandOrigin& origin) {
  return static_cast<QWidget*>(origin.window);
}

/// The widget that gets typed text in the origin's window. An editable pop-up has the focus itself;
/// its field gets the text.
QWidget* focusedWidget(const CommandOrigin& origin) {
  const QWidget* window = windowOf(origin);
  QWidget* focus = window ? window->focusWidget() : QApplication::focusWidget();
  const auto* popUp = qobject_cast<QComboBox*>(focus);
  return popUp && popUp->isEditable() ? popUp->lineEdit() : focus;
}

TextFocus focusOf(const QLineEdit& field) {
  return {.isEditable = !field.isReadOnly(),
          .hasText = !field.text().isEmpty(),
          .hasSelection = field.hasSelectedText(),
          .canUndo = field.isUndoAvailable(),
          .canRedo = field.isRedoAvailable()};
}

TextFocus focusOf(const QPlainTextEdit& view) {
  return {.isEditable = !view.isReadOnly(),
          .hasText = !view.document()->isEmpty(),
          .hasSelection = view.textCursor().hasSelection(),
          .canUndo = view.document()->isUndoAvailable(),
          .canRedo = view.document()->isRedoAvailable()};
}

/// Without a selection these do nothing: the command is not the key that deletes a character.
void deleteSelectedText(QLineEdit& field) {
  if (field.hasSelectedText()) field.del();
}
void deleteSelectedText(QPlainTextEdit& view) {
  view.textCursor().removeSelectedText();
}

template <class TextView>
void send(TextAction action, TextView& view) {
  switch (action) {
    case TextAction::undo:
      return view.undo();
    case TextAction::redo:
      return view.redo();
    case TextAction::cut:
      return view.cut();
    case TextAction::copy:
      return view.copy();
    case TextAction::paste:
      return view.paste();
    case TextAction::delete_:
      return deleteSelectedText(view);
    case TextAction::selectAll:
      return view.selectAll();
  }
}

}  // namespace

ApplicationWindows::ApplicationWindows(const PlatformServices& platform) : platform_(platform) {}
ApplicationWindows::~ApplicationWindows() = default;

void ApplicationWindows::showEditorWindow(const std::shared_ptr<HexWindowController>& controller) {
  EditorWindow::Handlers handlers;
  handlers.didBecomeKey = [this](EditorWindow& window) {
    delegate_->editorWindowDidBecomeKey(window.controller());
    if (auto* menus = menusOf(window)) menus->revalidateLater();
  };
  handlers.menusNeedValidation = [](EditorWindow& window) {
    if (auto* menus = menusOf(window)) menus->revalidateLater();
  };
  handlers.perform = [this](EditorWindow& window, std::string_view action) {
    delegate_->perform(action, {window.controller().shared_from_this(), &window});
  };
  const std::weak_ptr owner = controller;
  handlers.didOpenUtilityWindow = [this, owner](UtilityWindow& window) {
    std::erase_if(utilityWindows_, [](const auto& held) { return held.isNull(); });
    utilityWindows_.emplace_back(&window);
    addMenus(window, owner);
  };
  handlers.didMakePanel = [this, owner](FindReplacePanelController& panel) {
    addMenus(panel, owner);
  };
  auto* window = new EditorWindow(controller, {searchHistories_}, std::move(handlers));
  std::erase_if(editorWindows_, [](const auto& held) { return held.isNull(); });
  editorWindows_.emplace_back(window);
  addMenus(*window, owner, window->menuBar());
  addContextMenu(*window);
  window->show();
  window->activateWindow();
}

/// The context menu of the hex view: at the pointer, and at the caret by keyboard. Not every
/// platform sends the request for Shift+F10.
void ApplicationWindows::addContextMenu(EditorWindow& window) {
  HexEditorView& view = window.editorView();
  const auto show = [&window, &view](const QPoint& place) {
    if (auto* menus = menusOf(window)) menus->showContextMenu(view.viewport()->mapToGlobal(place));
  };
  view.setContextMenuPolicy(Qt::CustomContextMenu);
  QObject::connect(&view, &QWidget::customContextMenuRequested, &window, show);
  auto* key = new QShortcut(QKeySequence(Qt::SHIFT | Qt::Key_F10), &view);
  key->setContext(Qt::WidgetShortcut);
  QObject::connect(key, &QShortcut::activated, &window, [&window, &view, show] {
    const Rect caret = window.controller().editor().caretDrawingRect();
    const Point scrolled = view.scrollPosition();
    show(QPointF(caret.x - scrolled.x, caret.y + caret.height - scrolled.y).toPoint());
  });
}

void ApplicationWindows::addMenus(QWidget& window, const std::weak_ptr<HexWindowController>& owner,
                                  QMenuBar* menuBar) {
  const auto origin = [owner, &window] {
    auto editor = owner.lock();
    if (editor && !editor->hasWindow()) editor = nullptr;
    return CommandOrigin{.editor = std::move(editor), .window = &window};
  };
  WindowMenus::Handlers handlers;
  handlers.perform = [this, origin](std::string_view action) {
    delegate_->perform(action, origin());
  };
  handlers.validate = [this, origin](std::string_view action) {
    return delegate_->validateMenuItem(action, origin());
  };
  auto* menus = new WindowMenus(window, menuBar, std::move(handlers));
  menus->setObjectName(kMenusName);
}

WindowMenus* ApplicationWindows::menusOf(QWidget& window) {
  return dynamic_cast<WindowMenus*>(
      window.findChild<QObject*>(kMenusName, Qt::FindDirectChildrenOnly));
}

std::optional<TextFocus> ApplicationWindows::focusedTextView(const CommandOrigin& origin) const {
  QWidget* focus = focusedWidget(origin);
  if (const auto* field = qobject_cast<QLineEdit*>(focus)) return focusOf(*field);
  if (const auto* view = qobject_cast<QPlainTextEdit*>(focus)) return focusOf(*view);
  return std::nullopt;
}

bool ApplicationWindows::sendTextAction(TextAction action, const CommandOrigin& origin) {
  QWidget* focus = focusedWidget(origin);
  if (auto* field = qobject_cast<QLineEdit*>(focus)) return send(action, *field), true;
  if (auto* view = qobject_cast<QPlainTextEdit*>(focus)) return send(action, *view), true;
  return false;
}

void ApplicationWindows::performClose(const CommandOrigin& origin) {
  QWidget* window = windowOf(origin) ? windowOf(origin) : QApplication::activeWindow();
  if (window) window->close();
}

void ApplicationWindows::showAboutWindow() {
  if (!aboutWindowController_) {
    aboutWindowController_ = new AboutWindowController(
        platform_.workspace, [this](const QRect& frame) { aboutWindowFrame_ = frame; });
    addMenus(*aboutWindowController_, {});
    if (const QWidget* active = QApplication::activeWindow(); active && !aboutWindowFrame_) {
      QRect frame = aboutWindowController_->geometry();
      frame.moveCenter(active->geometry().center());
      aboutWindowFrame_ = frame;
    }
    if (aboutWindowFrame_) aboutWindowController_->setGeometry(*aboutWindowFrame_);
  }
  aboutWindowController_->show();
  aboutWindowController_->raise();
  aboutWindowController_->activateWindow();
}

void ApplicationWindows::showRecoveryList(RecoveryController& recovery) {
  recovery_ = &recovery;
  const bool isNew = !recoveryWindow_;
  if (isNew) {
    recoveryWindow_ = new RecoveryWindow(
        recovery, [this](std::string_view action) { delegate_->perform(action); });
    if (const QWidget* active = QApplication::activeWindow()) {
      QRect frame = recoveryWindow_->geometry();
      frame.moveCenter(active->geometry().center());
      const QRect room = active->screen()->availableGeometry();
      frame.moveLeft(std::max(frame.left(), room.left()));
      frame.moveTop(std::max(frame.top(), room.top()));
      recoveryWindow_->setGeometry(frame);
    }
  }
  refreshRecoveryList();
  if (!recoveryWindow_) return;
  recoveryWindow_->show();
  recoveryWindow_->raise();
  if (isNew) recoveryWindow_->activateWindow();
}

void ApplicationWindows::refreshRecoveryList() {
  if (!recoveryWindow_) return;
  if (recovery_->hasContent()) return recoveryWindow_->showContent();
  recoveryWindow_->hide();
  // One of its buttons may have led here.
  std::exchange(recoveryWindow_, nullptr)->deleteLater();
}

void ApplicationWindows::terminate() {
  for (EditorWindow* window : editorWindows()) window->closeWindow();
  QApplication::closeAllWindows();
  QApplication::quit();
}

void ApplicationWindows::destroyWindows() {
  for (EditorWindow* window : editorWindows()) delete window;
  for (const auto& window : utilityWindows_) delete window;
  delete aboutWindowController_;
  delete recoveryWindow_;
}

std::vector<EditorWindow*> ApplicationWindows::editorWindows() const {
  std::vector<EditorWindow*> windows;
  for (const auto& held : editorWindows_) {
    if (held) windows.push_back(held);
  }
  return windows;
}

}  // namespace quillmor
