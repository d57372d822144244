// What --private leaves behind, whatever the program ends with.

#include <gmock/gmock.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <map>

#include "blackbox/BlackBoxTest.h"

namespace quillmor::test {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

class PrivateProgramTest : public BlackBoxTest {
 protected:
  /// The files in the user's folders with their bytes, but for the locks of open files.
  std::map<std::string, std::string> userFiles() const {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(desktop().home().path())) {
      if (!entry.is_regular_file() || entry.path().extension() == ".lock") continue;
      files[entry.path()] = TemporaryFolder::read(FileLocation::fromPath(entry.path().native()));
    }
    return files;
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
  void expectNothingNewForAWhile(const std::map<std::string, std::string>& before) const {
    const auto end = std::chrono::steady_clock::now() + 2s;
    while (std::chrono::steady_clock::now() < end) ASSERT_EQ(userFiles(), before);
  }

  const FileLocation file = folder.write("data.bin", "ABCD");
};

TEST_F(PrivateProgramTest, leavesNothingOfAnEditWhenItIsKilled) {
  leaveSettings();
  const auto before = userFiles();
  ASSERT_FALSE(before.empty());
  start({"--private", file.path()});
  expectStatus(Status{.size = 4, .mode = "Insert"});
  press({"ctrl+i"});
  expectStatus(Status{.size = 4});
  type("7");
  expectTitle("data.bin*");
  expectNothingNewForAWhile(before);
  killProgram();
  EXPECT_EQ(userFiles(), before);
  EXPECT_EQ(TemporaryFolder::read(file), "ABCD");
  start({});
  expectTitle("Untitled");
  expectStatus(Status{.mode = "Insert"});
}

TEST_F(PrivateProgramTest, leavesNothingOfFilesThatWereSavedAndLookedFor) {
  leaveSettings();
  const auto before = userFiles();
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
  start({"--private", file.path()});
  expectStatus(Status{.size = 4});
  const auto before = userFiles();
  type("7");
  expectTitle("data.bin*");
  killProgram(SIGTERM);
  EXPECT_EQ(userFiles(), before);
  EXPECT_EQ(TemporaryFolder::read(file), "ABCD");
}

}  // namespace
}  // namespace quillmor::test
