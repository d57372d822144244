// strings, hex-dump, intel-hex, patch-export and copy-as on standard output.

#include <algorithm>

#include "blackbox/cli/CliTest.h"
#include "support/FileAccessTest.h"

namespace quillmor::test {
namespace {

class CliExportTest : public CliTest {
 protected:
  /// Expects equal text from two shell commands, and that there is any.
  void expectSameOutput(const std::string& ours, const std::string& theirs) const {
    const CliRun mine = runShell(ours);
    const CliRun other = runShell(theirs);
    EXPECT_EQ(mine.status, 0) << ours;
    EXPECT_EQ(other.status, 0) << theirs << other.errors;
    EXPECT_FALSE(other.output.empty()) << theirs;
    EXPECT_TRUE(mine.output == other.output) << ours;
  }
};

// --- strings --------------------------------------------------------------------------------

constexpr const char* kStringsHead = "Offset      Length  String\n";

TEST_F(CliExportTest, stringsOfFourCharactersAndMore) {
  folder.write("a.bin", std::string("abc\0abcd", 8));
  expectOutput({"strings", "a.bin"}, 0, std::string(kStringsHead) + "00000004  4  abcd\n");
  folder.write("b.bin", std::string("\x1F ~!~\x7F") + std::string(12, 'x') + "\x80" + "last");
  expectOutput({"strings", "b.bin"}, 0,
               std::string(kStringsHead) +
                   "00000001  4   ~!~\n00000006  12  xxxxxxxxxxxx\n00000013  4  last\n");
}

TEST_F(CliExportTest, stringsOfAnyMinimum) {
  folder.write("a.bin", std::string("a\0bcd\0efghij", 12));
  const std::string all = std::string(kStringsHead) + "00000000  1  a\n";
  expectOutput({"strings", "a.bin", "--minimum", "1"}, 0,
               all + "00000002  3  bcd\n00000006  6  efghij\n");
  for (const std::string six : {"6", "0x6", "06h"}) {
    expectOutput({"strings", "a.bin", "--minimum", six}, 0,
                 std::string(kStringsHead) + "00000006  6  efghij\n");
  }
  expectOutput({"strings", "a.bin", "--minimum", "7"}, 0,
               "No printable ASCII strings with minimum length 7 were found.\n");
  expectOutput({"strings", "a.bin", "--minimum=0x7FFFFFFFFFFFFFFF"}, 0,
               "No printable ASCII strings with minimum length 9223372036854775807 were found.\n");
  folder.write("empty", "");
  expectOutput({"strings", "empty"}, 0,
               "No printable ASCII strings with minimum length 4 were found.\n");
}

TEST_F(CliExportTest, stringsNeedAMinimumOfOne) {
  folder.write("a.bin", "abcdef");
  for (const std::string minimum : {"0", "-1", "", "x", "four", "1.5", "9223372036854775808"}) {
    expectFailure({"strings", "a.bin", "--minimum", minimum},
                  "--minimum must be a number of 1 or more. See quillmor-cli strings --help.");
  }
}

TEST_F(CliExportTest, stringsAreThoseOfTheStandardTool) {
  // To that tool a tab is a printable character.
  std::string bytes = patternedText(200'000);
  std::ranges::replace(bytes, '\t', '\0');
  folder.write("a.bin", bytes);
  expectSameOutput(R"("$CLI" strings a.bin | sed -n 's/^\([0-9A-F]*\)  [0-9]*  /\1 /p')",
                   "LC_ALL=C strings -a -n4 -tx a.bin | while IFS= read -r line; do "
                   "line=${line#\"${line%%[! ]*}\"}; "
                   "printf '%08X %s\\n' 0x${line%% *} \"${line#* }\"; done");
}

// --- hex-dump -------------------------------------------------------------------------------

TEST_F(CliExportTest, hexDumpOfSixteenBytesALine) {
  folder.write("a.bin", std::string("0123456789ABCDE\x7F~", 17));
  expectOutput({"hex-dump", "a.bin"}, 0,
               "00000000  30 31 32 33 34 35 36 37 38 39 41 42 43 44 45 7F  |0123456789ABCDE.|\n"
               "00000010  7E                                               |~|\n");
  folder.write("empty", "");
  expectOutput({"hex-dump", "empty"}, 0, "");
}

TEST_F(CliExportTest, hexDumpOfARangeHasItsOffsets) {
  folder.write("a.bin", "0123456789ABCDEFGHIJ");
  const std::string from3 =
      "00000003  33 34 35 36 37 38 39 41 42 43 44 45 46 47 48 49  |3456789ABCDEFGHI|\n"
      "00000013  4A                                               |J|\n";
  expectOutput({"hex-dump", "a.bin", "--start", "3"}, 0, from3);
  expectOutput({"hex-dump", "a.bin", "--start", "3", "--length", "17"}, 0, from3);
  expectOutput({"hex-dump", "a.bin", "--start", "3", "--length", "18"}, 0, from3);
  expectOutput({"hex-dump", "a.bin", "--length", "2"}, 0,
               "00000000  30 31                                            |01|\n");
  expectOutput({"hex-dump", "a.bin", "--start", "19"}, 0,
               "00000013  4A                                               |J|\n");
  expectOutput({"hex-dump", "a.bin", "--start", "20"}, 0, "");
  expectOutput({"hex-dump", "a.bin", "--length", "0"}, 0, "");
}

TEST_F(CliExportTest, hexDumpHasTheDigitsOfTheStandardTool) {
  folder.write("a.bin", patternedText(100'007));
  expectSameOutput(R"("$CLI" hex-dump a.bin | cut -c1-57 | tr -d ' ' | tr A-F a-f)",
                   "xxd -g1 a.bin | sed 's/: /  /' | cut -c1-57 | tr -d ' '");
  expectSameOutput(R"("$CLI" hex-dump a.bin | cut -c61- | sed 's/|$//')",
                   "xxd -g1 a.bin | cut -c60-");
}

// --- intel-hex ------------------------------------------------------------------------------

TEST_F(CliExportTest, intelHex) {
  folder.write("a.bin", std::string("0123456789ABCDEFx", 17));
  expectOutput({"intel-hex", "a.bin"}, 0,
               ":020000040000FA\n"
               ":1000000030313233343536373839414243444546"
               "4E\n"
               ":01001000787"
               "7\n"
               ":00000001FF\n");
  folder.write("empty", "");
  expectOutput({"intel-hex", "empty"}, 0, ":00000001FF\n");
}

TEST_F(CliExportTest, intelHexChangesTheUpperAddress) {
  folder.write("a.bin", std::string(0x10010, '\0'));
  const CliRun ended = run({"intel-hex", "a.bin"});
  EXPECT_TRUE(
      ended.output.ends_with(":10FFF00000000000000000000000000000000000"
                             "01\n:020000040001F9\n"
                             ":1000000000000000000000000000000000000000"
                             "F0\n:00000001FF\n"));
}

TEST_F(CliExportTest, intelHexIsReadByAStandardTool) {
  folder.write("a.bin", patternedText(200'001));
  const CliRun ended = runShell(
      "\"$CLI\" intel-hex a.bin >a.hex && "
      "objcopy -I ihex -O binary a.hex back.bin && cmp a.bin back.bin");
  EXPECT_EQ(ended.status, 0) << ended.output << ended.errors;
}

// --- patch-export ---------------------------------------------------------------------------

TEST_F(CliExportTest, patchExport) {
  folder.write("a.bin", std::string(4096, '.') + "\xDE\xAD\xBE\xEF");
  const std::string patch = "QuillmorPatch 1\nOFFSET 0x00001000\nDATA DE AD BE EF\n";
  expectOutput({"patch-export", "a.bin", "--start", "4096", "--length", "4"}, 0, patch);
  expectOutput({"patch-export", "a.bin", "--start", "1000h"}, 0, patch);
  expectOutput({"patch-export", "a.bin", "--start", "0x1000", "--length", "100"}, 0, patch);
  expectOutput({"patch-export", "a.bin", "--length", "1"}, 0,
               "QuillmorPatch 1\nOFFSET 0x00000000\nDATA 2E\n");
}

TEST_F(CliExportTest, patchExportJoinsItsPieces) {
  folder.write("a.bin", std::string(4097, 'A'));
  std::string data = "DATA 41";
  for (int i = 1; i < 4097; ++i) data += " 41";
  const CliRun ended = run({"patch-export", "a.bin", "--start", "0"});
  EXPECT_TRUE(ended.output == "QuillmorPatch 1\nOFFSET 0x00000000\n" + data + "\n");
}

TEST_F(CliExportTest, patchExportNeedsARangeWithBytes) {
  folder.write("a.bin", "0123456789");
  folder.write("empty", "");
  expectFailure({"patch-export", "a.bin"},
                "--start or --length is required. See quillmor-cli patch-export --help.");
  expectFailure({"patch-export", "a.bin", "--start", "10"}, "The range is empty.");
  expectFailure({"patch-export", "a.bin", "--start", "11", "--length", "1"}, "The range is empty.");
  expectFailure({"patch-export", "a.bin", "--length", "0"}, "The range is empty.");
  expectFailure({"patch-export", "empty", "--start", "0", "-o", "out"}, "The range is empty.");
  EXPECT_FALSE(folder.exists("out"));
}

// --- copy-as --------------------------------------------------------------------------------

TEST_F(CliExportTest, copyAsEveryStyle) {
  folder.write("a.bin", "..\xDE\xAD\xBE\xEF..");
  const struct {
    std::string style;
    std::string text;
    std::string ofNothing;
  } cases[] = {{"hex", "DE AD BE EF\n", ""},
               {"c-array", "{ 0xDE, 0xAD, 0xBE, 0xEF }\n", "{  }\n"},
               {"swift-array", "[0xDE, 0xAD, 0xBE, 0xEF]\n", "[]\n"},
               {"base64", "3q2+7w==\n", ""},
               {"python-bytes", "b\"\\xde\\xad\\xbe\\xef\"\n", "b\"\"\n"},
               {"json", "[222, 173, 190, 239]\n", "[]\n"}};
  folder.write("empty", "");
  for (const auto& each : cases) {
    expectOutput({"copy-as", each.style, "a.bin", "--start", "2", "--length", "4"}, 0, each.text);
    expectOutput({"copy-as", each.style, "empty"}, 0, each.ofNothing);
    expectOutput({"copy-as", each.style, "a.bin", "--start", "8"}, 0, each.ofNothing);
  }
}

TEST_F(CliExportTest, copyAsTakesTheWholeFileAndRanges) {
  folder.write("a.bin", std::string("\x00\x09\x0A\x64\xFF", 5));
  expectOutput({"copy-as", "json", "a.bin"}, 0, "[0, 9, 10, 100, 255]\n");
  expectOutput({"copy-as", "json", "a.bin", "--start", "3"}, 0, "[100, 255]\n");
  expectOutput({"copy-as", "json", "a.bin", "--length", "1"}, 0, "[0]\n");
  expectOutput({"copy-as", "json", "a.bin", "--start", "4", "--length", "100"}, 0, "[255]\n");
}

TEST_F(CliExportTest, copyAsIsWhatStandardToolsWrite) {
  folder.write("a.bin", patternedText(50'000));
  expectSameOutput("\"$CLI\" copy-as base64 a.bin", "base64 -w0 a.bin; echo");
  expectSameOutput("\"$CLI\" copy-as hex a.bin",
                   "xxd -p -u -c1 a.bin | tr '\\n' ' ' | sed 's/ $//'; echo");
  expectSameOutput("\"$CLI\" copy-as json a.bin",
                   "od -An -v -tu1 -w1 a.bin | tr -d ' ' | paste -sd, | sed 's/,/, /g; s/.*/[&]/'");
}

TEST_F(CliExportTest, aRangeThatIsTooLargeForTextIsRefused) {
  EXPECT_EQ(runShell("truncate -s 16777217 a.bin").status, 0);
  expectFailure({"copy-as", "json", "a.bin"},
                "The selected range is too large to convert into clipboard text safely. Export the "
                "range to a file instead.");
  expectFailure({"patch-export", "a.bin", "--start", "0"},
                "The selected range is too large to export as one text patch safely. Export the "
                "raw selection or split the patch into smaller ranges.");
  const CliRun largest = runShell("\"$CLI\" copy-as base64 a.bin --start 1 | wc -c");
  EXPECT_EQ(largest.output, "22369625\n") << "(16777216 + 2) / 3 * 4 and a line feed";
}

}  // namespace
}  // namespace quillmor::test
