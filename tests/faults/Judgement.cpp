#include "faults/Judgement.h"

namespace quillmor::test {

namespace {

constexpr int kFailed = 2;

bool failsPlainly(const EndedRun& ended) {
  return ended.status == kFailed && !ended.errors.empty();
}

/// True if the program has begun to change the file itself.
bool hasTouched(const std::string& path, const EndedRun& ended) {
  for (const CountedCall& call : ended.calls)
    if (call.path == path && (call.writes() || call.name.find("truncate") != std::string::npos))
      return true;
  return false;
}

/// True if the call that would have removed the file was made to fail.
bool couldNotRemove(const std::string& path, const Fault& fault, const EndedRun& ended) {
  for (const CountedCall& call : ended.calls)
    if (call.number == fault.call && call.path == path && call.name.starts_with("unlink"))
      return true;
  return false;
}

}  // namespace

void judgeSave(const SaveUnderFaults& trial, const Fault& fault, const EndedRun& ended,
               const std::string& where, Score& score) {
  const Outcome outcome = trial.outcome();
  score.countPoint();
  if (outcome == Outcome::lost) score.countLost(where);
  const bool isTrue = ended.status == 0 ? outcome == Outcome::newBytes : failsPlainly(ended);
  if (!isTrue) score.countWrong(where);
  const bool isUnfinished = ended.status != 0 && hasTouched(trial.places().file(), ended);
  for (const std::string& path : trial.strayFiles()) {
    const bool isNeeded = isUnfinished && SaveUnderFaults::isRecord(path);
    if (!isNeeded && !couldNotRemove(path, fault, ended))
      score.countLeftBehind(path + ": " + where);
  }
}

void judgeExport(const SaveUnderFaults& trial, bool wasThere, const Fault& fault,
                 const EndedRun& ended, const std::string& where, Score& score) {
  const Outcome outcome = trial.exportOutcome(wasThere);
  score.countPoint();
  if (outcome == Outcome::lost) score.countLost(where);
  const bool isTrue = ended.status == 0 ? outcome == Outcome::newBytes
                                        : outcome == Outcome::oldBytes && failsPlainly(ended);
  if (!isTrue) score.countWrong(where);
  for (const std::string& path : trial.strayFiles())
    if (!couldNotRemove(path, fault, ended)) score.countLeftBehind(path + ": " + where);
}

}  // namespace quillmor::test
