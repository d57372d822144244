// Writes that take fewer bytes than asked for, once or every time, are gone on with.

#include "faults/SaveUnderFaults.h"
#include "faults/Score.h"

namespace quillmor::test {
namespace {

class ShortWriteTest : public testing::TestWithParam<SaveChoice> {
 protected:
  /// One write after another, and all of them.
  static std::vector<Fault> shortWritesOf(const EndedRun& whole, std::size_t mostEveryTime) {
    std::vector<Fault> faults = {Fault::shortWrite(0, mostEveryTime)};
    for (const CountedCall& call : whole.calls)
      for (const std::size_t most : {1U, 511U})
        if (call.writes()) faults.push_back(Fault::shortWrite(call.number, most));
    return faults;
  }

  /// A small file is written byte by byte.
  static std::size_t mostEveryTime() { return GetParam().size <= kOnePage ? 1 : 4097; }

  void expectNothingLeft(const std::string& where, Score& score) const {
    for (const std::string& path : trial.strayFiles()) score.countLeftBehind(path + ": " + where);
  }

  const SaveUnderFaults trial{GetParam()};
};

TEST_P(ShortWriteTest, aSaveInPlaceGoesOn) {
  Score score("short writes, save in place");
  trial.reset();
  const EndedRun whole = trial.saveInPlace(Fault::none());
  ASSERT_EQ(whole.status, 0) << whole.errors;
  for (const Fault& fault : shortWritesOf(whole, mostEveryTime())) {
    trial.reset();
    const EndedRun ended = trial.saveInPlace(fault);
    const std::string where = "call " + std::to_string(fault.call) + ", " + ended.errors;
    score.countPoint();
    const Outcome outcome = trial.outcome();
    if (outcome == Outcome::lost) score.countLost(where);
    if (ended.status != 0 || outcome != Outcome::newBytes) score.countWrong(where);
    expectNothingLeft(where, score);
  }
}

TEST_P(ShortWriteTest, anExportGoesOn) {
  Score score("short writes, export");
  trial.resetWithExport(true);
  const EndedRun whole = trial.exportBeside(Fault::none());
  ASSERT_EQ(whole.status, 0) << whole.errors;
  for (const Fault& fault : shortWritesOf(whole, mostEveryTime())) {
    trial.resetWithExport(true);
    const EndedRun ended = trial.exportBeside(fault);
    const std::string where = "call " + std::to_string(fault.call) + ", " + ended.errors;
    score.countPoint();
    if (trial.exportOutcome(true) == Outcome::lost) score.countLost(where);
    if (ended.status != 0 || trial.exportOutcome(true) != Outcome::newBytes)
      score.countWrong(where);
    expectNothingLeft(where, score);
  }
}

INSTANTIATE_TEST_SUITE_P(, ShortWriteTest,
                         testing::ValuesIn(allChanges({kOneByte, kOnePage, kOneMiB})),
                         [](const auto& test) { return test.param.name(); });

}  // namespace
}  // namespace quillmor::test
