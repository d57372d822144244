// Two programs at one file: another Quillmor that has it open, and any program that changes it.

#include <gmock/gmock.h>

#include <filesystem>

#include "blackbox/BlackBoxTest.h"

namespace quillmor::test {
namespace {

using testing::UnorderedElementsAre;

constexpr const char* kOpenElsewhere = "This file is open in another Quillmor.";

class OtherProcessesTest : public BlackBoxTest {
 protected:
  const FileLocation file = folder.write("data.bin", "ABCD");
};

TEST_F(OtherProcessesTest, theSecondEditorOfAFileSaysSoAndAsksBeforeItSaves) {
  start({file.path()});
  expectStatus(Status{.size = 4});
  expectNotice("");
  start({file.path()});
  expectStatus(Status{.size = 4});
  expectNotice(kOpenElsewhere);
  type("7a");
  expectTitle("data.bin*");
  press({"ctrl+s"});
  const ShownAlert question = expectAlert(kOpenElsewhere);
  EXPECT_THAT(question.buttons, UnorderedElementsAre("Cancel", "Save Anyway"));
  EXPECT_EQ(question.focusedButton, "Cancel");
  press({"Return"});
  expectNoAlert();
  EXPECT_EQ(TemporaryFolder::read(file), "ABCD");
  press({"ctrl+s"});
  expectAlert(kOpenElsewhere);
  clickButton("Save Anyway");
  expectSaved(file, "zBCD");
  expectQuitBy({"ctrl+q"});
}

TEST_F(OtherProcessesTest, anEditorThatWasClosedOrKilledIsNotInTheWay) {
  start({file.path()});
  expectStatus(Status{.size = 4});
  expectQuitBy({"ctrl+q"});
  start({file.path()});
  expectStatus(Status{.size = 4});
  killProgram();
  start({file.path()});
  expectStatus(Status{.size = 4});
  type("7a");
  press({"ctrl+s"});
  expectSaved(file, "zBCD");
  expectNotice("");
}

TEST_F(OtherProcessesTest, aChangeOnDiskShowsInALineUntilTheBytesAreBack) {
  // Keeps the system from giving the number of the first file to a later one.
  std::filesystem::create_hard_link(file.path(), folder.location("first").path());
  start({file.path()});
  expectStatus(Status{.size = 4});
  expectOutsideChange("");
  folder.write("data.bin", "AxCDE");
  expectOutsideChange("data.bin changed on disk: 2 ranges, 2 bytes, first at 0x00000001.");
  folder.write("data.bin", "ABCD");
  expectOutsideChange("");
  std::filesystem::rename(folder.write("new", "ABxD").path(), file.path());
  expectOutsideChange("data.bin was replaced on disk: 1 range, 1 byte, first at 0x00000002.");
  std::filesystem::remove(file.path());
  expectOutsideChange("data.bin was deleted on disk.");
  folder.write("data.bin", "AB");
  expectOutsideChange("data.bin was replaced on disk: 1 range, 2 bytes, first at 0x00000002.");
  clickButton("Keep Mine");
  expectOutsideChange("");
  folder.append("data.bin", "xyz");
  expectOutsideChange("data.bin was replaced on disk: 1 range, 3 bytes, first at 0x00000002.");
  clickButton("Reload");
  expectAlert("Reloaded: data.bin");
  press({"Return"});
  expectNoAlert();
  expectStatus(Status{.size = 5});
  expectOutsideChange("");
}

TEST_F(OtherProcessesTest, ourOwnSaveIsNoChangeByOthers) {
  start({file.path()});
  expectStatus(Status{.size = 4});
  type("7a");
  press({"ctrl+s"});
  expectSaved(file, "zBCD");
  expectNoOutsideChangeForAWhile();
}

}  // namespace
}  // namespace quillmor::test
