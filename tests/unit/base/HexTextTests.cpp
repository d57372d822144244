#include "base/HexText.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <limits>
#include <string>

namespace quillmor {
namespace {

std::string printed(const char* format, unsigned value) {
  std::string text(8, '\0');
  text.resize(static_cast<std::size_t>(std::snprintf(text.data(), text.size(), format, value)));
  return text;
}

TEST(HexText, namesEveryByteByTwoUppercaseDigits) {
  for (unsigned byte = 0; byte < 256; ++byte) {
    EXPECT_EQ(uppercaseHexByteStrings[byte], printed("%02X", byte));
  }
}

TEST(HexText, showsPrintableBytesAsThemselvesAndOthersAsADot) {
  for (unsigned byte = 0; byte < 256; ++byte) {
    const bool isPrintable = byte >= 0x20 && byte <= 0x7E;
    EXPECT_EQ(printableASCIIByteStrings[byte], isPrintable ? printed("%c", byte) : ".");
  }
}

TEST(HexText, showsNinetyFiveCharactersFromSpaceToTilde) {
  std::string shown;
  for (unsigned byte = 0x1F; byte <= 0x7F; ++byte) shown += printableASCIIByteStrings[byte];
  EXPECT_EQ(shown,
            ". !\"#$%&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`"
            "abcdefghijklmnopqrstuvwxyz{|}~.");
}

TEST(HexText, knowsTheValueOfEveryDigit) {
  const std::string digits = "0123456789abcdefABCDEF";
  for (int c = -128; c < 128; ++c) {
    const auto character = static_cast<char>(c);
    const bool isDigit = digits.find(character) != std::string::npos;
    const auto value = hexDigitValue(character);
    ASSERT_EQ(value.has_value(), isDigit) << c;
    if (isDigit) {
      EXPECT_EQ(*value, std::stoi(std::string(1, character), nullptr, 16));
    }
  }
}

TEST(HexText, padsToTheMinimumWidth) {
  EXPECT_EQ(uppercaseHex(0, 8), "00000000");
  EXPECT_EQ(uppercaseHex(0xBEEF, 8), "0000BEEF");
  EXPECT_EQ(uppercaseHex(0xBEEF, 4), "BEEF");
  EXPECT_EQ(uppercaseHex(1, 20), "00000000000000000001");
}

TEST(HexText, neverCutsToTheMinimumWidth) {
  EXPECT_EQ(uppercaseHex(0x123456789, 8), "123456789");
  EXPECT_EQ(uppercaseHex(0xABC, 0), "ABC");
  EXPECT_EQ(uppercaseHex(0xABC, -5), "ABC");
}

TEST(HexText, showsZeroByOneDigitAtLeast) {
  EXPECT_EQ(uppercaseHex(0, 0), "0");
  EXPECT_EQ(uppercaseHex(0, -1), "0");
}

TEST(HexText, coversTheWholeRange) {
  EXPECT_EQ(uppercaseHex(std::numeric_limits<std::int64_t>::max(), 8), "7FFFFFFFFFFFFFFF");
  EXPECT_EQ(uppercaseHex(std::numeric_limits<std::int64_t>::min(), 8), "8000000000000000");
  EXPECT_EQ(uppercaseHex(-1, 8), "FFFFFFFFFFFFFFFF");
}

TEST(HexText, hasTheFormsOfReports) {
  EXPECT_EQ(hexText(std::uint8_t{0x0A}), "0x0A");
  EXPECT_EQ(hexText(std::uint16_t{0x0A}), "0x000A");
  EXPECT_EQ(offsetText(0x1F), "0x0000001F");
  EXPECT_EQ(offsetText(0x123456789), "0x123456789");
}

TEST(HexText, hasTwoLowercaseDigitsForEveryByte) {
  const std::vector<std::uint8_t> bytes = {0x00, 0x0F, 0xA0, 0xBC, 0xDE, 0xFF,
                                           0x12, 0x34, 0x56, 0x78, 0x9A};
  EXPECT_EQ(lowercaseHex(bytes), "000fa0bcdeff123456789a");
  EXPECT_EQ(lowercaseHex({}), "");
}

}  // namespace
}  // namespace quillmor
