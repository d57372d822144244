#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "base/SaturatingMath.h"
#include "fileaccess/StableFile.h"
#include "support/ErrorMatchers.h"
#include "support/FileAccessTest.h"
#include "support/RandomBytes.h"
#include "support/Stopping.h"
#include "tools/analysis/FileComparison.h"

namespace quillmor {
namespace {

using test::bytesOf;
using test::failsWith;

ComparedFile comparedFile(const StableFile& file) {
  return {.size = file.size(),
          .read = [&file](std::int64_t offset, auto room) { file.read(offset, room); }};
}

/// Compares two files as the commands do.
FileComparison compareFiles(const FileLocation& current, std::int64_t maximumByteCount,
                            const FileLocation& other, TaskProgress& progress) {
  const StableFile currentFile(current, maximumByteCount);
  const StableFile otherFile(other);
  const auto result =
      quillmor::compareFiles(comparedFile(currentFile), comparedFile(otherFile), progress);
  currentFile.requireUnchanged();
  otherFile.requireUnchanged();
  return result;
}

/// Compares two texts both as files and as a document with a file, which must agree.
FileComparison comparedBothWays(const std::string& current, const std::string& other) {
  const test::TemporaryFolder folder;
  const auto currentFile = folder.write("current", current);
  const auto otherFile = folder.write("other", other);
  TaskProgress progress;
  const auto result = compareFiles(currentFile, std::ssize(current), otherFile, progress);
  TaskProgress ofDocument;
  EXPECT_EQ(result, compareWithFile(bytesOf(current), otherFile, ofDocument));
  return result;
}

TEST(CompareFiles, agreesWithComparingADocument) {
  EXPECT_EQ(comparedBothWays("", ""), (FileComparison{0, 0, std::nullopt, 0}));
  EXPECT_EQ(comparedBothWays("abc", "abc"), (FileComparison{3, 3, std::nullopt, 0}));
  EXPECT_EQ(comparedBothWays("abc", "abX"), (FileComparison{3, 3, 2, 1}));
  EXPECT_EQ(comparedBothWays("abc", ""), (FileComparison{3, 0, 0, 3}));
  EXPECT_EQ(comparedBothWays("", "abc"), (FileComparison{0, 3, 0, 3}));
  EXPECT_EQ(comparedBothWays("Xbc", "abcde"), (FileComparison{3, 5, 0, 3}));
}

TEST(CompareFiles, findsTheFirstDifferenceWhicheverThreadMeetsItFirst) {
  const std::string current(std::size_t{6} * 1024 * 1024 + 5, 'x');
  for (const std::size_t first : {std::size_t{0}, std::size_t{262'143}, std::size_t{262'144},
                                  std::size_t{3'000'000}, current.size() - 1}) {
    std::string other = current;
    for (std::size_t place = first; place < other.size(); place += 100'003) other[place] = 'y';
    EXPECT_EQ(comparedBothWays(current, other).firstMismatch, static_cast<std::int64_t>(first));
  }
  EXPECT_EQ(comparedBothWays(current, current + "more"),
            (FileComparison{std::ssize(current), std::ssize(current) + 4, std::ssize(current), 4}));
}

class CompareFilesFaults : public test::FileAccessTest {
 protected:
  void compare() {
    TaskProgress progress;
    compareFiles(current, 3, other, progress);
  }

  const FileLocation current = folder.write("current", "abc");
  const FileLocation other = folder.write("other", "abd");
};

TEST_F(CompareFilesFaults, fileThatChanges) {
  calls.before(test::SystemCall::pread, 1, [&] { folder.write("current", "ab"); });
  EXPECT_THAT([&] { compare(); },
              failsWith(1204, "The file changed while it was being read. Try again."));
}

TEST_F(CompareFilesFaults, otherFileThatChanges) {
  calls.before(test::SystemCall::pread, 2, [&] { folder.write("other", "ab"); });
  EXPECT_THAT([&] { compare(); },
              failsWith(1204, "The file changed while it was being read. Try again."));
}

TEST_F(CompareFilesFaults, fileAboveTheLimitAndOtherOfAnySize) {
  folder.write("other", "abcdefgh");
  compare();
  folder.write("current", "abcd");
  EXPECT_THAT([&] { compare(); },
              failsWith(1205, "The selected file exceeds the safe in-memory limit of 3 bytes."));
}

TEST_F(CompareFilesFaults, stopThatIsAskedFor) {
  TaskProgress progress;
  progress.requestStop();
  EXPECT_THAT([&] { compareFiles(current, 3, other, progress); }, test::isStopped());
}

}  // namespace
}  // namespace quillmor
