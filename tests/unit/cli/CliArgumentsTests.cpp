#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/SaturatingMath.h"
#include "cli/Arguments.h"

namespace quillmor::cli {
namespace {

auto isUsageError(const std::string& sentence) {
  return testing::ThrowsMessage<UsageError>(sentence);
}

Arguments with(std::string_view name, const std::string& value, std::string_view shownName = {}) {
  Arguments arguments;
  arguments.set(name, value, shownName);
  return arguments;
}

TEST(CliArgumentsTest, whatWasNotGivenIsAbsent) {
  const Arguments none;
  EXPECT_FALSE(none.has("-o"));
  EXPECT_FALSE(none.find("-o").has_value());
  EXPECT_FALSE(none.findOffset("--start").has_value());
  EXPECT_FALSE(none.hasRange());
}

TEST(CliArgumentsTest, aSwitchHasAnEmptyValue) {
  const Arguments arguments = with("--backward", "");
  EXPECT_TRUE(arguments.has("--backward"));
  EXPECT_EQ(arguments.text("--backward"), "");
}

TEST(CliArgumentsTest, offsetsAreReadAsThePromptsOfTheEditorDo) {
  EXPECT_EQ(with("OFFSET", "10").offset("OFFSET"), 10);
  EXPECT_EQ(with("OFFSET", "0x10").offset("OFFSET"), 16);
  EXPECT_EQ(with("OFFSET", "1F").offset("OFFSET"), 31);
  EXPECT_EQ(with("OFFSET", "10h").offset("OFFSET"), 16);
  EXPECT_EQ(with("OFFSET", " +7 ").offset("OFFSET"), 7);
  EXPECT_EQ(with("OFFSET", "9223372036854775807").offset("OFFSET"), kMaxInt64);
}

TEST(CliArgumentsTest, offsetsThatCannotBeReadNameThemselves) {
  EXPECT_THAT(
      [] { with("OFFSET", "x").offset("OFFSET"); },
      isUsageError("OFFSET cannot be read: \"x\" is neither decimal, 0xHEX, HEX nor HEXh."));
  EXPECT_THAT([] { with("--length", "9223372036854775808", "LENGTH").offset("--length"); },
              isUsageError("LENGTH cannot be read: \"9223372036854775808\" is neither decimal, "
                           "0xHEX, HEX nor HEXh."));
  EXPECT_THAT([] { with("--from", "", "OFFSET").offset("--from"); },
              isUsageError("OFFSET cannot be read: \"\" is neither decimal, 0xHEX, HEX nor HEXh."));
  EXPECT_THAT([] { with("OFFSET", std::string(65, 'x')).offset("OFFSET"); },
              isUsageError("OFFSET cannot be read: \"" + std::string(64, 'x') +
                           "...\" is neither decimal, 0xHEX, HEX nor HEXh."));
  EXPECT_THAT([] { with("--start", "-1", "START").offset("--start"); },
              isUsageError("START must be 0 or more, not -1."));
}

TEST(CliArgumentsTest, rangesAreClippedToTheDocument) {
  Arguments arguments;
  EXPECT_EQ(arguments.range(10), (HexSelection{0, 10}));
  arguments.set("--start", "4");
  EXPECT_EQ(arguments.range(10), (HexSelection{4, 6}));
  arguments.set("--length", "6");
  EXPECT_EQ(arguments.range(10), (HexSelection{4, 6}));
  arguments.set("--length", "7");
  EXPECT_EQ(arguments.range(10), (HexSelection{4, 6}));
  arguments.set("--length", "5");
  EXPECT_EQ(arguments.range(10), (HexSelection{4, 5}));
  arguments.set("--start", "9223372036854775807");
  arguments.set("--length", "9223372036854775807");
  EXPECT_EQ(arguments.range(10).length, 0);
  EXPECT_TRUE(arguments.hasRange());
}

TEST(CliArgumentsTest, aLengthAloneStartsAtTheBeginning) {
  const Arguments arguments = with("--length", "3");
  EXPECT_TRUE(arguments.hasRange());
  EXPECT_EQ(arguments.range(10), (HexSelection{0, 3}));
  EXPECT_EQ(arguments.range(0).length, 0);
}

TEST(CliArgumentsTest, filesNeedAName) {
  EXPECT_EQ(with("FILE", "/a b").file("FILE").path(), "/a b");
  EXPECT_THAT([] { with("FILE", "").file("FILE"); }, isUsageError("FILE is an empty name."));
  EXPECT_THAT([] { with("FILE", "").documentFile("FILE"); },
              isUsageError("FILE is an empty name."));
}

}  // namespace
}  // namespace quillmor::cli
