// Files from the command line: several, linked, oddly named, and such that cannot be opened.

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <filesystem>

#include "blackbox/BlackBoxTest.h"

namespace quillmor::test {
namespace {

class OpeningTest : public BlackBoxTest {
 protected:
  /// The open document, "ABCD", gets "z" as its first byte and is saved as `file`.
  void overwriteFirstByteAndSave(const FileLocation& file) {
    expectStatus(Status{.size = 4});
    type("7a");
    expectStatus(Status{.size = 4, .offset = 1});
    press({"ctrl+s"});
    // The status line tells of the save from before the first byte is written until its end.
    expectContent(file, "zBCD");
    expectStatus(Status{.size = 4, .offset = 1});
    expectQuitBy({"ctrl+q"});
  }

  /// Opening `path` is answered by an alert, after which the program goes on.
  void expectRefusal(const FileLocation& file, const std::string& message) {
    start({file.path()});
    expectRefusalShown(file, message);
  }

  void expectRefusalShown(const FileLocation& file, const std::string& message) {
    const ShownAlert alert = expectAlert(message);
    EXPECT_THAT(alert.texts, testing::Contains("Open Failed"));
    EXPECT_THAT(alert.buttons, testing::ElementsAre("OK"));
    press({"Return"});
    expectNoAlert();
    expectStatus(Status{});
    expectNotice("Could not open " + file.lastPathComponent() + ": " + message);
    expectQuitBy({"ctrl+q"});
  }
};

TEST_F(OpeningTest, everyFileGetsAWindow) {
  const auto first = folder.write("first.bin", "1");
  const auto second = folder.write("second.bin", "22");
  start({first.path(), second.path()}, 2);
  expectWindows({"first.bin", "second.bin"});
  expectQuitBy({"ctrl+q"});
}

TEST_F(OpeningTest, oneFileUnderSeveralNamesGetsOneWindow) {
  const auto first = folder.write("first.bin", "1");
  const auto last = folder.write("last.bin", "22");
  std::filesystem::create_symlink("first.bin", folder.path() / "link");
  std::filesystem::create_hard_link(first.path(), folder.path() / "other name");
  // Files open one after another: when the last one shows, all others are done.
  start({first.path(), first.path(), folder.location("link").path(),
         folder.location("other name").path(), last.path()},
        2);
  expectWindows({"first.bin", "last.bin"});
  expectQuitBy({"ctrl+q"});
}

TEST_F(OpeningTest, savingThroughALinkWritesTheRealFile) {
  const auto file = folder.write("real.bin", "ABCD");
  std::filesystem::create_symlink("real.bin", folder.path() / "link");
  start({folder.location("link").path()});
  overwriteFirstByteAndSave(file);
  EXPECT_EQ(std::filesystem::read_symlink(folder.path() / "link"), "real.bin");
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"link", "real.bin"}));
}

TEST_F(OpeningTest, aNameThatIsNotUtf8OpensAndSaves) {
  const auto file = folder.write("na\xffme.bin", "ABCD");
  start({file.path()});
  overwriteFirstByteAndSave(file);
  EXPECT_EQ(folder.names(), std::vector<std::string>{"na\xffme.bin"});
}

TEST_F(OpeningTest, aNameWithADashOpensBehindTwoDashes) {
  const auto file = folder.write("-dash.bin", "ABCD");
  startThrough({"env", "-C", folder.path().native()}, {"--", "-dash.bin"});
  overwriteFirstByteAndSave(file);
}

TEST_F(OpeningTest, aFolderIsRefused) {
  expectRefusal(FileLocation::fromPath(folder.path().native()),
                "Directories cannot be opened as binary files.");
}

TEST_F(OpeningTest, aPipeIsRefusedWithoutWaitingForAWriter) {
  const auto pipe = folder.location("pipe");
  ASSERT_EQ(::mkfifo(pipe.path().c_str(), 0600), 0);
  expectRefusal(pipe, "Only regular files can be opened as binary documents.");
}

TEST_F(OpeningTest, aDeviceIsRefused) {
  expectRefusal(FileLocation::fromPath("/dev/zero"),
                "Only regular files can be opened as binary documents.");
}

TEST_F(OpeningTest, aSocketIsRefused) {
  const auto location = folder.location("socket");
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  location.path().copy(address.sun_path, sizeof address.sun_path - 1);
  const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_EQ(::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  expectRefusal(location, "Only regular files can be opened as binary documents.");
  ::close(socket);
}

TEST_F(OpeningTest, aMissingFileIsReported) {
  expectRefusal(folder.location("missing"), "No such file or directory");
}

TEST_F(OpeningTest, anUnreadableFileIsRefused) {
  const auto file = folder.write("secret.bin", "ABCD");
  ASSERT_EQ(::chmod(file.path().c_str(), 0), 0);
  // Only root's capabilities would let it read the file all the same.
  std::vector<std::string> asOwner;
  if (::geteuid() == 0) asOwner = {"setpriv", "--bounding-set=-all"};
  startThrough(asOwner, {file.path()});
  expectRefusalShown(file, "The selected file is not readable.");
}

}  // namespace
}  // namespace quillmor::test
