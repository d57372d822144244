// compare, compare-list and difference-report.

#include <algorithm>

#include "blackbox/cli/CliTest.h"
#include "support/FileAccessTest.h"

namespace quillmor::test {
namespace {

class CliCompareTest : public CliTest {
 protected:
  void write(const std::string& file, const std::string& other) const {
    folder.write("a.bin", file);
    folder.write("b.bin", other);
  }

  /// Runs one of the commands on both files.
  void expectCompared(const std::string& command, int status, const std::string& output) const {
    expectOutput({command, "a.bin", "b.bin"}, status, output);
  }
};

constexpr const char* kListHead = "\n\nOffset      Current  Other\n----------------------------\n";
constexpr const char* kReportHead =
    " bytes\n\nOffset      Current  Compared\n-----------------------------\n";

TEST_F(CliCompareTest, identicalFiles) {
  write("0123456789", "0123456789");
  expectCompared("compare", 0, "Files are identical.\n\nCompared file: b.bin\nSize: 10 bytes\n");
  expectCompared("compare-list", 0,
                 "Compared file: b.bin\nCurrent size: 10\nOther size: 10" + std::string(kListHead) +
                     "Total differences: 0\n");
  expectCompared("difference-report", 0,
                 "Quillmor Difference Report\nCompared file: b.bin\nCurrent size: 10 bytes\n"
                 "Compared size: 10" +
                     std::string(kReportHead) +
                     "\nTotal differences: 0\nResult: files are identical.\n");
}

TEST_F(CliCompareTest, emptyFiles) {
  write("", "");
  expectCompared("compare", 0, "Files are identical.\n\nCompared file: b.bin\nSize: 0 bytes\n");
  expectCompared("compare-list", 0,
                 "Compared file: b.bin\nCurrent size: 0\nOther size: 0" + std::string(kListHead) +
                     "Total differences: 0\n");
  EXPECT_EQ(run({"difference-report", "a.bin", "b.bin"}).status, 0);
}

TEST_F(CliCompareTest, differingBytes) {
  write(std::string("\x00\xAB\x0F", 3), std::string("\xFF\xAB\x00", 3));
  expectCompared("compare", 1,
                 "Files are different.\n\nCompared file: b.bin\nCurrent size: 3 bytes\n"
                 "Other size: 3 bytes\nDifference count: 2\nFirst difference: 0x00000000\n");
  expectCompared("compare-list", 1,
                 "Compared file: b.bin\nCurrent size: 3\nOther size: 3" + std::string(kListHead) +
                     "0x00000000  0x00     0xFF\n0x00000002  0x0F     0x00\n"
                     "Total differences: 2\n");
  expectCompared("difference-report", 1,
                 "Quillmor Difference Report\nCompared file: b.bin\nCurrent size: 3 bytes\n"
                 "Compared size: 3" +
                     std::string(kReportHead) +
                     "00000000  0x00     0xFF\n00000002  0x0F     0x00\n\n"
                     "Total differences: 2\n");
}

TEST_F(CliCompareTest, aLongerOtherFile) {
  write("0123456789", "0123456789ab");
  expectCompared("compare", 1,
                 "Files are different.\n\nCompared file: b.bin\nCurrent size: 10 bytes\n"
                 "Other size: 12 bytes\nDifference count: 2\nFirst difference: 0x0000000A\n");
  // The listing counts compared bytes only, and still the files differ.
  expectCompared("compare-list", 1,
                 "Compared file: b.bin\nCurrent size: 10\nOther size: 12" + std::string(kListHead) +
                     "Size differs by 2 byte(s).\nTotal differences: 0\n");
  expectCompared("difference-report", 1,
                 "Quillmor Difference Report\nCompared file: b.bin\nCurrent size: 10 bytes\n"
                 "Compared size: 12" +
                     std::string(kReportHead) +
                     "0000000A  <EOF>     0x61\n0000000B  <EOF>     0x62\n\n"
                     "Total differences: 2\n");
}

TEST_F(CliCompareTest, aShorterOtherFile) {
  write("x123", "01");
  expectCompared("compare", 1,
                 "Files are different.\n\nCompared file: b.bin\nCurrent size: 4 bytes\n"
                 "Other size: 2 bytes\nDifference count: 3\nFirst difference: 0x00000000\n");
  expectCompared("compare-list", 1,
                 "Compared file: b.bin\nCurrent size: 4\nOther size: 2" + std::string(kListHead) +
                     "0x00000000  0x78     0x30\nSize differs by 2 byte(s).\n"
                     "Total differences: 1\n");
  expectCompared("difference-report", 1,
                 "Quillmor Difference Report\nCompared file: b.bin\nCurrent size: 4 bytes\n"
                 "Compared size: 2" +
                     std::string(kReportHead) +
                     "00000000  0x78     0x30\n00000002  0x32     <EOF>\n"
                     "00000003  0x33     <EOF>\n\nTotal differences: 3\n");
}

TEST_F(CliCompareTest, anEmptyFileBesideAnother) {
  write("", "A");
  expectCompared("compare", 1,
                 "Files are different.\n\nCompared file: b.bin\nCurrent size: 0 bytes\n"
                 "Other size: 1 bytes\nDifference count: 1\nFirst difference: 0x00000000\n");
  EXPECT_EQ(run({"compare-list", "a.bin", "b.bin"}).status, 1);
  EXPECT_EQ(run({"difference-report", "b.bin", "a.bin"}).status, 1);
}

TEST_F(CliCompareTest, theListingStopsAtThreeHundred) {
  write(std::string(301, 'a'), std::string(301, 'b'));
  const CliRun listed = run({"compare-list", "a.bin", "b.bin"});
  EXPECT_EQ(listed.status, 1);
  EXPECT_EQ(std::ranges::count(listed.output, '\n'), 6 + 300 + 2);
  EXPECT_TRUE(listed.output.ends_with(
      "0x0000012B  0x61     0x62\nTotal differences: 301\nShowing first 300 differences.\n"));
  const CliRun reported = run({"difference-report", "a.bin", "b.bin"});
  EXPECT_TRUE(reported.output.ends_with("0000012C  0x61     0x62\n\nTotal differences: 301\n"));
}

TEST_F(CliCompareTest, theReportIsThatOfTheStandardTool) {
  std::string other = patternedText(100'000);
  for (std::size_t i = 7; i < other.size(); i += 13) other[i] = 'x';
  write(patternedText(100'000), other);
  const CliRun ours = runShell(R"("$CLI" difference-report a.bin b.bin | grep '  0x')");
  const CliRun theirs = runShell(
      "cmp -l a.bin b.bin | while read -r at x y; do "
      R"(printf '%08X  0x%02X     0x%02X\n' $((at - 1)) 0$x 0$y; done)");
  EXPECT_FALSE(theirs.output.empty());
  EXPECT_TRUE(ours.output == theirs.output);
}

TEST_F(CliCompareTest, aFileMayBeComparedWithItself) {
  folder.write("a.bin", "0123456789");
  expectOutput({"compare", "a.bin", "./a.bin"}, 0,
               "Files are identical.\n\nCompared file: a.bin\nSize: 10 bytes\n");
  EXPECT_EQ(run({"compare-list", "a.bin", "a.bin"}).status, 0);
  EXPECT_EQ(run({"difference-report", "a.bin", "a.bin"}).status, 0);
}

TEST_F(CliCompareTest, theOtherFileIsNamedAsItIs) {
  folder.write("a.bin", "A");
  folder.write("caf\xC3\xA9 [1]", "A");
  expectOutput({"compare", "a.bin", (folder.path() / "caf\xC3\xA9 [1]").native()}, 0,
               "Files are identical.\n\nCompared file: caf\xC3\xA9 [1]\nSize: 1 bytes\n");
}

TEST_F(CliCompareTest, anOtherFileThatCannotBeReadIsRefused) {
  folder.write("a.bin", "A");
  for (const std::string command : {"compare", "compare-list", "difference-report"}) {
    expectFailure({command, "a.bin", "missing"}, "missing: No such file or directory");
    expectFailure({command, "missing", "a.bin"}, "missing: No such file or directory");
    expectFailure({command, "a.bin", "."}, ".: Directories cannot be opened as binary files.");
    expectFailure({command, "a.bin", "/dev/null"},
                  "/dev/null: Only regular files can be opened as binary documents.");
  }
}

}  // namespace
}  // namespace quillmor::test
