// Keys, clicks and menus as chance has them, for as long as there is time: the editor neither
// crashes nor stalls, and what it has taken it gives back.

#include <array>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <optional>
#include <random>

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
/// The toolkit keeps pictures of the buttons that it has drawn, anew for each window, up to this
/// size; then the oldest go.
constexpr std::int64_t kPictures = 10 * kKiB * kKiB;
const std::string kPage(kOnePage, 'x');
constexpr const char* kPanel = "Open";
constexpr const char* kAlert = "Quillmor";

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
  /// no document's, so that the editor has quit. Fails the test when windows cannot be closed.
  bool settle();
  bool closeAllButOne();
  /// Opens a file that no window has shown yet, in place of the active window's document.
  void openAnew(const std::string& name);
  void closeActiveWindow();

  /// What the editor holds once it has settled.
  struct Holdings {
    std::int64_t memory = 0;
    std::int64_t descriptors = 0;
  };
  Holdings holdings() const { return {watch_.memory(), watch_.descriptorCount(triesEverything())}; }
  /// Compares what the editor holds with what it held when it was warm, and notes it for the end.
  void compareHoldings(Score& score);
  /// Of an editor that was compared at least once, at its end. The next one begins anew.
  void judgeMemory(Score& score);

  /// Lets the monkey act for so long. False when the editor has ended.
  bool play(Monkey& monkey, seconds time, Score& score);

  const FakeInput input_;
  WindowWatch watch_;
  std::int64_t actions_ = 0;
  int settled_ = 0;
  milliseconds longest_{0};
  std::optional<Holdings> before_;
  std::optional<Holdings> after_;
  int rounds_ = 0;
  int comparisons_ = 0;
  std::string memories_;
};

void MonkeyTest::closeActiveWindow() {
  const auto window = watch_.active();
  if (!window) {
    input_.key("alt+Tab");
    return;
  }
  const auto dontSave = watch_.button("Don't Save");
  if (dontSave) {
    const ScreenRect& place = *dontSave;
    input_.click({place.x + place.width / 2, place.y + place.height / 2}, 1);
  } else {
    // A menu that has come late would take the keys.
    input_.key("Escape");
    if (!window->isDialog) input_.key("alt+F4");
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

void MonkeyTest::openAnew(const std::string& name) {
  const std::string path = folder.write(name, kPage).path();
  const auto await = [this](const std::function<bool(const std::string& title)>& isNext) {
    const auto end = Clock::now() + seconds(3);
    while (Clock::now() < end && !isNext(desktop().activeWindowTitle())) continue;
  };
  // Goes by what is shown: while windows come and go, keys may get lost.
  EXPECT_TRUE(waitUntil([&] {
    const std::string title = desktop().activeWindowTitle();
    if (title == name) return true;
    if (title == kPanel) {
      desktop().press({"ctrl+a"});
      desktop().type(path);
      desktop().press({"Return"});
      await([&](const auto& next) { return next == name || next == kAlert; });
    } else if (const auto window = watch_.active(); window && window->isDialog) {
      // A question, or an alert of something that has gone on until now.
      closeActiveWindow();
      await([&](const auto& next) { return next == name; });
    } else if (!title.empty()) {
      desktop().press({"ctrl+o"});
      await([&](const auto& next) { return next == kPanel || next == kAlert; });
    }
    return false;
  })) << desktop().activeWindowTitle();
}

bool MonkeyTest::settle() {
  input_.key("Escape");
  input_.key("Escape");
  if (!closeAllButOne()) {
    const auto window = watch_.active();
    ADD_FAILURE() << watch_.windowCount() << " windows remain, '" << desktop().activeWindowTitle()
                  << "' has the keys, '" << (window ? window->title : "none") << "' is active";
    return false;
  }
  if (!isRunning()) return false;
  if (!watch_.isEditor()) {
    expectQuitBy({"alt+F4"});
    return false;
  }
  openAnew("again" + std::to_string(++settled_) + ".bin");
  // A panel may have come late.
  EXPECT_TRUE(waitUntil([this] {
    if (watch_.windowCount() == 1) return true;
    const auto window = watch_.active();
    window && window->isDialog ? closeActiveWindow() : input_.key("alt+Tab");
    return false;
  }));
  press({"ctrl+a", "ctrl+c"});
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

void MonkeyTest::compareHoldings(Score& score) {
  // At first fonts, menus and dialogs are made, once each. The short form does not get to all of
  // them, so that it can tell a document that stays, and no more.
  const int warmUps = triesEverything() ? 5 : 1;
  const Holdings now = holdings();
  memories_ += std::to_string(now.memory / kKiB) + " ";
  if (now.memory == 0 || now.descriptors == 0) score.countWrong("what it holds cannot be seen");
  if (++rounds_ < warmUps) return;
  if (!before_) {
    before_ = now;
    return;
  }
  after_ = now;
  ++comparisons_;
  // Threads that have nothing to do take a while to end.
  if (!waitUntil(
          [this] { return watch_.descriptorCount(triesEverything()) <= before_->descriptors; }))
    score.countLeftBehind("descriptors after " + std::to_string(actions_) + " actions");
}

void MonkeyTest::judgeMemory(Score& score) {
  const std::int64_t mostPercent = triesEverything() ? 105 : 150;
  if (after_ && after_->memory > before_->memory * mostPercent / 100 + kPictures)
    score.countLeftBehind(std::to_string(after_->memory - before_->memory) + " bytes of memory");
  before_.reset();
  after_.reset();
  rounds_ = 0;
}

TEST_F(MonkeyTest, nothingThatIsDoneByChanceDoesHarm) {
  Score score("keys, clicks and menus by chance");
  const std::uint64_t used = seed();
  SCOPED_TRACE("QUILLMOR_FAULTS_SEED=" + std::to_string(used));
  const seconds whole(triesEverything() ? 600 : 10);
  const seconds round(triesEverything() ? 20 : 5);
  // Chance may close the last window again and again, before there is anything to compare.
  constexpr int kPatience = 3;
  Monkey monkey(input_, watch_, folder.path().native(), used);
  int starts = 0;
  const auto end = Clock::now() + whole;
  const auto lastEnd = Clock::now() + kPatience * whole;
  startEditor();
  do {
    const bool isThere = play(monkey, round, score) && settle();
    if (HasFailure()) return;
    if (isThere) {
      compareHoldings(score);
    } else {
      judgeMemory(score);
      ++starts;
      startEditor();
    }
  } while (Clock::now() < end || (comparisons_ == 0 && Clock::now() < lastEnd));
  judgeMemory(score);
  if (comparisons_ == 0) score.countWrong("no editor lived long enough to be compared with itself");
  RecordProperty("startsAfterTheLastWindowWasClosed", starts);
  RecordProperty("longestAnswerMilliseconds", static_cast<int>(longest_.count()));
  RecordProperty("comparisons", comparisons_);
  RecordProperty("memoryAfterEachRoundKiB", memories_);
}

}  // namespace
}  // namespace quillmor::test
