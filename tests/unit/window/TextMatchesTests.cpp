#include "window/TextMatches.h"

#include <gmock/gmock.h>

namespace quillmor {
namespace {

std::vector<std::int64_t> startsOf(const TextMatches& matches) {
  std::vector<std::int64_t> starts;
  for (std::int64_t i = 0; i < matches.count(); ++i) starts.push_back(matches.start(i));
  return starts;
}

TEST(TextMatchesTest, findsEveryPlaceWithoutOverlaps) {
  EXPECT_THAT(startsOf({u"abcabcab", u"ab"}), testing::ElementsAre(0, 3, 6));
  EXPECT_THAT(startsOf({u"aaaaa", u"aa"}), testing::ElementsAre(0, 2));
  EXPECT_THAT(startsOf({u"a\nb", u"\n"}), testing::ElementsAre(1));
  EXPECT_EQ(TextMatches(u"aaaaa", u"aa").length(), 2);
}

TEST(TextMatchesTest, findsNothingOfNothing) {
  EXPECT_EQ(TextMatches().count(), 0);
  EXPECT_EQ(TextMatches(u"abc", u"").count(), 0);
  EXPECT_EQ(TextMatches(u"", u"a").count(), 0);
  EXPECT_EQ(TextMatches(u"ab", u"abc").count(), 0);
  EXPECT_EQ(TextMatches(u"abc", u"x").indexFrom(0), std::nullopt);
  EXPECT_EQ(TextMatches(u"abc", u"x").indexBefore(3), std::nullopt);
}

TEST(TextMatchesTest, goesAroundTheEnds) {
  const TextMatches matches(u"..x..x..", u"x");
  EXPECT_EQ(matches.indexFrom(0), 0);
  EXPECT_EQ(matches.indexFrom(2), 0);
  EXPECT_EQ(matches.indexFrom(3), 1);
  EXPECT_EQ(matches.indexFrom(5), 1);
  EXPECT_EQ(matches.indexFrom(6), 0);
  EXPECT_EQ(matches.indexBefore(8), 1);
  EXPECT_EQ(matches.indexBefore(5), 0);
  EXPECT_EQ(matches.indexBefore(2), 1);
  EXPECT_EQ(matches.indexBefore(0), 1);
}

TEST(TextMatchesTest, findsTheFirstMatchThatReachesBeyondAPlace) {
  const TextMatches matches(u".xyz..xyz", u"xyz");
  EXPECT_EQ(matches.firstEndingBehind(0), 0);
  EXPECT_EQ(matches.firstEndingBehind(3), 0);
  EXPECT_EQ(matches.firstEndingBehind(4), 1);
  EXPECT_EQ(matches.firstEndingBehind(8), 1);
  EXPECT_EQ(matches.firstEndingBehind(9), 2);
}

}  // namespace
}  // namespace quillmor
