// What the Find and Replace panels show, and the requests they build.

#include "ui/window/FindReplacePanelController.h"

#include <gmock/gmock.h>

#include <QAccessible>
#include <QGroupBox>
#include <QScopeGuard>
#include <QScreen>

#include "gui/PanelFixture.h"

namespace quillmor::test {
namespace {

class FindReplacePanelTest : public PanelFixture {
 protected:
  static void expectControl(const Panel& panel, const char* name, const char* text) {
    auto& found = control<QWidget>(panel, name);
    QString title;
    if (const auto* label = qobject_cast<QLabel*>(&found)) title = label->text();
    if (const auto* box = qobject_cast<QGroupBox*>(&found)) title = box->title();
    if (const auto* abstractButton = qobject_cast<QAbstractButton*>(&found)) {
      title = abstractButton->text();
    }
    EXPECT_EQ(shown(title), text) << name;
    EXPECT_EQ(found.accessibleName(), text) << name;
    EXPECT_TRUE(found.isVisibleTo(&panel)) << name;
  }

  /// The visible controls of the panel, for which `visit` is called.
  template <class Visit>
  static void forEachControl(const Panel& panel, Visit visit) {
    for (QWidget* widget : panel.findChildren<QWidget*>()) {
      if (widget->isVisibleTo(&panel) && !widget->objectName().isEmpty() &&
          !widget->objectName().startsWith("qt_") && !widget->objectName().startsWith("Scroll"))
        visit(*widget);
    }
  }

  static void expectEverythingWhole(const Panel& panel) {
    forEachControl(panel, [&](const QWidget& widget) {
      const QRect frame(widget.mapTo(&panel, QPoint()), widget.size());
      const std::string name = widget.objectName().toStdString();
      EXPECT_TRUE(panel.rect().contains(frame)) << name;
      EXPECT_GE(widget.width(), widget.minimumSizeHint().width()) << name;
      EXPECT_GE(widget.height(), widget.minimumSizeHint().height()) << name;
    });
    const QFontMetrics metrics = tabs(panel).fontMetrics();
    for (int i = 0; i < tabs(panel).count(); ++i) {
      const QRect tab = tabs(panel).tabRect(i);
      EXPECT_GE(tab.width(), metrics.horizontalAdvance(shown(tabs(panel).tabText(i))));
      EXPECT_TRUE(tabs(panel).rect().contains(tab)) << i;
    }
  }
};

TEST_F(FindReplacePanelTest, theFindPanelHasItsControls) {
  Panel& panel = openFind();
  EXPECT_EQ(panel.windowTitle(), "Find");
  EXPECT_EQ(panel.size(), QSize(540, 330));
  expectControl(panel, "searchLabel", "Search for:");
  expectControl(panel, "encodingLabel", "Text encoding:");
  expectControl(panel, "optionsBox", "Options");
  expectControl(panel, "caseSensitiveCheckbox", "Case sensitive");
  expectControl(panel, "directionBox", "Search direction");
  expectControl(panel, "allRadio", "All");
  expectControl(panel, "forwardRadio", "Forward");
  expectControl(panel, "backwardRadio", "Backward");
  expectControl(panel, "primaryButton", "OK");
  expectControl(panel, "secondaryButton", "Search all");
  expectControl(panel, "cancelButton", "Cancel");
}

TEST_F(FindReplacePanelTest, theReplacePanelHasAReplacementAndAPromptBesides) {
  Panel& panel = openReplace();
  EXPECT_EQ(panel.windowTitle(), "Replace");
  EXPECT_EQ(panel.size(), QSize(540, 372));
  expectControl(panel, "searchLabel", "Search for:");
  expectControl(panel, "replaceLabel", "Replace with:");
  expectControl(panel, "caseSensitiveCheckbox", "Case sensitive");
  expectControl(panel, "promptCheckbox", "Prompt on replace");
  expectControl(panel, "primaryButton", "OK");
  expectControl(panel, "secondaryButton", "Replace all");
  expectControl(panel, "cancelButton", "Cancel");
}

TEST_F(FindReplacePanelTest, theFindPanelIs42PointsShorterWithoutReplacementAndPrompt) {
  EditorWindow& window = open("hello");
  const Panel& find = openPanel(window, PanelKind::find);
  const Panel& replace = openPanel(window, PanelKind::replace);
  EXPECT_EQ(find.height() + 42, replace.height());
  EXPECT_EQ(find.findChild<QWidget*>("replaceLabel"), nullptr);
  EXPECT_EQ(find.findChild<QWidget*>("replaceField"), nullptr);
  EXPECT_EQ(find.findChild<QWidget*>("promptCheckbox"), nullptr);
}

TEST_F(FindReplacePanelTest, startsWithTextForwardInTheEditorsEncoding) {
  Panel& panel = openReplace();
  EXPECT_EQ(panel.selectedMode(), SearchMode::textString);
  EXPECT_EQ(searchField(panel).currentText(), "");
  EXPECT_EQ(replaceField(panel).currentText(), "");
  EXPECT_EQ(encodings(panel).currentIndex(), 0);
  EXPECT_FALSE(caseSensitive(panel).isChecked());
  EXPECT_FALSE(control<QCheckBox>(panel, "promptCheckbox").isChecked());
  EXPECT_FALSE(radio(panel, "allRadio").isChecked());
  EXPECT_TRUE(radio(panel, "forwardRadio").isChecked());
  EXPECT_FALSE(radio(panel, "backwardRadio").isChecked());
}

TEST_F(FindReplacePanelTest, listsModesAndEncodingsInTheirOrder) {
  Panel& panel = openFind();
  QStringList titles;
  for (int i = 0; i < tabs(panel).count(); ++i) titles << shown(tabs(panel).tabText(i));
  EXPECT_EQ(titles,
            (QStringList{"Text-string", "Hex-values", "Integer number", "Floating point number"}));
  QStringList names;
  for (int i = 0; i < encodings(panel).count(); ++i) names << encodings(panel).itemText(i);
  EXPECT_EQ(names, (QStringList{"(Editor encoding)", "UTF-8", "ASCII", "UTF-16 LE", "UTF-16 BE"}));
  EXPECT_FALSE(encodings(panel).isEditable());
}

TEST_F(FindReplacePanelTest, isAWindowOfFixedSizeThatBlocksNothing) {
  EditorWindow& window = open("hello");
  Panel& panel = openPanel(window, PanelKind::find);
  EXPECT_TRUE(panel.isWindow());
  EXPECT_FALSE(panel.isModal());
  EXPECT_EQ(panel.minimumSize(), panel.maximumSize());
  EXPECT_TRUE(panel.windowFlags() & Qt::WindowCloseButtonHint);
  EXPECT_EQ(panel.parentWidget(), &window) << "it stands above its editor";
  activate(window);
  EXPECT_TRUE(panel.isVisible());
  QTest::keyClicks(&window.editorView(), "4a");
  EXPECT_EQ(text(window), "Jello");
}

TEST_F(FindReplacePanelTest, keepsTheStatedMeasures) {
  Panel& panel = openReplace();
  EXPECT_EQ(tabs(panel).height(), 36);
  for (const char* name : {"searchLabel", "replaceLabel", "encodingLabel"}) {
    EXPECT_EQ(control<QLabel>(panel, name).width(), 96) << name;
  }
  for (const char* name : {"searchField", "replaceField"}) {
    EXPECT_GE(control<QComboBox>(panel, name).width(), 370) << name;
    EXPECT_EQ(control<QComboBox>(panel, name).completer(), nullptr) << name;
    EXPECT_TRUE(control<QComboBox>(panel, name).isEditable()) << name;
  }
  EXPECT_GE(encodings(panel).width(), 180);
  EXPECT_EQ(tabs(panel).mapTo(&panel, QPoint()), QPoint(18, 14));
  EXPECT_EQ(tabs(panel).width(), 540 - 2 * 18);
  const int width = pushButton(panel, "primaryButton").width();
  EXPECT_EQ(pushButton(panel, "secondaryButton").width(), width);
  EXPECT_EQ(pushButton(panel, "cancelButton").width(), width);
}

TEST_F(FindReplacePanelTest, showsEveryControlWhole) {
  EditorWindow& window = open("hello");
  expectEverythingWhole(openPanel(window, PanelKind::find));
  expectEverythingWhole(openPanel(window, PanelKind::replace));
}

TEST_F(FindReplacePanelTest, growsForALargeFont) {
  const QFont usual = QApplication::font();
  const auto restore = qScopeGuard([&] { QApplication::setFont(usual); });
  QFont large = usual;
  large.setPointSizeF(usual.pointSizeF() * 1.6);
  QApplication::setFont(large);
  const Panel& panel = openReplace();
  expectEverythingWhole(panel);
  EXPECT_GT(panel.height(), 372);
  EXPECT_EQ(panel.minimumSize(), panel.maximumSize());
}

TEST_F(FindReplacePanelTest, namesEveryControlForAssistiveTechnology) {
  Panel& panel = openReplace();
  EXPECT_EQ(searchField(panel).accessibleName(), "Search for:");
  EXPECT_EQ(replaceField(panel).accessibleName(), "Replace with:");
  EXPECT_EQ(encodings(panel).accessibleName(), "Text encoding:");
  forEachControl(panel, [&](QWidget& widget) {
    QAccessibleInterface* told = QAccessible::queryAccessibleInterface(&widget);
    ASSERT_NE(told, nullptr);
    EXPECT_FALSE(told->text(QAccessible::Name).isEmpty()) << widget.objectName().toStdString();
  });
  for (QLineEdit* field : panel.findChildren<QLineEdit*>()) {
    EXPECT_FALSE(field->accessibleName().isEmpty());
  }
}

TEST_F(FindReplacePanelTest, otherModesHideWhatOnlyTextHasAndTextShowsItAgain) {
  Panel& panel = openReplace();
  encodings(panel).setCurrentIndex(3);
  caseSensitive(panel).setChecked(true);
  const QSize size = panel.size();
  const QPoint box = control<QGroupBox>(panel, "optionsBox").pos();
  const QRect direction = control<QGroupBox>(panel, "directionBox").geometry();
  for (const int mode : {2, 1, 3}) {
    tabs(panel).setCurrentIndex(mode);
    QCoreApplication::processEvents();
    EXPECT_FALSE(control<QWidget>(panel, "encodingRow").isVisible());
    EXPECT_FALSE(encodings(panel).isVisible());
    EXPECT_FALSE(control<QLabel>(panel, "encodingLabel").isVisible());
    EXPECT_FALSE(caseSensitive(panel).isVisible());
    EXPECT_TRUE(control<QCheckBox>(panel, "promptCheckbox").isVisible());
    EXPECT_TRUE(control<QGroupBox>(panel, "optionsBox").isVisible());
    EXPECT_EQ(panel.size(), size);
    EXPECT_EQ(control<QGroupBox>(panel, "optionsBox").pos(), box) << "nothing jumps";
    EXPECT_EQ(control<QGroupBox>(panel, "directionBox").geometry(), direction);
  }
  tabs(panel).setCurrentIndex(0);
  EXPECT_TRUE(encodings(panel).isVisible());
  EXPECT_TRUE(control<QLabel>(panel, "encodingLabel").isVisible());
  EXPECT_TRUE(caseSensitive(panel).isVisible());
  EXPECT_EQ(encodings(panel).currentIndex(), 3);
  EXPECT_TRUE(caseSensitive(panel).isChecked());
}

TEST_F(FindReplacePanelTest, showsNoBoxWithoutOptions) {
  Panel& panel = openFind();
  const QRect direction = control<QGroupBox>(panel, "directionBox").geometry();
  for (const int mode : {1, 2, 3}) {
    tabs(panel).setCurrentIndex(mode);
    QCoreApplication::processEvents();
    EXPECT_FALSE(control<QGroupBox>(panel, "optionsBox").isVisible());
    EXPECT_EQ(control<QGroupBox>(panel, "directionBox").geometry(), direction);
  }
  tabs(panel).setCurrentIndex(0);
  EXPECT_TRUE(control<QGroupBox>(panel, "optionsBox").isVisible());
}

TEST_F(FindReplacePanelTest, buildsEveryRequestThatItWasFilledWith) {
  Panel& panel = openReplace();
  for (int bits = 0; bits < 4 * 5 * 3 * 4; ++bits) {
    const SearchRequest request{.mode = static_cast<SearchMode>(bits % 4),
                                .searchText = " Größe " + std::to_string(bits),
                                .replaceText = bits % 7 == 0 ? "" : "mit 🦔 ",
                                .textEncoding = static_cast<SearchTextEncoding>(bits / 4 % 5),
                                .direction = static_cast<SearchDirection>(bits / 20 % 3),
                                .caseSensitive = bits / 60 % 2 == 1,
                                .promptOnReplace = bits / 120 % 2 == 1};
    panel.apply(request);
    ASSERT_EQ(panel.buildRequest(), request) << bits;
    EXPECT_EQ(panel.selectedMode(), request.mode);
    EXPECT_EQ(encodings(panel).isVisible(), request.mode == SearchMode::textString);
  }
}

TEST_F(FindReplacePanelTest, aFindPanelAsksForNoReplacementAndNoPrompt) {
  Panel& panel = openFind();
  panel.apply({.searchText = "a", .replaceText = "b", .promptOnReplace = true});
  EXPECT_EQ(panel.buildRequest(), (SearchRequest{.searchText = "a"}));
}

TEST_F(FindReplacePanelTest, anEncodingThatIsNotListedIsTheEditors) {
  Panel& panel = openFind();
  panel.apply({.searchText = "a", .textEncoding = SearchTextEncoding::ascii});
  encodings(panel).setCurrentIndex(-1);
  ASSERT_TRUE(panel.buildRequest().has_value());
  EXPECT_EQ(panel.buildRequest()->textEncoding, SearchTextEncoding::editor);
}

TEST_F(FindReplacePanelTest, onlyTextMayBeNothingButSpaces) {
  Panel& panel = openFind();
  for (const char* text : {"", "   ", " \t\n", "\xC2\xA0"}) {
    for (int mode = 0; mode < 4; ++mode) {
      panel.apply({.mode = static_cast<SearchMode>(mode), .searchText = text});
      const bool isAskedFor = mode == 0 && *text != '\0';
      EXPECT_EQ(panel.buildRequest().has_value(), isAskedFor) << mode << " '" << text << "'";
    }
  }
  panel.apply({.searchText = " a "});
  EXPECT_EQ(panel.buildRequest()->searchText, " a ") << "as typed";
}

TEST_F(FindReplacePanelTest, oneDirectionTurnsTheOthersOff) {
  Panel& panel = openFind();
  for (const char* chosen : {"allRadio", "backwardRadio", "forwardRadio"}) {
    panel.handleDirectionSelection(radio(panel, chosen));
    for (const char* name : {"allRadio", "forwardRadio", "backwardRadio"}) {
      EXPECT_EQ(radio(panel, name).isChecked(), name == std::string(chosen)) << name;
    }
  }
  QTest::mouseClick(&radio(panel, "allRadio"), Qt::LeftButton);
  EXPECT_TRUE(radio(panel, "allRadio").isChecked());
  EXPECT_FALSE(radio(panel, "forwardRadio").isChecked());
}

TEST_F(FindReplacePanelTest, opensOverTheMiddleOfItsEditor) {
  EditorWindow& window = open("hello");
  const QRect screen = window.screen()->availableGeometry();
  window.move(screen.center() - window.rect().center() + QPoint(20, -30));
  const QRect owner = window.frameGeometry();
  const Panel& panel = openPanel(window, PanelKind::find);
  EXPECT_LE(std::abs(panel.frameGeometry().center().x() - owner.center().x()), 1);
  EXPECT_LE(std::abs(panel.frameGeometry().center().y() - owner.center().y()), 1);
}

TEST_F(FindReplacePanelTest, opensInsideTheScreenWhenItsEditorIsPartlyOff) {
  EditorWindow& window = open("hello");
  const QRect screen = window.screen()->availableGeometry();
  for (const QPoint corner :
       {QPoint(-600, -500), QPoint(screen.right() - 100, screen.bottom() - 50),
        QPoint(-600, screen.bottom() - 50)}) {
    window.move(corner);
    for (const PanelKind kind : {PanelKind::find, PanelKind::replace}) {
      Panel& panel = openPanel(window, kind);
      EXPECT_TRUE(screen.contains(panel.frameGeometry())) << corner.x() << " " << corner.y();
      panel.hide();
    }
  }
}

}  // namespace
}  // namespace quillmor::test
