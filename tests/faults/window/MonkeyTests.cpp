// Keys, clicks and menus as chance has them, for as long as there is time: the editor neither
// crashes nor stalls, and what it has taken it gives back.

#include <array>
#include <chrono>
#include <cstdlib>

#include "blackbox/BlackBoxTest.h"
#include "faults/FaultyRun.h"
#include "faults/SaveUnderFaults.h"
#include "faults/Score.h"
#include "faults/window/JudgedWindow.h"
#include "faults/window/Monkey.h"

namespace quillmor::test {
namespace {

using std::chrono::duration_cast;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr milliseconds kStall(1000);
constexpr std::int64_t kKiB = 1024;
const std::string kPage(kOnePage, 'x');

class MonkeyTest : public BlackBoxTest {
 protected:
  using Clock = std::chrono::steady_clock;

  MonkeyTest()
      : input_(desktop().environment().at("DISPLAY")), watch_(desktop().accessibilityAddress()) {}

  static std::uint64_t seed() {
    const char* const given = std::getenv("QUILLMOR_FAULTS_SEED");
    if (given != nullptr) return std::strtoull(given, nullptr, 10);
    return triesEverything() ? std::random_device()() : 1;
  }

  void startEditor() {
    for (const char* const name : {"file0", "file1"}) folder.write(name, kPage);
    folder.write("data.bin", kPage);
    // No other program is found, and memory that is freed goes back to the system at once, so that
    // what remains is what is in use.
    std::vector<std::string> command = {"env",
                                        "PATH=" + folder.path().native(),
                                        "MALLOC_ARENA_MAX=1",
                                        "MALLOC_TRIM_THRESHOLD_=0",
                                        "MALLOC_TOP_PAD_=0",
                                        "MALLOC_MMAP_THRESHOLD_=65536"};
    addJudgedWindow(command);
    command.insert(command.begin() + 1, {"-C", folder.path().native()});
    startThrough(command, {folder.location("data.bin").path()});
    ASSERT_TRUE(watch_.find(static_cast<unsigned>(processId())));
  }

  /// Leads to one window with an untouched file, whatever is open. False when the last window was
  /// no document's, so that the editor has quit.
  bool settle();
  bool closeAllButOne();
  void closeActiveWindow();

  /// What the editor holds once it has settled.
  struct Holdings {
    std::int64_t memory = 0;
    std::int64_t descriptors = 0;
  };
  Holdings holdings() const { return {watch_.memory(), watch_.descriptorCount(triesEverything())}; }

  /// Lets the monkey act for so long. False when the editor has ended.
  bool play(Monkey& monkey, seconds time, Score& score);

  const FakeInput input_;
  WindowWatch watch_;
  std::int64_t actions_ = 0;
  int settled_ = 0;
  milliseconds longest_{0};
};

void MonkeyTest::closeActiveWindow() {
  const auto window = watch_.active();
  if (!window) return;
  const auto dontSave = watch_.button("Don't Save");
  if (dontSave) {
    const ScreenRect& place = *dontSave;
    input_.click({place.x + place.width / 2, place.y + place.height / 2}, 1);
  } else {
    input_.key(window->isDialog ? "Escape" : "alt+F4");
  }
}

bool MonkeyTest::closeAllButOne() {
  return waitUntil([this] {
    if (!isRunning()) return true;
    const auto window = watch_.active();
    if (window && !window->isDialog && watch_.windowCount() == 1) return true;
    closeActiveWindow();
    return false;
  });
}

bool MonkeyTest::settle() {
  input_.key("Escape");
  input_.key("Escape");
  if (!closeAllButOne() || !isRunning()) return false;
  if (!watch_.isEditor()) {
    expectQuitBy({"alt+F4"});
    return false;
  }
  // A file that no window has shown yet.
  const std::string name = "again" + std::to_string(++settled_) + ".bin";
  press({"ctrl+o"});
  expectTitle("Open");
  type(folder.write(name, kPage).path());
  press({"Return"});
  EXPECT_TRUE(waitUntil([&] {
    if (watch_.button("Don't Save")) closeActiveWindow();
    return desktop().activeWindowTitle() == name;
  }));
  press({"ctrl+a", "ctrl+c"});
  EXPECT_TRUE(waitUntil([&] { return watch_.windowCount() == 1; }));
  return true;
}

bool MonkeyTest::play(Monkey& monkey, seconds time, Score& score) {
  std::array<std::string, 3> last;
  for (const auto end = Clock::now() + time; Clock::now() < end; ++actions_) {
    last[static_cast<std::size_t>(actions_ % 3)] = monkey.act();
    score.countPoint();
    const auto answer = duration_cast<milliseconds>(watch_.roundTrip());
    longest_ = std::max(longest_, answer);
    std::string where = std::to_string(actions_) + ":";
    for (std::int64_t i = actions_ - 2; i <= actions_; ++i)
      where += " [" + last[static_cast<std::size_t>((i + 3) % 3)] + "]";
    if (answer > kStall)
      score.countWrong("stalls " + std::to_string(answer.count()) + " ms, action " + where);
    if (isRunning()) continue;
    // Closing the last window quits, which is no crash.
    if (exitStatus() != 0)
      score.countWrong("status " + std::to_string(exitStatus().value_or(-1)) + ", action " + where);
    return false;
  }
  return true;
}

TEST_F(MonkeyTest, nothingThatIsDoneByChanceDoesHarm) {
  Score score("keys, clicks and menus by chance");
  const std::uint64_t used = seed();
  SCOPED_TRACE("QUILLMOR_FAULTS_SEED=" + std::to_string(used));
  const seconds whole(triesEverything() ? 600 : 10);
  const seconds round(triesEverything() ? 20 : 5);
  // At first fonts, menus and dialogs are made, once each. The short form does not get to all of
  // them, so that it can tell a document that stays, and no more.
  const int warmUps = triesEverything() ? 10 : 1;
  const std::int64_t mostPercent = triesEverything() ? 105 : 150;
  Monkey monkey(input_, watch_, folder.path().native(), used);
  std::optional<Holdings> before;
  std::string memories;
  int starts = 0;
  int rounds = 0;
  const auto end = Clock::now() + whole;
  startEditor();
  do {
    const bool isThere = play(monkey, round, score) && settle();
    if (HasFailure()) return;
    if (!isThere) {
      ++starts;
      rounds = 0;
      before.reset();
      startEditor();
      continue;
    }
    memories += std::to_string(watch_.memory() / kKiB) + " ";
    if (++rounds < warmUps) continue;
    if (!before) before = holdings();
    // Threads that have nothing to do take a while to end.
    if (!waitUntil(
            [&] { return watch_.descriptorCount(triesEverything()) <= before->descriptors; }))
      score.countLeftBehind("descriptors after " + std::to_string(actions_) + " actions");
  } while (Clock::now() < end);
  const auto isBack = [&] { return watch_.memory() <= before->memory * mostPercent / 100; };
  if (before && !waitUntil(isBack))
    score.countLeftBehind(std::to_string(watch_.memory() - before->memory) + " bytes of memory");
  RecordProperty("startsAfterTheLastWindowWasClosed", starts);
  RecordProperty("longestAnswerMilliseconds", static_cast<int>(longest_.count()));
  RecordProperty("memoryAfterEachRoundKiB", memories);
}

}  // namespace
}  // namespace quillmor::test
