#pragma once

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QRadioButton>
#include <QTabBar>
#include <stdexcept>
#include <string>

#include "gui/RealApplication.h"
#include "ui/window/FindReplacePanelController.h"

namespace quillmor::test {

/// The base of tests of the Find and Replace panels: real windows, and keys that go where the
/// keyboard is.
class PanelFixture : public RealApplication {
 protected:
  using Panel = FindReplacePanelController;

  /// The panel of the editor, found where it is kept; null before it is made.
  static Panel* panelOf(const EditorWindow& window, PanelKind kind) {
    for (QDialog* dialog : window.findChildren<QDialog*>()) {
      auto* panel = dynamic_cast<Panel*>(dialog);
      if (panel && panel->kind() == kind) return panel;
    }
    return nullptr;
  }

  /// Gives a window the keyboard. It counts as active already when its parent or its panel has it.
  static void makeKey(QWidget& window) {
    window.activateWindow();
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return QGuiApplication::focusWindow() == window.windowHandle(); }));
  }

  /// Opens the panel with its key and makes it the active window.
  Panel& openPanel(EditorWindow& window, PanelKind kind) {
    makeKey(window);
    window.editorView().setFocus();
    press(kind == PanelKind::find ? Qt::Key_F : Qt::Key_R, Qt::ControlModifier);
    Panel* panel = panelOf(window, kind);
    if (!panel) throw std::logic_error("no panel was made");
    makeKey(*panel);
    return *panel;
  }

  Panel& openFind(const std::string& content = "hello") {
    return openPanel(open(content), PanelKind::find);
  }

  Panel& openReplace(const std::string& content = "hello") {
    return openPanel(open(content), PanelKind::replace);
  }

  template <class Control>
  static Control& control(const Panel& panel, const char* name) {
    auto* found = panel.findChild<Control*>(name);
    if (!found) throw std::logic_error(std::string("no control ") + name);
    return *found;
  }

  static QTabBar& tabs(const Panel& panel) { return control<QTabBar>(panel, "tabView"); }
  static QComboBox& searchField(const Panel& panel) {
    return control<QComboBox>(panel, "searchField");
  }
  static QComboBox& replaceField(const Panel& panel) {
    return control<QComboBox>(panel, "replaceField");
  }
  static QComboBox& encodings(const Panel& panel) {
    return control<QComboBox>(panel, "encodingPopup");
  }
  static QCheckBox& caseSensitive(const Panel& panel) {
    return control<QCheckBox>(panel, "caseSensitiveCheckbox");
  }
  static QRadioButton& radio(const Panel& panel, const char* name) {
    return control<QRadioButton>(panel, name);
  }
  static QAbstractButton& pushButton(const Panel& panel, const char* name) {
    return control<QAbstractButton>(panel, name);
  }

  /// What is read of a text with the marks of access keys.
  static QString shown(QString text) { return text.remove('&'); }

  /// Where the next key goes.
  static QWidget& keyboardTarget() {
    if (QWidget* popup = QApplication::activePopupWidget()) return *popup;
    if (QWidget* focus = QApplication::focusWidget()) return *focus;
    throw std::logic_error("nothing has the keyboard");
  }

  static void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QTest::keyClick(&keyboardTarget(), key, modifiers);
  }

  static void type(const char* text) { QTest::keyClicks(&keyboardTarget(), text); }

  static QString focusName() {
    const QWidget* focus = QApplication::focusWidget();
    return focus ? focus->objectName() : QString();
  }
};

}  // namespace quillmor::test
