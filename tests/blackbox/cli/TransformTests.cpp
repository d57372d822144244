// transform.

#include "blackbox/cli/ChangeTest.h"
#include "document/QuillmorResourceLimits.h"
#include "support/MemoryProbes.h"

namespace quillmor::test {
namespace {

using namespace std::string_literals;

class CliTransformTest : public ChangeTest {
 protected:
  static Arguments transforming(const std::string& name, Arguments options = {}) {
    options.insert(options.begin(), {"transform", name, "in.bin"});
    return options;
  }

  const std::string input = "\x01\x02\x03\x04\x05";
};

std::string trailing(int count, int group) {
  return "Completed. " + std::to_string(count) +
         " trailing byte(s) were left unchanged because the selection length is not divisible by " +
         std::to_string(group) + ".";
}

TEST_F(CliTransformTest, everyNameDoesWhatItSays) {
  struct Case {
    const char* name;
    const char* pattern;
    int changed;
    std::string output;
  };
  const std::vector<Case> cases = {
      {"invert", "", 5, "\xFE\xFD\xFC\xFB\xFA"},   {"reverse", "", 4, "\x05\x04\x03\x02\x01"},
      {"xor", "FF 0F", 5, "\xFE\x0D\xFC\x0B\xFA"}, {"xor", "01", 5, "\0\x03\x02\x05\x04"s},
      {"and", "01", 4, "\x01\0\x01\0\x01"s},       {"or", "0x01 0x06", 2, "\x01\x06\x03\x06\x05"},
      {"fill", "AA", 5, "\xAA\xAA\xAA\xAA\xAA"},   {"fill", "01 02 03", 2, "\x01\x02\x03\x01\x02"}};
  for (const Case& one : cases) {
    Arguments arguments = transforming(one.name);
    if (*one.pattern != '\0') arguments.insert(arguments.end(), {"--pattern", one.pattern});
    expectChange(arguments, input, "Changed " + std::to_string(one.changed) + " byte(s)",
                 one.output);
  }
}

TEST_F(CliTransformTest, swapsReverseCompleteGroups) {
  expectChange(transforming("swap16"), "\x01\x02\x03\x04", "Changed 4 byte(s)", "\x02\x01\x04\x03");
  expectChange(transforming("swap32"), "\x01\x02\x03\x04", "Changed 4 byte(s)", "\x04\x03\x02\x01");
}

TEST_F(CliTransformTest, bytesBehindTheLastGroupStayAndAreNoted) {
  expectChange(transforming("swap16"), input, "Changed 4 byte(s)", "\x02\x01\x04\x03\x05",
               trailing(1, 2));
  expectChange(transforming("swap32"), input + "\x06\x07", "Changed 4 byte(s)",
               "\x04\x03\x02\x01\x05\x06\x07", trailing(3, 4));
  // Also where the groups are the same both ways.
  expectChange(transforming("swap16"), "aab", "Changed 0 byte(s)", "aab", trailing(1, 2));
}

TEST_F(CliTransformTest, rangesAreClippedToTheFile) {
  struct Case {
    Arguments range;
    int changed;
    std::string output;
  };
  const std::vector<Case> cases = {
      {{"--start", "1", "--length", "3"}, 3, "\x01\xFD\xFC\xFB\x05"},
      {{"--start", "0x3"}, 2, "\x01\x02\x03\xFB\xFA"},
      {{"--length", "2h"}, 2, "\xFE\xFD\x03\x04\x05"},
      {{"--start", "4", "--length", "1"}, 1, "\x01\x02\x03\x04\xFA"},
      {{"--start", "4", "--length", "2"}, 1, "\x01\x02\x03\x04\xFA"},
      {{"--start", "1", "--length", "9223372036854775807"}, 4, "\x01\xFD\xFC\xFB\xFA"}};
  for (const Case& one : cases) {
    expectChange(transforming("invert", one.range), input,
                 "Changed " + std::to_string(one.changed) + " byte(s)", one.output);
  }
}

TEST_F(CliTransformTest, patternsAndGroupsBeginWithTheRange) {
  expectChange(transforming("xor", {"--pattern", "FF 00", "--start", "1"}), input,
               "Changed 2 byte(s)", "\x01\xFD\x03\xFB\x05");
  expectChange(transforming("swap16", {"--start", "1"}), input, "Changed 4 byte(s)",
               "\x01\x03\x02\x05\x04");
  expectChange(transforming("swap16", {"--start", "2", "--length", "3"}), input,
               "Changed 2 byte(s)", "\x01\x02\x04\x03\x05", trailing(1, 2));
}

TEST_F(CliTransformTest, aChangeOfNothingLeavesTheFileAlone) {
  expectChange(transforming("xor", {"--pattern", "00"}), input, "Changed 0 byte(s)", input);
  expectChange(transforming("reverse"), "abcba", "Changed 0 byte(s)", "abcba");
}

TEST_F(CliTransformTest, anEmptyRangeIsRefused) {
  expectRefusal(transforming("invert"), "", "The range is empty.");
  expectRefusal(transforming("invert", {"--length", "0"}), input, "The range is empty.");
  expectRefusal(transforming("invert", {"--start", "5"}), input, "The range is empty.");
  expectRefusal(transforming("fill", {"--start", "9", "--pattern", "00"}), input,
                "The range is empty.");
  expectRefusal(transforming("swap16", {"--start", "5"}), input, "The range is empty.");
}

TEST_F(CliTransformTest, aRangeWithoutAGroupIsRefused) {
  expectRefusal(transforming("swap16", {"--start", "4"}), input,
                "Selection must contain at least 2 bytes.");
  expectRefusal(transforming("swap32", {"--length", "3"}), input,
                "Selection must contain at least 4 bytes.");
}

TEST_F(CliTransformTest, patternsAreForThoseThatTakeThem) {
  for (const std::string name : {"xor", "and", "or", "fill"}) {
    expectRefusal(transforming(name), input,
                  "--pattern is required for " + name + ". See quillmor-cli transform --help.");
    for (const char* const pattern : {"", "012", "xy", "\xFF"}) {
      expectRefusal(transforming(name, {"--pattern", pattern}), input,
                    "PATTERN cannot be read as hexadecimal bytes.");
    }
  }
  for (const std::string name : {"invert", "reverse", "swap16", "swap32"}) {
    expectRefusal(transforming(name, {"--pattern", "00"}), input,
                  "--pattern is for xor, and, or and fill. See quillmor-cli transform --help.");
  }
}

TEST_F(CliTransformTest, offsetsThatCannotBeReadNameThemselves) {
  expectRefusal(transforming("invert", {"--start", "1x"}), input,
                "START cannot be read: \"1x\" is neither decimal, 0xHEX, HEX nor HEXh. See "
                "quillmor-cli transform --help.");
  expectRefusal(transforming("invert", {"--length=-1"}), input,
                "LENGTH must be 0 or more, not -1. See quillmor-cli transform --help.");
}

/// Tests at the limit of what is changed at once, on files without a block on the disk.
class CliTransformLimitTest : public CliTransformTest {
 protected:
  void SetUp() override {
    if (QuillmorResourceLimits::maximumDocumentByteCount() <= kLimit)
      GTEST_SKIP() << "this machine opens no larger documents";
    writeZeros("in.bin", kLimit + 1);
  }

  static constexpr std::int64_t kLimit = 268'435'456;
};

TEST_F(CliTransformLimitTest, aRangeOfTheLimitIsTaken) {
  const FileState before = stateOf("in.bin");
  expectOutput(transforming("and", {"--pattern", "FF", "--start", "1", "--in-place"}), 0,
               "Changed 0 byte(s)\n");
  EXPECT_TRUE(stateOf("in.bin") == before);
}

TEST_F(CliTransformLimitTest, oneByteMoreIsRefused) {
  expectFailure(transforming("invert", {"-o", "out.bin"}),
                "Selected range is 268435457 byte(s). The in-memory edit safety limit is 268435456 "
                "bytes to avoid memory pressure.");
  expectFailure(transforming("fill", {"--pattern", "00", "-o", "out.bin"}),
                "Requested operation would generate 268435457 byte(s). The safety limit is "
                "268435456 bytes to avoid memory pressure.");
  EXPECT_THAT(names(), testing::ElementsAre("in.bin"));
}

#if QUILLMOR_MEMORY_IS_MEASURABLE

TEST_F(CliTransformTest, theFileIsInMemoryTwiceAtMost) {
  constexpr std::int64_t kSize = std::int64_t{48} * 1024 * 1024;
  writeZeros("in.bin", kSize);
  // Of the whole program, with the file once.
  const std::int64_t once = run({"frequency", "in.bin"}).peakMemory;
  EXPECT_GT(once, kSize);
  const std::vector<Arguments> ranges = {{},
                                         {"--start", "1", "--length", std::to_string(kSize - 2)}};
  for (const Arguments& range : ranges) {
    for (const Arguments& place : {Arguments{"-o", "out.bin"}, Arguments{"--in-place"}}) {
      Arguments arguments = withOptions(transforming("invert", range), place);
      const CliRun ended = run(arguments);
      EXPECT_EQ(ended.status, 0) << ended.errors;
      EXPECT_LT(ended.peakMemory, once + kSize * 3 / 2) << testing::PrintToString(arguments);
    }
  }
}

#endif

}  // namespace
}  // namespace quillmor::test
