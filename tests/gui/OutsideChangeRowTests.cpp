// The line about what another program has done to the file, in a real editor window: where it
// stands, how its buttons are reached, and what it is for assistive technology.

#include "ui/window/OutsideChangeRow.h"

#include <gmock/gmock.h>

#include <QAccessible>
#include <filesystem>

#include "gui/RealApplication.h"

namespace quillmor::test {
namespace {

using namespace std::chrono_literals;

class OutsideChangeRowTest : public RealApplication {
 protected:
  static OutsideChangeRow& row(EditorWindow& window) {
    return *window.findChild<OutsideChangeRow*>();
  }

  /// A rectangle of the widget in its window.
  static QRect frame(const QWidget& widget) {
    return {widget.mapTo(widget.window(), QPoint()), widget.size()};
  }

  /// Lets a look at the file take place.
  void look() {
    platform.fileWatcher.tell(folder.location("data.bin"));
    platform.executor.advance(200ms);
    platform.executor.runAll();
    QCoreApplication::processEvents();
  }

  /// Opens a file and has another program change it.
  EditorWindow& openChanged() {
    EditorWindow& window = open("hello");
    folder.write("data.bin", "hallo!");
    look();
    return window;
  }

  static constexpr const char* kChange =
      "data.bin changed on disk: 2 ranges, 2 bytes, first at 0x00000001.";
};

TEST_F(OutsideChangeRowTest, standsAboveTheStatusLineWhileThereIsSomethingToSay) {
  EditorWindow& window = open("hello");
  EXPECT_FALSE(row(window).isVisible());
  const QRect status = frame(label(window, "Status"));
  folder.write("data.bin", "hallo!");
  look();
  ASSERT_TRUE(row(window).isVisible());
  EXPECT_EQ(line(window, "Change on disk"), kChange);
  EXPECT_EQ(frame(label(window, "Status")), status);
  EXPECT_LT(frame(row(window)).bottom(), status.top());
  EXPECT_LT(frame(window.editorView()).bottom(), frame(row(window)).top());
  folder.write("data.bin", "hello");
  look();
  EXPECT_FALSE(row(window).isVisible());
}

TEST_F(OutsideChangeRowTest, showsTheWholeSentenceAndButtonsInTheSmallestWindow) {
  EditorWindow& window = openChanged();
  window.resize(window.minimumSize());
  QCoreApplication::processEvents();
  const ElidedLabel& text = label(window, "Change on disk");
  EXPECT_GE(text.width(), text.sizeHint().width());
  for (const char* title : {"Show", "Reload", "Keep Mine"}) {
    const QPushButton& found = *button(row(window), title);
    EXPECT_TRUE(found.isVisible());
    EXPECT_LE(frame(found).right(), window.width());
    EXPECT_FALSE(frame(found).intersects(frame(text)));
  }
}

TEST_F(OutsideChangeRowTest, isCutWhereTheNameIsLongerThanTheWindow) {
  EditorWindow& window = open("hello");
  window.showOutsideChange(std::string(400, 'n') + " was deleted on disk.", {});
  window.resize(window.minimumSize());
  QCoreApplication::processEvents();
  EXPECT_EQ(window.size(), window.minimumSize());
  EXPECT_LE(frame(*button(row(window), "Keep Mine")).right(), window.width());
}

TEST_F(OutsideChangeRowTest, isAnAlertNamedByItsSentence) {
  EditorWindow& window = openChanged();
  QAccessibleInterface* shown =
      QAccessible::queryAccessibleInterface(&label(window, "Change on disk"));
  ASSERT_NE(shown, nullptr);
  EXPECT_EQ(shown->role(), QAccessible::AlertMessage);
  EXPECT_EQ(shown->text(QAccessible::Name), kChange);
  for (const char* title : {"Show", "Reload", "Keep Mine"})
    EXPECT_EQ(button(row(window), title)->accessibleName(), title);
}

TEST_F(OutsideChangeRowTest, isReachedWithTheTabKeyAndGivesTheKeyboardBack) {
  EditorWindow& window = openChanged();
  for (const char* title : {"Show", "Reload", "Keep Mine"}) {
    QTest::keyClick(window.focusWidget(), Qt::Key_Tab);
    EXPECT_EQ(window.focusWidget(), button(row(window), title)) << title;
  }
  QTest::keyClick(window.focusWidget(), Qt::Key_Space);
  EXPECT_FALSE(row(window).isVisible());
  EXPECT_TRUE(window.editorView().hasFocus());
}

TEST_F(OutsideChangeRowTest, doesNotTakeTheKeyboardWhenItComesOrIsClicked) {
  EditorWindow& window = openChanged();
  EXPECT_TRUE(window.editorView().hasFocus());
  QTest::mouseClick(button(row(window), "Show"), Qt::LeftButton);
  EXPECT_EQ(window.focusWidget(), &window.editorView());
}

TEST_F(OutsideChangeRowTest, showOpensAReport) {
  EditorWindow& window = openChanged();
  QTest::mouseClick(button(row(window), "Show"), Qt::LeftButton);
  auto* report = topLevel<ReportWindow>();
  ASSERT_NE(report, nullptr);
  EXPECT_EQ(report->windowTitle(), "Changes on Disk");
  EXPECT_TRUE(report->text().toPlainText().contains("0x00000001  1 byte"));
}

TEST_F(OutsideChangeRowTest, reloadIsTheCommand) {
  EditorWindow& window = openChanged();
  platform.alerts.expect("Reload from Disk", "Reloaded: data.bin");
  QTest::mouseClick(button(row(window), "Reload"), Qt::LeftButton);
  platform.executor.runAll();
  EXPECT_EQ(text(window), "hallo!");
  EXPECT_FALSE(row(window).isVisible());
}

TEST_F(OutsideChangeRowTest, reloadAsksAboutUnsavedChanges) {
  EditorWindow& window = openChanged();
  QTest::keyClicks(&window.editorView(), "7a");
  platform.alerts.expect("Replace Current Document?",
                         "The current document has unsaved changes. Save before opening another "
                         "file in this window?",
                         "Cancel");
  QTest::mouseClick(button(row(window), "Reload"), Qt::LeftButton);
  platform.executor.runAll();
  EXPECT_EQ(text(window), "zello");
  EXPECT_TRUE(row(window).isVisible());
}

TEST_F(OutsideChangeRowTest, offersOnlyWhatCanBeDone) {
  EditorWindow& window = open("hello");
  std::filesystem::remove(folder.location("data.bin").path());
  look();
  EXPECT_EQ(line(window, "Change on disk"), "data.bin was deleted on disk.");
  EXPECT_FALSE(button(row(window), "Show")->isVisible());
  EXPECT_FALSE(button(row(window), "Reload")->isVisible());
  EXPECT_TRUE(button(row(window), "Keep Mine")->isVisible());
}

TEST_F(OutsideChangeRowTest, comesWithoutAnEventWhenTheWindowBecomesActive) {
  EditorWindow& window = open("hello");
  delegate.newDocument();
  makeActive(*windows.editorWindows().back());
  platform.executor.advance(1s);
  platform.executor.runAll();
  folder.write("data.bin", "hallo!");
  makeActive(window);
  platform.executor.advance(200ms);
  platform.executor.runAll();
  EXPECT_TRUE(row(window).isVisible());
}

}  // namespace
}  // namespace quillmor::test
