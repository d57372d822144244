// What may be FILE, and what the program says of what may not.

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "blackbox/cli/CliTest.h"
#include "document/QuillmorResourceLimits.h"

namespace quillmor::test {
namespace {

using Arguments = std::vector<std::string>;

/// The commands that read FILE, with "FILE" where it stands; what else they read is good.
const std::vector<Arguments>& readingCommands() {
  static const std::vector<Arguments> all = {{"checksums", "FILE"},
                                             {"checksum-range", "FILE", "0", "4"},
                                             {"statistics", "FILE"},
                                             {"frequency", "FILE"},
                                             {"entropy-map", "FILE"},
                                             {"inspect", "FILE", "0"},
                                             {"detect", "FILE"},
                                             {"strings", "FILE"},
                                             {"hex-dump", "FILE"},
                                             {"intel-hex", "FILE"},
                                             {"patch-export", "FILE", "--length", "1"},
                                             {"copy-as", "hex", "FILE"},
                                             {"compare", "FILE", "good.bin"},
                                             {"compare-list", "FILE", "good.bin"},
                                             {"difference-report", "FILE", "good.bin"},
                                             {"find", "FILE", "B"},
                                             {"find-all", "FILE", "B"},
                                             {"find-wildcard", "FILE", "42"},
                                             {"pci-rom", "FILE"},
                                             {"acpi-validate", "FILE"},
                                             {"polaris-validate", "FILE"},
                                             {"preset-dry-run", "FILE", "good.json"}};
  return all;
}

constexpr const char* kNoDirectories = "Directories cannot be opened as binary files.";
constexpr const char* kRegularOnly = "Only regular files can be opened as binary documents.";
constexpr const char* kMissing = "No such file or directory";

class CliInputTest : public CliTest {
 protected:
  CliInputTest() {
    folder.write("good.bin", "ABCDEFGH");
    folder.write("good.json", R"({"name":"T","rules":[{"find":"41","replace":"42"}]})");
  }

  static Arguments withFile(Arguments arguments, const std::string& file) {
    std::ranges::replace(arguments, std::string("FILE"), file);
    return arguments;
  }

  void expectRefused(const std::string& file, const std::string& message) const {
    for (const Arguments& arguments : readingCommands())
      expectFailure(withFile(arguments, file), messageAbout(file, arguments.front(), message));
  }

  /// Expects every command to say of `file` what it says of "good.bin".
  void expectTakenForGood(const std::string& file) const {
    for (const Arguments& arguments : readingCommands()) {
      const CliRun expected = run(withFile(arguments, "good.bin"));
      const CliRun ended = run(withFile(arguments, file));
      EXPECT_EQ(ended.status, expected.status) << arguments.front();
      EXPECT_EQ(ended.output, expected.output) << arguments.front();
      EXPECT_EQ(ended.errors, expected.errors) << arguments.front();
    }
  }
};

TEST_F(CliInputTest, aMissingFileIsRefused) {
  expectRefused("missing", kMissing);
  expectRefused("missing/good.bin", kMissing);
  expectRefused("good.bin/more", "Not a directory");
  expectFailure({"bookmarks", "missing"}, kMissing);
}

TEST_F(CliInputTest, aFolderIsRefused) {
  expectRefused(".", kNoDirectories);
  expectFailure({"bookmarks", "/"}, kNoDirectories);
}

TEST_F(CliInputTest, aFifoIsRefusedAndNotWaitedFor) {
  ASSERT_EQ(::mkfifo((folder.path() / "fifo").c_str(), 0600), 0);
  expectRefused("fifo", kRegularOnly);
  expectFailure({"bookmarks", "fifo"}, kRegularOnly);
  expectFailure({"compare", "good.bin", "fifo"}, std::string("fifo: ") + kRegularOnly);
  expectFailure({"preset-dry-run", "good.bin", "fifo"}, std::string("fifo: ") + kRegularOnly);
}

TEST_F(CliInputTest, devicesAndSocketsAreRefused) {
  expectRefused("/dev/null", kRegularOnly);
  expectFailure({"hex-dump", "/dev/zero"}, kRegularOnly);
  const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
  const std::string path = (folder.path() / "socket").native();
  ASSERT_LT(path.size(), sizeof address.sun_path);
  std::ranges::copy(path, address.sun_path);
  ASSERT_EQ(::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  expectFailure({"hex-dump", "socket"}, kRegularOnly);
  ::close(socket);
}

TEST_F(CliInputTest, anUnreadableFileIsRefused) {
  folder.write("secret.bin", "ABCD");
  ASSERT_EQ(::chmod((folder.path() / "secret.bin").c_str(), 0), 0);
  // Only root's capabilities would let it read the file all the same.
  const std::string asOwner = ::geteuid() == 0 ? "setpriv --bounding-set=-all " : "";
  const CliRun ended = runShell(asOwner + "\"$CLI\" hex-dump secret.bin");
  EXPECT_EQ(ended.status, 2);
  EXPECT_EQ(ended.output, "");
  EXPECT_EQ(ended.errors, "quillmor-cli: The selected file is not readable.\n");
}

TEST_F(CliInputTest, aFileThatIsTooLargeIsRefused) {
  const std::int64_t limit = QuillmorResourceLimits::maximumDocumentByteCount();
  folder.write("large.bin", "");
  ASSERT_EQ(::truncate((folder.path() / "large.bin").c_str(), limit + 1), 0);
  expectRefused("large.bin", "The selected file exceeds the safe in-memory limit of " +
                                 std::to_string(limit) + " bytes.");
}

TEST_F(CliInputTest, aSymbolicLinkIsFollowed) {
  std::filesystem::create_symlink("good.bin", folder.path() / "link");
  std::filesystem::create_symlink(folder.path() / "link", folder.path() / "second");
  expectTakenForGood("second");
  std::filesystem::create_symlink("nowhere", folder.path() / "dangling");
  expectRefused("dangling", kMissing);
  std::filesystem::create_symlink("loop", folder.path() / "loop");
  expectFailure({"hex-dump", "loop"}, "Too many levels of symbolic links");
  EXPECT_TRUE(std::filesystem::is_symlink(folder.path() / "link"));
}

TEST_F(CliInputTest, aComparedFileIsNamedAsItWasTyped) {
  std::filesystem::create_symlink("good.bin", folder.path() / "link");
  expectOutput({"compare", "good.bin", "link"}, 0,
               "Files are identical.\n\nCompared file: link\nSize: 8 bytes\n");
}

TEST_F(CliInputTest, aNameMayHoldAnyBytes) {
  const std::string name = "\xFF\xFE\n\x1B[1m";
  folder.write(name, "ABCDEFGH");
  expectTakenForGood(name);
  expectOutput({"compare", "good.bin", name}, 0,
               "Files are identical.\n\nCompared file: \\xFF\\xFE\\x0A\\x1B[1m\nSize: 8 bytes\n");
}

TEST_F(CliInputTest, aReportIsNotForgedByTheNameOfAFile) {
  const std::string name = "b\nSize: 9 bytes\xE2\x80\xAE\xC2\x85\\";
  const std::string shown = "b\\x0ASize: 9 bytes\\u{202E}\\u{0085}\\";
  folder.write(name, "ABCDEFGH");
  expectOutput({"compare", "good.bin", name}, 0,
               "Files are identical.\n\nCompared file: " + shown + "\nSize: 8 bytes\n");
  for (const std::string command : {"compare-list", "difference-report"}) {
    const CliRun ended = run({command, "good.bin", name});
    EXPECT_THAT(ended.output, testing::HasSubstr("Compared file: " + shown + "\nCurrent size: 8"));
  }
}

TEST_F(CliInputTest, aMessageNamesAFileVisibly) {
  expectFailure({"compare", "good.bin", "\x1B]0;x\x07\xE2\x81\xA6"},
                "\\x1B]0;x\\x07\\u{2066}: No such file or directory");
}

TEST_F(CliInputTest, aMessageIsOneLineWhateverTheNameIs) {
  const std::string name = "a\nb\x1B[1m\x7F\xFF";
  folder.write(name, "ABCDEFGH");
  const CliRun ended = run({"hex-dump", name, "-o", name});
  EXPECT_EQ(ended.status, 2);
  EXPECT_EQ(ended.errors,
            "quillmor-cli: Choose a different output destination. Writing to "
            "a\\x0Ab\\x1B[1m\\x7F\\xFF would "
            "overwrite an open document or another input file.\n");
}

TEST_F(CliInputTest, aFolderThatCannotBeWrittenIsReadFrom) {
  std::filesystem::create_directory(folder.path() / "sub");
  std::filesystem::copy(folder.path() / "good.bin", folder.path() / "sub" / "good.bin");
  ASSERT_EQ(::chmod((folder.path() / "sub").c_str(), 0555), 0);
  ASSERT_EQ(::chmod((folder.path() / "sub" / "good.bin").c_str(), 0444), 0);
  const std::string asOwner = ::geteuid() == 0 ? "setpriv --bounding-set=-all " : "";
  const CliRun written = runShell(asOwner + "touch sub/new");
  EXPECT_NE(written.status, 0);
  const CliRun ended = runShell("cd sub && " + asOwner + "\"$CLI\" copy-as hex good.bin");
  EXPECT_EQ(ended.status, 0);
  EXPECT_EQ(ended.output, "41 42 43 44 45 46 47 48\n");
  EXPECT_EQ(ended.errors, "");
}

TEST_F(CliInputTest, inputsStayAsTheyAre) {
  const auto before = std::filesystem::last_write_time(folder.path() / "good.bin");
  for (const Arguments& arguments : readingCommands()) run(withFile(arguments, "good.bin"));
  EXPECT_EQ(folder.read("good.bin"), "ABCDEFGH");
  EXPECT_EQ(std::filesystem::last_write_time(folder.path() / "good.bin"), before);
  EXPECT_EQ(names(), (Arguments{"good.bin", "good.json"}));
}

TEST_F(CliInputTest, aRelativePathInARemovedFolderLeadsNowhere) {
  // Taken from the root of the system, these would lead to files that exist.
  const std::string absolute = (folder.path() / "good.bin").native();
  const std::string relative = absolute.substr(1);
  const std::string enter = "mkdir gone && cd gone && rmdir ../gone && exec \"$CLI\" ";
  for (const std::string& command :
       {"checksums " + relative, "transform invert " + relative + " --in-place",
        "transform invert " + absolute + " -o " + relative + ".out",
        "hex-dump " + absolute + " -o " + relative + ".out",
        "compare " + absolute + " " + relative}) {
    const CliRun ended = runShell(enter + command);
    EXPECT_EQ(ended.status, 2) << command;
    EXPECT_EQ(ended.output, "");
    EXPECT_EQ(ended.errors, std::string("quillmor-cli: ") + kMissing + "\n");
  }
  EXPECT_EQ(folder.read("good.bin"), "ABCDEFGH");
  EXPECT_THAT(names(), testing::ElementsAre("good.bin", "good.json"));
  EXPECT_EQ(runShell(enter + "checksums " + absolute).status, 0);
}

}  // namespace
}  // namespace quillmor::test
