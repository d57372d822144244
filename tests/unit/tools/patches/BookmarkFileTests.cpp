#include "tools/patches/BookmarkFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "base/SaturatingMath.h"
#include "document/Bookmarks.h"
#include "support/ErrorMatchers.h"
#include "support/FileAccessTest.h"
#include "window/commands/WindowLimits.h"

namespace quillmor {
namespace {

using BookmarkFile::bookmarkOffsets;
using test::failsWith;
using testing::ElementsAre;
using testing::IsEmpty;
using Offsets = std::vector<std::int64_t>;

Offsets parsed(std::string_view text) {
  return bookmarkOffsets(test::bytesOf(text));
}

auto failsToParse(int code, const std::string& message) {
  return testing::ResultOf([](const std::string& text) { return [text] { parsed(text); }; },
                           failsWith(code, message));
}

const auto kNotJSON = failsToParse(2709, "Bookmark file is not valid JSON.");
const auto kTooDeep = failsToParse(2710, "Bookmark file is nested too deeply to import safely.");
const auto kBadFormat = failsToParse(2702, "Bookmark file has an unsupported format identifier.");
const auto kBadVersion = failsToParse(2703, "Bookmark file has an unsupported version.");
const auto kNoArray = failsToParse(2704, "Bookmark file must contain a bookmarks array.");
const auto kTooMany =
    failsToParse(2705, "Bookmark file contains too many entries to import safely.");

auto isNoInteger(int index) {
  return failsToParse(2706,
                      "Bookmark at index " + std::to_string(index) + " is not an integer offset.");
}

auto isOutOfRange(int index) {
  return failsToParse(2707, "Bookmark at index " + std::to_string(index) +
                                " is not a valid non-negative integer offset.");
}

std::string fileWithVersion(const std::string& version) {
  return R"({"version":)" + version + R"(,"bookmarks":[7]})";
}

std::string fileOf(const std::string& entries) {
  return R"({"bookmarks":[)" + entries + "]}";
}

/// `count` entries, the same one each.
std::string repeatedEntries(std::size_t count, std::string_view entry) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    if (i > 0) text += ',';
    text += entry;
  }
  return text;
}

TEST(BookmarkFile, isWrittenWithSortedKeysAndIndented) {
  EXPECT_EQ(BookmarkFile::text({0, 4096, kMaxInt64}, 1000),
            "{\n"
            "  \"bookmarks\": [\n"
            "    0,\n"
            "    4096,\n"
            "    9223372036854775807\n"
            "  ],\n"
            "  \"format\": \"QuillmorBookmarks\",\n"
            "  \"version\": 1\n"
            "}\n");
}

TEST(BookmarkFile, isNotWrittenLargerThanItCanBeRead) {
  const auto size = std::ssize(BookmarkFile::text({1, 2}, 1000));
  EXPECT_EQ(std::ssize(BookmarkFile::text({1, 2}, size)), size);
  EXPECT_THAT(
      [&] {
        BookmarkFile::text({1, 2}, size - 1);
      },
      failsWith(2708, "Bookmark export is too large to import safely."));
}

TEST(BookmarkFile, readsWhatItWrites) {
  std::mt19937_64 random(11);
  for (int i = 0; i < 100; ++i) {
    Bookmarks bookmarks;
    const std::size_t count = random() % 50;
    Offsets offsets;
    for (std::size_t k = 0; k < count; ++k) {
      offsets.push_back(static_cast<std::int64_t>(random() >> (1 + random() % 63)));
    }
    bookmarks.replaceAll(offsets);
    EXPECT_EQ(parsed(BookmarkFile::text(bookmarks.offsets(), kMaxInt64)), bookmarks.offsets());
  }
}

TEST(BookmarkFile, ofTheLongestListCanBeReadAgain) {
  Offsets offsets;
  for (std::size_t i = Bookmarks::maxBookmarkEntries; i > 0; --i) {
    offsets.push_back(kMaxInt64 - static_cast<std::int64_t>(i));
  }
  EXPECT_TRUE(parsed(BookmarkFile::text(offsets, maxBookmarkImportBytes)) == offsets);
}

TEST(BookmarkFile, sortsOffsetsAndKeepsEachOnce) {
  EXPECT_THAT(parsed(fileOf("9, 0, 5, 9, 0, -0")), ElementsAre(0, 5, 9));
  EXPECT_THAT(parsed(fileOf("")), IsEmpty());
}

TEST(BookmarkFile, mayBeABareArray) {
  EXPECT_THAT(parsed("[3, 1, 3]"), ElementsAre(1, 3));
  EXPECT_THAT(parsed("[]"), IsEmpty());
  EXPECT_THAT("[true]", isNoInteger(0));
}

TEST(BookmarkFile, mayLackFormatAndVersionAndHoldOtherKeys) {
  EXPECT_THAT(parsed(R"({"bookmarks":[7]})"), ElementsAre(7));
  EXPECT_THAT(parsed(R"({"format":"QuillmorBookmarks","bookmarks":[7],"x":{"y":[]}})"),
              ElementsAre(7));
  EXPECT_THAT(parsed(fileWithVersion("1")), ElementsAre(7));
}

TEST(BookmarkFile, rejectsOtherFormats) {
  for (const char* format : {"\"\"", "\"quillmorbookmarks\"", "\"QuillmorBookmarks \"", "null",
                             "true", "1", "[\"QuillmorBookmarks\"]", "{}"}) {
    EXPECT_THAT(std::string(R"({"bookmarks":[7],"format":)") + format + "}", kBadFormat) << format;
  }
}

TEST(BookmarkFile, rejectsOtherVersions) {
  for (const char* version : {"true", "false", "0", "2", "-1", "1.5", "\"1\"", "null", "[1]", "{}",
                              "18446744073709551617"}) {
    EXPECT_THAT(fileWithVersion(version), kBadVersion) << version;
  }
  for (const char* version : {"1", "1.0", "1e0", "10e-1"}) {
    EXPECT_THAT(parsed(fileWithVersion(version)), ElementsAre(7)) << version;
  }
}

TEST(BookmarkFile, needsAnArrayOfBookmarks) {
  for (const char* text :
       {"{}", R"({"bookmarks":7})", R"({"bookmarks":null})", R"({"bookmarks":{"0":1}})",
        R"({"Bookmarks":[1]})", "7", "\"text\"", "null", "true"}) {
    EXPECT_THAT(text, kNoArray) << text;
  }
}

TEST(BookmarkFile, limitsTheNumberOfEntries) {
  constexpr std::size_t kMost = Bookmarks::maxBookmarkEntries;
  EXPECT_THAT(parsed(fileOf(repeatedEntries(kMost - 1, "5"))), ElementsAre(5));
  EXPECT_THAT(parsed(fileOf(repeatedEntries(kMost, "5"))), ElementsAre(5));
  EXPECT_THAT(parsed("[" + repeatedEntries(kMost, "5") + "]"), ElementsAre(5));
  EXPECT_TRUE(testing::Value(fileOf(repeatedEntries(kMost + 1, "5")), kTooMany));
  EXPECT_TRUE(testing::Value("[" + repeatedEntries(kMost + 1, "null") + "]", kTooMany));
}

TEST(BookmarkFile, takesIntegersOnly) {
  for (const char* entry :
       {"true", "null", "\"1\"", "1.0", "1e2", "0.5", "[1]", "{}", "1e300", "18446744073709551616",
        "-9223372036854775809", "100000000000000000000000000000000000000000"}) {
    EXPECT_THAT(fileOf(std::string("1,2,") + entry), isNoInteger(2)) << entry;
  }
}

TEST(BookmarkFile, takesOffsetsOf63BitsOnly) {
  EXPECT_THAT(parsed(fileOf("0,9223372036854775807")), ElementsAre(0, kMaxInt64));
  for (const char* entry :
       {"-1", "-9223372036854775808", "9223372036854775808", "18446744073709551615"}) {
    EXPECT_THAT(fileOf(std::string("1,") + entry), isOutOfRange(1)) << entry;
  }
}

TEST(BookmarkFile, rejectsWhatIsNotJSON) {
  for (const char* text : {"",
                           " ",
                           "{",
                           "[1",
                           "[1,]",
                           "[01]",
                           "[1] x",
                           "{bookmarks:[1]}",
                           "[1]//",
                           "['1']",
                           "[+1]",
                           "nul",
                           "[NaN]",
                           "[1e400]",
                           R"({"bookmarks":[1],})",
                           R"(["\ud800"])",
                           R"(["\udc00\ud800"])",
                           "[\"\x01\"]",
                           "[\"\xFF\"]",
                           "[\"\xED\xA0\x80\"]",
                           "[1]\xEF\xBB\xBF",
                           "\xEF\xBB",
                           "\xFF\xFE[\x01]"}) {
    EXPECT_THAT(text, kNotJSON) << text;
  }
}

TEST(BookmarkFile, acceptsAByteOrderMark) {
  EXPECT_THAT(parsed("\xEF\xBB\xBF[1]"), ElementsAre(1));
  EXPECT_THAT(parsed("\xEF\xBB\xBF\r\n{\"bookmarks\" : [ 1 ] }\r\n"), ElementsAre(1));
}

TEST(BookmarkFile, rejectsNulBytesWhereverTheyStand) {
  for (const std::string_view text :
       {std::string_view("[1]\0", 4), std::string_view("[1]\0x", 5), std::string_view("\0[1]", 4),
        std::string_view("[1\0]", 4), std::string_view("[\"\0\"]", 5)}) {
    EXPECT_THAT(std::string(text), kNotJSON);
  }
}

TEST(BookmarkFile, rejectsDeepNesting) {
  const auto nested = [](std::size_t depth) {
    return "{\"bookmarks\":[7],\"x\":" + std::string(depth - 1, '[') + std::string(depth - 1, ']') +
           "}";
  };
  EXPECT_THAT(parsed(nested(63)), ElementsAre(7));
  EXPECT_THAT(parsed(nested(64)), ElementsAre(7));
  EXPECT_THAT(nested(65), kTooDeep);
  EXPECT_TRUE(testing::Value(nested(100'000), kTooDeep));
  EXPECT_TRUE(testing::Value(std::string(100'000, '['), kTooDeep));
  std::string objects;
  for (int i = 0; i < 100'000; ++i) objects += "{\"\":";
  EXPECT_TRUE(testing::Value(objects, kTooDeep));
}

TEST(BookmarkFile, tellsOfNestingOnlyWhereItIsJSONUpToThere) {
  const std::string deep(65, '[');
  EXPECT_THAT("[1 2," + deep, kNotJSON);
  EXPECT_THAT("[1]" + deep, kNotJSON);
  EXPECT_THAT(std::string("[\0", 2) + deep, kNotJSON);
  EXPECT_THAT("[1," + deep, kTooDeep);
}

TEST(BookmarkFile, countsNoBracketsInTexts) {
  const std::string brackets(100, '[');
  EXPECT_THAT(parsed(R"({"bookmarks":[7],"x":"\")" + brackets + R"(\\"})"), ElementsAre(7));
  EXPECT_THAT(R"({"bookmarks":[7],"x":"\\","y":)" + brackets + std::string(100, ']') + "}",
              kTooDeep);
  // Many values side by side are not deep.
  EXPECT_THAT(parsed(R"({"bookmarks":[7],"x":[)" + repeatedEntries(1000, "[{}]") + "]}"),
              ElementsAre(7));
}

TEST(BookmarkFile, letsTheLastOfEqualKeysCount) {
  EXPECT_THAT(parsed(R"({"bookmarks":[1],"bookmarks":[2]})"), ElementsAre(2));
  EXPECT_THAT(R"({"bookmarks":[1],"bookmarks":2})", kNoArray);
  EXPECT_THAT(parsed(R"({"version":2,"version":1,"bookmarks":[1]})"), ElementsAre(1));
}

TEST(BookmarkFile, reportsTheFirstFailureInTheOrderOfTheChecks) {
  const std::string tooMany = repeatedEntries(Bookmarks::maxBookmarkEntries + 1, "\"\"");
  EXPECT_THAT(R"({"format":1,"version":true,"bookmarks":5)", kNotJSON);
  EXPECT_THAT(R"({"format":1,"version":true,"bookmarks":5})", kBadFormat);
  EXPECT_THAT(R"({"version":true,"bookmarks":5})", kBadVersion);
  EXPECT_TRUE(testing::Value(R"({"version":true,"bookmarks":[)" + tooMany + "]}", kBadVersion));
  EXPECT_TRUE(testing::Value(fileOf(tooMany), kTooMany));
  EXPECT_THAT(fileOf("1,-1,null"), isOutOfRange(1));
  EXPECT_THAT(fileOf("1,null,-1"), isNoInteger(1));
}

class BookmarkFileOnDisk : public test::FileAccessTest {};

TEST_F(BookmarkFileOnDisk, isReadUpToTheLimit) {
  TaskProgress progress;
  const FileLocation file = folder.write("b.json", "[1, 2]");
  EXPECT_THAT(BookmarkFile::read(file, 6, progress), ElementsAre(1, 2));
  EXPECT_THAT([&] { BookmarkFile::read(file, 5, progress); },
              failsWith(2701, "Bookmark file is too large to import safely."));
  const FileLocation bad = folder.write("bad.json", "[1, 2");
  EXPECT_THAT([&] { BookmarkFile::read(bad, 4, progress); },
              failsWith(2701, "Bookmark file is too large to import safely."));
  EXPECT_THAT([&] { BookmarkFile::read(bad, 5, progress); },
              failsWith(2709, "Bookmark file is not valid JSON."));
  EXPECT_THAT([&] { BookmarkFile::read(folder.location("none"), 5, progress); },
              test::failsWithPosix(ENOENT));
}

}  // namespace
}  // namespace quillmor
