// Help, version and wrong usage.

#include "blackbox/cli/CliTest.h"

namespace quillmor::test {
namespace {

class CliUsageTest : public CliTest {};

TEST_F(CliUsageTest, helpListsTheCommands) {
  expectGolden({"--help"}, 0, "help.txt");
}

TEST_F(CliUsageTest, helpOfACommandHasAnExample) {
  expectGolden({"find", "--help"}, 0, "find-help.txt");
}

TEST_F(CliUsageTest, versionIsPrinted) {
  expectOutput({"--version"}, 0, "quillmor-cli 0.1.0\n");
}

TEST_F(CliUsageTest, wrongUsageNamesTheHelp) {
  folder.write("a.bin", "ABC");
  expectFailure({}, "A command is required. See quillmor-cli --help.");
  expectFailure({"frobnicate"}, "There is no command frobnicate. See quillmor-cli --help.");
  expectFailure({"--frobnicate"}, "There is no option --frobnicate. See quillmor-cli --help.");
  expectFailure({"compare", "a.bin"}, "OTHER is required. See quillmor-cli compare --help.");
  expectFailure({"transform", "zor", "a.bin", "--in-place"},
                "NAME must be one of invert, reverse, swap16, swap32, xor, and, or, fill. See "
                "quillmor-cli transform --help.");
}

}  // namespace
}  // namespace quillmor::test
