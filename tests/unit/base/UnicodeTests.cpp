#include "base/Unicode.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace quillmor {
namespace {

using namespace std::string_view_literals;

std::vector<char32_t> scalarsOf(std::string_view text) {
  std::vector<char32_t> scalars;
  while (!text.empty()) {
    const auto next = Unicode::decodeFirst(text);
    scalars.push_back(next.scalar);
    text.remove_prefix(next.length);
  }
  return scalars;
}

/// The textbook encoding, for round trips.
std::string encoded(char32_t scalar) {
  const auto continuation = [&](int shift) {
    return static_cast<char>(0x80 | ((scalar >> shift) & 0x3F));
  };
  if (scalar < 0x80) return {static_cast<char>(scalar)};
  if (scalar < 0x800) return {static_cast<char>(0xC0 | scalar >> 6), continuation(0)};
  if (scalar < 0x10000) {
    return {static_cast<char>(0xE0 | scalar >> 12), continuation(6), continuation(0)};
  }
  return {static_cast<char>(0xF0 | scalar >> 18), continuation(12), continuation(6),
          continuation(0)};
}

TEST(Unicode, decodesEveryScalar) {
  for (char32_t scalar = 0; scalar <= 0x10FFFF; ++scalar) {
    if (scalar >= 0xD800 && scalar <= 0xDFFF) continue;
    const std::string text = encoded(scalar);
    const auto decoded = Unicode::decodeFirst(text);
    ASSERT_TRUE(decoded.isValid) << std::hex << static_cast<unsigned>(scalar);
    ASSERT_EQ(decoded.scalar, scalar);
    ASSERT_EQ(decoded.length, text.size());
  }
}

TEST(Unicode, neverDecodesSurrogatesOrValuesBeyondTheLast) {
  for (char32_t surrogate = 0xD800; surrogate <= 0xDFFF; ++surrogate) {
    ASSERT_FALSE(Unicode::decodeFirst(encoded(surrogate)).isValid);
  }
  EXPECT_FALSE(Unicode::decodeFirst("\xF4\x90\x80\x80").isValid);
  EXPECT_FALSE(Unicode::decodeFirst("\xF5\x80\x80\x80").isValid);
}

TEST(Unicode, readsBrokenSequencesAsReplacementScalars) {
  constexpr char32_t r = Unicode::kReplacementScalar;
  const std::vector<std::pair<std::string_view, std::vector<char32_t>>> cases = {
      {"\x80", {r}},
      {"\xBF\xBF", {r, r}},
      {"\xC0\x80", {r, r}},
      {"\xC1\xBF", {r, r}},
      {"\xC3", {r}},
      {"\xC3"
       "A",
       {r, 'A'}},
      {"\xE2\x82", {r}},
      {"\xE2\x82"
       "A",
       {r, 'A'}},
      {"\xE0\x80\x80", {r, r, r}},
      {"\xED\xA0\x80", {r, r, r}},
      {"\xF0\x9F\x98", {r}},
      {"\xF0\x8F\xBF\xBF", {r, r, r, r}},
      {"\xF0\x9F\xC3\xA4", {r, 0xE4}},
      {"\xFF\xFE", {r, r}},
  };
  for (const auto& [text, expected] : cases) {
    EXPECT_EQ(scalarsOf(text), expected) << testing::PrintToString(std::string(text));
    EXPECT_FALSE(Unicode::decodeFirst(text).isValid);
  }
}

TEST(Unicode, readsNoByteBehindTheView) {
  // The bytes that would complete the sequence lie just outside.
  const std::string euro = "\xE2\x82\xAC";
  for (std::size_t length = 1; length < euro.size(); ++length) {
    const auto decoded = Unicode::decodeFirst(std::string_view(euro).substr(0, length));
    EXPECT_FALSE(decoded.isValid);
    EXPECT_EQ(decoded.length, length);
  }
}

TEST(Unicode, knowsTheWhiteSpaceProperty) {
  const std::set<char32_t> whiteSpace = {0x09,   0x0A,   0x0B,   0x0C,   0x0D,   0x20,   0x85,
                                         0xA0,   0x1680, 0x2000, 0x2001, 0x2002, 0x2003, 0x2004,
                                         0x2005, 0x2006, 0x2007, 0x2008, 0x2009, 0x200A, 0x2028,
                                         0x2029, 0x202F, 0x205F, 0x3000};
  for (char32_t scalar = 0; scalar <= 0x10FFFF; ++scalar) {
    ASSERT_EQ(Unicode::isWhiteSpace(scalar), whiteSpace.contains(scalar))
        << std::hex << static_cast<unsigned>(scalar);
  }
}

TEST(Unicode, tellsWhetherATextHasMoreScalarsThanALimit) {
  const std::string_view text = "a\u20AC\U0001F600";
  EXPECT_TRUE(Unicode::hasMoreScalarsThan(text, -1));
  EXPECT_TRUE(Unicode::hasMoreScalarsThan(text, 2));
  EXPECT_FALSE(Unicode::hasMoreScalarsThan(text, 3));
  EXPECT_FALSE(Unicode::hasMoreScalarsThan(text, 4));
  EXPECT_FALSE(Unicode::hasMoreScalarsThan("", 0));
  EXPECT_TRUE(Unicode::hasMoreScalarsThan("", -1));
}

TEST(Unicode, cutsBetweenScalars) {
  const std::string_view text = "a\u20AC\U0001F600";
  EXPECT_EQ(Unicode::prefixOfScalars(text, -1), "");
  EXPECT_EQ(Unicode::prefixOfScalars(text, 0), "");
  EXPECT_EQ(Unicode::prefixOfScalars(text, 1), "a");
  EXPECT_EQ(Unicode::prefixOfScalars(text, 2), "a\u20AC");
  EXPECT_EQ(Unicode::prefixOfScalars(text, 3), text);
  EXPECT_EQ(Unicode::prefixOfScalars(text, 100), text);
  EXPECT_EQ(Unicode::prefixOfScalars("a\0b"sv, 2), "a\0"sv);
  EXPECT_EQ(Unicode::prefixOfScalars("e\u0301", 1), "e");
}

TEST(Unicode, trimsWhiteSpaceAtBothEndsOnly) {
  EXPECT_EQ(Unicode::trimmedOfWhiteSpace(""), "");
  EXPECT_EQ(Unicode::trimmedOfWhiteSpace(" \t\u3000\n"), "");
  EXPECT_EQ(Unicode::trimmedOfWhiteSpace("\u00A0 a \u2003 b \u2028"), "a \u2003 b");
  EXPECT_EQ(Unicode::trimmedOfWhiteSpace("\xFF "), "\xFF");
}

/// The end found by reading every scalar from the front.
std::string_view obviouslyTrimmed(std::string_view text) {
  std::size_t begin = text.size();
  std::size_t end = text.size();
  for (std::size_t at = 0; at < text.size();) {
    const auto next = Unicode::decodeFirst(text.substr(at));
    if (!Unicode::isWhiteSpace(next.scalar)) {
      begin = std::min(begin, at);
      end = at + next.length;
    }
    at += next.length;
  }
  return text.substr(begin, end - begin);
}

TEST(Unicode, trimsTheSameReadFromEitherEnd) {
  constexpr unsigned kSeed = 20240611;
  SCOPED_TRACE(testing::Message() << "seed " << kSeed);
  std::mt19937 random(kSeed);
  const std::vector<std::string> pieces = {" ",      "\n",       "\u0085", "\u00A0", "\u2003",
                                           "\u3000", "a",        "\u20AC", "\xE2",   "\x80",
                                           "\x83",   "\xE3\x80", "\xC2",   "\xA0",   "\xF0\x9F"};
  for (int i = 0; i < 20'000; ++i) {
    std::string text;
    for (auto left = random() % 8; left > 0; --left) text += pieces[random() % pieces.size()];
    const auto trimmed = Unicode::trimmedOfWhiteSpace(text);
    ASSERT_EQ(trimmed, obviouslyTrimmed(text)) << testing::PrintToString(text);
  }
}

TEST(Unicode, tellsWhetherATextIsUtf8) {
  EXPECT_TRUE(Unicode::isValid(""));
  EXPECT_TRUE(Unicode::isValid("plain text of more than eight bytes\x7F"));
  EXPECT_TRUE(Unicode::isValid("a\0b"sv));
  EXPECT_TRUE(Unicode::isValid("\u00E4\u20AC\uFFFD\U0010FFFF and more text \u00E4"));
  for (const char* broken :
       {"\x80", "\xFF", "\xC0\xA0", "\xE2\x82", "\xED\xA0\x80", "\xF4\x90\x80\x80"}) {
    EXPECT_FALSE(Unicode::isValid(broken)) << testing::PrintToString(std::string(broken));
    for (std::size_t before = 0; before < 20; ++before) {
      const std::string text = std::string(before, 'a') + broken + "after";
      EXPECT_FALSE(Unicode::isValid(text)) << before;
    }
  }
}

TEST(Unicode, tellsAsciiAtEveryPlace) {
  EXPECT_TRUE(Unicode::isASCII(""));
  for (std::size_t length = 1; length < 40; ++length) {
    std::string text(length, '\x7F');
    EXPECT_TRUE(Unicode::isASCII(text)) << length;
    for (char& character : text) {
      character = '\x80';
      EXPECT_FALSE(Unicode::isASCII(text)) << length;
      character = '\0';
    }
  }
}

}  // namespace
}  // namespace quillmor
