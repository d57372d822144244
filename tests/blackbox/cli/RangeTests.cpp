// --start, --length, OFFSET, START and LENGTH: how they are written and clipped.

#include "blackbox/cli/CliTest.h"

namespace quillmor::test {
namespace {

using Arguments = std::vector<std::string>;

class CliRangeTest : public CliTest {
 protected:
  CliRangeTest() { folder.write("a.bin", "0123456789ABCDEFGHIJ"); }

  /// Expects "copy-as hex" to print the characters of `text`.
  void expectRange(const Arguments& options, const std::string& text) const {
    Arguments arguments = {"copy-as", "hex", "a.bin"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    std::string expected;
    for (const char c : text) {
      constexpr const char* kDigits = "0123456789ABCDEF";
      if (!expected.empty()) expected += ' ';
      expected += {kDigits[c / 16], kDigits[c % 16]};
    }
    expectOutput(arguments, 0, expected.empty() ? "" : expected + "\n");
  }
};

/// The commands that take a range.
const std::vector<Arguments>& rangeCommands() {
  static const std::vector<Arguments> all = {{"checksums", "a.bin"},
                                             {"statistics", "a.bin"},
                                             {"hex-dump", "a.bin"},
                                             {"patch-export", "a.bin"},
                                             {"copy-as", "hex", "a.bin"}};
  return all;
}

TEST_F(CliRangeTest, numbersAreWrittenInFourForms) {
  for (const std::string ten : {"10", "0xA", "0Xa", "A", "a", "0Ah", "Ah", "010", "+10", " 10 "})
    expectRange({"--start", ten, "--length", "2"}, "AB");
  for (const std::string sixteen : {"16", "0x10", "10h"}) expectRange({"--start", sixteen}, "GHIJ");
  for (const std::string two : {"2", "0x2", "2h", "02"}) expectRange({"--length", two}, "01");
}

TEST_F(CliRangeTest, oneOfBothIsEnough) {
  expectRange({"--start", "17"}, "HIJ");
  expectRange({"--length", "3"}, "012");
  expectRange({"--length", "3", "--start", "17"}, "HIJ");
  expectRange({}, "0123456789ABCDEFGHIJ");
}

TEST_F(CliRangeTest, rangesAreClippedToTheFile) {
  const std::string largest = "0x7FFFFFFFFFFFFFFF";
  expectRange({"--start", "18", "--length", "2"}, "IJ");
  expectRange({"--start", "18", "--length", "3"}, "IJ");
  expectRange({"--start", "18", "--length", largest}, "IJ");
  expectRange({"--length", "21"}, "0123456789ABCDEFGHIJ");
  expectRange({"--start", "20"}, "");
  expectRange({"--start", "20", "--length", "1"}, "");
  expectRange({"--start", "21", "--length", "1"}, "");
  expectRange({"--start", largest, "--length", largest}, "");
  expectRange({"--start", "3", "--length", "0"}, "");
}

TEST_F(CliRangeTest, clippedRangesAreShownAsClipped) {
  const auto firstLine = [&](const Arguments& arguments) {
    const CliRun ended = run(arguments);
    EXPECT_EQ(ended.status, 0);
    return ended.output.substr(0, ended.output.find('\n'));
  };
  EXPECT_EQ(firstLine({"checksums", "a.bin", "--start", "18", "--length", "9"}),
            "Selection 0x00000012 - 0x00000013");
  EXPECT_EQ(firstLine({"checksum-range", "a.bin", "18", "9"}), "Range: 0x00000012 - 0x00000013");
  EXPECT_EQ(firstLine({"checksum-range", "a.bin", "99", "9"}), "Range: empty at 0x00000014");
  EXPECT_EQ(firstLine({"checksums", "a.bin", "--start", "99"}), "Range: empty at 0x00000014");
  EXPECT_EQ(firstLine({"statistics", "a.bin", "--start", "99"}), "There are no bytes to analyze.");
}

std::string unreadable(const std::string& name, const std::string& typed) {
  const std::string shown = typed == "\xFF" ? "\\xFF" : typed;
  return name + " cannot be read: \"" + shown +
         "\" is neither decimal, 0xHEX, HEX nor HEXh. See quillmor-cli ";
}

TEST_F(CliRangeTest, unreadableNumbersAreShown) {
  for (const std::string bad :
       {"", " ", "x", "0x", "h", "12g", "1.5", "1FH", "0x1h", "--", "1 2", "[1]", "{}", "%%",
        "9223372036854775808", "0x8000000000000000", "\xFF"}) {
    expectFailure({"hex-dump", "a.bin", "--start=" + bad},
                  unreadable("START", bad) + "hex-dump --help.");
    expectFailure({"hex-dump", "a.bin", "--length", bad},
                  unreadable("LENGTH", bad) + "hex-dump --help.");
    expectFailure({"inspect", "--", "a.bin", bad}, unreadable("OFFSET", bad) + "inspect --help.");
  }
}

TEST_F(CliRangeTest, unreadableNumbersAreNamed) {
  for (Arguments arguments : rangeCommands()) {
    const std::string help = arguments.front() + " --help.";
    arguments.insert(arguments.end(), {"--start", "x"});
    expectFailure(arguments, unreadable("START", "x") + help);
    *(arguments.end() - 2) = "--length";
    expectFailure(arguments, unreadable("LENGTH", "x") + help);
  }
  const std::string help = "checksum-range --help.";
  expectFailure({"checksum-range", "a.bin", "x", "1"}, unreadable("START", "x") + help);
  expectFailure({"checksum-range", "a.bin", "1", "x"}, unreadable("LENGTH", "x") + help);
}

TEST_F(CliRangeTest, negativeNumbersAreNamed) {
  for (const std::string bad : {"-1", "-9223372036854775808", "0x-1"}) {
    const std::string rest = " must be 0 or more, not " + bad + ". See quillmor-cli ";
    for (Arguments arguments : rangeCommands()) {
      const std::string command = arguments.front();
      arguments.insert(arguments.end(), {"--start", bad});
      expectFailure(arguments, "START" + rest + command + " --help.");
      *(arguments.end() - 2) = "--length";
      expectFailure(arguments, "LENGTH" + rest + command + " --help.");
    }
    expectFailure({"inspect", "a.bin", bad}, "OFFSET" + rest + "inspect --help.");
    expectFailure({"checksum-range", "a.bin", bad, "1"}, "START" + rest + "checksum-range --help.");
    expectFailure({"checksum-range", "a.bin", "1", "--", bad},
                  "LENGTH" + rest + "checksum-range --help.");
  }
}

TEST_F(CliRangeTest, aLineFeedInANumberStaysOnTheLine) {
  expectFailure(
      {"inspect", "a.bin", "1\n2\x7F"},
      "OFFSET cannot be read: \"1\\x0A2\\x7F\" is neither decimal, 0xHEX, HEX nor HEXh. See "
      "quillmor-cli inspect --help.");
}

}  // namespace
}  // namespace quillmor::test
