// The toolbar in windows too narrow for it, and the numbers of the window's layout.

#include "ui/window/EditorToolbar.h"

#include <gmock/gmock.h>

#include <QAccessible>
#include <QMenu>
#include <QScreen>
#include <QScrollArea>
#include <QTimer>
#include <QWindow>

#include "gui/RealApplication.h"
#include "platform_qt/AlertFormDialog.h"

namespace quillmor::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::vector<std::string> kTitles{"Find",     "Replace",  "Go To",     "Range",
                                       "Insert",   "Fill",     "Compare",   "Strings",
                                       "Bookmark", "Checksum", "Frequency", "Insert/Overwrite"};

class EditorToolbarTest : public RealApplication {
 protected:
  EditorToolbarTest() : window(open(std::string(64, 'x'))) {}

  EditorToolbar& toolbar() {
    return dynamic_cast<EditorToolbar&>(*window.findChild<QWidget*>("toolbar"));
  }

  QPushButton& overflow() { return *button(toolbar(), "»"); }

  /// Makes the window so wide, whatever its screen.
  void makeWide(int width) {
    window.setMinimumWidth(0);
    window.resize(width, window.height());
    QApplication::processEvents();
  }

  std::vector<std::string> shownTitles() {
    std::vector<std::string> titles;
    for (const std::string& title : kTitles) {
      if (button(toolbar(), QString::fromStdString(title))->isVisible()) titles.push_back(title);
    }
    return titles;
  }

  std::vector<std::string> menuTitles() {
    std::vector<std::string> titles;
    for (const QAction* item : overflow().menu()->actions()) {
      if (item->isVisible()) titles.push_back(item->text().toStdString());
    }
    return titles;
  }

  QAction* menuItem(const QString& title) {
    for (QAction* item : overflow().menu()->actions()) {
      if (item->text() == title) return item;
    }
    return nullptr;
  }

  EditorWindow& window;
};

TEST_F(EditorToolbarTest, showsAllButtonsWhereTheyFit) {
  makeWide(toolbar().fittingWidth());
  EXPECT_EQ(shownTitles(), kTitles);
  EXPECT_FALSE(overflow().isVisible());
}

TEST_F(EditorToolbarTest, putsWhatDoesNotFitIntoAMenu) {
  for (const int width : {toolbar().fittingWidth() - 1, 740, 400, 200}) {
    makeWide(width);
    ASSERT_EQ(toolbar().width(), width);
    std::vector<std::string> all = shownTitles();
    EXPECT_LT(all.size(), kTitles.size()) << width;
    EXPECT_TRUE(overflow().isVisible());
    for (const std::string& title : all) {
      const QRect place = button(toolbar(), QString::fromStdString(title))->geometry();
      EXPECT_LT(place.right(), overflow().geometry().left()) << width << ' ' << title;
    }
    EXPECT_LE(overflow().geometry().right(), width - 10) << "nothing is cut";
    for (const std::string& title : menuTitles()) all.push_back(title);
    EXPECT_EQ(all, kTitles) << "each once, in the order of the band";
  }
  makeWide(toolbar().fittingWidth());
  EXPECT_EQ(shownTitles(), kTitles);
}

TEST_F(EditorToolbarTest, namesTheButtonOfTheMenuForAssistiveTechnology) {
  makeWide(400);
  QAccessibleInterface* shown = QAccessible::queryAccessibleInterface(&overflow());
  ASSERT_NE(shown, nullptr);
  EXPECT_EQ(shown->text(QAccessible::Name), "More");
  EXPECT_EQ(shown->role(), QAccessible::ButtonMenu);
}

TEST_F(EditorToolbarTest, performsFromTheMenuWithTheKeyboard) {
  makeWide(400);
  ASSERT_EQ(menuTitles().back(), "Insert/Overwrite");
  overflow().setFocus(Qt::TabFocusReason);
  ASSERT_TRUE(overflow().hasFocus());
  QTimer::singleShot(0, &window, [] {
    QWidget* menu = QApplication::activePopupWidget();
    ASSERT_NE(menu, nullptr);
    QTest::keyClick(menu, Qt::Key_Up);
    QTest::keyClick(menu, Qt::Key_Return);
  });
  QTest::keyClick(&overflow(), Qt::Key_Space);
  EXPECT_TRUE(line(window, "Status").contains("Mode: Insert"));
}

TEST_F(EditorToolbarTest, isDisabledWithItsMenuWhileBusy) {
  makeWide(400);
  BusyScope busy = window.controller().context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  EXPECT_FALSE(overflow().isEnabled());
  EXPECT_FALSE(menuItem("Frequency")->isEnabled());
  busy.end();
  EXPECT_TRUE(overflow().isEnabled());
  EXPECT_TRUE(menuItem("Frequency")->isEnabled());
}

TEST_F(EditorToolbarTest, standsWithItsInsetsAndSpaces) {
  makeWide(toolbar().fittingWidth());
  EXPECT_EQ(toolbar().geometry().topLeft(), QPoint(0, 0));
  EXPECT_EQ(toolbar().height(), 44);
  int x = 10;
  for (const std::string& title : kTitles) {
    const QRect place = button(toolbar(), QString::fromStdString(title))->geometry();
    EXPECT_EQ(place.x(), x) << title;
    EXPECT_EQ(place.y(), 7);
    EXPECT_EQ(place.height(), 44 - 2 * 7);
    x += place.width() + 8;
  }
  EXPECT_EQ(toolbar().fittingWidth(), x - 8 + 10);
}

TEST_F(EditorToolbarTest, theLinesStandUnderTheHexViewWithTheirMargins) {
  const QRect content = window.centralWidget()->rect();
  EXPECT_EQ(window.editorView().geometry().top(), 44);
  EXPECT_EQ(window.editorView().width(), content.width());
  const auto place = [&](const QString& purpose) {
    QWidget& shown = label(window, purpose);
    return QRect(shown.mapTo(window.centralWidget(), QPoint(0, 0)), shown.size());
  };
  const QRect status = place("Status");
  const QRect inspector = place("Data inspector");
  EXPECT_EQ(status.left(), 12);
  EXPECT_EQ(inspector.left(), 12);
  EXPECT_EQ(content.right() - inspector.right(), 12);
  EXPECT_EQ(status.top() - window.editorView().geometry().bottom(), 1 + 4);
  EXPECT_EQ(inspector.top() - status.bottom(), 1 + 4);
  EXPECT_EQ(content.bottom() - inspector.bottom(), 8);
  EXPECT_EQ(window.centralWidget()->palette().color(QPalette::Window).rgb(), qRgb(11, 11, 11))
      << "white 0.045";
}

TEST_F(EditorToolbarTest, theWindowHasItsSizeWhereTheScreenHasRoom) {
  const QSize available = window.screen()->availableSize();
  if (available.width() < 1200 || available.height() < 800) GTEST_SKIP() << "a small screen";
  EXPECT_EQ(window.size(), QSize(std::max(1120, window.minimumWidth()), 760));
  EXPECT_EQ(window.geometry().topLeft(), QPoint(100, 100));
  EXPECT_EQ(window.minimumHeight(), 460);
  EXPECT_EQ(window.minimumWidth(), std::max(740, toolbar().fittingWidth() + 20));
}

TEST_F(EditorToolbarTest, theWindowNeedsNoMoreThanItsScreenHas) {
  QScreen* small = QGuiApplication::screens().back();
  if (small->availableSize().width() > 700) GTEST_SKIP() << "no small screen";
  window.windowHandle()->setScreen(small);
  const QSize frame = window.frameGeometry().size() - window.size();
  const QSize room = small->availableSize() - frame;
  EXPECT_EQ(window.minimumSize(), room);
  window.resize(room);
  QApplication::processEvents();
  EXPECT_EQ(window.size(), room);
  EXPECT_FALSE(menuTitles().empty());
  EXPECT_GE(window.editorView().height(), 100) << "room for some rows";
}

TEST_F(EditorToolbarTest, panelsAndFormsNeedNoMoreThanTheScreenHas) {
  QScreen* small = QGuiApplication::screens().back();
  if (small->availableSize().width() > 700) GTEST_SKIP() << "no small screen";
  window.windowHandle()->setScreen(small);
  const auto fits = [small](const QSize& size) {
    return size.boundedTo(small->availableSize()) == size;
  };
  delegate.perform("forwardFind:");
  delegate.perform("forwardReplace:");
  const auto panels = window.findChildren<FindReplacePanelController*>();
  EXPECT_EQ(panels.size(), 2);
  for (const auto* panel : panels) {
    EXPECT_TRUE(fits(panel->size()));
    auto* scroll = panel->findChild<QScrollArea*>();
    ASSERT_NE(scroll, nullptr);
    EXPECT_GE(scroll->widget()->width(), 540) << "nothing is squeezed";
  }
  for (const char* action : {"forwardShowByteFrequency:", "forwardShowFileInformation:"}) {
    delegate.perform(action);
    platform.executor.runAll();
    auto* report = topLevel<ReportWindow>();
    ASSERT_NE(report, nullptr) << action;
    QApplication::processEvents();
    EXPECT_TRUE(fits(report->frameGeometry().size())) << action;
    EXPECT_EQ(report->focusWidget(), &report->text());
    report->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  }
  const Alert form{
      .messageText = "Go to Offset", .buttons = {"OK", "Cancel"}, .fields = {{.label = "Offset:"}}};
  const AlertFormDialog dialog(form, &window);
  EXPECT_TRUE(fits(dialog.sizeHint())) << dialog.sizeHint().width();
}

}  // namespace
}  // namespace quillmor::test
