// replace.

#include <algorithm>

#include "blackbox/cli/ChangeTest.h"
#include "document/QuillmorResourceLimits.h"
#include "search/typed/TypedInput.h"

namespace quillmor::test {
namespace {

using namespace std::string_literals;

class CliReplaceTest : public ChangeTest {
 protected:
  /// The options come before the texts.
  static Arguments replacing(const std::string& text, const std::string& replacement,
                             Arguments options = {}) {
    Arguments arguments = {"replace", "in.bin"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    // Texts may look like options.
    arguments.insert(arguments.end(), {"--", text, replacement});
    return arguments;
  }
};

TEST_F(CliReplaceTest, textMatchesInEitherCaseUnlessToldOtherwise) {
  expectChange(replacing("cat", "Dog"), "Cat, cat, CAT", "3 occurrence(s) replaced.",
               "Dog, Dog, Dog");
  expectChange(replacing("cat", "Dog", {"--case-sensitive"}), "Cat, cat, CAT",
               "1 occurrence(s) replaced.", "Cat, Dog, CAT");
}

TEST_F(CliReplaceTest, matchesDoNotOverlap) {
  expectChange(replacing("aa", "b"), "aaaaa", "2 occurrence(s) replaced.", "bba");
}

TEST_F(CliReplaceTest, longerAndShorterReplacementsMoveTheRest) {
  expectChange(replacing("-", "<->"), "a-b-c", "2 occurrence(s) replaced.", "a<->b<->c");
  expectChange(replacing("<->", "-"), "a<->b<->c", "2 occurrence(s) replaced.", "a-b-c");
}

TEST_F(CliReplaceTest, anEmptyReplacementDeletes) {
  expectChange(replacing(" ", ""), "a b c", "2 occurrence(s) replaced.", "abc");
  expectChange(replacing("abc", ""), "abc", "1 occurrence(s) replaced.", "");
  expectChange(replacing("20", "", {"--mode", "hex"}), "a b c", "2 occurrence(s) replaced.", "abc");
  expectChange(replacing("20", " \t ", {"--mode", "hex"}), "a b", "1 occurrence(s) replaced.",
               "ab");
}

TEST_F(CliReplaceTest, textIsTakenAsTyped) {
  expectChange(replacing("a ", " b"), "a a", "1 occurrence(s) replaced.", " ba");
}

TEST_F(CliReplaceTest, hexadecimalBytes) {
  expectChange(replacing("DE AD", "0xBE 0xEF 00", {"--mode", "hex"}), "\xDE\xAD\xDE"s,
               "1 occurrence(s) replaced.", "\xBE\xEF\x00\xDE"s);
}

TEST_F(CliReplaceTest, textInOtherEncodings) {
  struct Case {
    const char* encoding;
    std::string input;
    std::string output;
  };
  const std::vector<Case> cases = {{"editor", "xay", "x\xC3\xA4y"},
                                   {"utf8", "xay", "x\xC3\xA4y"},
                                   {"utf16le", "a\0b\0"s, "\xE4\0b\0"s},
                                   {"utf16be", "\0a\0b"s, "\0\xE4\0b"s}};
  for (const Case& one : cases) {
    expectChange(replacing("a", "\xC3\xA4", {"--encoding", one.encoding}), one.input,
                 "1 occurrence(s) replaced.", one.output);
  }
  expectChange(replacing("a", "b", {"--encoding", "ascii"}), "a", "1 occurrence(s) replaced.", "b");
}

TEST_F(CliReplaceTest, integersKeepTheWidthAndTheOrderOfTheMatch) {
  expectChange(replacing("1", "2", {"--mode", "integer"}), "\x01\0\0\0\xFF\x01\xFF\0\x01"s,
               "3 occurrence(s) replaced.", "\x02\0\0\0\xFF\x02\xFF\0\x02"s);
  expectChange(replacing("0x1234", "0x5678", {"--mode", "integer"}), "\x34\x12\xFF\x12\x34"s,
               "2 occurrence(s) replaced.", "\x78\x56\xFF\x56\x78"s);
}

TEST_F(CliReplaceTest, integersMayChangeTheirSign) {
  expectChange(replacing("200", "-1", {"--mode", "integer"}), "\xC8"s, "1 occurrence(s) replaced.",
               "\xFF"s);
  expectChange(replacing("-2", "254", {"--mode", "integer"}), "\xFE"s, "1 occurrence(s) replaced.",
               "\xFE"s);
}

TEST_F(CliReplaceTest, floatsKeepTheWidthAndTheOrderOfTheMatch) {
  expectChange(replacing("1.5", "2.5", {"--mode", "float"}),
               "\0\0\xC0\x3F"
               "\x3F\xC0\0\0"
               "\x3F\xF8\0\0\0\0\0\0"s,
               "3 occurrence(s) replaced.",
               "\0\0\x20\x40"
               "\x40\x20\0\0"
               "\x40\x04\0\0\0\0\0\0"s);
}

TEST_F(CliReplaceTest, replacementsThatChangeNothingCountAndLeaveTheFileAlone) {
  expectChange(replacing("a", "a"), "banana", "3 occurrence(s) replaced.", "banana");
}

TEST_F(CliReplaceTest, noMatchIsTheAnswerNo) {
  expectNoChange(replacing("cat", "dog"), "bird", "No matches were replaced.");
  expectNoChange(replacing("cat", "dog"), "", "No matches were replaced.");
  expectNoChange(replacing("cat", "dog"), "ca", "No matches were replaced.");
}

TEST_F(CliReplaceTest, aTextThatCannotBeReadIsRefused) {
  struct Case {
    Arguments options;
    std::string text;
    std::string kind;
  };
  const std::vector<Case> cases = {{{}, "", "text in that encoding."},
                                   {{}, "\xFF", "text in that encoding."},
                                   {{"--encoding", "ascii"}, "\xC3\xA4", "text in that encoding."},
                                   {{"--mode", "hex"}, "xyz", "hexadecimal bytes."},
                                   {{"--mode", "hex"}, "", "hexadecimal bytes."},
                                   {{"--mode", "integer"}, "1.5", "an integer."},
                                   {{"--mode", "float"}, "inf", "a floating-point number."}};
  for (const Case& one : cases) {
    expectRefusal(replacing(one.text, "1", one.options), "abc",
                  "TEXT cannot be read as " + one.kind);
  }
}

TEST_F(CliReplaceTest, aReplacementThatCannotBeReadIsRefused) {
  struct Case {
    Arguments options;
    std::string text;
    std::string replacement;
    std::string kind;
  };
  const std::vector<Case> cases = {
      {{}, "a", "\xFF", "text in that encoding."},
      {{"--encoding", "ascii"}, "a", "\xC3\xA4", "text in that encoding."},
      {{"--mode", "hex"}, "61", "62 636", "hexadecimal bytes."},
      {{"--mode", "integer"}, "97", "", "an integer."},
      {{"--mode", "integer"}, "97", "300", "an integer."},
      {{"--mode", "float"}, "97", "", "a floating-point number."},
      {{"--mode", "float"}, "97", "1e300", "a floating-point number."}};
  for (const Case& one : cases) {
    // There is a match, and yet nothing happens.
    expectRefusal(replacing(one.text, one.replacement, one.options), "abc",
                  "REPLACEMENT cannot be read as " + one.kind);
  }
}

TEST_F(CliReplaceTest, growthBeyondTheLimitIsRefused) {
  constexpr std::int64_t kMatches = 3000;
  constexpr std::int64_t kReplacement = 100'000;
  const std::int64_t room = QuillmorResourceLimits::maximumDocumentByteCount() - kMatches;
  const std::int64_t limit = std::min(room, maxGeneratedInputBytes);
  ASSERT_GT(kMatches * (kReplacement - 1), limit);
  expectRefusal(replacing("a", std::string(kReplacement, 'b')), std::string(kMatches, 'a'),
                "Replace All output would grow beyond the safe per-operation limit of " +
                    std::to_string(limit) + " additional bytes.");
}

}  // namespace
}  // namespace quillmor::test
