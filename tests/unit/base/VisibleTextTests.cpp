#include "base/VisibleText.h"

#include <gtest/gtest.h>

#include "base/FileLocation.h"

namespace quillmor {
namespace {

using namespace std::string_view_literals;

TEST(VisibleText, leavesWhatCanBeSeenToTheByte) {
  for (const std::string_view text :
       {""sv, "firmware.rom"sv, " a  b.bin "sv, "a\\b \\x1B"sv, "caf\xC3\xA9 \xE2\x82\xAC"sv,
        "\xF0\x9F\x98\x80"sv, "\xC2\xA0"sv, "\xEF\xBF\xBD"sv, "\xD7\x90\xD8\xA7"sv,
        "\xE2\x80\x8D\xE2\x80\xA7\xE2\x80\xAF\xE2\x81\xA5\xE2\x81\xAA"sv})
    EXPECT_EQ(visibleText(text), text);
}

TEST(VisibleText, writesOutControlCharacters) {
  EXPECT_EQ(visibleText("a\nb\r\tc\x1B[1m\x7F"), "a\\x0Ab\\x0D\\x09c\\x1B[1m\\x7F");
  EXPECT_EQ(visibleText("a\0b"sv), "a\\x00b");
  EXPECT_EQ(visibleText("\x1F \x7E"), "\\x1F \x7E");
  EXPECT_EQ(visibleText("\xC2\x80|\xC2\x85|\xC2\x9B|\xC2\x9F"),
            "\\u{0080}|\\u{0085}|\\u{009B}|\\u{009F}");
}

TEST(VisibleText, writesOutControlsOfDirectionAndSeparators) {
  EXPECT_EQ(visibleText("\xD8\x9C\xE2\x80\x8E\xE2\x80\x8F"), "\\u{061C}\\u{200E}\\u{200F}");
  EXPECT_EQ(visibleText("\xE2\x80\xA8\xE2\x80\xA9"), "\\u{2028}\\u{2029}");
  EXPECT_EQ(visibleText("a\xE2\x80\xAA\xE2\x80\xAB\xE2\x80\xAC\xE2\x80\xAD\xE2\x80\xAE.bin"),
            "a\\u{202A}\\u{202B}\\u{202C}\\u{202D}\\u{202E}.bin");
  EXPECT_EQ(visibleText("\xE2\x81\xA6\xE2\x81\xA7\xE2\x81\xA8\xE2\x81\xA9"),
            "\\u{2066}\\u{2067}\\u{2068}\\u{2069}");
}

TEST(VisibleText, writesOutBytesThatAreNotUtf8) {
  EXPECT_EQ(visibleText("a\xFF\xFE.bin"), "a\\xFF\\xFE.bin");
  EXPECT_EQ(visibleText("\x85\xC3"), "\\x85\\xC3");
  EXPECT_EQ(visibleText("\xE2\x82"
                        "b"),
            "\\xE2\\x82b");
  EXPECT_EQ(visibleText("\xED\xA0\x80"), "\\xED\\xA0\\x80");
}

TEST(VisibleText, isVisibleItself) {
  const std::string once = visibleText("a\n\xFF\xE2\x80\xAE\\");
  EXPECT_EQ(visibleText(once), once);
}

TEST(VisibleText, isHowLocationsAreShown) {
  const auto location = FileLocation::fromPath("/tmp/d\n/a\xFF.bin");
  EXPECT_EQ(location.shownName(), "a\\xFF.bin");
  EXPECT_EQ(location.shownPath(), "/tmp/d\\x0A/a\\xFF.bin");
  EXPECT_EQ(location.lastPathComponent(), "a\xFF.bin");
}

}  // namespace
}  // namespace quillmor
