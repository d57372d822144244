// A file that is open in the editor with unsaved changes, and other processes that would write it:
// none does so unasked.

#include <fstream>

#include "faults/FaultyRun.h"
#include "faults/window/WindowUnderFaults.h"

namespace quillmor::test {
namespace {

constexpr const char* kOpenElsewhere = "This file is open in another Quillmor.";
constexpr int kRefused = 2;

class TwoProcessesTest : public WindowUnderFaults {
 protected:
  int rounds() const { return triesEverything() ? 1000 : 10; }

  std::string content() const { return contentIfAny(trial().places().file()).value_or(""); }

  /// Where in the rounds a test is.
  static std::string numbered(int round, const std::string& text) {
    return "round " + std::to_string(round) + ": " + text;
  }
};

TEST_P(TwoProcessesTest, theCommandLineRefusesAFileThatIsOpen) {
  Score score("the file is open in the editor: --in-place refuses");
  startAndChange(Fault::none());
  const ChildProcess::Environment environment = {{"PATH", desktop().environment().at("PATH")},
                                                 {"HOME", folder.path().native()},
                                                 {"XDG_STATE_HOME", trial().places().state}};
  constexpr int kRoundsBetweenSaves = 10;
  for (int round = 0; round < rounds(); ++round) {
    const std::string before = content();
    ChildProcess command(
        {judgedCli(), "transform", "invert", trial().places().file(), "--in-place"}, environment);
    const int status = command.waitForExit().value_or(-1);
    score.countPoint();
    if (content() != before) score.countLost(numbered(round, "overwritten"));
    if (status != kRefused || command.errors().find(kOpenElsewhere) == std::string::npos)
      score.countWrong(numbered(round, std::to_string(status) + " " + command.errors()));
    if (round % kRoundsBetweenSaves != 0) continue;
    // The editor itself goes on as ever.
    if (!isSaved()) save();
    if (!isSaved() || content() == before)
      score.countWrong(numbered(round, "not saved by the editor"));
    type(round / kRoundsBetweenSaves % 2 == 0 ? "61" : "62");
    expectTitle("data.bin*");
    if (HasFailure()) return;
  }
  takeAway();
}

TEST_P(TwoProcessesTest, theSecondEditorAsksBeforeItSaves) {
  Score score("the file is open in the editor: a second one asks");
  startAndChange(Fault::none());
  const std::string before = content();
  startOnWhatIsLeft(Fault::none(), {trial().places().file()}, 1);
  expectStatus(Status{.size = kOnePage});
  expectNotice(kOpenElsewhere);
  for (int round = 0; round < rounds(); ++round) {
    type(round % 2 == 0 ? "61" : "62");
    expectTitle("data.bin*");
    press({"ctrl+s"});
    const ShownAlert question = expectAlert(kOpenElsewhere);
    score.countPoint();
    if (question.focusedButton != "Cancel") score.countWrong(numbered(round, "not asked"));
    press({"Return"});
    expectNoAlert();
    if (content() != before) score.countLost(numbered(round, "overwritten"));
    if (HasFailure()) return;
  }
  takeAway();
}

TEST_P(TwoProcessesTest, theEditorAsksBeforeItOverwritesWhatAnotherProgramHasWritten) {
  Score score("another program writes to the open file: the editor asks");
  startAndChange(Fault::none());
  for (int round = 0; round < rounds(); ++round) {
    // As many bytes as before, in the same file: only its times tell.
    const std::string theirs(kOnePage, round % 2 == 0 ? 'a' : 'b');
    std::ofstream(trial().places().file(), std::ios::binary | std::ios::trunc) << theirs;
    press({"ctrl+s"});
    const ShownAlert question = expectAlert("The file has been changed by another program.");
    score.countPoint();
    if (question.focusedButton != "Cancel") score.countWrong(numbered(round, "not asked"));
    press({"Return"});
    expectNoAlert();
    if (content() != theirs) score.countLost(numbered(round, "overwritten"));
    if (HasFailure()) return;
  }
  takeAway();
}

INSTANTIATE_TEST_SUITE_P(, TwoProcessesTest, testing::Values(Way::equal),
                         [](const auto& test) { return nameOf(test.param); });

}  // namespace
}  // namespace quillmor::test
