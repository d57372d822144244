// The notice in the status area of a real editor window: where it stands, and what assistive
// technology hears of it.

#include <gmock/gmock.h>

#include <QAccessible>
#include <QAccessibleEvent>
#include <QProgressBar>
#include <vector>

#include "gui/RealApplication.h"

namespace quillmor::test {
namespace {

class EditorNoticeTest : public RealApplication {
 protected:
  static ElidedLabel& notice(const EditorWindow& window) { return label(window, "Notice"); }

  /// A rectangle of the widget in its window.
  static QRect frame(const QWidget& widget) {
    return {widget.mapTo(widget.window(), QPoint()), widget.size()};
  }

  static constexpr const char* kRefusal =
      "Only the digits 0 to 9 and A to F can be typed in this column.";
};

TEST_F(EditorNoticeTest, isShownUntilTheCaretMoves) {
  EditorWindow& window = open("hello");
  EXPECT_FALSE(notice(window).isVisible());
  QTest::keyClicks(&window.editorView(), "g");
  EXPECT_TRUE(notice(window).isVisible());
  EXPECT_EQ(notice(window).fullText(), kRefusal);
  EXPECT_EQ(notice(window).toolTip(), kRefusal);
  QTest::keyClick(&window.editorView(), Qt::Key_Right);
  EXPECT_FALSE(notice(window).isVisible());
}

TEST_F(EditorNoticeTest, takesRoomFromTheInspectorAlone) {
  EditorWindow& window = open("hello");
  window.resize(window.minimumSize());
  QCoreApplication::processEvents();
  const QRect view = frame(window.editorView());
  const QRect status = frame(label(window, "Status"));
  const QRect inspector = frame(label(window, "Data inspector"));
  QTest::keyClicks(&window.editorView(), "g");
  QCoreApplication::processEvents();
  EXPECT_EQ(frame(window.editorView()), view);
  EXPECT_EQ(frame(label(window, "Status")), status);
  const QRect shrunk = frame(label(window, "Data inspector"));
  const QRect shown = frame(notice(window));
  EXPECT_EQ(shrunk.topLeft(), inspector.topLeft());
  EXPECT_LT(shrunk.right(), shown.left());
  EXPECT_GE(shown.width(), notice(window).sizeHint().width()) << "the sentence is cut";
  EXPECT_LE(shown.right(), inspector.right());
  QTest::keyClick(&window.editorView(), Qt::Key_Right);
  QCoreApplication::processEvents();
  EXPECT_EQ(frame(label(window, "Data inspector")), inspector);
}

TEST_F(EditorNoticeTest, isCutWhereItIsLongerThanTheWindow) {
  EditorWindow& window = open("hello");
  window.resize(window.minimumSize());
  window.controller().context().messages().showNotice("Could not open " + std::string(240, 'n') +
                                                      ": Permission denied");
  QCoreApplication::processEvents();
  const QRect inspector = frame(label(window, "Data inspector"));
  const QRect shown = frame(notice(window));
  EXPECT_GT(inspector.width(), 0);
  EXPECT_LT(inspector.right(), shown.left());
  EXPECT_LT(shown.right(), window.width());
  EXPECT_EQ(window.size(), window.minimumSize());
}

TEST_F(EditorNoticeTest, standsClearOfTheProgressBarAndTheStopButton) {
  EditorWindow& window = open("hello");
  window.resize(window.minimumSize());
  window.controller().context().runBackgroundTask(
      "Working…", [](TaskProgress&) { return Done(); }, std::function([](Result<Done>) {}));
  platform.executor.advance(std::chrono::milliseconds(400));
  QTest::keyClicks(&window.editorView(), "g");
  QCoreApplication::processEvents();
  auto& progress = *window.findChild<QProgressBar*>();
  ASSERT_TRUE(progress.isVisible());
  ASSERT_TRUE(notice(window).isVisible());
  const QRect shown = frame(notice(window));
  for (const QWidget* other :
       {static_cast<QWidget*>(&progress), static_cast<QWidget*>(button(window, "Stop")),
        static_cast<QWidget*>(&label(window, "Status"))})
    EXPECT_FALSE(shown.intersects(frame(*other)));
  platform.executor.runAll();
}

TEST_F(EditorNoticeTest, isAnAlertNamedByItsSentence) {
  EditorWindow& window = open("hello");
  QTest::keyClicks(&window.editorView(), "g");
  QAccessibleInterface* shown = QAccessible::queryAccessibleInterface(&notice(window));
  ASSERT_NE(shown, nullptr);
  EXPECT_EQ(shown->role(), QAccessible::AlertMessage);
  EXPECT_EQ(shown->text(QAccessible::Name), kRefusal);
}

}  // namespace
}  // namespace quillmor::test
