#include <cmath>

#include "EditorViewFixture.h"
#include "base/HexText.h"

namespace quillmor {
namespace {

namespace Style = HexEditorStyle;

class HexEditorDrawing : public test::EditorViewTest {
 protected:
  Style::Rgb rowBackground(std::int64_t row) const {
    const double middle = geometry().rowTop(row) + geometry().rowHeight() / 2;
    const Style::Rgb background = Style::background(middle / geometry().frameSize().height);
    if (row % 2 != 0) return background;
    return Style::blended(background, Style::kZebraStripe, Style::kZebraStripeAlpha);
  }

  /// Which pixels of `rect` differ from its top left pixel: the shape of what is drawn there.
  static QImage shape(const QImage& image, const QRect& rect) {
    QImage mask(rect.size(), QImage::Format_Mono);
    mask.fill(0);
    const QRgb ground = image.pixel(rect.topLeft());
    for (int y = 0; y < rect.height(); ++y) {
      for (int x = 0; x < rect.width(); ++x) {
        if (image.pixel(rect.topLeft() + QPoint(x, y)) != ground) mask.setPixel(x, y, 1);
      }
    }
    return mask;
  }

  /// The text line of the row whose top is `top`, `characters` wide from `x`.
  QRect textRect(double x, double top, int characters) const {
    return QRectF(x, top + 3, geometry().charWidth() * characters, geometry().rowHeight() - 4)
        .toRect();
  }
  QRect hexRect(std::int64_t row, std::int64_t column) const {
    return textRect(geometry().hexCellX(column), geometry().rowTop(row), 2);
  }
  QRect asciiRect(std::int64_t row, std::int64_t column) const {
    return textRect(geometry().asciiCellX(column), geometry().rowTop(row), 1);
  }
  QRect headerRect(std::int64_t column) const {
    return textRect(geometry().hexCellX(column), 0, 2);
  }
  QRect offsetRect(std::int64_t row, int digit) const {
    return textRect(HexEditorGeometry::kOffsetColumnX + digit * geometry().charWidth(),
                    geometry().rowTop(row), 1);
  }

  static bool isBlank(const QImage& mask) {
    QImage blank(mask.size(), QImage::Format_Mono);
    blank.fill(0);
    return mask == blank;
  }

  static QImage left(const QImage& cell) {
    return cell.copy(0, 0, cell.width() / 2, cell.height());
  }
  static QImage right(const QImage& cell) {
    return cell.copy(cell.width() / 2, 0, cell.width() / 2, cell.height());
  }

  QRgb caretPixel(const QImage& image) const {
    const Rect caret = state.caretDrawingRect();
    return image.pixel(view.viewportRect(caret).topLeft().toPoint() + QPoint(0, 3));
  }
  static QRgb caretColor() { return Style::color(Style::kCaret).rgb(); }
};

TEST_F(HexEditorDrawing, anEmptyDocumentShowsTheHeaderAndOneRow) {
  const QImage image = picture();
  EXPECT_FALSE(isBlank(shape(image, headerRect(0))));
  for (int digit = 0; digit < 8; ++digit) {
    EXPECT_EQ(shape(image, offsetRect(0, digit)), shape(image, offsetRect(0, 7)));
    EXPECT_FALSE(isBlank(shape(image, offsetRect(0, digit))));
    EXPECT_TRUE(isBlank(shape(image, offsetRect(1, digit)))) << "there is no second row";
  }
  EXPECT_TRUE(isBlank(shape(image, offsetRect(0, 8))));
  EXPECT_TRUE(isBlank(shape(image, hexRect(0, 1))));
  EXPECT_TRUE(isBlank(shape(image, asciiRect(0, 0))));
  EXPECT_EQ(caretPixel(image), caretColor());
}

TEST_F(HexEditorDrawing, aFullLastRowIsFollowedByAnEmptyOneForTheCaret) {
  setCountingBytes(16);
  state.setCaretOffset(16);
  const QImage image = picture();
  EXPECT_FALSE(isBlank(shape(image, hexRect(0, 15))));
  EXPECT_FALSE(isBlank(shape(image, offsetRect(1, 6))));
  EXPECT_TRUE(isBlank(shape(image, hexRect(1, 1))));
  EXPECT_EQ(caretPixel(image), caretColor());
  EXPECT_TRUE(isBlank(shape(image, offsetRect(2, 6))));
}

TEST_F(HexEditorDrawing, everyByteHasItsDigitsAndItsCharacter) {
  setCountingBytes(256);
  window.resize(760, 500);
  QApplication::processEvents();
  view.clearFocus();
  const QImage image = picture();
  const QImage dot = shape(image, asciiRect(2, 14));
  ASSERT_FALSE(isBlank(dot));
  for (int byte = 0; byte < 256; ++byte) {
    // The bytes 0x00, 0x11 ... 0xFF show each digit in both places.
    const QImage digits = shape(image, hexRect(byte / 16, byte % 16));
    EXPECT_EQ(left(digits), left(shape(image, hexRect(byte / 16, byte / 16)))) << byte;
    EXPECT_EQ(right(digits), right(shape(image, hexRect(byte % 16, byte % 16)))) << byte;
    EXPECT_FALSE(isBlank(left(digits)) || isBlank(right(digits)));
    const QImage character = shape(image, asciiRect(byte / 16, byte % 16));
    const bool isPrintable = byte >= 0x20 && byte <= 0x7E;
    if (!isPrintable) {
      EXPECT_EQ(character, dot) << byte;
    } else if (byte != '.') {
      EXPECT_NE(character, dot) << byte;
    }
    EXPECT_EQ(isBlank(character), byte == 0x20) << byte;
  }
}

TEST_F(HexEditorDrawing, theHeaderNumbersAllColumns) {
  setCountingBytes(256);
  state.setBytesPerRow(32);
  window.resize(1500, 400);
  QApplication::processEvents();
  view.clearFocus();
  const QImage image = picture();
  for (int column = 0; column < 32; ++column) {
    EXPECT_EQ(shape(image, headerRect(column)), shape(image, hexRect(0, column))) << column;
  }
  EXPECT_TRUE(isBlank(shape(image, headerRect(32))));
}

TEST_F(HexEditorDrawing, evenRowsAreStriped) {
  setCountingBytes(200);
  const QImage image = picture();
  for (std::int64_t row = 0; row < 12; ++row) {
    const QPoint left(3, static_cast<int>(geometry().rowTop(row)) + 3);
    EXPECT_EQ(image.pixel(left), Style::color(rowBackground(row)).rgb()) << row;
    EXPECT_EQ(image.pixel(image.width() - 1, left.y()), image.pixel(left));
  }
  EXPECT_NE(rowBackground(0).red, rowBackground(1).red);
  const int belowTheRows = static_cast<int>(geometry().rowTop(14)) + 3;
  EXPECT_EQ(image.pixel(3, belowTheRows), image.pixel(700, belowTheRows));
}

TEST_F(HexEditorDrawing, theBackgroundDarkensOverTheWholeDocument) {
  setCountingBytes(16 * 100);
  const QImage top = picture();
  view.scrollTo({0, 1e9});
  const QImage bottom = picture();
  const auto pixelOfRow = [&](const QImage& image, std::int64_t row) {
    const double y = geometry().rowTop(row) - view.scrollPosition().y;
    return image.pixel(3, static_cast<int>(y) + 10);
  };
  EXPECT_EQ(pixelOfRow(bottom, 99), Style::color(rowBackground(99)).rgb());
  view.scrollTo({0, 0});
  EXPECT_EQ(pixelOfRow(top, 1), Style::color(rowBackground(1)).rgb());
  EXPECT_GT(rowBackground(1).red, 2 * rowBackground(99).red);
}

TEST_F(HexEditorDrawing, theSelectionLiesBehindBothCells) {
  setCountingBytes(100);
  state.setSelection({.start = 14, .length = 4});
  const QImage image = picture();
  for (std::int64_t offset = 12; offset < 20; ++offset) {
    const std::int64_t row = offset / 16;
    const std::int64_t column = offset % 16;
    const bool isSelected = offset >= 14 && offset < 18;
    const Style::Rgb ground = rowBackground(row);
    const QRgb expected =
        Style::color(isSelected ? Style::blended(ground, Style::kSelection, Style::kSelectionAlpha)
                                : ground)
            .rgb();
    const Rect hex = geometry().hexHighlight(row, column);
    const Rect ascii = geometry().asciiHighlight(row, column);
    const QPoint hexCorner(static_cast<int>(hex.x), static_cast<int>(hex.y));
    EXPECT_EQ(image.pixel(hexCorner), expected) << offset;
    EXPECT_EQ(image.pixel(hexCorner + QPoint(static_cast<int>(hex.width) - 1,
                                             static_cast<int>(hex.height) - 1)),
              expected);
    EXPECT_EQ(image.pixel(hexCorner - QPoint(0, 1)), Style::color(ground).rgb());
    EXPECT_EQ(image.pixel(hexCorner - QPoint(1, 0)), Style::color(ground).rgb());
    EXPECT_EQ(image.pixel(static_cast<int>(ascii.x) + 4, static_cast<int>(ascii.y)), expected);
  }
}

TEST_F(HexEditorDrawing, aSelectionPastTheEndEndsWithTheBytes) {
  setCountingBytes(4);
  state.setSelection({.start = 2, .length = kMaxInt64});
  const QImage image = picture();
  const Rect last = geometry().hexHighlight(0, 3);
  const Rect beyond = geometry().hexHighlight(0, 4);
  EXPECT_NE(image.pixel(static_cast<int>(last.x), static_cast<int>(last.y)),
            Style::color(rowBackground(0)).rgb());
  EXPECT_EQ(image.pixel(static_cast<int>(beyond.x), static_cast<int>(beyond.y)),
            Style::color(rowBackground(0)).rgb());
}

TEST_F(HexEditorDrawing, theCaretIsDrawnOnlyWithFocusAndWhileEditing) {
  setCountingBytes(40);
  state.setCaretOffset(20);
  EXPECT_EQ(caretPixel(picture()), caretColor());
  state.setEditingEnabled(false);
  EXPECT_NE(caretPixel(picture()), caretColor());
  state.setEditingEnabled(true);
  EXPECT_EQ(caretPixel(picture()), caretColor());
  other.setFocus();
  EXPECT_NE(caretPixel(picture()), caretColor());
  view.setFocus();
  EXPECT_EQ(caretPixel(picture()), caretColor());
}

TEST_F(HexEditorDrawing, theCaretStandsOnTheSecondDigitAfterTheFirst) {
  setCountingBytes(40);
  const Rect before = state.caretDrawingRect();
  QTest::keyClick(&view, Qt::Key_A);
  EXPECT_EQ(state.caretDrawingRect().x, before.x + geometry().charWidth());
  EXPECT_EQ(caretPixel(picture()), caretColor());
}

TEST_F(HexEditorDrawing, theFontHasEveryCharacterSoGlyphRunsAreUsed) {
  const GlyphTable table(HexEditorStyle::font());
  EXPECT_TRUE(table.isComplete());
  EXPECT_EQ(view.hexPainter().method(), CellText::Method::glyphRun);
}

TEST_F(HexEditorDrawing, glyphRunsLookLikeText) {
  setCountingBytes(256);
  state.setSelection({.start = 30, .length = 40});
  for (const double ratio : {1.0, 1.25, 1.5, 2.0}) {
    for (const double scroll : {0.0, 37.4}) {
      view.scrollTo({0, scroll});
      view.hexPainter().setMethod(CellText::Method::glyphRun);
      const QImage fast = picture(ratio);
      view.hexPainter().setMethod(CellText::Method::text);
      EXPECT_EQ(fast, picture(ratio)) << "ratio " << ratio << ", scrolled by " << scroll;
    }
  }
}

TEST_F(HexEditorDrawing, leavesNoPixelUndrawnAtAnyRatio) {
  setCountingBytes(16 * 40);
  state.setBytesPerRow(32);
  for (const double ratio : {1.0, 1.25, 1.5, 2.0}) {
    for (const Point scroll : {Point{0, 0}, Point{0.3, 7.4}, Point{33.5, 55.75}, Point{1e9, 1e9}}) {
      view.scrollTo(scroll);
      const QImage image = picture(ratio);
      for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); x += 7) {
          ASSERT_NE(image.pixel(x, y), QColor(Qt::magenta).rgb())
              << x << ", " << y << " at ratio " << ratio << ", scrolled by " << scroll.y;
        }
      }
    }
  }
}

TEST_F(HexEditorDrawing, cellsAreEquallyCrispInEveryColumn) {
  setBytes(ByteBuffer::filled(32 * 40, 0x5A));
  state.setBytesPerRow(32);
  view.clearFocus();
  for (const double ratio : {1.0, 1.5, 2.0}) {
    for (const Point scroll : {Point{0, 0}, Point{0.3, 7.4}, Point{33.5, 55.75}}) {
      view.scrollTo(scroll);
      ASSERT_EQ(view.scrollPosition(), scroll);
      const QImage image = picture(ratio);
      const auto cell = [&](std::int64_t row, std::int64_t column) {
        const double x = geometry().hexCellX(column) * ratio - std::round(scroll.x * ratio);
        const double y = geometry().rowTop(row) * ratio - std::round(scroll.y * ratio);
        const QRectF rect(x, y, geometry().charWidth() * 2 * ratio, geometry().rowHeight() * ratio);
        return image.copy(rect.toRect());
      };
      for (std::int64_t column = 1; column < 16; ++column) {
        EXPECT_EQ(cell(5, column), cell(5, 0))
            << "ratio " << ratio << ", column " << column << ", scrolled by " << scroll.x;
      }
      EXPECT_EQ(shape(cell(7, 0), cell(7, 0).rect()), shape(cell(5, 0), cell(5, 0).rect()));
    }
  }
}

TEST_F(HexEditorDrawing, offsetsBeyondFourGibibytesAreNotCut) {
  // Straight into the storage: nobody is to read all of these bytes.
  state.storage()->bytes = ByteBuffer::uninitialized(0x100000010);
  state.recalcMetrics();
  view.scrollTo({0, 1e18});
  view.clearFocus();
  const QImage image = picture();
  const std::int64_t last = 0x100000010 / 16;
  const double top = geometry().rowTop(last) - view.scrollPosition().y;
  const auto digit = [&](int place, double above) {
    const QRect rect = textRect(HexEditorGeometry::kOffsetColumnX + place * geometry().charWidth(),
                                top - above * geometry().rowHeight(), 1);
    return shape(image, rect);
  };
  // "100000010", "100000000", "FFFFFFF0".
  EXPECT_FALSE(isBlank(digit(8, 0)));
  EXPECT_EQ(digit(8, 0), digit(8, 1));
  EXPECT_EQ(digit(0, 0), digit(7, 0));
  EXPECT_EQ(digit(1, 0), digit(8, 0));
  EXPECT_TRUE(isBlank(digit(9, 0)));
  EXPECT_TRUE(isBlank(digit(8, 2)));
}

TEST_F(HexEditorDrawing, aPartOfTheViewIsDrawnLikeTheWhole) {
  setCountingBytes(256);
  state.setSelection({.start = 30, .length = 40});
  const QImage whole = picture();
  QImage part = whole;
  const QRect dirty(50, 60, 300, 90);
  QPainter(&part).fillRect(dirty, Qt::magenta);
  view.viewport()->render(&part, dirty.topLeft(), dirty);
  EXPECT_EQ(part, whole);
}

}  // namespace
}  // namespace quillmor
