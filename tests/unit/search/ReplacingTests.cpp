#include "search/Replacing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <new>
#include <string>

#include "base/ByteUnits.h"
#include "base/SaturatingMath.h"
#include "search/SearchCandidates.h"
#include "search/typed/TypedInput.h"
#include "support/ErrorMatchers.h"
#include "support/MemoryProbes.h"
#include "support/SearchFixture.h"

namespace quillmor {
namespace {

using test::exactRequest;
using test::foldingRequest;
using test::rawCandidates;
using test::SearchBytes;
using test::searchBytes;
using testing::ElementsAre;
using namespace SearchCandidateKind;

ByteBuffer buffer(std::string_view text) {
  return ByteBuffer(searchBytes(text));
}

std::string textOf(const ByteBuffer& bytes) {
  return {bytes.span().begin(), bytes.span().end()};
}

ReplacementTable tableOf(std::initializer_list<std::string_view> texts) {
  ReplacementTable table;
  for (const std::string_view text : texts) table.push_back(searchBytes(text));
  return table;
}

ReplaceAllComputation replaced(std::string_view text,
                               std::initializer_list<std::string_view> candidateTexts,
                               std::initializer_list<std::string_view> replacements,
                               const std::vector<std::int64_t>& bookmarks = {},
                               std::int64_t maximumGrowth = 1000,
                               const SearchRequest& request = exactRequest()) {
  TaskProgress progress;
  return computeReplaceAll(buffer(text), request, rawCandidates(candidateTexts),
                           tableOf(replacements), bookmarks, maximumGrowth, progress);
}

TEST(ReplaceAll, replacesEveryOccurrence) {
  const auto result = replaced("..ab..ab", {"ab"}, {"XY"});
  EXPECT_EQ(textOf(result.bytes), "..XY..XY");
  EXPECT_EQ(result.replacements, 2);
  EXPECT_EQ(result.lastCaret, 8);
  EXPECT_EQ(textOf(replaced("..ab..ab.", {"ab"}, {"long"}).bytes), "..long..long.");
  EXPECT_EQ(replaced("..ab..ab.", {"ab"}, {"long"}).lastCaret, 12);
  EXPECT_EQ(textOf(replaced("..ab..ab.", {"ab"}, {"s"}).bytes), "..s..s.");
  EXPECT_EQ(replaced("..ab..ab.", {"ab"}, {"s"}).lastCaret, 6);
}

TEST(ReplaceAll, deletesMatchesWithAnEmptyReplacement) {
  const auto result = replaced("ab..ab.ab", {"ab"}, {""});
  EXPECT_EQ(textOf(result.bytes), "...");
  EXPECT_EQ(result.replacements, 3);
  EXPECT_EQ(result.lastCaret, 3);
  const auto everything = replaced("abab", {"ab"}, {""}, {0, 1, 2, 4});
  EXPECT_TRUE(everything.bytes.empty());
  EXPECT_EQ(everything.replacements, 2);
  EXPECT_EQ(everything.lastCaret, 0);
  EXPECT_THAT(everything.bookmarks, ElementsAre(0));
}

TEST(ReplaceAll, prefersTheLongerCandidateAndDoesNotOverlap) {
  EXPECT_EQ(textOf(replaced("abcdab", {"ab", "abcd"}, {"1", "2"}).bytes), "21");
  EXPECT_EQ(textOf(replaced("aaaaa", {"aa"}, {"b"}).bytes), "bba");
  // What a replacement writes is not searched again.
  EXPECT_EQ(textOf(replaced("aab", {"a", "b"}, {"b", "a"}).bytes), "bba");
}

TEST(ReplaceAll, sharesTheDocumentWhereNothingIsFound) {
  TaskProgress progress;
  const ByteBuffer original = buffer("abc");
  const auto result = computeReplaceAll(original, exactRequest(), rawCandidates({"x"}),
                                        tableOf({"y"}), {0, 3}, 0, progress);
  EXPECT_EQ(result.bytes, original);
  EXPECT_TRUE(result.bytes.sharesStorageWith(original));
  EXPECT_EQ(result.replacements, 0);
  EXPECT_EQ(result.lastCaret, 0);
  EXPECT_THAT(result.bookmarks, ElementsAre(0, 3));
  EXPECT_EQ(replaced("", {"x"}, {"y"}).replacements, 0);
}

TEST(ReplaceAll, countsReplacementsThatEqualTheirMatchesAndSharesTheDocument) {
  TaskProgress progress;
  const ByteBuffer original = buffer("..ab..ab.");
  const auto result = computeReplaceAll(original, exactRequest(), rawCandidates({"ab"}),
                                        tableOf({"ab"}), {2, 3}, 0, progress);
  EXPECT_TRUE(result.bytes.sharesStorageWith(original));
  EXPECT_EQ(result.bytes, original);
  EXPECT_EQ(result.replacements, 2);
  EXPECT_EQ(result.lastCaret, 8);
  EXPECT_THAT(result.bookmarks, ElementsAre(2, 3));
}

TEST(ReplaceAll, writesTheReplacementWhereOnlyCaseDiffers) {
  const auto result = replaced("..AB..ab.", {"ab"}, {"ab"}, {}, 0, foldingRequest());
  EXPECT_EQ(textOf(result.bytes), "..ab..ab.");
  EXPECT_EQ(result.replacements, 2);
}

TEST(ReplaceAll, growsByTheAllowanceAndNotByOneByteMore) {
  constexpr const char* kMessage =
      "Replace All output would grow beyond the safe per-operation limit of 3 additional bytes.";
  EXPECT_EQ(textOf(replaced("a.a.a", {"a"}, {"bb"}, {}, 3).bytes), "bb.bb.bb");
  EXPECT_THAT([] { replaced("a.a.a.a", {"a"}, {"bb"}, {}, 3); }, test::failsWith(2201, kMessage));
  EXPECT_THAT([] { replaced("a", {"a"}, {"bbbbb"}, {}, 3); }, test::failsWith(2201, kMessage));
  EXPECT_EQ(textOf(replaced("a", {"a"}, {"bbbb"}, {}, 3).bytes), "bbbb");
  EXPECT_EQ(textOf(replaced("aab", {"a"}, {"c"}, {}, 0).bytes), "ccb");
  EXPECT_THAT([] { replaced("a", {"a"}, {"bb"}, {}, 0); }, testing::Throws<Error>());
  // Shrinking elsewhere makes room for growing.
  EXPECT_EQ(textOf(replaced("bbba", {"a", "bbb"}, {"cccc", "d"}, {}, 1).bytes), "dcccc");
  EXPECT_EQ(textOf(replaced("abbb", {"a", "bbb"}, {"cccc", ""}, {}, 0).bytes), "cccc");
}

TEST(ReplaceAll, carriesBookmarksAlong) {
  const auto result = replaced("..ab..ab..", {"ab"}, {"long"}, {0, 1, 2, 3, 4, 6, 8, 9, 10});
  EXPECT_THAT(result.bookmarks, ElementsAre(0, 1, 6, 12, 13, 14));
  const auto equal = replaced("..ab..", {"ab"}, {"XY"}, {0, 2, 3, 4, 6});
  EXPECT_THAT(equal.bookmarks, ElementsAre(0, 2, 3, 4, 6));
}

TEST(ReplaceAll, replacesLargeDocumentsAcrossPieces) {
  ByteBuffer original = ByteBuffer::filled(3 * kMiB, '.');
  std::vector<std::int64_t> places;
  for (std::int64_t offset = 5; offset < original.size(); offset += 100'003) {
    places.push_back(offset);
    original.set(offset, 'a');
    original.set(offset + 1, 'b');
  }
  TaskProgress progress;
  const auto result = computeReplaceAll(original, exactRequest(), rawCandidates({"ab"}),
                                        tableOf({"12345"}), places, kMiB, progress);
  EXPECT_EQ(result.replacements, std::ssize(places));
  EXPECT_EQ(result.bytes.size(), original.size() + 3 * std::ssize(places));
  for (std::size_t i = 0; i < places.size(); ++i) {
    const std::int64_t offset = places[i] + 3 * static_cast<std::int64_t>(i);
    EXPECT_EQ(textOf(result.bytes.slice(offset - 1, 7)), ".12345.");
  }
  EXPECT_TRUE(result.bookmarks.empty());
  EXPECT_EQ(progress.fraction(), 1.0);
}

TEST(ReplaceAll, stopsWhenAskedAndChangesNothing) {
  TaskProgress progress;
  progress.requestStop();
  const ByteBuffer original = buffer("abab");
  const ByteBuffer before = original;
  EXPECT_THAT(
      [&] {
        computeReplaceAll(original, exactRequest(), rawCandidates({"ab"}), tableOf({"x"}), {}, 9,
                          progress);
      },
      testing::Throws<Error>(testing::Property(&Error::isStopped, true)));
  EXPECT_TRUE(original.sharesStorageWith(before));
  EXPECT_EQ(textOf(original), "abab");
}

TEST(ReplaceAll, leavesEverythingAsItWasWhenMemoryRunsOut) {
  const ByteBuffer original = ByteBuffer::filled(32 * kMiB, 'a');
  const auto candidateList = rawCandidates({"aa"});
  const ReplacementTable table = tableOf({"bb"});
  TaskProgress progress;
  const NoMoreAddressSpace full;
  EXPECT_THROW(computeReplaceAll(original, exactRequest(), candidateList, table, {}, 0, progress),
               std::bad_alloc);
  EXPECT_EQ(original.size(), 32 * kMiB);
  EXPECT_EQ(original[0], 'a');
}

TEST(ReplaceAllOfNumbers, writesEachFormInTheFormItWasFoundIn) {
  SearchRequest request{.mode = SearchMode::integerNumber, .searchText = "1", .replaceText = "2"};
  const auto candidateList = candidates(request);
  const auto table = replacementTable(request, candidateList);
  ASSERT_TRUE(table);
  TaskProgress progress;
  // Between nines: one form of every width and byte order.
  const ByteBuffer original{9, 0, 0, 0, 0, 0, 0, 0, 1, 9, 1, 0, 0, 0, 0, 0, 0, 0, 9,
                            0, 0, 0, 1, 9, 1, 0, 0, 0, 9, 0, 1, 9, 1, 0, 9, 1, 9};
  const ByteBuffer expected{9, 0, 0, 0, 0, 0, 0, 0, 2, 9, 2, 0, 0, 0, 0, 0, 0, 0, 9,
                            0, 0, 0, 2, 9, 2, 0, 0, 0, 9, 0, 2, 9, 2, 0, 9, 2, 9};
  const auto result = computeReplaceAll(original, request, candidateList, *table, {}, 0, progress);
  EXPECT_EQ(result.bytes, expected);
  EXPECT_EQ(result.replacements, 7);
}

TEST(ReplaceAllModel, agreesWithReplacingOneByOne) {
  constexpr unsigned kSeed = 2718281;
  constexpr int kRounds = 250'000;
  SCOPED_TRACE(kSeed);
  RecordProperty("seed", static_cast<int>(kSeed));
  test::RandomRequests random(kSeed);
  for (int round = 0; round < kRounds; ++round) {
    random.choose();
    const ByteBuffer original{std::span<const std::uint8_t>(random.bytes)};
    const auto hits = test::naive::allHits(random.bytes, random.request, random.candidateList);
    const auto expected =
        test::naive::replaceOneByOne(random.bytes, hits, random.table, random.bookmarks);
    const auto size = static_cast<std::int64_t>(expected.bytes.size());
    const std::int64_t growth = std::max<std::int64_t>(size - original.size(), 0);
    const std::int64_t allowed = std::max<std::int64_t>(growth + random.upTo(3) - 1, 0);
    TaskProgress progress;
    const auto compute = [&] {
      return computeReplaceAll(original, random.request, random.candidateList, random.table,
                               random.bookmarks, allowed, progress);
    };
    if (growth > allowed) {
      ASSERT_THROW(compute(), Error) << "round " << round;
      continue;
    }
    const auto result = compute();
    ASSERT_TRUE(std::ranges::equal(result.bytes.span(), expected.bytes)) << "round " << round;
    ASSERT_EQ(result.bookmarks, expected.bookmarks) << "round " << round;
    ASSERT_EQ(result.replacements, std::ssize(hits)) << "round " << round;
    ASSERT_EQ(result.lastCaret, expected.lastCaret) << "round " << round;
  }
}

// --- a candidate's replacement
// ---------------------------------------------------------------------

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
