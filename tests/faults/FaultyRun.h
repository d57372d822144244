#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "blackbox/ChildProcess.h"

namespace quillmor::test {

/// What happens to a program at one of its calls on the watched files.
struct Fault {
  enum class Kind { none, kill, killWithin, fail, shortWrite };

  Kind kind = Kind::none;
  /// The number of the call, from 1; 0 for every call.
  std::int64_t call = 0;
  /// The error of a failing call.
  int error = 0;
  /// All later calls that take room fail too, as on a disk that stays full.
  bool isLasting = false;
  /// The most bytes of a short write.
  std::size_t most = 0;
  /// The effects of the calls are logged.
  bool isLogged = false;
  /// It happens to calls of this name on files of this name only; to all when empty.
  std::string name = {};
  std::string file = {};

  static Fault none() { return {}; }
  /// Nothing happens, and the effects are logged.
  static Fault logged() { return {.isLogged = true}; }
  /// SIGKILL before the call.
  static Fault killBefore(std::int64_t call) { return {.kind = Kind::kill, .call = call}; }
  /// The same, and the effects of the calls before it are logged.
  static Fault loggedKillBefore(std::int64_t call) {
    return {.kind = Kind::kill, .call = call, .isLogged = true};
  }
  /// SIGKILL in the call, of which no more than `most` bytes have been written.
  static Fault killWithin(std::int64_t call, std::size_t most) {
    return {.kind = Kind::killWithin, .call = call, .most = most};
  }
  static Fault failure(std::int64_t call, int error) {
    return {.kind = Kind::fail, .call = call, .error = error};
  }
  static Fault failuresFrom(std::int64_t call, int error) {
    return {.kind = Kind::fail, .call = call, .error = error, .isLasting = true};
  }
  /// Every call `name` on the file `file` fails.
  static Fault failures(const std::string& name, const std::string& file, int error) {
    return {.kind = Kind::fail, .error = error, .name = name, .file = file};
  }
  static Fault shortWrite(std::int64_t call, std::size_t most) {
    return {.kind = Kind::shortWrite, .call = call, .most = most};
  }
};

/// A call that counted.
struct CountedCall {
  std::int64_t number = 0;
  /// False when it only reads.
  bool changes = false;
  std::string name;
  std::string path;

  bool writes() const { return name.find("write") != std::string::npos; }
  std::string description() const;
};

/// Where a program with the fault library works.
struct WatchedFolders {
  std::vector<std::string> folders;
  /// Where the library lists the calls; outside of the folders.
  std::string callList;
  /// Where it logs the effects when asked to; outside too.
  std::string effectLog;
  /// The calls count from the moment this file exists; empty for all.
  std::string armed = {};
};

/// The program that is judged: QUILLMOR_FAULTS_CLI in the environment, or the one that was built.
std::string judgedCli();

/// The variables that make a program run with the library and meet `fault`.
ChildProcess::Environment faultEnvironment(const WatchedFolders& watched, const Fault& fault);

/// The calls a program has made.
std::vector<CountedCall> readCalls(const std::string& callList);

/// What a run of a program came to.
struct EndedRun {
  int status = -1;  ///< 128 + the number for a signal
  std::string errors;
  std::vector<CountedCall> calls;

  bool wasKilled() const;
  /// The last call that counted, before which it was killed.
  std::string lastCall() const;
};

/// Runs `command` to its end with `fault`.
EndedRun runWithFault(const std::vector<std::string>& command,
                      const ChildProcess::Environment& environment, const WatchedFolders& watched,
                      const Fault& fault, const std::string& workingDirectory);

}  // namespace quillmor::test
