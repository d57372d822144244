#include "search/typed/SearchNumbers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>

#include "support/CommaLocale.h"

namespace quillmor {
namespace {

using namespace std::string_literals;
using testing::Optional;

constexpr auto kNone = std::nullopt;
constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
constexpr std::uint64_t kTwoTo63 = std::uint64_t{1} << 63;
constexpr std::uint64_t kUnsignedMax = std::numeric_limits<std::uint64_t>::max();

ParsedSearchInteger signedValue(std::int64_t value) {
  return {.bits = static_cast<std::uint64_t>(value), .isUnsigned = false};
}

ParsedSearchInteger unsignedValue(std::uint64_t value) {
  return {.bits = value, .isUnsigned = true};
}

std::string zeros(std::size_t count) {
  return std::string(count, '0');
}

// --- integers -------------------------------------------------------------------------------

TEST(ParseSearchInteger, readsSignedDecimalNumbers) {
  EXPECT_THAT(parseSearchInteger("0"), Optional(signedValue(0)));
  EXPECT_THAT(parseSearchInteger("-0"), Optional(signedValue(0)));
  EXPECT_THAT(parseSearchInteger("255"), Optional(signedValue(255)));
  EXPECT_THAT(parseSearchInteger("+255"), Optional(signedValue(255)));
  EXPECT_THAT(parseSearchInteger("-129"), Optional(signedValue(-129)));
  EXPECT_THAT(parseSearchInteger("0010"), Optional(signedValue(10)));
  EXPECT_THAT(parseSearchInteger("9223372036854775807"), Optional(signedValue(kMax)));
  EXPECT_THAT(parseSearchInteger("-9223372036854775808"), Optional(signedValue(kMin)));
  EXPECT_EQ(parseSearchInteger("-9223372036854775809"), kNone);
}

TEST(ParseSearchInteger, readsTheFormsOfAnOffset) {
  EXPECT_THAT(parseSearchInteger("0x10"), Optional(signedValue(16)));
  EXPECT_THAT(parseSearchInteger("0X1f"), Optional(signedValue(31)));
  EXPECT_THAT(parseSearchInteger("10h"), Optional(signedValue(16)));
  EXPECT_THAT(parseSearchInteger("1F"), Optional(signedValue(31)));
  EXPECT_EQ(parseSearchInteger("1FH"), kNone);
  EXPECT_EQ(parseSearchInteger("10H"), kNone);
  EXPECT_THAT(parseSearchInteger("0x-10"), Optional(signedValue(-16)));
  EXPECT_THAT(parseSearchInteger("0x7FFFFFFFFFFFFFFF"), Optional(signedValue(kMax)));
  EXPECT_THAT(parseSearchInteger("0x-8000000000000000"), Optional(signedValue(kMin)));
}

TEST(ParseSearchInteger, readsLargerNumbersAsUnsigned) {
  EXPECT_THAT(parseSearchInteger("9223372036854775808"), Optional(unsignedValue(kTwoTo63)));
  EXPECT_THAT(parseSearchInteger("18446744073709551615"), Optional(unsignedValue(kUnsignedMax)));
  EXPECT_EQ(parseSearchInteger("18446744073709551616"), kNone);
  EXPECT_THAT(parseSearchInteger("0x8000000000000000"), Optional(unsignedValue(kTwoTo63)));
  EXPECT_THAT(parseSearchInteger("0xFFFFFFFFFFFFFFFF"), Optional(unsignedValue(kUnsignedMax)));
  EXPECT_THAT(parseSearchInteger("0XfFFFFFFFFFFFFFFF"), Optional(unsignedValue(kUnsignedMax)));
  EXPECT_EQ(parseSearchInteger("0x10000000000000000"), kNone);
  EXPECT_THAT(parseSearchInteger("fffffffffffffffeh"), Optional(unsignedValue(kUnsignedMax - 1)));
  EXPECT_THAT(parseSearchInteger("8000000000000000h"), Optional(unsignedValue(kTwoTo63)));
  EXPECT_EQ(parseSearchInteger("fffffffffffffffeH"), kNone);
  EXPECT_EQ(parseSearchInteger("10000000000000000h"), kNone);
  EXPECT_THAT(parseSearchInteger("FFFFFFFFFFFFFFFF"), Optional(unsignedValue(kUnsignedMax)));
  EXPECT_EQ(parseSearchInteger("1FFFFFFFFFFFFFFFF"), kNone);
}

TEST(ParseSearchInteger, takesASignOfAnUnsignedNumberBehindThePrefixOnly) {
  EXPECT_THAT(parseSearchInteger("0x+8000000000000000"), Optional(unsignedValue(kTwoTo63)));
  EXPECT_EQ(parseSearchInteger("0x-8000000000000001"), kNone);
  EXPECT_EQ(parseSearchInteger("0x+-8000000000000000"), kNone);
  EXPECT_EQ(parseSearchInteger("+9223372036854775808"), kNone);
  EXPECT_EQ(parseSearchInteger("+FFFFFFFFFFFFFFFF"), kNone);
}

TEST(ParseSearchInteger, ignoresWhiteSpaceAround) {
  EXPECT_THAT(parseSearchInteger(" \n42\t"), Optional(signedValue(42)));
  EXPECT_THAT(parseSearchInteger("\u00A0-1\u3000"), Optional(signedValue(-1)));
  EXPECT_THAT(parseSearchInteger(" FFFFFFFFFFFFFFFF "), Optional(unsignedValue(kUnsignedMax)));
}

TEST(ParseSearchInteger, refusesEverythingElse) {
  for (const auto& text :
       {""s,        " \n"s, "1 2"s,  "+"s,    "-"s,    "+-5"s, "--5"s,   "-+5"s,
        "0x"s,      "h"s,   "0x 1"s, "1.0"s,  "1e3x"s, "g"s,   "-FF"s,   "\u0661"s,
        "1\u00E4"s, "1\0"s, "\0"s,   "\xFF"s, "0x1h"s, "$10"s, "1_000"s, "1,000"s}) {
    EXPECT_EQ(parseSearchInteger(text), kNone) << testing::PrintToString(text);
  }
}

TEST(ParseSearchInteger, readsDecimalNumbersOfAnyLength) {
  EXPECT_THAT(parseSearchInteger(zeros(1000) + "7"), Optional(signedValue(7)));
  EXPECT_THAT(parseSearchInteger("-" + zeros(128) + "7"), Optional(signedValue(-7)));
  EXPECT_EQ(parseSearchInteger(std::string(1000, '9')), kNone);
}

TEST(ParseSearchInteger, readsOtherFormsOfAtMost128Characters) {
  const std::string greatest = "FFFFFFFFFFFFFFFF";
  EXPECT_THAT(parseSearchInteger("0x" + zeros(110) + greatest),
              Optional(unsignedValue(kUnsignedMax)));
  EXPECT_EQ(parseSearchInteger("0x" + zeros(111) + greatest), kNone);
  EXPECT_THAT(parseSearchInteger(zeros(111) + greatest + "h"),
              Optional(unsignedValue(kUnsignedMax)));
  EXPECT_EQ(parseSearchInteger(zeros(112) + greatest + "h"), kNone);
  EXPECT_THAT(parseSearchInteger(zeros(112) + greatest), Optional(unsignedValue(kUnsignedMax)));
  EXPECT_EQ(parseSearchInteger(zeros(113) + greatest), kNone);
  const std::string decimal = "18446744073709551615";
  EXPECT_THAT(parseSearchInteger(zeros(108) + decimal), Optional(unsignedValue(kUnsignedMax)));
  EXPECT_EQ(parseSearchInteger(zeros(109) + decimal), kNone);
  EXPECT_THAT(parseSearchInteger("0x" + zeros(125) + "1"), Optional(signedValue(1)));
  EXPECT_EQ(parseSearchInteger("0x" + zeros(126) + "1"), kNone);
  // White space around counts for nothing.
  EXPECT_THAT(parseSearchInteger(std::string(200, ' ') + greatest),
              Optional(unsignedValue(kUnsignedMax)));
}

// --- floating-point numbers -----------------------------------------------------------------

TEST(ParseSearchFloat, readsDecimalNumbers) {
  EXPECT_THAT(parseSearchFloat("0"), Optional(0.0));
  EXPECT_THAT(parseSearchFloat("1.5"), Optional(1.5));
  EXPECT_THAT(parseSearchFloat("+1.5"), Optional(1.5));
  EXPECT_THAT(parseSearchFloat("-1.5"), Optional(-1.5));
  EXPECT_THAT(parseSearchFloat(".5"), Optional(0.5));
  EXPECT_THAT(parseSearchFloat("5."), Optional(5.0));
  EXPECT_THAT(parseSearchFloat("1e3"), Optional(1000.0));
  EXPECT_THAT(parseSearchFloat("1E+3"), Optional(1000.0));
  EXPECT_THAT(parseSearchFloat("25e-2"), Optional(0.25));
  EXPECT_THAT(parseSearchFloat("1e300"), Optional(1e300));
  EXPECT_THAT(parseSearchFloat("0.1"), Optional(0.1));
}

TEST(ParseSearchFloat, keepsTheSignOfZero) {
  const auto value = parseSearchFloat("-0.0");
  ASSERT_THAT(value, Optional(0.0));
  EXPECT_TRUE(std::signbit(*value));
}

TEST(ParseSearchFloat, readsHexadecimalNumbers) {
  EXPECT_THAT(parseSearchFloat("0x1.8p1"), Optional(3.0));
  EXPECT_THAT(parseSearchFloat("0x1p3"), Optional(8.0));
  EXPECT_THAT(parseSearchFloat("0x1F"), Optional(31.0));
  EXPECT_THAT(parseSearchFloat("-0X.8P-1"), Optional(-0.25));
  EXPECT_EQ(parseSearchFloat("0x"), kNone);
  EXPECT_EQ(parseSearchFloat("0xp1"), kNone);
  EXPECT_EQ(parseSearchFloat("1F"), kNone);
  EXPECT_EQ(parseSearchFloat("1p3"), kNone);
}

TEST(ParseSearchFloat, refusesInfinitiesAndNaNs) {
  for (const char* text : {"inf", "-inf", "+INF", "infinity", "Infinity", "nan", "-NaN", "nan()",
                           "nan(1)", "1e400", "-1e400", "1e309", "0x1p1024"}) {
    EXPECT_EQ(parseSearchFloat(text), kNone) << text;
  }
  EXPECT_THAT(parseSearchFloat("1.7976931348623157e308"),
              Optional(std::numeric_limits<double>::max()));
}

TEST(ParseSearchFloat, takesNumbersTooSmallToBeHeld) {
  EXPECT_THAT(parseSearchFloat("1e-400"), Optional(0.0));
  EXPECT_THAT(parseSearchFloat("1e-46"), Optional(1e-46));
  EXPECT_THAT(parseSearchFloat("4.9e-324"), Optional(std::numeric_limits<double>::denorm_min()));
  EXPECT_TRUE(std::signbit(parseSearchFloat("-1e-400").value_or(0)));
}

TEST(ParseSearchFloat, takesTheWholeTextOrNothing) {
  for (const auto& text :
       {""s,       " 1"s,      "\t1"s,     "\n1"s,   "\v1"s,   "\f1"s,  "\r1"s, "1 "s,
        "1\n"s,    "\u00A01"s, "1,5"s,     "1.5.2"s, "1e5x"s,  "1e"s,   "1e+"s, "."s,
        "+"s,      "-"s,       "+-1"s,     "e5"s,    "0x1g"s,  "1\0"s,  "\0"s,  "\0001"s,
        "1\0002"s, "\xFF"s,    "1\u00E4"s, "1'000"s, "1_000"s, "nanx"s, "nan("s}) {
    EXPECT_EQ(parseSearchFloat(text), kNone) << testing::PrintToString(text);
  }
}

TEST(ParseSearchFloat, takesTextsOfAnyLength) {
  EXPECT_THAT(parseSearchFloat("1" + zeros(300) + "." + zeros(100'000)), Optional(1e300));
  EXPECT_THAT(parseSearchFloat("0." + zeros(100'000) + "1e100001"), Optional(1.0));
  EXPECT_EQ(parseSearchFloat("1" + zeros(100'000)), kNone);
}

TEST(ParseSearchFloat, readsThePointWhateverTheLocaleOfTheProcess) {
  const test::CommaLocale locale;
  ASSERT_TRUE(locale.isThere());
  ASSERT_EQ(std::strtod("1,5", nullptr), 1.5);
  EXPECT_THAT(parseSearchFloat("1.5"), Optional(1.5));
  EXPECT_EQ(parseSearchFloat("1,5"), kNone);
  EXPECT_EQ(parseSearchFloat("1.000,5"), kNone);
}

}  // namespace
}  // namespace quillmor
