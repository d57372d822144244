// The editor starts on what a killed save has left, tidies up, and the power goes at any moment
// between the beginning of the save and the end of that.

#include <algorithm>

#include "blackbox/BlackBoxTest.h"
#include "faults/DiskOutcomes.h"
#include "faults/Score.h"
#include "faults/window/JudgedWindow.h"

namespace quillmor::test {
namespace {

class WindowRestartTest : public BlackBoxTest {
 protected:
  std::vector<std::string> folders() const { return {trial.places().files, trial.places().state}; }

  /// Starts the editor, waits until it has removed what is not needed, and quits it. Its effects
  /// come behind those of the save.
  void startAndQuit() {
    const bool isSaved = contentIfAny(trial.places().file()) == trial.save().newBytes;
    const bool offers = trial.hasRecords() && !isSaved;
    std::vector<std::string> command = {"env", "XDG_STATE_HOME=" + trial.places().state,
                                        "XDG_CONFIG_HOME=" + (folder.path() / "settings").native()};
    for (const auto& [name, value] : faultEnvironment(trial.watched(), Fault::logged()))
      if (!value.empty()) command.push_back(name + "=" + value);
    addJudgedWindow(command);
    startThrough(command, {}, offers ? 2 : 1);
    if (offers) {
      expectTitle("Recovered Documents");
      press({"Escape"});
    }
    expectTitle("Untitled");
    const auto hasRecord = [this] {
      return std::ranges::any_of(trial.strayFiles(), SaveUnderFaults::isRecord);
    };
    EXPECT_TRUE(waitUntil([&] { return hasRecord() == offers; }));
    expectQuitBy({"ctrl+q"});
  }

  const SaveUnderFaults trial{SaveChoice{Change::longer, kOnePage}};
};

TEST_F(WindowRestartTest, theStartRemovesARecordOnlyWhenTheDiskHasTheFile) {
  Score score("power cut while the editor starts after a killed save");
  DiskOutcomes outcomes(trial, trial.scratch().path().native());
  trial.reset();
  const EndedRun whole = trial.saveInPlace(Fault::none());
  ASSERT_EQ(whole.status, 0) << whole.errors;
  bool isWritten = false;
  for (const CountedCall& call : whole.calls) {
    // In the short form the moments at which the file has its bytes, but maybe not on the disk.
    if (call.changes && (isWritten || triesEverything())) {
      trial.reset();
      const Disk before = diskBelow(folders());
      ASSERT_TRUE(trial.saveInPlace(Fault::loggedKillBefore(call.number)).wasKilled());
      startAndQuit();
      if (HasFailure()) return;
      const PowerCut cut(before, readEffects(trial.effectLog()));
      EXPECT_TRUE(cut.whole() == diskBelow(folders()).image) << "the log misses effects";
      constexpr std::size_t kSamples = 100;
      score.countPoints(
          cut.forEachState(kSamples, [&](const DiskImage& image, const std::string& moment) {
            if (outcomes.on(image) == Outcome::lost)
              score.countLost(call.description() + ", " + moment);
          }));
    }
    isWritten = isWritten || (call.writes() && call.path == trial.places().file());
  }
}

}  // namespace
}  // namespace quillmor::test
