// The About window: what it says, its link, its place, and the application's keys in it.

#include "ui/app/AboutWindowController.h"

#include <gmock/gmock.h>

#include <QLabel>
#include <QPointer>

#include "gui/RealApplication.h"

namespace quillmor::test {
namespace {

class AboutWindowTest : public RealApplication {
 protected:
  AboutWindowController& showAbout() {
    delegate.perform("showAbout:");
    auto* about = topLevel<AboutWindowController>();
    if (!about) throw std::logic_error("no About window");
    makeActive(*about);
    return *about;
  }
};

TEST_F(AboutWindowTest, tellsNameVersionPurposeAndCredit) {
  const AboutWindowController& about = showAbout();
  EXPECT_EQ(about.windowTitle(), "About Quillmor");
  std::vector<std::string> texts;
  for (const QLabel* label : about.findChildren<QLabel*>())
    texts.push_back(label->text().toStdString());
  EXPECT_THAT(texts, testing::ElementsAre("Quillmor", "Version " QUILLMOR_VERSION,
                                          "Professional native hex editor for macOS.",
                                          "Made by the Quillmor developers."));
}

TEST_F(AboutWindowTest, opensTheWebSiteFromItsButton) {
  button(showAbout(), "Quillmor on the Web")->click();
  EXPECT_THAT(platform.workspace.openedLinks, testing::ElementsAre("https://quillmor.example/"));
}

TEST_F(AboutWindowTest, closesOnEscapeAndOnTheCloseShortcut) {
  QPointer<EditorWindow> editor(&open("hello"));
  for (const auto& [key, modifiers] :
       {std::pair(Qt::Key_Escape, Qt::NoModifier), std::pair(Qt::Key_W, Qt::ControlModifier)}) {
    QPointer<AboutWindowController> about(&showAbout());
    QTest::keyClick(about, key, modifiers);
    EXPECT_TRUE(QTest::qWaitFor([&] { return about.isNull(); }));
  }
  EXPECT_FALSE(editor.isNull());
  EXPECT_TRUE(editor->isVisible());
}

TEST_F(AboutWindowTest, quitsOnTheShortcut) {
  EditorWindow& window = open("hello");
  QTest::keyClicks(&window.editorView(), "4a");
  platform.alerts.expect("Do you want to save the changes you made to \"data.bin\"?",
                         "Your changes will be lost if you don't save them.", "Cancel");
  QTest::keyClick(&showAbout(), Qt::Key_Q, Qt::ControlModifier);
  EXPECT_EQ(platform.alerts.shown().size(), 1U);
}

TEST_F(AboutWindowTest, comesToTheFrontAgainWhereItWas) {
  open("hello");
  QPointer<AboutWindowController> about(&showAbout());
  EXPECT_EQ(&showAbout(), about);
  about->move(77, 88);
  const QPoint place = about->geometry().topLeft();
  about->close();
  EXPECT_TRUE(QTest::qWaitFor([&] { return about.isNull(); }));
  EXPECT_EQ(showAbout().geometry().topLeft(), place);
}

}  // namespace
}  // namespace quillmor::test
