// What TEXT stands for: modes, encodings and case.

#include "blackbox/cli/CliTest.h"

namespace quillmor::test {
namespace {

using Arguments = std::vector<std::string>;

class CliSearchTextTest : public CliTest {
 protected:
  /// Expects TEXT to be found once, as exactly `bytes`, when read as the options say.
  void expectBytes(const std::string& text, const Arguments& options,
                   const std::string& bytes) const {
    folder.write("a.bin", ".." + bytes + "..");
    const std::string line = "0x00000002  " + std::to_string(bytes.size()) + "\n";
    expectOutput(command("find", options, text), 0, line);
    expectOutput(command("find-all", options, text), 0, line + "1 occurrence(s) found.\n");
  }

  void expectUnreadable(const std::string& text, const Arguments& options,
                        const std::string& expected) const {
    folder.write("a.bin", "anything");
    expectFailure(command("find", options, text), "TEXT cannot be read as " + expected);
  }

 private:
  static Arguments command(const std::string& name, const Arguments& options,
                           const std::string& text) {
    Arguments arguments = {name};
    arguments.insert(arguments.end(), options.begin(), options.end());
    arguments.insert(arguments.end(), {"--", "a.bin", text});
    return arguments;
  }
};

TEST_F(CliSearchTextTest, textIsUtf8UnlessSaidOtherwise) {
  const std::string utf8 = "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x99\x82";
  expectBytes(utf8, {}, utf8);
  expectBytes(utf8, {"--mode", "text"}, utf8);
  expectBytes(utf8, {"--encoding", "editor"}, utf8);
  expectBytes(utf8, {"--encoding", "utf8"}, utf8);
}

TEST_F(CliSearchTextTest, textHasFiveEncodings) {
  expectBytes("Ab", {"--encoding", "ascii"}, "Ab");
  expectBytes("Ab", {"--encoding", "utf16le"}, std::string("A\0b\0", 4));
  expectBytes("Ab", {"--encoding", "utf16be"}, std::string("\0A\0b", 4));
  expectBytes("\xF0\x9F\x99\x82", {"--encoding", "utf16le"}, "\x3D\xD8\x42\xDE");
  expectBytes("\xF0\x9F\x99\x82", {"--encoding=utf16be"}, "\xD8\x3D\xDE\x42");
  expectUnreadable("\xC3\xA9", {"--encoding", "ascii"}, "text in that encoding.");
}

TEST_F(CliSearchTextTest, textIsNotTrimmed) {
  expectBytes(" a ", {}, " a ");
  expectBytes("\n", {}, "\n");
}

TEST_F(CliSearchTextTest, textIgnoresTheCaseOfAsciiLetters) {
  folder.write("a.bin", "..PCIR..pcir");
  expectOutput({"find", "a.bin", "pcir"}, 0, "0x00000002  4\n");
  expectOutput({"find", "a.bin", "PcIr", "--from", "3"}, 0, "0x00000008  4\n");
  expectOutput({"find", "a.bin", "pcir", "--case-sensitive"}, 0, "0x00000008  4\n");
  expectOutput({"find", "a.bin", "PCIR", "--case-sensitive", "--backward"}, 0, "0x00000002  4\n");
  expectOutput({"find", "a.bin", "Pcir", "--case-sensitive"}, 1, "No matches found.\n");
  expectOutput({"find-all", "a.bin", "PCIR"}, 0,
               "0x00000002  4\n0x00000008  4\n2 occurrence(s) found.\n");
  expectOutput({"find-all", "a.bin", "PCIR", "--case-sensitive"}, 0,
               "0x00000002  4\n1 occurrence(s) found.\n");
  folder.write("a.bin", std::string("\0A\xC3\x89", 4));
  expectOutput({"find", "a.bin", "a", "--encoding", "utf16be"}, 0, "0x00000000  2\n");
  expectOutput({"find", "a.bin", "\xC3\xA9"}, 1, "No matches found.\n");
}

TEST_F(CliSearchTextTest, hexBytesAreExact) {
  expectBytes("DE AD", {"--mode", "hex"}, "\xDE\xAD");
  expectBytes("0xDEad", {"--mode=hex"}, "\xDE\xAD");
  expectBytes(" de:ad-be,ef;1 ", {"--mode", "hex"}, "\xDE\xAD\xBE\xEF\x01");
  folder.write("a.bin", "a");
  expectOutput({"find", "a.bin", "41", "--mode", "hex"}, 1, "No matches found.\n");
}

TEST_F(CliSearchTextTest, integersHaveEveryWidthAndByteOrder) {
  for (const std::string& bytes :
       {std::string("\x03\x02\x01\0\0\0\0\0", 8), std::string("\0\0\0\0\0\x01\x02\x03", 8),
        std::string("\x03\x02\x01\0", 4), std::string("\0\x01\x02\x03", 4)}) {
    for (const std::string text : {"66051", "0x10203", "10203h", "+66051", " 66051 "})
      expectBytes(text, {"--mode", "integer"}, bytes);
  }
  expectBytes("-2", {"--mode", "integer"}, "\xFE");
  expectBytes("-300", {"--mode", "integer"}, "\xD4\xFE");
  expectBytes("255", {"--mode", "integer"}, "\xFF");
  expectBytes("18446744073709551614", {"--mode", "integer"}, "\xFE\xFF\xFF\xFF\xFF\xFF\xFF\xFF");
  folder.write("a.bin", "\xFF");
  expectOutput({"find", "a.bin", "18446744073709551615", "--mode", "integer"}, 1,
               "No matches found.\n");
}

TEST_F(CliSearchTextTest, floatsHaveTwoWidthsAndByteOrders) {
  for (const std::string& bytes :
       {std::string("\0\0\x20\xC0", 4), std::string("\xC0\x20\0\0", 4),
        std::string("\0\0\0\0\0\0\x04\xC0", 8), std::string("\xC0\x04\0\0\0\0\0\0", 8)}) {
    for (const std::string text : {"-2.5", "-25e-1", "-0x1.4p1", " -2.5 "})
      expectBytes(text, {"--mode", "float"}, bytes);
  }
  // Too large for four bytes.
  expectBytes("1e300", {"--mode", "float"}, std::string("\x9C\x75\0\x88\x3C\xE4\x37\x7E", 8));
}

TEST_F(CliSearchTextTest, caseAndEncodingAreOfNoConcernToNumbers) {
  expectBytes("41", {"--mode", "hex", "--encoding", "utf16le", "--case-sensitive"}, "A");
  expectBytes("66", {"--mode", "integer", "--encoding", "ascii"}, "B");
}

TEST_F(CliSearchTextTest, unreadableTextsAreNamed) {
  for (const std::string encoding : {"editor", "utf8", "ascii", "utf16le", "utf16be"}) {
    expectUnreadable("", {"--encoding", encoding}, "text in that encoding.");
    expectUnreadable("a\x80", {"--encoding", encoding}, "text in that encoding.");
  }
  expectUnreadable("\xFF", {}, "text in that encoding.");
  expectUnreadable("\xED\xA0\x80", {}, "text in that encoding.");
  for (const std::string text : {"", " ", "G", "ABC", "41 ?", "0x", "[41]", "{}", "%%", "\xFF"})
    expectUnreadable(text, {"--mode", "hex"}, "hexadecimal bytes.");
  for (const std::string text : {"", " ", "x", "1.0", "1FH", "0x", "--1", "[1]", "{}",
                                 "18446744073709551616", "-9223372036854775809", "\xFF"})
    expectUnreadable(text, {"--mode", "integer"}, "an integer.");
  for (const std::string text :
       {"", " ", "x", "1,5", "inf", "nan", "-inf", "1e999", "1.5x", "[1]", "{}", "\xFF"})
    expectUnreadable(text, {"--mode", "float"}, "a floating-point number.");
}

TEST_F(CliSearchTextTest, unreadableTextsAreNamedBeforeTheFileIsRead) {
  expectFailure({"find", "missing", "x", "--mode", "integer"},
                "TEXT cannot be read as an integer.");
  expectFailure({"find-all", "missing", ""}, "TEXT cannot be read as text in that encoding.");
}

}  // namespace
}  // namespace quillmor::test
