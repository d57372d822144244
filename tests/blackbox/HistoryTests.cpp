// Back to an earlier state of the session with the keyboard alone.

#include "blackbox/BlackBoxTest.h"

namespace quillmor::test {
namespace {

class HistoryTest : public BlackBoxTest {
 protected:
  const FileLocation file = folder.write("data.bin", "ABCD");
};

TEST_F(HistoryTest, opensAnEarlierStateInANewWindow) {
  start({file.path()});
  expectStatus(Status{.size = 4});
  type("7a");
  expectTitle("data.bin*");
  press({"ctrl+s"});
  expectSaved(file, "zBCD");
  press({"shift+F10", "Up", "Up", "Return"});
  expectTitle("History");
  // The last row is the document as it was opened.
  press({"ctrl+End", "Return"});
  expectTitle("Untitled*");
  EXPECT_NE(shownRows().find("41 42 43 44"), std::string::npos) << shownRows();
  EXPECT_EQ(TemporaryFolder::read(file), "zBCD");
  expectWindows({"data.bin", "History", "Untitled*"});
}

}  // namespace
}  // namespace quillmor::test
