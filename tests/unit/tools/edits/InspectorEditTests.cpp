#include "tools/edits/InspectorEdit.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>

#include "search/typed/HexParser.h"

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;
using testing::Optional;

constexpr auto kNone = std::nullopt;
constexpr int kCharacter = 5;

TEST(InspectorEditTypes, haveTheirTitlesInOrder) {
  EXPECT_THAT(inspectorEditTypeTitles,
              testing::ElementsAre("UInt8", "UInt16 LE", "UInt16 BE", "UInt32 LE", "UInt32 BE",
                                   "ASCII Character"));
}

TEST(BytesForInspectorEdit, storesIntegersInTheOrderOfTheirType) {
  EXPECT_THAT(bytesForInspectorEdit(0, "0x11"), Optional(Bytes{0x11}));
  EXPECT_THAT(bytesForInspectorEdit(1, "0x1122"), Optional(Bytes{0x22, 0x11}));
  EXPECT_THAT(bytesForInspectorEdit(2, "0x1122"), Optional(Bytes{0x11, 0x22}));
  EXPECT_THAT(bytesForInspectorEdit(3, "0x11223344"), Optional(Bytes{0x44, 0x33, 0x22, 0x11}));
  EXPECT_THAT(bytesForInspectorEdit(4, "0x11223344"), Optional(Bytes{0x11, 0x22, 0x33, 0x44}));
}

TEST(BytesForInspectorEdit, takesEveryFormOfAnOffset) {
  EXPECT_THAT(bytesForInspectorEdit(0, "FFh"), Optional(Bytes{0xFF}));
  EXPECT_THAT(bytesForInspectorEdit(0, "ff"), Optional(Bytes{0xFF}));
  EXPECT_THAT(bytesForInspectorEdit(0, "0XFF"), Optional(Bytes{0xFF}));
  EXPECT_THAT(bytesForInspectorEdit(0, " 10 "), Optional(Bytes{10}));
  EXPECT_THAT(bytesForInspectorEdit(0, "+10"), Optional(Bytes{10}));
  EXPECT_EQ(bytesForInspectorEdit(0, ""), kNone);
  EXPECT_EQ(bytesForInspectorEdit(0, "1 0"), kNone);
  EXPECT_EQ(bytesForInspectorEdit(0, "ten"), kNone);
  EXPECT_EQ(bytesForInspectorEdit(0, "1FH"), kNone);
}

TEST(BytesForInspectorEdit, holdsTheRangeOfEachType) {
  constexpr std::int64_t kLargest[] = {255, 65'535, 65'535, 4'294'967'295, 4'294'967'295};
  constexpr std::size_t kWidths[] = {1, 2, 2, 4, 4};
  for (int type = 0; type < kCharacter; ++type) {
    const auto& largest = kLargest[type];
    EXPECT_THAT(bytesForInspectorEdit(type, "0"), Optional(Bytes(kWidths[type], 0))) << type;
    EXPECT_THAT(bytesForInspectorEdit(type, std::to_string(largest)),
                Optional(Bytes(kWidths[type], 0xFF)));
    EXPECT_EQ(bytesForInspectorEdit(type, std::to_string(largest + 1)), kNone) << type;
    EXPECT_EQ(bytesForInspectorEdit(type, "-1"), kNone) << type;
    EXPECT_EQ(bytesForInspectorEdit(type, "0x1FFFFFFFF"), kNone) << type;
    EXPECT_EQ(bytesForInspectorEdit(type, "9223372036854775807"), kNone) << type;
    EXPECT_EQ(bytesForInspectorEdit(type, "-9223372036854775808"), kNone) << type;
    EXPECT_EQ(bytesForInspectorEdit(type, "18446744073709551616"), kNone) << type;
  }
  EXPECT_EQ(bytesForInspectorEdit(0, "0x1FF"), kNone);
}

TEST(BytesForInspectorEdit, agreesWithArithmeticOnRandomValues) {
  std::mt19937_64 random(5);
  for (int i = 0; i < 20'000; ++i) {
    const int type = static_cast<int>(random() % 5);
    const int width = type == 0 ? 1 : type <= 2 ? 2 : 4;
    const auto value = static_cast<std::int64_t>(random() >> (20 + random() % 44));
    Bytes expected;
    for (int at = 0; at < width; ++at)
      expected.push_back(static_cast<std::uint8_t>(value >> 8 * at));
    if (type == 2 || type == 4) std::reverse(expected.begin(), expected.end());
    const auto bytes = bytesForInspectorEdit(type, std::to_string(value));
    if (value >> 8 * width == 0) {
      ASSERT_THAT(bytes, Optional(expected)) << value << " as type " << type;
    } else {
      ASSERT_EQ(bytes, kNone) << value << " as type " << type;
    }
  }
}

TEST(BytesForInspectorEdit, takesOneAsciiCharacter) {
  EXPECT_THAT(bytesForInspectorEdit(kCharacter, "A"), Optional(Bytes{0x41}));
  EXPECT_THAT(bytesForInspectorEdit(kCharacter, " "), Optional(Bytes{0x20}));
  EXPECT_THAT(bytesForInspectorEdit(kCharacter, "\x7F"), Optional(Bytes{0x7F}));
  EXPECT_THAT(bytesForInspectorEdit(kCharacter, std::string(1, '\0')), Optional(Bytes{0x00}));
  for (const char* text : {"", "\u00E9", "AB", " A", "\xFF", "\x80", "\uFF21", "e\u0301"}) {
    EXPECT_EQ(bytesForInspectorEdit(kCharacter, text), kNone) << text;
  }
}

TEST(BytesForInspectorEdit, isNoneForATypeThatIsNotThere) {
  for (const int type : {6, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
    EXPECT_EQ(bytesForInspectorEdit(type, "1"), kNone) << type;
  }
}

// --- bits ------------------------------------------------------------------------------------

testing::Matcher<std::variant<std::uint8_t, BitTextRefusal>> isRefused(BitTextRefusal refusal) {
  return testing::VariantWith<BitTextRefusal>(refusal);
}

TEST(BitsOfByte, hasEightDigits) {
  EXPECT_EQ(bitsOfByte(0x00), "00000000");
  EXPECT_EQ(bitsOfByte(0x01), "00000001");
  EXPECT_EQ(bitsOfByte(0xA5), "10100101");
  EXPECT_EQ(bitsOfByte(0xFF), "11111111");
}

TEST(ByteForBits, readsBackEveryByte) {
  for (int value = 0; value < 256; ++value) {
    const auto byte = static_cast<std::uint8_t>(value);
    EXPECT_THAT(byteForBits(bitsOfByte(byte)), testing::VariantWith<std::uint8_t>(byte));
  }
}

TEST(ByteForBits, ignoresWhiteSpaceAroundTheDigits) {
  EXPECT_THAT(byteForBits(" \t10100101\n"), testing::VariantWith<std::uint8_t>(0xA5));
  EXPECT_THAT(byteForBits("\u00A0"
                          "10100101"),
              testing::VariantWith<std::uint8_t>(0xA5));
}

TEST(ByteForBits, tellsTooLongTextsFromWrongOnes) {
  for (const std::string& text :
       {std::string("000000000"), std::string("0b10100101"), std::string("1010 0101"),
        std::string("abcdefghi"), std::string(1'000'000, '1')}) {
    EXPECT_THAT(byteForBits(text), isRefused(BitTextRefusal::tooLarge)) << text.substr(0, 20);
  }
  for (const char* text : {"", " ", "1010010", "1010010x", "10100102", "1010010\u0661", "\u00E9",
                           "+1010010", "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF", "1010 010", "A5"}) {
    EXPECT_THAT(byteForBits(text), isRefused(BitTextRefusal::invalid)) << text;
  }
}

TEST(ByteForBits, countsCharactersAndNotTheirBytes) {
  EXPECT_THAT(byteForBits("\u0661\u0660\u0661\u0660\u0661\u0660\u0661\u0660"),
              isRefused(BitTextRefusal::invalid));
  EXPECT_THAT(byteForBits("\u00E9\u00E9\u00E9\u00E9"), isRefused(BitTextRefusal::invalid));
}

TEST(BitTextRefusal, hasItsMessage) {
  EXPECT_EQ(messageFor(BitTextRefusal::tooLarge), "Input is too large.");
  EXPECT_EQ(messageFor(BitTextRefusal::invalid), "Invalid bit string. Enter exactly 8 bits.");
}

}  // namespace
}  // namespace quillmor
