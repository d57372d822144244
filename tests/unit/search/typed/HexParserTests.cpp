#include "search/typed/HexParser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <string>

#include "base/ByteUnits.h"
#include "fuzz/ReferenceParsers.h"
#include "support/Stopping.h"

namespace quillmor {
namespace {

using namespace std::string_view_literals;
using Bytes = std::vector<std::uint8_t>;
using HexParser::parseHexBytes;
using HexParser::parseOffset;
using testing::ElementsAre;
using testing::Optional;

constexpr auto kNone = std::nullopt;
constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();

// --- byte lists -----------------------------------------------------------------------------

TEST(ParseHexBytes, readsSeparatedAndJoinedPairs) {
  EXPECT_THAT(parseHexBytes("AA BB CC"), Optional(Bytes{0xAA, 0xBB, 0xCC}));
  EXPECT_THAT(parseHexBytes("AABBCC"), Optional(Bytes{0xAA, 0xBB, 0xCC}));
  EXPECT_THAT(parseHexBytes("aAbBcC"), Optional(Bytes{0xAA, 0xBB, 0xCC}));
  EXPECT_THAT(parseHexBytes("0xDEADBEEF"), Optional(Bytes{0xDE, 0xAD, 0xBE, 0xEF}));
  EXPECT_THAT(parseHexBytes("de:ad-be,ef;01"), Optional(Bytes{0xDE, 0xAD, 0xBE, 0xEF, 0x01}));
}

TEST(ParseHexBytes, isNoneForTextWithoutBytes) {
  EXPECT_EQ(parseHexBytes(""), kNone);
  EXPECT_EQ(parseHexBytes(" ,; "), kNone);
  EXPECT_EQ(parseHexBytes("\u00A0\u3000"), kNone);
}

TEST(ParseHexBytes, readsALoneDigitAsOneByte) {
  EXPECT_THAT(parseHexBytes("F"), Optional(Bytes{0x0F}));
  EXPECT_THAT(parseHexBytes("A"), Optional(Bytes{0x0A}));
  EXPECT_THAT(parseHexBytes("0x5"), Optional(Bytes{0x05}));
  EXPECT_THAT(parseHexBytes("0xF"), Optional(Bytes{0x0F}));
  EXPECT_THAT(parseHexBytes("0x0F"), Optional(Bytes{0x0F}));
  EXPECT_THAT(parseHexBytes("1 2 3"), Optional(Bytes{1, 2, 3}));
  EXPECT_THAT(parseHexBytes("0"), Optional(Bytes{0}));
}

TEST(ParseHexBytes, rejectsOddDigitCountsFromThreeOn) {
  EXPECT_EQ(parseHexBytes("ABC"), kNone);
  EXPECT_EQ(parseHexBytes("0F0"), kNone);
  EXPECT_EQ(parseHexBytes("0xABC"), kNone);
  EXPECT_EQ(parseHexBytes("AA ABCDE BB"), kNone);
}

TEST(ParseHexBytes, takesThePrefixAtTheStartOfATokenOnly) {
  EXPECT_THAT(parseHexBytes("0x12 0X34"), Optional(Bytes{0x12, 0x34}));
  EXPECT_EQ(parseHexBytes("0x12 x34"), kNone);
  EXPECT_EQ(parseHexBytes("00x12"), kNone);
  EXPECT_EQ(parseHexBytes("x12"), kNone);
  EXPECT_EQ(parseHexBytes("12x"), kNone);
  EXPECT_EQ(parseHexBytes("1x2"), kNone);
  EXPECT_EQ(parseHexBytes("0xx1"), kNone);
  EXPECT_EQ(parseHexBytes("0x0x12"), kNone);
  EXPECT_EQ(parseHexBytes("0x120x34"), kNone);
}

TEST(ParseHexBytes, rejectsAPrefixAlone) {
  EXPECT_EQ(parseHexBytes("0x"), kNone);
  EXPECT_EQ(parseHexBytes("0x 12"), kNone);
  EXPECT_EQ(parseHexBytes("12 0X"), kNone);
}

TEST(ParseHexBytes, rejectsEveryOtherAsciiCharacter) {
  EXPECT_EQ(parseHexBytes("GG"), kNone);
  const std::string accepted = "\t\n\v\f\r ,-:;0123456789abcdefABCDEF";
  for (int c = 0; c < 0x80; ++c) {
    const std::string text = std::string("AA ") + static_cast<char>(c) + " BB";
    const bool isAccepted = accepted.find(static_cast<char>(c)) != std::string::npos;
    EXPECT_EQ(parseHexBytes(text).has_value(), isAccepted) << c;
  }
}

TEST(ParseHexBytes, takesUnicodeWhiteSpaceAsSeparator) {
  EXPECT_THAT(parseHexBytes("AA\u00A0BB"), Optional(Bytes{0xAA, 0xBB}));
  EXPECT_THAT(parseHexBytes("\u30000xA\u2028\u0085b\u1680,"), Optional(Bytes{0x0A, 0x0B}));
  EXPECT_EQ(parseHexBytes("AA\u00A0\u00C4B"), kNone);
}

TEST(ParseHexBytes, takesAsciiDigitsOnly) {
  EXPECT_EQ(parseHexBytes("\uFF11\uFF12"), kNone);
  EXPECT_EQ(parseHexBytes("\u0661"), kNone);
  EXPECT_EQ(parseHexBytes("0\u0445 12"), kNone);
  EXPECT_EQ(parseHexBytes("AA\u200BBB"), kNone);
}

TEST(ParseHexBytes, rejectsTextThatIsNotUtf8) {
  EXPECT_EQ(parseHexBytes("AA\xFF"), kNone);
  EXPECT_EQ(parseHexBytes("AA \xC2"), kNone);
  EXPECT_EQ(parseHexBytes("AA \xE2\x80"), kNone);
  EXPECT_EQ(parseHexBytes("AA \xC0\xA0 BB"), kNone);
}

TEST(ParseHexBytes, rejectsMoreOutputThanTheLimitAndNeverCuts) {
  EXPECT_THAT(parseHexBytes("AA BB", 2), Optional(Bytes{0xAA, 0xBB}));
  EXPECT_EQ(parseHexBytes("AA BB CC", 2), kNone);
  EXPECT_EQ(parseHexBytes("AABBCC", 2), kNone);
  EXPECT_EQ(parseHexBytes("AA BB C", 2), kNone);
  EXPECT_THAT(parseHexBytes("AA BB CC", 3), Optional(Bytes{0xAA, 0xBB, 0xCC}));
  EXPECT_THAT(parseHexBytes("AA\u00A0BB", 2), Optional(Bytes{0xAA, 0xBB}));
  EXPECT_EQ(parseHexBytes("AA\u00A0BB CC", 2), kNone);
  EXPECT_THAT(parseHexBytes("AA", kMax, kMax), Optional(Bytes{0xAA}));
}

TEST(ParseHexBytes, isNoneForAnOutputLimitBelowOne) {
  EXPECT_EQ(parseHexBytes("AA", 0), kNone);
  EXPECT_EQ(parseHexBytes("AA", -1), kNone);
  EXPECT_EQ(parseHexBytes("AA\u00A0", kMin), kNone);
}

TEST(ParseHexBytes, rejectsMoreCharactersThanTheLimit) {
  EXPECT_EQ(parseHexBytes("AA BB", {}, 4), kNone);
  EXPECT_THAT(parseHexBytes("AA BB", {}, 5), Optional(Bytes{0xAA, 0xBB}));
  EXPECT_THAT(parseHexBytes("AA BB", {}, 6), Optional(Bytes{0xAA, 0xBB}));
  EXPECT_EQ(parseHexBytes("AA", {}, -1), kNone);
  EXPECT_EQ(parseHexBytes("AA", {}, 0), kNone);
  EXPECT_EQ(parseHexBytes("", {}, 0), kNone);
}

TEST(ParseHexBytes, countsScalarsNotBytesAgainstTheInputLimit) {
  EXPECT_EQ(parseHexBytes("AA\u3000BB", {}, 4), kNone);
  EXPECT_THAT(parseHexBytes("AA\u3000BB", {}, 5), Optional(Bytes{0xAA, 0xBB}));
  EXPECT_THAT(parseHexBytes("AA\u3000BB", {}, 6), Optional(Bytes{0xAA, 0xBB}));
  EXPECT_EQ(parseHexBytes("AA\u3000BB ", {}, 5), kNone);
}

TEST(ParseHexBytes, behavesTheSameForASlice) {
  const std::string text = "zzAA BBzz";
  EXPECT_THAT(parseHexBytes(std::string_view(text).substr(2, 5)), Optional(Bytes{0xAA, 0xBB}));
  // A scalar cut by the slice is not completed from behind it.
  const std::string space = "AA\u00A0";
  EXPECT_EQ(parseHexBytes(std::string_view(space).substr(0, 3)), kNone);
}

// --- offsets --------------------------------------------------------------------------------

TEST(ParseOffset, readsTheFourForms) {
  EXPECT_THAT(parseOffset(" 0X1f "), Optional(31));
  EXPECT_THAT(parseOffset("0x1F"), Optional(31));
  EXPECT_THAT(parseOffset("1fh"), Optional(31));
  EXPECT_THAT(parseOffset("10"), Optional(10));
  EXPECT_THAT(parseOffset("10h"), Optional(16));
  EXPECT_THAT(parseOffset("ff"), Optional(255));
  EXPECT_THAT(parseOffset("1F"), Optional(31));
  EXPECT_THAT(parseOffset("0"), Optional(0));
  EXPECT_THAT(parseOffset("007"), Optional(7));
}

TEST(ParseOffset, takesOnlyALowerCaseSuffix) {
  EXPECT_EQ(parseOffset("1FH"), kNone);
  EXPECT_EQ(parseOffset("10H"), kNone);
  EXPECT_EQ(parseOffset("h"), kNone);
  EXPECT_EQ(parseOffset("1hh"), kNone);
  EXPECT_EQ(parseOffset("0x10h"), kNone);
}

TEST(ParseOffset, takesOneSignWithDecimalAndPrefixedNumbersOnly) {
  EXPECT_THAT(parseOffset("-5"), Optional(-5));
  EXPECT_THAT(parseOffset("+5"), Optional(5));
  EXPECT_THAT(parseOffset("0x-5"), Optional(-5));
  EXPECT_THAT(parseOffset("0x+1f"), Optional(31));
  for (const auto* text : {"-", "+", "--5", "+-5", "-+5", "++5", "-ff", "+ff", "-5h", "-0x5", "0x-",
                           "0x+", "0x--5", "0x+-5", "- 5", "5-"}) {
    EXPECT_EQ(parseOffset(text), kNone) << text;
  }
}

TEST(ParseOffset, isNoneWithoutDigits) {
  for (const auto* text : {"", " ", "\u00A0\u3000", "0x", "0X", "x", "x1", "g", "1.5", "1e+3",
                           "1_0", "0x1g", "0xx1", "0x0x1"}) {
    EXPECT_EQ(parseOffset(text), kNone) << text;
  }
}

TEST(ParseOffset, dropsWhiteSpaceAtBothEndsOnly) {
  EXPECT_THAT(parseOffset("\u00A0\t12\u2028\n"), Optional(12));
  EXPECT_EQ(parseOffset("1 0"), kNone);
  EXPECT_EQ(parseOffset("12 34"), kNone);
  EXPECT_EQ(parseOffset("12\u00A034"), kNone);
  EXPECT_EQ(parseOffset("0x 1"), kNone);
  EXPECT_THAT(parseOffset(std::string(1000, ' ') + "1" + std::string(1000, ' ')), Optional(1));
}

TEST(ParseOffset, keepsToSixtyFourSignedBits) {
  EXPECT_THAT(parseOffset("9223372036854775807"), Optional(kMax));
  EXPECT_EQ(parseOffset("9223372036854775808"), kNone);
  EXPECT_THAT(parseOffset("-9223372036854775808"), Optional(kMin));
  EXPECT_EQ(parseOffset("-9223372036854775809"), kNone);
  EXPECT_THAT(parseOffset("0x7FFFFFFFFFFFFFFF"), Optional(kMax));
  EXPECT_EQ(parseOffset("0x8000000000000000"), kNone);
  EXPECT_THAT(parseOffset("0x-8000000000000000"), Optional(kMin));
  EXPECT_THAT(parseOffset("7fffffffffffffffh"), Optional(kMax));
  EXPECT_EQ(parseOffset("8000000000000000h"), kNone);
  EXPECT_EQ(parseOffset("ffffffffffffffff"), kNone);
}

TEST(ParseOffset, takesAtMost128Characters) {
  EXPECT_THAT(parseOffset(std::string(127, '0') + "1"), Optional(1));
  EXPECT_EQ(parseOffset(std::string(128, '0') + "1"), kNone);
  EXPECT_THAT(parseOffset(" 0x" + std::string(125, '0') + "1 "), Optional(1));
  EXPECT_EQ(parseOffset("0x" + std::string(126, '0') + "1"), kNone);
  EXPECT_THAT(parseOffset(std::string(126, '0') + "1h"), Optional(1));
  EXPECT_EQ(parseOffset(std::string(127, '0') + "1h"), kNone);
}

TEST(ParseOffset, rejectsOtherCharactersAndBrokenText) {
  EXPECT_EQ(parseOffset("\uFF11"), kNone);
  EXPECT_EQ(parseOffset("1\xFF"), kNone);
  EXPECT_EQ(parseOffset("1\xE2\x80"), kNone);
  EXPECT_EQ(parseOffset("1\0"sv), kNone);
}

TEST(ParseOffset, behavesTheSameForASlice) {
  const std::string text = "0x1234";
  EXPECT_THAT(parseOffset(std::string_view(text).substr(0, 4)), Optional(0x12));
  EXPECT_THAT(parseOffset(std::string_view(text).substr(2, 2)), Optional(12));
}

// --- comparison with the reference parsers ---------------------------------------------------

class RandomText {
 public:
  explicit RandomText(std::vector<std::string> pieces) : pieces_(std::move(pieces)) {}

  std::string next(std::size_t maxPieces) {
    std::string text;
    for (std::size_t i = below(maxPieces + 1); i > 0; --i) text += pieces_[below(pieces_.size())];
    return text;
  }

  std::size_t below(std::size_t bound) {
    return std::uniform_int_distribution<std::size_t>(0, bound - 1)(random_);
  }

 private:
  std::mt19937_64 random_{20240607};
  std::vector<std::string> pieces_;
};

TEST(ParseHexBytes, agreesWithTheReferenceParserOnRandomText) {
  RandomText ascii({"0", "A", "7", "f", "12", "C0DE", " ", ",", "\n", "0x", " 0X"});
  RandomText mixed({"0", "f", "12", "BE", "C0DE", " ", "-", "\u00A0", "\u3000", " 0x"});
  RandomText wild({"12", " ", "x", "0x", "\u00E4", "\u2003", "\xFF", "\xE2\x80", "g", "\xC2"});
  int accepted = 0;
  for (int i = 0; i < 60'000; ++i) {
    RandomText& source = i % 3 == 0 ? ascii : i % 3 == 1 ? mixed : wild;
    const std::string text = source.next(9);
    std::optional<std::int64_t> maxOutput;
    std::optional<std::int64_t> maxInput;
    if (source.below(3) == 0) maxOutput = static_cast<std::int64_t>(source.below(8));
    if (source.below(3) == 0) maxInput = static_cast<std::int64_t>(source.below(16));
    const auto parsed = parseHexBytes(text, maxOutput, maxInput);
    ASSERT_EQ(parsed, reference::hexBytes(text, maxOutput, maxInput))
        << testing::PrintToString(text);
    accepted += parsed ? 1 : 0;
  }
  EXPECT_GT(accepted, 10'000) << "the random texts are too often invalid to prove anything";
}

TEST(ParseOffset, agreesWithTheReferenceParserOnRandomText) {
  RandomText source({"0", "1", "9", "a", "F", "h", "H", "0x", "-", "+", " ", "\u00A0", "7fffffff",
                     "99999999", "\u00E4", "\xFF"});
  RandomText tame({"0", "1", "a", "7f", "99999", "0x"});
  int accepted = 0;
  for (int i = 0; i < 60'000; ++i) {
    const std::string text = i % 2 == 0 ? source.next(6) : tame.next(6) + (i % 4 == 1 ? "h" : "");
    const auto parsed = parseOffset(text);
    ASSERT_EQ(parsed, reference::offset(text)) << testing::PrintToString(text);
    accepted += parsed ? 1 : 0;
  }
  EXPECT_GT(accepted, 10'000) << "the random texts are too often invalid to prove anything";
}

// --- stopping
// --------------------------------------------------------------------------------------

std::string repeated(std::string_view text, std::size_t size) {
  std::string result;
  result.reserve(size + text.size());
  while (result.size() < size) result += text;
  return result;
}

TEST(ParseHexBytesStopping, happensInTheMiddleOfTokensAndSeparators) {
  for (const char* part : {"AA ", "AA", "A ", ",", "0xAA\n", "\u00A0", "AA\u3000"}) {
    const std::string text = repeated(part, 4 * kMiB) + "AA";
    EXPECT_TRUE(test::stopsInTheMiddle([&](TaskProgress& progress) {
      HexParser::parseHexBytes(text, {}, {}, &progress);
    })) << part;
  }
}

TEST(ParseHexBytesStopping, changesNothingWhereNobodyAsks) {
  const TaskProgress progress;
  for (const std::size_t blanks : {kMiB - 1, kMiB, kMiB + 1}) {
    const std::string space(blanks, ',');
    EXPECT_THAT(HexParser::parseHexBytes(space + "1" + space + "0xAA" + space, {}, {}, &progress),
                Optional(ElementsAre(1, 0xAA)))
        << blanks;
    EXPECT_FALSE(HexParser::parseHexBytes(space, {}, {}, &progress)) << blanks;
    EXPECT_FALSE(HexParser::parseHexBytes(space + "x" + space, {}, {}, &progress)) << blanks;
  }
}

}  // namespace
}  // namespace quillmor
