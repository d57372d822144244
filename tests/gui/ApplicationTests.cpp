// The real windows, menus and keys of the application on scripted services.

#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QFontMetrics>
#include <QLineEdit>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>

#include "gui/RealApplication.h"
#include "ui/app/WindowMenus.h"
#include "ui/editor/HexEditorView.h"
#include "ui/window/ReportWindow.h"

namespace quillmor::test {
namespace {

class ApplicationTest : public RealApplication {};

TEST_F(ApplicationTest, showsAFileInAWindowOfTheStatedSize) {
  EditorWindow& window = open("hello");
  EXPECT_EQ(window.windowTitle(), "data.bin[*]");
  EXPECT_FALSE(window.isWindowModified());
  EXPECT_GE(window.minimumWidth(), 740);
  EXPECT_EQ(window.minimumHeight(), 460);
  EXPECT_EQ(line(window, "Status"),
            "Size: 5 bytes  |  Offset: 0x00000000  |  Mode: Overwrite  |  Selection: 0");
  EXPECT_TRUE(line(window, "Data inspector").startsWith("UInt8: 104  |  Int8: 104  |  Hex: 0x68"));
}

TEST_F(ApplicationTest, startsWithWindowsOf1120By760) {
  delegate.newDocument();
  EditorWindow& window = *windows.editorWindows().back();
  const QSize available = window.screen()->availableGeometry().size();
  EXPECT_EQ(window.size(), QSize(1120, 760).boundedTo(available).expandedTo(window.minimumSize()));
}

TEST_F(ApplicationTest, typesWithRealKeysAndUndoesWithTheShortcut) {
  EditorWindow& window = open("hello");
  QTest::keyClicks(&window.editorView(), "4a");
  EXPECT_EQ(text(window), "Jello");
  EXPECT_TRUE(window.isWindowModified());
  QTest::keyClick(&window, Qt::Key_Z, Qt::ControlModifier);
  EXPECT_EQ(text(window), "hello");
  EXPECT_FALSE(window.isWindowModified());
  QTest::keyClick(&window, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
  EXPECT_EQ(text(window), "Jello");
}

TEST_F(ApplicationTest, savesWithTheShortcut) {
  EditorWindow& window = open("hello");
  QTest::keyClicks(&window.editorView(), "4a");
  QTest::keyClick(&window, Qt::Key_S, Qt::ControlModifier);
  platform.executor.runAll();
  EXPECT_EQ(folder.read("data.bin"), "Jello");
  EXPECT_FALSE(window.isWindowModified());
}

TEST_F(ApplicationTest, togglesInsertModeWithTheShortcut) {
  EditorWindow& window = open("hello");
  QTest::keyClick(&window, Qt::Key_I, Qt::ControlModifier);
  EXPECT_TRUE(line(window, "Status").contains("Mode: Insert"));
  QTest::keyClicks(&window.editorView(), "41");
  EXPECT_EQ(text(window), "Ahello");
}

TEST_F(ApplicationTest, goesToAnOffsetFromTheToolbar) {
  EditorWindow& window = open("hello");
  platform.alerts.expect("Go to Offset", "Enter decimal, 0xHEX, HEX, or HEXh offset.", "OK",
                         {"0x3"});
  button(window, "Go To")->click();
  EXPECT_EQ(window.controller().editor().caretOffset(), 3);
  platform.alerts.expectRefusedAnswer("Go to Offset", "Enter decimal, 0xHEX, HEX, or HEXh offset.",
                                      "OK", {"zzz"}, "Enter a valid offset.");
  button(window, "Go To")->click();
  EXPECT_EQ(window.controller().editor().caretOffset(), 3);
}

TEST_F(ApplicationTest, namesEveryToolbarButtonForAssistiveTechnology) {
  EditorWindow& window = open("hello");
  for (const char* title : {"Find", "Replace", "Go To", "Range", "Insert", "Fill", "Compare",
                            "Strings", "Bookmark", "Checksum", "Frequency", "Insert/Overwrite"}) {
    QPushButton* found = button(window, title);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->accessibleName(), title);
    // Nothing of the title is cut off.
    EXPECT_GE(found->width(), QFontMetrics(found->font()).horizontalAdvance(found->text()));
  }
}

TEST_F(ApplicationTest, disablesTheToolbarAndHidesTheCaretWhileBusy) {
  EditorWindow& window = open("hello");
  BusyScope busy = window.controller().context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  EXPECT_FALSE(button(window, "Go To")->isEnabled());
  EXPECT_FALSE(window.controller().editor().isEditingEnabled());
  EXPECT_EQ(line(window, "Status"), "Working…");
  busy.end();
  EXPECT_TRUE(button(window, "Go To")->isEnabled());
}

TEST_F(ApplicationTest, showsProgressAfterAWhileAndStopsOnEscape) {
  EditorWindow& window = open("hello");
  bool stopped = false;
  const auto work = [&](TaskProgress& progress) -> Done {
    stopped = progress.stopRequested();
    return {};
  };
  window.controller().context().runBackgroundTask("Working…", work,
                                                  std::function([](Result<Done>) {}));
  auto* progress = window.findChild<QProgressBar*>();
  platform.executor.advance(std::chrono::milliseconds(299));
  EXPECT_FALSE(progress->isVisible());
  platform.executor.advance(std::chrono::milliseconds(1));
  EXPECT_TRUE(progress->isVisible());
  EXPECT_TRUE(button(window, "Stop")->isVisible());
  QTest::keyClick(&window, Qt::Key_Escape);
  platform.executor.runAll();
  EXPECT_TRUE(stopped);
  EXPECT_FALSE(progress->isVisible());
}

TEST_F(ApplicationTest, asksBeforeAWindowWithUnsavedChangesCloses) {
  EditorWindow& window = open("hello");
  QTest::keyClicks(&window.editorView(), "4a");
  platform.alerts.expect("Do you want to save the changes you made to \"data.bin\"?",
                         "Your changes will be lost if you don't save them.", "Cancel");
  window.close();
  EXPECT_TRUE(window.isVisible());
  platform.alerts.expect("Do you want to save the changes you made to \"data.bin\"?",
                         "Your changes will be lost if you don't save them.", "Save");
  QPointer<EditorWindow> guard(&window);
  window.close();
  platform.executor.runAll();
  EXPECT_TRUE(QTest::qWaitFor([&] { return guard.isNull(); }));
  EXPECT_EQ(folder.read("data.bin"), "Jello");
  EXPECT_TRUE(delegate.documents().documents().empty());
}

TEST_F(ApplicationTest, closesAWindowThatIsToldToWhileItAsks) {
  EditorWindow& window = open("hello");
  QTest::keyClicks(&window.editorView(), "4a");
  const QPointer<EditorWindow> guard(&window);
  platform.alerts.duringNext([&] { window.closeWindow(); });
  platform.alerts.expect("Do you want to save the changes you made to \"data.bin\"?",
                         "Your changes will be lost if you don't save them.", "Cancel");
  window.close();
  EXPECT_TRUE(QTest::qWaitFor([&] { return guard.isNull(); }));
}

TEST_F(ApplicationTest, refusesToCloseWhileBusy) {
  EditorWindow& window = open("hello");
  BusyScope busy = window.controller().context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  platform.alerts.expect(
      "Operation in Progress",
      "Wait for the current file operation to finish before closing this editor window.");
  window.close();
  EXPECT_TRUE(window.isVisible());
  busy.end();
}

TEST_F(ApplicationTest, showsReportsInWindowsThatCloseWithTheEditor) {
  EditorWindow& window = open("hello");
  window.controller().context().showUtilityReport("Bookmarks", "one\ntwo\n");
  QPointer<ReportWindow> report(topLevel<ReportWindow>());
  ASSERT_FALSE(report.isNull());
  EXPECT_EQ(report->windowTitle(), "Bookmarks");
  EXPECT_EQ(report->text().toPlainText(), "one\ntwo\n");
  EXPECT_TRUE(report->text().isReadOnly());
  window.close();
  EXPECT_TRUE(QTest::qWaitFor([&] { return report.isNull(); }));
}

TEST_F(ApplicationTest, sendsShortcutsOfAReportWindowToTheEditor) {
  EditorWindow& window = open("hello");
  window.controller().context().showUtilityReport("Report", "text");
  auto* report = topLevel<ReportWindow>();
  ASSERT_NE(report, nullptr);
  report->activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(report));
  QTest::keyClick(report, Qt::Key_I, Qt::ControlModifier);
  EXPECT_TRUE(window.controller().editor().insertMode());
}

TEST_F(ApplicationTest, undoesTypingInAFocusedTextFieldAndNotInTheEditor) {
  EditorWindow& window = open("hello");
  QTest::keyClicks(&window.editorView(), "4a");
  QLineEdit field(&window);
  field.show();
  field.setFocus();
  QTest::keyClicks(&field, "abc");
  delegate.perform("forwardUndo:");
  EXPECT_EQ(field.text(), "");
  EXPECT_EQ(text(window), "Jello");
  delegate.perform("forwardSelectAll:");
  EXPECT_EQ(window.controller().editor().selection(), HexSelection());
}

TEST_F(ApplicationTest, keepsMenusAsTheStateIs) {
  EditorWindow& window = open("hello");
  WindowMenus* menus = ApplicationWindows::menusOf(window);
  ASSERT_NE(menus, nullptr);
  QCoreApplication::processEvents();
  EXPECT_FALSE(menus->find("forwardUndo:")->isEnabled());
  EXPECT_TRUE(menus->find("forwardGoToOffset:")->isEnabled());
  EXPECT_FALSE(menus->find("forwardNextBookmark:")->isEnabled());
  QTest::keyClicks(&window.editorView(), "4a");
  QCoreApplication::processEvents();
  EXPECT_TRUE(menus->find("forwardUndo:")->isEnabled());
}

TEST_F(ApplicationTest, givesMenuItemsTheirKeys) {
  EditorWindow& window = open("hello");
  WindowMenus* menus = ApplicationWindows::menusOf(window);
  EXPECT_EQ(menus->find("forwardSaveDocumentAs:")->shortcut(), QKeySequence("Ctrl+Shift+S"));
  EXPECT_EQ(menus->find("forwardDeleteSelection:")->shortcut(), QKeySequence("Ctrl+Backspace"));
  EXPECT_EQ(menus->find("forwardNextBookmark:")->shortcut(), QKeySequence("Ctrl+]"));
  EXPECT_EQ(menus->find("showPreferences:")->shortcut(), QKeySequence("Ctrl+,"));
  EXPECT_EQ(window.menuBar()->actions().size(), 8);
}

TEST_F(ApplicationTest, doublesAnAsteriskPlaceholderInAFileName) {
  delegate.openFiles({folder.write("a[*]b.bin", "x")}, [](bool) {});
  platform.executor.runAll();
  EXPECT_EQ(windows.editorWindows().back()->windowTitle(), "a[*][*]b.bin[*]");
}

TEST_F(ApplicationTest, showsAFileNameVisiblyInTheTitle) {
  delegate.openFiles({folder.write("c\nd\xE2\x80\xAE\xFF.bin", "x")}, [](bool) {});
  platform.executor.runAll();
  EXPECT_EQ(windows.editorWindows().back()->windowTitle(), "c\\x0Ad\\u{202E}\\xFF.bin[*]");
}

}  // namespace
}  // namespace quillmor::test
