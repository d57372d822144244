// The help of every command.

#include <sstream>

#include "blackbox/cli/CliTest.h"
#include "cli/Command.h"
#include "cli/CommandLine.h"

namespace quillmor::test {
namespace {

class CliHelpTest : public CliTest {
 protected:
  /// Expects that a terminal shows the help without breaking its lines.
  void expectNarrowHelp(const std::vector<std::string>& arguments) const {
    std::istringstream help(run(arguments).output);
    for (std::string line; std::getline(help, line);) EXPECT_LE(line.size(), 80U) << line;
  }
};

TEST_F(CliHelpTest, helpFitsATerminal) {
  expectNarrowHelp({"--help"});
  for (const cli::Command& command : cli::commands())
    expectNarrowHelp({std::string(command.name), "--help"});
}

TEST_F(CliHelpTest, commandsThatChangeBytesSayWhatTheyNeed) {
  for (const cli::Command& command : cli::commands()) {
    const std::string sentence = "\nExactly one of -o OUT and --in-place is required.\n";
    const bool says = cli::commandHelp(command).find(sentence) != std::string::npos;
    EXPECT_EQ(says, command.changesBytes()) << command.name;
  }
}

TEST_F(CliHelpTest, everyExampleIsRightUsage) {
  for (const cli::Command& command : cli::commands()) {
    const std::string line(command.example.line);
    ASSERT_TRUE(line.starts_with("quillmor-cli " + std::string(command.name) + " ")) << line;
    // Its files are not there, which is told only when all else makes sense.
    const CliRun ended = runShell("quillmor-cli() { \"$CLI\" \"$@\"; }; " + line);
    EXPECT_EQ(ended.status, 2) << line;
    EXPECT_THAT(ended.errors, testing::Not(testing::HasSubstr("--help"))) << line;
  }
}

}  // namespace
}  // namespace quillmor::test
