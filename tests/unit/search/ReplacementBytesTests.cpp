#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include <string>

#include "search/Replacing.h"
#include "search/SearchCandidates.h"
#include "search/typed/TypedInput.h"
#include "support/SearchFixture.h"

namespace quillmor {
namespace {

using test::SearchBytes;
using test::searchBytes;
using namespace SearchCandidateKind;

SearchRequest replacing(SearchMode mode, std::string text) {
  return {.mode = mode, .replaceText = std::move(text)};
}

std::optional<SearchBytes> integer(std::string text, Integer kind) {
  return replacementBytes(replacing(SearchMode::integerNumber, std::move(text)), {{1}, kind});
}

std::optional<SearchBytes> floating(std::string text, Floating kind) {
  return replacementBytes(replacing(SearchMode::floatingPointNumber, std::move(text)), {{1}, kind});
}

std::optional<SearchBytes> hex(std::string text) {
  return replacementBytes(replacing(SearchMode::hexValues, std::move(text)), {{1}, Raw()});
}

std::optional<SearchBytes> plain(std::string text,
                                 SearchTextEncoding encoding = SearchTextEncoding::editor) {
  SearchRequest request = replacing(SearchMode::textString, std::move(text));
  request.textEncoding = encoding;
  return replacementBytes(request, {{1}, Raw()});
}

TEST(IntegerReplacement, keepsWidthAndByteOrderOfTheMatch) {
  EXPECT_EQ(integer("2", {1, true, Endianness::little}), (SearchBytes{2}));
  EXPECT_EQ(integer("2", {2, true, Endianness::little}), (SearchBytes{2, 0}));
  EXPECT_EQ(integer("2", {2, true, Endianness::big}), (SearchBytes{0, 2}));
  EXPECT_EQ(integer("2", {4, true, Endianness::little}), (SearchBytes{2, 0, 0, 0}));
  EXPECT_EQ(integer("2", {4, false, Endianness::big}), (SearchBytes{0, 0, 0, 2}));
  EXPECT_EQ(integer("2", {8, true, Endianness::little}), (SearchBytes{2, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(integer("2", {8, true, Endianness::big}), (SearchBytes{0, 0, 0, 0, 0, 0, 0, 2}));
}

TEST(IntegerReplacement, readsTheFormsOfASearch) {
  EXPECT_EQ(integer(" \t0x10\n", {1, true, Endianness::little}), (SearchBytes{0x10}));
  EXPECT_EQ(integer("10h", {1, true, Endianness::little}), (SearchBytes{0x10}));
  for (const char* const text : {"", "  ", "1FH", "one", "1.5", "18446744073709551616"}) {
    EXPECT_EQ(integer(text, {8, true, Endianness::little}), std::nullopt) << text;
  }
}

TEST(IntegerReplacement, fallsBackToTheOtherSignedness) {
  EXPECT_EQ(integer("-1", {1, false, Endianness::little}), (SearchBytes{0xFF}));
  EXPECT_EQ(integer("-2", {2, false, Endianness::big}), (SearchBytes{0xFF, 0xFE}));
  EXPECT_EQ(integer("255", {1, true, Endianness::little}), (SearchBytes{0xFF}));
  EXPECT_EQ(integer("-128", {1, false, Endianness::little}), (SearchBytes{0x80}));
}

TEST(IntegerReplacement, refusesWhatFitsNeitherSignedness) {
  for (const bool isSigned : {true, false}) {
    EXPECT_EQ(integer("300", {1, isSigned, Endianness::little}), std::nullopt);
    EXPECT_EQ(integer("256", {1, isSigned, Endianness::little}), std::nullopt);
    EXPECT_EQ(integer("-129", {1, isSigned, Endianness::little}), std::nullopt);
    EXPECT_EQ(integer("65536", {2, isSigned, Endianness::little}), std::nullopt);
    EXPECT_EQ(integer("4294967296", {4, isSigned, Endianness::little}), std::nullopt);
    EXPECT_EQ(integer("-2147483649", {4, isSigned, Endianness::little}), std::nullopt);
  }
}

TEST(IntegerReplacement, encodesWhatOnlyUnsignedIntegersHoldAsUnsigned) {
  const SearchBytes ones(8, 0xFF);
  for (const bool isSigned : {true, false}) {
    EXPECT_EQ(integer("18446744073709551615", {8, isSigned, Endianness::little}), ones);
    EXPECT_EQ(integer("9223372036854775808", {8, isSigned, Endianness::big}),
              (SearchBytes{0x80, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(integer("9223372036854775808", {4, isSigned, Endianness::big}), std::nullopt);
  }
}

TEST(FloatReplacement, keepsWidthAndByteOrderOfTheMatch) {
  EXPECT_EQ(floating("1.5", {4, Endianness::little}), (SearchBytes{0, 0, 0xC0, 0x3F}));
  EXPECT_EQ(floating(" 1.5\n", {4, Endianness::big}), (SearchBytes{0x3F, 0xC0, 0, 0}));
  EXPECT_EQ(floating("1.5", {8, Endianness::little}), (SearchBytes{0, 0, 0, 0, 0, 0, 0xF8, 0x3F}));
  EXPECT_EQ(floating("0x1.8p0", {8, Endianness::big}), (SearchBytes{0x3F, 0xF8, 0, 0, 0, 0, 0, 0}));
}

TEST(FloatReplacement, refusesWhatIsNotFiniteInTheWidthOfTheMatch) {
  EXPECT_EQ(floating("1e300", {4, Endianness::little}), std::nullopt);
  EXPECT_EQ(floating("1e300", {4, Endianness::big}), std::nullopt);
  EXPECT_TRUE(floating("1e300", {8, Endianness::little}).has_value());
  for (const char* const text : {"inf", "nan", "1e400", "", "1,5", "1.5x"}) {
    EXPECT_EQ(floating(text, {8, Endianness::little}), std::nullopt) << text;
  }
}

TEST(HexReplacement, isTheBytesTyped) {
  EXPECT_EQ(hex(" 01 ff\n"), (SearchBytes{1, 0xFF}));
  EXPECT_EQ(hex(""), SearchBytes());
  EXPECT_EQ(hex(" \n\t "), SearchBytes());
  EXPECT_EQ(hex("xyz"), std::nullopt);
  EXPECT_EQ(hex("123"), std::nullopt);
}

TEST(TextReplacement, isTheTextAsTypedInItsEncoding) {
  EXPECT_EQ(plain(" a\n"), searchBytes(" a\n"));
  EXPECT_EQ(plain(""), SearchBytes());
  EXPECT_EQ(plain("", SearchTextEncoding::utf16BigEndian), SearchBytes());
  EXPECT_EQ(plain("\xC3\xA4", SearchTextEncoding::utf8), (SearchBytes{0xC3, 0xA4}));
  EXPECT_EQ(plain("\xC3\xA4", SearchTextEncoding::utf16LittleEndian), (SearchBytes{0xE4, 0}));
  EXPECT_EQ(plain("\xC3\xA4", SearchTextEncoding::utf16BigEndian), (SearchBytes{0, 0xE4}));
  EXPECT_EQ(plain("\xC3\xA4", SearchTextEncoding::ascii), std::nullopt);
}

TEST(Replacement, refusesTextsOfMoreScalarsThanAllowed) {
  const auto limit = static_cast<std::size_t>(maxTextInputCharacters);
  std::string text;
  for (std::size_t i = 0; i < limit; ++i) text += "\xC3\xA4";
  EXPECT_TRUE(plain(text).has_value());
  EXPECT_EQ(plain(text + "a"), std::nullopt);
  const std::string spaces(limit, ' ');
  EXPECT_EQ(plain(spaces + "a"), std::nullopt);
  // Elsewhere white space at the ends does not count.
  EXPECT_EQ(hex(spaces + "0a"), (SearchBytes{0x0A}));
  EXPECT_EQ(hex(std::string(limit, '0'))->size(), limit / 2);
  EXPECT_EQ(hex(std::string(limit + 2, '0')), std::nullopt);
  EXPECT_EQ(integer(std::string(limit + 1, '0'), {1, true, Endianness::little}), std::nullopt);
  EXPECT_EQ(floating(std::string(limit + 1, '0'), {4, Endianness::little}), std::nullopt);
}

TEST(ReplacementTable, hasAReplacementForEachCandidateInTheirOrder) {
  const SearchRequest request{
      .mode = SearchMode::integerNumber, .searchText = "1", .replaceText = "2"};
  const auto candidateList = candidates(request);
  ASSERT_EQ(candidateList.size(), 7U);
  const auto table = replacementTable(request, candidateList);
  ASSERT_TRUE(table);
  for (std::size_t i = 0; i < candidateList.size(); ++i) {
    SearchBytes expected = candidateList[i].bytes;
    std::ranges::replace(expected, 1, 2);
    EXPECT_EQ((*table)[i], expected);
  }
}

TEST(ReplacementTable, isRefusedWhenOneReplacementIs) {
  SearchRequest request{.mode = SearchMode::integerNumber, .searchText = "1"};
  request.replaceText = "300";
  EXPECT_EQ(replacementTable(request, candidates(request)), std::nullopt);
  request.replaceText = "255";
  EXPECT_TRUE(replacementTable(request, candidates(request)).has_value());
  request.searchText = "256";
  request.replaceText = "300";
  EXPECT_TRUE(replacementTable(request, candidates(request)).has_value());
  SearchRequest floats{.mode = SearchMode::floatingPointNumber, .searchText = "1"};
  floats.replaceText = "1e300";
  EXPECT_EQ(replacementTable(floats, candidates(floats)), std::nullopt);
}

}  // namespace
}  // namespace quillmor
