#include "search/typed/TextEncoding.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace quillmor {
namespace {

using namespace std::string_view_literals;
using Bytes = std::vector<std::uint8_t>;
using Encoding = SearchTextEncoding;
using testing::Optional;

constexpr auto kNone = std::nullopt;

TEST(BytesForText, writesUtf8ForTheEditorAndForUtf8) {
  for (const Encoding encoding : {Encoding::editor, Encoding::utf8}) {
    EXPECT_THAT(bytesForText("abc", encoding), Optional(Bytes{'a', 'b', 'c'}));
    EXPECT_THAT(bytesForText("\u00E4\u20AC", encoding),
                Optional(Bytes{0xC3, 0xA4, 0xE2, 0x82, 0xAC}));
    EXPECT_THAT(bytesForText("\U0001F600", encoding), Optional(Bytes{0xF0, 0x9F, 0x98, 0x80}));
  }
}

TEST(BytesForText, writesAsciiOnlyForAscii) {
  EXPECT_THAT(bytesForText("a\0\x7F"sv, Encoding::ascii), Optional(Bytes{'a', 0, 0x7F}));
  EXPECT_EQ(bytesForText("\u0080", Encoding::ascii), kNone);
  EXPECT_EQ(bytesForText("plain\u00E4", Encoding::ascii), kNone);
  EXPECT_EQ(bytesForText("\xE4", Encoding::ascii), kNone);
}

TEST(BytesForText, writesUtf16UnitsInBothByteOrders) {
  EXPECT_THAT(bytesForText("A\u20AC", Encoding::utf16LittleEndian),
              Optional(Bytes{0x41, 0x00, 0xAC, 0x20}));
  EXPECT_THAT(bytesForText("A\u20AC", Encoding::utf16BigEndian),
              Optional(Bytes{0x00, 0x41, 0x20, 0xAC}));
}

TEST(BytesForText, writesSurrogatePairsBeyondTheFirstPlane) {
  EXPECT_THAT(bytesForText("\U0001F600", Encoding::utf16LittleEndian),
              Optional(Bytes{0x3D, 0xD8, 0x00, 0xDE}));
  EXPECT_THAT(bytesForText("\U0001F600", Encoding::utf16BigEndian),
              Optional(Bytes{0xD8, 0x3D, 0xDE, 0x00}));
  EXPECT_THAT(bytesForText("\uFFFF", Encoding::utf16BigEndian), Optional(Bytes{0xFF, 0xFF}));
  EXPECT_THAT(bytesForText("\U00010000", Encoding::utf16BigEndian),
              Optional(Bytes{0xD8, 0x00, 0xDC, 0x00}));
  EXPECT_THAT(bytesForText("\U0010FFFF", Encoding::utf16BigEndian),
              Optional(Bytes{0xDB, 0xFF, 0xDF, 0xFF}));
}

TEST(BytesForText, writesNoByteOrderMarkAndKeepsATypedOne) {
  EXPECT_THAT(bytesForText("", Encoding::utf16LittleEndian), Optional(Bytes{}));
  EXPECT_THAT(bytesForText("", Encoding::utf8), Optional(Bytes{}));
  EXPECT_THAT(bytesForText("\uFEFF", Encoding::utf8), Optional(Bytes{0xEF, 0xBB, 0xBF}));
  EXPECT_THAT(bytesForText("\uFEFF", Encoding::utf16BigEndian), Optional(Bytes{0xFE, 0xFF}));
}

TEST(BytesForText, refusesWhatIsNotUtf8InEveryEncoding) {
  for (const Encoding encoding : {Encoding::editor, Encoding::utf8, Encoding::ascii,
                                  Encoding::utf16LittleEndian, Encoding::utf16BigEndian}) {
    // A lone continuation, a cut sequence, an overlong form, an encoded surrogate.
    for (const char* broken : {"\x80", "a\xE2\x82", "\xC0\x80", "\xED\xA0\x80"}) {
      EXPECT_EQ(bytesForText(broken, encoding), kNone) << testing::PrintToString(broken);
    }
  }
}

}  // namespace
}  // namespace quillmor
