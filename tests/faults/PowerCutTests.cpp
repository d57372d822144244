// The power goes at any moment of a save or an export, and the disk keeps any of the effects that
// were not flushed by then.

#include "faults/DiskOutcomes.h"
#include "faults/Score.h"

namespace quillmor::test {
namespace {

constexpr std::size_t kMuch = 1 << 20;

class PowerCutTest : public testing::TestWithParam<SaveChoice> {
 protected:
  std::vector<std::string> folders() const { return {trial.places().files, trial.places().state}; }

  /// Fewer where each state takes long to put together.
  static std::size_t samples() {
    const std::size_t most = triesEverything() ? 2000 : 400;
    return static_cast<std::size_t>(GetParam().size) >= kMuch ? most / 8 : most;
  }

  /// The effects of a run that has just ended, with the proof that none is missing.
  PowerCut cutOf(const Disk& before) const {
    PowerCut cut(before, readEffects(trial.effectLog()));
    EXPECT_TRUE(cut.whole() == diskBelow(folders()).image) << "the log misses effects";
    return cut;
  }

  const SaveUnderFaults trial{GetParam()};
  DiskOutcomes outcomes{trial, trial.scratch().path().native()};
};

TEST_P(PowerCutTest, aSaveInPlaceLosesNothing) {
  Score score("power cut, save in place");
  trial.reset();
  const Disk before = diskBelow(folders());
  const EndedRun ended = trial.saveInPlace(Fault::logged());
  ASSERT_EQ(ended.status, 0) << ended.errors;
  const PowerCut cut = cutOf(before);
  score.countPoints(
      cut.forEachState(samples(), [&](const DiskImage& image, const std::string& moment) {
        if (outcomes.on(image) == Outcome::lost) score.countLost(moment);
      }));
}

TEST_P(PowerCutTest, anExportReplacesItsDestinationOrNot) {
  Score score("power cut, export");
  for (const bool isThere : {true, false}) {
    trial.resetWithExport(isThere);
    const Disk before = diskBelow(folders());
    const EndedRun ended = trial.exportBeside(Fault::logged());
    ASSERT_EQ(ended.status, 0) << ended.errors;
    const PowerCut cut = cutOf(before);
    const auto contentOn = [&](const DiskImage& image) {
      const auto file = image.files.find(trial.exportPath());
      return file == image.files.end() ? std::nullopt : std::optional(file->second);
    };
    score.countPoints(cut.forEachState(samples(), [&](const DiskImage& image,
                                                      const std::string& moment) {
      const bool isKept = image.files.at(trial.places().file()) == trial.save().oldBytes;
      const auto content = contentOn(image);
      const bool isWhole = content == trial.save().newBytes || content == contentOn(before.image);
      if (!isKept || !isWhole) score.countLost(moment);
    }));
  }
}

std::vector<SaveChoice> choices() {
  auto all = allChanges({kOneByte, kOnePage, 10 * kOnePage});
  all.push_back({Change::longer, kOneMiB});
  if (!triesEverything()) return all;
  all.push_back({Change::equal, kOneMiB});
  all.push_back({Change::shorter, kOneMiB});
  all.push_back({Change::longer, kManyMiB});
  return all;
}

INSTANTIATE_TEST_SUITE_P(, PowerCutTest, testing::ValuesIn(choices()),
                         [](const auto& test) { return test.param.name(); });

}  // namespace
}  // namespace quillmor::test
