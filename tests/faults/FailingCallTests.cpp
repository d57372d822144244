// Each system call of a save or an export fails once, or the disk is full from it on. Nothing is
// lost, nothing is left behind, and the exit status tells the truth.

#include <cerrno>
#include <cstring>

#include "faults/Judgement.h"
#include "faults/Score.h"

namespace quillmor::test {
namespace {

/// Fewer where each run takes long.
std::vector<int> errorsFor(std::int64_t size) {
  if (triesEverything() || size <= kOnePage) return {ENOSPC, EIO, EDQUOT, EINTR, EFBIG, EROFS};
  return {ENOSPC, EIO, EINTR};
}

std::string described(const Fault& fault, const EndedRun& whole, const EndedRun& ended) {
  const std::size_t index = static_cast<std::size_t>(fault.call - 1);
  return whole.calls.at(index).description() + " fails by " + std::strerror(fault.error) +
         (fault.isLasting ? " and so on" : "") + "; status " + std::to_string(ended.status) + ", " +
         ended.errors.substr(0, ended.errors.find('\n'));
}

class FailingCallTest : public testing::TestWithParam<SaveChoice> {
 protected:
  void trySave(const Fault& fault, const EndedRun& whole, Score& score) const {
    trial.reset();
    const EndedRun ended = trial.saveInPlace(fault);
    judgeSave(trial, fault, ended, described(fault, whole, ended), score);
  }

  void tryExport(bool isThere, const Fault& fault, const EndedRun& whole, Score& score) const {
    trial.resetWithExport(isThere);
    const EndedRun ended = trial.exportBeside(fault);
    judgeExport(trial, isThere, fault, ended, described(fault, whole, ended), score);
  }

  const SaveUnderFaults trial{GetParam()};
};

TEST_P(FailingCallTest, aSaveInPlaceFailsWholly) {
  Score score("each call fails once, save in place");
  trial.reset();
  const EndedRun whole = trial.saveInPlace(Fault::none());
  ASSERT_EQ(whole.status, 0) << whole.errors;
  for (const CountedCall& call : whole.calls)
    for (const int error : errorsFor(GetParam().size))
      trySave(Fault::failure(call.number, error), whole, score);
}

TEST_P(FailingCallTest, aSaveInPlaceOntoADiskThatStaysFullLosesNothing) {
  Score score("disk full from each call on, save in place");
  trial.reset();
  const EndedRun whole = trial.saveInPlace(Fault::none());
  ASSERT_EQ(whole.status, 0) << whole.errors;
  for (const CountedCall& call : whole.calls) {
    if (!call.changes) continue;
    for (const int error : {ENOSPC, EDQUOT, EIO})
      trySave(Fault::failuresFrom(call.number, error), whole, score);
  }
}

class FailingExportTest : public FailingCallTest {};

TEST_P(FailingExportTest, anExportFailsWholly) {
  Score score("each call fails once, export");
  for (const bool isThere : {true, false}) {
    trial.resetWithExport(isThere);
    const EndedRun whole = trial.exportBeside(Fault::none());
    ASSERT_EQ(whole.status, 0) << whole.errors;
    for (const CountedCall& call : whole.calls)
      for (const int error : errorsFor(GetParam().size))
        tryExport(isThere, Fault::failure(call.number, error), whole, score);
  }
}

TEST_P(FailingExportTest, anExportOntoADiskThatStaysFullLeavesNothing) {
  Score score("disk full from each call on, export");
  for (const bool isThere : {true, false}) {
    trial.resetWithExport(isThere);
    const EndedRun whole = trial.exportBeside(Fault::none());
    ASSERT_EQ(whole.status, 0) << whole.errors;
    for (const CountedCall& call : whole.calls)
      if (call.changes) tryExport(isThere, Fault::failuresFrom(call.number, ENOSPC), whole, score);
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
  return {{Change::shorter, kOnePage}, {Change::longer, kOneMiB}};
}

std::vector<SaveChoice> exportChoices() {
  if (triesEverything()) return choices();
  return {{Change::longer, 2 * kOnePage}};
}

INSTANTIATE_TEST_SUITE_P(, FailingExportTest, testing::ValuesIn(exportChoices()),
                         [](const auto& test) { return test.param.name(); });
INSTANTIATE_TEST_SUITE_P(, FailingCallTest, testing::ValuesIn(choices()),
                         [](const auto& test) { return test.param.name(); });

}  // namespace
}  // namespace quillmor::test
