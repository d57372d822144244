// A save that has emptied the file and cannot write it: the document and the record of its bytes
// outlive whatever the user does then.

#include <algorithm>
#include <cerrno>

#include "faults/window/WindowUnderFaults.h"

namespace quillmor::test {
namespace {

class TornSaveTest : public WindowUnderFaults {
 public:
  static std::vector<Way> ways() {
    if (triesEverything()) return {Way::equal, Way::longer};
    return {Way::longer};
  }

 protected:
  /// Saves onto a disk that takes none of the bytes, and answers the alert.
  void tearTheFile() {
    startAndChange(Fault::failures("write", "data.bin", ENOSPC));
    save();
    answerAlerts();
    expectTitle("data.bin*");
    ASSERT_TRUE(contentIfAny(trial().places().file()) == "") << "the save was to tear the file";
  }

  bool hasRecord() const {
    return std::ranges::any_of(trial().strayFiles(), SaveUnderFaults::isRecord);
  }

  /// Chooses Revert, the fourth item below the first of the File menu.
  void chooseRevert() { press({"alt+f", "Down", "Down", "Down", "Down", "Return"}); }

  /// Starts the editor once more, recovers what it offers and saves.
  void recoverAndSave(const std::string& where, Score& score) {
    startOnWhatIsLeft(Fault::none(), {}, 2);
    expectTitle("Recovered Documents");
    press({"Return"});
    expectTitle("data.bin*");
    press({"ctrl+s"});
    expectTitle("data.bin");
    if (contentIfAny(trial().places().file()) != trial().save().newBytes) score.countLost(where);
    for (const std::string& path : leftBehind()) score.countLeftBehind(path + ": " + where);
    takeAway();
  }

  /// Ends the test when there is nothing to go on with: each further step would wait for long.
  void judgeRecord(const std::string& where, Score& score) {
    score.countPoint();
    if (!hasRecord()) score.countLost("no record " + where);
    ASSERT_TRUE(hasRecord());
  }
};

TEST_P(TornSaveTest, undoNeverLeadsBackToSaved) {
  Score score("torn save, then undo, revert or another file");
  tearTheFile();
  if (HasFatalFailure()) return;
  // The first undo makes the document what the file was; it is not what the file is.
  const std::string changed = shownRows();
  for (const char* const keys : {"ctrl+z", "ctrl+shift+z", "ctrl+z", "ctrl+z"}) {
    press({keys});
    const bool isUndone = std::string(keys) == "ctrl+z";
    EXPECT_TRUE(waitUntil([&] { return (shownRows() != changed) == isUndone; }));
    if (!desktop().activeWindowTitle().ends_with('*'))
      score.countWrong(std::string("saved after ") + keys);
    judgeRecord(std::string("after ") + keys, score);
    if (HasFatalFailure()) return;
  }
  takeAway();
  if (trial().outcome() != Outcome::recovered) score.countLost("after undo and a kill");
}

TEST_P(TornSaveTest, revertLeavesTheRecordForTheNextStart) {
  Score score("torn save, then undo, revert or another file");
  tearTheFile();
  if (HasFatalFailure()) return;
  chooseRevert();
  expectAlert("Revert Changes?");
  clickButton("Revert");
  expectTitle("data.bin");
  judgeRecord("after revert", score);
  if (HasFatalFailure()) return;
  expectQuitBy({"ctrl+q"});
  judgeRecord("after revert and quit", score);
  if (HasFatalFailure()) return;
  recoverAndSave("after revert", score);
}

class ReplacedTornDocumentTest : public TornSaveTest {
 public:
  /// The long form only: on a busy machine the file panel may take long to get the keys.
  static std::vector<Way> ways() {
    return triesEverything() ? TornSaveTest::ways() : std::vector<Way>();
  }
};

TEST_P(ReplacedTornDocumentTest, anotherFileLeavesTheRecordForTheNextStart) {
  Score score("torn save, then undo, revert or another file");
  tearTheFile();
  if (HasFatalFailure()) return;
  const FileLocation other = folder.write("other.bin", "ABCD");
  press({"ctrl+o"});
  expectTitle("Open");
  // The panel has the keys before it says so. In quotes, because else a list of completions may
  // take the key meant for the panel.
  desktop().type('"' + other.path() + '"');
  desktop().press({"Return"});
  expectAlert("Replace Current Document?");
  clickButton("Don't Save");
  expectTitle("other.bin");
  judgeRecord("after another file", score);
  if (HasFatalFailure()) return;
  expectQuitBy({"ctrl+q"});
  judgeRecord("after another file and quit", score);
  if (HasFatalFailure()) return;
  recoverAndSave("after another file", score);
}

INSTANTIATE_TEST_SUITE_P(, TornSaveTest, testing::ValuesIn(TornSaveTest::ways()),
                         [](const auto& test) { return nameOf(test.param); });
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(ReplacedTornDocumentTest);
INSTANTIATE_TEST_SUITE_P(, ReplacedTornDocumentTest,
                         testing::ValuesIn(ReplacedTornDocumentTest::ways()),
                         [](const auto& test) { return nameOf(test.param); });

}  // namespace
}  // namespace quillmor::test
