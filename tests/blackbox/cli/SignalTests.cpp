// Signals that ask the program to end.

#include <signal.h>

#include <algorithm>
#include <fstream>

#include "blackbox/cli/RunningCliTest.h"

namespace quillmor::test {
namespace {

class CliSignalTest : public RunningCliTest {
 protected:
  /// Sends the signal and expects that the program ends by it, without a word.
  static void expectEndBy(int signalNumber, ChildProcess& process) {
    ASSERT_EQ(::kill(process.id(), signalNumber), 0);
    EXPECT_EQ(process.waitForExit(), 128 + signalNumber);
    EXPECT_EQ(process.output(), "");
    EXPECT_EQ(process.errors(), "");
  }

  bool hasTemporary() const {
    return std::ranges::any_of(names(),
                               [](const std::string& name) { return name.ends_with(".tmp"); });
  }

  /// Whether the process has read as much as only a large file has.
  static bool hasBegunToRead(const ChildProcess& process) {
    std::ifstream counts("/proc/" + std::to_string(process.id()) + "/io");
    std::string name;
    std::int64_t count = 0;
    return counts >> name >> count && name == "rchar:" && count > 2 * 1024 * 1024;
  }
};

class CliSignalsTest : public CliSignalTest, public testing::WithParamInterface<int> {};

TEST_P(CliSignalsTest, anExportLeavesNothingBehind) {
  // It takes much longer to write than the temporary file takes to be noticed.
  writeZeros("in.bin", 256 * 1024 * 1024);
  const auto process = start("exec \"$CLI\" hex-dump in.bin -o out.txt");
  ASSERT_TRUE(waitUntil([&] { return hasTemporary(); }));
  expectEndBy(GetParam(), *process);
  EXPECT_THAT(names(), testing::ElementsAre("in.bin"));
}

TEST_P(CliSignalsTest, aProgramThatWaitsForItsReaderEnds) {
  folder.write("in.bin", std::string(100'000, 'x'));
  const Fifo pipe(pipePath());
  const auto process = start("exec \"$CLI\" hex-dump in.bin > pipe");
  ASSERT_TRUE(waitUntil([&] { return pipe.hasText(); }));
  expectEndBy(GetParam(), *process);
}

INSTANTIATE_TEST_SUITE_P(, CliSignalsTest, testing::Values(SIGINT, SIGTERM, SIGHUP, SIGQUIT));

TEST_F(CliSignalTest, aSignalBeforeTheSaveLeavesTheFileAsItWas) {
  writeLongWork();
  const FileState before = stateOf("zeros.bin");
  const auto process = start("exec \"$CLI\" preset-apply zeros.bin preset.json --in-place");
  ASSERT_TRUE(waitUntil([&] { return hasBegunToRead(*process); }));
  expectEndBy(SIGINT, *process);
  EXPECT_TRUE(stateOf("zeros.bin") == before);
  EXPECT_THAT(names(), testing::ElementsAre("preset.json", "zeros.bin"));
}

TEST_F(CliSignalTest, aSignalWhileNobodyReadsTheTextLeavesNoOutput) {
  const std::string name(512, 'n');
  std::string rules;
  for (int i = 0; i < 512; ++i)
    rules +=
        std::string(i > 0 ? "," : "") + R"({"name":")" + name + R"(","find":"41","replace":"42"})";
  folder.write("preset.json", R"({"rules":[)" + rules + "]}");
  folder.write("in.bin", "A");
  const Fifo pipe(pipePath());
  const auto process = start("exec \"$CLI\" preset-apply in.bin preset.json -o out.bin > pipe");
  ASSERT_TRUE(waitUntil([&] { return pipe.hasText(); }));
  expectEndBy(SIGTERM, *process);
  EXPECT_THAT(names(), testing::ElementsAre("in.bin", "pipe", "preset.json"));
}

TEST_F(CliSignalTest, aSignalThatWasIgnoredStaysIgnored) {
  folder.write("in.bin", std::string(100'000, 'x'));
  const std::string dump = run({"hex-dump", "in.bin"}).output;
  const Fifo pipe(pipePath());
  const auto process = start("trap '' INT HUP; exec \"$CLI\" hex-dump in.bin > pipe");
  ASSERT_TRUE(waitUntil([&] { return pipe.hasText(); }));
  ASSERT_EQ(::kill(process->id(), SIGINT), 0);
  ASSERT_EQ(::kill(process->id(), SIGHUP), 0);
  EXPECT_TRUE(pipe.readToEnd() == dump);
  EXPECT_EQ(process->waitForExit(), 0);
}

TEST_F(CliSignalTest, aSignalThatWasNotIgnoredEndsItAllTheSame) {
  folder.write("in.bin", std::string(100'000, 'x'));
  const Fifo pipe(pipePath());
  const auto process = start("trap '' INT; exec \"$CLI\" hex-dump in.bin > pipe");
  ASSERT_TRUE(waitUntil([&] { return pipe.hasText(); }));
  expectEndBy(SIGTERM, *process);
}

}  // namespace
}  // namespace quillmor::test
