// -o of the commands that export.

#include <filesystem>

#include "blackbox/cli/CliTest.h"

namespace quillmor::test {
namespace {

using Arguments = std::vector<std::string>;

class CliExportOutputTest : public CliTest {
 protected:
  CliExportOutputTest() {
    folder.write("a.bin", "ABCDEFGH");
    folder.write("b.bin", "ABCDEFGx");
    folder.write("empty", "");
  }

  /// Expects the arguments to write exactly `content`, and to print nothing.
  void expectFile(Arguments arguments, int status, const std::string& content) const {
    arguments.insert(arguments.end(), {"-o", "out"});
    expectOutput(arguments, status, "");
    EXPECT_EQ(folder.read("out"), content) << testing::PrintToString(arguments);
  }

  /// Expects all exports to refuse `out` and to leave the files as they were.
  void expectRefused(const std::string& out, const std::string& message) const {
    const auto before = names();
    for (const Arguments& arguments :
         {Arguments{"strings", "a.bin"}, Arguments{"hex-dump", "a.bin"},
          Arguments{"intel-hex", "a.bin"}, Arguments{"patch-export", "a.bin", "--start", "0"},
          Arguments{"difference-report", "a.bin", "b.bin"}}) {
      Arguments withOutput = arguments;
      withOutput.insert(withOutput.end(), {"-o", out});
      expectFailure(withOutput, messageAbout(out, arguments.front(), message));
    }
    EXPECT_EQ(names(), before);
    EXPECT_EQ(folder.read("a.bin"), "ABCDEFGH");
    EXPECT_EQ(folder.read("b.bin"), "ABCDEFGx");
  }
};

std::string overwriting(const std::string& name) {
  return "Choose a different output destination. Writing to " + name +
         " would overwrite an open document or another input file.";
}

TEST_F(CliExportOutputTest, holdsExactlyTheEditorsBytes) {
  expectFile({"strings", "a.bin"}, 0, "Offset      Length  String\n00000000  8  ABCDEFGH\n");
  expectFile({"hex-dump", "a.bin"}, 0,
             "00000000  41 42 43 44 45 46 47 48                          |ABCDEFGH|\n");
  expectFile({"intel-hex", "a.bin"}, 0,
             ":020000040000FA\n:080000004142434445464748D4\n:00000001FF\n");
  expectFile({"patch-export", "a.bin", "--start", "6"}, 0,
             "QuillmorPatch 1\nOFFSET 0x00000006\nDATA 47 48\n");
  expectFile({"hex-dump", "a.bin", "--start", "6", "--length", "1"}, 0,
             "00000006  47                                               |G|\n");
}

TEST_F(CliExportOutputTest, mayBeEmpty) {
  expectFile({"hex-dump", "empty"}, 0, "");
  expectFile({"hex-dump", "a.bin", "--length", "0"}, 0, "");
  expectFile({"intel-hex", "empty"}, 0, ":00000001FF\n");
  expectFile({"strings", "empty"}, 0,
             "No printable ASCII strings with minimum length 4 were found.\n");
}

TEST_F(CliExportOutputTest, ofADifferenceReportHasNoFinalLineFeed) {
  const std::string head =
      "Quillmor Difference Report\nCompared file: b.bin\nCurrent size: 8 bytes\n"
      "Compared size: 8 bytes\n\nOffset      Current  Compared\n-----------------------------\n";
  const std::string differing = head + "00000007  0x48     0x78\n\nTotal differences: 1";
  expectFile({"difference-report", "a.bin", "b.bin"}, 1, differing);
  expectOutput({"difference-report", "a.bin", "b.bin"}, 1, differing + "\n");
  folder.write("b.bin", "ABCDEFGH");
  const std::string equal = head + "\nTotal differences: 0\nResult: files are identical.";
  expectFile({"difference-report", "a.bin", "b.bin"}, 0, equal);
  expectOutput({"difference-report", "a.bin", "b.bin"}, 0, equal + "\n");
}

TEST_F(CliExportOutputTest, replacesAFileThatIsThere) {
  folder.write("out", std::string(1000, 'o'));
  expectFile({"intel-hex", "empty"}, 0, ":00000001FF\n");
  EXPECT_EQ(names(), (Arguments{"a.bin", "b.bin", "empty", "out"}));
}

TEST_F(CliExportOutputTest, isThatOfStandardOutput) {
  folder.write("large.bin", std::string(300'000, 'z'));
  for (const std::string command : {"strings", "hex-dump", "intel-hex", "patch-export --start 0"}) {
    const CliRun ended = runShell("\"$CLI\" " + command + " large.bin >printed && \"$CLI\" " +
                                  command + " large.bin -o written && cmp printed written");
    EXPECT_EQ(ended.status, 0) << command << ended.output << ended.errors;
  }
}

TEST_F(CliExportOutputTest, isNeverAnInput) {
  expectRefused("a.bin", overwriting("a.bin"));
  expectRefused("./a.bin", overwriting("a.bin"));
  expectRefused(folder.path() / "a.bin", overwriting("a.bin"));
  std::filesystem::create_hard_link(folder.path() / "a.bin", folder.path() / "hard");
  expectRefused("hard", overwriting("hard"));
  expectFailure({"difference-report", "a.bin", "b.bin", "-o", "b.bin"},
                "b.bin: " + overwriting("b.bin"));
  EXPECT_EQ(folder.read("b.bin"), "ABCDEFGx");
}

TEST_F(CliExportOutputTest, isNeverAnInputThatIsReadThroughALink) {
  std::filesystem::create_symlink("a.bin", folder.path() / "link");
  for (const std::string out : {"a.bin", "link"}) {
    const CliRun ended = run({"hex-dump", "link", "-o", out});
    EXPECT_EQ(ended.status, 2);
    EXPECT_EQ(ended.errors, "quillmor-cli: " + overwriting(out) + "\n");
  }
  EXPECT_EQ(folder.read("a.bin"), "ABCDEFGH");
  EXPECT_TRUE(std::filesystem::is_symlink(folder.path() / "link"));
}

TEST_F(CliExportOutputTest, isARegularFileInAFolderThatIsThere) {
  folder.write("target", "kept");
  std::filesystem::create_symlink("target", folder.path() / "link");
  expectRefused("link",
                "The output destination cannot be a symbolic link. Choose the real file or a "
                "different destination.");
  EXPECT_EQ(folder.read("target"), "kept");
  std::filesystem::create_symlink("nowhere", folder.path() / "dangling");
  expectRefused("dangling",
                "The output destination cannot be a symbolic link. Choose the real file or a "
                "different destination.");
  std::filesystem::create_directory(folder.path() / "sub");
  expectRefused("sub", "The output destination must be a regular file.");
  expectRefused("/dev/null", "The output destination must be a regular file.");
  EXPECT_EQ(runShell("mkfifo fifo").status, 0);
  expectRefused("fifo", "The output destination must be a regular file.");
  expectRefused("missing/out", "The output destination directory is not available.");
  expectRefused("a.bin/out", "The output destination directory is not available.");
}

TEST_F(CliExportOutputTest, isNotWrittenWhenTheInputCannotBeRead) {
  folder.write("out", "kept");
  const std::string missing = "No such file or directory";
  expectFailure({"strings", "missing", "-o", "out"}, missing);
  expectFailure({"hex-dump", "missing", "-o", "out"}, missing);
  expectFailure({"intel-hex", "missing", "-o", "out"}, missing);
  expectFailure({"patch-export", "missing", "--start", "0", "-o", "out"}, missing);
  expectFailure({"difference-report", "missing", "b.bin", "-o", "out"}, "missing: " + missing);
  expectFailure({"difference-report", "a.bin", "missing", "-o", "out"}, "missing: " + missing);
  EXPECT_EQ(folder.read("out"), "kept");
  EXPECT_EQ(names(), (Arguments{"a.bin", "b.bin", "empty", "out"}));
}

}  // namespace
}  // namespace quillmor::test
