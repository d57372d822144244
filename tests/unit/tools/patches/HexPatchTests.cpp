#include "tools/patches/HexPatch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "base/SaturatingMath.h"
#include "support/ErrorMatchers.h"
#include "support/FileAccessTest.h"
#include "support/RandomBytes.h"
#include "support/Stopping.h"
#include "window/commands/WindowLimits.h"

namespace quillmor {
namespace {

using test::failsWith;
using testing::ElementsAre;
using Bytes = std::vector<std::uint8_t>;

constexpr std::int64_t kNoLimit = kMaxInt64;
constexpr const char* kGood = "QuillmorPatch 1\nOFFSET 0x00001000\nDATA DE AD BE EF\n";

std::string produced(const Bytes& bytes, std::int64_t offset) {
  std::string text;
  TaskProgress progress;
  produceHexPatch(
      bytes, offset, [&](std::string_view piece) { text += piece; }, progress);
  return text;
}

QuillmorPatch parsed(std::string_view text, std::int64_t maxDataBytes = kNoLimit) {
  return QuillmorPatch::parse(test::bytesOf(text), maxDataBytes);
}

/// The patch of two lines behind the header.
QuillmorPatch parsedFields(const std::string& lines) {
  return parsed("QuillmorPatch 1\n" + lines);
}

auto failsToParse(int code, const std::string& message) {
  return testing::ResultOf([](const std::string& text) { return [text] { parsed(text); }; },
                           failsWith(code, message));
}

const auto kNotUtf8 = failsToParse(2502, "Patch file is not valid UTF-8 text.");
const auto kTooManyLines =
    failsToParse(2503, "Patch contains more lines than the supported format.");
const auto kBadHeader = failsToParse(2504, "Invalid or unsupported Quillmor patch header.");
const auto kBadField = failsToParse(2505, "Patch contains an unsupported field.");
const auto kBadOffset = failsToParse(2506, "Patch must contain exactly one valid OFFSET field.");
const auto kBadData = failsToParse(2507, "Patch must contain exactly one non-empty DATA field.");
const auto kMalformed = failsToParse(2508, "Invalid Quillmor patch file.");

// --- writing ----------------------------------------------------------------------------------

TEST(HexPatch, writesThreeLines) {
  EXPECT_EQ(produced({0xDE, 0xAD, 0xBE, 0xEF}, 4096), kGood);
  EXPECT_EQ(produced({0x0A}, 0), "QuillmorPatch 1\nOFFSET 0x00000000\nDATA 0A\n");
  EXPECT_EQ(produced({0xFF}, 0x123456789AB), "QuillmorPatch 1\nOFFSET 0x123456789AB\nDATA FF\n");
  EXPECT_EQ(produced({0xFF}, kMaxInt64), "QuillmorPatch 1\nOFFSET 0x7FFFFFFFFFFFFFFF\nDATA FF\n");
  EXPECT_EQ(produced({}, 1), "QuillmorPatch 1\nOFFSET 0x00000001\nDATA \n");
}

TEST(HexPatch, separatesPiecesByOneBlank) {
  for (const std::size_t size : {15, 16, 17, 4095, 4096, 4097, 8191, 8192, 8193}) {
    const Bytes bytes = test::randomBytes(size, size);
    std::string expected = "QuillmorPatch 1\nOFFSET 0x00000007\nDATA";
    for (const std::uint8_t byte : bytes) {
      constexpr std::string_view kDigits = "0123456789ABCDEF";
      expected += {' ', kDigits[byte >> 4], kDigits[byte & 15]};
    }
    EXPECT_TRUE(produced(bytes, 7) == expected + "\n") << size;
  }
}

TEST(HexPatch, writingCountsBytesAndStopsWhenAsked) {
  TaskProgress progress;
  const Bytes bytes(10'000, 0x55);
  const TextSink ignored = [](std::string_view) {};
  produceHexPatch(bytes, 0, ignored, progress);
  EXPECT_EQ(progress.fraction(), 1);
  TaskProgress stopped;
  stopped.requestStop();
  EXPECT_THAT([&] { produceHexPatch(bytes, 0, ignored, stopped); }, test::isStopped());
}

// --- reading ----------------------------------------------------------------------------------

TEST(HexPatch, readsWhatItWrites) {
  const QuillmorPatch patch = parsed(kGood);
  EXPECT_EQ(patch.offset, 4096);
  EXPECT_THAT(patch.data, ElementsAre(0xDE, 0xAD, 0xBE, 0xEF));
  std::mt19937_64 random(5);
  for (int i = 0; i < 500; ++i) {
    const Bytes bytes = test::randomBytes(1 + random() % 300, random());
    const auto offset = static_cast<std::int64_t>(random() >> (1 + random() % 63));
    const QuillmorPatch again = parsed(produced(bytes, offset), std::ssize(bytes));
    EXPECT_EQ(again.offset, offset);
    EXPECT_TRUE(again.data == bytes);
  }
}

TEST(HexPatch, acceptsAFinalLineFeedAndNothingBehindIt) {
  const std::string lines = "QuillmorPatch 1\nOFFSET 1\nDATA AA";
  EXPECT_EQ(parsed(lines).offset, 1);
  EXPECT_EQ(parsed(lines + "\n").offset, 1);
  EXPECT_THAT(lines + "\n\n", kTooManyLines);
  EXPECT_THAT(lines + "\n\n\n\n\n", kTooManyLines);
  EXPECT_THAT(lines + "\nx\ny", kTooManyLines);
  // Empty lines count as lines wherever they stand, and say nothing.
  EXPECT_EQ(parsedFields("\nOFFSET 1\nDATA AA").offset, 1);
  EXPECT_THAT("QuillmorPatch 1\n\nOFFSET 1\nDATA AA\n", kTooManyLines);
}

TEST(HexPatch, readsFieldsInAnyOrderAndCase) {
  EXPECT_EQ(parsedFields("offset 0x10\nDATA AA").offset, 16);
  EXPECT_EQ(parsedFields("DATA AA\nOffSet 10h\n").offset, 16);
  EXPECT_THAT(parsedFields("dAtA aa:bb\noffset ff").data, ElementsAre(0xAA, 0xBB));
  // Letters outside ASCII that fold to ASCII ones elsewhere (the long s) do not here.
  EXPECT_THAT("QuillmorPatch 1\nOFF\u017FET 1\nDATA AA", kBadField);
}

TEST(HexPatch, readsKeysInLowerCase) {
  const QuillmorPatch patch = parsed("QuillmorPatch 1\noffset 0x00001000\ndata de ad be ef\n");
  EXPECT_EQ(patch.offset, 4096);
  EXPECT_THAT(patch.data, ElementsAre(0xDE, 0xAD, 0xBE, 0xEF));
  EXPECT_THAT("QuillmorPatch 1\noffset 1\nOFFSET 1\ndata AA", kBadOffset);
  EXPECT_THAT("QuillmorPatch 1\noffset 1\ndata AA\nDATA AA", kBadData);
}

TEST(HexPatch, readsTheHeaderInItsOwnCaseOnly) {
  for (const char* header : {"Quillmorpatch 1", "quillmorPatch 1", "quillmorpatch 1",
                             "QUILLMORPATCH 1", "qUILLMORpATCH 1"}) {
    EXPECT_THAT(std::string(header) + "\nOFFSET 1\nDATA AA", kBadHeader) << header;
    EXPECT_THAT(std::string(header) + "\noffset 1\ndata aa\n", kBadHeader) << header;
  }
}

TEST(HexPatch, rejectsKeysInLowerCaseThatAreOthers) {
  for (const char* key : {"o", "offse", "offsets", "ofset", "ofsfet", "0ffset",
                          "offset:", "offset=1", "length", "quillmorpatch"}) {
    EXPECT_THAT(std::string("QuillmorPatch 1\n") + key + " 1\ndata aa", kBadField) << key;
  }
  for (const char* key : {"d", "dat", "datas", "date", "data:", "adat", "dataoffset", "bytes"}) {
    EXPECT_THAT(std::string("QuillmorPatch 1\noffset 1\n") + key + " aa", kBadField) << key;
  }
}

TEST(HexPatch, takesNoCharacterOfAKeyForAnother) {
  const std::string before = "QuillmorPatch 1\n";
  for (const std::string& key : {std::string("OFFSET"), std::string("DATA")}) {
    const std::string other = key == "DATA" ? "\nOFFSET 1" : "\nDATA AA";
    const std::string value = key == "DATA" ? " AA" : " 1";
    for (std::size_t place = 0; place < key.size(); ++place) {
      for (char character = 0x21; character < 0x7F; ++character) {
        std::string changed = key;
        changed[place] = character;
        const bool isKey = character == key[place] || character == key[place] + ('a' - 'A');
        const std::string text = before + changed + value + other;
        if (isKey) {
          EXPECT_NO_THROW(parsed(text)) << changed;
        } else {
          EXPECT_THAT(text, kBadField) << changed;
        }
      }
    }
  }
}

TEST(HexPatch, readsEveryFormOfOffsetAndBytes) {
  EXPECT_EQ(parsedFields("OFFSET 10\nDATA AA").offset, 10);
  EXPECT_EQ(parsedFields("OFFSET 1F\nDATA AA").offset, 31);
  EXPECT_EQ(parsedFields("OFFSET +5\nDATA AA").offset, 5);
  EXPECT_EQ(parsedFields("OFFSET -0\nDATA AA").offset, 0);
  EXPECT_EQ(parsedFields("OFFSET 9223372036854775807\nDATA AA").offset, kMaxInt64);
  EXPECT_THAT(parsedFields("OFFSET 1\nDATA 0xDEAD be-ef,1").data,
              ElementsAre(0xDE, 0xAD, 0xBE, 0xEF, 1));
  EXPECT_THAT(parsedFields("OFFSET 1\nDATA AA\u00A0BB").data, ElementsAre(0xAA, 0xBB));
}

TEST(HexPatch, trimsTheHeaderKeysAndValues) {
  EXPECT_EQ(parsed("QuillmorPatch 1\r\nOFFSET 0x10\r\nDATA AA\r\n").offset, 16);
  EXPECT_EQ(parsed(" \t QuillmorPatch 1 \u00A0\nOFFSET 0x10\nDATA AA").offset, 16);
  EXPECT_EQ(parsedFields("  OFFSET \t 0x10 \t\n\tDATA\tAA BB ").offset, 16);
  EXPECT_EQ(parsedFields("\r\nOFFSET 1\r\nDATA AA").offset, 1);
  EXPECT_THAT("QuillmorPatch 1\nOFFSET0x10\nDATA AA", kBadField);
}

TEST(HexPatch, takesAnyWhiteSpaceBetweenKeyAndValue) {
  for (const char* space : {" ", "\t", "\v", "\f", "\r", "\u0085", "\u00A0", "\u1680", "\u2003",
                            "\u2028", "\u2029", "\u202F", "\u205F", "\u3000", "\u3000 \u00A0"}) {
    const auto patch = parsedFields(std::string("OFFSET") + space + "0x10\nDATA" + space + "AA");
    EXPECT_EQ(patch.offset, 16) << space;
    EXPECT_THAT(patch.data, ElementsAre(0xAA)) << space;
  }
  // Those without width are no white space.
  for (const char* other : {"\u200B", "\u2060", "\uFEFF"}) {
    EXPECT_THAT(std::string("QuillmorPatch 1\nOFFSET") + other + "1\nDATA AA", kBadField) << other;
  }
}

TEST(HexPatch, rejectsTextThatIsNotUtf8) {
  EXPECT_THAT("QuillmorPatch 1\nOFFSET 1\nDATA AA\xFF", kNotUtf8);
  EXPECT_THAT("QuillmorPatch 1\nOFFSET 1\nDATA \xC0\x80", kNotUtf8);
  EXPECT_THAT("\xED\xA0\x80", kNotUtf8);
  EXPECT_THAT(std::string(100, '\n') + '\x80', kNotUtf8);
}

TEST(HexPatch, rejectsOtherHeaders) {
  for (const char* header : {"", "QuillmorPatch", "QuillmorPatch 2", "quillmorpatch 1",
                             "QuillmorPatch  1", "QuillmorPatch 1 x", "\uFEFFQuillmorPatch 1"}) {
    EXPECT_THAT(std::string(header) + "\nOFFSET 1\nDATA AA", kBadHeader) << header;
  }
  EXPECT_THAT("", kBadHeader);
  EXPECT_THAT(std::string("QuillmorPatch 1\0", 16) + "\nOFFSET 1\nDATA AA", kBadHeader);
}

TEST(HexPatch, rejectsOtherFields) {
  EXPECT_THAT("QuillmorPatch 1\nOFFSET 1\nDATA AA\nNAME x", kBadField);
  EXPECT_THAT("QuillmorPatch 1\nOFFSET 1\nDATA AA\nNAME", kBadField);
  EXPECT_THAT("QuillmorPatch 1\nOFFSETS 1\nDATA AA", kBadField);
  EXPECT_THAT(std::string("QuillmorPatch 1\nOFFSET\0 1\nDATA AA", 32), kBadField);
}

TEST(HexPatch, needsExactlyOneValidOffset) {
  for (const char* lines :
       {"DATA AA", "OFFSET 1\nOFFSET 1\nDATA AA", "OFFSET\nDATA AA", "OFFSET \t\nDATA AA",
        "OFFSET -1\nDATA AA", "OFFSET 0x-1\nDATA AA", "OFFSET 9223372036854775808\nDATA AA",
        "OFFSET 1 2\nDATA AA", "OFFSET xyz\nDATA AA", "OFFSET 1FH\nDATA AA"}) {
    EXPECT_THAT(std::string("QuillmorPatch 1\n") + lines, kBadOffset) << lines;
  }
  EXPECT_THAT("QuillmorPatch 1", kBadOffset);
  EXPECT_THAT("QuillmorPatch 1\nOFFSET " + std::string(129, '0') + "\nDATA AA", kBadOffset);
  EXPECT_EQ(parsedFields("OFFSET " + std::string(128, '0') + "\nDATA AA").offset, 0);
}

TEST(HexPatch, needsExactlyOneNonEmptyData) {
  for (const char* lines :
       {"OFFSET 1", "OFFSET 1\nDATA AA\nDATA AA", "OFFSET 1\nDATA", "OFFSET 1\nDATA ",
        "OFFSET 1\nDATA ,", "OFFSET 1\nDATA GG", "OFFSET 1\nDATA ABC", "OFFSET 1\nDATA 0x"}) {
    EXPECT_THAT(std::string("QuillmorPatch 1\n") + lines, kBadData) << lines;
  }
  EXPECT_THAT(std::string("QuillmorPatch 1\nOFFSET 1\nDATA AA\0", 33), kBadData);
}

TEST(HexPatch, rejectsALineOfWhiteSpace) {
  EXPECT_THAT("QuillmorPatch 1\nOFFSET 1\nDATA AA\n ", kMalformed);
  EXPECT_THAT("QuillmorPatch 1\n\t\nOFFSET 1\nDATA AA", kMalformed);
  EXPECT_THAT("QuillmorPatch 1\nOFFSET 1\nDATA AA\n\u2003", kMalformed);
}

TEST(HexPatch, limitsTheNumberOfDataBytes) {
  constexpr const char* kMessage = "Patch must contain exactly one non-empty DATA field.";
  EXPECT_EQ(parsed(kGood, 5).data.size(), 4U);
  EXPECT_EQ(parsed(kGood, 4).data.size(), 4U);
  EXPECT_THAT([] { parsed(kGood, 3); }, failsWith(2507, kMessage));
  EXPECT_THAT([] { parsed(kGood, 0); }, failsWith(2507, kMessage));
}

TEST(HexPatch, reportsTheFirstFailureInTheOrderOfTheChecks) {
  const std::string everythingBad = "Header 9\n \nNAME x\nOFFSET -1\nDATA GG\xFF";
  EXPECT_THAT(everythingBad, kNotUtf8);
  EXPECT_THAT("Header 9\n \nNAME x\nOFFSET -1\nDATA GG", kTooManyLines);
  EXPECT_THAT("Header 9\n \nNAME x\nOFFSET -1", kBadHeader);
  EXPECT_THAT("QuillmorPatch 1\n \nOFFSET -1\nNAME x", kBadField);
  EXPECT_THAT("QuillmorPatch 1\n \nDATA GG\nOFFSET -1", kBadOffset);
  EXPECT_THAT("QuillmorPatch 1\n \nDATA GG\nOFFSET 1", kBadData);
  EXPECT_THAT("QuillmorPatch 1\n \nDATA 00\nOFFSET 1", kMalformed);
}

// --- stopping ---------------------------------------------------------------------------------

std::string repeated(std::string_view text, std::size_t count) {
  std::string result;
  result.reserve(text.size() * count);
  for (std::size_t i = 0; i < count; ++i) result += text;
  return result;
}

TEST(HexPatch, isNotParsedAnyFurtherWhenStopped) {
  TaskProgress stopped;
  stopped.requestStop();
  for (const char* text : {kGood, "", "x", "\xFF"}) {
    EXPECT_THAT([&] { QuillmorPatch::parse(test::bytesOf(text), kNoLimit, &stopped); },
                test::isStopped());
  }
}

TEST(HexPatch, stopsInTheMiddleOfAnyText) {
  constexpr std::size_t kMany = std::size_t{1} << 20;
  const std::string lines = "QuillmorPatch 1\nOFFSET 1\nDATA ";
  for (const std::string& text :
       {repeated("\u00A0", kMany), lines + repeated("\u00A0", kMany) + "AA",
        lines + "AA" + repeated("\u00A0", kMany), lines + "AA" + repeated("\u00A0", kMany) + "AA",
        lines + repeated("A ", kMany)}) {
    EXPECT_TRUE(test::stopsInTheMiddle([&](TaskProgress& progress) {
      QuillmorPatch::parse(test::bytesOf(text), kNoLimit, &progress);
    })) << text.size();
  }
}

// --- files ------------------------------------------------------------------------------------

class HexPatchFile : public test::FileAccessTest {
 protected:
  TaskProgress progress;
};

TEST_F(HexPatchFile, isReadUpToTheLimit) {
  const auto size = static_cast<std::int64_t>(std::string_view(kGood).size());
  const FileLocation file = folder.write("a.patch", kGood);
  EXPECT_EQ(QuillmorPatch::read(file, size, 4, progress).offset, 4096);
  EXPECT_THAT([&] { QuillmorPatch::read(file, size - 1, 4, progress); },
              failsWith(2501, "Patch file is too large to import safely."));
  EXPECT_THAT([&] { QuillmorPatch::read(file, size, 3, progress); },
              failsWith(2507, "Patch must contain exactly one non-empty DATA field."));
  EXPECT_THAT([&] { QuillmorPatch::read(folder.location("none"), size, 4, progress); },
              test::failsWithPosix(ENOENT));
}

TEST_F(HexPatchFile, sayingItIsTooLargeComesFirst) {
  const FileLocation file = folder.write("bad.patch", "\xFF\xFF");
  EXPECT_THAT([&] { QuillmorPatch::read(file, 1, 1, progress); },
              failsWith(2501, "Patch file is too large to import safely."));
  EXPECT_THAT([&] { QuillmorPatch::read(file, 2, 1, progress); },
              failsWith(2502, "Patch file is not valid UTF-8 text."));
}

TEST_F(HexPatchFile, isWrittenWholeOrNotAtAll) {
  const ExportTarget target{folder.location("out.patch"), {}};
  writeHexPatch(Bytes{0xDE, 0xAD, 0xBE, 0xEF}, 4096, target, progress);
  EXPECT_EQ(folder.read("out.patch"), kGood);
  TaskProgress stopped;
  stopped.requestStop();
  const ExportTarget other{folder.location("other.patch"), {}};
  EXPECT_THAT([&] { writeHexPatch(Bytes{1}, 0, other, stopped); }, test::isStopped());
  EXPECT_THAT(folder.names(), ElementsAre("out.patch"));
}

TEST_F(HexPatchFile, neverReplacesAProtectedFile) {
  const FileLocation file = folder.write("document.bin", "bytes");
  EXPECT_THAT(
      [&] {
        writeHexPatch(Bytes{1}, 0, {file, {file}}, progress);
      },
      testing::Throws<Error>());
  EXPECT_EQ(folder.read("document.bin"), "bytes");
}

TEST_F(HexPatchFile, ofTheLargestSizeIsReadAgain) {
  const Bytes bytes(static_cast<std::size_t>(maxPatchDataBytes), 0xA5);
  const FileLocation file = folder.location("large.patch");
  writeHexPatch(bytes, kMaxInt64, {file, {}}, progress);
  const auto patch = QuillmorPatch::read(file, maxPatchImportBytes, maxPatchDataBytes, progress);
  EXPECT_EQ(patch.offset, kMaxInt64);
  EXPECT_TRUE(patch.data == bytes);
}

}  // namespace
}  // namespace quillmor
