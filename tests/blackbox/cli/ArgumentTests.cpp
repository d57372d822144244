// How arguments are read: surplus, missing and doubled ones, and values that look like something
// else.

#include <set>

#include "blackbox/cli/CliTest.h"
#include "cli/Command.h"

namespace quillmor::test {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

using Arguments = std::vector<std::string>;

class CliArgumentTest : public CliTest {
 protected:
  CliArgumentTest() {
    folder.write("a.bin", "ABCDEFGH");
    folder.write("b.bin", "ABCDEFGH");
  }

  /// One line on standard error that has `part` in it and names the help.
  void expectWrongUsage(const Arguments& arguments, const std::string& part) const {
    const CliRun ended = run(arguments);
    EXPECT_EQ(ended.status, 2) << testing::PrintToString(arguments);
    EXPECT_EQ(ended.output, "") << testing::PrintToString(arguments);
    const std::string help = " See quillmor-cli " + arguments.front() + " --help.\n";
    EXPECT_THAT(ended.errors, AllOf(StartsWith("quillmor-cli: "), HasSubstr(part), EndsWith(help)))
        << testing::PrintToString(arguments);
    EXPECT_EQ(ended.errors.find('\n'), ended.errors.size() - 1)
        << testing::PrintToString(arguments);
  }
};

/// A command and enough arguments for it; options come behind them.
const std::vector<Arguments>& completeCommands() {
  static const std::vector<Arguments> all = {{"checksums", "a.bin"},
                                             {"checksum-range", "a.bin", "0", "4"},
                                             {"statistics", "a.bin"},
                                             {"frequency", "a.bin"},
                                             {"entropy-map", "a.bin"},
                                             {"inspect", "a.bin", "0"},
                                             {"detect", "a.bin"},
                                             {"bookmarks", "a.bin"},
                                             {"strings", "a.bin"},
                                             {"hex-dump", "a.bin"},
                                             {"intel-hex", "a.bin"},
                                             {"patch-export", "a.bin"},
                                             {"copy-as", "hex", "a.bin"},
                                             {"compare", "a.bin", "b.bin"},
                                             {"compare-list", "a.bin", "b.bin"},
                                             {"difference-report", "a.bin", "b.bin"},
                                             {"find", "a.bin", "A"},
                                             {"find-all", "a.bin", "A"},
                                             {"find-wildcard", "a.bin", "41"},
                                             {"pci-rom", "a.bin"},
                                             {"acpi-validate", "a.bin"},
                                             {"polaris-validate", "a.bin"},
                                             {"preset-dry-run", "a.bin", "b.bin"}};
  return all;
}

Arguments with(Arguments arguments, const Arguments& more) {
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

/// True if an argument may be left out: then the command itself says what is missing.
bool mayLackArguments(const cli::Command& command) {
  return std::ranges::any_of(command.arguments, &cli::ValueDescription::isOptional);
}

TEST_F(CliArgumentTest, theseAreAllCommandsThatChangeNoBytes) {
  std::set<std::string> listed;
  for (const Arguments& arguments : completeCommands()) listed.insert(arguments.front());
  std::set<std::string> inTable;
  for (const cli::Command& command : cli::commands()) {
    if (!command.changesBytes() && !mayLackArguments(command)) inTable.emplace(command.name);
  }
  EXPECT_EQ(listed, inTable);
}

TEST_F(CliArgumentTest, everyMissingArgumentIsNamed) {
  for (Arguments arguments : completeCommands()) {
    while (arguments.size() > 1) {
      arguments.pop_back();
      expectWrongUsage(arguments, " is required.");
    }
  }
  expectWrongUsage({"find"}, "FILE is required.");
  expectWrongUsage({"find", "a.bin"}, "TEXT is required.");
  expectWrongUsage({"find-wildcard", "a.bin"}, "PATTERN is required.");
  expectWrongUsage({"compare", "a.bin"}, "OTHER is required.");
  expectWrongUsage({"inspect", "a.bin"}, "OFFSET is required.");
  expectWrongUsage({"checksum-range", "a.bin", "0"}, "LENGTH is required.");
  expectWrongUsage({"bookmarks"}, "BOOKMARKFILE is required.");
  expectWrongUsage({"preset-dry-run", "a.bin"}, "PRESET is required.");
}

TEST_F(CliArgumentTest, surplusArgumentsAreNamed) {
  for (const Arguments& arguments : completeCommands()) {
    expectWrongUsage(with(arguments, {"more"}), "\"more\" is one argument too many.");
    expectWrongUsage(with(arguments, {"--", "--more"}), "\"--more\" is one argument too many.");
  }
  expectWrongUsage({"detect", "a.bin", "first", "second"}, "\"first\" is one argument too many.");
  expectWrongUsage({"detect", "a.bin", ""}, "\"\" is one argument too many.");
  expectWrongUsage({"detect", "a.bin", "a\nb"}, "\"a\\x0Ab\" is one argument too many.");
}

TEST_F(CliArgumentTest, unknownOptionsAreNamed) {
  for (const Arguments& arguments : completeCommands()) {
    expectWrongUsage(with(arguments, {"--frobnicate"}), "There is no option --frobnicate.");
    expectWrongUsage(with(arguments, {"--in-place"}), "There is no option --in-place.");
  }
  expectWrongUsage({"detect", "a.bin", "--frobnicate=1"}, "There is no option --frobnicate=1.");
  expectWrongUsage({"detect", "a.bin", "-z"}, "There is no option -z.");
  // Each of these belongs to other commands.
  expectWrongUsage({"frequency", "a.bin", "--start", "1"}, "There is no option --start.");
  expectWrongUsage({"detect", "a.bin", "-o", "out"}, "There is no option -o.");
  expectWrongUsage({"find-all", "a.bin", "A", "--from", "1"}, "There is no option --from.");
  expectWrongUsage({"find-wildcard", "a.bin", "41", "--backward"},
                   "There is no option --backward.");
  EXPECT_EQ(names(), (Arguments{"a.bin", "b.bin"}));
}

TEST_F(CliArgumentTest, anOptionIsGivenOnce) {
  expectWrongUsage({"hex-dump", "a.bin", "--start", "1", "--start", "1"},
                   "--start is given more than once.");
  expectWrongUsage({"hex-dump", "a.bin", "--length", "1", "--length=2"},
                   "--length is given more than once.");
  expectWrongUsage({"hex-dump", "a.bin", "-o", "x", "-o", "y"}, "-o is given more than once.");
  expectWrongUsage({"strings", "a.bin", "--minimum", "1", "--minimum", "2"},
                   "--minimum is given more than once.");
  expectWrongUsage({"find", "a.bin", "A", "--mode", "hex", "--mode", "hex"},
                   "--mode is given more than once.");
  expectWrongUsage({"find", "a.bin", "A", "--encoding", "utf8", "--encoding", "ascii"},
                   "--encoding is given more than once.");
  expectWrongUsage({"find", "a.bin", "A", "--from", "1", "--from", "1"},
                   "--from is given more than once.");
  EXPECT_EQ(names(), (Arguments{"a.bin", "b.bin"}));
}

TEST_F(CliArgumentTest, anOptionNeedsItsValue) {
  expectWrongUsage({"hex-dump", "a.bin", "--start"}, "--start needs a value.");
  expectWrongUsage({"hex-dump", "a.bin", "--length"}, "--length needs a value.");
  expectWrongUsage({"hex-dump", "a.bin", "-o"}, "-o needs a value.");
  expectWrongUsage({"strings", "a.bin", "--minimum"}, "--minimum needs a value.");
  expectWrongUsage({"find", "a.bin", "A", "--mode"}, "--mode needs a value.");
  expectWrongUsage({"find", "a.bin", "A", "--encoding"}, "--encoding needs a value.");
  expectWrongUsage({"find", "a.bin", "A", "--from"}, "--from needs a value.");
}

TEST_F(CliArgumentTest, aSwitchTakesNoValue) {
  for (const std::string value : {"", "true", "false", "1"}) {
    expectWrongUsage({"find", "a.bin", "A", "--backward=" + value}, "--backward takes no value.");
    expectWrongUsage({"find-all", "a.bin", "A", "--case-sensitive=" + value},
                     "--case-sensitive takes no value.");
  }
}

TEST_F(CliArgumentTest, aChoiceIsOneOfItsWords) {
  const std::string modes = "MODE must be one of text, hex, integer, float.";
  const std::string encodings = "ENCODING must be one of editor, utf8, ascii, utf16le, utf16be.";
  const std::string styles =
      "STYLE must be one of hex, c-array, swift-array, base64, python-bytes, json.";
  for (const std::string bad : {"", "HEX", "hexx", "[hex]", "{}", "0"}) {
    expectWrongUsage({"find", "a.bin", "A", "--mode", bad}, modes);
    expectWrongUsage({"find-all", "a.bin", "A", "--mode=" + bad}, modes);
    expectWrongUsage({"find", "a.bin", "A", "--encoding", bad}, encodings);
    expectWrongUsage({"copy-as", bad, "a.bin"}, styles);
  }
}

TEST_F(CliArgumentTest, namesAreNotEmpty) {
  expectWrongUsage({"detect", ""}, "FILE is an empty name.");
  expectWrongUsage({"compare", "a.bin", ""}, "OTHER is an empty name.");
  expectWrongUsage({"compare-list", "", "a.bin"}, "FILE is an empty name.");
  expectWrongUsage({"difference-report", "a.bin", ""}, "OTHER is an empty name.");
  expectWrongUsage({"bookmarks", ""}, "BOOKMARKFILE is an empty name.");
  expectWrongUsage({"preset-dry-run", "a.bin", ""}, "PRESET is an empty name.");
  expectWrongUsage({"hex-dump", "a.bin", "-o", ""}, "OUT is an empty name.");
}

TEST_F(CliArgumentTest, everyCommandHasHelpWithAnExample) {
  for (const Arguments& arguments : completeCommands()) {
    const std::string start = "\nUsage: quillmor-cli " + arguments.front() + " [OPTIONS] ";
    const CliRun ended = run({arguments.front(), "--help"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.errors, "");
    EXPECT_THAT(ended.output, AllOf(HasSubstr(start), HasSubstr("\nExit status: 0 when done"),
                                    HasSubstr("\n  quillmor-cli " + arguments.front() + " ")));
  }
  EXPECT_EQ(run({"detect", "-h"}).output, run({"detect", "--help"}).output);
}

// --- values that look like something else ---------------------------------------------------

TEST_F(CliArgumentTest, textsAreTakenAsTheyAre) {
  for (const std::string text :
       {"[a,b]", "[]",    "{}", "%%", "[",   "a,b",      "a=b",    "--x=[a,b]",  "'q'",    "\"q\"",
        " ",     "\n",    "-",  "--", "---", "-x",       "--mode", "--mode=hex", "--help", "-h",
        "-1",    "-oOUT", "#",  ";",  "!x",  "--from=1", "\\",     "A\tB",       "++"}) {
    folder.write("text.bin", "......" + text);
    const std::string found = "0x00000006  " + std::to_string(text.size()) + "\n";
    expectOutput({"find", "text.bin", "--", text}, 0, found);
  }
}

TEST_F(CliArgumentTest, textsThatAreNoOptionsNeedNoDashesBefore) {
  for (const std::string text : {"[a,b]", "[]", "{}", "%%", "[", "a=b", "-", "---", "-1", "-5%"}) {
    folder.write("text.bin", "......" + text);
    expectOutput({"find", "text.bin", text}, 0,
                 "0x00000006  " + std::to_string(text.size()) + "\n");
  }
}

TEST_F(CliArgumentTest, textsThatLookLikeOptionsNeedDashesBefore) {
  expectWrongUsage({"find", "a.bin", "-x"}, "There is no option -x.");
  expectWrongUsage({"find", "a.bin", "--frobnicate"}, "There is no option --frobnicate.");
  expectWrongUsage({"detect", "-x"}, "There is no option -x.");
}

TEST_F(CliArgumentTest, namesAreTakenAsTheyAre) {
  for (const std::string name : {"[a,b]", "{}", "%%", "-", "--", "-x", "--help", "--mode=hex",
                                 "a=b", " ", "-1", "\xFF\xFE", "caf\xC3\xA9", "a\nb", "#", "~"}) {
    folder.write(name, "\x42\x4D");
    expectOutput({"detect", "--", name}, 0, "Detected structures:\n- BMP image\n");
    expectOutput({"detect", "./" + name}, 0, "Detected structures:\n- BMP image\n");
  }
}

TEST_F(CliArgumentTest, outputsMayBearAnyName) {
  for (const std::string name : {"[a,b]", "{}", "%%", "-x", "--length", "--a=b", "a\nb", "\xFF"}) {
    expectOutput({"intel-hex", "-o", name, "b.bin"}, 0, "");
    EXPECT_EQ(folder.read(name), ":020000040000FA\n:080000004142434445464748D4\n:00000001FF\n");
  }
  expectOutput({"hex-dump", "a.bin", "-ojoined"}, 0, "");
  EXPECT_TRUE(folder.exists("joined"));
}

TEST_F(CliArgumentTest, optionsMayStandAnywhere) {
  const std::string found = "0x00000004  1\n";
  for (const Arguments& arguments :
       {Arguments{"find", "--from", "2", "a.bin", "e"}, Arguments{"find", "a.bin", "--from=2", "e"},
        Arguments{"find", "a.bin", "e", "--from", "2"},
        Arguments{"find", "--from", "2", "--", "a.bin", "e"},
        Arguments{"find", "a.bin", "--mode", "hex", "45", "--from=0x2"}}) {
    expectOutput(arguments, 0, found);
  }
}

}  // namespace
}  // namespace quillmor::test
