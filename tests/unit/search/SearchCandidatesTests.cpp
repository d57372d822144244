#include "search/SearchCandidates.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdio>
#include <random>
#include <string>

#include "search/typed/TypedInput.h"

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Candidates = std::vector<SearchCandidate>;
using SearchCandidateKind::Floating;
using SearchCandidateKind::Integer;
using SearchCandidateKind::Raw;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr auto kLittle = Endianness::little;
constexpr auto kBig = Endianness::big;
constexpr bool kSigned = true;
constexpr bool kUnsigned = false;
constexpr auto kScalarLimit = static_cast<std::size_t>(maxTextInputCharacters);

Candidates found(SearchMode mode, std::string text,
                 SearchTextEncoding encoding = SearchTextEncoding::editor) {
  return candidates({.mode = mode, .searchText = std::move(text), .textEncoding = encoding});
}

Candidates integers(std::string text) {
  return found(SearchMode::integerNumber, std::move(text));
}

Candidates floats(std::string text) {
  return found(SearchMode::floatingPointNumber, std::move(text));
}

SearchCandidate integer(Bytes bytes, bool isSigned, Endianness endianness) {
  const int width = static_cast<int>(bytes.size());
  return {.bytes = std::move(bytes), .kind = Integer{width, isSigned, endianness}};
}

SearchCandidate floating(Bytes bytes, Endianness endianness) {
  const int width = static_cast<int>(bytes.size());
  return {.bytes = std::move(bytes), .kind = Floating{width, endianness}};
}

SearchCandidate raw(Bytes bytes) {
  return {.bytes = std::move(bytes), .kind = Raw{}};
}

std::string repeated(std::string_view piece, std::size_t count) {
  std::string text;
  text.reserve(piece.size() * count);
  for (std::size_t i = 0; i < count; ++i) text += piece;
  return text;
}

// --- text -----------------------------------------------------------------------------------

TEST(TextCandidates, areTheTextAsTyped) {
  EXPECT_THAT(found(SearchMode::textString, "ab"), ElementsAre(raw({'a', 'b'})));
  EXPECT_THAT(found(SearchMode::textString, " a\n"), ElementsAre(raw({' ', 'a', '\n'})));
  EXPECT_THAT(found(SearchMode::textString, " "), ElementsAre(raw({' '})));
  EXPECT_THAT(found(SearchMode::textString, ""), IsEmpty());
}

TEST(TextCandidates, areInTheEncodingAskedFor) {
  const std::string text = "a\U0001F600";
  EXPECT_THAT(found(SearchMode::textString, text, SearchTextEncoding::utf8),
              ElementsAre(raw({'a', 0xF0, 0x9F, 0x98, 0x80})));
  EXPECT_THAT(found(SearchMode::textString, text, SearchTextEncoding::utf16LittleEndian),
              ElementsAre(raw({'a', 0, 0x3D, 0xD8, 0x00, 0xDE})));
  EXPECT_THAT(found(SearchMode::textString, text, SearchTextEncoding::utf16BigEndian),
              ElementsAre(raw({0, 'a', 0xD8, 0x3D, 0xDE, 0x00})));
}

TEST(TextCandidates, areNoneWhenTheEncodingCannotExpressTheText) {
  EXPECT_THAT(found(SearchMode::textString, "plain", SearchTextEncoding::ascii), SizeIs(1));
  EXPECT_THAT(found(SearchMode::textString, "na\u00EFve", SearchTextEncoding::ascii), IsEmpty());
  EXPECT_THAT(found(SearchMode::textString, "\xFF"), IsEmpty());
}

TEST(TextCandidates, areOfAtMostTheLimitOfScalars) {
  ASSERT_EQ(maxTextInputCharacters, 4'194'304);
  for (const std::string piece : {"a", "\u00E4", "\u20AC", "\U0001F600"}) {
    std::string text = repeated(piece, kScalarLimit - 1);
    EXPECT_THAT(found(SearchMode::textString, text), SizeIs(1)) << piece;
    text += piece;
    ASSERT_THAT(found(SearchMode::textString, text), SizeIs(1)) << piece;
    EXPECT_EQ(found(SearchMode::textString, text)[0].bytes.size(), text.size());
    text += piece;
    EXPECT_THAT(found(SearchMode::textString, text), IsEmpty()) << piece;
  }
}

// --- hexadecimal values ---------------------------------------------------------------------

TEST(HexCandidates, areTheBytesOfTheList) {
  EXPECT_THAT(found(SearchMode::hexValues, "41 41"), ElementsAre(raw({0x41, 0x41})));
  EXPECT_THAT(found(SearchMode::hexValues, " \n0xDEAD\u3000"), ElementsAre(raw({0xDE, 0xAD})));
  EXPECT_THAT(found(SearchMode::hexValues, "A"), ElementsAre(raw({0x0A})));
}

TEST(HexCandidates, areNoneForAnythingElse) {
  for (const char* text : {"", "  \n", "ABC", "GG", ",;", "41 4x", "0x"}) {
    EXPECT_THAT(found(SearchMode::hexValues, text), IsEmpty()) << text;
  }
}

TEST(HexCandidates, areOfAtMostTheLimitOfScalars) {
  EXPECT_THAT(found(SearchMode::hexValues, repeated("A", kScalarLimit)), SizeIs(1));
  EXPECT_THAT(found(SearchMode::hexValues, repeated("A", kScalarLimit + 2)), IsEmpty());
  EXPECT_THAT(found(SearchMode::hexValues, repeated("AA", kScalarLimit / 2 - 1) + ",A"), SizeIs(1));
  EXPECT_THAT(found(SearchMode::hexValues, repeated("AA", kScalarLimit / 2) + ",A"), IsEmpty());
  // Scalars are counted, not bytes, and the white space around counts for nothing.
  const std::string spaces = repeated("\u3000", kScalarLimit - 2);
  EXPECT_THAT(found(SearchMode::hexValues, "A" + spaces + "B"), ElementsAre(raw({0x0A, 0x0B})));
  EXPECT_THAT(found(SearchMode::hexValues, "A" + spaces + " B"), IsEmpty());
  EXPECT_THAT(found(SearchMode::hexValues, spaces + " \n A"), ElementsAre(raw({0x0A})));
}

// --- integers -------------------------------------------------------------------------------

TEST(IntegerSearch, findsZeroOnceInEachWidth) {
  EXPECT_THAT(
      integers("0"),
      ElementsAre(integer(Bytes(8, 0), kSigned, kLittle), integer(Bytes(4, 0), kSigned, kLittle),
                  integer(Bytes(2, 0), kSigned, kLittle), integer(Bytes(1, 0), kSigned, kLittle)));
}

TEST(IntegerSearch, findsOneInSevenForms) {
  EXPECT_THAT(integers("1"),
              ElementsAre(integer({0, 0, 0, 0, 0, 0, 0, 1}, kSigned, kBig),
                          integer({1, 0, 0, 0, 0, 0, 0, 0}, kSigned, kLittle),
                          integer({0, 0, 0, 1}, kSigned, kBig),
                          integer({1, 0, 0, 0}, kSigned, kLittle), integer({0, 1}, kSigned, kBig),
                          integer({1, 0}, kSigned, kLittle), integer({1}, kSigned, kLittle)));
}

TEST(IntegerSearch, findsNegativeNumbersSignedOnly) {
  EXPECT_THAT(integers("-1"), ElementsAre(integer(Bytes(8, 0xFF), kSigned, kLittle),
                                          integer(Bytes(4, 0xFF), kSigned, kLittle),
                                          integer(Bytes(2, 0xFF), kSigned, kLittle),
                                          integer(Bytes(1, 0xFF), kSigned, kLittle)));
  for (const auto& candidate : integerCandidates(*parseSearchInteger("-1"))) {
    EXPECT_TRUE(std::get<Integer>(candidate.kind).isSigned);
  }
}

TEST(IntegerSearch, findsAByteThatFitsOnlyUnsigned) {
  EXPECT_THAT(
      integers("255"),
      ElementsAre(integer({0, 0, 0, 0, 0, 0, 0, 0xFF}, kSigned, kBig),
                  integer({0xFF, 0, 0, 0, 0, 0, 0, 0}, kSigned, kLittle),
                  integer({0, 0, 0, 0xFF}, kSigned, kBig),
                  integer({0xFF, 0, 0, 0}, kSigned, kLittle), integer({0, 0xFF}, kSigned, kBig),
                  integer({0xFF, 0}, kSigned, kLittle), integer({0xFF}, kUnsigned, kLittle)));
}

TEST(IntegerSearch, leavesOutWidthsThatDoNotHoldTheValue) {
  EXPECT_THAT(
      integers("256"),
      ElementsAre(integer({0, 0, 0, 0, 0, 0, 1, 0}, kSigned, kBig),
                  integer({0, 1, 0, 0, 0, 0, 0, 0}, kSigned, kLittle),
                  integer({0, 0, 1, 0}, kSigned, kBig), integer({0, 1, 0, 0}, kSigned, kLittle),
                  integer({0, 1}, kSigned, kLittle), integer({1, 0}, kSigned, kBig)));
}

TEST(IntegerSearch, findsTheEndsOfASignedByte) {
  EXPECT_THAT(
      integers("-128"),
      ElementsAre(integer({0x80, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, kSigned, kLittle),
                  integer({0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x80}, kSigned, kBig),
                  integer({0x80, 0xFF, 0xFF, 0xFF}, kSigned, kLittle),
                  integer({0xFF, 0xFF, 0xFF, 0x80}, kSigned, kBig),
                  integer({0x80, 0xFF}, kSigned, kLittle), integer({0xFF, 0x80}, kSigned, kBig),
                  integer({0x80}, kSigned, kLittle)));
  EXPECT_THAT(
      integers("-129"),
      ElementsAre(integer({0x7F, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, kSigned, kLittle),
                  integer({0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F}, kSigned, kBig),
                  integer({0x7F, 0xFF, 0xFF, 0xFF}, kSigned, kLittle),
                  integer({0xFF, 0xFF, 0xFF, 0x7F}, kSigned, kBig),
                  integer({0x7F, 0xFF}, kSigned, kLittle), integer({0xFF, 0x7F}, kSigned, kBig)));
}

TEST(IntegerSearch, findsTwoTo31UnsignedInFourBytes) {
  EXPECT_THAT(integers("2147483648"),
              ElementsAre(integer({0, 0, 0, 0, 0x80, 0, 0, 0}, kSigned, kBig),
                          integer({0, 0, 0, 0x80, 0, 0, 0, 0}, kSigned, kLittle),
                          integer({0, 0, 0, 0x80}, kUnsigned, kLittle),
                          integer({0x80, 0, 0, 0}, kUnsigned, kBig)));
}

TEST(IntegerSearch, findsTheGreatestSignedNumberSigned) {
  EXPECT_THAT(
      integers("9223372036854775807"),
      ElementsAre(integer({0x7F, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, kSigned, kBig),
                  integer({0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F}, kSigned, kLittle)));
}

TEST(IntegerSearch, findsGreaterNumbersUnsignedInEightBytes) {
  for (const char* text : {"9223372036854775808", "0x8000000000000000", "8000000000000000h"}) {
    EXPECT_THAT(integers(text),
                ElementsAre(integer({0, 0, 0, 0, 0, 0, 0, 0x80}, kUnsigned, kLittle),
                            integer({0x80, 0, 0, 0, 0, 0, 0, 0}, kUnsigned, kBig)))
        << text;
  }
  for (const char* text : {"18446744073709551615", "0xFFFFFFFFFFFFFFFF"}) {
    EXPECT_THAT(integers(text), ElementsAre(integer(Bytes(8, 0xFF), kUnsigned, kLittle))) << text;
  }
  EXPECT_THAT(
      integers("fffffffffffffffeh"),
      ElementsAre(integer({0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, kUnsigned, kLittle),
                  integer({0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE}, kUnsigned, kBig)));
  EXPECT_THAT(integers("18446744073709551616"), IsEmpty());
}

TEST(IntegerSearch, readsTheFormsOfAnOffset) {
  EXPECT_EQ(integers("0x10"), integers("16"));
  EXPECT_EQ(integers("10h"), integers("16"));
  EXPECT_EQ(integers("1F"), integers("31"));
  EXPECT_EQ(integers(" \u00A01F\n"), integers("31"));
  EXPECT_THAT(integers("16"), SizeIs(7));
  for (const char* text : {"1FH", "", " \n", "1.5", "0x", "1 2"}) {
    EXPECT_THAT(integers(text), IsEmpty()) << text;
  }
}

TEST(IntegerSearch, takesAtMostTheLimitOfScalars) {
  EXPECT_EQ(integers(repeated("0", kScalarLimit - 1) + "7"), integers("7"));
  EXPECT_THAT(integers(repeated("0", kScalarLimit) + "7"), IsEmpty());
  EXPECT_EQ(integers(" " + repeated("0", kScalarLimit - 1) + "7\u3000"), integers("7"));
}

TEST(IntegerCandidates, comeInTheOrderOfWidthsSignsAndByteOrders) {
  std::vector<Integer> expected;
  for (const int width : {1, 2, 4, 8}) {
    expected.insert(expected.end(), {{width, kSigned, kLittle},
                                     {width, kSigned, kBig},
                                     {width, kUnsigned, kLittle},
                                     {width, kUnsigned, kBig}});
  }
  std::vector<Integer> kinds;
  for (const auto& candidate : integerCandidates({.bits = 1, .isUnsigned = false})) {
    kinds.push_back(std::get<Integer>(candidate.kind));
  }
  EXPECT_EQ(kinds, expected);
}

TEST(IntegerCandidates, areUnsignedOnlyForUnsignedValues) {
  constexpr std::uint64_t kTwoTo63 = std::uint64_t{1} << 63;
  EXPECT_THAT(integerCandidates({.bits = kTwoTo63, .isUnsigned = true}),
              ElementsAre(integer({0, 0, 0, 0, 0, 0, 0, 0x80}, kUnsigned, kLittle),
                          integer({0x80, 0, 0, 0, 0, 0, 0, 0}, kUnsigned, kBig)));
}

/// The list made by trying every sequence of every width on the value, digit by digit.
Candidates obviousIntegerCandidates(__int128 value) {
  Candidates list;
  for (const int width : {1, 2, 4, 8}) {
    const __int128 modulus = static_cast<__int128>(1) << (8 * width);
    for (const bool isSigned : {true, false}) {
      const __int128 low = isSigned ? -modulus / 2 : 0;
      const __int128 high = isSigned ? modulus / 2 : modulus;
      if (value < low || value >= high) continue;
      Bytes bytes;
      __int128 rest = value < 0 ? value + modulus : value;
      for (int i = 0; i < width; ++i, rest /= 256) {
        bytes.push_back(static_cast<std::uint8_t>(rest % 256));
      }
      list.push_back(integer(bytes, isSigned, kLittle));
      list.push_back(integer(Bytes(bytes.rbegin(), bytes.rend()), isSigned, kBig));
    }
  }
  return list;
}

Candidates obviouslyUnique(const Candidates& list) {
  Candidates kept;
  for (const auto& candidate : list) {
    const auto isSame = [&](const auto& other) { return other.bytes == candidate.bytes; };
    if (std::none_of(kept.begin(), kept.end(), isSame)) kept.push_back(candidate);
  }
  std::stable_sort(kept.begin(), kept.end(), [](const auto& a, const auto& b) {
    if (a.bytes.size() != b.bytes.size()) return a.bytes.size() > b.bytes.size();
    return std::lexicographical_compare(a.bytes.begin(), a.bytes.end(), b.bytes.begin(),
                                        b.bytes.end());
  });
  return kept;
}

std::string decimal(__int128 value) {
  return value < 0 ? std::to_string(static_cast<std::int64_t>(value))
                   : std::to_string(static_cast<std::uint64_t>(value));
}

TEST(IntegerSearch, agreesWithTheObviousListOnRandomNumbers) {
  constexpr unsigned kSeed = 20240613;
  SCOPED_TRACE(testing::Message() << "seed " << kSeed);
  std::mt19937_64 random(kSeed);
  for (int i = 0; i < 20'000; ++i) {
    const std::uint64_t magnitude = random() >> (random() % 64);
    __int128 value = magnitude;
    if (random() % 2 == 0 && magnitude <= std::uint64_t{1} << 63) value = -value;
    const std::string text = decimal(value);
    ASSERT_EQ(integers(text), obviouslyUnique(obviousIntegerCandidates(value))) << text;
  }
}

// --- floating-point numbers -----------------------------------------------------------------

TEST(FloatSearch, findsBothWidthsInBothByteOrders) {
  EXPECT_THAT(floats("1.5"), ElementsAre(floating({0, 0, 0, 0, 0, 0, 0xF8, 0x3F}, kLittle),
                                         floating({0x3F, 0xF8, 0, 0, 0, 0, 0, 0}, kBig),
                                         floating({0, 0, 0xC0, 0x3F}, kLittle),
                                         floating({0x3F, 0xC0, 0, 0}, kBig)));
  EXPECT_EQ(floats("0x1.8p0"), floats("1.5"));
  EXPECT_EQ(floats("0x1.8p1"), floats("3"));
}

TEST(FloatSearch, findsZeroOnceInEachWidth) {
  EXPECT_THAT(floats("0"),
              ElementsAre(floating(Bytes(8, 0), kLittle), floating(Bytes(4, 0), kLittle)));
  EXPECT_THAT(floats("-0.0"),
              ElementsAre(floating({0, 0, 0, 0, 0, 0, 0, 0x80}, kLittle),
                          floating({0x80, 0, 0, 0, 0, 0, 0, 0}, kBig),
                          floating({0, 0, 0, 0x80}, kLittle), floating({0x80, 0, 0, 0}, kBig)));
}

TEST(FloatSearch, leavesOutFourBytesBeyondTheirRange) {
  EXPECT_THAT(floats("1e300"),
              ElementsAre(floating({0x7E, 0x37, 0xE4, 0x3C, 0x88, 0x00, 0x75, 0x9C}, kBig),
                          floating({0x9C, 0x75, 0x00, 0x88, 0x3C, 0xE4, 0x37, 0x7E}, kLittle)));
  EXPECT_THAT(floats("1e39"), SizeIs(2));
  EXPECT_THAT(floats("3.4028235e38"), SizeIs(4));
}

TEST(FloatSearch, roundsTinyNumbersToZeroInFourBytes) {
  const auto list = floats("1e-46");
  ASSERT_THAT(list, SizeIs(3));
  EXPECT_EQ(list[2], floating(Bytes(4, 0), kLittle));
}

TEST(FloatSearch, findsNothingForInfinitiesNaNsAndOtherText) {
  for (const char* text :
       {"inf", "nan", "infinity", "-inf", "nan(1)", "1e400", "1,5", "1e5x", "", " ", "1 2", "x"}) {
    EXPECT_THAT(floats(text), IsEmpty()) << text;
  }
}

TEST(FloatSearch, ignoresWhiteSpaceAround) {
  EXPECT_EQ(floats(" 1"), floats("1"));
  EXPECT_EQ(floats("1 "), floats("1"));
  EXPECT_EQ(floats("\u00A01\n"), floats("1"));
  EXPECT_THAT(floats("1"), SizeIs(4));
}

TEST(FloatSearch, takesAtMostTheLimitOfScalars) {
  EXPECT_EQ(floats(repeated("0", kScalarLimit - 1) + "7"), floats("7"));
  EXPECT_THAT(floats(repeated("0", kScalarLimit) + "7"), IsEmpty());
  EXPECT_EQ(floats(" " + repeated("0", kScalarLimit - 1) + "7\u3000"), floats("7"));
}

TEST(FloatCandidates, comeInTheOrderOfWidthsAndByteOrders) {
  EXPECT_THAT(floatCandidates(1.5),
              ElementsAre(floating({0, 0, 0xC0, 0x3F}, kLittle), floating({0x3F, 0xC0, 0, 0}, kBig),
                          floating({0, 0, 0, 0, 0, 0, 0xF8, 0x3F}, kLittle),
                          floating({0x3F, 0xF8, 0, 0, 0, 0, 0, 0}, kBig)));
}

TEST(FloatSearch, findsEveryNumberItPrints) {
  constexpr unsigned kSeed = 20240614;
  SCOPED_TRACE(testing::Message() << "seed " << kSeed);
  std::mt19937_64 random(kSeed);
  for (int i = 0; i < 20'000; ++i) {
    const std::uint64_t bits = random();
    const auto value = std::bit_cast<double>(bits);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), i % 2 == 0 ? "%.17g" : "%a", value);
    const auto list = floats(text.data());
    if (!std::isfinite(value)) {
      ASSERT_THAT(list, IsEmpty()) << text.data();
      continue;
    }
    ASSERT_THAT(list, testing::Contains(floating(rawIntegerBytes(bits, 8, kLittle), kLittle)));
    ASSERT_EQ(list.size() > 2, std::isfinite(static_cast<float>(value))) << text.data();
  }
}

// --- order ----------------------------------------------------------------------------------

TEST(UniqueCandidates, keepTheFirstKindOfEachByteSequence) {
  EXPECT_THAT(uniqueCandidates({integer({7}, kUnsigned, kBig), integer({7}, kSigned, kLittle),
                                raw({7}), raw({7, 7})}),
              ElementsAre(raw({7, 7}), integer({7}, kUnsigned, kBig)));
  EXPECT_THAT(uniqueCandidates({}), IsEmpty());
}

TEST(UniqueCandidates, sortLongerOnesFirstThenByTheirBytes) {
  EXPECT_THAT(uniqueCandidates({raw({1}), raw({2, 0}), raw({0x80}), raw({0, 9, 9}), raw({1, 0xFF}),
                                raw({0xFF}), raw({0})}),
              ElementsAre(raw({0, 9, 9}), raw({1, 0xFF}), raw({2, 0}), raw({0}), raw({1}),
                          raw({0x80}), raw({0xFF})));
}

TEST(UniqueCandidates, agreeWithTheObviousWalkOnRandomLists) {
  constexpr unsigned kSeed = 20240615;
  SCOPED_TRACE(testing::Message() << "seed " << kSeed);
  std::mt19937_64 random(kSeed);
  for (int i = 0; i < 5'000; ++i) {
    Candidates list;
    for (auto left = random() % 60; left > 0; --left) {
      Bytes bytes(1 + random() % 3);
      for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random() % 3 * 0x7F);
      // The kind tells which of equal sequences was kept.
      list.push_back({.bytes = bytes, .kind = Integer{static_cast<int>(left), kSigned, kBig}});
    }
    ASSERT_EQ(uniqueCandidates(list), obviouslyUnique(list));
  }
}

}  // namespace
}  // namespace quillmor
