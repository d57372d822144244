#pragma once

#include <memory>
#include <string>

#include "blackbox/ChildProcess.h"
#include "blackbox/cli/ChangeTest.h"

namespace quillmor::test {

/// A FIFO in which a program that writes more than it holds stops until the test reads.
class Fifo {
 public:
  /// Creates it and opens its reading end, so that nobody waits for that.
  explicit Fifo(const std::string& path);
  ~Fifo() { close(); }
  Fifo(const Fifo&) = delete;
  Fifo& operator=(const Fifo&) = delete;

  bool hasText() const;

  /// Everything up to the end of the last writer.
  std::string readToEnd() const;

  /// Leaves nobody to read.
  void close();

 private:
  int descriptor_;
};

/// Tests of the program as a process: what a signal, a closed pipe and a terminal make of it while
/// it is running.
class RunningCliTest : public ChangeTest {
 protected:
  /// Starts a shell command; "exec" makes the program, "$CLI", the process itself.
  std::unique_ptr<ChildProcess> start(const std::string& command) const;

  /// Writes "zeros.bin" and "preset.json", which together keep preset-apply busy for long; the
  /// preset changes the last byte of the file only.
  void writeLongWork() const;

  /// Where the FIFO "pipe" is.
  std::string pipePath() const { return (folder.path() / "pipe").string(); }
};

}  // namespace quillmor::test
