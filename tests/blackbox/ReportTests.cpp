// Reports, exports and repairs with the keys of a user, judged by the files.

#include <numeric>

#include "blackbox/BlackBoxTest.h"

namespace quillmor::test {
namespace {

class ReportTest : public BlackBoxTest {
 protected:
  void open(const std::string& content) {
    file = folder.write("data.bin", content);
    start({file->path()});
    expectTitle("data.bin");
  }

  std::optional<FileLocation> file;
};

TEST_F(ReportTest, theSelectedBytesGoToAFile) {
  open(std::string("a\0b\nc", 5));
  press({"shift+Right", "shift+Right", "shift+Right"});
  expectStatus(Status{.size = 5, .offset = 3, .selection = 4});
  press({"ctrl+e"});
  expectTitle("Export Selection");
  const FileLocation out = folder.location("out.bin");
  press({"ctrl+a"});
  type(out.path());
  press({"Return"});
  expectAlert("Saved: " + out.path());
  press({"Return"});
  expectTitle("data.bin");
  EXPECT_EQ(TemporaryFolder::read(out), std::string("a\0b\n", 4));
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"data.bin", "out.bin"}));
  expectQuitBy({"ctrl+q"});
}

TEST_F(ReportTest, aReportOpensInItsOwnWindowAndIsSaved) {
  open("123456789");
  clickButton("Checksum");
  expectTitle("Checksums");
  clickButton("Save As…");
  expectTitle("Save Report");
  const FileLocation out = folder.location("sums.txt");
  press({"ctrl+a"});
  type(out.path());
  press({"Return"});
  expectAlert("Saved: " + out.path());
  press({"Return"});
  EXPECT_TRUE(TemporaryFolder::read(out).starts_with(
      "Full document\nSize: 9 bytes\nCRC32: CBF43926\nAdler32: 091E01DE\n"));
  expectQuitBy({"ctrl+q"});
}

TEST_F(ReportTest, aChecksumIsFixedInTheFile) {
  std::string rom(512, '\0');
  rom.replace(0, 3, "\x55\xAA\x01");
  rom[0x18] = 0x40;
  rom.replace(0x40, 6, "PCIR\x02\x10");
  rom[0x4A] = 0x18;
  rom[0x50] = 1;
  open(rom);
  press({"alt+p", "Down", "Down", "Down", "Return"});
  expectAlert("Fix Polaris Checksum");
  press({"Return"});
  const auto shown = expectAlert("Fix Polaris Checksum");
  EXPECT_EQ(shown.buttons, std::vector<std::string>{"OK"});
  press({"Return"});
  expectTitle("data.bin*");
  expectStatus(Status{.size = 512, .offset = 0x21, .selection = 1});
  press({"ctrl+s"});
  expectTitle("data.bin");
  const std::string fixed = TemporaryFolder::read(*file);
  const auto sum = std::accumulate(fixed.begin(), fixed.end(), 0U, [](unsigned total, char byte) {
    return total + static_cast<unsigned char>(byte);
  });
  EXPECT_EQ(sum % 256, 0U);
  rom[0x21] = fixed[0x21];
  EXPECT_TRUE(fixed == rom);
  expectQuitBy({"ctrl+q"});
}

}  // namespace
}  // namespace quillmor::test
