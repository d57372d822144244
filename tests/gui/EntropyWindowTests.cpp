// The Entropy Map window: its curve's pixels, pointer and keys, and the way back to the editor.

#include "ui/window/EntropyWindow.h"

#include <gmock/gmock.h>

#include <QAccessible>
#include <QLabel>
#include <QPointer>

#include "gui/ReportFixture.h"
#include "ui/window/ChartCanvas.h"
#include "ui/window/EntropyView.h"

namespace quillmor::test {
namespace {

const QString kPurpose = "Offset and entropy";

class EntropyWindowTest : public ReportFixture {
 protected:
  /// A document of as many bytes as the map says, and its map.
  EntropyWindow& show(const EntropyMap& map) {
    const auto shown = static_cast<std::size_t>(std::min<std::int64_t>(map.byteCount, 100'000));
    open(std::string(shown, 'x')).openEntropyWindow("Entropy Map", "the report\n", map);
    auto& window = newest<EntropyWindow>();
    window.curve().setFocus();
    QCoreApplication::processEvents();
    return window;
  }

  EntropyWindow& show(std::vector<double> entropies) {
    const auto chunks = static_cast<std::int64_t>(entropies.size());
    return show({.byteCount = chunks * 4096, .entropies = std::move(entropies)});
  }

  /// The point `along` of the plot's width (0...1) and `bits` above its axis.
  static QPointF place(const EntropyView& view, double along, double bits) {
    const double ratio = view.devicePixelRatioF();
    const QRect plot = view.plotArea(ratio);
    return QPointF(plot.left() + along * plot.width(),
                   plot.bottom() + 1 - bits / 8 * plot.height()) /
           ratio;
  }

  static QString readoutOf(const EntropyWindow& window) { return readout(window, kPurpose); }

  HexWindowController& controller() { return windows.editorWindows().front()->controller(); }
  std::int64_t caret() { return controller().editor().caretOffset(); }
};

TEST_F(EntropyWindowTest, showsTheReportBelowTheCurve) {
  EntropyWindow& window = show({1, 2, 3, 4});
  EXPECT_EQ(window.windowTitle(), "Entropy Map");
  EXPECT_EQ(window.text().toPlainText(), "the report\n");
  EXPECT_EQ(readoutOf(window), "16,384 bytes in 4 chunks");
}

TEST_F(EntropyWindowTest, theCurveIsExactAtAnyRatio) {
  EntropyWindow& window = show({0, 2, 6, 8});
  window.text().setFocus();
  EntropyView& view = window.curve();
  for (const double ratio : {1.0, 1.5, 2.0}) {
    const QImage image = picture(view, ratio);
    const QRect plot = view.plotArea(ratio);
    const int lineWidth = qRound(1.5 * ratio);
    const auto lineTop = [&](double along) {
      const int x = plot.left() + static_cast<int>(along * plot.width());
      int y = plot.top();
      while (y <= plot.bottom() && image.pixel(x, y) != ChartStyle::kData.rgb()) ++y;
      return y;
    };
    const auto expected = [&](double bits) {
      return std::min(plot.bottom() + 1 - qRound(bits / 8 * plot.height()),
                      plot.bottom() + 1 - lineWidth);
    };
    EXPECT_EQ(lineTop(0.125), expected(0)) << ratio;
    EXPECT_EQ(lineTop(0.375), expected(2)) << ratio;
    EXPECT_EQ(lineTop(0.625), expected(6)) << ratio;
    EXPECT_EQ(lineTop(0.875), expected(8)) << ratio;
    // The steps are joined: below the edge from 2 to 6 stands a line.
    const QRect edge(plot.left() + plot.width() / 2, expected(5), 1, expected(3) - expected(5));
    EXPECT_EQ(pixelsOf(image, ChartStyle::kData, edge.adjusted(-1, 0, 1, 0)), edge.height());
  }
}

TEST_F(EntropyWindowTest, aSpikeIsSeenAmongTenThousandChunks) {
  std::vector<double> entropies(10'000, 2);
  entropies[7777] = 8;
  EntropyView& view = show(entropies).curve();
  for (const double ratio : {1.0, 1.5, 2.0}) {
    const QRect plot = view.plotArea(ratio);
    const QRect spike(plot.left() + static_cast<int>(7777.0 / 10'000 * plot.width()) - 2,
                      plot.top() + plot.height() / 4, 5, 1);
    EXPECT_GE(pixelsOf(picture(view, ratio), ChartStyle::kData, spike), 1) << ratio;
  }
}

TEST_F(EntropyWindowTest, leavesNoPixelUndrawnAtAnyRatio) {
  EntropyWindow& window = show({1, 7, 8, 0});
  for (const double ratio : {1.0, 1.25, 1.5, 2.0}) {
    const QImage image = picture(window, ratio);
    EXPECT_EQ(pixelsOf(image, Qt::magenta, image.rect()), 0) << ratio;
  }
}

TEST_F(EntropyWindowTest, namesOffsetAndEntropyUnderThePointer) {
  EntropyWindow& window = show({1, 2.5, 8, 4});
  EntropyView& view = window.curve();
  point(view, place(view, 0.3, 7));
  EXPECT_EQ(readoutOf(window), "0x00001000: 2.5000 bits/byte");
  point(view, place(view, 0.99, 1));
  EXPECT_EQ(readoutOf(window), "0x00003000: 4.0000 bits/byte");
  point(view, QPointF(0, 0));
  EXPECT_EQ(readoutOf(window), "16,384 bytes in 4 chunks");
  point(view, place(view, 0.6, 1));
  leave(view);
  EXPECT_EQ(readoutOf(window), "16,384 bytes in 4 chunks");
}

TEST_F(EntropyWindowTest, aClickGoesToTheOffsetAndTheWindowStays) {
  EntropyWindow& window = show({1, 2.5, 8, 4});
  controller().editor().setSelection({.start = 3, .length = 5});
  click(window.curve(), place(window.curve(), 0.6, 4));
  EXPECT_EQ(caret(), 0x2000);
  EXPECT_EQ(controller().editor().selection().length, 0);
  EXPECT_TRUE(window.isActiveWindow());
  EXPECT_TRUE(window.isVisible());
  click(window.curve(), place(window.curve(), 0.1, 4), Qt::RightButton);
  click(window.curve(), QPointF(1, 1));
  EXPECT_EQ(caret(), 0x2000);
}

TEST_F(EntropyWindowTest, keysMarkAPlaceAndReturnGoesThere) {
  EntropyWindow& window = show({1, 2.5, 8, 4});
  QTest::keyClick(&window.curve(), Qt::Key_Return);
  EXPECT_EQ(caret(), 0);
  QTest::keyClick(&window.curve(), Qt::Key_End);
  EXPECT_EQ(readoutOf(window), "0x00003000: 4.0000 bits/byte");
  EXPECT_EQ(caret(), 0);
  QTest::keyClick(&window.curve(), Qt::Key_Left);
  QTest::keyClick(&window.curve(), Qt::Key_Return);
  EXPECT_EQ(caret(), 0x2000);
  QTest::keyClick(&window.curve(), Qt::Key_Home);
  QTest::keyClick(&window.curve(), Qt::Key_Right);
  QTest::keyClick(&window.curve(), Qt::Key_Enter);
  EXPECT_EQ(caret(), 0x1000);
}

TEST_F(EntropyWindowTest, aPlaceThatIsNoLongerThereIsTheEnd) {
  EntropyWindow& window = show({1, 2, 3});
  controller().perform("forwardSelectAll:");
  controller().perform("forwardDeleteSelection:");
  QTest::keyClick(&window.curve(), Qt::Key_End);
  QTest::keyClick(&window.curve(), Qt::Key_Return);
  EXPECT_EQ(caret(), 0);
}

TEST_F(EntropyWindowTest, goesNowhereWhileTheEditorIsBusy) {
  EntropyWindow& window = show({1, 2, 3});
  BusyScope busy = controller().context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  click(window.curve(), place(window.curve(), 0.5, 4));
  EXPECT_EQ(caret(), 0);
  EXPECT_EQ(platform.beeper.count, 1);
  busy.end();
}

TEST_F(EntropyWindowTest, anEmptyDocumentHasNoCurve) {
  EntropyWindow& window = show(EntropyMap{});
  EXPECT_EQ(readoutOf(window), "The document is empty.");
  EntropyView& view = window.curve();
  window.text().setFocus();
  EXPECT_EQ(pixelsOf(picture(view, 1), ChartStyle::kData, view.plotArea(1)), 0);
  view.setFocus();
  for (const auto key : {Qt::Key_Right, Qt::Key_End, Qt::Key_Return}) {
    QTest::keyClick(&view, key);
    EXPECT_EQ(view.markedPlace(), std::nullopt);
  }
  click(view, place(view, 0.5, 4));
  EXPECT_EQ(view.markedPlace(), std::nullopt);
}

TEST_F(EntropyWindowTest, saysWhenTheMapCoversAPartOnly) {
  const auto notes = [](const EntropyWindow& window) {
    std::vector<std::string> texts;
    for (const auto* label : window.findChildren<QLabel*>()) {
      if (!label->text().isEmpty()) texts.push_back(label->text().toStdString());
    }
    return texts;
  };
  const std::vector<double> most(10'000, 3);
  EXPECT_THAT(notes(show({.byteCount = 40'960'001, .entropies = most})),
              testing::ElementsAre("The map covers the first 40,960,000 of 40,960,001 bytes."));
  newest<EntropyWindow>().close();
  ASSERT_TRUE(QTest::qWaitFor([] { return !topLevel<EntropyWindow>(); }));
  EXPECT_THAT(notes(show({.byteCount = 40'960'000, .entropies = most})), testing::IsEmpty());
}

TEST_F(EntropyWindowTest, theCurveIsNamedAndDescribed) {
  EntropyWindow& window = show({1, 2, 3});
  QAccessibleInterface* shown = QAccessible::queryAccessibleInterface(&window.curve());
  ASSERT_NE(shown, nullptr);
  EXPECT_EQ(shown->role(), QAccessible::Chart);
  EXPECT_EQ(shown->text(QAccessible::Name), "Entropy curve");
  EXPECT_EQ(shown->text(QAccessible::Description), "12,288 bytes in 3 chunks");
  QTest::keyClick(&window.curve(), Qt::Key_End);
  EXPECT_EQ(shown->text(QAccessible::Description), "0x00002000: 3.0000 bits/byte");
}

TEST_F(EntropyWindowTest, closesWithItsEditor) {
  QPointer<EntropyWindow> window(&show({1, 2, 3}));
  windows.editorWindows().front()->close();
  EXPECT_TRUE(QTest::qWaitFor([&] { return window.isNull(); }));
}

}  // namespace
}  // namespace quillmor::test
