#include "cli/TypedSearch.h"

#include <gtest/gtest.h>

#include "support/ErrorMatchers.h"
#include "support/SearchFixture.h"

namespace quillmor::cli {
namespace {

using test::failsWith;
using test::searchBytes;
using testing::ElementsAre;

Arguments searchFor(const std::string& text) {
  Arguments arguments;
  arguments.set("TEXT", text);
  return arguments;
}

TEST(TypedSearchTest, textInEitherCaseIsTheDefault) {
  const TypedSearch search = typedSearch(searchFor("Ab"));
  EXPECT_EQ(search.request.mode, SearchMode::textString);
  EXPECT_EQ(search.request.textEncoding, SearchTextEncoding::editor);
  EXPECT_FALSE(search.request.caseSensitive);
  ASSERT_EQ(search.candidateList.size(), 1U);
  EXPECT_EQ(search.candidateList.front().bytes, searchBytes("Ab"));
}

TEST(TypedSearchTest, optionsChooseHowTheTextIsRead) {
  Arguments arguments = searchFor("10");
  arguments.set("--case-sensitive", "");
  arguments.set("--encoding", "utf16be");
  EXPECT_TRUE(typedSearch(arguments).request.caseSensitive);
  EXPECT_EQ(typedSearch(arguments).candidateList.front().bytes,
            searchBytes(std::string_view("\0001\0000", 4)));
  arguments.set("--mode", "hex");
  EXPECT_EQ(typedSearch(arguments).candidateList.front().bytes, searchBytes("\x10"));
  arguments.set("--mode", "integer");
  EXPECT_EQ(typedSearch(arguments).candidateList.back().bytes, searchBytes("\x0A"));
  arguments.set("--mode", "float");
  EXPECT_EQ(typedSearch(arguments).request.mode, SearchMode::floatingPointNumber);
  EXPECT_EQ(typedSearch(arguments).candidateList.size(), 4U);
}

TEST(TypedSearchTest, aTextThatStandsForNothingIsRefused) {
  EXPECT_THAT([] { typedSearch(searchFor("")); },
              failsWith(2004, "TEXT cannot be read as text in that encoding."));
  EXPECT_THAT([] { typedSearch(searchFor("\xC3")); },
              failsWith(2004, "TEXT cannot be read as text in that encoding."));
  Arguments integer = searchFor("ten");
  integer.set("--mode", "integer");
  EXPECT_THAT([&] { typedSearch(integer); }, failsWith(2004, "TEXT cannot be read as an integer."));
}

TEST(TypedSearchTest, everyCandidateHasItsReplacement) {
  Arguments arguments = searchFor("0x1234");
  arguments.set("--mode", "integer");
  arguments.set("REPLACEMENT", "1");
  const TypedSearch search = typedSearch(arguments);
  const ReplacementTable table = typedReplacements(search);
  ASSERT_EQ(table.size(), search.candidateList.size());
  for (std::size_t i = 0; i < table.size(); ++i)
    EXPECT_EQ(table[i].size(), search.candidateList[i].bytes.size());
}

TEST(TypedSearchTest, aReplacementThatFitsNotEveryCandidateIsRefused) {
  Arguments arguments = searchFor("12");
  arguments.set("--mode", "integer");
  arguments.set("REPLACEMENT", "256");
  const TypedSearch search = typedSearch(arguments);
  EXPECT_THAT([&] { typedReplacements(search); },
              failsWith(2005, "REPLACEMENT cannot be read as an integer."));
}

TEST(TypedSearchTest, anEmptyReplacementIsOneOfBytes) {
  Arguments arguments = searchFor("FF");
  arguments.set("REPLACEMENT", "");
  EXPECT_THAT(typedReplacements(typedSearch(arguments)), ElementsAre(searchBytes("")));
  arguments.set("--mode", "hex");
  EXPECT_THAT(typedReplacements(typedSearch(arguments)), ElementsAre(searchBytes("")));
}

}  // namespace
}  // namespace quillmor::cli
