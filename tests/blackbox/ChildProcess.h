#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace quillmor::test {

/// Looks at `condition` again and again until it holds; false when it does not within the time that
/// a slow machine may need.
bool waitUntil(const std::function<bool()>& condition);

/// A program started by a test. It never outlives the object, nor the test's own process.
class ChildProcess {
 public:
  using Environment = std::map<std::string, std::string>;

  /// Starts `command` (looked up in the PATH) with exactly `environment`, in `workingDirectory`
  /// unless that is empty. What it prints is kept.
  ChildProcess(std::vector<std::string> command, const Environment& environment,
               const std::string& workingDirectory = {});
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t id() const { return id_; }
  bool isRunning() { return !exitStatus(); }

  /// The status it ended with, 128 + the number for a signal; none while it runs.
  std::optional<int> exitStatus();
  /// Waits for the end, but not forever: none when it is still running then.
  std::optional<int> waitForExit();

  /// The most bytes that lay in memory at a time; known once it has ended.
  std::int64_t peakMemory() const { return peakMemory_; }

  /// Everything printed so far.
  std::string output() const;
  std::string errors() const;

 private:
  pid_t id_ = -1;
  int outputFile_ = -1;
  int errorFile_ = -1;
  std::optional<int> exitStatus_;
  std::int64_t peakMemory_ = 0;
};

}  // namespace quillmor::test
