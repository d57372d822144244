// The fast reader of hexadecimal text against the slow and obvious one, on texts as programs write
// them and on the same with mistakes in them.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <string>

#include "base/HexText.h"
#include "fuzz/ReferenceParsers.h"
#include "search/typed/HexParser.h"

namespace quillmor {
namespace {

using namespace std::string_view_literals;
using Bytes = std::vector<std::uint8_t>;
using HexParser::parseHexBytes;

/// Texts of hexadecimal bytes in changing notations.
class HexTextSource {
 public:
  explicit HexTextSource(std::uint64_t seed) : random_(seed) {}

  std::size_t below(std::size_t bound) {
    return std::uniform_int_distribution<std::size_t>(0, bound - 1)(random_);
  }
  bool oneIn(std::size_t bound) { return below(bound) == 0; }

  /// `count` tokens in one notation, with an odd one among them now and then.
  std::string text(std::size_t count) {
    static constexpr std::array kPrefixes = {""sv, "0x"sv, "0X"sv};
    static constexpr std::array kSeparators = {" "sv,  ", "sv, ""sv,    ":"sv,    "-"sv,
                                               "\n"sv, ";"sv,  " \t"sv, ",\r\n"sv};
    const std::string_view separator = kSeparators[below(kSeparators.size())];
    // Without separators only the first token can have a prefix.
    const std::string_view prefix = kPrefixes[below(separator.empty() ? 1 : kPrefixes.size())];
    const bool hasOddOnes = oneIn(2) && !separator.empty();
    std::string result = oneIn(4) ? " " : "";
    for (std::size_t i = 0; i < count; ++i) {
      if (i > 0) result += separator;
      result += hasOddOnes && oneIn(8) ? oddToken() : std::string(prefix) + pair();
    }
    if (oneIn(4)) result += separator;
    return result;
  }

  /// Changes one to three characters; most results are not valid any more.
  std::string mutated(std::string text) {
    static constexpr std::string_view kCharacters =
        "0123456789abcdefABCDEFxX ,-:;\t\n\vgG{[h\0.@`/";
    for (std::size_t changes = 1 + below(3); changes > 0; --changes) {
      const std::size_t at = below(text.size() + 1);
      const char character = kCharacters[below(kCharacters.size())];
      switch (below(3)) {
        case 0:
          text.insert(at, 1, character);
          break;
        case 1:
          text.erase(at, 1 + below(2));
          break;
        default:
          if (at < text.size()) text[at] = character;
      }
    }
    return text;
  }

  std::optional<std::int64_t> limitNear(std::size_t size) {
    if (!oneIn(4)) return std::nullopt;
    return static_cast<std::int64_t>(size < 3 ? below(3) : size - 3 + below(6));
  }

 private:
  std::string pair() {
    std::string digits(uppercaseHexByteStrings[below(256)]);
    if (oneIn(2)) std::ranges::transform(digits, digits.begin(), [](char c) { return lower(c); });
    return digits;
  }

  static char lower(char c) { return c >= 'A' && c <= 'F' ? static_cast<char>(c + 32) : c; }

  std::string oddToken() {
    switch (below(4)) {
      case 0:
        return pair().substr(1);
      case 1:
        return "0x" + pair().substr(1);
      case 2:
        return pair() + pair() + pair();
      default:
        return "0x" + pair() + pair();
    }
  }

  std::mt19937_64 random_;
};

class HexParserModel : public testing::TestWithParam<std::uint64_t> {
 protected:
  /// Compares all ways to read `text`; counts those that are valid.
  void compare(const std::string& text) {
    const auto maxInput = source.limitNear(text.size());
    const auto maxOutput = source.limitNear(text.size() / 3);
    const auto expected = reference::hexBytes(text, maxOutput, maxInput);
    ASSERT_EQ(parseHexBytes(text, maxOutput, maxInput), expected)
        << "seed " << GetParam() << ", text " << testing::PrintToString(text);
    valid += expected ? 1 : 0;
    ++compared;
  }

  HexTextSource source{GetParam()};
  int valid = 0;
  int compared = 0;
};

TEST_P(HexParserModel, agreesOnShortTexts) {
  for (int i = 0; i < 20'000; ++i) {
    const std::string text = source.text(source.below(9));
    ASSERT_NO_FATAL_FAILURE(compare(text));
    ASSERT_NO_FATAL_FAILURE(compare(source.mutated(text)));
  }
  EXPECT_GT(valid, compared / 4);
  EXPECT_LT(valid, compared * 3 / 4);
}

TEST_P(HexParserModel, agreesOnTextsOfSomeThousandBytes) {
  for (int i = 0; i < 8; ++i) {
    const std::string text = source.text(4000 + source.below(200) + (source.oneIn(2) ? 4000 : 0));
    ASSERT_NO_FATAL_FAILURE(compare(text));
    ASSERT_NO_FATAL_FAILURE(compare(source.mutated(text)));
  }
  EXPECT_GT(valid, 0);
}

/// A no-break space behind a text changes nothing but the way it is read.
TEST_P(HexParserModel, readsTheSameWithASpaceFromOutsideAsciiBehind) {
  for (int i = 0; i < 20'000; ++i) {
    const std::string text = source.mutated(source.text(source.below(9)));
    const auto maxOutput = source.limitNear(text.size() / 3);
    ASSERT_EQ(parseHexBytes(text, maxOutput), parseHexBytes(text + "\u00A0", maxOutput))
        << "seed " << GetParam() << ", text " << testing::PrintToString(text);
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, HexParserModel, testing::Values(1, 2, 3, 4, 5, 6));

/// The reader hands bytes on in pieces of 4096; a limit may lie on either side of a seam.
TEST(ParseHexBytes, keepsTheLimitAtTheSeamsOfItsPieces) {
  for (const std::size_t count : {4095, 4096, 4097, 8192, 8193}) {
    for (const std::string unit : {"A5 ", "A5", "0xA5, ", "5 ", "A5A5 "}) {
      std::string text;
      for (std::size_t i = 0; i < count; ++i) text += unit;
      const std::size_t size = unit == "A5A5 " ? 2 * count : count;
      const Bytes expected(size, unit == "5 " ? 0x05 : 0xA5);
      const auto limit = static_cast<std::int64_t>(size);
      EXPECT_EQ(parseHexBytes(text), expected) << count << unit;
      EXPECT_EQ(parseHexBytes(text, limit), expected) << count << unit;
      EXPECT_EQ(parseHexBytes(text, limit - 1), std::nullopt) << count << unit;
    }
  }
}

TEST(ParseHexBytes, isNoneWhenOnlyTheLastCharacterIsWrong) {
  for (const std::string unit : {"A5 ", "A5", "0xA5, "}) {
    std::string text;
    for (int i = 0; i < 5000; ++i) text += unit;
    EXPECT_TRUE(parseHexBytes(text + "5").has_value() == (unit != "A5")) << unit;
    EXPECT_EQ(parseHexBytes(text + "g"), std::nullopt) << unit;
    EXPECT_EQ(parseHexBytes(text + "0x"), std::nullopt) << unit;
    EXPECT_EQ(parseHexBytes(text + "\u00C4"), std::nullopt) << unit;
  }
}

}  // namespace
}  // namespace quillmor
