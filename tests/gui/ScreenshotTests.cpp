// The picture of a window: written to the very path, with nothing on standard error.

#include "ui/app/Screenshot.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <QImage>
#include <filesystem>

#include "gui/RealApplication.h"
#include "ui/app/CommandLine.h"

namespace quillmor::test {
namespace {

namespace fs = std::filesystem;

class ScreenshotTest : public RealApplication {
 protected:
  CommandLine pictureOf(const std::string& content, const FileLocation& picture) {
    CommandLine line;
    line.files = {folder.write("data.bin", content)};
    line.picture = picture;
    return line;
  }

  /// Expects that nothing is written and no window made.
  void expectRefused(const FileLocation& picture, const std::string& message) {
    const auto before = folder.names();
    try {
      saveScreenshot(pictureOf("hello", picture), delegate, windows);
      FAIL() << "nothing thrown";
    } catch (const Error& error) {
      EXPECT_EQ(error.message(), message);
    }
    EXPECT_EQ(folder.names(), before);
    EXPECT_EQ(folder.read("data.bin"), "hello");
    EXPECT_THAT(windows.editorWindows(), testing::IsEmpty());
  }
};

TEST_F(ScreenshotTest, writesAPictureToAPathThatIsNotUtf8) {
  const std::string name = "picture \xFF.png";
  saveScreenshot(pictureOf("hello", folder.location(name)), delegate, windows);
  const std::string png = folder.read(name);
  const QImage picture = QImage::fromData(reinterpret_cast<const unsigned char*>(png.data()),
                                          static_cast<int>(png.size()), "PNG");
  EXPECT_EQ(picture.width(), std::max(1120, windows.editorWindows().front()->minimumWidth()) *
                                 picture.devicePixelRatio());
  EXPECT_EQ(picture.height(), 760);
}

TEST_F(ScreenshotTest, replacesAPictureAndKeepsItsPermissions) {
  const FileLocation picture = folder.write("picture.png", "old");
  fs::permissions(picture.path(), fs::perms(0600));
  saveScreenshot(pictureOf("hello", picture), delegate, windows);
  EXPECT_TRUE(folder.read("picture.png").starts_with("\x89PNG"));
  EXPECT_EQ(fs::status(picture.path()).permissions(), fs::perms(0600));
  EXPECT_THAT(folder.names(), testing::ElementsAre("data.bin", "picture.png"));
}

TEST_F(ScreenshotTest, needsAFolderForThePicture) {
  folder.write("data.bin", "hello");
  expectRefused(folder.location("missing/picture.png"),
                "The output destination directory is not available.");
}

TEST_F(ScreenshotTest, neverWritesOntoItsInput) {
  folder.write("data.bin", "hello");
  const auto refusal = [](const std::string& name) {
    return "Choose a different output destination. Writing to " + name +
           " would overwrite an open document or another input file.";
  };
  fs::create_symlink("data.bin", folder.path() / "link.png");
  fs::create_hard_link(folder.path() / "data.bin", folder.path() / "hard.png");
  fs::create_directory_symlink(".", folder.path() / "again");
  for (const char* name : {"data.bin", "link.png", "hard.png", "again/data.bin"})
    expectRefused(folder.location(name), refusal(fs::path(name).filename().native()));
}

TEST_F(ScreenshotTest, refusesOutputsThatAreNoRegularFile) {
  folder.write("data.bin", "hello");
  ASSERT_EQ(::mkfifo(folder.location("fifo").path().c_str(), 0600), 0);
  expectRefused(folder.location("fifo"), "The output destination must be a regular file.");
  fs::create_symlink("elsewhere", folder.path() / "link.png");
  expectRefused(folder.location("link.png"),
                "The output destination cannot be a symbolic link. Choose the real file or a "
                "different destination.");
}

TEST_F(ScreenshotTest, onlyThePlatformsChatterIsSilenced) {
  static std::vector<std::string> written;
  written.clear();
  const QtMessageHandler before =
      qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& text) {
        written.push_back(text.toStdString());
      });
  silencePlatformWithoutScreen();
  qWarning("This plugin does not support propagateSizeHints()");
  qWarning("QStandardPaths: XDG_RUNTIME_DIR not set, defaulting to '/tmp/runtime-user'");
  qWarning("The font is missing");
  qInstallMessageHandler(before);
  EXPECT_THAT(written, testing::ElementsAre("The font is missing"));
}

}  // namespace
}  // namespace quillmor::test
