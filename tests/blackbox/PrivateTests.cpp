// What --private leaves behind, whatever the program ends with.

#include <gmock/gmock.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <map>
#include <optional>
#include <system_error>
#include <thread>

#include "blackbox/BlackBoxTest.h"
#include "recovery/RecordNames.h"

namespace quillmor::test {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

class PrivateProgramTest : public BlackBoxTest {
 protected:
  /// Names and bytes.
  using Files = std::map<std::string, std::string>;

  /// The files in the user's folders. Read again when they change meanwhile.
  Files userFiles() const {
    std::optional<Files> files;
    EXPECT_TRUE(waitUntil([&] { return (files = filesAtOnce()).has_value(); }));
    return files.value_or(Files());
  }

  /// `files`, and the lock of the open file that the running program has.
  Files withLock(Files files) const {
    files[lockPath] = std::to_string(processId()) + "\n";
    return files;
  }

  /// The lock is taken by another thread.
  void expectFiles(const Files& expected) const {
    waitUntil([&] { return userFiles() == expected; });
    EXPECT_EQ(userFiles(), expected);
  }

  /// Makes settings of the user, as an earlier start leaves them.
  void leaveSettings() {
    start({});
    expectStatus(Status{});
    press({"ctrl+i"});
    expectStatus(Status{.mode = "Insert"});
    expectQuitBy({"ctrl+q"});
  }

  /// Looks at the user's files for longer than an edit waits to be recorded.
  void expectNothingNewForAWhile(const Files& before) const {
    const auto end = std::chrono::steady_clock::now() + 2s;
    while (std::chrono::steady_clock::now() < end) {
      ASSERT_EQ(userFiles(), before);
      std::this_thread::sleep_for(50ms);
    }
  }

  const FileLocation file = folder.write("data.bin", "ABCD");
  const std::string lockPath = desktop().home().path() / "quillmor/recovery" /
                               (pathHash(fs::canonical(file.path()).native()) + ".lock");

 private:
  /// Absent when a folder or a file has gone in the middle.
  std::optional<Files> filesAtOnce() const {
    Files files;
    std::error_code failure;
    fs::recursive_directory_iterator entry(desktop().home().path(), failure);
    while (!failure && entry != fs::recursive_directory_iterator()) {
      if (entry->is_regular_file(failure)) {
        const fs::path& path = entry->path();
        files[path] = TemporaryFolder::read(FileLocation::fromPath(path.native()));
      }
      if (!failure) entry.increment(failure);
    }
    return failure ? std::nullopt : std::optional(std::move(files));
  }
};

TEST_F(PrivateProgramTest, leavesNothingButTheLockOfTheFileWhenItIsKilled) {
  leaveSettings();
  const Files before = userFiles();
  ASSERT_FALSE(before.empty());
  start({"--private", file.path()});
  expectStatus(Status{.size = 4, .mode = "Insert"});
  press({"ctrl+i"});
  expectStatus(Status{.size = 4});
  type("7");
  expectTitle("data.bin*");
  const Files withOneLock = withLock(before);
  expectFiles(withOneLock);
  expectNothingNewForAWhile(withOneLock);
  killProgram();
  EXPECT_EQ(userFiles(), withOneLock);
  EXPECT_EQ(TemporaryFolder::read(file), "ABCD");
  start({});
  expectTitle("Untitled");
  expectStatus(Status{.mode = "Insert"});
}

TEST_F(PrivateProgramTest, removesTheLockThatAKilledOneHasLeft) {
  start({"--private", file.path()});
  expectStatus(Status{.size = 4});
  const Files before = userFiles();
  expectFiles(withLock(before));
  killProgram();
  expectFiles(withLock(before));
  start({"--private", file.path()});
  expectStatus(Status{.size = 4});
  expectFiles(withLock(before));
  expectQuitBy({"ctrl+q"});
  EXPECT_FALSE(fs::exists(lockPath));
}

TEST_F(PrivateProgramTest, leavesNothingOfFilesThatWereSavedAndLookedFor) {
  leaveSettings();
  const Files before = userFiles();
  start({"--private", file.path()});
  expectStatus(Status{.size = 4, .mode = "Insert"});
  press({"ctrl+o"});
  expectTitle("Open");
  press({"Escape"});
  expectTitle("data.bin");
  press({"ctrl+i"});
  type("71");
  expectTitle("data.bin*");
  press({"ctrl+s"});
  expectSaved(file, "qBCD");
  expectQuitBy({"ctrl+q"});
  EXPECT_EQ(userFiles(), before);
}

TEST_F(PrivateProgramTest, endsWithASignalTheFirstTime) {
  leaveSettings();
  const Files before = userFiles();
  start({"--private", file.path()});
  expectStatus(Status{.size = 4, .mode = "Insert"});
  type("7");
  expectTitle("data.bin*");
  killProgram(SIGTERM);
  EXPECT_EQ(userFiles(), before) << "not even the lock";
  EXPECT_EQ(TemporaryFolder::read(file), "ABCD");
}

}  // namespace
}  // namespace quillmor::test
