// An editor that is ended while somebody types: by SIGKILL, which leaves what was recorded, and by
// the signals that it can catch, which lose nothing.

#include <signal.h>

#include <array>
#include <cstring>
#include <random>

#include "faults/window/TypingUnderFaults.h"

namespace quillmor::test {
namespace {

using std::chrono::milliseconds;

/// Each run has its own; the one of a failed run is in its message.
constexpr std::uint64_t kFirstSeed = 1000;

class TypingTest : public TypingUnderFaults {
 protected:
  static std::string numbered(std::uint64_t seed, const std::string& text) {
    return "seed " + std::to_string(seed) + ": " + text;
  }
  static milliseconds randomTime(std::uint64_t seed, std::uint64_t most) {
    return milliseconds(std::mt19937_64(seed)() % most);
  }
  /// The editor itself recovers in some of the runs, the command line in the others.
  std::optional<std::string> recovered(int run) {
    constexpr int kEvery = 8;
    return run % kEvery == 1 ? recoveredByEditor() : recoveredByCommand();
  }
};

/// What a kill may take: the journal is written once a second, by a thread that may wait for a
/// processor. The short form runs on machines that do much else.
milliseconds allowed() {
  constexpr milliseconds kBetweenWrites(1000);
  return kBetweenWrites + (triesEverything() ? milliseconds(500) : milliseconds(2000));
}

TEST_F(TypingTest, aKillTakesTheLastSecondAtMost) {
  Score score(std::string("kill -9 at random moments of typing: the last second and ") +
              (triesEverything() ? "a half" : "two more") + " may go");
  const int runs = triesEverything() ? 200 : 2;
  milliseconds oldest(0);
  for (int run = 0; run < runs; ++run) {
    const std::uint64_t seed = kFirstSeed + static_cast<std::uint64_t>(run);
    startTyping(seed);
    if (HasFatalFailure()) return;
    // What shows from here on is old at the end.
    typeFor(milliseconds(100));
    awaitAllTyped();
    typeFor(allowed() + randomTime(seed, 2000));
    const auto end = Clock::now();
    killProgram();
    score.countPoint();
    if (!isFileUntouched()) score.countWrong(numbered(seed, "the file has changed"));
    const std::int64_t mustBeThere = shownBy(end - allowed());
    if (mustBeThere == 0) score.countWrong(numbered(seed, "nothing was old enough to be judged"));
    const auto content = recovered(run);
    const auto count = content ? typed().countIn(*content) : std::nullopt;
    if (content && !count) score.countWrong(numbered(seed, described(content)));
    if (count.value_or(0) < mustBeThere) score.countLost(numbered(seed, described(content)));
    if (const auto since = shownSince(count.value_or(0) + 1))
      oldest = std::max(oldest, std::chrono::duration_cast<milliseconds>(end - *since));
  }
  RecordProperty("oldestMissingMilliseconds", static_cast<int>(oldest.count()));
}

TEST_F(TypingTest, aSignalTakesNothing) {
  Score score("SIGTERM, SIGHUP and SIGINT at random moments of typing");
  const int runs = triesEverything() ? 200 : 3;
  for (int run = 0; run < runs; ++run) {
    const int signalNumber = std::array{SIGTERM, SIGHUP, SIGINT}[static_cast<std::size_t>(run) % 3];
    const std::uint64_t seed = 2 * kFirstSeed + static_cast<std::uint64_t>(run);
    startTyping(seed);
    if (HasFatalFailure()) return;
    typeFor(randomTime(seed, 1500));
    // In every other run more keys are on their way when the signal comes.
    if (run % 2 == 0) awaitAllTyped();
    const std::int64_t mustBeThere = shownBy(Clock::now());
    ::kill(processId(), signalNumber);
    if (!waitUntil([this] { return !isRunning(); })) FAIL() << numbered(seed, "still running");
    score.countPoint();
    const std::string how = std::string(" after ") + ::strsignal(signalNumber);
    if (exitStatus() != 128 + signalNumber)
      score.countWrong(numbered(seed, "status " + std::to_string(exitStatus().value_or(-1))) + how);
    if (!isFileUntouched()) score.countWrong(numbered(seed, "the file has changed") + how);
    const auto content = mustBeThere > 0 ? recovered(run) : typed().after(0);
    const auto count = content ? typed().countIn(*content) : std::nullopt;
    if (content && !count) score.countWrong(numbered(seed, described(content)) + how);
    if (count.value_or(0) < mustBeThere) score.countLost(numbered(seed, described(content)) + how);
  }
}

}  // namespace
}  // namespace quillmor::test
