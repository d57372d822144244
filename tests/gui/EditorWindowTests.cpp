// One editor window: closing, its place and state on the screen, what is dropped on it, its lines.

#include "ui/window/EditorWindow.h"

#include <gmock/gmock.h>

#include <QAccessible>
#include <QDragEnterEvent>
#include <QMimeData>
#include <QPointer>
#include <QScreen>
#include <QUrl>

#include "gui/RealApplication.h"
#include "ui/window/EditorToolbar.h"

namespace quillmor::test {
namespace {

const std::string kSaveQuestion = "Do you want to save the changes you made to \"data.bin\"?";
const std::string kSaveExplanation = "Your changes will be lost if you don't save them.";

class EditorWindowTest : public RealApplication {
 protected:
  void expectSaveQuestion(const std::string& answer) {
    platform.alerts.expect(kSaveQuestion, kSaveExplanation, answer);
  }

  EditorWindow& openEdited() {
    EditorWindow& window = open("hello");
    QTest::keyClicks(&window.editorView(), "4a");
    return window;
  }

  /// Enters, moves and drops as the toolkit does; whether the drop was taken.
  bool drop(QWidget& target, const FileLocation& file) {
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(QString::fromStdString(file.path()))});
    QDragEnterEvent enter({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&target, &enter);
    QDragMoveEvent move({6, 6}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&target, &move);
    QDropEvent release({6, 6}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&target, &release);
    return release.isAccepted();
  }
};

TEST_F(EditorWindowTest, closesAtOnceWhenTheAnswerComesAtOnce) {
  EditorWindow& window = openEdited();
  expectSaveQuestion("Don't Save");
  EXPECT_TRUE(window.close());
  EXPECT_FALSE(window.isVisible());
}

TEST_F(EditorWindowTest, closesAfterASaveWithoutAskingAgain) {
  QPointer<EditorWindow> window(&openEdited());
  expectSaveQuestion("Save");
  EXPECT_FALSE(window->close());
  platform.executor.runAll();
  EXPECT_TRUE(QTest::qWaitFor([&] { return window.isNull(); }));
  EXPECT_EQ(folder.read("data.bin"), "Jello");
}

TEST_F(EditorWindowTest, asksAgainAboutWhatWasEditedBetweenTheSaveAndTheClose) {
  QPointer<EditorWindow> window(&openEdited());
  expectSaveQuestion("Save");
  window->close();
  platform.executor.runAll();
  QTest::keyClicks(&window->editorView(), "4b");
  expectSaveQuestion("Cancel");
  QCoreApplication::processEvents();
  ASSERT_FALSE(window.isNull());
  EXPECT_TRUE(window->isVisible());
  expectSaveQuestion("Cancel");
  EXPECT_FALSE(window->close());
}

TEST_F(EditorWindowTest, staysOpenAfterCancelAndAsksTheNextTime) {
  EditorWindow& window = openEdited();
  for (int i = 0; i < 2; ++i) {
    expectSaveQuestion("Cancel");
    EXPECT_FALSE(window.close());
    QCoreApplication::processEvents();
    EXPECT_TRUE(window.isVisible());
  }
}

TEST_F(EditorWindowTest, survivesBeingDestroyedWhileItsQuestionIsShown) {
  QPointer<EditorWindow> window(&openEdited());
  expectSaveQuestion("Cancel");
  platform.alerts.duringNext([&] { delete window; });
  window->close();
  EXPECT_TRUE(window.isNull());
}

TEST_F(EditorWindowTest, comesToTheFrontMaximizedAsItWas) {
  EditorWindow& window = open("hello");
  window.setWindowState(Qt::WindowMaximized | Qt::WindowMinimized);
  window.bringToFront();
  EXPECT_FALSE(window.isMinimized());
  EXPECT_TRUE(window.isMaximized());
}

TEST_F(EditorWindowTest, isAsWideAsTheToolbarNeeds) {
  EditorWindow& window = open("hello");
  const auto* toolbar = window.findChild<QWidget*>("toolbar");
  ASSERT_NE(toolbar, nullptr);
  const int needed = dynamic_cast<const EditorToolbar&>(*toolbar).fittingWidth() + 20;
  EXPECT_EQ(window.minimumWidth(),
            std::min(std::max(740, needed), window.screen()->availableSize().width()));
}

TEST_F(EditorWindowTest, isOnTheScreenWithWhatFits) {
  const QRect available = open("hello").screen()->availableGeometry();
  auto& window = *windows.editorWindows().back();
  EXPECT_TRUE(available.contains(window.geometry().topLeft()));
  const QSize needed = window.minimumSize();
  EXPECT_LE(window.width(), std::max(available.width(), needed.width()));
  EXPECT_LE(window.height(), std::max(available.height(), needed.height()));
}

TEST_F(EditorWindowTest, givesTheEditorTheFocusAtTheStart) {
  delegate.newDocument();
  EditorWindow& window = *windows.editorWindows().back();
  makeActive(window);
  EXPECT_TRUE(window.editorView().hasFocus());
}

TEST_F(EditorWindowTest, opensAFileDroppedOnTheHexViewAfterTheDrop) {
  EditorWindow& window = open("hello");
  const auto file = folder.write("dropped.bin", "dropped");
  EXPECT_TRUE(drop(*window.editorView().viewport(), file));
  EXPECT_EQ(text(window), "hello");
  EXPECT_FALSE(platform.executor.hasWork());
  QCoreApplication::processEvents();
  platform.executor.runAll();
  EXPECT_EQ(text(window), "dropped");
}

TEST_F(EditorWindowTest, opensAFileDroppedAroundTheHexView) {
  EditorWindow& window = open("hello");
  EXPECT_TRUE(drop(*window.centralWidget(), folder.write("dropped.bin", "dropped")));
  QCoreApplication::processEvents();
  platform.executor.runAll();
  EXPECT_EQ(text(window), "dropped");
}

TEST_F(EditorWindowTest, takesNoDropsOnceItIsClosed) {
  EditorWindow& window = open("hello");
  window.close();
  EXPECT_FALSE(window.centralWidget()->acceptDrops());
  EXPECT_FALSE(window.editorView().acceptDrops());
  EXPECT_FALSE(window.editorView().viewport()->acceptDrops());
}

TEST_F(EditorWindowTest, forgetsAFileDroppedJustBeforeItClosed) {
  QPointer<EditorWindow> window(&open("hello"));
  EXPECT_TRUE(drop(*window->centralWidget(), folder.write("dropped.bin", "dropped")));
  window->close();
  EXPECT_TRUE(QTest::qWaitFor([&] { return window.isNull(); }));
  EXPECT_FALSE(platform.executor.hasWork());
}

TEST_F(EditorWindowTest, showsWholeLinesAsTooltips) {
  EditorWindow& window = open("hello");
  for (const QString& purpose : {QString("Status"), QString("Data inspector")}) {
    EXPECT_FALSE(line(window, purpose).isEmpty());
    EXPECT_EQ(label(window, purpose).toolTip(), line(window, purpose));
  }
}

TEST_F(EditorWindowTest, namesItsLinesByTheirTextsForAssistiveTechnology) {
  EditorWindow& window = open("hello");
  QAccessibleInterface* shown = QAccessible::queryAccessibleInterface(&label(window, "Status"));
  ASSERT_NE(shown, nullptr);
  EXPECT_EQ(shown->role(), QAccessible::StaticText);
  EXPECT_EQ(shown->text(QAccessible::Name), line(window, "Status"));
  EXPECT_EQ(shown->text(QAccessible::Description), "Status");
  window.controller().perform("forwardToggleInsertMode:");
  EXPECT_TRUE(shown->text(QAccessible::Name).contains("Mode: Insert"));
}

}  // namespace
}  // namespace quillmor::test
