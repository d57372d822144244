// Two processes that save one file at the same time: it always is what one of them saved.

#include "faults/SaveUnderFaults.h"
#include "faults/Score.h"

namespace quillmor::test {
namespace {

/// In the long form more than is written at once.
std::size_t fileSize() {
  constexpr std::size_t kMiB = 1024 * 1024;
  return triesEverything() ? 9 * kMiB : kMiB;
}

class TwoWritersTest : public testing::Test {
 protected:
  /// A process that fills the whole file with one byte.
  std::unique_ptr<ChildProcess> filling(const std::string& hexByte) const {
    return std::make_unique<ChildProcess>(
        std::vector<std::string>{judgedCli(), "transform", "fill", path(), "--pattern", hexByte,
                                 "--in-place"},
        ChildProcess::Environment{{"PATH", std::getenv("PATH")},
                                  {"HOME", folder.path().native()},
                                  {"XDG_STATE_HOME", (folder.path() / "state").native()}});
  }

  std::string path() const { return folder.location("data.bin").path(); }

  TemporaryFolder folder;
};

TEST_F(TwoWritersTest, theFileIsAlwaysOneOfTheTwo) {
  Score score("two processes save one file");
  const std::string first(fileSize(), 'a');
  const std::string second(fileSize(), 'b');
  folder.write("data.bin", std::string(fileSize(), 'o'));
  const int rounds = triesEverything() ? 1000 : 50;
  int bothSaved = 0;
  for (int round = 0; round < rounds; ++round) {
    const std::string before = contentIfAny(path()).value_or("");
    const auto a = filling("61");
    const auto b = filling("62");
    const int statusOfA = a->waitForExit().value_or(-1);
    const int statusOfB = b->waitForExit().value_or(-1);
    const std::string where = "round " + std::to_string(round) + ", statuses " +
                              std::to_string(statusOfA) + " and " + std::to_string(statusOfB);
    const std::string content = contentIfAny(path()).value_or("");
    score.countPoint();
    bothSaved += statusOfA == 0 && statusOfB == 0 ? 1 : 0;
    if (content != first && content != second && content != before) score.countLost(where);
    const bool isTrue = (statusOfA == 0 && content == first) ||
                        (statusOfB == 0 && content == second) ||
                        (statusOfA != 0 && statusOfB != 0 && content == before);
    if (!isTrue) score.countWrong(where + ": " + a->errors() + b->errors());
    const auto stray = folder.names();
    for (const std::string& name : stray)
      if (name != "data.bin" && name != "state") score.countLeftBehind(name + ", " + where);
  }
  RecordProperty("roundsInWhichBothSaved", bothSaved);
}

}  // namespace
}  // namespace quillmor::test
