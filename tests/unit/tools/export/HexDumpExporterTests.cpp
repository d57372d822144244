#include "tools/export/HexDumpExporter.h"

#include <algorithm>
#include <string>
#include <vector>

#include "base/ByteUnits.h"
#include "support/ErrorMatchers.h"
#include "support/ExporterFixture.h"
#include "support/MemoryProbes.h"
#include "support/RandomBytes.h"
#include "support/ReservedZeros.h"

namespace quillmor::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

HexSelection allOf(std::span<const std::uint8_t> bytes) {
  return {0, static_cast<std::int64_t>(bytes.size())};
}

std::string dumpOf(std::span<const std::uint8_t> bytes, HexSelection range) {
  TaskProgress progress;
  const std::string text = collected(
      [&](const TextSink& sink) { HexDumpExporter::produce(bytes, range, sink, progress); });
  EXPECT_TRUE(range.length == 0 || progress.fraction() == 1);
  return text;
}

/// The dump, one line after the other.
std::string linesOf(std::span<const std::uint8_t> bytes, HexSelection range) {
  std::string text;
  const auto selected =
      bytes.subspan(static_cast<std::size_t>(range.start), static_cast<std::size_t>(range.length));
  for (std::size_t at = 0; at < selected.size(); at += 16) {
    const auto count = std::min<std::size_t>(16, selected.size() - at);
    text += HexDumpExporter::line(selected.subspan(at, count),
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
  for (const std::int64_t length : {65535, 65536, 65537}) {
    EXPECT_TRUE(dumpOf(bytes, {1, length}) == linesOf(bytes, {1, length})) << length;
  }
  EXPECT_TRUE(dumpOf(bytes, allOf(bytes)) == linesOf(bytes, allOf(bytes)));
}

TEST(HexDump, goesOnPastOffsetsOfEightDigits) {
  const ReservedZeros zeros(0x1'0000'1000);
  const std::string rest =
      "  00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00  |................|\n";
  EXPECT_EQ(dumpOf(zeros.span(), {0xFFFF'FFE0, 64}),
            "FFFFFFE0" + rest + "FFFFFFF0" + rest + "100000000" + rest + "100000010" + rest);
  EXPECT_EQ(dumpOf(zeros.span(), {0xFFFF'FFEF, 48}),
            "FFFFFFEF" + rest + "FFFFFFFF" + rest + "10000000F" + rest);
}

TEST(HexDump, isHandedOnInPiecesOfAtMostAMebibyte) {
  const Bytes bytes(4 * kMiB);
  std::size_t total = 0;
  std::size_t pieces = 0;
  TaskProgress progress;
  const TextSink sink = [&](std::string_view piece) {
    EXPECT_LE(piece.size(), BufferedText::kCapacity);
    total += piece.size();
    ++pieces;
  };
  HexDumpExporter::produce(bytes, allOf(bytes), sink, progress);
  EXPECT_EQ(total, bytes.size() / 16 * 78);
  EXPECT_LE(pieces, total / BufferedText::kCapacity * 5 / 4 + 1);
}

TEST(HexDump, advancesTheProgressByTheBytesOfTheSelection) {
  const Bytes bytes(4 * kMiB);
  TaskProgress progress;
  double last = -1;
  const TextSink sink = [&](std::string_view) {
    EXPECT_GT(progress.fraction(), last);
    last = progress.fraction();
  };
  HexDumpExporter::produce(bytes, {kMiB, kMiB}, sink, progress);
  EXPECT_EQ(progress.fraction(), 1);
  EXPECT_EQ(last, 1);
}

TEST(HexDump, stopsWhenAskedTo) {
  const Bytes bytes(4 * kMiB);
  TaskProgress progress;
  int pieces = 0;
  const TextSink sink = [&](std::string_view) {
    ++pieces;
    progress.requestStop();
  };
  EXPECT_THAT([&] { HexDumpExporter::produce(bytes, allOf(bytes), sink, progress); },
              testing::Throws<Error>(testing::Property(&Error::isStopped, true)));
  EXPECT_EQ(pieces, 1);
}

#if QUILLMOR_MEMORY_IS_MEASURABLE
TEST(HexDump, takesLittleMemoryBesideTheDocument) {
  const ReservedZeros zeros(64 * kMiB);
  std::int64_t length = 0;
  const TextSink sink = [&length](std::string_view piece) { length += std::ssize(piece); };
  TaskProgress progress;
  EXPECT_LE(peakMemoryGrowth([&] {
              HexDumpExporter::produce(zeros.span(), allOf(zeros.span()), sink, progress);
            }),
            16 * kMiB);
  EXPECT_EQ(length, 64 * kMiB / 16 * 78);
}
#endif

class HexDumpFile : public ExporterTest {
 protected:
  const Bytes bytes_ = randomBytes(250'001, 2);
  const Export writing_ = [this](const ExportTarget& target, TaskProgress& progress) {
    HexDumpExporter::write(bytes_, target, progress);
  };
};

TEST_F(HexDumpFile, holdsTheDumpOfAllBytes) {
  expectWrites(writing_, linesOf(bytes_, allOf(bytes_)));
}

TEST_F(HexDumpFile, holdsTheDumpOfASelection) {
  const HexSelection range = {1001, 70'000};
  const Export writing = [&](const ExportTarget& target, TaskProgress& progress) {
    HexDumpExporter::write(bytes_, range, target, progress);
  };
  expectWrites(writing, linesOf(bytes_, range));
}

TEST_F(HexDumpFile, ofNothingIsEmpty) {
  TaskProgress progress;
  HexDumpExporter::write({}, {existing, {}}, progress);
  EXPECT_EQ(folder.read("existing.txt"), "");
}

TEST_F(HexDumpFile, isStoppedUntilItIsInstalled) {
  expectStopsAtEveryStage(writing_, linesOf(bytes_, allOf(bytes_)));
}

TEST_F(HexDumpFile, leavesTheDestinationWhenItFails) {
  expectLeavesTheDestinationWhenItFails(writing_);
}

}  // namespace
}  // namespace quillmor::test
