#include "search/typed/InputNotes.h"

#include <gtest/gtest.h>

#include "search/typed/TypedInput.h"

namespace quillmor {
namespace {

TEST(InputNotes, showHexadecimalAsBytes) {
  EXPECT_EQ(InputNotes::typedBytes("FF", kInputModeHex), "1 byte: FF");
  EXPECT_EQ(InputNotes::typedBytes("ff 0", kInputModeAuto), "2 bytes: FF 00");
  EXPECT_EQ(InputNotes::typedBytes("0xDEADBEEF", kInputModeAuto), "4 bytes: DE AD BE EF");
}

TEST(InputNotes, sayThatTextIsText) {
  EXPECT_EQ(InputNotes::typedBytes("FF", kInputModeAuto), "text, 2 bytes: 46 46");
  EXPECT_EQ(InputNotes::typedBytes("F 0", kInputModeText), "text, 3 bytes: 46 20 30");
  EXPECT_EQ(InputNotes::typedBytes("\xC3\xA9", kInputModeAuto), "text, 2 bytes: C3 A9");
}

TEST(InputNotes, shortenLongPatterns) {
  EXPECT_EQ(InputNotes::typedBytes("0001020304050607", kInputModeHex),
            "8 bytes: 00 01 02 03 04 05 06 07");
  EXPECT_EQ(InputNotes::typedBytes("000102030405060708090A0B0C0D0E0F", kInputModeHex),
            "16 bytes: 00 01 02 03 04 05 06 07 …");
  EXPECT_EQ(InputNotes::typedBytes(std::string(4'194'304, 'a'), kInputModeHex),
            "2097152 bytes: AA AA AA AA AA AA AA AA …");
}

TEST(InputNotes, sayInWordsWhatCannotBeRead) {
  for (const char* wrong : {"xyz", "ABC", "0x", " "}) {
    EXPECT_EQ(InputNotes::typedBytes(wrong, kInputModeHex), "not hexadecimal bytes") << wrong;
  }
  for (const int mode : {kInputModeAuto, kInputModeHex, kInputModeText}) {
    EXPECT_EQ(InputNotes::typedBytes(std::string(4'194'305, 'a'), mode),
              "more than 4194304 characters");
    EXPECT_EQ(InputNotes::typedBytes("", mode), "");
  }
}

TEST(InputNotes, showOffsetsInBothBases) {
  EXPECT_EQ(InputNotes::offset("0x1000"), "0x00001000 (4096)");
  EXPECT_EQ(InputNotes::offset(" 10 "), "0x0000000A (10)");
  EXPECT_EQ(InputNotes::offset("10h"), "0x00000010 (16)");
  EXPECT_EQ(InputNotes::offset("1234567890123"), "0x11F71FB04CB (1234567890123)");
  EXPECT_EQ(InputNotes::offset("1FH"), "not an offset");
  EXPECT_EQ(InputNotes::offset("-1"), "less than 0");
  EXPECT_EQ(InputNotes::offset(""), "");
}

TEST(InputNotes, showNumbersInBothBases) {
  EXPECT_EQ(InputNotes::number("1F"), "31 (0x1F)");
  EXPECT_EQ(InputNotes::number("0"), "0 (0x0)");
  EXPECT_EQ(InputNotes::number("many"), "not a number");
  EXPECT_EQ(InputNotes::number("-0x10"), "not a number");
  EXPECT_EQ(InputNotes::number("-16"), "less than 0");
  EXPECT_EQ(InputNotes::number(""), "");
}

}  // namespace
}  // namespace quillmor
