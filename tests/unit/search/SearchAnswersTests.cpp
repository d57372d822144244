#include "search/SearchAnswers.h"

#include <gtest/gtest.h>

#include "base/SaturatingMath.h"
#include "search/typed/TypedInput.h"

namespace quillmor {
namespace {

const std::string kInvalid = "2203: Invalid pattern. Use byte tokens such as DE AD ?? EF.";
const std::string kTooLarge = "2202: Pattern is too large to process safely.";

/// "LENGTH byte(s)" or "CODE: MESSAGE".
std::string outcome(std::string_view text) {
  const auto pattern = typedWildcardPattern(text);
  if (pattern.isOk()) return std::to_string(pattern.value().length()) + " byte(s)";
  EXPECT_EQ(pattern.error().domain(), ErrorDomain::quillmor);
  return std::to_string(pattern.error().code()) + ": " + pattern.error().message();
}

TEST(SearchAnswers, countWhatWasFound) {
  EXPECT_EQ(foundText(0), "No matches found.");
  EXPECT_EQ(foundText(1), "1 occurrence(s) found.");
  EXPECT_EQ(foundText(2), "2 occurrence(s) found.");
  EXPECT_EQ(foundText(kMaxInt64), "9223372036854775807 occurrence(s) found.");
}

TEST(SearchAnswers, countWhatWasReplaced) {
  EXPECT_EQ(replacedText(0), "No matches were replaced.");
  EXPECT_EQ(replacedText(1), "1 occurrence(s) replaced.");
  EXPECT_EQ(replacedText(1'000'000), "1000000 occurrence(s) replaced.");
}

TEST(SearchAnswers, knowWhenAPatternIsNowhere) {
  EXPECT_EQ(kNoMatch, "No match found.");
}

TEST(SearchAnswers, takePatterns) {
  EXPECT_EQ(outcome("F0 ?? E6 0F"), "4 byte(s)");
  EXPECT_EQ(outcome("aa ?? bb"), "3 byte(s)");
  EXPECT_EQ(outcome("??"), "1 byte(s)");
  EXPECT_EQ(outcome("AA,BB;CC\tDD\n"), "4 byte(s)");
  EXPECT_EQ(outcome("AA\u00A0BB"), "2 byte(s)");
}

TEST(SearchAnswers, refuseWhatIsNoPattern) {
  for (const std::string_view text : {"", " ", ",;", "A", "?", "A?", "?A", "AA-BB", "AA:BB", "0xAA",
                                      "GG", "\u00E9\u00E9", "\xFF", "AA B"}) {
    EXPECT_EQ(outcome(text), kInvalid) << text;
  }
}

TEST(SearchAnswers, refusePatternsThatAreTooLong) {
  std::string text(maxTextInputCharacters, '?');
  EXPECT_EQ(outcome(text), "2097152 byte(s)");
  text += ' ';
  EXPECT_EQ(outcome(text), kTooLarge);
  // Scalars are counted, not bytes, and before the pattern is looked at.
  std::string scalars;
  for (std::int64_t i = 0; i < maxTextInputCharacters; ++i) scalars += "\u00E9";
  EXPECT_EQ(outcome(scalars), kInvalid);
  EXPECT_EQ(outcome(scalars + "x"), kTooLarge);
}

}  // namespace
}  // namespace quillmor
