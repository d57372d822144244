// Bytes between two running editors, and between the editor and other programs of the desktop.

#include <signal.h>

#include "blackbox/BlackBoxTest.h"

namespace quillmor::test {
namespace {

class ClipboardTest : public BlackBoxTest {
 protected:
  /// What another program gets from the clipboard as `type`.
  std::string clipboard(const std::string& type) {
    ChildProcess reader({"xclip", "-selection", "clipboard", "-out", "-target", type},
                        desktop().environment());
    EXPECT_TRUE(reader.waitForExit()) << "xclip still runs";
    return reader.output();
  }

  /// Another program puts the content of a file on the clipboard, and keeps running.
  std::unique_ptr<ChildProcess> offer(const FileLocation& file, const std::string& type) {
    auto owner = std::make_unique<ChildProcess>(
        std::vector<std::string>{"xclip", "-quiet", "-selection", "clipboard", "-in", "-target",
                                 type, file.path()},
        desktop().environment());
    const std::string content = TemporaryFolder::read(file);
    EXPECT_TRUE(waitUntil([&] { return clipboard(type) == content; })) << owner->errors();
    return owner;
  }
};

TEST_F(ClipboardTest, otherProgramsGetHexTextAndBytes) {
  start({folder.write("data.bin", std::string("\xDE\xAD\0\x01", 4)).path()});
  expectStatus(Status{.size = 4});
  press({"ctrl+a", "ctrl+c"});
  EXPECT_TRUE(waitUntil([&] { return clipboard("UTF8_STRING") == "DE AD 00 01"; }));
  const std::string bytes("\xDE\xAD\0\x01", 4);
  EXPECT_EQ(clipboard("com.tenvale.Quillmor.binary-data"), bytes);
  EXPECT_EQ(clipboard("application/octet-stream"), bytes);
  // The data stays, however often it is fetched.
  EXPECT_EQ(clipboard("UTF8_STRING"), "DE AD 00 01");
  EXPECT_EQ(clipboard("com.tenvale.Quillmor.binary-data"), bytes);
  expectQuitBy({"ctrl+q"});
}

TEST_F(ClipboardTest, textOfOtherProgramsIsReadAsHexWhereItIsHex) {
  const auto file = folder.write("data.bin", "");
  const auto hex = offer(folder.write("hex.txt", "de ad be ef"), "UTF8_STRING");
  start({file.path()});
  press({"ctrl+v"});
  expectStatus(Status{.size = 4, .offset = 4});
  const auto word = offer(folder.write("word.txt", "hello"), "UTF8_STRING");
  press({"ctrl+v"});
  expectStatus(Status{.size = 9, .offset = 9});
  press({"ctrl+s"});
  expectSaved(file, "\xDE\xAD\xBE\xEFhello");
  expectQuitBy({"ctrl+q"});
}

TEST_F(ClipboardTest, bytesOfOtherEditorsArePastedAsTheyAre) {
  const auto file = folder.write("data.bin", "");
  const std::string bytes("41 42\0\xFF", 7);
  const auto owner = offer(folder.write("bytes.bin", bytes), "application/octet-stream");
  start({file.path()});
  press({"ctrl+v"});
  expectStatus(Status{.size = 7, .offset = 7});
  press({"ctrl+s"});
  expectSaved(file, bytes);
  expectQuitBy({"ctrl+q"});
}

TEST_F(ClipboardTest, bytesGoFromOneEditorToAnother) {
  const std::string bytes("\0\x01 text \xFE\xFF", 10);
  const auto source = folder.write("source.bin", bytes);
  const auto destination = folder.write("destination.bin", "");
  start({source.path()});
  expectStatus(Status{.size = 10});
  press({"ctrl+a", "ctrl+c"});
  EXPECT_TRUE(waitUntil([&] { return clipboard("com.tenvale.Quillmor.binary-data") == bytes; }));

  ChildProcess other({QUILLMOR_PROGRAM, destination.path()}, desktop().environment());
  const auto isInFront = [&] { return desktop().activeWindowTitle().find("destination") == 0; };
  ASSERT_TRUE(waitUntil(isInFront)) << other.errors();
  desktop().press({"ctrl+v", "ctrl+s"});
  expectContent(destination, bytes);
  expectTitle("destination.bin");
  desktop().press({"ctrl+q"});
  EXPECT_EQ(other.waitForExit(), 0);
  expectQuitBy({"ctrl+q"});
}

TEST_F(ClipboardTest, textIsReadInWhateverEncodingItIsOffered) {
  const auto file = folder.write("data.bin", "");
  start({file.path()});
  const auto utf8 = offer(folder.write("utf8.txt", "\u20AC"), "text/plain;charset=utf-8");
  press({"ctrl+v"});
  expectStatus(Status{.size = 3, .offset = 3});
  const auto latin1 = offer(folder.write("latin1.txt", "\xE4"), "STRING");
  press({"ctrl+v"});
  expectStatus(Status{.size = 5, .offset = 5});
  press({"ctrl+s"});
  expectSaved(file, "\u20AC\u00E4");
  expectQuitBy({"ctrl+q"});
}

TEST_F(ClipboardTest, filesCopiedInAFileManagerAreNothingToPaste) {
  const auto file = folder.write("data.bin", "abc");
  start({file.path()});
  const auto owner = offer(folder.write("files.txt", "file:///tmp/a\r\n"), "text/uri-list");
  // The key after it tells that nothing was pasted before.
  press({"ctrl+v", "4", "1", "ctrl+s"});
  expectSaved(file, "Abc");
  expectQuitBy({"ctrl+q"});
}

TEST_F(ClipboardTest, anOwnerThatIsKilledLeavesNothingToPaste) {
  const auto file = folder.write("data.bin", "abc");
  start({file.path()});
  const auto owner = offer(folder.write("word.txt", "hello"), "UTF8_STRING");
  ::kill(owner->id(), SIGKILL);
  ASSERT_TRUE(owner->waitForExit());
  press({"ctrl+v", "4", "1", "ctrl+s"});
  expectSaved(file, "Abc");
  expectQuitBy({"ctrl+q"});
}

TEST_F(ClipboardTest, anOwnerThatDoesNotAnswerLeavesTheEditorUsable) {
  const auto file = folder.write("data.bin", "abc");
  start({file.path()});
  const auto silent = offer(folder.write("word.txt", "hello"), "UTF8_STRING");
  ::kill(silent->id(), SIGSTOP);
  // Carried out once the editor has given up waiting.
  press({"ctrl+v", "4", "1", "ctrl+s"});
  expectSaved(file, "Abc");
  ::kill(silent->id(), SIGCONT);
  const auto next = offer(folder.write("next.txt", "yz"), "UTF8_STRING");
  press({"ctrl+v", "ctrl+s"});
  expectSaved(file, "Ayz");
  expectQuitBy({"ctrl+q"});
}

}  // namespace
}  // namespace quillmor::test
