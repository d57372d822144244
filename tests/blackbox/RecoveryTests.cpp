// What the program has for the user after it was killed.

#include <gmock/gmock.h>

#include <filesystem>

#include "blackbox/BlackBoxTest.h"

namespace quillmor::test {
namespace {

constexpr const char* kList = "Recovered Documents";
constexpr const char* kExplanation =
    "Quillmor ended before the changes of these documents were saved. Nothing is written to the "
    "files until you save.";

class KilledProgramTest : public BlackBoxTest {
 protected:
  /// Opens the file, makes its first byte a "q" with one key, and kills the program once it has
  /// kept that.
  void editAndKill() {
    start({file.path()});
    expectStatus(Status{.size = 4});
    type("7");
    expectTitle("data.bin*");
    EXPECT_TRUE(waitUntil([this] { return hasRecords(); }));
    killProgram();
    EXPECT_EQ(TemporaryFolder::read(file), "ABCD");
  }

  bool hasRecords() const {
    const std::filesystem::path records =
        desktop().home().path() / "quillmor/recovery";
    if (!std::filesystem::exists(records)) return false;
    for (const auto& entry : std::filesystem::directory_iterator(records)) {
      // A journal without an edit is nothing to recover.
      const bool isRecord = entry.path().extension() == ".qrec";
      if (isRecord && entry.file_size() > 8192) return true;
    }
    return false;
  }

  const FileLocation file = folder.write("data.bin", "ABCD");
};

TEST_F(KilledProgramTest, theEditsComeBackWithReturnInTheList) {
  editAndKill();
  start({}, 2);
  expectTitle(kList);
  EXPECT_THAT(expectAlert(kExplanation).buttons,
              testing::UnorderedElementsAre("Show Differences", "Discard", "Later", "Recover"));
  press({"Return"});
  expectTitle("data.bin*");
  EXPECT_EQ(TemporaryFolder::read(file), "ABCD");
  press({"ctrl+s"});
  expectSaved(file, "qBCD");
  expectQuitBy({"ctrl+q"});
  EXPECT_FALSE(hasRecords());
}

TEST_F(KilledProgramTest, laterLeavesThemForTheNextStart) {
  editAndKill();
  for (int starts = 0; starts < 2; ++starts) {
    start({}, 2);
    expectTitle(kList);
    press({"Escape"});
    expectTitle("Untitled");
    expectQuitBy({"ctrl+q"});
    EXPECT_TRUE(hasRecords());
  }
}

TEST_F(KilledProgramTest, discardRemovesThemAfterAQuestion) {
  editAndKill();
  start({}, 2);
  expectTitle(kList);
  press({"Delete"});
  EXPECT_EQ(expectAlert("Discard the unsaved changes of \"data.bin\"?").focusedButton, "Cancel");
  clickButton("Discard");
  expectTitle("Untitled");
  expectQuitBy({"ctrl+q"});
  EXPECT_FALSE(hasRecords());
  EXPECT_EQ(TemporaryFolder::read(file), "ABCD");
}

}  // namespace
}  // namespace quillmor::test
