// The list of a document's edits: what it shows, its keys and buttons, and how it follows.

#include "ui/window/HistoryWindow.h"

#include <gmock/gmock.h>

#include <QAccessible>
#include <QHeaderView>
#include <QLabel>
#include <QPointer>
#include <QScrollBar>
#include <QTableView>
#include <string>
#include <vector>

#include "gui/RealApplication.h"

namespace quillmor::test {
namespace {

using testing::ElementsAre;

class HistoryWindowTest : public RealApplication {
 protected:
  /// A document "hello" with these keys typed into its ASCII column.
  EditorWindow& edited(const QString& keys) {
    EditorWindow& editor = open("hello");
    editor.controller().editor().setEditingArea(EditingArea::ascii);
    QTest::keyClicks(&editor.editorView(), keys);
    return editor;
  }

  HistoryWindow& show() {
    delegate.perform("forwardShowHistory:");
    auto* list = topLevel<HistoryWindow>();
    if (!list) throw std::logic_error("no history");
    makeActive(*list);
    return *list;
  }

  static int rowCount(HistoryWindow& list) { return list.table().model()->rowCount(); }

  static std::string cell(HistoryWindow& list, int row, int column) {
    return list.table().model()->index(row, column).data().toString().toStdString();
  }

  static std::vector<std::string> rowOf(HistoryWindow& list, int row) {
    std::vector<std::string> texts;
    for (int column = 1; column < 5; ++column) texts.push_back(cell(list, row, column));
    return texts;
  }

  static int selectedRow(HistoryWindow& list) {
    const auto rows = list.table().selectionModel()->selectedRows();
    return rows.size() == 1 ? rows.front().row() : -1;
  }

  static bool shows(HistoryWindow& list, const QString& sentence) {
    const auto labels = list.findChildren<QLabel*>();
    return std::ranges::any_of(labels, [&](const QLabel* label) {
      return label->isVisible() && label->text() == sentence;
    });
  }

  static std::string nameOf(QWidget& widget) {
    return QAccessible::queryAccessibleInterface(&widget)->text(QAccessible::Name).toStdString();
  }

  static bool isGone(const QPointer<HistoryWindow>& list) {
    return QTest::qWaitFor([&] { return list.isNull(); });
  }

  std::string textAt(std::size_t index) { return text(*windows.editorWindows().at(index)); }
};

TEST_F(HistoryWindowTest, showsEveryStepTheNewestFirst) {
  edited("JE");
  HistoryWindow& list = show();
  EXPECT_EQ(list.windowTitle(), "History");
  std::vector<std::string> headings;
  for (int column = 0; column < 5; ++column)
    headings.push_back(
        list.table().model()->headerData(column, Qt::Horizontal).toString().toStdString());
  EXPECT_THAT(headings, ElementsAre("Time", "Action", "Offset", "Removed", "Inserted"));
  ASSERT_EQ(rowCount(list), 3);
  EXPECT_THAT(rowOf(list, 0), ElementsAre("Edit", "0x00000001", "65", "45"));
  EXPECT_THAT(rowOf(list, 1), ElementsAre("Edit", "0x00000000", "68", "4A"));
  EXPECT_THAT(rowOf(list, 2), ElementsAre("Before any change", "", "", ""));
  EXPECT_EQ(cell(list, 0, 0).size(), 19U);
  EXPECT_EQ(selectedRow(list), 0);
  EXPECT_TRUE(list.table().hasFocus());
}

TEST_F(HistoryWindowTest, returnOpensTheSelectedStateInANewWindow) {
  edited("JE");
  HistoryWindow& list = show();
  QTest::keyClick(&list.table(), Qt::Key_Down);
  QTest::keyClick(&list.table(), Qt::Key_Return);
  platform.executor.runAll();
  ASSERT_EQ(windows.editorWindows().size(), 2U);
  EXPECT_EQ(textAt(1), "Jello");
  EXPECT_TRUE(windows.editorWindows()[1]->isWindowModified());
  EXPECT_EQ(windows.editorWindows()[1]->controller().editor().caretOffset(), 1);
  EXPECT_EQ(textAt(0), "JEllo");
}

TEST_F(HistoryWindowTest, theButtonAndADoubleClickDoTheSame) {
  edited("JE");
  HistoryWindow& list = show();
  QTest::keyClick(&list.table(), Qt::Key_End, Qt::ControlModifier);
  EXPECT_EQ(selectedRow(list), 2);
  button(list, "Open This State")->click();
  platform.executor.runAll();
  EXPECT_EQ(textAt(1), "hello");
  const QPoint middle = list.table().visualRect(list.table().model()->index(1, 1)).center();
  QTest::mouseClick(list.table().viewport(), Qt::LeftButton, {}, middle);
  QTest::mouseDClick(list.table().viewport(), Qt::LeftButton, {}, middle);
  platform.executor.runAll();
  EXPECT_EQ(textAt(2), "Jello");
}

TEST_F(HistoryWindowTest, followsTheDocument) {
  EditorWindow& editor = edited("J");
  HistoryWindow& list = show();
  ASSERT_EQ(rowCount(list), 2);
  editor.controller().editor().handleTextInput("E");
  editor.controller().editor().handleTextInput("L");
  QCoreApplication::processEvents();
  ASSERT_EQ(rowCount(list), 4);
  EXPECT_EQ(cell(list, 0, 4), "4C");
  EXPECT_EQ(selectedRow(list), 2) << "the same step stays selected";
  EXPECT_EQ(list.table().verticalScrollBar()->value(), 0);
  platform.alerts.acceptAnything();
  delegate.perform("forwardRevertDocument:");
  platform.executor.runAll();
  QCoreApplication::processEvents();
  ASSERT_EQ(rowCount(list), 1);
  EXPECT_EQ(cell(list, 0, 1), "Before any change");
  EXPECT_EQ(selectedRow(list), 0);
}

TEST_F(HistoryWindowTest, saysWhatCannotBeOpened) {
  EditorWindow& editor = open(std::string(static_cast<std::size_t>(64 * kMiB + 1), 'x'));
  HistoryWindow& list = show();
  EXPECT_TRUE(shows(list, "Nothing has been changed yet."));
  EXPECT_TRUE(button(list, "Open This State")->isEnabled());
  const std::vector<std::uint8_t> byte{1};
  editor.controller().session().replaceRange(
      {.range = {0, 64 * kMiB + 1}, .actionName = "Fill", .after = {}}, byte);
  QCoreApplication::processEvents();
  EXPECT_EQ(selectedRow(list), 1);
  EXPECT_TRUE(shows(list, "The bytes of this state are no longer kept."));
  EXPECT_FALSE(button(list, "Open This State")->isEnabled());
  QTest::keyClick(&list.table(), Qt::Key_Return);
  EXPECT_FALSE(platform.executor.hasWork());
  QTest::keyClick(&list.table(), Qt::Key_Up);
  EXPECT_TRUE(button(list, "Open This State")->isEnabled());
}

TEST_F(HistoryWindowTest, isEmptyOnceTheHistoryIsSwitchedOff) {
  EditorWindow& editor = edited("J");
  HistoryWindow& list = show();
  editor.controller().context().history().setEnabled(false);
  QCoreApplication::processEvents();
  EXPECT_EQ(rowCount(list), 0);
  EXPECT_TRUE(shows(list, "This document keeps no history."));
  EXPECT_FALSE(button(list, "Open This State")->isEnabled());
}

TEST_F(HistoryWindowTest, isThereOnceForADocument) {
  edited("J");
  QPointer<HistoryWindow> list(&show());
  delegate.perform("forwardShowHistory:");
  int lists = 0;
  for (QWidget* widget : QApplication::topLevelWidgets())
    lists += dynamic_cast<HistoryWindow*>(widget) != nullptr ? 1 : 0;
  EXPECT_EQ(lists, 1);
  // A list that has closed is followed by another one that follows the document.
  list->close();
  delegate.perform("forwardShowHistory:");
  EXPECT_TRUE(isGone(list));
  auto* again = topLevel<HistoryWindow>();
  ASSERT_NE(again, nullptr);
  windows.editorWindows()[0]->controller().editor().handleTextInput("E");
  QCoreApplication::processEvents();
  EXPECT_EQ(rowCount(*again), 3);
}

TEST_F(HistoryWindowTest, escapeTheCloseShortcutAndTheButtonCloseIt) {
  edited("J");
  const std::vector<std::function<void(HistoryWindow&)>> ways = {
      [](HistoryWindow& list) { QTest::keyClick(&list.table(), Qt::Key_Escape); },
      [](HistoryWindow& list) { QTest::keyClick(&list, Qt::Key_W, Qt::ControlModifier); },
      [](HistoryWindow& list) { button(list, "Close")->click(); }};
  for (const auto& way : ways) {
    QPointer<HistoryWindow> list(&show());
    way(*list);
    EXPECT_TRUE(isGone(list));
  }
  EXPECT_EQ(windows.editorWindows().size(), 1U);
}

TEST_F(HistoryWindowTest, closesWithItsEditor) {
  EditorWindow& editor = edited("J");
  QPointer<HistoryWindow> list(&show());
  editor.closeWindow();
  EXPECT_TRUE(isGone(list));
}

TEST_F(HistoryWindowTest, keysOfTheEditorWorkInIt) {
  edited("J");
  HistoryWindow& list = show();
  QTest::keyClick(&list, Qt::Key_Z, Qt::ControlModifier);
  QCoreApplication::processEvents();
  EXPECT_EQ(textAt(0), "hello");
  EXPECT_EQ(cell(list, 0, 1), "Undo Edit");
}

TEST_F(HistoryWindowTest, showsAsManyStepsAsThereMayBe) {
  EditorWindow& editor = open("hello");
  EditSession& session = editor.controller().session();
  for (std::int64_t i = 0; i < EditHistory::kMaxSteps; ++i) {
    const std::vector<std::uint8_t> byte{static_cast<std::uint8_t>(i)};
    session.replaceRange({.range = {0, 1}, .actionName = "Edit", .after = {}}, byte);
  }
  HistoryWindow& list = show();
  EXPECT_EQ(rowCount(list), EditHistory::kMaxSteps + 1);
  editor.controller().editor().handleTextInput("A");
  editor.controller().editor().handleTextInput("B");
  QCoreApplication::processEvents();
  EXPECT_EQ(rowCount(list), EditHistory::kMaxSteps + 1);
  QTest::keyClick(&list.table(), Qt::Key_End, Qt::ControlModifier);
  EXPECT_EQ(selectedRow(list), EditHistory::kMaxSteps);
  EXPECT_EQ(cell(list, EditHistory::kMaxSteps, 1), "Before the oldest step");
}

TEST_F(HistoryWindowTest, everythingHasANameForAssistiveTechnology) {
  edited("J");
  HistoryWindow& list = show();
  EXPECT_EQ(nameOf(list.table()), "History");
  for (QPushButton* each : list.findChildren<QPushButton*>()) EXPECT_NE(nameOf(*each), "");
  QAccessibleInterface* const table = QAccessible::queryAccessibleInterface(&list.table());
  EXPECT_EQ(table->tableInterface()->cellAt(0, 1)->text(QAccessible::Name), "Edit");
}

TEST_F(HistoryWindowTest, fitsASmallScreenAtAnyRatio) {
  edited("J");
  HistoryWindow& list = show();
  EXPECT_LE(list.minimumSizeHint().width(), 780);
  EXPECT_LE(list.minimumSizeHint().height(), 540);
  list.resize(500, 300);
  QCoreApplication::processEvents();
  for (QPushButton* each : list.findChildren<QPushButton*>()) {
    const QRect place(each->mapTo(&list, QPoint()), each->size());
    EXPECT_TRUE(list.rect().contains(place)) << each->text().toStdString();
    EXPECT_GE(each->width(), each->fontMetrics().horizontalAdvance(each->text()));
  }
  for (const double ratio : {1.0, 1.5, 2.0}) {
    QImage image((QSizeF(list.size()) * ratio).toSize(), QImage::Format_RGB32);
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::magenta);
    list.render(&image);
    int undrawn = 0;
    for (int y = 0; y < image.height(); ++y) {
      for (int x = 0; x < image.width(); ++x) undrawn += image.pixelColor(x, y) == Qt::magenta;
    }
    EXPECT_EQ(undrawn, 0) << ratio;
  }
}

}  // namespace
}  // namespace quillmor::test
