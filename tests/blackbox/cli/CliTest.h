#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "blackbox/ChildProcess.h"
#include "support/TemporaryFolder.h"

namespace quillmor::test {

/// What a run of the program came to.
struct CliRun {
  int status = -1;  ///< 128 + the number for a signal
  std::string output;
  std::string errors;
  std::int64_t peakMemory = 0;  ///< bytes
};

/// Tests of quillmor-cli: run in a folder of the test's own, judged by what it prints, by its exit
/// status and by what it leaves on the disk.
class CliTest : public testing::Test {
 protected:
  /// Runs the program to its end.
  CliRun run(const std::vector<std::string>& arguments) const;

  /// Runs a shell command to its end; "$CLI" is the program.
  CliRun runShell(const std::string& command) const;

  /// Runs the program and expects its exit status, exactly this output and no message.
  void expectOutput(const std::vector<std::string>& arguments, int status,
                    const std::string& output) const;

  /// The same with the content of a file in golden/.
  void expectGolden(const std::vector<std::string>& arguments, int status,
                    const std::string& goldenName) const;

  /// Runs the program and expects status 2, no output and this message on one line, without the
  /// program's name in front.
  void expectFailure(const std::vector<std::string>& arguments, const std::string& message) const;

  /// What the program finds in its environment.
  ChildProcess::Environment environment() const;

  /// The names in the folder, sorted.
  std::vector<std::string> names() const;

  TemporaryFolder folder;
  /// Where the program keeps what is to outlive it.
  TemporaryFolder state;
};

/// `message` about `file` as `command` gives it: a command that takes several files names the file.
std::string messageAbout(const std::string& file, const std::string& command,
                         const std::string& message);

/// The content of a file in golden/.
std::string golden(const std::string& name);

}  // namespace quillmor::test
