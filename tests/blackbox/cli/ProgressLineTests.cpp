// The line that tells how far the work is.

#include <regex>

#include "blackbox/cli/RunningCliTest.h"

namespace quillmor::test {
namespace {

class CliProgressLineTest : public RunningCliTest {
 protected:
  /// A command line whose standard error, and standard output unless redirected, is a terminal;
  /// what is shown there is the output.
  static std::string onTerminal(const std::string& command) {
    return "exec script -qefc '" + command + "' /dev/null";
  }

  static bool matches(const std::string& text, const std::string& pattern) {
    return std::regex_match(text, std::regex(pattern));
  }
};

/// Lines that replace each other, with the activities that they name.
std::string lines(const std::string& activities) {
  return "(\r\x1B\\[K(" + activities + ")( [0-9]+ %)?)+";
}

constexpr const char* kErased = "\r\x1B\\[K";

TEST_F(CliProgressLineTest, aTerminalShowsItUntilTheWorkIsDone) {
  folder.write("in.bin", std::string(100'000, 'x'));
  const std::string dump = run({"hex-dump", "in.bin"}).output;
  const Fifo pipe(pipePath());
  const auto process = start(onTerminal("\"$CLI\" hex-dump in.bin > pipe"));
  ASSERT_TRUE(waitUntil([&] { return process->output().find(" %") != std::string::npos; }));
  EXPECT_TRUE(matches(process->output(), lines("Exporting")));
  EXPECT_TRUE(pipe.readToEnd() == dump);
  EXPECT_EQ(process->waitForExit(), 0);
  EXPECT_TRUE(matches(process->output(), lines("Exporting") + kErased)) << process->output();
}

TEST_F(CliProgressLineTest, aStoppedProgramErasesItToo) {
  folder.write("in.bin", std::string(100'000, 'x'));
  const Fifo pipe(pipePath());
  const auto process = start(onTerminal("echo $$ > id; exec \"$CLI\" hex-dump in.bin > pipe"));
  ASSERT_TRUE(waitUntil([&] { return process->output().find(" %") != std::string::npos; }));
  EXPECT_EQ(runShell("kill -TERM $(cat id)").status, 0);
  EXPECT_EQ(process->waitForExit(), 128 + 15);
  EXPECT_TRUE(matches(process->output(), lines("Exporting") + kErased)) << process->output();
}

TEST_F(CliProgressLineTest, theTextOnTheSameTerminalComesAfterIt) {
  writeZeros("zeros.bin", 96 * 1024 * 1024);
  const CliRun ended = runShell(onTerminal("\"$CLI\" checksums zeros.bin"));
  EXPECT_EQ(ended.status, 0);
  const auto text = ended.output.find("Full document\r\nSize: 100663296 bytes\r\n");
  ASSERT_NE(text, std::string::npos) << ended.output;
  // Nothing at all where that took less time than it takes to be shown.
  EXPECT_TRUE(matches(ended.output.substr(0, text), "(" + lines("[A-Z][a-z]+") + kErased + ")?"))
      << ended.output;
  EXPECT_EQ(ended.output.find('\x1B', text), std::string::npos);
}

TEST_F(CliProgressLineTest, nothingIsShownElsewhere) {
  folder.write("in.bin", std::string(100'000, 'x'));
  const Fifo pipe(pipePath());
  const auto quiet = start("exec \"$CLI\" hex-dump in.bin > pipe 2> errors.txt");
  const auto captured = start("exec \"$CLI\" hex-dump in.bin > pipe");
  // When the last one shows something, the others have had the time to.
  const auto shown = start(onTerminal("\"$CLI\" hex-dump in.bin > pipe"));
  ASSERT_TRUE(waitUntil([&] { return shown->output().find(" %") != std::string::npos; }));
  EXPECT_FALSE(pipe.readToEnd().empty());
  EXPECT_EQ(quiet->waitForExit(), 0);
  EXPECT_EQ(captured->waitForExit(), 0);
  EXPECT_EQ(folder.read("errors.txt"), "");
  EXPECT_EQ(captured->errors(), "");
}

TEST_F(CliProgressLineTest, quickWorkShowsNothing) {
  folder.write("in.bin", "ABC");
  EXPECT_EQ(runShell(onTerminal("\"$CLI\" transform invert in.bin --in-place")).output,
            "Changed 3 byte(s)\r\n");
}

}  // namespace
}  // namespace quillmor::test
