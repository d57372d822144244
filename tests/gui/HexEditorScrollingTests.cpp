// What the widget shows of a document: wheel, scroll bars, places gone to.

#include <QScrollBar>

#include "EditorViewFixture.h"

namespace quillmor {
namespace {

class HexEditorScrolling : public test::EditorViewTest {};

TEST_F(HexEditorScrolling, aWheelNotchScrollsSomeRows) {
  setCountingBytes(16 * 200);
  EXPECT_TRUE(wheel({}, {0, -120}));
  const double notch = geometry().rowHeight() * QApplication::wheelScrollLines();
  EXPECT_EQ(view.scrollPosition().y, notch);
  for (int i = 0; i < 8; ++i) wheel({}, {0, -15});
  EXPECT_EQ(view.scrollPosition().y, 2 * notch) << "fine wheels add up";
}

TEST_F(HexEditorScrolling, aTouchpadScrollsByPixels) {
  setCountingBytes(16 * 200);
  wheel({0, -7}, {0, -120});
  EXPECT_EQ(view.scrollPosition().y, 7);
  wheel({0, 3}, {0, 120});
  EXPECT_EQ(view.scrollPosition().y, 4);
}

TEST_F(HexEditorScrolling, aWheelThatMovesNothingIsLeftToOthers) {
  setCountingBytes(16 * 200);
  EXPECT_FALSE(wheel({}, {0, 120}));
  view.scrollTo({0, 1e9});
  EXPECT_FALSE(wheel({}, {0, -120}));
}

TEST_F(HexEditorScrolling, aWheelWithControlIsLeftToOthers) {
  setCountingBytes(16 * 200);
  view.scrollTo({0, 500});
  EXPECT_FALSE(wheel({}, {0, -120}, Qt::ControlModifier));
  EXPECT_FALSE(wheel({0, 9}, {}, Qt::ControlModifier | Qt::ShiftModifier));
  EXPECT_EQ(view.scrollPosition(), (Point{0, 500}));
}

TEST_F(HexEditorScrolling, aWheelNotchScrollsAPageAtMost) {
  setCountingBytes(16 * 400);
  const int before = QApplication::wheelScrollLines();
  const auto restore = qScopeGuard([&] { QApplication::setWheelScrollLines(before); });
  QApplication::setWheelScrollLines(1000);
  EXPECT_TRUE(wheel({}, {0, -120}));
  const double page = view.viewport()->height() - geometry().rowHeight();
  EXPECT_EQ(view.scrollPosition().y, page);
  EXPECT_TRUE(wheel({}, {0, 60}));
  EXPECT_EQ(view.scrollPosition().y, page / 2);
}

TEST_F(HexEditorScrolling, altTurnsTheWheelSideways) {
  setCountingBytes(100);
  state.setBytesPerRow(32);
  wheel({0, -25}, {}, Qt::AltModifier);
  EXPECT_EQ(view.scrollPosition(), (Point{25, 0}));
  wheel({-5, 0}, {}, Qt::AltModifier);
  EXPECT_EQ(view.scrollPosition(), (Point{30, 0})) << "where the toolkit has turned it already";
  view.scrollTo({0, 0});
  wheel({}, {0, -120}, Qt::AltModifier);
  EXPECT_EQ(view.scrollPosition(),
            (Point{geometry().charWidth() * QApplication::wheelScrollLines(), 0}));
}

TEST_F(HexEditorScrolling, shiftTurnsTheWheelSideways) {
  setCountingBytes(100);
  state.setBytesPerRow(32);
  wheel({0, -25}, {}, Qt::ShiftModifier);
  EXPECT_EQ(view.scrollPosition(), (Point{25, 0}));
}

TEST_F(HexEditorScrolling, theScrollBarsScroll) {
  setCountingBytes(16 * 200);
  state.setBytesPerRow(32);
  QApplication::processEvents();
  view.verticalScrollBar()->setValue(123);
  view.horizontalScrollBar()->setValue(45);
  EXPECT_EQ(view.scrollPosition(), (Point{45, 123}));
  view.verticalScrollBar()->triggerAction(QAbstractSlider::SliderSingleStepAdd);
  EXPECT_EQ(view.scrollPosition().y, 123 + geometry().rowHeight());
  view.verticalScrollBar()->triggerAction(QAbstractSlider::SliderToMaximum);
  EXPECT_EQ(view.scrollPosition().y + view.viewport()->height(),
            geometry().desiredDocumentSize().height);
}

TEST_F(HexEditorScrolling, theCaretIsScrolledIntoView) {
  setCountingBytes(16 * 200);
  const auto isVisible = [&] {
    return QRectF(view.viewport()->rect())
        .contains(view.viewportRect(state.caretDrawingRect().enlarged(4, 2)));
  };
  state.setCaretOffset(16 * 150);
  EXPECT_TRUE(isVisible());
  state.setCaretOffset(16 * 20);
  EXPECT_TRUE(isVisible());
  const Point before = view.scrollPosition();
  state.setCaretOffset(16 * 22);
  EXPECT_EQ(view.scrollPosition(), before) << "no more than needed";
}

TEST_F(HexEditorScrolling, aPlaceGoneToIsShownWithTheRowsAroundIt) {
  setCountingBytes(16 * 400);
  const double rowHeight = geometry().rowHeight();
  const auto rowsAbove = [&] {
    return (geometry().rowTop(state.caretOffset() / 16) - view.scrollPosition().y) / rowHeight;
  };
  const auto rowsBelow = [&] { return view.viewport()->height() / rowHeight - rowsAbove() - 1; };
  state.goTo(16 * 200);
  EXPECT_GE(rowsBelow(), 2.5);
  state.goTo(16 * 100);
  EXPECT_GE(rowsAbove(), 2.5);
  state.goTo(16 * 399);
  EXPECT_GE(rowsAbove(), 2.5);
  EXPECT_GE(rowsBelow(), 0);
  state.goTo(16 * 2 + 5);
  EXPECT_EQ(view.scrollPosition().y, 0);
  window.resize(window.width(), static_cast<int>(other.height() + 4 * rowHeight));
  QApplication::processEvents();
  state.goTo(16 * 200);
  EXPECT_GE(rowsAbove(), 0) << "a low viewport";
  EXPECT_GE(rowsBelow(), 0);
}

TEST_F(HexEditorScrolling, goingToTheStartShowsTheHeader) {
  setCountingBytes(16 * 400);
  view.scrollTo({0, 1e9});
  state.goTo(0);
  EXPECT_EQ(view.scrollPosition().y, 0);
}

TEST_F(HexEditorScrolling, otherRowLengthsKeepTheRowOfTheCaretInItsPlace) {
  setCountingBytes(16 * 400);
  state.setCaretOffset(16 * 200 + 5);
  view.scrollTo({0, geometry().rowTop(195) + 3});
  const auto caretY = [&] { return view.viewportRect(state.caretDrawingRect()).y(); };
  const double before = caretY();
  for (const int bytesPerRow : {8, 16, 32, 8, 16}) {
    state.setBytesPerRow(bytesPerRow);
    EXPECT_EQ(caretY(), before) << bytesPerRow;
  }
}

TEST_F(HexEditorScrolling, otherRowLengthsKeepTheFirstRowWhereTheCaretCannotBeSeen) {
  setCountingBytes(16 * 400);
  view.scrollTo({0, geometry().rowTop(200) + 3});
  const auto firstOffset = [&] {
    return static_cast<std::int64_t>(view.scrollPosition().y / geometry().rowHeight() - 1) *
           state.bytesPerRow();
  };
  ASSERT_EQ(firstOffset(), 16 * 200);
  for (const int bytesPerRow : {8, 32, 16}) {
    state.setBytesPerRow(bytesPerRow);
    EXPECT_EQ(firstOffset(), 16 * 200) << bytesPerRow;
  }
  EXPECT_EQ(state.caretOffset(), 0);
}

TEST_F(HexEditorScrolling, aCaretSetWhileHiddenIsVisibleOnceShown) {
  setCountingBytes(16 * 400);
  window.hide();
  state.setCaretOffset(16 * 3);
  window.show();
  EXPECT_EQ(view.scrollPosition().y, 0);
  window.hide();
  state.setCaretOffset(16 * 390);
  window.show();
  EXPECT_TRUE(
      QRectF(view.viewport()->rect()).contains(view.viewportRect(state.caretDrawingRect())));
}

TEST_F(HexEditorScrolling, shorterDocumentsPullTheViewBack) {
  setCountingBytes(16 * 400);
  view.scrollTo({0, 1e9});
  setCountingBytes(10);
  EXPECT_EQ(view.scrollPosition().y, 0);
  EXPECT_EQ(view.verticalScrollBar()->maximum(), 0);
}

TEST_F(HexEditorScrolling, resizingLaysOutAgain) {
  setCountingBytes(10);
  window.resize(1400, 900);
  QApplication::processEvents();
  EXPECT_EQ(geometry().frameSize().width, view.viewport()->width());
  EXPECT_EQ(geometry().frameSize().height, view.viewport()->height());
}

}  // namespace
}  // namespace quillmor
