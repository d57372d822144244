// What a killed save or a power cut has left is recovered, and the power goes while that is done.

#include <filesystem>
#include <set>

#include "faults/DiskOutcomes.h"
#include "faults/Score.h"

namespace quillmor::test {
namespace {

class RestartTest : public testing::TestWithParam<SaveChoice> {
 protected:
  static std::size_t samples() { return triesEverything() ? 400 : 30; }

  static std::vector<std::string> foldersOf(const SaveUnderFaults& trial) {
    return {trial.places().files, trial.places().state};
  }

  /// Looks at all disks that a power cut during the logged effects may leave.
  static void judge(const SaveUnderFaults& trial, const Disk& before, DiskOutcomes& outcomes,
                    const std::string& where, Score& score) {
    const PowerCut cut(before, readEffects(trial.effectLog()));
    EXPECT_TRUE(cut.whole() == diskBelow(foldersOf(trial)).image) << "the log misses effects";
    score.countPoints(
        cut.forEachState(samples(), [&](const DiskImage& image, const std::string& moment) {
          if (outcomes.on(image) == Outcome::lost) score.countLost(where + ", " + moment);
          // The destination of the recovery is whole where it is.
          const auto rescued = image.files.find(trial.exportPath());
          if (rescued != image.files.end() && rescued->second != trial.save().newBytes)
            score.countWrong("half recovered, " + where + ", " + moment);
        }));
  }

  const SaveUnderFaults trial{GetParam()};
};

TEST_P(RestartTest, thePowerGoesDuringTheRecoveryOfAKilledSave) {
  Score score("power cut during recovery, after a kill");
  const std::string top = trial.scratch().path().native();
  DiskOutcomes outcomes(trial, top);
  trial.reset();
  const EndedRun whole = trial.saveInPlace(Fault::none());
  ASSERT_EQ(whole.status, 0) << whole.errors;
  for (const CountedCall& call : whole.calls) {
    if (!call.changes) continue;
    trial.reset();
    const Disk before = diskBelow(foldersOf(trial));
    const EndedRun killed = trial.saveInPlace(Fault::loggedKillBefore(call.number));
    ASSERT_TRUE(killed.wasKilled()) << killed.status;
    trial.recoverBeside(Fault::logged());
    judge(trial, before, outcomes, killed.lastCall(), score);
  }
}

TEST_P(RestartTest, thePowerGoesOnceMoreDuringTheRecovery) {
  Score score("power cut during recovery, after a power cut");
  trial.reset();
  const Disk before = diskBelow(foldersOf(trial));
  const EndedRun saved = trial.saveInPlace(Fault::logged());
  ASSERT_EQ(saved.status, 0) << saved.errors;
  const PowerCut cut(before, readEffects(trial.effectLog()));
  const TemporaryFolder copies;
  const std::string copy = (copies.path() / "disk").native();
  const SaveUnderFaults again(GetParam(), {.files = copy + "/files", .state = copy + "/state"});
  DiskOutcomes outcomes(again, copy);
  std::set<DiskImage> seen;
  cut.forEachState(samples(), [&](const DiskImage& image, const std::string& moment) {
    const std::string content = image.files.at(trial.places().file());
    // Whoever has a whole file needs no record, and where the same is left the same happens.
    if (content == trial.save().oldBytes || content == trial.save().newBytes) return;
    DiskImage rest = image;
    rest.files[trial.places().file()] = "torn";
    if (!seen.insert(rest).second) return;
    materialize(rest, trial.scratch().path().native(), copy);
    const Disk second = diskBelow(foldersOf(again));
    std::filesystem::remove(again.effectLog());
    again.recoverBeside(Fault::logged());
    judge(again, second, outcomes, moment, score);
  });
}

std::vector<SaveChoice> choices() {
  if (!triesEverything()) return {{Change::longer, kOnePage}};
  auto all = allChanges({kOneByte, kOnePage, 10 * kOnePage});
  // A single byte that goes is never torn.
  std::erase_if(all, [](const SaveChoice& choice) {
    return choice.change == Change::shorter && choice.size == kOneByte;
  });
  return all;
}

INSTANTIATE_TEST_SUITE_P(, RestartTest, testing::ValuesIn(choices()),
                         [](const auto& test) { return test.param.name(); });

}  // namespace
}  // namespace quillmor::test
