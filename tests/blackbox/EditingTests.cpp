// Typing, selecting, undoing and saving with the keys and the mouse of a user.

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "blackbox/BlackBoxTest.h"

namespace quillmor::test {
namespace {

const std::string kContent =
    "ABCDEFGHIJKLMNOP"
    "abcdefghijklmnop"
    "0123456789:;<=>?"
    "QRSTUVWXYZ[|]^_~";

struct stat statusOf(const FileLocation& file) {
  struct stat status {};
  EXPECT_EQ(::lstat(file.path().c_str(), &status), 0);
  return status;
}

class EditingTest : public BlackBoxTest {
 protected:
  EditingTest() : file(folder.write("data.bin", kContent)) {}

  void open() {
    start({file.path()});
    expectStatus(Status{.size = 64});
    expectTitle("data.bin");
  }

  void save(const std::string& expected) {
    press({"ctrl+s"});
    expectTitle("data.bin");
    EXPECT_EQ(TemporaryFolder::read(file), expected);
  }

  const FileLocation file;
};

TEST_F(EditingTest, typingInBothColumnsAndModesUndoesRedoesAndSavesIntoTheSameFile) {
  ASSERT_EQ(::chmod(file.path().c_str(), 0640), 0);
  std::filesystem::create_hard_link(file.path(), folder.path() / "second name");
  const struct stat before = statusOf(file);
  open();

  // Overwriting: a byte in the hex column, two in the ASCII column.
  type("7a");
  expectStatus(Status{.size = 64, .offset = 1});
  expectTitle("data.bin*");
  clickAsciiCell(1, 2);
  expectStatus(Status{.size = 64, .offset = 18});
  type("!?");
  expectStatus(Status{.size = 64, .offset = 20});

  // Inserting: two bytes in the ASCII column, one in the hex column.
  press({"ctrl+i"});
  expectStatus(Status{.size = 64, .offset = 20, .mode = "Insert"});
  type("+-");
  expectStatus(Status{.size = 66, .offset = 22, .mode = "Insert"});
  clickHexCell(0, 4);
  expectStatus(Status{.size = 66, .offset = 4, .mode = "Insert"});
  type("2e");
  expectStatus(Status{.size = 67, .offset = 5, .mode = "Insert"});
  const std::string edited = "zBCD.EFGHIJKLMNOPab!?+-efghijklmnop" + kContent.substr(32);

  // The inserted bytes go and come back.
  press({"ctrl+z", "ctrl+z", "ctrl+z"});
  expectStatus(Status{.size = 64, .offset = 20, .mode = "Insert"});
  press({"ctrl+shift+z", "ctrl+shift+z", "ctrl+shift+z"});
  expectStatus(Status{.size = 67, .offset = 5, .mode = "Insert"});

  save(edited);
  const struct stat after = statusOf(file);
  EXPECT_EQ(after.st_ino, before.st_ino);
  EXPECT_EQ(after.st_dev, before.st_dev);
  EXPECT_EQ(after.st_mode, before.st_mode);
  EXPECT_EQ(after.st_uid, before.st_uid);
  EXPECT_EQ(after.st_gid, before.st_gid);
  EXPECT_EQ(after.st_nlink, 2U);
  EXPECT_EQ(folder.read("second name"), edited);
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"data.bin", "second name"}));
  expectQuitBy({"ctrl+q"});
}

TEST_F(EditingTest, deletingSelectingAndTypingOverASelectionWorkWithTheKeys) {
  open();
  press({"Right", "Right", "Right", "Right", "BackSpace"});
  expectStatus(Status{.size = 63, .offset = 3});
  press({"Delete"});
  expectStatus(Status{.size = 62, .offset = 3});
  press({"shift+Right", "shift+Right"});
  expectStatus(Status{.size = 62, .offset = 5, .selection = 3});
  type("ff");
  expectStatus(Status{.size = 60, .offset = 4});
  save("ABC\xff" + kContent.substr(8));

  press({"ctrl+a"});
  expectStatus(Status{.size = 60, .selection = 60});
  type("41");
  expectStatus(Status{.size = 1, .offset = 1});
  save("A");

  press({"ctrl+z"});
  expectTitle("data.bin*");
  save("ABC\xff" + kContent.substr(8));
  expectQuitBy({"ctrl+q"});
}

TEST_F(EditingTest, aClickSelectsNothingThoughThePointerHasMovedOn) {
  open();
  for (int i = 0; i < 5; ++i) {
    clickHexCellAndMoveOn({1, 2}, {3, 5});
    expectStatus(Status{.size = 64, .offset = 18});
    clickHexCellAndMoveOn({0, 1}, {2, 7});
    expectStatus(Status{.size = 64, .offset = 1});
  }
  type("7a");
  expectStatus(Status{.size = 64, .offset = 2});
  press({"ctrl+z"});
  expectTitle("data.bin");
  EXPECT_NE(shownRows().find("41 42 43 44"), std::string::npos) << shownRows();
  expectQuitBy({"ctrl+q"});
}

TEST_F(EditingTest, aDragSelectsHoweverFastItIs) {
  open();
  for (int i = 0; i < 5; ++i) {
    dragHexCells({1, 2}, {1, 5});
    expectStatus(Status{.size = 64, .offset = 21, .selection = 4});
    clickHexCell(0, 1);
    expectStatus(Status{.size = 64, .offset = 1});
  }
  expectQuitBy({"ctrl+q"});
}

TEST_F(EditingTest, aTypedOffsetMovesTheCaret) {
  open();
  press({"ctrl+l"});
  const ShownAlert form = expectAlert("Go to Offset");
  EXPECT_THAT(form.texts, testing::Contains("Enter decimal, 0xHEX, HEX, or HEXh offset."));
  EXPECT_THAT(form.buttons, testing::UnorderedElementsAre("OK", "Cancel"));
  type("0x10");
  press({"Return"});
  expectStatus(Status{.size = 64, .offset = 16});
  type("00");
  expectStatus(Status{.size = 64, .offset = 17});
  save(kContent.substr(0, 16) + std::string(1, '\0') + kContent.substr(17));

  press({"ctrl+l"});
  expectAlert("Go to Offset");
  type("100000");
  press({"Return"});
  expectStatus(Status{.size = 64, .offset = 64});
  press({"ctrl+l"});
  expectAlert("Go to Offset");
  type("8");
  press({"Escape"});
  expectNoAlert();
  expectStatus(Status{.size = 64, .offset = 64});
  expectQuitBy({"ctrl+q"});
}

TEST_F(EditingTest, anOffsetThatIsNoneMovesNothing) {
  open();
  press({"Down"});
  for (const char* wrong : {"xyz", "-1", "0xFFFFFFFFFFFFFFFFFF"}) {
    press({"ctrl+l"});
    expectAlert("Go to Offset");
    type(wrong);
    press({"Return"});
    const ShownAlert alert = expectAlert("Enter a valid offset.");
    EXPECT_THAT(alert.texts, testing::Contains("Go to Offset"));
    press({"Return"});
    // Asks again.
    expectAlert("Enter decimal, 0xHEX, HEX, or HEXh offset.");
    press({"Escape"});
    expectNoAlert();
    expectStatus(Status{.size = 64, .offset = 16});
  }
  expectQuitBy({"ctrl+q"});
}

}  // namespace
}  // namespace quillmor::test
