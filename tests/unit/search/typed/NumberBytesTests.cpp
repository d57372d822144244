#include "search/typed/NumberBytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;
using testing::Optional;

constexpr auto kNone = std::nullopt;
constexpr auto kLittle = Endianness::little;
constexpr auto kBig = Endianness::big;
constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
constexpr std::uint64_t kUnsignedMax = std::numeric_limits<std::uint64_t>::max();

TEST(IntegerBytes, putsTheLeastSignificantByteFirstOrLast) {
  EXPECT_THAT(integerBytes(0x12345678, 4, true, kLittle), Optional(Bytes{0x78, 0x56, 0x34, 0x12}));
  EXPECT_THAT(integerBytes(0x12345678, 4, true, kBig), Optional(Bytes{0x12, 0x34, 0x56, 0x78}));
  EXPECT_THAT(integerBytes(1, 8, false, kBig), Optional(Bytes{0, 0, 0, 0, 0, 0, 0, 1}));
  EXPECT_THAT(integerBytes(std::uint64_t{0xABCD}, 2, kLittle), Optional(Bytes{0xCD, 0xAB}));
}

TEST(IntegerBytes, writesNegativeNumbersInTwosComplement) {
  EXPECT_THAT(integerBytes(-1, 1, true, kLittle), Optional(Bytes{0xFF}));
  EXPECT_THAT(integerBytes(-2, 2, true, kBig), Optional(Bytes{0xFF, 0xFE}));
  EXPECT_THAT(integerBytes(kMin, 8, true, kBig), Optional(Bytes{0x80, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(IntegerBytes, holdsSignedValuesUpToTheEndsOfEachWidth) {
  for (const int width : {1, 2, 4}) {
    const std::int64_t end = std::int64_t{1} << (8 * width - 1);
    EXPECT_NE(integerBytes(end - 1, width, true, kLittle), kNone) << width;
    EXPECT_EQ(integerBytes(end, width, true, kLittle), kNone) << width;
    EXPECT_NE(integerBytes(-end, width, true, kLittle), kNone) << width;
    EXPECT_EQ(integerBytes(-end - 1, width, true, kLittle), kNone) << width;
    EXPECT_EQ(integerBytes(kMax, width, true, kLittle), kNone) << width;
    EXPECT_EQ(integerBytes(kMin, width, true, kLittle), kNone) << width;
  }
  EXPECT_NE(integerBytes(kMax, 8, true, kLittle), kNone);
  EXPECT_NE(integerBytes(kMin, 8, true, kLittle), kNone);
}

TEST(IntegerBytes, holdsUnsignedValuesUpToTheEndsOfEachWidth) {
  for (const int width : {1, 2, 4}) {
    const std::int64_t end = std::int64_t{1} << (8 * width);
    EXPECT_NE(integerBytes(end - 1, width, false, kBig), kNone) << width;
    EXPECT_EQ(integerBytes(end, width, false, kBig), kNone) << width;
    EXPECT_NE(integerBytes(static_cast<std::uint64_t>(end) - 1, width, kBig), kNone) << width;
    EXPECT_EQ(integerBytes(static_cast<std::uint64_t>(end), width, kBig), kNone) << width;
    EXPECT_EQ(integerBytes(kUnsignedMax, width, kBig), kNone) << width;
  }
  EXPECT_NE(integerBytes(kMax, 8, false, kBig), kNone);
  EXPECT_THAT(integerBytes(kUnsignedMax, 8, kBig), Optional(Bytes(8, 0xFF)));
}

TEST(IntegerBytes, holdsNoNegativeValueUnsigned) {
  for (const int width : {1, 2, 4, 8}) {
    EXPECT_EQ(integerBytes(-1, width, false, kLittle), kNone) << width;
    EXPECT_EQ(integerBytes(kMin, width, false, kLittle), kNone) << width;
    EXPECT_THAT(integerBytes(0, width, false, kLittle), Optional(Bytes(std::size_t(width), 0)));
  }
}

TEST(RawIntegerBytes, keepsTheLowBytes) {
  constexpr std::uint64_t kBits = 0x0123456789ABCDEF;
  EXPECT_EQ(rawIntegerBytes(kBits, 1, kBig), (Bytes{0xEF}));
  EXPECT_EQ(rawIntegerBytes(kBits, 2, kBig), (Bytes{0xCD, 0xEF}));
  EXPECT_EQ(rawIntegerBytes(kBits, 4, kLittle), (Bytes{0xEF, 0xCD, 0xAB, 0x89}));
  EXPECT_EQ(rawIntegerBytes(kBits, 8, kBig),
            (Bytes{0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF}));
}

/// The number the bytes hold, put together one digit of base 256 after the other.
__int128 decoded(Bytes bytes, bool isSigned, Endianness endianness) {
  if (endianness == kLittle) std::reverse(bytes.begin(), bytes.end());
  __int128 value = 0;
  for (const auto byte : bytes) value = value * 256 + byte;
  const __int128 modulus = static_cast<__int128>(1) << (8 * bytes.size());
  return isSigned && value >= modulus / 2 ? value - modulus : value;
}

TEST(IntegerBytes, decodeBackToTheValueExactlyWhenItFits) {
  constexpr unsigned kSeed = 20240612;
  SCOPED_TRACE(testing::Message() << "seed " << kSeed);
  std::mt19937_64 random(kSeed);
  for (int i = 0; i < 50'000; ++i) {
    const auto value = static_cast<std::int64_t>(random()) >> (random() % 64);
    const int width = 1 << (random() % 4);
    const bool isSigned = random() % 2 == 0;
    const Endianness endianness = random() % 2 == 0 ? kLittle : kBig;
    const __int128 modulus = static_cast<__int128>(1) << (8 * width);
    const bool fits =
        isSigned ? value >= -modulus / 2 && value < modulus / 2 : value >= 0 && value < modulus;
    const auto bytes = integerBytes(value, width, isSigned, endianness);
    ASSERT_EQ(bytes.has_value(), fits) << value << " in " << width;
    if (!bytes) continue;
    ASSERT_EQ(bytes->size(), static_cast<std::size_t>(width));
    ASSERT_TRUE(decoded(*bytes, isSigned, endianness) == value) << value << " in " << width;
  }
}

TEST(FloatBytes, writesTheIeeeFormats) {
  EXPECT_THAT(floatBytes(1.5, 4, kBig), Optional(Bytes{0x3F, 0xC0, 0, 0}));
  EXPECT_THAT(floatBytes(1.5, 4, kLittle), Optional(Bytes{0, 0, 0xC0, 0x3F}));
  EXPECT_THAT(floatBytes(1.5, 8, kBig), Optional(Bytes{0x3F, 0xF8, 0, 0, 0, 0, 0, 0}));
  EXPECT_THAT(floatBytes(1.5, 8, kLittle), Optional(Bytes{0, 0, 0, 0, 0, 0, 0xF8, 0x3F}));
  EXPECT_THAT(floatBytes(-0.0, 4, kBig), Optional(Bytes{0x80, 0, 0, 0}));
}

TEST(FloatBytes, roundsToSinglePrecision) {
  EXPECT_THAT(floatBytes(0.1, 4, kBig), Optional(Bytes{0x3D, 0xCC, 0xCC, 0xCD}));
  EXPECT_THAT(floatBytes(1e-46, 4, kBig), Optional(Bytes{0, 0, 0, 0}));
  EXPECT_THAT(floatBytes(1e-45, 4, kBig), Optional(Bytes{0, 0, 0, 1}));
}

TEST(FloatBytes, holdsWhatRoundsToAFiniteNumber) {
  const double greatest = std::numeric_limits<float>::max();
  const double overflow = 0x1.ffffffp127;  // half way to the power of two that is out of range
  EXPECT_THAT(floatBytes(greatest, 4, kBig), Optional(Bytes{0x7F, 0x7F, 0xFF, 0xFF}));
  EXPECT_THAT(floatBytes(std::nextafter(overflow, 0.0), 4, kBig),
              Optional(Bytes{0x7F, 0x7F, 0xFF, 0xFF}));
  EXPECT_EQ(floatBytes(overflow, 4, kBig), kNone);
  EXPECT_EQ(floatBytes(-overflow, 4, kBig), kNone);
  EXPECT_NE(floatBytes(overflow, 8, kBig), kNone);
}

TEST(FloatBytes, holdsNoInfinityAndNoNaN) {
  for (const int width : {4, 8}) {
    EXPECT_EQ(floatBytes(std::numeric_limits<double>::infinity(), width, kLittle), kNone);
    EXPECT_EQ(floatBytes(-std::numeric_limits<double>::infinity(), width, kLittle), kNone);
    EXPECT_EQ(floatBytes(std::numeric_limits<double>::quiet_NaN(), width, kLittle), kNone);
  }
}

TEST(NumberBytesDeathTest, stopsAtWidthsThatDoNotExist) {
  EXPECT_DEATH(integerBytes(0, 3, true, kLittle), "1, 2, 4 or 8");
  EXPECT_DEATH(integerBytes(std::uint64_t{0}, 16, kLittle), "1, 2, 4 or 8");
  EXPECT_DEATH(rawIntegerBytes(0, 0, kLittle), "1, 2, 4 or 8");
  EXPECT_DEATH(floatBytes(0, 2, kLittle), "4 or 8");
}

}  // namespace
}  // namespace quillmor
