// Saves in the window under kills and failing calls.

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "faults/window/WindowUnderFaults.h"

namespace quillmor::test {
namespace {

class WindowSavingTest : public WindowUnderFaults {
 protected:
  /// The calls of a whole save that change something, in the short form only some of them.
  std::vector<CountedCall> points() {
    startAndChange(Fault::none());
    save();
    EXPECT_TRUE(isSaved());
    EXPECT_EQ(trial().outcome(), Outcome::newBytes);
    const auto all = calls();
    takeAway();
    const std::size_t every = triesEverything() ? 1 : 3;
    std::vector<CountedCall> chosen;
    std::size_t count = 0;
    for (const CountedCall& call : all)
      if (call.changes && count++ % every == 0) chosen.push_back(call);
    return chosen;
  }
};

class FailingWindowTest : public WindowSavingTest {
 protected:
  /// True if the call that has failed was to remove something. Several threads make calls, so that
  /// the same number is not always the same call.
  bool hasKeptFromRemoving(std::int64_t number) {
    return std::ranges::any_of(calls(), [&](const CountedCall& call) {
      return call.number == number && call.name.starts_with("unlink");
    });
  }
};

TEST_P(FailingWindowTest, aFailedCallLosesNothing) {
  Score score("calls of a save in the window fail once");
  std::vector<int> errors = {ENOSPC};
  if (triesEverything()) errors = {ENOSPC, EIO, EINTR};
  for (const CountedCall& call : points()) {
    for (const int error : errors) {
      startAndChange(Fault::failure(call.number, error));
      save();
      score.countPoint();
      const std::string where =
          nameOf(GetParam()) + ", " + call.description() + ": " + std::strerror(error);
      const Outcome outcome = outcomeWithoutEditor();
      if (outcome == Outcome::lost) score.countLost(where);
      if (!isRunning() || (isSaved() && outcome != Outcome::newBytes)) score.countWrong(where);
      // The document is still there, and so is the disk.
      saveAgain();
      if (!isSaved() || trial().outcome() != Outcome::newBytes)
        score.countWrong("no second save after " + where);
      if (!hasKeptFromRemoving(call.number))
        for (const std::string& path : leftBehind()) score.countLeftBehind(path + ": " + where);
      takeAway();
    }
  }
}

class KilledWindowTest : public WindowSavingTest {};

TEST_P(KilledWindowTest, theEditorLosesNothing) {
  Score score("kill -9 at calls of a save in the window");
  for (const CountedCall& call : points()) {
    startAndChange(Fault::killBefore(call.number));
    save();
    // The file panel makes calls of its own, not always as many.
    if (isRunning()) {
      takeAway();
      continue;
    }
    score.countPoint();
    const auto made = calls();
    const std::string where =
        nameOf(GetParam()) + ", " + (made.empty() ? "no call" : made.back().description());
    if (trial().outcome() == Outcome::lost) score.countLost(where);
    if (!trial().savesAgain()) score.countWrong("no second save after " + where);
  }
}

/// The file panel makes calls of its own, and shows their failures where no alert is: a new file is
/// left to the kills.
std::vector<Way> waysOfFailing() {
  if (triesEverything()) return {Way::equal, Way::longer};
  return {Way::longer};
}

std::vector<Way> waysOfKilling() {
  if (triesEverything()) return {Way::equal, Way::longer, Way::saveAsNew};
  return {Way::longer};
}

INSTANTIATE_TEST_SUITE_P(, FailingWindowTest, testing::ValuesIn(waysOfFailing()),
                         [](const auto& test) { return nameOf(test.param); });
INSTANTIATE_TEST_SUITE_P(, KilledWindowTest, testing::ValuesIn(waysOfKilling()),
                         [](const auto& test) { return nameOf(test.param); });

}  // namespace
}  // namespace quillmor::test
