// Finding and replacing with the keys of a user, judged by the file.

#include "blackbox/BlackBoxTest.h"

namespace quillmor::test {
namespace {

class SearchTest : public BlackBoxTest {
 protected:
  void open(const std::string& content) {
    file = folder.write("data.bin", content);
    start({file->path()});
    expectTitle("data.bin");
  }

  std::optional<FileLocation> file;
};

TEST_F(SearchTest, thePanelFindsAndTheKeysRepeat) {
  open("one two ONE two one");
  press({"ctrl+f"});
  expectTitle("Find");
  type("one");
  press({"Return", "Escape"});
  expectTitle("data.bin");
  expectStatus(Status{.size = 19, .offset = 0, .selection = 3});
  press({"ctrl+g"});
  expectStatus(Status{.size = 19, .offset = 8, .selection = 3});
  press({"ctrl+g"});
  expectStatus(Status{.size = 19, .offset = 16, .selection = 3});
  press({"ctrl+g"});
  expectNotice("No match found.");
  press({"ctrl+shift+g"});
  expectStatus(Status{.size = 19, .offset = 8, .selection = 3});
  expectNotice("");

  // The panel comes back as it was left; its text is selected, so that typing replaces it.
  press({"ctrl+f"});
  expectTitle("Find");
  type("two");
  clickButton("Search all");
  expectAlert("2 occurrence(s) found.");
  press({"Return"});
  expectTitle("Find");
  press({"Escape"});
  expectStatus(Status{.size = 19, .offset = 4, .selection = 3});
  expectQuitBy({"ctrl+q"});
}

TEST_F(SearchTest, replaceAllIsOneStepAndReachesTheFile) {
  open("cat dog cat dog");
  press({"ctrl+r"});
  expectTitle("Replace");
  type("cat");
  press({"Tab"});
  type("horse");
  clickButton("Replace all");
  expectAlert("2 occurrence(s) replaced.");
  press({"Return"});
  expectTitle("Replace");
  press({"Escape"});
  expectTitle("data.bin*");
  press({"ctrl+s"});
  expectTitle("data.bin");
  EXPECT_EQ(TemporaryFolder::read(*file), "horse dog horse dog");
  press({"ctrl+z", "ctrl+s"});
  expectSaved(*file, "cat dog cat dog");
  expectQuitBy({"ctrl+q"});
}

TEST_F(SearchTest, undoInAFieldOfThePanelLeavesTheBytesAlone) {
  open("abcdef");
  type("7a");
  expectTitle("data.bin*");
  press({"ctrl+f"});
  expectTitle("Find");
  type("x");
  press({"ctrl+z", "ctrl+z", "Escape"});
  expectTitle("data.bin*");
  press({"ctrl+s"});
  expectSaved(*file, "zbcdef");
  expectQuitBy({"ctrl+q"});
}

}  // namespace
}  // namespace quillmor::test
