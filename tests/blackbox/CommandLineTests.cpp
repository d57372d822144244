// What needs no display: pictures, help and wrong usage.

#include <gmock/gmock.h>

#include <filesystem>

#include "blackbox/BlackBoxTest.h"

namespace quillmor::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

/// The size that a PNG file states for itself.
struct PictureSize {
  std::int64_t width = 0;
  std::int64_t height = 0;
};

std::int64_t bigEndian(const std::string& bytes, std::size_t position) {
  std::int64_t value = 0;
  for (std::size_t i = 0; i < 4; ++i)
    value = value * 256 + static_cast<unsigned char>(bytes.at(position + i));
  return value;
}

PictureSize sizeOfPicture(const std::string& png) {
  if (png.size() < 24 || !png.starts_with("\x89PNG\r\n\x1a\n")) return {};
  return {bigEndian(png, 16), bigEndian(png, 20)};
}

class CommandLineTest : public BlackBoxTest {
 protected:
  std::string picturePath() const { return folder.location("picture.png").path(); }
};

TEST_F(CommandLineTest, aPictureShowsTheWindowWithTheSelection) {
  const auto file = folder.write("data.bin", std::string(4096, 'x'));
  const auto plain = runWithoutDisplay({"--screenshot", picturePath(), file.path()});
  ASSERT_EQ(plain->exitStatus(), 0) << plain->errors();
  const std::string plainPicture = folder.read("picture.png");
  const auto selected =
      runWithoutDisplay({"--screenshot", picturePath(), file.path(), "--select", "0x10,16"});
  ASSERT_EQ(selected->exitStatus(), 0) << selected->errors();
  const std::string picture = folder.read("picture.png");
  const PictureSize size = sizeOfPicture(picture);
  EXPECT_GE(size.width, 740);
  EXPECT_GE(size.height, 460);
  EXPECT_NE(picture, plainPicture);
  EXPECT_THAT(selected->output(), IsEmpty());
}

TEST_F(CommandLineTest, aMissingFileGivesNoPicture) {
  const auto run =
      runWithoutDisplay({"--screenshot", picturePath(), folder.location("missing").path()});
  EXPECT_EQ(run->exitStatus(), 2);
  EXPECT_THAT(run->errors(), StartsWith("quillmor: "));
  EXPECT_THAT(run->errors(), HasSubstr("No such file or directory"));
  EXPECT_FALSE(folder.exists("picture.png"));
}

TEST_F(CommandLineTest, aPictureThatCannotBeWrittenIsReported) {
  const auto file = folder.write("data.bin", "ABCD");
  const auto run =
      runWithoutDisplay({"--screenshot", folder.path() / "none" / "p.png", file.path()});
  EXPECT_EQ(run->exitStatus(), 2);
  EXPECT_THAT(run->errors(), StartsWith("quillmor: "));
}

TEST_F(CommandLineTest, aPictureLeavesTheUsersSettingsAlone) {
  const auto file = folder.write("data.bin", "ABCD");
  const auto settingsIn = [this] {
    std::vector<std::string> found;
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(desktop().home().path())) {
      const std::string path = entry.path().native();
      if (path.find("tenvale") != std::string::npos) found.push_back(path);
    }
    return found;
  };
  const auto run = runWithoutDisplay({"--screenshot", picturePath(), file.path()});
  ASSERT_EQ(run->exitStatus(), 0) << run->errors();
  EXPECT_THAT(settingsIn(), IsEmpty());
  const std::string usual = folder.read("picture.png");

  std::filesystem::create_directories(desktop().home().path() / "tenvale");
  const std::string settings =
      "[General]\ncom.tenvale.Quillmor.bytesPerRow=32\n"
      "com.tenvale.Quillmor.insertMode=true\n";
  desktop().home().write("tenvale/Quillmor.conf", settings);
  const auto again = runWithoutDisplay({"--screenshot", picturePath(), file.path()});
  ASSERT_EQ(again->exitStatus(), 0) << again->errors();
  EXPECT_EQ(desktop().home().read("tenvale/Quillmor.conf"), settings);
  EXPECT_TRUE(folder.read("picture.png") == usual);
}

TEST_F(CommandLineTest, aPictureNeverTakesTheFilesPlace) {
  const auto file = folder.write("data.bin", "ABCD");
  const auto run = runWithoutDisplay({"--screenshot", file.path(), file.path()});
  EXPECT_EQ(run->exitStatus(), 2);
  EXPECT_THAT(run->errors(), HasSubstr("would overwrite an open document or another input file."));
  EXPECT_EQ(folder.read("data.bin"), "ABCD");
}

TEST_F(CommandLineTest, wrongUsageIsReported) {
  const auto file = folder.write("data.bin", "ABCD");
  const std::vector<std::vector<std::string>> wrongUsages = {
      {"--unknown"},
      {"--screenshot"},
      {"--screenshot", picturePath()},
      {"--screenshot", picturePath(), file.path(), file.path()},
      {"--screenshot", picturePath(), file.path(), "--select", "16"},
      {"--screenshot", picturePath(), file.path(), "--select", "-1,4"},
      {"--select", "0,4", file.path()},
  };
  for (const auto& arguments : wrongUsages) {
    const auto run = runWithoutDisplay(arguments);
    EXPECT_EQ(run->exitStatus(), 2) << testing::PrintToString(arguments);
    EXPECT_THAT(run->errors(), StartsWith("quillmor: "));
    EXPECT_THAT(run->output(), IsEmpty());
    EXPECT_FALSE(folder.exists("picture.png"));
  }
}

TEST_F(CommandLineTest, helpAndVersionNeedNoDisplay) {
  const auto help = runWithoutDisplay({"--help"});
  EXPECT_EQ(help->exitStatus(), 0);
  EXPECT_THAT(help->output(), HasSubstr("--screenshot"));
  EXPECT_THAT(help->errors(), IsEmpty());
  const auto version = runWithoutDisplay({"--version"});
  EXPECT_EQ(version->exitStatus(), 0);
  EXPECT_THAT(version->output(), StartsWith("quillmor "));
}

}  // namespace
}  // namespace quillmor::test
