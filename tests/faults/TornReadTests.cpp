// Reads while another program changes the file: what is read was the whole file at one moment.

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <functional>

#include "faults/Score.h"
#include "fileaccess/StableReading.h"
#include "platform/RunInBackground.h"
#include "support/TemporaryFolder.h"

namespace quillmor::test {
namespace {

/// The file holds words. A whole state says in its first word which one it is, and has this word
/// all over; its number of words follows from it.
using Word = std::uint64_t;
constexpr std::int64_t kWordSize = sizeof(Word);
constexpr Word kMostWords = 32 * 1024;

Word wordCount(Word state) {
  // Sizes that jump up and down.
  return 1 + state * 7919 % kMostWords;
}

std::vector<Word> contentOf(Word state) {
  return std::vector<Word>(wordCount(state), state);
}

bool isWhole(std::span<const std::uint8_t> bytes) {
  if (std::ssize(bytes) < kWordSize) return false;
  Word state = 0;
  std::memcpy(&state, bytes.data(), sizeof state);
  const auto expected = contentOf(state);
  return bytes.size() == expected.size() * sizeof(Word) &&
         std::memcmp(bytes.data(), expected.data(), bytes.size()) == 0;
}

/// A file in which one word after another gets the number of its change, in an order that jumps. A
/// word is changed at once, whatever the system does in between; more bytes may stand there half
/// changed for as long as the writer does not get the processor.
constexpr Word kRewrittenWords = 8192;
constexpr Word kJump = 5167;

Word placeOfChange(Word change) {
  return change * kJump % kRewrittenWords;
}

/// The words after the first `count` changes; those before all others had made one round.
std::vector<Word> rewrittenContent(Word count) {
  std::vector<Word> words(kRewrittenWords, 0);
  const Word first = count > kRewrittenWords ? count - kRewrittenWords : 0;
  for (Word change = first; change < count; ++change) words[placeOfChange(change)] = change + 1;
  return words;
}

/// The last change that can be seen tells what the whole file was then.
bool isWholeRewritten(std::span<const std::uint8_t> bytes) {
  if (bytes.size() != kRewrittenWords * sizeof(Word)) return false;
  std::vector<Word> words(kRewrittenWords);
  std::memcpy(words.data(), bytes.data(), bytes.size());
  return words == rewrittenContent(*std::ranges::max_element(words));
}

/// The words 0, 1, 2, ... in a file that grows and shrinks by 512 of them at a time.
constexpr Word kStep = 512;

bool isWholeRow(std::span<const std::uint8_t> bytes) {
  if (bytes.size() % (kStep * sizeof(Word)) != 0) return false;
  for (Word i = 0; i < bytes.size() / sizeof(Word); ++i)
    if (std::memcmp(bytes.data() + i * sizeof(Word), &i, sizeof i) != 0) return false;
  return true;
}

/// A process that changes the file again and again, until the end of the object.
class Writer {
 public:
  /// `change` is called with 0, 1, 2, ...
  explicit Writer(const std::function<void(Word)>& change) : id_(::fork()) {
    if (id_ != 0) return;
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (Word i = 0;; ++i) {
      change(i);
      // Now and then there is time for a read.
      ::usleep(static_cast<useconds_t>(i * 131 % 300));
    }
  }
  ~Writer() {
    ::kill(id_, SIGKILL);
    ::waitpid(id_, nullptr, 0);
  }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

 private:
  pid_t id_;
};

class TornReadTest : public testing::Test {
 protected:
  std::string path() const { return folder.location("data.bin").path(); }

  int openFile(const std::string& name, int flags) const {
    return ::open(folder.location(name).path().c_str(), flags | O_CLOEXEC, 0600);
  }

  static void putAll(int file, const std::vector<Word>& words) {
    if (::pwrite(file, words.data(), words.size() * sizeof(Word), 0) < 0) ::_exit(1);
  }

  /// True if each change of a file that was looked at gives it another time.
  bool areTimesFine() const {
    const int file = openFile("times.bin", O_RDWR | O_CREAT);
    std::set<std::int64_t> times;
    constexpr int kChanges = 20;
    for (int i = 0; i < kChanges; ++i) {
      struct stat status {};
      if (::pwrite(file, "x", 1, 0) == 1 && ::fstat(file, &status) == 0)
        times.insert(status.st_mtim.tv_nsec);
    }
    ::close(file);
    return times.size() == kChanges;
  }

  /// The row of words in steps, so that each write fills one page.
  void growAndShrink(Word i, bool grows) const {
    constexpr Word kSteps = 64;
    const int file = openFile("data.bin", O_WRONLY);
    const Word step = i % kSteps;
    const auto offset = static_cast<off_t>(step * kStep * sizeof(Word));
    if (grows) {
      std::vector<Word> words(kStep);
      for (Word k = 0; k < kStep; ++k) words[k] = step * kStep + k;
      if (step == 0 && ::ftruncate(file, 0) != 0) ::_exit(1);
      if (::pwrite(file, words.data(), words.size() * sizeof(Word), offset) < 0) ::_exit(1);
    } else if (step != 0) {
      if (::ftruncate(file, static_cast<off_t>((kSteps - step) * kStep * sizeof(Word))) != 0)
        ::_exit(1);
    } else {
      // A whole new file begins to shrink.
      std::vector<Word> words(kSteps * kStep);
      for (Word k = 0; k < words.size(); ++k) words[k] = k;
      const int fresh = openFile("fresh", O_WRONLY | O_CREAT | O_TRUNC);
      putAll(fresh, words);
      ::close(fresh);
      ::rename(folder.location("fresh").path().c_str(), path().c_str());
    }
    ::close(file);
  }

  /// Reads the file again and again; what can be read must be whole.
  void readManyTimes(Score& score,
                     const std::function<bool(std::span<const std::uint8_t>)>& isRight) const {
    const int rounds = triesEverything() ? 20'000 : 1000;
    int done = 0;
    for (int round = 0; round < rounds; ++round) {
      const auto read = resultOf([&] {
        return SecureFileAccess::readSnapshot(folder.location("data.bin"), std::nullopt);
      });
      score.countPoint();
      if (!read.isOk()) continue;
      ++done;
      if (!isRight(read.value().bytes.span()))
        score.countLost("round " + std::to_string(round) + ", " +
                        std::to_string(read.value().bytes.size()) + " bytes");
    }
    // A reader that refuses everything would never be wrong.
    EXPECT_GT(done, rounds / 50);
    RecordProperty("reads", done);
  }

  TemporaryFolder folder;
};

TEST_F(TornReadTest, whileTheFileGrows) {
  Score score("reads of a file that grows");
  folder.write("data.bin", "");
  const Writer writer([this](Word i) { growAndShrink(i, true); });
  readManyTimes(score, isWholeRow);
}

TEST_F(TornReadTest, whileTheFileShrinks) {
  Score score("reads of a file that shrinks");
  folder.write("data.bin", "");
  const Writer writer([this](Word i) { growAndShrink(i, false); });
  readManyTimes(score, isWholeRow);
}

TEST_F(TornReadTest, whileTheFileIsRewrittenInPlace) {
  Score score("reads of a file that is rewritten in place");
  if (!areTimesFine())
    GTEST_SKIP() << "two changes of a file may leave the same time on this system";
  const int file = openFile("data.bin", O_RDWR | O_CREAT);
  putAll(file, rewrittenContent(0));
  const Writer writer([file](Word i) {
    constexpr Word kChangesAtOnce = 20;
    for (Word change = i * kChangesAtOnce; change < (i + 1) * kChangesAtOnce; ++change) {
      const Word word = change + 1;
      const auto offset = static_cast<off_t>(placeOfChange(change) * sizeof(Word));
      if (::pwrite(file, &word, sizeof word, offset) < 0) ::_exit(1);
    }
  });
  readManyTimes(score, isWholeRewritten);
  ::close(file);
}

TEST_F(TornReadTest, whileTheFileIsReplaced) {
  Score score("reads of a file that is replaced");
  const int first = openFile("data.bin", O_WRONLY | O_CREAT);
  putAll(first, contentOf(0));
  ::close(first);
  const Writer writer([this](Word i) {
    const int fresh = openFile("fresh", O_WRONLY | O_CREAT | O_TRUNC);
    putAll(fresh, contentOf(i));
    ::close(fresh);
    ::rename(folder.location("fresh").path().c_str(), path().c_str());
  });
  readManyTimes(score, isWhole);
}

}  // namespace
}  // namespace quillmor::test
