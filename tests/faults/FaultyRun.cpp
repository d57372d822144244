#include "faults/FaultyRun.h"

#include <signal.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "faults/shim/EffectFormat.h"

namespace quillmor::test {

namespace {

constexpr int kKilled = 128 + SIGKILL;

const char* modeOf(Fault::Kind kind) {
  switch (kind) {
    case Fault::Kind::kill:
      return "kill";
    case Fault::Kind::killWithin:
      return "killWithin";
    case Fault::Kind::fail:
      return "fail";
    case Fault::Kind::shortWrite:
      return "short";
    case Fault::Kind::none:
      break;
  }
  return "";
}

}  // namespace

std::string judgedCli() {
  const char* const other = std::getenv("QUILLMOR_FAULTS_CLI");
  return other != nullptr ? other : QUILLMOR_CLI;
}

std::string CountedCall::description() const {
  return std::to_string(number) + " " + name + " " +
         std::filesystem::path(path).filename().native();
}

bool EndedRun::wasKilled() const {
  return status == kKilled;
}

std::string EndedRun::lastCall() const {
  return calls.empty() ? "no call" : calls.back().description();
}

ChildProcess::Environment faultEnvironment(const WatchedFolders& watched, const Fault& fault) {
  std::string folders;
  for (const std::string& folder : watched.folders) folders += folder + ":";
  ChildProcess::Environment environment = {
      {"LD_PRELOAD", QUILLMOR_FAULT_SHIM},
      {FaultVariables::kFolders, folders},
      {FaultVariables::kCalls, watched.callList},
      {FaultVariables::kEffects, fault.isLogged ? watched.effectLog : ""},
      {FaultVariables::kArmed, watched.armed},
      {FaultVariables::kMode, modeOf(fault.kind)},
      {FaultVariables::kCall, std::to_string(fault.call)},
      {FaultVariables::kError, std::to_string(fault.error)},
      {FaultVariables::kMost, std::to_string(fault.most)},
      {FaultVariables::kName, fault.name},
      {FaultVariables::kFile, fault.file},
  };
  // How to see the tests fail: docs/reliability.md.
  if (const char* const without = std::getenv(FaultVariables::kWithout))
    environment[FaultVariables::kWithout] = without;
  if (fault.isLasting) environment[FaultVariables::kLasting] = "1";
  return environment;
}

std::vector<CountedCall> readCalls(const std::string& callList) {
  std::vector<CountedCall> calls;
  std::ifstream in(callList);
  for (std::string line; std::getline(in, line);) {
    std::istringstream fields(line);
    CountedCall call;
    std::string mark;
    fields >> call.number >> mark >> call.name;
    std::getline(fields >> std::ws, call.path);
    call.changes = mark == "+";
    calls.push_back(call);
  }
  return calls;
}

EndedRun runWithFault(const std::vector<std::string>& command,
                      const ChildProcess::Environment& environment, const WatchedFolders& watched,
                      const Fault& fault, const std::string& workingDirectory) {
  std::filesystem::remove(watched.callList);
  ChildProcess::Environment all = environment;
  all.merge(faultEnvironment(watched, fault));
  ChildProcess process(command, all, workingDirectory);
  const int status = process.waitForExit().value_or(-1);
  return {status, process.errors(), readCalls(watched.callList)};
}

}  // namespace quillmor::test
