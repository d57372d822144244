#include "window/FoldedLines.h"

#include <gtest/gtest.h>

namespace quillmor {
namespace {

std::u16string folded(std::u16string_view text, std::int64_t maximumLength) {
  return FoldedLines(text, maximumLength).folded(text);
}

TEST(FoldedLinesTest, breaksOnlyLinesThatAreTooLong) {
  EXPECT_EQ(folded(u"", 4), u"");
  EXPECT_EQ(folded(u"abcd", 4), u"abcd");
  EXPECT_EQ(folded(u"abcde", 4), u"abcd\ne");
  EXPECT_EQ(folded(u"abcd\nabcd\n", 4), u"abcd\nabcd\n");
  EXPECT_EQ(folded(u"abcdefghi\n\nabcdefgh", 4), u"abcd\nefgh\ni\n\nabcd\nefgh");
}

TEST(FoldedLinesTest, keepsSurrogatePairsTogether) {
  EXPECT_EQ(folded(u"abc\U0001F600d", 4), u"abc\n\U0001F600d");
  EXPECT_EQ(folded(u"ab\U0001F600cd", 4), u"ab\U0001F600\ncd");
}

TEST(FoldedLinesTest, everyUnitIsFoundInBothTexts) {
  const std::u16string text = u"0123456789\nabc\n0123456789012";
  for (std::int64_t length = 2; length < 15; ++length) {
    const FoldedLines lines(text, length);
    const std::u16string shown = lines.folded(text);
    for (std::size_t i = 0; i < text.size(); ++i) {
      const auto place = lines.toFolded(static_cast<std::int64_t>(i));
      ASSERT_EQ(shown[static_cast<std::size_t>(place)], text[i]) << i << " at " << length;
      ASSERT_EQ(lines.toOriginal(place), static_cast<std::int64_t>(i));
    }
    const auto end = static_cast<std::int64_t>(text.size());
    EXPECT_EQ(lines.toFolded(end), static_cast<std::int64_t>(shown.size()));
    EXPECT_EQ(lines.toOriginal(static_cast<std::int64_t>(shown.size())), end);
  }
}

TEST(FoldedLinesTest, aLineFeedPutInStandsForThePlaceBehindIt) {
  const FoldedLines lines(u"abcdefg", 3);  // "abc\ndef\ng"
  EXPECT_EQ(lines.toOriginal(2), 2);
  EXPECT_EQ(lines.toOriginal(3), 3);
  EXPECT_EQ(lines.toOriginal(4), 3);
  EXPECT_EQ(lines.toOriginal(7), 6);
  EXPECT_EQ(lines.toOriginal(8), 6);
}

TEST(FoldedLinesTest, ofNoTextEveryPlaceIsItself) {
  EXPECT_EQ(FoldedLines().toFolded(5), 5);
  EXPECT_EQ(FoldedLines().toOriginal(5), 5);
}

}  // namespace
}  // namespace quillmor
