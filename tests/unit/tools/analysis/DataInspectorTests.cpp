#include "tools/analysis/DataInspector.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <vector>

namespace quillmor {
namespace {

using DataInspector::detailReport;
using DataInspector::floatText;
using DataInspector::inspectorText;
using Bytes = std::vector<std::uint8_t>;

const std::vector<std::uint8_t> kBytes = {0x01, 0x02, 0x80, 0xFF, 0x00};

TEST(InspectorText, readsAllWidthsWhenFourBytesRemain) {
  EXPECT_EQ(inspectorText(kBytes, 0),
            "UInt8: 1  |  Int8: 1  |  Hex: 0x01  |  U16LE: 0x0201  |  U16BE: 0x0102  |  "
            "U32LE: 0xFF800201  |  U32BE: 0x010280FF");
  EXPECT_EQ(inspectorText(kBytes, 1),
            "UInt8: 2  |  Int8: 2  |  Hex: 0x02  |  U16LE: 0x8002  |  U16BE: 0x0280  |  "
            "U32LE: 0x00FF8002  |  U32BE: 0x0280FF00");
}

TEST(InspectorText, leavesOutWidthsThatReachBehindTheEnd) {
  EXPECT_EQ(inspectorText(kBytes, 2),
            "UInt8: 128  |  Int8: -128  |  Hex: 0x80  |  U16LE: 0xFF80  |  U16BE: 0x80FF");
  EXPECT_EQ(inspectorText(kBytes, 3),
            "UInt8: 255  |  Int8: -1  |  Hex: 0xFF  |  U16LE: 0x00FF  |  U16BE: 0xFF00");
  EXPECT_EQ(inspectorText(kBytes, 4), "UInt8: 0  |  Int8: 0  |  Hex: 0x00");
}

TEST(InspectorText, isEofOutsideTheBytes) {
  EXPECT_EQ(inspectorText(kBytes, 5), "EOF");
  EXPECT_EQ(inspectorText(kBytes, -1), "EOF");
  EXPECT_EQ(inspectorText(kBytes, std::numeric_limits<std::int64_t>::max()), "EOF");
  EXPECT_EQ(inspectorText(kBytes, std::numeric_limits<std::int64_t>::min()), "EOF");
  EXPECT_EQ(inspectorText({}, 0), "EOF");
}

// --- detail report ---------------------------------------------------------------------------

TEST(DetailReport, hasAllLinesWhenEightBytesRemain) {
  const Bytes bytes = {0xEE, 0xF0, 0x00, 0x80, 0x3F, 0x00, 0x00, 0xE0, 0xBF};
  EXPECT_EQ(detailReport(bytes, 1),
            "Offset: 0x00000001\n"
            "UInt8: 240\n"
            "Int8: -16\n"
            "Hex: 0xF0\n"
            "UInt16 LE: 0x00F0 / 240\n"
            "UInt16 BE: 0xF000 / 61440\n"
            "UInt32 LE: 0x3F8000F0 / 1065353456\n"
            "UInt32 BE: 0xF000803F / 4026564671\n"
            "UInt64 LE: 0xBFE000003F8000F0 / 13826050857092776176\n"
            "UInt64 BE: 0xF000803F0000E0BF / 17293963577174057151\n"
            "Float32 LE: 1.0000286\n"
            "Float64 LE: -0.5000001182779936");
}

TEST(DetailReport, leavesOutWhatReachesBehindTheEnd) {
  const Bytes bytes = {0, 0, 0, 0, 0x00, 0x00, 0x80, 0x3F};
  EXPECT_EQ(detailReport(bytes, 4),
            "Offset: 0x00000004\nUInt8: 0\nInt8: 0\nHex: 0x00\n"
            "UInt16 LE: 0x0000 / 0\nUInt16 BE: 0x0000 / 0\n"
            "UInt32 LE: 0x3F800000 / 1065353216\nUInt32 BE: 0x0000803F / 32831\n"
            "Float32 LE: 1.0");
  EXPECT_EQ(detailReport(bytes, 5),
            "Offset: 0x00000005\nUInt8: 0\nInt8: 0\nHex: 0x00\n"
            "UInt16 LE: 0x8000 / 32768\nUInt16 BE: 0x0080 / 128");
  EXPECT_EQ(detailReport(bytes, 6),
            "Offset: 0x00000006\nUInt8: 128\nInt8: -128\nHex: 0x80\n"
            "UInt16 LE: 0x3F80 / 16256\nUInt16 BE: 0x803F / 32831");
  EXPECT_EQ(detailReport(bytes, 7), "Offset: 0x00000007\nUInt8: 63\nInt8: 63\nHex: 0x3F");
  EXPECT_EQ(detailReport(Bytes(7, 0), 0),
            "Offset: 0x00000000\nUInt8: 0\nInt8: 0\nHex: 0x00\n"
            "UInt16 LE: 0x0000 / 0\nUInt16 BE: 0x0000 / 0\n"
            "UInt32 LE: 0x00000000 / 0\nUInt32 BE: 0x00000000 / 0\nFloat32 LE: 0.0");
}

TEST(DetailReport, readsTheLargestIntegersWithoutASign) {
  const auto report = detailReport(Bytes(8, 0xFF), 0).value_or("absent");
  EXPECT_NE(report.find("UInt64 LE: 0xFFFFFFFFFFFFFFFF / 18446744073709551615\n"),
            std::string::npos);
  EXPECT_NE(report.find("UInt64 BE: 0xFFFFFFFFFFFFFFFF / 18446744073709551615\n"),
            std::string::npos);
  EXPECT_NE(report.find("\nFloat32 LE: nan\nFloat64 LE: nan"), std::string::npos);
}

TEST(DetailReport, isAbsentOutsideTheBytes) {
  EXPECT_EQ(detailReport(kBytes, 5), std::nullopt);
  EXPECT_EQ(detailReport(kBytes, -1), std::nullopt);
  EXPECT_EQ(detailReport(kBytes, std::numeric_limits<std::int64_t>::max()), std::nullopt);
  EXPECT_EQ(detailReport(kBytes, std::numeric_limits<std::int64_t>::min()), std::nullopt);
  EXPECT_EQ(detailReport({}, 0), std::nullopt);
}

// --- floating-point numbers ------------------------------------------------------------------

template <typename Float>
class FloatText : public testing::Test {};

using FloatTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(FloatText, FloatTypes);

TYPED_TEST(FloatText, alwaysHasAPointOrAnExponent) {
  EXPECT_EQ(floatText(TypeParam(1)), "1.0");
  EXPECT_EQ(floatText(TypeParam(-0.5)), "-0.5");
  EXPECT_EQ(floatText(TypeParam(0.1)), "0.1");
  EXPECT_EQ(floatText(TypeParam(100)), "100.0");
  EXPECT_EQ(floatText(TypeParam(-123456)), "-123456.0");
  EXPECT_EQ(floatText(TypeParam(1e20)), "1e+20");
  EXPECT_EQ(floatText(TypeParam(-1.5e20)), "-1.5e+20");
}

TYPED_TEST(FloatText, namesWhatIsNoFiniteNumber) {
  using Limits = std::numeric_limits<TypeParam>;
  EXPECT_EQ(floatText(Limits::infinity()), "inf");
  EXPECT_EQ(floatText(-Limits::infinity()), "-inf");
  EXPECT_EQ(floatText(Limits::quiet_NaN()), "nan");
  EXPECT_EQ(floatText(-Limits::quiet_NaN()), "nan");
  EXPECT_EQ(floatText(Limits::signaling_NaN()), "nan");
}

TYPED_TEST(FloatText, keepsTheSignOfZero) {
  EXPECT_EQ(floatText(TypeParam(0.0)), "0.0");
  EXPECT_EQ(floatText(TypeParam(-0.0)), "-0.0");
}

TYPED_TEST(FloatText, getsAnExponentBelowOneTenThousandth) {
  EXPECT_EQ(floatText(TypeParam(0.001)), "0.001");
  EXPECT_EQ(floatText(TypeParam(0.0001)), "0.0001");
  EXPECT_EQ(floatText(TypeParam(-0.0001)), "-0.0001");
  EXPECT_EQ(floatText(TypeParam(0.00001)), "1e-05");
  EXPECT_NE(floatText(std::nextafter(TypeParam(0.0001), TypeParam(0))).find("e-05"),
            std::string::npos);
}

TEST(Float32Text, readsNaNPayloadsAndLimits) {
  for (const std::uint32_t bits :
       {0x7F800001U, 0x7FFFFFFFU, 0x7FC12345U, 0xFF800001U, 0xFFFFFFFFU}) {
    EXPECT_EQ(floatText(std::bit_cast<float>(bits)), "nan") << bits;
  }
  EXPECT_EQ(floatText(std::numeric_limits<float>::max()), "3.4028235e+38");
  EXPECT_EQ(floatText(std::numeric_limits<float>::lowest()), "-3.4028235e+38");
  EXPECT_EQ(floatText(std::numeric_limits<float>::min()), "1.1754944e-38");
  EXPECT_EQ(floatText(std::numeric_limits<float>::denorm_min()), "1e-45");
  EXPECT_EQ(floatText(std::bit_cast<float>(0x007FFFFFU)), "1.1754942e-38");
  EXPECT_EQ(floatText(0.1F), "0.1");
  EXPECT_EQ(floatText(3.14159274F), "3.1415927");
}

TEST(Float32Text, isPlainBetweenOneTenThousandthAndTenQuadrillion) {
  EXPECT_EQ(floatText(16777218.0F), "16777218.0");
  EXPECT_EQ(floatText(-1e8F), "-100000000.0");
  EXPECT_EQ(floatText(1e15F), "1000000000000000.0");
  EXPECT_EQ(floatText(std::nextafter(1e16F, 0.0F)), "9999999000000000.0");
  EXPECT_EQ(floatText(1e16F), "1e+16");
  EXPECT_EQ(floatText(1e-4F), "0.0001");
  EXPECT_EQ(floatText(std::nextafter(1e-4F, 0.0F)), "9.999999e-05");
}

TEST(Float64Text, readsNaNPayloadsAndLimits) {
  for (const std::uint64_t bits : {0x7FF0000000000001U, 0x7FFFFFFFFFFFFFFFU, 0x7FF8000012345678U,
                                   0xFFF0000000000001U, 0xFFFFFFFFFFFFFFFFU}) {
    EXPECT_EQ(floatText(std::bit_cast<double>(bits)), "nan") << bits;
  }
  EXPECT_EQ(floatText(std::numeric_limits<double>::max()), "1.7976931348623157e+308");
  EXPECT_EQ(floatText(std::numeric_limits<double>::lowest()), "-1.7976931348623157e+308");
  EXPECT_EQ(floatText(std::numeric_limits<double>::min()), "2.2250738585072014e-308");
  EXPECT_EQ(floatText(std::numeric_limits<double>::denorm_min()), "5e-324");
  EXPECT_EQ(floatText(0.1 + 0.2), "0.30000000000000004");
  EXPECT_EQ(floatText(16777218.0), "16777218.0");
}

TEST(Float64Text, isPlainBetweenOneTenThousandthAndTenQuadrillion) {
  EXPECT_EQ(floatText(9007199254740992.0), "9007199254740992.0");
  EXPECT_EQ(floatText(9007199254740994.0), "9007199254740994.0");
  EXPECT_EQ(floatText(9.999e15), "9999000000000000.0");
  EXPECT_EQ(floatText(9999999999999998.0), "9999999999999998.0");
  EXPECT_EQ(floatText(1e16), "1e+16");
  EXPECT_EQ(floatText(-1e16), "-1e+16");
  EXPECT_EQ(floatText(1e-4), "0.0001");
  EXPECT_EQ(floatText(0.00012345), "0.00012345");
  EXPECT_EQ(floatText(std::nextafter(1e-4, 0.0)), "9.999999999999999e-05");
  EXPECT_EQ(floatText(123.456), "123.456");
}

float readBack(const std::string& text, float) {
  return std::strtof(text.c_str(), nullptr);
}

double readBack(const std::string& text, double) {
  return std::strtod(text.c_str(), nullptr);
}

/// The least number of digits with which `value` can be printed and read back.
template <typename Float>
std::size_t leastDigits(Float value) {
  std::array<char, 64> text;
  for (int digits = 1;; ++digits) {
    std::snprintf(text.data(), text.size(), "%.*e", digits - 1, static_cast<double>(value));
    if (readBack(text.data(), value) == value) return static_cast<std::size_t>(digits);
  }
}

/// The digits in `text` from the first to the last that is not 0.
std::size_t significantDigits(const std::string& text) {
  std::string digits;
  for (const char c : text.substr(0, text.find('e'))) {
    if (c >= '0' && c <= '9') digits += c;
  }
  const std::size_t first = digits.find_first_not_of('0');
  return first == std::string::npos ? 1 : digits.find_last_not_of('0') - first + 1;
}

template <typename Float>
void expectShortest(Float value) {
  const std::string text = floatText(value);
  ASSERT_EQ(readBack(text, value), value) << text;
  ASSERT_EQ(std::signbit(readBack(text, value)), std::signbit(value)) << text;
  ASSERT_LE(significantDigits(text), leastDigits(value)) << text;
  ASSERT_NE(text.find_first_of(".e"), std::string::npos) << text;
}

TEST(FloatTexts, areTheShortestThatReadBack) {
  constexpr std::uint64_t kSeed = 754;
  std::mt19937_64 random(kSeed);
  for (int i = 0; i < 20'000; ++i) {
    const std::uint64_t bits = random();
    const auto narrow = std::bit_cast<float>(static_cast<std::uint32_t>(bits));
    const auto wide = std::bit_cast<double>(bits);
    SCOPED_TRACE("seed " + std::to_string(kSeed) + ", number " + std::to_string(i));
    if (std::isfinite(narrow)) {
      ASSERT_NO_FATAL_FAILURE(expectShortest(narrow));
    }
    if (std::isfinite(wide)) {
      ASSERT_NO_FATAL_FAILURE(expectShortest(wide));
    }
    // Most random bits have large exponents; these have a point in the middle.
    ASSERT_NO_FATAL_FAILURE(expectShortest(static_cast<double>(bits >> 11) / 65536.0));
    ASSERT_NO_FATAL_FAILURE(expectShortest(static_cast<float>(bits >> 44) / 1000.0F));
  }
}

}  // namespace
}  // namespace quillmor
