// Shortcuts and menu items of several windows, and of text fields in them.

#include "ui/app/WindowMenus.h"

#include <gmock/gmock.h>

#include <QAction>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPointer>
#include <algorithm>
#include <string>
#include <vector>

#include "gui/RealApplication.h"

namespace quillmor::test {
namespace {

class WindowMenusTest : public RealApplication {
 protected:
  ReportWindow& showReport(EditorWindow& window) {
    window.controller().context().showUtilityReport("Report", "some text");
    auto* report = topLevel<ReportWindow>();
    if (!report) throw std::logic_error("no report window");
    makeActive(*report);
    return *report;
  }
};

TEST_F(WindowMenusTest, aShortcutGoesToTheActiveOfTwoWindows) {
  EditorWindow& first = open("first");
  EditorWindow& second = openAnother("second");
  activate(first);
  QTest::keyClick(&first, Qt::Key_I, Qt::ControlModifier);
  EXPECT_TRUE(first.controller().editor().insertMode());
  EXPECT_FALSE(second.controller().editor().insertMode());
  activate(second);
  QTest::keyClick(&second, Qt::Key_I, Qt::ControlModifier);
  EXPECT_TRUE(second.controller().editor().insertMode());
  QTest::keyClick(&second, Qt::Key_I, Qt::ControlModifier);
  EXPECT_TRUE(first.controller().editor().insertMode());
  EXPECT_FALSE(second.controller().editor().insertMode());
}

TEST_F(WindowMenusTest, aToolbarButtonActsOnItsOwnWindowThoughAnotherIsActive) {
  EditorWindow& first = open("first");
  EditorWindow& second = openAnother("second");
  activate(second);
  button(first, "Insert/Overwrite")->click();
  EXPECT_TRUE(first.controller().editor().insertMode());
  EXPECT_FALSE(second.controller().editor().insertMode());
  QTest::keyClick(&second, Qt::Key_I, Qt::ControlModifier);
  EXPECT_TRUE(second.controller().editor().insertMode());
}

TEST_F(WindowMenusTest, aMenuItemActsOnItsOwnWindowThoughAnotherIsActive) {
  EditorWindow& first = open("first");
  EditorWindow& second = openAnother("second");
  QTest::keyClicks(&second.editorView(), "4a");
  makeActive(second);
  const auto item = [](EditorWindow& window, const char* action) {
    WindowMenus& menus = *ApplicationWindows::menusOf(window);
    menus.revalidate();
    return menus.find(action);
  };
  item(first, "forwardToggleInsertMode:")->trigger();
  EXPECT_TRUE(first.controller().editor().insertMode());
  EXPECT_FALSE(second.controller().editor().insertMode());
  makeActive(second);
  EXPECT_FALSE(item(first, "forwardUndo:")->isEnabled());
  EXPECT_TRUE(item(second, "forwardUndo:")->isEnabled());
  item(first, "forwardSelectAll:")->trigger();
  EXPECT_EQ(first.controller().editor().selection(), (HexSelection{0, 5}));
  EXPECT_EQ(second.controller().editor().selection(), HexSelection());
  const QPointer<EditorWindow> closed(&first);
  makeActive(second);
  item(first, "performClose:")->trigger();
  EXPECT_TRUE(QTest::qWaitFor([&] { return closed.isNull(); }));
  EXPECT_TRUE(second.isVisible());
}

TEST_F(WindowMenusTest, openingFromTheMenuOfAWindowReplacesThatWindowsDocument) {
  EditorWindow& first = open("first");
  EditorWindow& second = openAnother("second");
  makeActive(second);
  platform.filePanels.openAnswers.push_back({folder.write("third.bin", "third")});
  platform.filePanels.duringNext = [&] { makeActive(second); };
  ApplicationWindows::menusOf(first)->find("forwardOpenDocument:")->trigger();
  platform.executor.runAll();
  EXPECT_EQ(text(first), "third");
  EXPECT_EQ(text(second), "second");
}

TEST_F(WindowMenusTest, aTextFieldOfAnotherWindowTakesNoCommandOfAMenu) {
  EditorWindow& first = open("first");
  EditorWindow& second = openAnother("second");
  QLineEdit field("text", &second);
  field.show();
  makeActive(second);
  field.setFocus();
  WindowMenus& menus = *ApplicationWindows::menusOf(first);
  menus.revalidate();
  menus.find("forwardSelectAll:")->trigger();
  EXPECT_FALSE(field.hasSelectedText());
  EXPECT_EQ(first.controller().editor().selection(), (HexSelection{0, 5}));
}

TEST_F(WindowMenusTest, shortcutsOfAReportGoToTheEditorItIsAbout) {
  EditorWindow& first = open("first");
  EditorWindow& second = openAnother("second");
  makeActive(first);
  ReportWindow& report = showReport(first);
  makeActive(second);
  makeActive(report);
  QTest::keyClick(&report, Qt::Key_I, Qt::ControlModifier);
  EXPECT_TRUE(first.controller().editor().insertMode());
  EXPECT_FALSE(second.controller().editor().insertMode());
}

TEST_F(WindowMenusTest, deletingInATextFieldDeletesTheSelectionAndNothingElse) {
  EditorWindow& window = open("hello");
  QLineEdit field("two words", &window);
  QPlainTextEdit view("two words", &window);
  field.show();
  view.show();
  field.setFocus();
  field.setCursorPosition(3);
  WindowMenus& menus = *ApplicationWindows::menusOf(window);
  QCoreApplication::processEvents();
  menus.find("forwardDeleteSelection:")->trigger();
  QTest::keyClick(&field, Qt::Key_Backspace, Qt::ControlModifier);
  EXPECT_EQ(field.text(), "two words");
  field.setSelection(3, 6);
  QTest::keyClick(&field, Qt::Key_Backspace, Qt::ControlModifier);
  EXPECT_EQ(field.text(), "two");
  view.setFocus();
  view.moveCursor(QTextCursor::End);
  QTest::keyClick(&view, Qt::Key_Backspace, Qt::ControlModifier);
  view.moveCursor(QTextCursor::Start);
  menus.find("forwardDeleteSelection:")->trigger();
  EXPECT_EQ(view.toPlainText(), "two words");
  view.selectAll();
  menus.find("forwardDeleteSelection:")->trigger();
  EXPECT_EQ(view.toPlainText(), "");
  EXPECT_EQ(text(window), "hello");
}

TEST_F(WindowMenusTest, undoesTheLastEditFromAReportWindowOpenedBeforeIt) {
  EditorWindow& window = open("hello");
  ReportWindow& report = showReport(window);
  QCoreApplication::processEvents();
  activate(window);
  QTest::keyClicks(&window.editorView(), "4a");
  EXPECT_EQ(text(window), "Jello");
  makeActive(report);
  // The text has the focus, but a text that cannot be edited has nothing to undo.
  report.text().clearFocus();
  QTest::keyClick(&report, Qt::Key_Z, Qt::ControlModifier);
  EXPECT_EQ(text(window), "hello");
}

TEST_F(WindowMenusTest, savesFromAReportWindowAfterTheEditorWasBusy) {
  EditorWindow& window = open("hello");
  QTest::keyClicks(&window.editorView(), "4a");
  BusyScope busy = window.controller().context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  ReportWindow& report = showReport(window);
  QCoreApplication::processEvents();
  QTest::keyClick(&report, Qt::Key_S, Qt::ControlModifier);
  EXPECT_FALSE(platform.executor.hasWork());
  busy.end();
  QTest::keyClick(&report, Qt::Key_S, Qt::ControlModifier);
  platform.executor.runAll();
  EXPECT_EQ(folder.read("data.bin"), "Jello");
}

TEST_F(WindowMenusTest, itemsFollowTheFocus) {
  EditorWindow& window = open("hello");
  WindowMenus& menus = *ApplicationWindows::menusOf(window);
  QLineEdit field("text", &window);
  field.show();
  field.setFocus();
  QCoreApplication::processEvents();
  EXPECT_FALSE(menus.find("forwardCopy:")->isEnabled());
  field.selectAll();
  window.editorView().setFocus();
  field.setFocus();
  field.selectAll();
  QCoreApplication::processEvents();
  EXPECT_TRUE(menus.find("forwardCopy:")->isEnabled());
}

TEST_F(WindowMenusTest, theUndoKeyInATextFieldUndoesThereAndNotInTheEditor) {
  EditorWindow& window = open("hello");
  QTest::keyClicks(&window.editorView(), "4a");
  QLineEdit field(&window);
  field.show();
  field.setFocus();
  QTest::keyClicks(&field, "abc");
  QTest::keyClick(&field, Qt::Key_Z, Qt::ControlModifier);
  EXPECT_EQ(field.text(), "");
  QTest::keyClick(&field, Qt::Key_Z, Qt::ControlModifier);
  EXPECT_EQ(text(window), "Jello");
}

TEST_F(WindowMenusTest, theFieldOfAnEditablePopUpIsATextField) {
  EditorWindow& window = open("hello");
  QComboBox popUp(&window);
  popUp.setEditable(true);
  popUp.show();
  popUp.setFocus();
  QTest::keyClicks(&popUp, "abc");
  ASSERT_TRUE(windows.focusedTextView({}).has_value());
  EXPECT_TRUE(windows.focusedTextView({})->canUndo);
  delegate.perform("forwardUndo:");
  EXPECT_EQ(popUp.currentText(), "");
  delegate.perform("forwardSelectAll:");
  EXPECT_EQ(window.controller().editor().selection(), HexSelection());
  popUp.setEditable(false);
  popUp.setFocus();
  EXPECT_FALSE(windows.focusedTextView({}).has_value());
}

TEST_F(WindowMenusTest, theHexViewHasAContextMenu) {
  EditorWindow& window = open("first");
  HexEditorView& view = window.editorView();
  QContextMenuEvent wanted(QContextMenuEvent::Keyboard, QPoint(5, 5),
                           view.viewport()->mapToGlobal(QPoint(5, 5)));
  QApplication::sendEvent(view.viewport(), &wanted);
  QPointer<QMenu> menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
  ASSERT_TRUE(menu);
  EXPECT_FALSE(menu->accessibleName().isEmpty());
  std::vector<std::string> titles;
  for (const QAction* item : menu->actions())
    if (!item->isSeparator()) titles.push_back(item->text().toStdString());
  EXPECT_THAT(titles, testing::IsSupersetOf({"Cut", "Copy", "Paste", "Select All", "Last Save"}));
  const auto item = [&](const char* title) {
    const auto actions = menu->actions();
    return *std::ranges::find_if(actions,
                                 [&](const QAction* action) { return action->text() == title; });
  };
  EXPECT_TRUE(item("Copy")->isEnabled());
  item("Select All")->trigger();
  EXPECT_EQ(window.controller().editor().selection().length, 5);
  menu->close();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  EXPECT_FALSE(menu);
}

TEST_F(WindowMenusTest, theContextMenuOpensByKeyboard) {
  EditorWindow& window = open("first");
  activate(window);
  QTest::keyClick(&window.editorView(), Qt::Key_F10, Qt::ShiftModifier);
  QPointer<QMenu> menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
  ASSERT_TRUE(menu);
  QTest::keyClick(menu, Qt::Key_Escape);
  EXPECT_FALSE(QApplication::activePopupWidget());
}

}  // namespace
}  // namespace quillmor::test
