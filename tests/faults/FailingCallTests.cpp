// Each system call of a save or an export fails once, or the disk is full from it on. Nothing is
// lost, nothing is left behind, and the exit status tells the truth.

#include <cerrno>
#include <cstring>

#include "faults/SaveUnderFaults.h"
#include "faults/Score.h"

namespace quillmor::test {
namespace {

const std::vector<int> kErrors = {ENOSPC, EIO, EDQUOT, EINTR, EFBIG, EROFS};
constexpr int kFailed = 2;

std::string described(const Fault& fault, const EndedRun& whole, const EndedRun& ended) {
  const std::size_t index = static_cast<std::size_t>(fault.call - 1);
  return whole.calls.at(index).description() + " fails by " + std::strerror(fault.error) +
         (fault.isLasting ? " and so on" : "") + "; status " + std::to_string(ended.status) + ", " +
         ended.errors.substr(0, ended.errors.find('\n'));
}

/// True if the program has begun to change the file itself.
bool hasTouched(const std::string& path, const EndedRun& ended) {
  for (const CountedCall& call : ended.calls)
    if (call.path == path && (call.name.find("truncate") != std::string::npos || call.writes()))
      return true;
  return false;
}

/// True if a call that would have removed the file was made to fail.
bool couldNotRemove(const std::string& path, const Fault& fault, const EndedRun& ended) {
  for (const CountedCall& call : ended.calls)
    if (call.number == fault.call && call.path == path && call.name.starts_with("unlink"))
      return true;
  return false;
}

/// A record is there for a reason while the file has not got the new bytes for certain.
bool mayStay(const std::string& path, const SaveUnderFaults& trial, const Fault& fault,
             const EndedRun& ended) {
  if (couldNotRemove(path, fault, ended)) return true;
  return SaveUnderFaults::isRecord(path) && ended.status != 0 &&
         hasTouched(trial.places().file(), ended);
}

class FailingCallTest : public testing::TestWithParam<SaveChoice> {
 protected:
  void judgeSave(const Fault& fault, const EndedRun& whole, Score& score) const {
    trial.reset();
    const EndedRun ended = trial.saveInPlace(fault);
    const std::string where = described(fault, whole, ended);
    const Outcome outcome = trial.outcome();
    score.countPoint();
    if (outcome == Outcome::lost) score.countLost(where);
    const bool isTrue = ended.status == 0 ? outcome == Outcome::newBytes
                                          : ended.status == kFailed && !ended.errors.empty();
    if (!isTrue) score.countWrong(where);
    for (const std::string& path : trial.strayFiles())
      if (!mayStay(path, trial, fault, ended)) score.countLeftBehind(path + ": " + where);
  }

  void judgeExport(bool isThere, const Fault& fault, const EndedRun& whole, Score& score) const {
    trial.resetWithExport(isThere);
    const EndedRun ended = trial.exportBeside(fault);
    const std::string where = described(fault, whole, ended);
    const Outcome outcome = trial.exportOutcome(isThere);
    score.countPoint();
    if (outcome == Outcome::lost) score.countLost(where);
    const bool isTrue = ended.status == 0 ? outcome == Outcome::newBytes
                                          : outcome == Outcome::oldBytes &&
                                                ended.status == kFailed && !ended.errors.empty();
    if (!isTrue) score.countWrong(where);
    for (const std::string& path : trial.strayFiles())
      if (!couldNotRemove(path, fault, ended)) score.countLeftBehind(path + ": " + where);
  }

  const SaveUnderFaults trial{GetParam()};
};

TEST_P(FailingCallTest, aSaveInPlaceFailsWholly) {
  Score score("each call fails once, save in place");
  trial.reset();
  const EndedRun whole = trial.saveInPlace(Fault::none());
  ASSERT_EQ(whole.status, 0) << whole.errors;
  for (const CountedCall& call : whole.calls)
    for (const int error : kErrors) judgeSave(Fault::failure(call.number, error), whole, score);
}

TEST_P(FailingCallTest, aSaveInPlaceOntoADiskThatStaysFullLosesNothing) {
  Score score("disk full from each call on, save in place");
  trial.reset();
  const EndedRun whole = trial.saveInPlace(Fault::none());
  ASSERT_EQ(whole.status, 0) << whole.errors;
  for (const CountedCall& call : whole.calls) {
    if (!call.changes) continue;
    for (const int error : {ENOSPC, EDQUOT, EIO})
      judgeSave(Fault::failuresFrom(call.number, error), whole, score);
  }
}

TEST_P(FailingCallTest, anExportFailsWholly) {
  Score score("each call fails once, export");
  for (const bool isThere : {true, false}) {
    trial.resetWithExport(isThere);
    const EndedRun whole = trial.exportBeside(Fault::none());
    ASSERT_EQ(whole.status, 0) << whole.errors;
    for (const CountedCall& call : whole.calls)
      for (const int error : kErrors)
        judgeExport(isThere, Fault::failure(call.number, error), whole, score);
  }
}

TEST_P(FailingCallTest, anExportOntoADiskThatStaysFullLeavesNothing) {
  Score score("disk full from each call on, export");
  for (const bool isThere : {true, false}) {
    trial.resetWithExport(isThere);
    const EndedRun whole = trial.exportBeside(Fault::none());
    ASSERT_EQ(whole.status, 0) << whole.errors;
    for (const CountedCall& call : whole.calls)
      if (call.changes)
        judgeExport(isThere, Fault::failuresFrom(call.number, ENOSPC), whole, score);
  }
}

/// Network and foreign file systems lack some calls; everything works without them.
TEST_P(FailingCallTest, whatAFileSystemDoesNotKnowIsDoneWithout) {
  Score score("calls that a file system does not know");
  trial.reset();
  const EndedRun saved = trial.saveInPlace(Fault::none());
  trial.resetWithExport(false);
  const EndedRun exported = trial.exportBeside(Fault::none());
  ASSERT_EQ(saved.status + exported.status, 0) << saved.errors << exported.errors;
  const auto isOptional = [](const CountedCall& call) {
    return call.name == "fallocate" || call.name == "posix_fallocate" || call.name == "renameat2" ||
           call.name == "ioctl";
  };
  for (const int error : {EOPNOTSUPP, EINVAL, ENOSYS}) {
    for (const CountedCall& call : saved.calls) {
      if (!isOptional(call)) continue;
      trial.reset();
      score.countPoint();
      const Fault fault = Fault::failure(call.number, error);
      const EndedRun ended = trial.saveInPlace(fault);
      if (ended.status != 0 || trial.outcome() != Outcome::newBytes)
        score.countWrong(described(fault, saved, ended));
    }
    for (const CountedCall& call : exported.calls) {
      if (!isOptional(call)) continue;
      trial.resetWithExport(false);
      score.countPoint();
      const Fault fault = Fault::failure(call.number, error);
      const EndedRun ended = trial.exportBeside(fault);
      if (ended.status != 0 || trial.exportOutcome(false) != Outcome::newBytes)
        score.countWrong(described(fault, exported, ended));
    }
  }
}

std::vector<SaveChoice> choices() {
  if (triesEverything()) return allChanges({kOneByte, kOnePage, kOneMiB});
  return {{Change::longer, kOneByte}, {Change::shorter, kOnePage}, {Change::longer, kOneMiB}};
}

INSTANTIATE_TEST_SUITE_P(, FailingCallTest, testing::ValuesIn(choices()),
                         [](const auto& test) { return test.param.name(); });

}  // namespace
}  // namespace quillmor::test
