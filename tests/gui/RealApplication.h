#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QPushButton>
#include <QTest>
#include <stdexcept>
#include <string>

#include "app/AppDelegate.h"
#include "support/TemporaryFolder.h"
#include "support/TestPlatform.h"
#include "ui/app/ApplicationWindows.h"
#include "ui/editor/HexEditorView.h"
#include "ui/window/EditorWindow.h"
#include "ui/window/ElidedLabel.h"
#include "ui/window/ReportWindow.h"

namespace quillmor::test {

/// The base of tests with the real windows, menus and keys of the application on scripted services.
class RealApplication : public testing::Test {
 protected:
  RealApplication() : RealApplication(nullptr) {}

  /// With `realAlerts`, where given, in the place of the scripted ones.
  explicit RealApplication(AlertPresenter* realAlerts)
      : services(withAlerts(platform.services(), realAlerts)) {
    windows.setDelegate(delegate);
  }

  ~RealApplication() override { windows.destroyWindows(); }

  /// A file with `content` in the window of the application, made when there is none.
  EditorWindow& open(const std::string& content) {
    delegate.openFiles({folder.write("data.bin", content)}, [](bool) {});
    platform.executor.runAll();
    return activate(*windows.editorWindows().back());
  }

  /// A file in a further window.
  EditorWindow& openAnother(const std::string& content) {
    delegate.newDocument();
    EditorWindow& window = activate(*windows.editorWindows().back());
    delegate.openFiles({folder.write("other.bin", content)}, [](bool) {});
    platform.executor.runAll();
    return window;
  }

  static void makeActive(QWidget& window) {
    window.activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
  }

  static EditorWindow& activate(EditorWindow& window) {
    makeActive(window);
    window.editorView().setFocus();
    return window;
  }

  /// The top-level window of a type; null when there is none.
  template <class Window>
  static Window* topLevel() {
    for (QWidget* widget : QApplication::topLevelWidgets()) {
      if (auto* found = dynamic_cast<Window*>(widget)) return found;
    }
    return nullptr;
  }

  static QPushButton* button(QWidget& window, const QString& title) {
    for (QPushButton* candidate : window.findChildren<QPushButton*>()) {
      if (candidate->text() == title) return candidate;
    }
    ADD_FAILURE() << "no button " << title.toStdString();
    return nullptr;
  }

  /// The line of the window that is for `purpose`, such as "Status".
  static ElidedLabel& label(const EditorWindow& window, const QString& purpose) {
    for (auto* label : window.findChildren<ElidedLabel*>()) {
      if (label->accessibleDescription() == purpose) return *label;
    }
    throw std::logic_error("no line " + purpose.toStdString());
  }

  static QString line(const EditorWindow& window, const QString& purpose) {
    return label(window, purpose).fullText();
  }

  static std::string text(EditorWindow& window) {
    const auto bytes = window.controller().document().storage()->bytes.span();
    return {bytes.begin(), bytes.end()};
  }

  static PlatformServices withAlerts(const PlatformServices& scripted, AlertPresenter* realAlerts) {
    return {realAlerts ? *realAlerts : scripted.alerts,
            scripted.filePanels,
            scripted.pasteboard,
            scripted.defaults,
            scripted.beeper,
            scripted.workspace,
            scripted.executor,
            scripted.fileWatcher};
  }

  TemporaryFolder folder;
  TestPlatform platform;
  const PlatformServices services;
  ApplicationWindows windows{services};
  AppDelegate delegate{services, windows};
};

}  // namespace quillmor::test
