#include "blackbox/cli/CliTest.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace quillmor::test {

namespace {

CliRun runToEnd(const std::vector<std::string>& command,
                const ChildProcess::Environment& environment, const TemporaryFolder& folder) {
  ChildProcess process(command, environment, folder.path().string());
  const auto status = process.waitForExit();
  return {status.value_or(-1), process.output(), process.errors(), process.peakMemory()};
}

}  // namespace

ChildProcess::Environment CliTest::environment() const {
  return {{"PATH", std::getenv("PATH")},
          {"CLI", QUILLMOR_CLI},
          {"XDG_STATE_HOME", state.path().string()}};
}

CliRun CliTest::run(const std::vector<std::string>& arguments) const {
  std::vector<std::string> command = {QUILLMOR_CLI};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return runToEnd(command, environment(), folder);
}

CliRun CliTest::runShell(const std::string& command) const {
  return runToEnd({"bash", "-c", command}, environment(), folder);
}

void CliTest::expectOutput(const std::vector<std::string>& arguments, int status,
                           const std::string& output) const {
  const CliRun ended = run(arguments);
  EXPECT_EQ(ended.status, status) << testing::PrintToString(arguments);
  EXPECT_EQ(ended.output, output) << testing::PrintToString(arguments);
  EXPECT_EQ(ended.errors, "") << testing::PrintToString(arguments);
}

void CliTest::expectGolden(const std::vector<std::string>& arguments, int status,
                           const std::string& goldenName) const {
  expectOutput(arguments, status, golden(goldenName));
}

void CliTest::expectFailure(const std::vector<std::string>& arguments,
                            const std::string& message) const {
  const CliRun ended = run(arguments);
  EXPECT_EQ(ended.status, 2) << testing::PrintToString(arguments);
  EXPECT_EQ(ended.output, "") << testing::PrintToString(arguments);
  EXPECT_EQ(ended.errors, "quillmor-cli: " + message + "\n") << testing::PrintToString(arguments);
}

std::vector<std::string> CliTest::names() const {
  std::vector<std::string> found;
  for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
    found.push_back(entry.path().filename().string());
  std::ranges::sort(found);
  return found;
}

std::string messageAbout(const std::string& file, const std::string& command,
                         const std::string& message) {
  static const std::vector<std::string> takingSeveral = {"compare",           "compare-list",
                                                         "difference-report", "patch-apply",
                                                         "preset-apply",      "preset-dry-run"};
  const bool namesIt = std::ranges::find(takingSeveral, command) != takingSeveral.end();
  return namesIt ? file + ": " + message : message;
}

std::string golden(const std::string& name) {
  std::ifstream file(std::string(QUILLMOR_GOLDEN) + "/" + name, std::ios::binary);
  EXPECT_TRUE(file.is_open()) << name;
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace quillmor::test
