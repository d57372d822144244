// The Byte Frequency window: its histogram's pixels, pointer, keys and scales.

#include "ui/window/FrequencyWindowController.h"

#include <gmock/gmock.h>

#include <QAccessible>
#include <QPointer>
#include <QRadioButton>
#include <QSplitter>

#include "gui/ReportFixture.h"
#include "ui/window/ChartCanvas.h"
#include "ui/window/HistogramView.h"
#include "window/ByteHistogram.h"

namespace quillmor::test {
namespace {

const QString kPurpose = "Byte value";

/// 'A' most often, 0xFF half as often, 0x00 once.
ByteCounts someCounts() {
  ByteCounts counts{};
  counts[0x00] = 1;
  counts[0x41] = 2000;
  counts[0xFF] = 1000;
  return counts;
}

class FrequencyWindowTest : public ReportFixture {
 protected:
  FrequencyWindowController& show(const ByteCounts& counts) {
    open("hello").openFrequencyWindow("Byte Frequency", "the report\n", counts);
    auto& window = newest<FrequencyWindowController>();
    window.histogram().setFocus();
    QCoreApplication::processEvents();
    return window;
  }

  static QString readoutOf(const FrequencyWindowController& window) {
    return readout(window, kPurpose);
  }

  /// A point on the bar of a value, `height` of the plot's height above the axis.
  static QPointF place(const HistogramView& view, int value, double height = 0.5) {
    const double ratio = view.devicePixelRatioF();
    const QRect plot = view.plotArea(ratio);
    const double pitch = plot.width() / 256;
    return QPointF(plot.left() + (value + 0.4) * pitch, plot.bottom() - height * plot.height()) /
           ratio;
  }

  static void press(FrequencyWindowController& window, Qt::Key key) {
    QTest::keyClick(&window.histogram(), key);
  }

  /// How many rows of the middle of a value's column have the colour, counted from the axis.
  static int drawnHeight(const QImage& image, const QRect& plot, int value, const QColor& color) {
    const int x = plot.left() + value * (plot.width() / 256);
    int height = 0;
    while (height < plot.height() && image.pixel(x, plot.bottom() - height) == color.rgb())
      ++height;
    return height;
  }
};

TEST_F(FrequencyWindowTest, beginsInTheReportAndGoesFromTopToBottom) {
  open("hello").openFrequencyWindow("Byte Frequency", "the report\n", someCounts());
  auto& window = newest<FrequencyWindowController>();
  EXPECT_EQ(window.focusWidget(), &window.text());
  QTest::keyClick(&window.text(), Qt::Key_Tab, Qt::ShiftModifier);
  EXPECT_TRUE(qobject_cast<QRadioButton*>(window.focusWidget()));
  QTest::keyClick(window.focusWidget(), Qt::Key_Tab, Qt::ShiftModifier);
  EXPECT_EQ(window.focusWidget(), &window.histogram());
  window.text().setFocus();
  QTest::keyClick(&window.text(), Qt::Key_Tab);
  EXPECT_EQ(window.focusWidget(), &field(window));
}

TEST_F(FrequencyWindowTest, showsTheReportBelowTheHistogram) {
  FrequencyWindowController& window = show(someCounts());
  EXPECT_EQ(window.windowTitle(), "Byte Frequency");
  EXPECT_EQ(window.text().toPlainText(), "the report\n");
  const auto* panes = window.findChild<QSplitter*>();
  ASSERT_NE(panes, nullptr);
  EXPECT_EQ(panes->widget(1), &window.text());
  EXPECT_TRUE(panes->widget(0)->isAncestorOf(&window.histogram()));
  EXPECT_EQ(readoutOf(window), "3,001 bytes, 3 of 256 byte values occur");
}

TEST_F(FrequencyWindowTest, barsAreExactAtAnyRatio) {
  ByteCounts counts{};
  for (int value = 0; value < 256; ++value) counts[static_cast<std::size_t>(value)] = value * value;
  const ByteHistogram histogram(counts);
  FrequencyWindowController& window = show(counts);
  window.text().setFocus();
  for (const double ratio : {1.0, 1.5, 2.0}) {
    const QImage image = picture(window.histogram(), ratio);
    const QRect plot = window.histogram().plotArea(ratio);
    ASSERT_EQ(plot.width() % 256, 0);
    ASSERT_TRUE(image.rect().contains(plot));
    for (int value = 0; value < 256; ++value) {
      ASSERT_EQ(drawnHeight(image, plot, value, ChartStyle::kData),
                histogram.barHeight(value, HistogramScale::linear, plot.height()))
          << "value " << value << " at ratio " << ratio;
    }
  }
}

TEST_F(FrequencyWindowTest, barsAreEquallyWideWithEqualGaps) {
  ByteCounts counts;
  counts.fill(7);
  FrequencyWindowController& window = show(counts);
  window.resize(1100, 700);
  QCoreApplication::processEvents();
  for (const double ratio : {1.0, 1.5, 2.0}) {
    const QImage image = picture(window.histogram(), ratio);
    const QRect plot = window.histogram().plotArea(ratio);
    const int pitch = plot.width() / 256;
    ASSERT_GE(pitch, 3);
    const int gap = ratio < 2 ? 1 : 2;
    for (int x = 0; x < plot.width(); ++x) {
      const bool isBar = x % pitch < pitch - gap;
      ASSERT_EQ(image.pixel(plot.left() + x, plot.center().y()) == ChartStyle::kData.rgb(), isBar)
          << x << " at ratio " << ratio;
    }
  }
}

TEST_F(FrequencyWindowTest, leavesNoPixelUndrawnAtAnyRatio) {
  FrequencyWindowController& window = show(someCounts());
  for (const double ratio : {1.0, 1.25, 1.5, 2.0}) {
    const QImage image = picture(window, ratio);
    EXPECT_EQ(pixelsOf(image, Qt::magenta, image.rect()), 0) << ratio;
  }
}

TEST_F(FrequencyWindowTest, namesTheValueUnderThePointer) {
  FrequencyWindowController& window = show(someCounts());
  HistogramView& view = window.histogram();
  point(view, place(view, 0x41));
  EXPECT_EQ(readoutOf(window), "0x41 'A': 2,000 bytes (66.644 %)");
  point(view, place(view, 0x42, 0.99));
  EXPECT_EQ(readoutOf(window), "0x42 'B': 0 bytes (0.000 %)");
  point(view, place(view, 0xFF));
  EXPECT_EQ(readoutOf(window), "0xFF: 1,000 bytes (33.322 %)");
  const QImage image = picture(view, 1);
  EXPECT_GT(drawnHeight(image, view.plotArea(1), 0xFF, ChartStyle::kPointed), 10);
  for (const QPointF beside : {QPointF(1, 1), QPointF(view.width() - 1, 40)}) {
    point(view, beside);
    EXPECT_EQ(readoutOf(window), "3,001 bytes, 3 of 256 byte values occur");
  }
  point(view, place(view, 0x00));
  EXPECT_EQ(readoutOf(window), "0x00: 1 byte (0.033 %)");
  leave(view);
  EXPECT_EQ(readoutOf(window), "3,001 bytes, 3 of 256 byte values occur");
}

TEST_F(FrequencyWindowTest, keysMarkAValue) {
  FrequencyWindowController& window = show(someCounts());
  const auto marks = [&](Qt::Key key, int value) {
    press(window, key);
    EXPECT_EQ(window.histogram().markedPlace(), value);
  };
  marks(Qt::Key_Right, 0x00);
  marks(Qt::Key_Left, 0x00);
  marks(Qt::Key_Right, 0x01);
  marks(Qt::Key_PageDown, 0x11);
  marks(Qt::Key_End, 0xFF);
  marks(Qt::Key_Right, 0xFF);
  marks(Qt::Key_PageUp, 0xEF);
  marks(Qt::Key_Home, 0x00);
  EXPECT_EQ(readoutOf(window), "0x00: 1 byte (0.033 %)");
  press(window, Qt::Key_End);
  const HistogramView& view = window.histogram();
  const QImage image = picture(window.histogram(), 1);
  EXPECT_GT(drawnHeight(image, view.plotArea(1), 0xFF, ChartStyle::kMarked), 10);
}

TEST_F(FrequencyWindowTest, aKeyNamesWhatItMarksThoughThePointerRestsElsewhere) {
  FrequencyWindowController& window = show(someCounts());
  HistogramView& view = window.histogram();
  click(view, place(view, 0x41));
  EXPECT_EQ(view.markedPlace(), 0x41);
  point(view, place(view, 0x80));
  press(window, Qt::Key_Right);
  EXPECT_EQ(readoutOf(window), "0x42 'B': 0 bytes (0.000 %)");
  point(view, place(view, 0x81));
  EXPECT_EQ(readoutOf(window), "0x81: 0 bytes (0.000 %)");
  leave(view);
  EXPECT_EQ(readoutOf(window), "0x42 'B': 0 bytes (0.000 %)");
}

TEST_F(FrequencyWindowTest, onlyTheLeftButtonMarks) {
  FrequencyWindowController& window = show(someCounts());
  click(window.histogram(), place(window.histogram(), 0x41), Qt::RightButton);
  EXPECT_EQ(window.histogram().markedPlace(), std::nullopt);
}

TEST_F(FrequencyWindowTest, theScaleIsChosenByKeys) {
  FrequencyWindowController& window = show(someCounts());
  HistogramView& view = window.histogram();
  const ByteHistogram histogram(someCounts());
  const auto shownHeight = [&] {
    return drawnHeight(picture(view, 1), view.plotArea(1), 0xFF, ChartStyle::kData);
  };
  const int plotHeight = view.plotArea(1).height();
  EXPECT_EQ(shownHeight(), histogram.barHeight(0xFF, HistogramScale::linear, plotHeight));
  const auto buttons = window.findChildren<QRadioButton*>();
  ASSERT_EQ(buttons.size(), 2);
  EXPECT_EQ(buttons[0]->text(), "Linear");
  EXPECT_EQ(buttons[1]->text(), "Logarithmic");
  QTest::keyClick(&view, Qt::Key_Tab);
  ASSERT_TRUE(buttons[0]->hasFocus());
  QTest::keyClick(buttons[0], Qt::Key_Right);
  EXPECT_TRUE(buttons[1]->isChecked());
  EXPECT_EQ(view.scale(), HistogramScale::logarithmic);
  EXPECT_EQ(shownHeight(), histogram.barHeight(0xFF, HistogramScale::logarithmic, plotHeight));
  QTest::keyClick(buttons[1], Qt::Key_Left);
  EXPECT_EQ(view.scale(), HistogramScale::linear);
}

TEST_F(FrequencyWindowTest, anEmptyDocumentHasNoBars) {
  FrequencyWindowController& window = show(ByteCounts{});
  const QRect plot = window.histogram().plotArea(1);
  EXPECT_EQ(pixelsOf(picture(window.histogram(), 1), ChartStyle::kData, plot), 0);
  EXPECT_EQ(readoutOf(window), "0 bytes, 0 of 256 byte values occur");
  point(window.histogram(), place(window.histogram(), 0x41));
  EXPECT_EQ(readoutOf(window), "0x41 'A': 0 bytes (0.000 %)");
}

TEST_F(FrequencyWindowTest, theHistogramIsNamedAndDescribed) {
  FrequencyWindowController& window = show(someCounts());
  QAccessibleInterface* shown = QAccessible::queryAccessibleInterface(&window.histogram());
  ASSERT_NE(shown, nullptr);
  EXPECT_EQ(shown->role(), QAccessible::Chart);
  EXPECT_EQ(shown->text(QAccessible::Name), "Byte histogram");
  EXPECT_EQ(shown->text(QAccessible::Description), "3,001 bytes, 3 of 256 byte values occur");
  press(window, Qt::Key_Home);
  EXPECT_EQ(shown->text(QAccessible::Description), "0x00: 1 byte (0.033 %)");
}

TEST_F(FrequencyWindowTest, closesWithItsEditor) {
  QPointer<FrequencyWindowController> window(&show(someCounts()));
  windows.editorWindows().front()->close();
  EXPECT_TRUE(QTest::qWaitFor([&] { return window.isNull(); }));
}

}  // namespace
}  // namespace quillmor::test
