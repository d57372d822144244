#include "window/SearchHistory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillmor {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(SearchHistoryTest, listsTheNewestFirst) {
  SearchHistory history;
  EXPECT_THAT(history.entries(), IsEmpty());
  history.record("one");
  history.record("two");
  history.record("three");
  EXPECT_THAT(history.entries(), ElementsAre("three", "two", "one"));
}

TEST(SearchHistoryTest, listsATextUsedAgainOnceAndFirst) {
  SearchHistory history;
  for (const char* text : {"one", "two", "three", "one"}) history.record(text);
  EXPECT_THAT(history.entries(), ElementsAre("one", "three", "two"));
  history.record("one");
  EXPECT_THAT(history.entries(), ElementsAre("one", "three", "two"));
}

TEST(SearchHistoryTest, tellsTextsApartByCaseAndSpaces) {
  SearchHistory history;
  for (const char* text : {"one", "One", " one"}) history.record(text);
  EXPECT_THAT(history.entries(), ElementsAre(" one", "One", "one"));
}

TEST(SearchHistoryTest, keepsTwentyTexts) {
  SearchHistory history;
  for (int i = 1; i <= 21; ++i) history.record(std::to_string(i));
  EXPECT_EQ(history.entries().size(), 20U);
  EXPECT_EQ(history.entries().front(), "21");
  EXPECT_EQ(history.entries().back(), "2");
}

TEST(SearchHistoryTest, ignoresEmptyTexts) {
  SearchHistory history;
  history.record("");
  EXPECT_THAT(history.entries(), IsEmpty());
}

TEST(SearchHistoryTest, keepsTextsOf4096CharactersAndNoLongerOnes) {
  SearchHistory history;
  std::string text;
  for (int i = 0; i < 4096; ++i) text += "é";
  history.record(text + "x");
  EXPECT_THAT(history.entries(), IsEmpty());
  history.record(text);
  EXPECT_THAT(history.entries(), ElementsAre(text));
}

}  // namespace
}  // namespace quillmor
