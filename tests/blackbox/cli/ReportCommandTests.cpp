// checksums, checksum-range, statistics, frequency and entropy-map.

#include <algorithm>

#include "blackbox/cli/CliTest.h"
#include "support/FileAccessTest.h"

namespace quillmor::test {
namespace {

class CliReportTest : public CliTest {};

/// The lines about the nine digits, and about no bytes at all.
const std::string kDigitSums =
    "CRC32: CBF43926\nAdler32: 091E01DE\nSUM8: DD\nSUM16: 01DD\nSUM32: 000001DD\n"
    "MD5: 25f9e794323b453885f5181f1b624d0b\n"
    "SHA-1: f7c3bc1d808e04732adf679965ccc34ca7ae3441\n"
    "SHA-256: 15e2b0d3c33891ebb0f1ef609ec419420c20e320ce94c65fbc8c3312448eb225\n"
    "Entropy: 3.1699 bits/byte\n";
const std::string kNoSums =
    "CRC32: 00000000\nAdler32: 00000001\nSUM8: 00\nSUM16: 0000\nSUM32: 00000000\n"
    "MD5: d41d8cd98f00b204e9800998ecf8427e\n"
    "SHA-1: da39a3ee5e6b4b0d3255bfef95601890afd80709\n"
    "SHA-256: e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855\n"
    "Entropy: 0.0000 bits/byte\n";

TEST_F(CliReportTest, checksumsOfAFile) {
  folder.write("a.bin", "123456789");
  expectOutput({"checksums", "a.bin"}, 0, "Full document\nSize: 9 bytes\n" + kDigitSums);
  folder.write("empty", "");
  expectOutput({"checksums", "empty"}, 0, "Full document\nSize: 0 bytes\n" + kNoSums);
}

TEST_F(CliReportTest, checksumsOfARange) {
  folder.write("a.bin", "..123456789");
  expectOutput({"checksums", "a.bin", "--start", "2", "--length", "9"}, 0,
               "Selection 0x00000002 - 0x0000000A\nSize: 9 bytes\n" + kDigitSums);
  expectOutput({"checksums", "a.bin", "--start", "2"}, 0,
               "Selection 0x00000002 - 0x0000000A\nSize: 9 bytes\n" + kDigitSums);
  folder.write("b.bin", "123456789..");
  expectOutput({"checksums", "b.bin", "--length", "9"}, 0,
               "Selection 0x00000000 - 0x00000008\nSize: 9 bytes\n" + kDigitSums);
  expectOutput({"checksums", "b.bin", "--length=0"}, 0,
               "Range: empty at 0x00000000\nLength: 0 bytes\n" + kNoSums);
}

TEST_F(CliReportTest, checksumRange) {
  folder.write("a.bin", "..123456789..");
  expectOutput({"checksum-range", "a.bin", "2", "9"}, 0,
               "Range: 0x00000002 - 0x0000000A\nLength: 9 bytes\n" + kDigitSums);
  folder.write("b.bin", "..123456789");
  expectOutput({"checksum-range", "b.bin", "2", "0x7FFFFFFFFFFFFFFF"}, 0,
               "Range: 0x00000002 - 0x0000000A\nLength: 9 bytes\n" + kDigitSums);
  expectOutput({"checksum-range", "b.bin", "5", "0"}, 0,
               "Range: empty at 0x00000005\nLength: 0 bytes\n" + kNoSums);
  expectOutput({"checksum-range", "b.bin", "11", "4"}, 0,
               "Range: empty at 0x0000000B\nLength: 0 bytes\n" + kNoSums);
  expectOutput({"checksum-range", "b.bin", "12", "4"}, 0,
               "Range: empty at 0x0000000B\nLength: 0 bytes\n" + kNoSums);
  folder.write("empty", "");
  expectOutput({"checksum-range", "empty", "0", "4"}, 0,
               "Range: empty at 0x00000000\nLength: 0 bytes\n" + kNoSums);
}

TEST_F(CliReportTest, digestsAreThoseOfTheStandardTools) {
  folder.write("a.bin", patternedText(300'000));
  const CliRun ours = runShell(R"("$CLI" checksums a.bin | sed -n 's/^\(MD5\|SHA.*\): //p')");
  const CliRun theirs =
      runShell("for t in md5 sha1 sha256; do ${t}sum <a.bin | cut -d' ' -f1; done");
  EXPECT_EQ(ours.output, theirs.output);
  EXPECT_EQ(theirs.output.size(), 33U + 41 + 65);
  // gzip ends with the CRC-32, least significant byte first.
  const CliRun crc = runShell(R"("$CLI" checksums a.bin | sed -n 's/^CRC32: //p')");
  const CliRun zipped = runShell(
      "gzip -c a.bin | tail -c8 | head -c4 | od -An -tx4 --endian=little |"
      " tr -d ' ' | tr a-f A-F");
  EXPECT_EQ(crc.output, zipped.output);
}

TEST_F(CliReportTest, statisticsOfAFile) {
  folder.write("a.bin", std::string("A\0\0\xFF\xFF\xFF ~", 8));
  // The counts 1, 2, 3, 1, 1 of 8: 3 * 3/8 + 2/8 * 2 + 3/8 * log2(8/3).
  expectOutput({"statistics", "a.bin"}, 0,
               "Scope: Document\nLength: 8 bytes\nEntropy: 2.1556 bits/byte\n"
               "Unique byte values: 5\nMinimum byte: 0x00\nMaximum byte: 0xFF\n00 bytes: 2\n"
               "FF bytes: 3\nPrintable ASCII bytes: 3\n");
  folder.write("empty", "");
  expectOutput({"statistics", "empty"}, 0, "There are no bytes to analyze.\n");
}

TEST_F(CliReportTest, statisticsOfARange) {
  folder.write("a.bin", "..A");
  const std::string expected =
      "Scope: Selection\nLength: 1 bytes\nEntropy: 0.0000 bits/byte\nUnique byte values: 1\n"
      "Minimum byte: 0x41\nMaximum byte: 0x41\n00 bytes: 0\nFF bytes: 0\n"
      "Printable ASCII bytes: 1\n";
  expectOutput({"statistics", "a.bin", "--start", "2"}, 0, expected);
  expectOutput({"statistics", "a.bin", "--start", "2", "--length", "100"}, 0, expected);
  folder.write("b.bin", "A..");
  expectOutput({"statistics", "b.bin", "--length", "1"}, 0, expected);
  expectOutput({"statistics", "b.bin", "--length", "0"}, 0, "There are no bytes to analyze.\n");
  expectOutput({"statistics", "b.bin", "--start", "3"}, 0, "There are no bytes to analyze.\n");
  // The whole file, but as a range.
  folder.write("c.bin", "A");
  expectOutput({"statistics", "c.bin", "--start", "0"}, 0, expected);
}

TEST_F(CliReportTest, frequencyOfEveryByteValue) {
  folder.write("a.bin", std::string(999, 'A') + '\xFF');
  expectGolden({"frequency", "a.bin"}, 0, "frequency.txt");
}

TEST_F(CliReportTest, frequencyOfNoBytes) {
  folder.write("empty", "");
  std::string expected = "Byte  Count      Percent\n---------------------------\n";
  for (int value = 0; value < 256; ++value) {
    constexpr const char* kDigits = "0123456789ABCDEF";
    expected += {kDigits[value / 16], kDigits[value % 16]};
    expected += "  0           0.000\n";
  }
  expectOutput({"frequency", "empty"}, 0, expected);
}

constexpr const char* kMapHead = "Offset      Length  Entropy\n------------------------------\n";

TEST_F(CliReportTest, entropyMapOfEvery4096Bytes) {
  folder.write("a.bin", std::string(4096, 'x') + "y");
  expectOutput({"entropy-map", "a.bin"}, 0,
               std::string(kMapHead) + "00000000    4096  0.0000\n00001000       1  0.0000\n");
  std::string allValues;
  for (int i = 0; i < 4096; ++i) allValues += static_cast<char>(i);
  folder.write("b.bin", std::string(4095, 'x') + "y" + allValues + std::string(50, 'a') +
                            std::string(50, 'b'));
  // -4095/4096 * log2(4095/4096) + 12/4096 = 0.0033
  expectOutput(
      {"entropy-map", "b.bin"}, 0,
      std::string(kMapHead) +
          "00000000    4096  0.0033\n00001000    4096  8.0000\n00002000     100  1.0000\n");
  folder.write("empty", "");
  expectOutput({"entropy-map", "empty"}, 0, std::string(kMapHead) + "\nEmpty file.\n");
}

TEST_F(CliReportTest, entropyMapIsCutAfterTenThousandChunks) {
  const CliRun whole = runShell("truncate -s 40960000 a.bin && \"$CLI\" entropy-map a.bin");
  EXPECT_EQ(whole.status, 0);
  EXPECT_TRUE(whole.output.ends_with("\n0270F000    4096  0.0000\n"));
  EXPECT_EQ(std::ranges::count(whole.output, '\n'), 10'002);
  const CliRun cut = runShell("truncate -s 40960001 a.bin && \"$CLI\" entropy-map a.bin");
  EXPECT_EQ(cut.status, 0);
  EXPECT_TRUE(cut.output ==
              whole.output +
                  "Output truncated to first 10000 chunk(s) to avoid excessive UI memory use.\n"
                  "Total chunks scanned: 10000\n");
}

}  // namespace
}  // namespace quillmor::test
