// What the panels hand to their editor, how they stand in the application, and their end.

#include <gmock/gmock.h>

#include <QTimer>
#include <chrono>

#include "gui/PanelFixture.h"

namespace quillmor::test {
namespace {

using namespace std::chrono_literals;

const std::string kBusy =
    "Another operation is already running. Wait for it to finish before editing.";

class FindReplacePanelActionTest : public PanelFixture {
 protected:
  static constexpr int kEnded = 0;
  static constexpr int kRanOn = 7;

  /// Runs the program's event loop with `action` in it; whether it ended by itself within
  /// `patience`.
  template <class Action>
  static int statusOfProgramThat(Action action, std::chrono::milliseconds patience) {
    QTimer::singleShot(0, qApp, action);
    QTimer givesUp;
    QObject::connect(&givesUp, &QTimer::timeout, [] { QApplication::exit(kRanOn); });
    givesUp.start(patience);
    return QApplication::exec();
  }

  static HexSelection selectionOf(EditorWindow& window) {
    return window.controller().editor().selection();
  }
};

TEST_F(FindReplacePanelActionTest, opensWithTheKeysAndTheToolbar) {
  EditorWindow& window = open("hello");
  EXPECT_EQ(panelOf(window, PanelKind::find), nullptr) << "made on first use";
  button(window, "Find")->click();
  Panel* find = panelOf(window, PanelKind::find);
  ASSERT_NE(find, nullptr);
  EXPECT_TRUE(find->isVisible());
  EXPECT_EQ(panelOf(window, PanelKind::replace), nullptr);
  button(window, "Replace")->click();
  Panel* replace = panelOf(window, PanelKind::replace);
  ASSERT_NE(replace, nullptr);
  EXPECT_TRUE(replace->isVisible());
  EXPECT_EQ(&openPanel(window, PanelKind::find), find);
  EXPECT_EQ(&openPanel(window, PanelKind::replace), replace);
  EXPECT_EQ(window.findChildren<QDialog*>().size(), 2);
}

TEST_F(FindReplacePanelActionTest, opensFromTheMenu) {
  EditorWindow& window = open("hello");
  delegate.perform("forwardFind:");
  delegate.perform("forwardReplace:");
  EXPECT_TRUE(panelOf(window, PanelKind::find)->isVisible());
  EXPECT_TRUE(panelOf(window, PanelKind::replace)->isVisible());
}

TEST_F(FindReplacePanelActionTest, aBusyEditorRefusesToOpenPanels) {
  EditorWindow& window = open("hello");
  BusyScope busy = window.controller().context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  platform.alerts.expect("Find", kBusy);
  window.controller().perform("forwardFind:");
  platform.alerts.expect("Replace", kBusy);
  window.controller().perform("forwardReplace:");
  makeKey(window);
  press(Qt::Key_F, Qt::ControlModifier);
  busy.end();
  EXPECT_EQ(panelOf(window, PanelKind::find), nullptr);
  EXPECT_EQ(panelOf(window, PanelKind::replace), nullptr);
}

TEST_F(FindReplacePanelActionTest, startsWithTheLastRequestAndThenKeepsItsOwn) {
  EditorWindow& window = open("hello hello");
  const SearchRequest request{.searchText = "ello",
                              .replaceText = "i",
                              .textEncoding = SearchTextEncoding::ascii,
                              .direction = SearchDirection::backward,
                              .caseSensitive = true,
                              .promptOnReplace = true};
  window.controller().commands().searching().performFind(request, false);
  platform.beeper.count = 0;
  Panel& panel = openPanel(window, PanelKind::replace);
  EXPECT_EQ(panel.buildRequest(), request);
  type("typed");
  panel.hide();
  EXPECT_EQ(openPanel(window, PanelKind::replace).buildRequest()->searchText, "typed");
}

TEST_F(FindReplacePanelActionTest, returnSelectsOneMatchAfterTheOther) {
  EditorWindow& window = open("hello hello");
  Panel& panel = openPanel(window, PanelKind::find);
  type("LO");
  press(Qt::Key_Return);
  EXPECT_EQ(selectionOf(window), (HexSelection{3, 2}));
  EXPECT_EQ(window.controller().commands().searching().lastSearchRequest(), panel.buildRequest());
  press(Qt::Key_Return);
  EXPECT_EQ(selectionOf(window), (HexSelection{9, 2}));
  press(Qt::Key_Return);
  EXPECT_EQ(platform.beeper.count, 1) << "no match is left";
  EXPECT_EQ(selectionOf(window), (HexSelection{9, 2}));
  EXPECT_TRUE(panel.isVisible());
}

TEST_F(FindReplacePanelActionTest, theFirstSearchMatchesAtTheCaret) {
  EditorWindow& window = open("hello");
  openPanel(window, PanelKind::find);
  type("he");
  press(Qt::Key_Return);
  EXPECT_EQ(selectionOf(window), (HexSelection{0, 2}));
}

TEST_F(FindReplacePanelActionTest, searchesInEveryModeAndDirection) {
  EditorWindow& window = open(std::string("\x01\x02\xFF\x01\x02", 5));
  Panel& panel = openPanel(window, PanelKind::find);
  tabs(panel).setCurrentIndex(1);
  type("01 02");
  press(Qt::Key_Return);
  EXPECT_EQ(selectionOf(window), (HexSelection{0, 2}));
  press(Qt::Key_Return);
  EXPECT_EQ(selectionOf(window), (HexSelection{3, 2}));
  radio(panel, "backwardRadio").click();
  press(Qt::Key_Return);
  EXPECT_EQ(selectionOf(window), (HexSelection{0, 2}));
  tabs(panel).setCurrentIndex(2);
  searchField(panel).setEditText("-1");
  radio(panel, "forwardRadio").click();
  press(Qt::Key_Return);
  EXPECT_EQ(selectionOf(window), (HexSelection{2, 1}));
}

TEST_F(FindReplacePanelActionTest, searchAllCountsAndSelectsTheFirst) {
  EditorWindow& window = open("hello hello");
  Panel& panel = openPanel(window, PanelKind::find);
  type("l");
  platform.alerts.expect("Search Results", "4 occurrence(s) found.");
  pushButton(panel, "secondaryButton").click();
  platform.executor.runAll();
  EXPECT_EQ(selectionOf(window), (HexSelection{2, 1}));
}

TEST_F(FindReplacePanelActionTest, theReplacePanelReplacesTheSelectedMatch) {
  EditorWindow& window = open("hello hello");
  Panel& panel = openPanel(window, PanelKind::replace);
  type("ello");
  press(Qt::Key_Tab);
  type("i");
  press(Qt::Key_Return);
  EXPECT_EQ(text(window), "hello hello");
  EXPECT_EQ(selectionOf(window), (HexSelection{1, 4}));
  press(Qt::Key_Return);
  EXPECT_EQ(text(window), "hi hello");
  EXPECT_EQ(selectionOf(window), (HexSelection{4, 4}));
  EXPECT_EQ(window.controller().commands().searching().lastSearchRequest(), panel.buildRequest());
}

TEST_F(FindReplacePanelActionTest, replaceAllReplacesEveryMatch) {
  EditorWindow& window = open("hello hello");
  Panel& panel = openPanel(window, PanelKind::replace);
  type("L");
  replaceField(panel).setEditText("r");
  platform.alerts.expect("Replace All", "4 occurrence(s) replaced.");
  pushButton(panel, "secondaryButton").click();
  platform.executor.runAll();
  EXPECT_EQ(text(window), "herro herro");
}

TEST_F(FindReplacePanelActionTest, replaceAllAsksWhenTold) {
  EditorWindow& window = open("hello");
  Panel& panel = openPanel(window, PanelKind::replace);
  type("l");
  replaceField(panel).setEditText("r");
  control<QCheckBox>(panel, "promptCheckbox").click();
  for (const auto& [offset, answer] : {std::pair("00000002", "Skip"), {"00000003", "Replace"}}) {
    platform.alerts.expect("Replace This Occurrence?",
                           std::string("Offset: 0x") + offset + "\nMatch length: 1 bytes", answer);
  }
  platform.alerts.expect("Replace All", "1 occurrence(s) replaced.");
  pushButton(panel, "secondaryButton").click();
  platform.executor.runAll();
  EXPECT_EQ(text(window), "helro");
}

TEST_F(FindReplacePanelActionTest, keysOfTheMenuWorkInAPanelOnItsOwnEditor) {
  EditorWindow& first = open("first");
  Panel& panel = openPanel(first, PanelKind::find);
  EditorWindow& second = openAnother("second");
  makeKey(second);
  EXPECT_EQ(delegate.currentHexWindowController().get(), &second.controller());
  makeKey(panel);
  EXPECT_EQ(delegate.currentHexWindowController().get(), &first.controller());
  press(Qt::Key_I, Qt::ControlModifier);
  EXPECT_TRUE(first.controller().editor().insertMode());
  EXPECT_FALSE(second.controller().editor().insertMode());
  press(Qt::Key_R, Qt::ControlModifier);
  EXPECT_NE(panelOf(first, PanelKind::replace), nullptr);
  EXPECT_EQ(panelOf(second, PanelKind::replace), nullptr);
}

TEST_F(FindReplacePanelActionTest, theCloseKeyClosesThePanelAlone) {
  EditorWindow& window = open("hello");
  Panel& panel = openPanel(window, PanelKind::find);
  press(Qt::Key_W, Qt::ControlModifier);
  EXPECT_FALSE(panel.isVisible());
  EXPECT_TRUE(window.isVisible());
  EXPECT_EQ(&openPanel(window, PanelKind::find), &panel);
}

TEST_F(FindReplacePanelActionTest, aVisiblePanelStaysWhereItIsAndAHiddenOneComesBackOverItsOwner) {
  EditorWindow& window = open("hello");
  Panel& panel = openPanel(window, PanelKind::find);
  const QPoint home = panel.pos();
  panel.move(home + QPoint(7, 9));
  openPanel(window, PanelKind::find);
  EXPECT_EQ(panel.pos(), home + QPoint(7, 9));
  panel.hide();
  openPanel(window, PanelKind::find);
  EXPECT_EQ(panel.pos(), home);
}

TEST_F(FindReplacePanelActionTest, escapeStopsARunningSearchAsWell) {
  EditorWindow& window = open("hello");
  Panel& panel = openPanel(window, PanelKind::find);
  type("l");
  pushButton(panel, "secondaryButton").click();
  ASSERT_TRUE(window.controller().isBusy());
  press(Qt::Key_Escape);
  platform.executor.runAll();
  EXPECT_FALSE(panel.isVisible());
  EXPECT_FALSE(window.controller().isBusy());
  EXPECT_EQ(selectionOf(window), HexSelection());
}

TEST_F(FindReplacePanelActionTest, closingThePanelLeavesARunningSearchAlone) {
  EditorWindow& window = open("hello");
  Panel& panel = openPanel(window, PanelKind::find);
  type("l");
  pushButton(panel, "secondaryButton").click();
  panel.close();
  platform.alerts.expect("Search Results", "2 occurrence(s) found.");
  platform.executor.runAll();
  EXPECT_EQ(selectionOf(window), (HexSelection{2, 1}));
}

TEST_F(FindReplacePanelActionTest, panelsCloseWithTheirEditor) {
  EditorWindow& window = open("hello");
  openAnother("second");
  const QPointer<Panel> find(&openPanel(window, PanelKind::find));
  const QPointer<Panel> replace(&openPanel(window, PanelKind::replace));
  window.close();
  EXPECT_FALSE(!find.isNull() && find->isVisible());
  EXPECT_TRUE(QTest::qWaitFor([&] { return find.isNull() && replace.isNull(); }));
}

TEST_F(FindReplacePanelActionTest, theProgramEndsWithTheLastEditorThoughAPanelWasOpen) {
  EditorWindow& window = open("hello");
  openPanel(window, PanelKind::find);
  EXPECT_EQ(statusOfProgramThat([&] { window.close(); }, 10s), kEnded);
}

TEST_F(FindReplacePanelActionTest, closingAPanelDoesNotEndTheProgram) {
  Panel& panel = openFind();
  EXPECT_EQ(statusOfProgramThat([&] { panel.close(); }, 100ms), kRanOn);
  EXPECT_FALSE(panel.isVisible());
}

TEST_F(FindReplacePanelActionTest, actionsWithoutAnOwnerDoNothing) {
  SearchHistories histories;
  bool becameKey = false;
  QWidget window;
  for (const PanelKind kind : {PanelKind::find, PanelKind::replace}) {
    Panel panel(
        kind, {}, {histories}, [&] { becameKey = true; }, &window);
    panel.handlePrimaryAction();
    panel.handleSecondaryAction();
    panel.apply({.searchText = "a"});
    panel.handlePrimaryAction();
    panel.handleSecondaryAction();
    panel.handleCancel();
  }
  EXPECT_EQ(platform.beeper.count, 0);
  EXPECT_TRUE(histories.searches.entries().empty());
  EXPECT_FALSE(becameKey);
}

TEST_F(FindReplacePanelActionTest, survivesItsEditorClosingDuringItsOwnAlert) {
  EditorWindow& window = open("hello");
  Panel& panel = openPanel(window, PanelKind::find);
  type("l");
  platform.alerts.expect("Search Results", "2 occurrence(s) found.");
  platform.alerts.duringNext([&] { window.closeWindow(); });
  pushButton(panel, "secondaryButton").click();
  const QPointer<Panel> guard(&panel);
  platform.executor.runAll();
  EXPECT_TRUE(QTest::qWaitFor([&] { return guard.isNull(); }));
}

}  // namespace
}  // namespace quillmor::test
