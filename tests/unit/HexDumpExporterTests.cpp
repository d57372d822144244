#include "tools/HexDumpExporter.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <string>
#include <vector>

#include "base/HexText.h"
#include "support/FileAccessTest.h"
#include "support/RandomBytes.h"

namespace quillmor::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

HexSelection allOf(const Bytes& bytes) {
  return {0, static_cast<std::int64_t>(bytes.size())};
}

std::string dumpOf(std::span<const std::uint8_t> bytes, HexSelection range) {
  std::string text;
  TaskProgress progress;
  HexDumpExporter::produce(
      bytes, range, [&text](std::string_view piece) { text += piece; }, progress);
  EXPECT_TRUE(range.length == 0 || progress.fraction() == 1);
  return text;
}

/// The dump as its lines, one after the other.
std::string linesOf(const Bytes& bytes, HexSelection range) {
  std::string text;
  const auto selected = std::span(bytes).subspan(static_cast<std::size_t>(range.start),
                                                 static_cast<std::size_t>(range.length));
  for (std::size_t at = 0; at < selected.size(); at += 16) {
    text +=
        HexDumpExporter::line(selected.subspan(at, std::min<std::size_t>(16, selected.size() - at)),
                              range.start + static_cast<std::int64_t>(at));
  }
  return text;
}

TEST(HexDumpLine, hasOffsetDigitsAndCharacters) {
  EXPECT_EQ(HexDumpExporter::line(bytesOf("0123456789abcdef"), 0x10),
            "00000010  30 31 32 33 34 35 36 37 38 39 61 62 63 64 65 66  |0123456789abcdef|\n");
}

TEST(HexDumpLine, ofFewBytesIsPaddedToTheFullWidth) {
  EXPECT_EQ(HexDumpExporter::line(bytesOf("A"), 0xABCDEF0),
            "0ABCDEF0  41                                               |A|\n");
  EXPECT_EQ(HexDumpExporter::line(bytesOf("0123456789abcde"), 0),
            "00000000  30 31 32 33 34 35 36 37 38 39 61 62 63 64 65     |0123456789abcde|\n");
}

TEST(HexDumpLine, ofNoBytesIsEmptyInItsColumns) {
  EXPECT_EQ(HexDumpExporter::line({}, 0), "00000000  " + std::string(47, ' ') + "  ||\n");
}

TEST(HexDumpLine, showsADotForWhatIsNotPrintableAscii) {
  const Bytes bytes = {0x00, 0x1F, 0x20, 0x2E, 0x7E, 0x7F, 0x80, 0xFF};
  EXPECT_EQ(HexDumpExporter::line(bytes, 0),
            "00000000  00 1F 20 2E 7E 7F 80 FF                          |.. .~...|\n");
}

TEST(HexDumpLine, hasMoreDigitsForOffsetsBeyond32Bits) {
  EXPECT_TRUE(HexDumpExporter::line(bytesOf("A"), 0xFFFF'FFFF).starts_with("FFFFFFFF  41 "));
  EXPECT_EQ(HexDumpExporter::line(bytesOf("A"), 0x1'0000'0000),
            "100000000  41                                               |A|\n");
  EXPECT_EQ(HexDumpExporter::line(bytesOf("A"), 0x7FFF'FFFF'FFFF'FFFF),
            "7FFFFFFFFFFFFFFF  41                                               |A|\n");
}

TEST(HexDump, ofSeventeenBytesHasTwoLines) {
  EXPECT_EQ(dumpOf(bytesOf("Hello, hex dump!\n"), {0, 17}),
            "00000000  48 65 6C 6C 6F 2C 20 68 65 78 20 64 75 6D 70 21  |Hello, hex dump!|\n"
            "00000010  0A                                               |.|\n");
}

TEST(HexDump, ofASelectionHasTheOffsetsOfTheDocument) {
  EXPECT_EQ(dumpOf(bytesOf("0123456789abcdefghijklmnopqrstuvwxyz"), {5, 20}),
            "00000005  35 36 37 38 39 61 62 63 64 65 66 67 68 69 6A 6B  |56789abcdefghijk|\n"
            "00000015  6C 6D 6E 6F                                      |lmno|\n");
}

TEST(HexDump, ofNothingIsEmpty) {
  EXPECT_EQ(dumpOf({}, {0, 0}), "");
  EXPECT_EQ(dumpOf(bytesOf("abc"), {3, 0}), "");
}

TEST(HexDump, isItsLinesAtEveryLengthAndAcrossItsPieces) {
  const Bytes bytes = randomBytes(3 * 65536 + 33, 1);
  for (std::int64_t length = 0; length <= 100; ++length) {
    ASSERT_TRUE(dumpOf(bytes, {length, length}) == linesOf(bytes, {length, length})) << length;
  }
  for (const std::int64_t length : {65535, 65536, 65537, 3 * 65536 + 32}) {
    EXPECT_TRUE(dumpOf(bytes, {1, length}) == linesOf(bytes, {1, length})) << length;
  }
  EXPECT_TRUE(dumpOf(bytes, allOf(bytes)) == linesOf(bytes, allOf(bytes)));
}

/// Zeros that take no memory until they are read.
class ReservedZeros {
 public:
  explicit ReservedZeros(std::size_t size)
      : size_(size),
        mapping_(
            ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0)) {
    EXPECT_NE(mapping_, MAP_FAILED);
  }
  ~ReservedZeros() { ::munmap(mapping_, size_); }
  ReservedZeros(const ReservedZeros&) = delete;
  ReservedZeros& operator=(const ReservedZeros&) = delete;

  std::span<const std::uint8_t> span() const {
    return {static_cast<const std::uint8_t*>(mapping_), size_};
  }

 private:
  std::size_t size_;
  void* mapping_;
};

TEST(HexDump, goesOnPastOffsetsOfEightDigits) {
  const ReservedZeros zeros(0x1'0000'1000);
  const std::string rest =
      "  00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00  |................|\n";
  EXPECT_EQ(dumpOf(zeros.span(), {0xFFFF'FFE0, 64}),
            "FFFFFFE0" + rest + "FFFFFFF0" + rest + "100000000" + rest + "100000010" + rest);
  EXPECT_EQ(dumpOf(zeros.span(), {0xFFFF'FFEF, 48}),
            "FFFFFFEF" + rest + "FFFFFFFF" + rest + "10000000F" + rest);
}

}  // namespace
}  // namespace quillmor::test
