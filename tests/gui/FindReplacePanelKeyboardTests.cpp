// The panels without a mouse: Tab, access keys, Return and Escape, text commands.

#include <gmock/gmock.h>

#include "gui/PanelFixture.h"

namespace quillmor::test {
namespace {

class FindReplacePanelKeyboardTest : public PanelFixture {
 protected:
  /// The controls that the Tab key goes through from the one with the focus on, until it is back.
  static std::string tabOrder(Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QStringList names{focusName()};
    const Qt::Key key = modifiers & Qt::ShiftModifier ? Qt::Key_Backtab : Qt::Key_Tab;
    for (int steps = 0; steps < 30; ++steps) {
      press(key, modifiers);
      if (focusName() == names.front()) break;
      names << focusName();
    }
    return names.join(' ').toStdString();
  }

  /// An access key presses its button for a moment before it counts.
  template <class Condition>
  static bool soon(Condition condition) {
    return QTest::qWaitFor(condition);
  }

  /// Every control of the panel that can have the keyboard.
  static std::vector<QWidget*> stops(Panel& panel) {
    std::vector<QWidget*> found;
    for (const char* name : {"tabView", "searchField", "replaceField", "encodingPopup",
                             "caseSensitiveCheckbox", "promptCheckbox", "allRadio", "forwardRadio",
                             "backwardRadio", "primaryButton", "secondaryButton", "cancelButton"}) {
      if (auto* widget = panel.findChild<QWidget*>(name)) found.push_back(widget);
    }
    return found;
  }

  static QString accessKeysIn(const QString& text) {
    const auto mark = text.indexOf('&');
    return mark < 0 ? QString() : text.mid(mark + 1, 1).toUpper();
  }
};

TEST_F(FindReplacePanelKeyboardTest, theTabKeyGoesFromTopToBottom) {
  openReplace();
  EXPECT_EQ(tabOrder(),
            "searchField replaceField encodingPopup caseSensitiveCheckbox promptCheckbox "
            "forwardRadio primaryButton secondaryButton cancelButton tabView");
}

TEST_F(FindReplacePanelKeyboardTest, theTabKeyGoesBackWithShift) {
  openFind();
  EXPECT_EQ(tabOrder(Qt::ShiftModifier),
            "searchField tabView cancelButton secondaryButton primaryButton forwardRadio "
            "caseSensitiveCheckbox encodingPopup");
}

TEST_F(FindReplacePanelKeyboardTest, theTabKeyLeavesOutWhatIsHidden) {
  Panel& panel = openFind();
  tabs(panel).setCurrentIndex(1);
  EXPECT_EQ(tabOrder(),
            "searchField forwardRadio primaryButton secondaryButton cancelButton tabView");
}

TEST_F(FindReplacePanelKeyboardTest, arrowsChangeTheModeAndTheDirection) {
  Panel& panel = openFind();
  tabs(panel).setFocus();
  press(Qt::Key_Right);
  EXPECT_EQ(panel.selectedMode(), SearchMode::hexValues);
  press(Qt::Key_Right);
  press(Qt::Key_Right);
  EXPECT_EQ(panel.selectedMode(), SearchMode::floatingPointNumber);
  press(Qt::Key_Left);
  EXPECT_EQ(panel.selectedMode(), SearchMode::integerNumber);
  radio(panel, "forwardRadio").setFocus();
  press(Qt::Key_Right);
  EXPECT_TRUE(radio(panel, "backwardRadio").isChecked());
  EXPECT_EQ(focusName(), "backwardRadio");
  press(Qt::Key_Left);
  press(Qt::Key_Left);
  EXPECT_TRUE(radio(panel, "allRadio").isChecked());
  EXPECT_FALSE(radio(panel, "forwardRadio").isChecked());
}

TEST_F(FindReplacePanelKeyboardTest, givesEachAccessKeyOnce) {
  Panel& panel = openReplace();
  QStringList keys;
  for (int i = 0; i < tabs(panel).count(); ++i) keys << accessKeysIn(tabs(panel).tabText(i));
  for (const auto* label : panel.findChildren<QLabel*>()) keys << accessKeysIn(label->text());
  for (const auto* candidate : panel.findChildren<QAbstractButton*>()) {
    // Return and Escape stand for the others.
    if (candidate->objectName().endsWith("Button") && candidate->text() == "Cancel") continue;
    if (!candidate->text().isEmpty()) keys << accessKeysIn(candidate->text());
  }
  EXPECT_EQ(keys.size(), 4 + 3 + 5 + 2);
  EXPECT_FALSE(keys.contains(QString()));
  EXPECT_EQ(keys.removeDuplicates(), 0);
}

TEST_F(FindReplacePanelKeyboardTest, accessKeysReachEveryControl) {
  Panel& panel = openReplace();
  press(Qt::Key_W, Qt::AltModifier);
  EXPECT_EQ(focusName(), "replaceField");
  press(Qt::Key_E, Qt::AltModifier);
  EXPECT_EQ(focusName(), "encodingPopup");
  press(Qt::Key_S, Qt::AltModifier);
  EXPECT_EQ(focusName(), "searchField");
  press(Qt::Key_C, Qt::AltModifier);
  EXPECT_TRUE(soon([&] { return caseSensitive(panel).isChecked(); }));
  press(Qt::Key_P, Qt::AltModifier);
  EXPECT_TRUE(soon([&] { return control<QCheckBox>(panel, "promptCheckbox").isChecked(); }));
  press(Qt::Key_L, Qt::AltModifier);
  EXPECT_TRUE(soon([&] { return radio(panel, "allRadio").isChecked(); }));
  press(Qt::Key_B, Qt::AltModifier);
  EXPECT_TRUE(soon([&] { return radio(panel, "backwardRadio").isChecked(); }));
  press(Qt::Key_F, Qt::AltModifier);
  EXPECT_TRUE(soon([&] { return radio(panel, "forwardRadio").isChecked(); }));
  press(Qt::Key_X, Qt::AltModifier);
  EXPECT_EQ(panel.selectedMode(), SearchMode::hexValues);
  press(Qt::Key_I, Qt::AltModifier);
  EXPECT_EQ(panel.selectedMode(), SearchMode::integerNumber);
  press(Qt::Key_N, Qt::AltModifier);
  EXPECT_EQ(panel.selectedMode(), SearchMode::floatingPointNumber);
  press(Qt::Key_T, Qt::AltModifier);
  EXPECT_EQ(panel.selectedMode(), SearchMode::textString);
  press(Qt::Key_O, Qt::AltModifier);
  EXPECT_TRUE(soon([&] { return platform.beeper.count == 1; })) << "nothing to search for";
  press(Qt::Key_A, Qt::AltModifier);
  EXPECT_TRUE(soon([&] { return platform.beeper.count == 2; }));
}

TEST_F(FindReplacePanelKeyboardTest, returnWithAnEmptySearchFieldBeepsAndChangesNothing) {
  EditorWindow& window = open("hello");
  Panel& panel = openPanel(window, PanelKind::find);
  const SearchRequest before = window.controller().commands().searching().lastSearchRequest();
  press(Qt::Key_Return);
  EXPECT_EQ(platform.beeper.count, 1);
  EXPECT_EQ(window.controller().commands().searching().lastSearchRequest(), before);
  EXPECT_EQ(window.controller().editor().caretOffset(), 0);
  EXPECT_EQ(window.controller().editor().selection(), HexSelection());
  EXPECT_EQ(searchField(panel).currentText(), "");
  EXPECT_TRUE(panel.isVisible());
}

TEST_F(FindReplacePanelKeyboardTest, spacesAmongHexValuesAreAnEmptySearchText) {
  EditorWindow& window = open("hello");
  Panel& panel = openPanel(window, PanelKind::find);
  tabs(panel).setCurrentIndex(1);
  type("   ");
  press(Qt::Key_Return);
  EXPECT_EQ(platform.beeper.count, 1);
  EXPECT_EQ(window.controller().commands().searching().lastSearchRequest(), SearchRequest());
}

TEST_F(FindReplacePanelKeyboardTest, returnAnywhereRunsThePrimaryActionOnce) {
  EditorWindow& window = open("hello");
  for (const PanelKind kind : {PanelKind::find, PanelKind::replace}) {
    Panel& panel = openPanel(window, kind);
    for (QWidget* stop : stops(panel)) {
      for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
        stop->setFocus();
        platform.beeper.count = 0;
        press(key);
        EXPECT_EQ(platform.beeper.count, 1) << stop->objectName().toStdString();
        EXPECT_TRUE(panel.isVisible());
      }
    }
  }
}

TEST_F(FindReplacePanelKeyboardTest, spacePressesTheButtonWithTheFocus) {
  Panel& panel = openFind();
  pushButton(panel, "secondaryButton").setFocus();
  press(Qt::Key_Space);
  EXPECT_EQ(platform.beeper.count, 1);
  pushButton(panel, "cancelButton").setFocus();
  press(Qt::Key_Space);
  EXPECT_FALSE(panel.isVisible());
}

TEST_F(FindReplacePanelKeyboardTest, escapeAnywhereClosesThePanel) {
  EditorWindow& window = open("hello");
  Panel& first = openPanel(window, PanelKind::replace);
  for (QWidget* stop : stops(first)) {
    Panel& panel = openPanel(window, PanelKind::replace);
    EXPECT_EQ(&panel, &first);
    stop->setFocus();
    press(Qt::Key_Escape);
    EXPECT_FALSE(panel.isVisible()) << stop->objectName().toStdString();
  }
  EXPECT_TRUE(window.isVisible());
}

TEST_F(FindReplacePanelKeyboardTest, escapeClosesAnOpenListBeforeThePanel) {
  Panel& panel = openFind();
  encodings(panel).setFocus();
  press(Qt::Key_Down, Qt::AltModifier);
  ASSERT_NE(QApplication::activePopupWidget(), nullptr);
  press(Qt::Key_Escape);
  EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
  EXPECT_TRUE(panel.isVisible());
  press(Qt::Key_Escape);
  EXPECT_FALSE(panel.isVisible());
}

TEST_F(FindReplacePanelKeyboardTest, theSearchTextIsSelectedWheneverThePanelIsShown) {
  EditorWindow& window = open("hello");
  Panel& panel = openPanel(window, PanelKind::find);
  EXPECT_EQ(focusName(), "searchField");
  type("first");
  for (const bool hides : {true, false}) {
    pushButton(panel, "secondaryButton").setFocus();
    if (hides) panel.hide();
    openPanel(window, PanelKind::find);
    EXPECT_EQ(focusName(), "searchField");
    EXPECT_EQ(searchField(panel).lineEdit()->selectedText(), "first");
  }
  type("second");
  EXPECT_EQ(searchField(panel).currentText(), "second");
}

TEST_F(FindReplacePanelKeyboardTest, undoInTheSearchFieldUndoesTypingAndNoEdit) {
  EditorWindow& window = open("hello");
  QTest::keyClicks(&window.editorView(), "4a");
  Panel& panel = openPanel(window, PanelKind::find);
  type("abc");
  press(Qt::Key_Z, Qt::ControlModifier);
  EXPECT_EQ(searchField(panel).currentText(), "");
  EXPECT_EQ(text(window), "Jello");
  press(Qt::Key_Z, Qt::ControlModifier);
  EXPECT_EQ(text(window), "Jello") << "with nothing left to undo in the field";
  press(Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
  EXPECT_EQ(searchField(panel).currentText(), "abc");
}

TEST_F(FindReplacePanelKeyboardTest, aClickedFieldTakesTheKeysAlsoWhenNoWindowManagerSeesToIt) {
  EditorWindow& window = open("hello");
  Panel& panel = openPanel(window, PanelKind::replace);
  replaceField(panel).setEditText("text");
  makeKey(window);
  QTest::mouseClick(replaceField(panel).lineEdit(), Qt::LeftButton);
  EXPECT_TRUE(
      QTest::qWaitFor([&] { return QGuiApplication::focusWindow() == panel.windowHandle(); }));
  press(Qt::Key_A, Qt::ControlModifier);
  EXPECT_EQ(replaceField(panel).lineEdit()->selectedText(), "text");
  EXPECT_EQ(window.controller().editor().selection(), HexSelection());
  QTest::mouseClick(window.editorView().viewport(), Qt::LeftButton);
  EXPECT_TRUE(
      QTest::qWaitFor([&] { return QGuiApplication::focusWindow() == window.windowHandle(); }));
  press(Qt::Key_A, Qt::ControlModifier);
  EXPECT_EQ(window.controller().editor().selection(), (HexSelection{0, 5}));
}

TEST_F(FindReplacePanelKeyboardTest, deletingWithoutASelectionDeletesNothingInTheSearchField) {
  Panel& panel = openFind();
  type("abc def");
  press(Qt::Key_Backspace, Qt::ControlModifier);
  EXPECT_EQ(searchField(panel).currentText(), "abc def");
  press(Qt::Key_A, Qt::ControlModifier);
  press(Qt::Key_Backspace, Qt::ControlModifier);
  EXPECT_EQ(searchField(panel).currentText(), "");
}

TEST_F(FindReplacePanelKeyboardTest, menuCommandsOnTextGoToTheSearchField) {
  EditorWindow& window = open("hello");
  QTest::keyClicks(&window.editorView(), "4a");
  Panel& panel = openPanel(window, PanelKind::find);
  type("abc");
  delegate.perform("forwardSelectAll:");
  EXPECT_EQ(searchField(panel).lineEdit()->selectedText(), "abc");
  EXPECT_EQ(window.controller().editor().selection(), HexSelection());
  delegate.perform("forwardCut:");
  EXPECT_EQ(searchField(panel).currentText(), "");
  delegate.perform("forwardPaste:");
  delegate.perform("forwardPaste:");
  EXPECT_EQ(searchField(panel).currentText(), "abcabc");
  delegate.perform("forwardSelectAll:");
  delegate.perform("forwardDeleteSelection:");
  EXPECT_EQ(searchField(panel).currentText(), "");
  delegate.perform("forwardUndo:");
  EXPECT_EQ(searchField(panel).currentText(), "abcabc");
  EXPECT_EQ(text(window), "Jello");
}

}  // namespace
}  // namespace quillmor::test
