// find and find-all: where they look and what they answer.

#include "blackbox/cli/CliTest.h"
#include "support/FileAccessTest.h"

namespace quillmor::test {
namespace {

using Arguments = std::vector<std::string>;

class CliSearchTest : public CliTest {
 protected:
  /// Expects find in "a.bin" to print one line.
  void expectFound(const Arguments& more, const std::string& line) const {
    Arguments arguments = {"find", "a.bin"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    expectOutput(arguments, 0, line + "\n");
  }

  void expectNothing(const Arguments& more) const {
    Arguments arguments = {"find", "a.bin"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    expectOutput(arguments, 1, "No matches found.\n");
  }
};

TEST_F(CliSearchTest, findStartsAtTheStart) {
  folder.write("a.bin", "..ab..ab..");
  expectFound({"ab"}, "0x00000002  2");
  expectFound({".."}, "0x00000000  2");
  expectNothing({"abc"});
}

TEST_F(CliSearchTest, findStartsWhereItIsTold) {
  folder.write("a.bin", "..ab..ab..");
  expectFound({"ab", "--from", "2"}, "0x00000002  2");
  expectFound({"ab", "--from", "3"}, "0x00000006  2");
  expectFound({"ab", "--from", "0x6"}, "0x00000006  2");
  // It does not begin anew at the start.
  expectNothing({"ab", "--from", "7"});
  expectNothing({"ab", "--from", "10"});
  expectNothing({"ab", "--from", "0x7FFFFFFFFFFFFFFF"});
}

TEST_F(CliSearchTest, findGoesBackward) {
  folder.write("a.bin", "..ab..ab..");
  expectFound({"ab", "--backward"}, "0x00000006  2");
  expectFound({"ab", "--backward", "--from", "10"}, "0x00000006  2");
  expectFound({"ab", "--backward", "--from", "6"}, "0x00000006  2");
  expectFound({"ab", "--backward", "--from", "5"}, "0x00000002  2");
  expectFound({"ab", "--backward", "--from", "2"}, "0x00000002  2");
  expectFound({"ab", "--backward", "--from", "0x7FFFFFFFFFFFFFFF"}, "0x00000006  2");
  expectNothing({"ab", "--backward", "--from", "1"});
  expectNothing({"ab", "--backward", "--from", "0"});
  folder.write("a.bin", "ab");
  expectFound({"ab", "--backward"}, "0x00000000  2");
  expectFound({"ab", "--backward", "--from", "0"}, "0x00000000  2");
}

TEST_F(CliSearchTest, findPrefersTheEarliestAndThenTheLongest) {
  folder.write("a.bin", std::string("\x09\x01\0\0\0\x09\0\x01", 8));
  expectFound({"1", "--mode", "integer"}, "0x00000001  4");
  expectFound({"1", "--mode", "integer", "--from", "2"}, "0x00000006  2");
  expectFound({"1", "--mode", "integer", "--from", "7"}, "0x00000007  1");
  expectFound({"1", "--mode", "integer", "--backward"}, "0x00000007  1");
  expectFound({"1", "--mode", "integer", "--backward", "--from", "6"}, "0x00000006  2");
}

TEST_F(CliSearchTest, findAllListsWhatDoesNotOverlap) {
  folder.write("a.bin", "AAAAA");
  expectOutput({"find-all", "a.bin", "4141", "--mode", "hex"}, 0,
               "0x00000000  2\n0x00000002  2\n2 occurrence(s) found.\n");
  expectOutput({"find-all", "a.bin", "aaaaa"}, 0, "0x00000000  5\n1 occurrence(s) found.\n");
  expectOutput({"find-all", "a.bin", "b"}, 1, "No matches found.\n");
}

TEST_F(CliSearchTest, findAllPrefersLongerMatches) {
  folder.write("a.bin", std::string("\x01\x00\x00\x00\x01\x00\x01", 7));
  expectOutput({"find-all", "a.bin", "1", "--mode", "integer"}, 0,
               "0x00000000  4\n0x00000004  2\n0x00000006  1\n3 occurrence(s) found.\n");
}

TEST_F(CliSearchTest, anEmptyFileHasNoMatches) {
  folder.write("a.bin", "");
  expectNothing({"a"});
  expectNothing({"a", "--backward"});
  expectNothing({"a", "--from", "5"});
  expectNothing({"00", "--mode", "hex"});
  expectOutput({"find-all", "a.bin", "a"}, 1, "No matches found.\n");
}

TEST_F(CliSearchTest, offsetsGrowBeyondEightDigitsOfLength) {
  folder.write("a.bin", std::string(0x12345, '.') + std::string(70'000, 'x'));
  expectFound({std::string(70'000, 'X')}, "0x00012345  70000");
}

TEST_F(CliSearchTest, findAllIsWhatTheStandardToolFinds) {
  folder.write("a.bin", patternedText(500'000));
  const CliRun ours = runShell(R"("$CLI" find-all a.bin 'a5' --mode hex | sed '$d')");
  const CliRun theirs =
      runShell(R"(LC_ALL=C grep -obUaP '\xA5' a.bin | while IFS=: read -r at rest; do )"
               R"([ -n "$at" ] && printf '0x%08X  1\n' "$at"; done 2>&1)");
  EXPECT_FALSE(theirs.output.empty());
  EXPECT_TRUE(ours.output == theirs.output);
}

TEST_F(CliSearchTest, unreadableOffsetsAreNamed) {
  folder.write("a.bin", "ab");
  for (const std::string command : {"find", "find-wildcard"}) {
    const std::string help = " See quillmor-cli " + command + " --help.";
    for (const std::string offset : {"", "x", "0x", "12g", "1.5", "1FH", "9223372036854775808"}) {
      expectFailure({command, "a.bin", "61", "--from", offset},
                    "OFFSET cannot be read: \"" + offset +
                        "\" is neither decimal, 0xHEX, HEX nor HEXh." + help);
    }
    expectFailure({command, "a.bin", "61", "--from", "-1"},
                  "OFFSET must be 0 or more, not -1." + help);
  }
}

// --- find-wildcard --------------------------------------------------------------------------

TEST_F(CliSearchTest, wildcardsMatchAnyByte) {
  folder.write("a.bin", "..\xF0\x11\xE6\x0F..\xF0\x22\xE6\x0F");
  expectOutput({"find-wildcard", "a.bin", "F0 ?? E6 0F"}, 0, "0x00000002  4\n");
  expectOutput({"find-wildcard", "a.bin", "f0,??;e60f"}, 0, "0x00000002  4\n");
  expectOutput({"find-wildcard", "a.bin", "??"}, 0, "0x00000000  1\n");
  expectOutput({"find-wildcard", "a.bin", "22 ??"}, 0, "0x00000009  2\n");
  expectOutput({"find-wildcard", "a.bin", "F0 ?? E6 10"}, 1, "No match found.\n");
  expectOutput({"find-wildcard", "a.bin", "0F ??"}, 0, "0x00000005  2\n");
  expectOutput({"find-wildcard", "a.bin", "22 E6 0F ??"}, 1, "No match found.\n");
}

TEST_F(CliSearchTest, wildcardSearchesWrap) {
  folder.write("a.bin", "..\xF0\x11\xE6\x0F..\xF0\x22\xE6\x0F");
  const Arguments find = {"find-wildcard", "a.bin", "F0 ?? E6"};
  const auto from = [&](const std::string& offset) {
    Arguments arguments = find;
    arguments.insert(arguments.end(), {"--from", offset});
    return arguments;
  };
  expectOutput(from("2"), 0, "0x00000002  3\n");
  expectOutput(from("3"), 0, "0x00000008  3\n");
  expectOutput(from("8"), 0, "0x00000008  3\n");
  expectOutput(from("9"), 0, "0x00000002  3\n");
  expectOutput(from("12"), 0, "0x00000002  3\n");
  expectOutput(from("0x7FFFFFFFFFFFFFFF"), 0, "0x00000002  3\n");
  // Nothing but wildcards matches where it starts, or at 0 where it does not fit.
  expectOutput({"find-wildcard", "a.bin", "?? ??", "--from", "10"}, 0, "0x0000000A  2\n");
  expectOutput({"find-wildcard", "a.bin", "?? ??", "--from", "11"}, 0, "0x00000000  2\n");
}

TEST_F(CliSearchTest, aPatternLongerThanTheFileIsNowhere) {
  folder.write("a.bin", "ab");
  folder.write("empty", "");
  expectOutput({"find-wildcard", "a.bin", "?? ?? ??"}, 1, "No match found.\n");
  expectOutput({"find-wildcard", "empty", "??"}, 1, "No match found.\n");
  expectOutput({"find-wildcard", "empty", "00"}, 1, "No match found.\n");
}

TEST_F(CliSearchTest, badPatternsAreRefused) {
  folder.write("a.bin", "ab");
  for (const std::string pattern : {"", " ", "A", "?", "A?", "?A", "AA-BB", "0xAA", "GG", "[AA]",
                                    "{}", "%%", "\xC3\xA9", "\xFF"}) {
    expectFailure({"find-wildcard", "a.bin", pattern},
                  "Invalid pattern. Use byte tokens such as DE AD ?? EF.");
    expectFailure({"find-wildcard", "missing", pattern},
                  "Invalid pattern. Use byte tokens such as DE AD ?? EF.");
  }
}

}  // namespace
}  // namespace quillmor::test
