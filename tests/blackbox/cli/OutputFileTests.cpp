// Where -o may write, and what it leaves on the disk.

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <map>

#include "blackbox/cli/ChangeTest.h"

namespace quillmor::test {
namespace {

namespace fs = std::filesystem;

class CliOutputFileTest : public ChangeTest {
 protected:
  CliOutputFileTest() {
    folder.write("in.bin", "ABCD");
    folder.write("other.bin", "ABXD");
    folder.write("fix.txt", "QuillmorPatch 1\nOFFSET 0x00000001\nDATA 78\n");
    folder.write("preset.json", R"({"rules": [{"find": "41", "replace": "42"}]})");
  }

  /// Expects status 2, `message` and that the folder stays as it is.
  void expectOutRefused(const Arguments& arguments, const std::string& out,
                        const std::string& message) const {
    const auto before = everything();
    expectFailure(withOptions(arguments, {"-o", out}),
                  messageAbout(out, arguments.front(), message));
    EXPECT_TRUE(everything() == before) << testing::PrintToString(arguments) << " -o " << out;
  }

  /// Expects that `out` names an input.
  void expectProtected(const Arguments& arguments, const std::string& out) const {
    expectOutRefused(arguments, out,
                     "Choose a different output destination. Writing to " +
                         fs::path(out).filename().string() +
                         " would overwrite an open document or another input file.");
  }

  /// The permissions of `name`, as in "640".
  std::string permissions(const std::string& name) const {
    return runShell("stat -c %a " + name).output;
  }

  const Arguments invert = {"transform", "invert", "in.bin"};
  const std::string inverted = "\xBE\xBD\xBC\xBB";
  const Arguments dump = {"hex-dump", "in.bin"};

 private:
  std::map<std::string, FileState> everything() const {
    std::map<std::string, FileState> states;
    for (const std::string& name : names()) states[name] = stateOf(name);
    return states;
  }
};

/// The commands with -o, and the files they read.
struct Inputs {
  std::vector<std::string> arguments;
  std::vector<std::string> files;
};

const std::vector<Inputs> kCommandsWithInputs = {
    {{"transform", "invert", "in.bin"}, {"in.bin"}},
    {{"replace", "in.bin", "A", "B"}, {"in.bin"}},
    {{"patch-apply", "in.bin", "fix.txt"}, {"in.bin", "fix.txt"}},
    {{"preset-apply", "in.bin", "preset.json"}, {"in.bin", "preset.json"}},
    {{"patch-export", "in.bin", "--start", "0"}, {"in.bin"}},
    {{"hex-dump", "in.bin"}, {"in.bin"}},
    {{"strings", "in.bin"}, {"in.bin"}},
    {{"intel-hex", "in.bin"}, {"in.bin"}},
    {{"difference-report", "in.bin", "other.bin"}, {"in.bin", "other.bin"}}};

TEST_F(CliOutputFileTest, noInputIsOverwritten) {
  for (const auto& [arguments, files] : kCommandsWithInputs)
    for (const std::string& file : files) expectProtected(arguments, file);
}

TEST_F(CliOutputFileTest, noInputIsOverwrittenByAnotherName) {
  fs::create_hard_link(folder.path() / "in.bin", folder.path() / "hard.bin");
  fs::create_symlink("in.bin", folder.path() / "soft.bin");
  fs::create_directory(folder.path() / "sub");
  fs::create_directory_symlink(".", folder.path() / "here");
  for (const std::string& name :
       {std::string("./in.bin"), std::string("sub/../in.bin"), std::string("here/in.bin"),
        (folder.path() / "in.bin").string(), std::string("hard.bin"), std::string("soft.bin")}) {
    expectProtected(invert, name);
    expectProtected(dump, name);
  }
}

TEST_F(CliOutputFileTest, anInputBehindALinkIsNotOverwritten) {
  fs::create_symlink("in.bin", folder.path() / "soft.bin");
  fs::create_symlink("fix.txt", folder.path() / "soft.txt");
  expectProtected({"transform", "invert", "soft.bin"}, "in.bin");
  expectProtected({"transform", "invert", "soft.bin"}, "soft.bin");
  expectProtected({"patch-apply", "in.bin", "soft.txt"}, "fix.txt");
  expectProtected({"patch-apply", "in.bin", "soft.txt"}, "soft.txt");
}

TEST_F(CliOutputFileTest, linksAndSpecialFilesAreRefused) {
  fs::create_symlink("other.bin", folder.path() / "soft.bin");
  fs::create_symlink("nowhere", folder.path() / "dangling");
  fs::create_directory(folder.path() / "sub");
  ASSERT_EQ(::mkfifo((folder.path() / "fifo").c_str(), 0600), 0);
  constexpr const char* kLink =
      "The output destination cannot be a symbolic link. Choose the real file or a different "
      "destination.";
  constexpr const char* kNoRegularFile = "The output destination must be a regular file.";
  constexpr const char* kNoFolder = "The output destination directory is not available.";
  for (const Arguments& arguments : {invert, dump}) {
    expectOutRefused(arguments, "soft.bin", kLink);
    expectOutRefused(arguments, "dangling", kLink);
    expectOutRefused(arguments, "sub", kNoRegularFile);
    expectOutRefused(arguments, "fifo", kNoRegularFile);
    expectOutRefused(arguments, "/dev/null", kNoRegularFile);
    expectOutRefused(arguments, "missing/out.bin", kNoFolder);
  }
  EXPECT_TRUE(fs::is_empty(folder.path() / "sub"));
}

TEST_F(CliOutputFileTest, anOutputThatCannotBeIsRefusedBeforeAnythingIsRead) {
  fs::create_directory(folder.path() / "sub");
  constexpr const char* kNoRegularFile = "The output destination must be a regular file.";
  expectFailure({"hex-dump", "missing.bin", "-o", "sub"}, kNoRegularFile);
  expectFailure({"transform", "invert", "missing.bin", "-o", "sub"}, kNoRegularFile);
}

TEST_F(CliOutputFileTest, anEmptyNameIsWrongUsage) {
  expectOutRefused(invert, "", "OUT is an empty name. See quillmor-cli transform --help.");
  expectOutRefused(dump, "", "OUT is an empty name. See quillmor-cli hex-dump --help.");
}

TEST_F(CliOutputFileTest, bothOrNeitherWayOutIsWrongUsage) {
  const std::vector<Arguments> commands = {{"acpi-fix", "in.bin"},
                                           {"polaris-fix", "in.bin"},
                                           {"rx580", "in.bin"},
                                           {"patch-apply", "in.bin", "fix.txt"},
                                           {"preset-apply", "in.bin", "preset.json"},
                                           {"replace", "in.bin", "A", "B"},
                                           {"transform", "invert", "in.bin"}};
  for (const Arguments& arguments : commands) {
    const std::string message =
        "Exactly one of -o OUT and --in-place is required. See quillmor-cli " + arguments.front() +
        " --help.";
    expectFailure(arguments, message);
    expectFailure(withOptions(arguments, {"-o", "out.bin", "--in-place"}), message);
  }
  EXPECT_EQ(folder.read("in.bin"), "ABCD");
  EXPECT_FALSE(folder.exists("out.bin"));
}

TEST_F(CliOutputFileTest, aNewFileGetsTheModeOfNewFiles) {
  EXPECT_EQ(runShell("umask 027; \"$CLI\" transform invert in.bin -o out.bin").status, 0);
  EXPECT_EQ(permissions("out.bin"), "640\n");
  EXPECT_EQ(runShell("umask 0; \"$CLI\" hex-dump in.bin -o out.txt").status, 0);
  EXPECT_EQ(permissions("out.txt"), "666\n");
}

TEST_F(CliOutputFileTest, aReplacedFileKeepsItsPermissions) {
  for (const mode_t mode : {0600U, 0751U, 0666U, 0444U}) {
    folder.write("out.bin", "something else, and longer");
    ASSERT_EQ(::chmod((folder.path() / "out.bin").c_str(), mode), 0);
    const std::string before = permissions("out.bin");
    expectOutput(withOptions(invert, {"-o", "out.bin"}), 0, "Changed 4 byte(s)\n");
    EXPECT_EQ(folder.read("out.bin"), inverted);
    EXPECT_EQ(permissions("out.bin"), before);
    fs::remove(folder.path() / "out.bin");
  }
}

TEST_F(CliOutputFileTest, aReplacedFileLivesOnUnderItsOtherName) {
  folder.write("out.bin", "before");
  fs::create_hard_link(folder.path() / "out.bin", folder.path() / "kept.bin");
  expectOutput(withOptions(invert, {"-o", "out.bin"}), 0, "Changed 4 byte(s)\n");
  EXPECT_EQ(folder.read("out.bin"), inverted);
  EXPECT_EQ(folder.read("kept.bin"), "before");
}

TEST_F(CliOutputFileTest, aReportGoesIntoTheFileWhateverTheAnswer) {
  expectOutput({"difference-report", "in.bin", "in.bin", "-o", "same.txt"}, 0, "");
  expectOutput({"difference-report", "in.bin", "other.bin", "-o", "differs.txt"}, 1, "");
  EXPECT_TRUE(folder.exists("same.txt"));
  EXPECT_TRUE(folder.exists("differs.txt"));
}

TEST_F(CliOutputFileTest, aFailureHalfWayLeavesNothingBehind) {
  // The old OUT is replaced by nothing that is not complete. The limit is 4 KiB.
  writeZeros("in.bin", 100'000);
  folder.write("out.bin", "before");
  const FileState before = stateOf("out.bin");
  const auto namesBefore = names();
  for (const std::string command : {"transform invert in.bin", "hex-dump in.bin"}) {
    for (const std::string out : {"out.bin", "new.bin"}) {
      const CliRun ended = runShell("ulimit -f 4; exec \"$CLI\" " + command + " -o " + out);
      EXPECT_EQ(ended.status, 2);
      EXPECT_EQ(ended.output, "");
      EXPECT_EQ(ended.errors, "quillmor-cli: Could not write the output data. (File too large)\n");
      EXPECT_EQ(names(), namesBefore);
      EXPECT_TRUE(stateOf("out.bin") == before);
    }
  }
}

TEST_F(CliOutputFileTest, aFailureToWriteNamesTheOutputAmongSeveralFiles) {
  writeZeros("in.bin", 100'000);
  folder.write("other.bin", std::string(100'000, 'x'));
  const auto expectNamed = [this](const std::string& command, const std::string& message) {
    const CliRun ended = runShell("ulimit -f 4; exec \"$CLI\" " + command);
    EXPECT_EQ(ended.status, 2);
    EXPECT_THAT(ended.errors, testing::StartsWith("quillmor-cli: " + message)) << command;
  };
  for (const std::string command :
       {"difference-report in.bin other.bin", "patch-apply in.bin fix.txt"})
    expectNamed(command + " -o new.bin", "new.bin: Could not write the output data.");
  expectNamed("patch-apply in.bin fix.txt --in-place",
              "in.bin: Could not write the document data. (File too large)");
  EXPECT_FALSE(folder.exists("new.bin"));
}

TEST_F(CliOutputFileTest, aFolderThatMayNotBeWrittenToIsRefused) {
  ASSERT_EQ(::chmod(folder.path().c_str(), 0555), 0);
  // Only root's capabilities would let it write there all the same.
  const std::string user = ::geteuid() == 0 ? "setpriv --bounding-set=-all " : "";
  const CliRun ended = runShell(user + "\"$CLI\" hex-dump in.bin -o out.txt");
  EXPECT_EQ(ended.status, 2);
  EXPECT_EQ(ended.output, "");
  EXPECT_EQ(ended.errors,
            "quillmor-cli: Could not create the temporary output file securely. (Permission "
            "denied)\n");
  ASSERT_EQ(::chmod(folder.path().c_str(), 0755), 0);
  EXPECT_FALSE(folder.exists("out.txt"));
}

}  // namespace
}  // namespace quillmor::test
