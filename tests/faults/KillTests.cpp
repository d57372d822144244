// A program that is killed before any of its system calls, or in the middle of a write, has lost
// neither the old nor the new bytes, and the file can be saved again.

#include "faults/SaveUnderFaults.h"
#include "faults/Score.h"

namespace quillmor::test {
namespace {

/// The most bytes that the program writes at once.
constexpr std::int64_t kSlice = 8 * kOneMiB;

/// A call that only reads leaves the files as they are, so that nothing new is to be seen.
std::vector<Fault> killsOf(const std::vector<CountedCall>& calls) {
  constexpr std::size_t kFewBytes = 1000;
  std::vector<Fault> kills;
  for (const CountedCall& call : calls) {
    if (call.changes || triesEverything()) kills.push_back(Fault::killBefore(call.number));
    if (call.writes()) kills.push_back(Fault::killWithin(call.number, kFewBytes));
  }
  return kills;
}

class KillTest : public testing::TestWithParam<SaveChoice> {
 protected:
  const SaveUnderFaults trial{GetParam()};
};

TEST_P(KillTest, aSaveInPlaceLosesNothing) {
  Score score("kill -9 at each call, save in place");
  trial.reset();
  const EndedRun whole = trial.saveInPlace(Fault::none());
  ASSERT_EQ(whole.status, 0) << whole.errors;
  ASSERT_EQ(trial.outcome(), Outcome::newBytes);
  for (const Fault& kill : killsOf(whole.calls)) {
    trial.reset();
    const EndedRun killed = trial.saveInPlace(kill);
    ASSERT_TRUE(killed.wasKilled()) << killed.status;
    score.countPoint();
    if (trial.outcome() == Outcome::lost) score.countLost(killed.lastCall());
    if (!trial.savesAgain()) score.countWrong("no second save after " + killed.lastCall());
  }
}

class KilledExportTest : public KillTest {};

TEST_P(KilledExportTest, anExportReplacesItsDestinationOrNot) {
  Score score("kill -9 at each call, export");
  for (const bool isThere : {true, false}) {
    trial.resetWithExport(isThere);
    const EndedRun whole = trial.exportBeside(Fault::none());
    ASSERT_EQ(whole.status, 0) << whole.errors;
    ASSERT_EQ(trial.exportOutcome(isThere), Outcome::newBytes);
    for (const Fault& kill : killsOf(whole.calls)) {
      trial.resetWithExport(isThere);
      const EndedRun killed = trial.exportBeside(kill);
      ASSERT_TRUE(killed.wasKilled()) << killed.status;
      score.countPoint();
      if (trial.exportOutcome(isThere) == Outcome::lost) score.countLost(killed.lastCall());
      // What a killed export leaves goes with the next one, when it is not quite new any more.
      trial.makeStrayFilesOld();
      const EndedRun next = trial.exportBeside(Fault::none());
      if (next.status != 0 || trial.exportOutcome(isThere) != Outcome::newBytes)
        score.countWrong("no second export after " + killed.lastCall() + ": " + next.errors);
      for (const std::string& path : trial.strayFiles())
        score.countLeftBehind(path + " after " + killed.lastCall());
    }
  }
}

std::vector<SaveChoice> choices() {
  if (!triesEverything())
    return {{Change::longer, kOneByte}, {Change::shorter, kOneByte}, {Change::equal, kOnePage},
            {Change::longer, kOnePage}, {Change::shorter, kOnePage}, {Change::patched, kOnePage},
            {Change::longer, kOneMiB},  {Change::shorter, kOneMiB},  {Change::equal, kSlice + 1}};
  auto all = allChanges({kOneByte, kOnePage, kOneMiB, kManyMiB});
  all.push_back({Change::longer, kHugeMiB});
  return all;
}

std::vector<SaveChoice> exportChoices() {
  if (triesEverything()) return allChanges({kOneByte, kOnePage, kOneMiB});
  return {{Change::longer, kOneByte}, {Change::shorter, kOnePage}, {Change::longer, kOneMiB}};
}

INSTANTIATE_TEST_SUITE_P(, KillTest, testing::ValuesIn(choices()),
                         [](const auto& test) { return test.param.name(); });
INSTANTIATE_TEST_SUITE_P(, KilledExportTest, testing::ValuesIn(exportChoices()),
                         [](const auto& test) { return test.param.name(); });

}  // namespace
}  // namespace quillmor::test
