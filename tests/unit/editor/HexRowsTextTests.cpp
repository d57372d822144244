#include "editor/HexRowsText.h"

#include <gtest/gtest.h>

namespace quillmor {
namespace {

/// 19 bytes, eight per row: two full rows and one of three bytes.
class HexRowsTextTest : public testing::Test {
 protected:
  HexRowsTextTest() {
    const std::string text = "ABCDEFGHijklmnop\x01 ~";
    for (const char c : text) storage_.bytes.append({{static_cast<std::uint8_t>(c)}});
    geometry_.setFontMetrics(8, 13);
    geometry_.recalcMetrics(shape(), {});
  }

  HexDocumentShape shape() const { return {.byteCount = storage_.count(), .bytesPerRow = 8}; }
  HexRowsText rows(std::int64_t first, std::int64_t last) const {
    return {storage_, shape(), {first, last}};
  }

  HexStorage storage_;
  HexEditorGeometry geometry_;
};

TEST_F(HexRowsTextTest, writesOneLinePerRow) {
  EXPECT_EQ(rows(0, 2).text(),
            "00000000  41 42 43 44 45 46 47 48  ABCDEFGH\n"
            "00000008  69 6A 6B 6C 6D 6E 6F 70  ijklmnop\n"
            "00000010  01 20 7E  . ~\n");
  EXPECT_EQ(rows(1, 1).text(), "00000008  69 6A 6B 6C 6D 6E 6F 70  ijklmnop\n");
}

TEST_F(HexRowsTextTest, neverCutsLargeOffsets) {
  EXPECT_EQ(HexRowsText::offsetText(0), "00000000");
  EXPECT_EQ(HexRowsText::offsetText(0xFFFFFFF0), "FFFFFFF0");
  EXPECT_EQ(HexRowsText::offsetText(0x100000000), "100000000");
  EXPECT_EQ(HexRowsText::offsetText(0x7FFFFFFFFFFFFFF0), "7FFFFFFFFFFFFFF0");
}

TEST_F(HexRowsTextTest, writesAnEmptyRowForTheEndPosition) {
  HexStorage storage;
  const HexRowsText empty(storage, {.byteCount = 0, .bytesPerRow = 16}, {0, 0});
  EXPECT_EQ(empty.text(), "00000000    \n");
  EXPECT_EQ(empty.indexOf({.offset = 0}), 10);
  EXPECT_EQ(empty.indexOf({.offset = 0, .area = EditingArea::ascii}), 12);
}

TEST_F(HexRowsTextTest, findsTheCaretsCharacter) {
  const auto text = rows(1, 2);
  EXPECT_EQ(text.indexOf({.offset = 7}), std::nullopt);
  const std::string& s = text.text();
  const auto at = [&](CaretPlace place) {
    return s.at(static_cast<std::size_t>(*text.indexOf(place)));
  };
  EXPECT_EQ(at({.offset = 9}), '6');
  EXPECT_EQ(at({.offset = 9, .highNibble = false}), 'A');
  EXPECT_EQ(at({.offset = 9, .area = EditingArea::ascii}), 'j');
  EXPECT_EQ(at({.offset = 19}), ' ');
  EXPECT_EQ(at({.offset = 19, .area = EditingArea::ascii}), '\n');
  EXPECT_EQ(text.indexOf({.offset = 24}), std::nullopt);
}

TEST_F(HexRowsTextTest, placesAndIndexesAreInverse) {
  const auto text = rows(0, 2);
  for (std::int64_t offset = 0; offset <= 19; ++offset) {
    for (const CaretPlace place :
         {CaretPlace{.offset = offset}, CaretPlace{.offset = offset, .area = EditingArea::ascii}}) {
      const auto back = text.placeAt(*text.indexOf(place));
      EXPECT_EQ(back.offset, offset);
      EXPECT_EQ(back.area, place.area);
      EXPECT_TRUE(back.highNibble);
    }
  }
  EXPECT_FALSE(text.placeAt(11).highNibble);
  EXPECT_EQ(text.placeAt(3).offset, 0) << "the offset column";
  EXPECT_EQ(text.placeAt(-5).offset, 0);
  EXPECT_EQ(text.placeAt(10000).offset, 19);
}

TEST_F(HexRowsTextTest, charactersLieWhereTheyAreDrawn) {
  const auto text = rows(1, 2);
  EXPECT_EQ(text.characterRect(0, geometry_), (Rect{12, 40, 8, 20}));
  EXPECT_EQ(text.characterRect(*text.indexOf({.offset = 10}), geometry_),
            (Rect{geometry_.hexCellX(2), 40, 8, 20}));
  EXPECT_EQ(
      text.characterRect(*text.indexOf({.offset = 17, .area = EditingArea::ascii}), geometry_),
      (Rect{geometry_.asciiCellX(1), 60, 8, 20}));
}

TEST_F(HexRowsTextTest, findsTheCharacterUnderAPoint) {
  const auto text = rows(1, 2);
  for (const std::int64_t index : {0, 7, 10, 12, 30, 35, 40, 50, 56}) {
    const Rect cell = text.characterRect(index, geometry_);
    EXPECT_EQ(text.indexAt({cell.x + 4, cell.y + 10}, geometry_), index);
  }
  EXPECT_EQ(text.indexAt({50, 30}, geometry_), std::nullopt);
  EXPECT_EQ(text.indexAt({50, 85}, geometry_), std::nullopt);
}

TEST_F(HexRowsTextTest, findsTheSelectedDigits) {
  const auto text = rows(1, 2);
  const auto range = text.indexesOf({.start = 3, .length = 7});
  ASSERT_TRUE(range);
  EXPECT_EQ(text.text().substr(static_cast<std::size_t>(range->first),
                               static_cast<std::size_t>(range->last - range->first)),
            "69 6A");
  EXPECT_EQ(text.indexesOf({.start = 3, .length = 5}), std::nullopt);
  EXPECT_EQ(text.indexesOf({.start = 9, .length = 0}), std::nullopt);
  EXPECT_EQ(text.indexesOf({.start = 18, .length = 900})->last, 44 + 18);
}

TEST_F(HexRowsTextTest, labelsOfRowsBeyondFourGibibytesAreNotCut) {
  const HexRowsText far(storage_, {.byteCount = storage_.count(), .bytesPerRow = 16},
                        {0xFFFFFFF, 0x10000000});
  EXPECT_EQ(far.text(), "FFFFFFF0    \n100000000    \n");
}

TEST_F(HexRowsTextTest, findsTheBytesOfAPartOfTheText) {
  const auto text = rows(0, 2);
  using Range = HexRowsText::IndexRange;
  EXPECT_EQ(text.bytesIn(Range{10, 12}), (HexSelection{0, 1}));
  EXPECT_EQ(text.bytesIn(Range{11, 14}), (HexSelection{0, 2})) << "half of a byte is a byte";
  EXPECT_EQ(text.bytesIn(Range{12, 15}), (HexSelection{1, 1})) << "the space before is none";
  EXPECT_EQ(text.bytesIn(Range{35, 37}), (HexSelection{0, 2})) << "characters";
  EXPECT_EQ(text.bytesIn(Range{35, 44}), (HexSelection{0, 8})) << "up to the line's end";
  EXPECT_EQ(text.bytesIn(Range{31, 36}), (HexSelection{0, 8})) << "last digits, first character";
  EXPECT_EQ(text.bytesIn(Range{42, 44 + 13}), (HexSelection{7, 2})) << "over the line's end";
  EXPECT_EQ(text.bytesIn(Range{0, 1000}), (HexSelection{0, 19}));
}

TEST_F(HexRowsTextTest, offsetsAndGapsHoldNoBytes) {
  const auto text = rows(0, 2);
  using Range = HexRowsText::IndexRange;
  EXPECT_EQ(text.bytesIn(Range{0, 10}), HexSelection{});
  EXPECT_EQ(text.bytesIn(Range{33, 35}), HexSelection{});
  EXPECT_EQ(text.bytesIn(Range{43, 44 + 10}), HexSelection{});
  EXPECT_EQ(text.bytesIn(Range{12, 13}), HexSelection{});
  EXPECT_EQ(text.bytesIn(Range{10, 10}), HexSelection{});
  EXPECT_EQ(text.bytesIn(Range{-9, -3}), HexSelection{});
  EXPECT_EQ(text.bytesIn(Range{10, 44 + 8}), (HexSelection{0, 8}))
      << "the next row's offset is none of its bytes";
}

TEST_F(HexRowsTextTest, findsTheBytesThatAreSelected) {
  const auto text = rows(0, 2);
  for (std::int64_t start = 0; start < 19; ++start) {
    const HexSelection one{.start = start, .length = 1};
    EXPECT_EQ(text.bytesIn(*text.indexesOf(one)), one);
    const std::int64_t character = *text.indexOf({.offset = start, .area = EditingArea::ascii});
    EXPECT_EQ(text.bytesIn({character, character + 1}), one);
  }
}

}  // namespace
}  // namespace quillmor
