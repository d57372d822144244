// Where the hex view draws what, and in which colours, as numbers written out here: none of them is
// taken from the code that draws.

#include <QFontDatabase>
#include <algorithm>
#include <cmath>

#include "gui/EditorViewFixture.h"

namespace quillmor {
namespace {

/// Grey levels and opacities as the look is defined: 0...1.
double mixed(double under, double over, double alpha) {
  return under + (over - under) * alpha;
}

int levelOf(double white) {
  return static_cast<int>(std::lround(white * 255));
}

constexpr int kMagnification = 8;

class HexEditorDrawingNumbers : public test::EditorViewTest {
 protected:
  HexEditorDrawingNumbers() {
    font.setPixelSize(13);
    font.setWeight(QFont::Normal);
    font.setItalic(false);
    setCountingBytes(16 * 40);
    window.resize(900, 420);
    view.clearFocus();
    QApplication::processEvents();
  }

  double charWidth() const { return QFontMetrics(font).horizontalAdvance('W'); }
  double rowHeight() const { return QFontMetrics(font).height() + 7; }
  double hexX(int column) const { return charWidth() * 10 + 22 + charWidth() * 3 * column; }
  double asciiX(int column) const {
    return charWidth() * 10 + 22 + charWidth() * 16 * 3 + 28 + charWidth() * column;
  }
  double rowTop(int row) const { return rowHeight() * (row + 1); }

  /// The height of the whole document: the header, 40 rows, and one for the place after the end.
  double documentHeight() const { return rowHeight() * 42; }

  /// The background in the middle of a row, the header being row -1.
  double ground(int row) const {
    return mixed(0.055, 0.025, (rowTop(row) + rowHeight() / 2) / documentHeight());
  }

  /// Which pixels of `rect` differ from its top left one.
  static QImage shape(const QImage& image, const QRect& rect) {
    QImage mask(rect.size(), QImage::Format_Mono);
    mask.fill(0);
    for (int y = 0; y < rect.height(); ++y) {
      for (int x = 0; x < rect.width(); ++x) {
        if (image.pixel(rect.topLeft() + QPoint(x, y)) != image.pixel(rect.topLeft()))
          mask.setPixel(x, y, 1);
      }
    }
    return mask;
  }

  /// The text, of this colour, stands with the top left corner of its line at `x`, `y`.
  void expectText(double x, double y, const QString& text, QColor color) {
    const QRect rect =
        QRectF(x - 1, y, charWidth() * static_cast<double>(text.size()) + 1, rowHeight() - 5)
            .toRect();
    const QImage image = picture();
    QImage expected(image.size(), QImage::Format_RGB32);
    expected.fill(image.pixel(rect.topLeft()));
    QPainter painter(&expected);
    painter.setFont(font);
    painter.setPen(color);
    for (int i = 0; i < text.size(); ++i)
      painter.drawText(QPointF(x + i * charWidth(), y + QFontMetrics(font).ascent()),
                       text.mid(i, 1));
    painter.end();
    EXPECT_EQ(shape(image, rect), shape(expected, rect)) << text.toStdString();
    expectSolidColor(rect, text, color);
  }

  /// A part of the view, eight times as large: the strokes have their full colour inside.
  QImage magnified(const QRect& rect) {
    QImage image(rect.size() * kMagnification, QImage::Format_RGB32);
    image.setDevicePixelRatio(kMagnification);
    view.viewport()->render(&image, QPoint(0, 0), rect);
    return image;
  }

  void expectSolidColor(const QRect& rect, const QString& text, QColor color) {
    const QImage large = magnified(rect);
    int solid = 0;
    int brightest = 0;
    for (int y = 0; y < large.height(); ++y) {
      for (int x = 0; x < large.width(); ++x) {
        if (large.pixel(x, y) == color.rgb()) ++solid;
        brightest = std::max(brightest, qBlue(large.pixel(x, y)));
      }
    }
    EXPECT_GT(solid, 20) << text.toStdString();
    EXPECT_EQ(brightest, color.blue()) << text.toStdString();
  }

  static int levelAt(const QImage& image, double x, double y) {
    const QColor color = image.pixelColor(static_cast<int>(x), static_cast<int>(y));
    EXPECT_EQ(color.red(), color.green());
    EXPECT_EQ(color.red(), color.blue());
    return color.red();
  }

  QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
};

const QColor kByteColor(209, 209, 209);    // white 0.82
const QColor kOffsetColor(115, 115, 115);  // white 0.45
const QColor kAsciiColor(189, 212, 235);   // 0.74, 0.83, 0.92

TEST_F(HexEditorDrawingNumbers, theHeaderStandsFourBelowTheTop) {
  const QImage image = picture();
  // The system's grey is the platform's to choose: whatever it is, all of the header has it.
  const QImage title = magnified(QRectF(12, 4, charWidth() * 6, rowHeight() - 5).toRect());
  int brightest = 0;
  for (int y = 0; y < title.height(); ++y) {
    for (int x = 0; x < title.width(); ++x)
      brightest = std::max(brightest, qRed(title.pixel(x, y)));
  }
  const QColor grey(brightest, brightest, brightest);
  EXPECT_NEAR(grey.red(), 152, 40);
  expectText(12, 4, "Offset", grey);
  expectText(hexX(0), 4, "00", grey);
  expectText(hexX(10), 4, "0A", grey);
  expectText(hexX(15), 4, "0F", grey);
  expectText(asciiX(0), 4, "ASCII", grey);
  const int band = levelOf(mixed(ground(-1), 0.1, 0.92));
  EXPECT_EQ(levelAt(image, 2, 0), band);
  EXPECT_EQ(levelAt(image, image.width() - 2, rowHeight() - 1), band);
}

TEST_F(HexEditorDrawingNumbers, rowsStandUnderEachOtherWithTheirTextFourBelowTheirTops) {
  for (const int row : {0, 1, 2, 7, 10}) {
    const QString offset = QString::number(row * 16, 16).toUpper().rightJustified(8, '0');
    expectText(12, rowTop(row) + 4, offset, kOffsetColor);
    expectText(hexX(0), rowTop(row) + 4, QString::number(row, 16).toUpper() + "0", kByteColor);
    expectText(hexX(15), rowTop(row) + 4, QString::number(row, 16).toUpper() + "F", kByteColor);
  }
  expectText(asciiX(0), rowTop(4) + 4, "@", kAsciiColor);
  // Beside an I, which stays within its cell.
  expectText(asciiX(10), rowTop(4) + 4, "J", kAsciiColor);
  expectText(asciiX(15), rowTop(6) + 4, "o", kAsciiColor);
}

TEST_F(HexEditorDrawingNumbers, evenRowsHaveTheirStripe) {
  const QImage image = picture();
  for (int row = 0; row < 12; ++row) {
    const double level = row % 2 == 0 ? mixed(ground(row), 0.075, 0.55) : ground(row);
    for (const double y : {rowTop(row), rowTop(row) + rowHeight() - 1}) {
      EXPECT_EQ(levelAt(image, 0, y), levelOf(level)) << row;
      EXPECT_EQ(levelAt(image, image.width() - 1, y), levelOf(level)) << row;
    }
  }
}

TEST_F(HexEditorDrawingNumbers, theBackgroundGoesFromLighterToDarker) {
  view.scrollTo({0, 1e9});
  const QImage image = picture();
  const double y = rowTop(39) - view.scrollPosition().y + rowHeight() / 2;
  EXPECT_EQ(levelAt(image, 0, y), levelOf(ground(39)));
  EXPECT_EQ(levelOf(ground(39)), 7);
  EXPECT_EQ(levelOf(ground(0)), 14);
}

TEST_F(HexEditorDrawingNumbers, highlightsReachAroundTheirCells) {
  state.setSelection({.start = 16 * 3 + 5, .length = 1});
  const QImage image = picture();
  const QRgb ground = image.pixel(0, static_cast<int>(rowTop(3)) + 1);
  const auto expectHighlight = [&](const QRectF& area) {
    const QRect inside = area.toRect();
    const QRgb color = image.pixel(inside.topLeft());
    EXPECT_NE(color, ground);
    EXPECT_GT(qBlue(color), qRed(color)) << "the system's colour of what is selected";
    EXPECT_EQ(image.pixel(inside.topRight()), color);
    EXPECT_EQ(image.pixel(inside.bottomLeft()), color);
    EXPECT_EQ(image.pixel(inside.bottomRight()), color);
    for (const QPoint outside :
         {inside.topLeft() - QPoint(1, 0), inside.topLeft() - QPoint(0, 1),
          inside.bottomRight() + QPoint(1, 0), inside.bottomRight() + QPoint(0, 1)}) {
      EXPECT_EQ(image.pixel(outside), ground);
    }
  };
  expectHighlight({hexX(5) - 2, rowTop(3) + 2, charWidth() * 2 + 4, rowHeight() - 4});
  expectHighlight({asciiX(5) - 1, rowTop(3) + 2, charWidth() + 2, rowHeight() - 4});
}

TEST_F(HexEditorDrawingNumbers, theCaretIsAYellowBar) {
  view.setFocus();
  state.setCaretOffset(16 * 3 + 5);
  const auto expectBar = [&](double x) {
    // Eight times as large, the bar is eleven pixels wide.
    const QRect part(static_cast<int>(x) - 4, static_cast<int>(rowTop(3)) - 4, 16, 40);
    const QImage image = magnified(part);
    const auto isYellow = [&](double atX, double atY) {
      const QColor color = image.pixelColor(static_cast<int>((atX - part.x()) * kMagnification),
                                            static_cast<int>((atY - part.y()) * kMagnification));
      return color.red() > 240 && color.green() > 200 && color.blue() < 80;
    };
    const double top = rowTop(3) + 3;
    const double bottom = top + rowHeight() - 6;
    EXPECT_TRUE(isYellow(x, top));
    EXPECT_TRUE(isYellow(x + 1.2, top));
    EXPECT_TRUE(isYellow(x + 1.2, bottom - 0.2));
    EXPECT_FALSE(isYellow(x - 0.2, top));
    EXPECT_FALSE(isYellow(x + 1.4, top));
    EXPECT_FALSE(isYellow(x, top - 0.2));
    EXPECT_FALSE(isYellow(x, bottom));
  };
  expectBar(hexX(5));
  state.setEditingArea(EditingArea::ascii);
  expectBar(asciiX(5));
}

TEST_F(HexEditorDrawingNumbers, theDocumentIsAsLargeAsItsRowsAndColumns) {
  EXPECT_EQ(geometry().desiredDocumentSize().width, asciiX(16) + 24);
  EXPECT_EQ(geometry().desiredDocumentSize().height, documentHeight());
}

}  // namespace
}  // namespace quillmor
