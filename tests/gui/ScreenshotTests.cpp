// The picture of a window: written to the very path, with nothing on standard error.

#include "app/Screenshot.h"

#include <gmock/gmock.h>

#include <QImage>

#include "app/CommandLine.h"
#include "gui/RealApplication.h"

namespace quillmor::test {
namespace {

class ScreenshotTest : public RealApplication {
 protected:
  CommandLine pictureOf(const std::string& content, const std::string& path) {
    CommandLine line;
    line.files = {folder.write("data.bin", content)};
    line.screenshotPath = path;
    return line;
  }
};

TEST_F(ScreenshotTest, writesAPictureToAPathThatIsNotUtf8) {
  const std::string name = "picture \xFF.png";
  saveScreenshot(pictureOf("hello", folder.location(name).path()), delegate, windows);
  const std::string png = folder.read(name);
  const QImage picture = QImage::fromData(reinterpret_cast<const unsigned char*>(png.data()),
                                          static_cast<int>(png.size()), "PNG");
  EXPECT_EQ(picture.width(), std::max(1120, windows.editorWindows().front()->minimumWidth()) *
                                 picture.devicePixelRatio());
  EXPECT_EQ(picture.height(), 760);
}

TEST_F(ScreenshotTest, failsForAPathThatCannotBeWritten) {
  const std::string path = folder.location("missing").path() + "/picture.png";
  try {
    saveScreenshot(pictureOf("hello", path), delegate, windows);
    FAIL() << "nothing thrown";
  } catch (const Error& error) {
    EXPECT_EQ(error.message(), "Could not write the picture " + path + ".");
  }
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
