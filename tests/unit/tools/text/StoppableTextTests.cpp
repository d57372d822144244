#include "tools/text/StoppableText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <string>

#include "base/Unicode.h"
#include "support/ErrorMatchers.h"
#include "support/Stopping.h"

namespace quillmor {
namespace {

constexpr std::size_t kPiece = 8;

void expectAsShortTexts(const std::string& text) {
  EXPECT_EQ(isValidUtf8(text, nullptr, kPiece), Unicode::isValid(text)) << text;
  if (!Unicode::isValid(text)) return;
  const std::string_view expected = Unicode::trimmedOfWhiteSpace(text);
  const std::string_view trimmed = trimmedOfWhiteSpace(text, nullptr, kPiece);
  EXPECT_EQ(trimmed, expected) << text;
  EXPECT_TRUE(expected.empty() || trimmed.data() == expected.data()) << text;
}

TEST(StoppableText, isReadLikeAShortOneAcrossPieces) {
  const char* middles[] = {
      "",     "a",    " ",        "\u00A0",           "\u3000",      "\U0001F600",
      "\x80", "\xFF", "\xE3\x80", "\x80\x80\x80\x80", "\xF0\x9F\x98"};
  for (const char* middle : middles) {
    for (std::size_t before = 0; before < 3 * kPiece; ++before) {
      const std::string blanks(before, ' ');
      expectAsShortTexts(blanks + middle);
      expectAsShortTexts(middle + blanks);
      expectAsShortTexts(blanks + middle + "a");
      expectAsShortTexts("a" + (middle + blanks));
      expectAsShortTexts(blanks + middle + blanks);
    }
  }
}

TEST(StoppableText, isReadLikeAShortOneWhateverItHolds) {
  const char* parts[] = {"a", " ", "\u00A0", "\u3000", "\U0001F600", "\x80", "\xE3"};
  std::mt19937 random(3);
  for (int i = 0; i < 20'000; ++i) {
    // The last two parts are not UTF-8; half of the texts have none of them.
    const std::size_t count = i % 2 == 0 ? std::size(parts) : std::size(parts) - 2;
    std::string text;
    for (std::size_t length = random() % 24; length > 0; --length) text += parts[random() % count];
    expectAsShortTexts(text);
  }
}

TEST(StoppableText, isLeftWhenStopped) {
  TaskProgress stopped;
  stopped.requestStop();
  EXPECT_THAT([&] { isValidUtf8("a", &stopped); }, test::isStopped());
  EXPECT_THAT([&] { trimmedOfWhiteSpace("a", &stopped); }, test::isStopped());
}

}  // namespace
}  // namespace quillmor
