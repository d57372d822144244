// The widget: keys, mouse, scrolling, and who may be destroyed first.

#include <QAccessible>
#include <QScopeGuard>
#include <QScrollBar>
#include <cmath>

#include "EditorViewFixture.h"

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;

class HexEditorViewTest : public test::EditorViewTest {};

// Keys

TEST_F(HexEditorViewTest, typesHexDigitsInOverwriteMode) {
  setCountingBytes(4);
  QTest::keyClicks(&view, "aB7");
  EXPECT_EQ(test::bytesOf(state), (Bytes{0xAB, 0x71, 2, 3}));
  QTest::keyClick(&view, 'g');
  EXPECT_EQ(beeper.count, 1);
}

TEST_F(HexEditorViewTest, typesHexDigitsInInsertMode) {
  setCountingBytes(2);
  state.setInsertMode(true);
  QTest::keyClicks(&view, "ff");
  EXPECT_EQ(test::bytesOf(state), (Bytes{0xFF, 0, 1}));
}

TEST_F(HexEditorViewTest, typesCharactersInTheAsciiColumn) {
  setCountingBytes(3);
  QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, asciiPoint(1));
  QTest::keyClicks(&view, "Hi");
  EXPECT_EQ(test::bytesOf(state), (Bytes{0, 'H', 'i'}));
  state.setInsertMode(true);
  QTest::keyClicks(&view, "!");
  EXPECT_EQ(test::bytesOf(state), (Bytes{0, 'H', 'i', '!'}));
  QTest::keyClick(&view, Qt::Key_Return);
  EXPECT_EQ(beeper.count, 1);
}

TEST_F(HexEditorViewTest, movesAndDeletesWithItsKeys) {
  setCountingBytes(100);
  QTest::keyClick(&view, Qt::Key_Down);
  QTest::keyClick(&view, Qt::Key_Right);
  EXPECT_EQ(state.caretOffset(), 17);
  QTest::keyClick(&view, Qt::Key_Right, Qt::ShiftModifier);
  EXPECT_EQ(state.selection(), (HexSelection{17, 2}));
  QTest::keyClick(&view, Qt::Key_Delete);
  EXPECT_EQ(state.storage()->count(), 98);
  QTest::keyClick(&view, Qt::Key_Up);
  QTest::keyClick(&view, Qt::Key_Backspace);
  EXPECT_EQ(state.storage()->count(), 97);
  QTest::keyClick(&view, Qt::Key_Left);
  EXPECT_EQ(state.caretOffset(), 0);
}

TEST_F(HexEditorViewTest, leavesCommandsAndKeysWithoutTextToTheToolkit) {
  setCountingBytes(100);
  state.setCaretOffset(50);
  EXPECT_FALSE(key(Qt::Key_A, "\x01", Qt::ControlModifier));
  EXPECT_FALSE(key(Qt::Key_Home));
  EXPECT_FALSE(key(Qt::Key_End));
  EXPECT_FALSE(key(Qt::Key_Shift));
  EXPECT_FALSE(key(Qt::Key_F5));
  EXPECT_TRUE(key(Qt::Key_A, "a"));
  EXPECT_EQ(state.caretOffset(), 50);
  EXPECT_EQ(beeper.count, 0);
}

TEST_F(HexEditorViewTest, typesWhateverTypesText) {
  setCountingBytes(8);
  EXPECT_TRUE(key(Qt::Key_5, "5", Qt::KeypadModifier));
  EXPECT_EQ(test::bytesOf(state)[0], 0x50);
  EXPECT_TRUE(key(Qt::Key_A, "A", Qt::ShiftModifier));
  EXPECT_EQ(test::bytesOf(state)[0], 0x5A);
  state.setEditingArea(EditingArea::ascii);
  EXPECT_TRUE(key(Qt::Key_At, "@", Qt::GroupSwitchModifier));
  EXPECT_EQ(test::bytesOf(state)[1], '@');
  EXPECT_TRUE(key(Qt::Key_BraceLeft, "{", Qt::GroupSwitchModifier | Qt::AltModifier))
      << "some keyboards report the AltGr key as Alt too";
  EXPECT_EQ(test::bytesOf(state)[2], '{');
  EXPECT_EQ(beeper.count, 0);
}

TEST_F(HexEditorViewTest, keepsTypingWhileAKeyIsHeld) {
  setCountingBytes(8);
  for (const bool isRepeated : {false, true, true}) {
    QKeyEvent event(QEvent::KeyPress, Qt::Key_F, Qt::NoModifier, "f", isRepeated);
    QApplication::sendEvent(&view, &event);
  }
  EXPECT_EQ(test::bytesOf(state)[0], 0xFF);
  EXPECT_EQ(test::bytesOf(state)[1], 0xF1);
}

TEST_F(HexEditorViewTest, lettersHeldWithAModifierTypeNothing) {
  setCountingBytes(8);
  for (const EditingArea area : {EditingArea::hex, EditingArea::ascii}) {
    state.setEditingArea(area);
    EXPECT_FALSE(key(Qt::Key_F, "f", Qt::AltModifier)) << "opens a menu";
    EXPECT_FALSE(key(Qt::Key_F, "F", Qt::AltModifier | Qt::ShiftModifier));
    EXPECT_FALSE(key(Qt::Key_E, "e", Qt::MetaModifier)) << "belongs to the desktop";
    EXPECT_FALSE(key(Qt::Key_C, "\x03", Qt::ControlModifier));
    EXPECT_FALSE(key(Qt::Key_C, "c", Qt::ControlModifier));
    EXPECT_FALSE(key(Qt::Key_C, "\x03", Qt::ControlModifier | Qt::ShiftModifier));
    EXPECT_FALSE(key(Qt::Key_C, "c", Qt::ControlModifier | Qt::AltModifier));
  }
  EXPECT_EQ(delegate.edits, 0);
  EXPECT_EQ(state.caretOffset(), 0);
  EXPECT_EQ(beeper.count, 0);
}

TEST_F(HexEditorViewTest, keysThatTypeNothingYetAreLeftToTheToolkit) {
  setCountingBytes(8);
  EXPECT_FALSE(key(Qt::Key_Dead_Acute));
  EXPECT_FALSE(key(Qt::Key_A)) << "without text";
  EXPECT_FALSE(key(Qt::Key_AltGr));
  EXPECT_EQ(delegate.edits, 0);
  EXPECT_EQ(beeper.count, 0);
}

TEST_F(HexEditorViewTest, modifiersAloneAreSilentWhileEditingIsDisabled) {
  state.setEditingEnabled(false);
  key(Qt::Key_Shift);
  key(Qt::Key_PageDown);
  EXPECT_EQ(beeper.count, 0);
  key(Qt::Key_A, "a");
  EXPECT_EQ(beeper.count, 1);
}

TEST_F(HexEditorViewTest, tabMovesTheFocus) {
  window.activateWindow();
  QTest::keyClick(&view, Qt::Key_Tab);
  EXPECT_EQ(window.focusWidget(), &other);
  EXPECT_EQ(beeper.count, 0);
}

TEST_F(HexEditorViewTest, pageKeysScrollWithoutMovingTheCaret) {
  setCountingBytes(16 * 200);
  QTest::keyClick(&view, Qt::Key_PageDown);
  const double page = view.scrollPosition().y;
  EXPECT_GT(page, geometry().rowHeight() * 5);
  EXPECT_LE(page, view.viewport()->height());
  QTest::keyClick(&view, Qt::Key_PageDown);
  EXPECT_EQ(view.scrollPosition().y, 2 * page);
  QTest::keyClick(&view, Qt::Key_PageUp);
  EXPECT_EQ(view.scrollPosition().y, page);
  EXPECT_EQ(state.caretOffset(), 0);
}

// Mouse

TEST_F(HexEditorViewTest, aClickPlacesTheCaretAndTakesTheFocus) {
  setCountingBytes(100);
  other.setFocus();
  QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, hexPoint(18, 1));
  EXPECT_EQ(state.caretOffset(), 18);
  EXPECT_FALSE(state.editingHighNibble());
  EXPECT_EQ(window.focusWidget(), &view);
  QTest::keyClick(&view, 'F');
  EXPECT_EQ(test::bytesOf(state)[18], 0x1F);
}

TEST_F(HexEditorViewTest, aClickWhileEditingIsDisabledDoesNothing) {
  setCountingBytes(100);
  other.setFocus();
  state.setEditingEnabled(false);
  QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, hexPoint(18));
  EXPECT_EQ(state.caretOffset(), 0);
  EXPECT_EQ(window.focusWidget(), &other);
  EXPECT_EQ(beeper.count, 0);
}

TEST_F(HexEditorViewTest, draggingSelects) {
  setCountingBytes(100);
  mouse(QEvent::MouseButtonPress, hexPoint(5));
  mouse(QEvent::MouseMove, hexPoint(37));
  EXPECT_EQ(state.selection(), (HexSelection{5, 33}));
  mouse(QEvent::MouseButtonRelease, hexPoint(37));
  mouse(QEvent::MouseMove, hexPoint(60));
  EXPECT_EQ(state.selection(), (HexSelection{5, 33}));
}

TEST_F(HexEditorViewTest, aDragHeldBeyondTheViewGoesOnScrolling) {
  setCountingBytes(16 * 200);
  mouse(QEvent::MouseButtonPress, hexPoint(5));
  mouse(QEvent::MouseMove, hexPoint(37));
  EXPECT_FALSE(view.isAutoScrolling()) << "inside";
  const QPoint below(hexPoint(5).x(), view.viewport()->height() + 45);
  mouse(QEvent::MouseMove, below);
  ASSERT_TRUE(view.isAutoScrolling());
  for (int i = 0; i < 3; ++i) {
    const double before = view.scrollPosition().y;
    const std::int64_t length = state.selection().length;
    view.autoScroll();
    EXPECT_GT(view.scrollPosition().y, before);
    EXPECT_EQ(state.selection().start, 5);
    EXPECT_GT(state.selection().length, length);
  }
  const std::int64_t reached = state.caretOffset();
  EXPECT_TRUE(QTest::qWaitFor([&] { return state.caretOffset() > reached; }))
      << "by itself, while the pointer rests";

  mouse(QEvent::MouseMove, QPoint(below.x(), -45));
  EXPECT_TRUE(view.isAutoScrolling());
  for (int i = 0; i < 500; ++i) view.autoScroll();
  EXPECT_EQ(state.selection(), (HexSelection{5, 1})) << "up in the first row";
  EXPECT_LE(view.scrollPosition().y, state.caretDrawingRect().y);
  mouse(QEvent::MouseButtonRelease, QPoint(below.x(), -45));
  EXPECT_FALSE(view.isAutoScrolling());
}

TEST_F(HexEditorViewTest, aDragStopsScrollingWhenItComesBackOrCannotGoOn) {
  setCountingBytes(16 * 200);
  const QPoint below(hexPoint(5).x(), view.viewport()->height() + 45);
  const auto beginScrolling = [&] {
    view.scrollTo({0, 0});
    view.setFocus();
    mouse(QEvent::MouseButtonPress, hexPoint(5));
    mouse(QEvent::MouseMove, below);
    EXPECT_TRUE(view.isAutoScrolling());
  };
  beginScrolling();
  mouse(QEvent::MouseMove, QPoint(below.x(), 100));
  EXPECT_FALSE(view.isAutoScrolling()) << "back inside";
  beginScrolling();
  other.setFocus();
  EXPECT_FALSE(view.isAutoScrolling()) << "focus elsewhere";
  beginScrolling();
  window.hide();
  EXPECT_FALSE(view.isAutoScrolling()) << "hidden";
  window.show();
  beginScrolling();
  state.setEditingEnabled(false);
  const HexSelection selected = state.selection();
  view.autoScroll();
  EXPECT_FALSE(view.isAutoScrolling()) << "editing disabled";
  EXPECT_EQ(state.selection(), selected);
  state.setEditingEnabled(true);
  beginScrolling();
  state.setSurface(nullptr);
  EXPECT_FALSE(view.isAutoScrolling()) << "no editor";
  view.autoScroll();
}

TEST_F(HexEditorViewTest, anotherButtonDoesNotDisturbADrag) {
  setCountingBytes(100);
  mouse(QEvent::MouseButtonPress, hexPoint(5));
  mouse(QEvent::MouseMove, hexPoint(20));
  const QPoint place = hexPoint(30);
  const QPoint global = view.viewport()->mapToGlobal(place);
  const auto both = Qt::LeftButton | Qt::RightButton;
  for (const QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonDblClick}) {
    QMouseEvent press(type, place, global, Qt::RightButton, both, Qt::NoModifier);
    QApplication::sendEvent(view.viewport(), &press);
    EXPECT_EQ(state.selection(), (HexSelection{5, 16}));
  }
  QMouseEvent move(QEvent::MouseMove, place, global, Qt::NoButton, both, Qt::NoModifier);
  QApplication::sendEvent(view.viewport(), &move);
  EXPECT_EQ(state.selection(), (HexSelection{5, 26}));
  QMouseEvent release(QEvent::MouseButtonRelease, place, global, Qt::RightButton, Qt::LeftButton,
                      Qt::NoModifier);
  QApplication::sendEvent(view.viewport(), &release);
  EXPECT_EQ(state.trackingDragStart(), 5);
  mouse(QEvent::MouseMove, hexPoint(40));
  EXPECT_EQ(state.selection(), (HexSelection{5, 36}));
}

TEST_F(HexEditorViewTest, aSecondClickCountsAsAClick) {
  setCountingBytes(100);
  mouse(QEvent::MouseButtonDblClick, asciiPoint(7));
  EXPECT_EQ(state.caretOffset(), 7);
}

TEST_F(HexEditorViewTest, otherButtonsDoNothing) {
  setCountingBytes(100);
  mouse(QEvent::MouseButtonPress, hexPoint(5), Qt::RightButton);
  mouse(QEvent::MouseMove, hexPoint(9), Qt::RightButton);
  EXPECT_EQ(state.caretOffset(), 0);
}

TEST_F(HexEditorViewTest, clicksCountFromTheScrolledDocument) {
  setCountingBytes(16 * 200);
  view.scrollTo({0, 1000.5});
  const std::int64_t offset = 16 * 50 + 3;
  QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, hexPoint(offset));
  EXPECT_EQ(state.caretOffset(), offset);
}

// Scrolling

TEST(HexEditorViewLayout, isThatOfItsFontWhateverWasLaidOutBeforeTheViewExisted) {
  test::CountingBeeper beeper;
  HexEditorState early(beeper);
  early.setBytesPerRow(32);
  early.recalcMetrics();
  const HexEditorView view(early);
  HexEditorState late(beeper);
  const HexEditorView reference(late);
  late.setBytesPerRow(32);
  EXPECT_EQ(early.geometry().hexStart(), late.geometry().hexStart());
  EXPECT_EQ(early.geometry().asciiStart(), late.geometry().asciiStart());
  EXPECT_EQ(early.geometry().desiredDocumentSize(), late.geometry().desiredDocumentSize());
  EXPECT_EQ(early.geometry().hexStart(), 10 * early.geometry().charWidth() + 22);
}

TEST_F(HexEditorViewTest, scrollBarsGoOnceTheDocumentFitsWithoutThem) {
  setCountingBytes(16 * 20);
  const Size document = geometry().desiredDocumentSize();
  const auto resizeView = [&](double width, double height) {
    view.setParent(nullptr);
    view.show();
    view.resize(static_cast<int>(std::ceil(width)), static_cast<int>(std::ceil(height)));
    QApplication::processEvents();
  };
  resizeView(document.width - 50, document.height - 50);
  EXPECT_TRUE(view.horizontalScrollBar()->isVisible());
  EXPECT_TRUE(view.verticalScrollBar()->isVisible());
  view.scrollTo({1e9, 1e9});

  resizeView(document.width + 1, document.height + 1);
  EXPECT_FALSE(view.horizontalScrollBar()->isVisible());
  EXPECT_FALSE(view.verticalScrollBar()->isVisible());
  EXPECT_EQ(view.scrollPosition(), (Point{0, 0}));
  EXPECT_EQ(view.viewport()->size(), view.size());
  EXPECT_EQ(geometry().frameSize(),
            (Size{static_cast<double>(view.width()), static_cast<double>(view.height())}));

  resizeView(document.width + 1, document.height - 1);
  EXPECT_TRUE(view.verticalScrollBar()->isVisible());
  EXPECT_TRUE(view.horizontalScrollBar()->isVisible()) << "the other bar takes its room";
  resizeView(document.width + 100, document.height - 1);
  EXPECT_TRUE(view.verticalScrollBar()->isVisible());
  EXPECT_FALSE(view.horizontalScrollBar()->isVisible());
}

TEST_F(HexEditorViewTest, scrollsThroughAHundredAndThirtyFourMillionRows) {
  state.setBytesPerRow(8);
  setBytes(ByteBuffer::uninitialized(std::int64_t{1} << 30));
  const std::int64_t count = state.storage()->count();
  ASSERT_EQ(HexEditorGeometry::rowCount(state.shape()), 134'217'729);

  state.setCaretOffset(count);
  const double end = geometry().desiredDocumentSize().height - view.viewport()->height();
  EXPECT_NEAR(view.scrollPosition().y, end, geometry().rowHeight());
  view.scrollTo({0, 1e18});
  EXPECT_EQ(view.scrollPosition().y, end);
  EXPECT_EQ(view.verticalScrollBar()->value(), view.verticalScrollBar()->maximum());
  EXPECT_NE(picture(), QImage());

  wheel({0, 5}, {});
  EXPECT_EQ(view.scrollPosition().y, end - 5) << "to the pixel, however coarse the bar is";
  const std::int64_t offset = count - 8 * 4 + 2;
  QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, hexPoint(offset));
  EXPECT_EQ(state.caretOffset(), offset);

  const double before = view.scrollPosition().y;
  QTest::keyClick(&view, Qt::Key_PageUp);
  EXPECT_NEAR(view.scrollPosition().y, before - view.viewport()->height(),
              2 * geometry().rowHeight());
  view.verticalScrollBar()->setValue(view.verticalScrollBar()->maximum() / 2);
  EXPECT_NEAR(view.scrollPosition().y, end / 2, geometry().rowHeight());
  EXPECT_EQ(state.caretOffset(), offset);
}

// Lifetime

TEST(HexEditorViewLifetime, viewAndEditorMayGoInAnyOrder) {
  test::CountingBeeper beeper;
  auto editor = std::make_unique<HexEditorState>(beeper);
  auto view = std::make_unique<HexEditorView>(*editor);
  view.reset();
  editor->setCaretOffset(0);
  editor->keyDown({.characters = "A"});
  view = std::make_unique<HexEditorView>(*editor);
  editor.reset();
  view.reset();
  EXPECT_EQ(beeper.count, 0);
}

/// A shown view whose editor has been destroyed.
class DetachedHexEditorView : public testing::Test {
 protected:
  DetachedHexEditorView() {
    editor->storage()->bytes = ByteBuffer::filled(5000, 0x41);
    editor->recalcMetrics();
    view->resize(400, 300);
    view->show();
    QApplication::processEvents();
    editor->setCaretOffset(3000);
    editor.reset();
  }

  test::CountingBeeper beeper;
  std::unique_ptr<HexEditorState> editor = std::make_unique<HexEditorState>(beeper);
  std::unique_ptr<HexEditorView> view = std::make_unique<HexEditorView>(*editor);
};

TEST_F(DetachedHexEditorView, showsNothing) {
  EXPECT_EQ(view->editor(), nullptr);
  EXPECT_FALSE(view->showsCaret());
  view->resize(700, 500);
  view->hide();
  view->show();
  QApplication::processEvents();
  const QImage image = view->viewport()->grab().toImage();
  QImage blank(image.size(), image.format());
  blank.fill(HexEditorStyle::color(HexEditorStyle::background(0)));
  EXPECT_EQ(image, blank);
}

TEST_F(DetachedHexEditorView, leavesInputToOthers) {
  QKeyEvent key(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier, "a");
  QApplication::sendEvent(view.get(), &key);
  EXPECT_FALSE(key.isAccepted());
  const QPoint place(200, 60);
  QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, place);
  QTest::mouseDClick(view->viewport(), Qt::LeftButton, {}, place);
  QMouseEvent move(QEvent::MouseMove, place, view->viewport()->mapToGlobal(place), Qt::NoButton,
                   Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(view->viewport(), &move);
  QWheelEvent wheel(place, view->viewport()->mapToGlobal(place), {}, {0, -120}, Qt::NoButton,
                    Qt::NoModifier, Qt::NoScrollPhase, false);
  QApplication::sendEvent(view->viewport(), &wheel);
  EXPECT_FALSE(wheel.isAccepted());
  const Point before = view->scrollPosition();
  view->verticalScrollBar()->setValue(0);
  view->scrollTo({0, 0});
  EXPECT_EQ(view->scrollPosition(), before);
}

TEST_F(DetachedHexEditorView, hasNoTextForAssistiveTechnology) {
  QAccessibleInterface& accessible = *QAccessible::queryAccessibleInterface(view.get());
  EXPECT_FALSE(accessible.state().editable);
  EXPECT_EQ(accessible.text(QAccessible::Value), QString());
  QAccessibleTextInterface& text = *accessible.textInterface();
  EXPECT_EQ(text.characterCount(), 0);
  EXPECT_EQ(text.cursorPosition(), -1);
  EXPECT_EQ(text.selectionCount(), 0);
  int start = -1;
  int end = -1;
  text.selection(0, &start, &end);
  EXPECT_EQ(start, 0);
  EXPECT_EQ(end, 0);
  text.setSelection(0, 1, 20);
  text.removeSelection(0);
  text.setCursorPosition(12);
  text.scrollToSubstring(0, 5);
  EXPECT_EQ(text.characterRect(3), QRect());
  EXPECT_EQ(text.offsetAtPoint(view->viewport()->mapToGlobal(QPoint(5, 50))), -1);
}

}  // namespace
}  // namespace quillmor
