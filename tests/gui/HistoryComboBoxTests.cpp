// The searches of the session in the panels' fields.

#include "ui/window/HistoryComboBox.h"

#include <gmock/gmock.h>

#include "gui/PanelFixture.h"
#include "window/SearchHistory.h"

namespace quillmor::test {
namespace {

using testing::ElementsAre;

class HistoryComboBoxTest : public PanelFixture {
 protected:
  /// What the list below the field with the keyboard shows, opened with its key.
  static std::vector<std::string> openList() {
    press(Qt::Key_Down);
    std::vector<std::string> titles;
    const auto* list = dynamic_cast<QMenu*>(QApplication::activePopupWidget());
    if (!list) return titles;
    for (const QAction* entry : list->actions()) titles.push_back(entry->text().toStdString());
    return titles;
  }

  static void search(Panel& panel, const char* text) {
    searchField(panel).setFocus();
    searchField(panel).lineEdit()->selectAll();
    type(text);
    press(Qt::Key_Return);
  }
};

TEST_F(HistoryComboBoxTest, listsTheSearchesNewestFirstAndOnce) {
  Panel& panel = openFind("one two");
  EXPECT_THAT(openList(), ElementsAre()) << "nothing was searched for yet";
  EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
  for (const char* text : {"one", "two", "absent", "one"}) search(panel, text);
  EXPECT_THAT(openList(), ElementsAre("one", "absent", "two"));
  press(Qt::Key_Escape);
}

TEST_F(HistoryComboBoxTest, doesNotListWhatWasOnlyTyped) {
  EditorWindow& window = open("hello");
  Panel& panel = openPanel(window, PanelKind::find);
  type("hel");
  press(Qt::Key_Escape);
  openPanel(window, PanelKind::find);
  EXPECT_THAT(openList(), ElementsAre());
  search(panel, "hel");
  EXPECT_THAT(openList(), ElementsAre("hel"));
  press(Qt::Key_Escape);
}

TEST_F(HistoryComboBoxTest, choosingAnEntryFillsTheFieldOnly) {
  EditorWindow& window = open("one two");
  Panel& panel = openPanel(window, PanelKind::find);
  search(panel, "two");
  search(panel, "one");
  const SearchRequest last = window.controller().commands().searching().lastSearchRequest();
  const HexSelection selection = window.controller().editor().selection();
  openList();
  press(Qt::Key_Down);
  press(Qt::Key_Return);
  EXPECT_EQ(searchField(panel).currentText(), "two");
  EXPECT_EQ(window.controller().commands().searching().lastSearchRequest(), last);
  EXPECT_EQ(window.controller().editor().selection(), selection);
  EXPECT_TRUE(panel.isVisible());
}

TEST_F(HistoryComboBoxTest, undoBringsBackWhatAnEntryReplaced) {
  Panel& panel = openFind("one");
  search(panel, "one");
  searchField(panel).lineEdit()->selectAll();
  type("draft");
  openList();
  press(Qt::Key_Return);
  EXPECT_EQ(searchField(panel).currentText(), "one");
  press(Qt::Key_Z, Qt::ControlModifier);
  EXPECT_EQ(searchField(panel).currentText(), "draft");
}

TEST_F(HistoryComboBoxTest, escapeClosesTheListAndKeepsFieldAndPanel) {
  Panel& panel = openFind("one");
  search(panel, "one");
  searchField(panel).lineEdit()->selectAll();
  type("draft");
  ASSERT_THAT(openList(), ElementsAre("one"));
  press(Qt::Key_Escape);
  EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
  EXPECT_TRUE(panel.isVisible());
  EXPECT_EQ(searchField(panel).currentText(), "draft");
}

TEST_F(HistoryComboBoxTest, isSharedByAllPanelsOfTheProgram) {
  EditorWindow& first = open("one");
  search(openPanel(first, PanelKind::find), "from find");
  search(openPanel(first, PanelKind::replace), "from replace");
  EditorWindow& second = openAnother("two");
  openPanel(second, PanelKind::find);
  EXPECT_THAT(openList(), ElementsAre("from replace", "from find"));
  press(Qt::Key_Escape);
}

TEST_F(HistoryComboBoxTest, listsReplacementsApartFromSearches) {
  Panel& panel = openReplace("hello");
  replaceField(panel).setEditText("new");
  search(panel, "old");
  replaceField(panel).setFocus();
  EXPECT_THAT(openList(), ElementsAre("new"));
  press(Qt::Key_Escape);
  searchField(panel).setFocus();
  EXPECT_THAT(openList(), ElementsAre("old"));
  press(Qt::Key_Escape);
}

TEST_F(HistoryComboBoxTest, recordsWhatTheSecondaryActionSearchedFor) {
  Panel& panel = openFind("hello");
  type("ell");
  platform.alerts.expect("Search Results", "1 occurrence(s) found.");
  pushButton(panel, "secondaryButton").click();
  platform.executor.runAll();
  searchField(panel).setFocus();
  EXPECT_THAT(openList(), ElementsAre("ell"));
  press(Qt::Key_Escape);
}

TEST_F(HistoryComboBoxTest, opensWithTheArrowAndEveryKeyForIt) {
  Panel& panel = openFind("one");
  search(panel, "one");
  for (const Qt::Key key :
       {Qt::Key_Up, Qt::Key_Down, Qt::Key_PageUp, Qt::Key_PageDown, Qt::Key_F4}) {
    press(key);
    EXPECT_NE(QApplication::activePopupWidget(), nullptr) << key;
    press(Qt::Key_Escape);
  }
  press(Qt::Key_Down, Qt::AltModifier);
  EXPECT_NE(QApplication::activePopupWidget(), nullptr);
  press(Qt::Key_Escape);
  QTest::mouseClick(
      &searchField(panel), Qt::LeftButton, Qt::NoModifier,
      searchField(panel).rect().center() + QPoint(searchField(panel).width() / 2 - 8, 0));
  EXPECT_NE(QApplication::activePopupWidget(), nullptr);
  press(Qt::Key_Escape);
}

TEST_F(HistoryComboBoxTest, theWheelChangesNoText) {
  Panel& panel = openFind("one");
  search(panel, "two");
  search(panel, "one");
  QWheelEvent turn(QPointF(5, 5), searchField(panel).mapToGlobal(QPointF(5, 5)), {}, {0, -120},
                   Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
  QApplication::sendEvent(&searchField(panel), &turn);
  EXPECT_EQ(searchField(panel).currentText(), "one");
}

TEST_F(HistoryComboBoxTest, showsLongTextsAndLineBreaksInOneLineAndFillsThemInWhole) {
  SearchHistory history;
  HistoryComboBox box(history, nullptr);
  const std::string longText = "R&B\n" + std::string(4000, 'x');
  history.record(longText);
  history.record("a & b");
  box.resize(400, 26);
  box.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&box));
  box.showPopup();
  const auto* list = box.findChild<QMenu*>();
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list->actions().front()->text(), "a && b") << "no access key";
  const QString title = list->actions().back()->text();
  EXPECT_TRUE(title.startsWith("R&&B xxx")) << title.toStdString();
  EXPECT_TRUE(title.endsWith("…")) << title.toStdString();
  EXPECT_LE(list->sizeHint().width(), 400);
  list->actions().back()->trigger();
  EXPECT_EQ(box.currentText().toStdString(), longText);
  QApplication::activePopupWidget()->close();
}

TEST_F(HistoryComboBoxTest, takesTextsLongerThanAnyCommandAccepts) {
  Panel& panel = openFind();
  const int characters = 4'194'304;
  EXPECT_EQ(searchField(panel).lineEdit()->maxLength(), 2 * characters + 1);
  const QString pasted(1'000'000, 'a');
  searchField(panel).lineEdit()->insert(pasted);
  EXPECT_EQ(searchField(panel).currentText().size(), pasted.size());
  press(Qt::Key_Return);
  EXPECT_EQ(platform.beeper.count, 1) << "not found";
  EXPECT_EQ(openList().size(), 0U) << "too long to be remembered";
}

TEST_F(HistoryComboBoxTest, aTextThatMayHaveBeenCutIsNotSearchedFor) {
  Panel& panel = openFind("41 is A");
  tabs(panel).setCurrentIndex(1);
  searchField(panel).lineEdit()->setMaxLength(4);
  searchField(panel).setFocus();
  searchField(panel).lineEdit()->insert("41  42");
  EXPECT_TRUE(dynamic_cast<HistoryComboBox&>(searchField(panel)).isFull());
  press(Qt::Key_Return);
  EXPECT_EQ(platform.beeper.count, 1);
  EXPECT_EQ(windows.editorWindows().back()->controller().commands().searching().lastSearchRequest(),
            SearchRequest{});
}

}  // namespace
}  // namespace quillmor::test
