// Standard input, output and error that are closed, full or read by nobody.

#include <filesystem>

#include "blackbox/cli/RunningCliTest.h"

namespace quillmor::test {
namespace {

class CliStandardStreamTest : public RunningCliTest {
 protected:
  CliStandardStreamTest() { folder.write("in.bin", "ABC"); }

  /// Runs the program in a shell and expects its status, its message and no output.
  void expectQuietRun(const std::string& command, int status, const std::string& message) const {
    const CliRun ended = runShell(command);
    EXPECT_EQ(ended.status, status) << command;
    EXPECT_EQ(ended.output, "") << command;
    EXPECT_EQ(ended.errors, message.empty() ? "" : "quillmor-cli: " + message + "\n") << command;
  }

  const std::string inverted = "\xBE\xBD\xBC";
};

constexpr const char* kFull = "Could not write to standard output: No space left on device";
constexpr const char* kClosed = "Could not write to standard output: Bad file descriptor";

/// Makes descriptor 4 a pipe that nobody reads.
constexpr const char* kPipeWithoutReader = "mkfifo pipe; exec 3<>pipe 4>pipe 3<&-; ";

TEST_F(CliStandardStreamTest, aReaderThatLeavesEndsTheProgramQuietly) {
  folder.write("in.bin", std::string(1'000'000, 'x'));
  const CliRun ended = runShell("\"$CLI\" hex-dump in.bin | head -c 1; echo \" ${PIPESTATUS[0]}\"");
  EXPECT_EQ(ended.output, "0 141\n");
  EXPECT_EQ(ended.errors, "");
  EXPECT_THAT(names(), testing::ElementsAre("in.bin"));
}

TEST_F(CliStandardStreamTest, nothingIsChangedWhenNobodyReadsTheText) {
  expectQuietRun(
      std::string(kPipeWithoutReader) + "exec \"$CLI\" transform invert in.bin -o out.bin >&4", 141,
      "");
  expectQuietRun("exec 3<>pipe 4>pipe 3<&-; exec \"$CLI\" transform invert in.bin --in-place >&4",
                 141, "");
  EXPECT_EQ(folder.read("in.bin"), "ABC");
  EXPECT_THAT(names(), testing::ElementsAre("in.bin", "pipe"));
}

TEST_F(CliStandardStreamTest, aFullDeviceIsAFailure) {
  expectQuietRun("exec \"$CLI\" hex-dump in.bin >/dev/full", 2, kFull);
  expectQuietRun("exec \"$CLI\" --help >/dev/full", 2, kFull);
  expectQuietRun("exec \"$CLI\" difference-report in.bin in.bin >/dev/full", 2, kFull);
}

TEST_F(CliStandardStreamTest, anEmptyReportFillsNoDevice) {
  folder.write("empty.bin", "");
  expectQuietRun("exec \"$CLI\" hex-dump empty.bin >/dev/full", 0, "");
}

TEST_F(CliStandardStreamTest, nothingIsChangedWhenTheTextFindsNoRoom) {
  expectQuietRun("exec \"$CLI\" transform invert in.bin -o out.bin >/dev/full", 2, kFull);
  expectQuietRun("exec \"$CLI\" transform invert in.bin --in-place >/dev/full", 2, kFull);
  EXPECT_EQ(folder.read("in.bin"), "ABC");
  EXPECT_THAT(names(), testing::ElementsAre("in.bin"));
}

TEST_F(CliStandardStreamTest, aFullDeviceIsTheFaultOfNoFile) {
  folder.write("fix.txt", "QuillmorPatch 1\nOFFSET 0x00000001\nDATA 78\n");
  expectQuietRun("exec \"$CLI\" patch-apply in.bin fix.txt -o out.bin >/dev/full", 2, kFull);
  expectQuietRun("exec \"$CLI\" patch-apply in.bin fix.txt --in-place >/dev/full", 2, kFull);
  expectQuietRun("exec \"$CLI\" compare in.bin fix.txt >/dev/full", 2, kFull);
}

TEST_F(CliStandardStreamTest, noFileTakesThePlaceOfAClosedOutput) {
  expectQuietRun("exec \"$CLI\" transform invert in.bin -o out.bin >&-", 2, kClosed);
  expectQuietRun("exec \"$CLI\" transform invert in.bin --in-place >&-", 2, kClosed);
  EXPECT_EQ(folder.read("in.bin"), "ABC");
  expectQuietRun("exec \"$CLI\" hex-dump in.bin >&-", 2, kClosed);
  EXPECT_THAT(names(), testing::ElementsAre("in.bin"));
}

TEST_F(CliStandardStreamTest, aLongReportIsNotWrittenToItsOwnTemporaryFile) {
  // A report of more than 16 MiB waits in a file until it is complete.
  writeZeros("zeros.bin", 700'000);
  folder.write("ones.bin", std::string(700'000, '\1'));
  const std::string report = "exec \"$CLI\" difference-report zeros.bin ones.bin";
  const CliRun printed = runShell(report + " | wc -c");
  EXPECT_GT(std::stoll(printed.output), 16 * 1024 * 1024);
  // The limit only ends a program that goes on writing there.
  expectQuietRun("ulimit -f 100000; " + report + " >&-", 2, kClosed);
}

TEST_F(CliStandardStreamTest, noFileTakesThePlaceOfAClosedErrorOutput) {
  // The note about the byte behind the last group has nowhere to go.
  const CliRun ended = runShell("exec \"$CLI\" transform swap16 in.bin --in-place 2>&-");
  EXPECT_EQ(ended.status, 0);
  EXPECT_EQ(ended.output, "Changed 2 byte(s)\n");
  EXPECT_EQ(folder.read("in.bin"), "BAC");
  expectQuietRun("exec \"$CLI\" transform swap32 in.bin --in-place 2>&-", 2, "");
  EXPECT_EQ(folder.read("in.bin"), "BAC");
}

TEST_F(CliStandardStreamTest, allStreamsMayBeClosed) {
  expectQuietRun("exec \"$CLI\" transform swap16 in.bin -o out.bin <&- >&- 2>&-", 2, "");
  EXPECT_EQ(folder.read("in.bin"), "ABC");
  EXPECT_THAT(names(), testing::ElementsAre("in.bin"));
  const CliRun ended = runShell("exec \"$CLI\" transform invert in.bin --in-place <&-");
  EXPECT_EQ(ended.status, 0);
  EXPECT_EQ(ended.output, "Changed 3 byte(s)\n");
  EXPECT_EQ(folder.read("in.bin"), inverted);
}

TEST_F(CliStandardStreamTest, aLongReportIsKeptInTheFolderForTemporaryFiles) {
  writeZeros("zeros.bin", 700'000);
  folder.write("ones.bin", std::string(700'000, '\x01'));
  std::filesystem::create_directory(folder.path() / "temporary");
  const Fifo pipe(pipePath());
  const auto process =
      start("TMPDIR=$PWD/temporary exec \"$CLI\" difference-report zeros.bin ones.bin > pipe");
  ASSERT_TRUE(waitUntil([&] { return pipe.hasText(); }));
  std::vector<std::string> open;
  for (const auto& entry :
       std::filesystem::directory_iterator("/proc/" + std::to_string(process->id()) + "/fd")) {
    open.push_back(std::filesystem::read_symlink(entry).string());
  }
  EXPECT_THAT(open, testing::Contains(
                        testing::AllOf(testing::HasSubstr((folder.path() / "temporary").string()),
                                       testing::EndsWith(" (deleted)"))));
  EXPECT_TRUE(std::filesystem::is_empty(folder.path() / "temporary"));
  EXPECT_GT(pipe.readToEnd().size(), std::size_t{16} * 1024 * 1024);
  EXPECT_EQ(process->waitForExit(), 1);
}

TEST_F(CliStandardStreamTest, aLongReportNeedsAFolderForTemporaryFiles) {
  writeZeros("zeros.bin", 700'000);
  folder.write("ones.bin", std::string(700'000, '\x01'));
  expectQuietRun("TMPDIR=/missing exec \"$CLI\" difference-report zeros.bin ones.bin", 2,
                 "Could not keep the text in a temporary file: No such file or directory");
}

TEST_F(CliStandardStreamTest, aLongReportThatCannotBeKeptIsNotPrinted) {
  writeZeros("zeros.bin", 1'000'000);
  folder.write("ones.bin", std::string(1'000'000, '\x01'));
  // Blocks of 1024 bytes; the report is larger than what is kept in memory.
  const CliRun ended = runShell(
      "ulimit -f 1000; exec \"$CLI\" difference-report zeros.bin ones.bin | cat; "
      "exit ${PIPESTATUS[0]}");
  EXPECT_EQ(ended.status, 2);
  EXPECT_TRUE(ended.output.empty());
  EXPECT_EQ(ended.errors,
            "quillmor-cli: Could not keep the text in a temporary file: File too large\n");
}

}  // namespace
}  // namespace quillmor::test
