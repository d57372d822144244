// Report windows: finding, copying, saving, long lines, their places on the screen.

#include "ui/window/ReportWindow.h"

#include <gmock/gmock.h>

#include <QAccessible>
#include <QAction>
#include <QClipboard>
#include <QLabel>
#include <QPointer>
#include <QScreen>
#include <QScrollBar>

#include "gui/ReportFixture.h"
#include "ui/app/WindowMenus.h"
#include "ui/window/FindReplacePanelController.h"

namespace quillmor::test {
namespace {

const QColor kMatch(104, 84, 24);

class ReportWindowTest : public ReportFixture {
 protected:
  static QString note(const ReportWindow& window) {
    return window.findChild<QLabel*>("findNote")->text();
  }

  static QString selected(ReportWindow& window) {
    return window.text().textCursor().selectedText();
  }
  static int selectionStart(ReportWindow& window) {
    return window.text().textCursor().selectionStart();
  }

  static void type(ReportWindow& window, const QString& needle) {
    field(window).setFocus();
    field(window).selectAll();
    QTest::keyClicks(&field(window), needle);
  }

  static void press(ReportWindow& window, int key, Qt::KeyboardModifiers modifiers = {}) {
    QTest::keyClick(window.focusWidget(), static_cast<Qt::Key>(key), modifiers);
  }

  static QString clipboardText() { return QGuiApplication::clipboard()->text(); }
};

TEST_F(ReportWindowTest, hasRoomForNinetyColumns) {
  ReportWindow& report = show(std::string(90, 'x') + "\n");
  EXPECT_EQ(report.text().horizontalScrollBar()->maximum(), 0);
}

TEST_F(ReportWindowTest, findsWhileTyping) {
  ReportWindow& report = show("beta\nalpha\nalphabet\n");
  type(report, "a");
  EXPECT_EQ(selectionStart(report), 3);
  EXPECT_EQ(note(report), "1 of 5");
  type(report, "alphab");
  EXPECT_EQ(selectionStart(report), 11);
  EXPECT_EQ(selected(report), "alphab");
  EXPECT_EQ(note(report), "1 of 1");
  EXPECT_TRUE(field(report).hasFocus());
}

TEST_F(ReportWindowTest, findsRegardlessOfCase) {
  ReportWindow& report = show("CRC32: ABCD\ncrc\n\xC3\x84PFEL \xC3\xA4pfel\n");
  type(report, "Crc");
  EXPECT_EQ(note(report), "1 of 2");
  EXPECT_EQ(selected(report), "CRC");
  field(report).setText(QString::fromUtf8("\xC3\xA4PF"));
  EXPECT_EQ(note(report), "1 of 2");
}

TEST_F(ReportWindowTest, goesToMatchesAroundTheEnds) {
  ReportWindow& report = show("x.x.x");
  type(report, "x");
  report.text().setFocus();
  const auto goesTo = [&](int key, Qt::KeyboardModifiers modifiers, int place,
                          const QString& noted) {
    press(report, key, modifiers);
    EXPECT_EQ(selectionStart(report), place);
    EXPECT_EQ(note(report), noted);
  };
  goesTo(Qt::Key_F3, {}, 2, "2 of 3");
  goesTo(Qt::Key_F3, {}, 4, "3 of 3");
  goesTo(Qt::Key_F3, {}, 0, "1 of 3");
  goesTo(Qt::Key_F3, Qt::ShiftModifier, 4, "3 of 3");
  goesTo(Qt::Key_F3, Qt::ShiftModifier, 2, "2 of 3");
  field(report).setFocus();
  goesTo(Qt::Key_Return, {}, 4, "3 of 3");
  goesTo(Qt::Key_Return, {}, 0, "1 of 3");
  goesTo(Qt::Key_Enter, Qt::ShiftModifier, 4, "3 of 3");
  button(report, "Next")->click();
  EXPECT_EQ(selectionStart(report), 0);
  button(report, "Previous")->click();
  EXPECT_EQ(selectionStart(report), 4);
  EXPECT_TRUE(field(report).hasFocus());
}

TEST_F(ReportWindowTest, findsFromTheTextsCaret) {
  ReportWindow& report = show("x.x.x");
  type(report, "x");
  QTextCursor caret = report.text().textCursor();
  caret.setPosition(3);
  report.text().setTextCursor(caret);
  press(report, Qt::Key_F3);
  EXPECT_EQ(selectionStart(report), 4);
  report.text().setTextCursor(caret);
  press(report, Qt::Key_F3, Qt::ShiftModifier);
  EXPECT_EQ(selectionStart(report), 2);
}

TEST_F(ReportWindowTest, saysWhenNothingIsFound) {
  ReportWindow& report = show("x.x.x");
  type(report, "y");
  EXPECT_EQ(note(report), "Not found");
  press(report, Qt::Key_F3);
  EXPECT_EQ(note(report), "Not found");
  EXPECT_EQ(selected(report), "");
  field(report).clear();
  EXPECT_EQ(note(report), "");
}

TEST_F(ReportWindowTest, theFieldIsReachedAndLeftByKeys) {
  ReportWindow& report = show("text");
  EXPECT_TRUE(report.text().hasFocus());
  EXPECT_EQ(field(report).placeholderText(), "Find in report");
  press(report, Qt::Key_F3);
  EXPECT_TRUE(field(report).hasFocus());
  press(report, Qt::Key_Escape);
  EXPECT_TRUE(report.text().hasFocus());
  press(report, Qt::Key_Tab);
  EXPECT_TRUE(field(report).hasFocus());
  EXPECT_TRUE(report.isVisible());
}

TEST_F(ReportWindowTest, findOfTheMenuIsTheEditors) {
  ReportWindow& report = show("text");
  press(report, Qt::Key_F, Qt::ControlModifier);
  EXPECT_EQ(windows.editorWindows().front()->findChildren<FindReplacePanelController*>().size(), 1);
  EXPECT_FALSE(field(report).hasFocus());
}

TEST_F(ReportWindowTest, theMenusCopyWhatTheySelect) {
  ReportWindow& report = show("one\ntwo\n");
  EXPECT_FALSE(button(report, "Copy")->isEnabled());
  press(report, Qt::Key_A, Qt::ControlModifier);
  press(report, Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(clipboardText(), "one\ntwo\n");
  QGuiApplication::clipboard()->clear();
  report.text().moveCursor(QTextCursor::Start);
  EXPECT_FALSE(delegate.validateMenuItem("forwardCopy:"));
  delegate.perform("forwardSelectAll:");
  EXPECT_TRUE(delegate.validateMenuItem("forwardCopy:"));
  delegate.perform("forwardCopy:");
  EXPECT_EQ(clipboardText(), "one\ntwo\n");
  EXPECT_FALSE(platform.pasteboard.heldText.has_value());
}

TEST_F(ReportWindowTest, theMenusServeTheFieldWhileItHasTheFocus) {
  ReportWindow& report = show("one\ntwo\n");
  type(report, "tw");
  delegate.perform("forwardSelectAll:");
  EXPECT_EQ(field(report).selectedText(), "tw");
  EXPECT_EQ(selected(report), "tw");
  press(report, Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(clipboardText(), "tw");
}

TEST_F(ReportWindowTest, theButtonsSelectAndCopyAll) {
  ReportWindow& report = show("one\ntwo\n");
  field(report).setFocus();
  QTest::mouseClick(button(report, "Select All"), Qt::LeftButton);
  EXPECT_TRUE(report.text().hasFocus());
  QTest::mouseClick(button(report, "Copy"), Qt::LeftButton);
  EXPECT_EQ(clipboardText(), "one\ntwo\n");
}

TEST_F(ReportWindowTest, savesTheReport) {
  ReportWindow& report = show("one\ntwo\n", "Checksums");
  platform.filePanels.saveAnswers = {folder.location("saved.txt")};
  button(report, "Save As…")->click();
  EXPECT_THAT(platform.filePanels.suggestedNames, testing::ElementsAre("Checksums.txt"));
  platform.alerts.expect("Save Report", "Saved: " + folder.location("saved.txt").path());
  platform.executor.runAll();
  EXPECT_EQ(folder.read("saved.txt"), "one\ntwo\n");
}

TEST_F(ReportWindowTest, doesNotSaveOverAnOpenDocument) {
  ReportWindow& report = show("one\n");
  platform.filePanels.saveAnswers = {folder.location("data.bin")};
  button(report, "Save As…")->click();
  platform.alerts.expect("Save Report Failed",
                         "Choose a different output destination. Writing to data.bin would "
                         "overwrite an open document or another input file.");
  platform.executor.runAll();
  EXPECT_EQ(folder.read("data.bin"), "hello");
}

TEST_F(ReportWindowTest, mayGoWhileItAsksWhereToSave) {
  std::string saved;
  QPointer<ReportWindow> report;
  report = new ReportWindow("Title", std::string(1000, 'r'),
                            [&](const std::string& title, const std::string& text) {
                              delete report;
                              saved = title + text.substr(0, 3);
                            });
  report->show();
  button(*report, "Save As…")->click();
  EXPECT_TRUE(report.isNull());
  EXPECT_EQ(saved, "Titlerrr");
}

TEST_F(ReportWindowTest, longLinesAreBrokenOnTheScreenOnly) {
  const std::string line(100'000, 'A');
  ReportWindow& report = show("first\n" + line + "\nlast");
  EXPECT_GT(report.text().document()->blockCount(), 50);
  report.text().selectAll();
  report.text().copy();
  EXPECT_TRUE(clipboardText().toStdString() == "first\n" + line + "\nlast");
}

TEST_F(ReportWindowTest, findsAcrossTheBreakOfALongLine) {
  std::string line(5000, '.');
  line.replace(1020, 8, "breaking");
  ReportWindow& report = show(line + "\nbreaking");
  type(report, "breaking");
  EXPECT_EQ(note(report), "1 of 2");
  report.text().copy();
  EXPECT_EQ(clipboardText(), "breaking");
  press(report, Qt::Key_F3);
  EXPECT_EQ(note(report), "2 of 2");
  report.text().copy();
  EXPECT_EQ(clipboardText(), "breaking");
}

TEST_F(ReportWindowTest, whatTheToolkitTakesForLineEndsKeepsItsPlace) {
  const std::string text =
      "Path: a\r\nb\xE2\x80\xA9"
      "c\rd\nfound";
  ReportWindow& report = show(text);
  EXPECT_EQ(report.text().document()->blockCount(), 3);
  type(report, "found");
  EXPECT_EQ(selected(report), "found");
  report.text().selectAll();
  report.text().copy();
  EXPECT_EQ(clipboardText().toStdString(), text);
}

TEST_F(ReportWindowTest, aNullCharacterEndsTheReportForNobody) {
  const std::string text("missing the PE\0\0 signature\nnext", 31);
  const std::string shown = "missing the PE\xE2\x90\x80\xE2\x90\x80 signature\nnext";
  ReportWindow& report = show(text);
  auto* const accessible = QAccessible::queryAccessibleInterface(&report.text());
  ASSERT_NE(accessible, nullptr);
  auto* const spoken = accessible->textInterface();
  EXPECT_EQ(spoken->text(0, spoken->characterCount()).toStdString(), shown);
  report.text().selectAll();
  report.text().copy();
  EXPECT_EQ(clipboardText().toStdString(), shown);
  type(report, "signature");
  EXPECT_EQ(selected(report), "signature");
  platform.filePanels.saveAnswers = {folder.location("saved.txt")};
  button(report, "Save As…")->click();
  platform.alerts.expect("Save Report", "Saved: " + folder.location("saved.txt").path());
  platform.executor.runAll();
  EXPECT_EQ(folder.read("saved.txt"), text);
}

TEST_F(ReportWindowTest, marksAllVisibleMatches) {
  ReportWindow& report = show("abc abc\nxyz\nABC");
  const QRect all(QPoint(), report.text().viewport()->size());
  const auto marked = [&] { return pixelsOf(picture(*report.text().viewport(), 1), kMatch, all); };
  EXPECT_EQ(marked(), 0);
  type(report, "xyz");
  const int covered = marked();  // the only match is selected
  type(report, "abc");
  const int two = marked();
  EXPECT_GT(two, covered + 100);
  field(report).clear();
  EXPECT_EQ(marked(), 0);
}

TEST_F(ReportWindowTest, manyMatchesAreCountedAndMarked) {
  ReportWindow& report = show(std::string(400'000, 'A'));
  type(report, "a");
  EXPECT_EQ(note(report), "1 of 400,000");
  press(report, Qt::Key_F3, Qt::ShiftModifier);
  EXPECT_EQ(note(report), "400,000 of 400,000");
  const QImage image = picture(*report.text().viewport(), 1);
  EXPECT_GT(pixelsOf(image, kMatch, image.rect()), 1000);
}

TEST_F(ReportWindowTest, goesOverItsEditorAndBesideOthers) {
  EditorWindow& editor = open("hello");
  std::vector<QPoint> corners;
  std::vector<ReportWindow*> reports;
  for (const char* title : {"One", "Two", "Three"}) {
    editor.controller().context().showUtilityReport(title, "text");
    for (auto* widget : QApplication::topLevelWidgets()) {
      auto* report = dynamic_cast<ReportWindow*>(widget);
      if (!report || report->windowTitle() != title) continue;
      corners.push_back(report->pos());
      EXPECT_TRUE(editor.screen()->availableGeometry().contains(report->frameGeometry()));
    }
  }
  ASSERT_EQ(corners.size(), 3U);
  EXPECT_NE(corners[0], corners[1]);
  EXPECT_NE(corners[1], corners[2]);
  EXPECT_NE(corners[0], corners[2]);
}

TEST_F(ReportWindowTest, itsControlsAreNamed) {
  ReportWindow& report = show("text", "Checksums");
  EXPECT_EQ(report.text().accessibleName(), "Checksums");
  EXPECT_EQ(field(report).accessibleName(), "Find in report");
  for (const char* title : {"Previous", "Next", "Select All", "Copy", "Save As…"}) {
    QAccessibleInterface* shown = QAccessible::queryAccessibleInterface(button(report, title));
    ASSERT_NE(shown, nullptr);
    EXPECT_EQ(shown->text(QAccessible::Name), title);
    EXPECT_NE(button(report, title)->focusPolicy() & Qt::TabFocus, 0);
  }
}

}  // namespace
}  // namespace quillmor::test
