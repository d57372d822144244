#include "search/typed/TypedInput.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "base/Error.h"

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;
using testing::Optional;

constexpr auto kNone = std::nullopt;
constexpr std::int64_t kMebibyte = 1024 * 1024;

Bytes bytesOf(std::string_view text) {
  return {text.begin(), text.end()};
}

TEST(AutoInput, isTextWhenItIsOneUnbrokenWord) {
  EXPECT_FALSE(shouldTreatAutoInputAsHex("DEADBEEF"));
  EXPECT_FALSE(shouldTreatAutoInputAsHex("  DEADBEEF \n"));
  EXPECT_FALSE(shouldTreatAutoInputAsHex("\u00A0DEADBEEF\u3000"));
  EXPECT_FALSE(shouldTreatAutoInputAsHex(""));
  EXPECT_FALSE(shouldTreatAutoInputAsHex(" \t\r\n"));
}

TEST(AutoInput, isHexWhenItHasASeparatorInside) {
  for (const auto* text :
       {"DE-AD", "DE AD", "DE,AD", "DE;AD", "DE:AD", "DE\nAD", "-", "hello world",
        "DE\u00A0"
        "AD",
        "DE\u2028"
        "AD"}) {
    EXPECT_TRUE(shouldTreatAutoInputAsHex(text)) << text;
  }
}

TEST(AutoInput, isHexWhenItHasThePrefixAnywhere) {
  EXPECT_TRUE(shouldTreatAutoInputAsHex("0XDEAD"));
  EXPECT_TRUE(shouldTreatAutoInputAsHex("0xDEADBEEF"));
  EXPECT_TRUE(shouldTreatAutoInputAsHex("size=0x10"));
  EXPECT_FALSE(shouldTreatAutoInputAsHex("xDEAD"));
}

TEST(AutoInput, readsTextThatIsNotUtf8) {
  EXPECT_FALSE(shouldTreatAutoInputAsHex("\xFF\xE2\x80"));
  EXPECT_TRUE(shouldTreatAutoInputAsHex("\xFF \xE2"));
}

TEST(BytesFromInput, readsHexModeAsHexOnly) {
  EXPECT_THAT(bytesFromInput("DEAD", kInputModeHex, kMebibyte), Optional(Bytes{0xDE, 0xAD}));
  EXPECT_EQ(bytesFromInput("hello", kInputModeHex, kMebibyte), kNone);
  EXPECT_EQ(bytesFromInput("", kInputModeHex, kMebibyte), kNone);
}

TEST(BytesFromInput, readsTextModeAsTextOnly) {
  EXPECT_THAT(bytesFromInput("DE AD", kInputModeText, kMebibyte), Optional(bytesOf("DE AD")));
  EXPECT_THAT(bytesFromInput("\u00E4", kInputModeText, kMebibyte), Optional(Bytes{0xC3, 0xA4}));
  EXPECT_THAT(bytesFromInput("", kInputModeText, kMebibyte), Optional(Bytes{}));
}

TEST(BytesFromInput, choosesInAutoModeAndFallsBackToText) {
  EXPECT_THAT(bytesFromInput("DE AD", kInputModeAuto, kMebibyte), Optional(Bytes{0xDE, 0xAD}));
  EXPECT_THAT(bytesFromInput("0xDEAD", kInputModeAuto, kMebibyte), Optional(Bytes{0xDE, 0xAD}));
  EXPECT_THAT(bytesFromInput("DEAD", kInputModeAuto, kMebibyte), Optional(bytesOf("DEAD")));
  EXPECT_THAT(bytesFromInput("hello world", kInputModeAuto, kMebibyte),
              Optional(bytesOf("hello world")));
}

TEST(BytesFromInput, rejectsMoreBytesThanTheLimit) {
  EXPECT_THAT(bytesFromInput("abc", kInputModeText, 3), Optional(bytesOf("abc")));
  EXPECT_EQ(bytesFromInput("abcd", kInputModeText, 3), kNone);
  EXPECT_EQ(bytesFromInput("AA BB CC DD", kInputModeHex, 3), kNone);
  EXPECT_THAT(bytesFromInput("AA BB CC", kInputModeHex, 3), Optional(Bytes{0xAA, 0xBB, 0xCC}));
  // Too many bytes as hex, and too many as text.
  EXPECT_EQ(bytesFromInput("AA BB CC DD", kInputModeAuto, 3), kNone);
  EXPECT_EQ(bytesFromInput("", kInputModeText, -1), kNone);
}

TEST(BytesFromInput, acceptsAtMostTheLimitOfScalars) {
  ASSERT_EQ(maxTextInputCharacters, 4'194'304);
  std::string digits(static_cast<std::size_t>(maxTextInputCharacters), 'A');
  for (const int mode : {kInputModeAuto, kInputModeHex, kInputModeText}) {
    EXPECT_NE(bytesFromInput(digits, mode, 64 * kMebibyte), kNone) << mode;
  }
  digits += ' ';
  for (const int mode : {kInputModeAuto, kInputModeHex, kInputModeText}) {
    EXPECT_EQ(bytesFromInput(digits, mode, 64 * kMebibyte), kNone) << mode;
  }
}

TEST(BytesFromInput, countsScalarsNotBytes) {
  std::string text;
  for (std::int64_t i = 0; i < maxTextInputCharacters; ++i) text += "\u00E4";
  EXPECT_NE(bytesFromInput(text, kInputModeText, 64 * kMebibyte), kNone);
  text += 'a';
  EXPECT_EQ(bytesFromInput(text, kInputModeText, 64 * kMebibyte), kNone);
}

TEST(BytesForPastedText, pastesHexAsBytesAndOtherTextLiterally) {
  EXPECT_EQ(bytesForPastedText("de ad", 16, 16), (Bytes{0xDE, 0xAD}));
  EXPECT_EQ(bytesForPastedText("hello", 16, 16), (Bytes{0x68, 0x65, 0x6C, 0x6C, 0x6F}));
  EXPECT_EQ(bytesForPastedText("", 16, 16), Bytes{});
}

TEST(BytesForPastedText, pastesHexBeyondALimitLiterallyWhenThatFits) {
  EXPECT_EQ(bytesForPastedText("de ad", 16, 4), bytesOf("de ad"));
  EXPECT_EQ(bytesForPastedText("1 2 3", 5, 16), (Bytes{1, 2, 3}));
  EXPECT_EQ(bytesForPastedText("\xFF", 1, 16), Bytes{0xFF});
}

TEST(BytesForPastedText, throwsWhenTheTextExceedsTheLimit) {
  EXPECT_EQ(bytesForPastedText("hello", 5, 16).size(), 5U);
  try {
    bytesForPastedText("hello", 4, 16);
    FAIL() << "no error";
  } catch (const Error& error) {
    EXPECT_EQ(error.domain(), ErrorDomain::quillmor);
    EXPECT_EQ(error.code(), 412);
    EXPECT_EQ(error.message(), "Clipboard text expands beyond the safe paste limit of 4 bytes.");
  }
}

}  // namespace
}  // namespace quillmor
