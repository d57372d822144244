#include "tools/export/ASCIIStringsExporter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "support/ErrorMatchers.h"
#include "support/FileAccessTest.h"
#include "support/GuardedBytes.h"
#include "support/RandomBytes.h"
#include "tools/text/PrintableRuns.h"

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Span = std::span<const std::uint8_t>;
using test::bytesOf;
using testing::ElementsAre;

constexpr std::int64_t kNoLimit = std::numeric_limits<std::int64_t>::max();
constexpr const char* kHeader = "Offset      Length  String\n";
constexpr const char* kNote =
    "\nOutput truncated to fit the viewer limit. Export ASCII Strings to write the complete "
    "report.\n";

/// What the closing lines may need: their texts and two numbers of 19 digits.
const std::int64_t kClosingRoom = static_cast<std::int64_t>(
    std::string(kNote).size() + std::string("Displayed strings: \nTotal strings found: \n").size() +
    2 * 19);

std::string listed(Span bytes, std::int64_t minimumLength) {
  std::string list;
  TaskProgress progress;
  ASCIIStringsExporter::produce(
      bytes, minimumLength,
      [&](std::string_view piece) {
        EXPECT_LE(piece.size(), BufferedText::kCapacity);
        list += piece;
      },
      progress);
  return list;
}

std::string extracted(Span bytes, std::int64_t minimumLength, std::int64_t maxReportCharacters,
                      std::int64_t maxEntries) {
  TaskProgress progress;
  return ASCIIStringsExporter::extract(bytes, minimumLength, maxReportCharacters, maxEntries,
                                       progress);
}

/// Both forms, which are to be the same where nothing is cut.
std::string stringsIn(std::string_view text, std::int64_t minimumLength) {
  std::string list = listed(bytesOf(text), minimumLength);
  EXPECT_TRUE(list == extracted(bytesOf(text), minimumLength, kNoLimit, kNoLimit));
  return list;
}

/// The slow obvious way.
std::string plainList(Span bytes, std::int64_t minimumLength) {
  std::string list;
  std::string run;
  for (std::size_t i = 0; i <= bytes.size(); ++i) {
    if (i < bytes.size() && bytes[i] >= 0x20 && bytes[i] <= 0x7E) {
      run += static_cast<char>(bytes[i]);
      continue;
    }
    if (!run.empty() && static_cast<std::int64_t>(run.size()) >= minimumLength) {
      std::array<char, 64> prefix{};
      std::snprintf(prefix.data(), prefix.size(), "%08zX  %zu  ", i - run.size(), run.size());
      list += prefix.data() + run + "\n";
    }
    run.clear();
  }
  if (!list.empty()) return kHeader + list;
  return "No printable ASCII strings with minimum length " + std::to_string(minimumLength) +
         " were found.\n";
}

TEST(ASCIIStrings, listTheFourLettersAndNotTheThree) {
  EXPECT_EQ(stringsIn(std::string_view("abc\0abcd", 8), 4),
            "Offset      Length  String\n"
            "00000004  4  abcd\n");
}

TEST(ASCIIStrings, sayThatThereAreNone) {
  EXPECT_EQ(stringsIn("", 4), "No printable ASCII strings with minimum length 4 were found.\n");
  EXPECT_EQ(stringsIn("abc", 4), "No printable ASCII strings with minimum length 4 were found.\n");
  EXPECT_EQ(stringsIn("\t\n\x7F\x80\xFF", 1),
            "No printable ASCII strings with minimum length 1 were found.\n");
  EXPECT_EQ(stringsIn("abc", kNoLimit),
            "No printable ASCII strings with minimum length 9223372036854775807 were found.\n");
  EXPECT_EQ(extracted(bytesOf("abc"), 4, 0, 0),
            "No printable ASCII strings with minimum length 4 were found.\n");
}

TEST(ASCIIStrings, areRunsFromSpaceToTilde) {
  EXPECT_EQ(stringsIn("\x1F \x7F~\x80!\x1F}\xA0", 1),
            "Offset      Length  String\n"
            "00000001  1   \n"
            "00000003  1  ~\n"
            "00000005  1  !\n"
            "00000007  1  }\n");
}

TEST(ASCIIStrings, areFoundByEveryKernelFromSpaceToTildeAtEveryPlaceOfAMask) {
  using Run = std::pair<std::int64_t, std::int64_t>;
  for (const ByteMaskKernels* kernels : availableByteMaskKernels()) {
    SCOPED_TRACE(kernels->name);
    for (std::size_t place = 1; place < 130; ++place) {
      for (const std::uint8_t outside : Bytes{0x00, 0x1F, 0x7F, 0x80, 0xA0, 0xFF}) {
        Bytes bytes(200, outside);
        bytes[place] = 0x20;
        bytes[place + 1] = 0x7E;
        bytes[place + 2] = outside == 0x1F ? 0x7F : 0x1F;
        bytes[place + 3] = 0x21;
        bytes[place + 4] = 0x7D;
        std::vector<Run> runs;
        TaskProgress progress;
        forEachPrintableRun(
            bytes, 2, progress,
            [&](std::int64_t begin, std::int64_t end) { runs.emplace_back(begin, end); }, *kernels);
        const auto begin = static_cast<std::int64_t>(place);
        ASSERT_THAT(runs, ElementsAre(Run(begin, begin + 2), Run(begin + 3, begin + 5)));
      }
    }
  }
}

TEST(ASCIIStrings, qualifyFromTheMinimumLengthOn) {
  const std::string text = "abcd\nabcde\nabcdef";
  EXPECT_EQ(stringsIn(text, 5),
            "Offset      Length  String\n"
            "00000005  5  abcde\n"
            "0000000B  6  abcdef\n");
  EXPECT_EQ(stringsIn(text, 6), "Offset      Length  String\n0000000B  6  abcdef\n");
  EXPECT_EQ(stringsIn(text, 7), "No printable ASCII strings with minimum length 7 were found.\n");
}

TEST(ASCIIStrings, listAWholeTextAsOneString) {
  EXPECT_EQ(stringsIn("Hello, world", 12), std::string(kHeader) + "00000000  12  Hello, world\n");
}

TEST(ASCIIStrings, haveTheirOffsetsInUppercaseDigits) {
  const std::string text = std::string(0xABCDEF, '\0') + "text";
  EXPECT_EQ(stringsIn(text, 4), std::string(kHeader) + "00ABCDEF  4  text\n");
}

TEST(ASCIIStrings, crossTheBordersOfMasksAndPieces) {
  constexpr std::size_t kPiece = kMaskedPieceSize;
  for (const std::size_t border : {std::size_t{64}, std::size_t{128}, kPiece, 2 * kPiece}) {
    for (const std::size_t before : {0U, 1U, 3U, 63U, 64U, 65U}) {
      if (before > border) continue;
      for (const std::size_t behind : {0U, 1U, 2U, 63U, 64U, 65U, 128U}) {
        if (before + behind == 0) continue;
        const std::string run(before + behind, 'x');
        const std::string text =
            std::string(border - before, '\0') + run + std::string(70, '\x80') + "yy";
        for (const std::size_t longer : {std::size_t{0}, std::size_t{1}}) {
          const auto minimum = static_cast<std::int64_t>(run.size() + longer);
          ASSERT_TRUE(listed(bytesOf(text), minimum) == plainList(bytesOf(text), minimum))
              << border << " - " << before << " + " << behind << ", minimum " << minimum;
        }
      }
    }
  }
}

TEST(ASCIIStrings, endWithTheData) {
  for (const std::size_t size : {63U, 64U, 65U, 127U, 128U, 129U}) {
    const std::string text(size, 'e');
    const std::string line = "00000000  " + std::to_string(size) + "  " + text + "\n";
    const auto length = static_cast<std::int64_t>(size);
    EXPECT_EQ(stringsIn(text, 1), kHeader + line);
    EXPECT_EQ(stringsIn(text, length), kHeader + line);
    EXPECT_EQ(stringsIn(text, length + 1), plainList(bytesOf(text), length + 1));
  }
}

/// Random bytes of which one in `every` is not printable.
Bytes textWithGaps(std::size_t size, unsigned every, std::uint64_t seed) {
  Bytes bytes = test::randomBytes(size, seed);
  std::mt19937_64 random(seed + 1);
  for (std::uint8_t& byte : bytes) {
    byte = random() % every == 0 ? static_cast<std::uint8_t>(byte | 0x80)
                                 : static_cast<std::uint8_t>(0x20 + byte % 95);
  }
  return bytes;
}

TEST(ASCIIStrings, agreeWithThePlainWayOnRandomData) {
  GuardedBytes guarded(80'000);
  for (const unsigned every : {1U, 2U, 3U, 10U, 40U, 64U, 100U, 1000U, 100'000U}) {
    const std::size_t size = 70'000 + every % 64;
    const auto bytes = guarded.atEnd(textWithGaps(size, every, every));
    for (const std::int64_t minimum : {1, 2, 3, 4, 5, 7, 8, 16, 31, 33, 62, 63, 64, 65, 127, 200}) {
      ASSERT_TRUE(listed(bytes, minimum) == plainList(bytes, minimum)) << every << ' ' << minimum;
    }
  }
  for (std::int64_t minimum = 1; minimum <= 130; ++minimum) {
    const Bytes bytes = textWithGaps(5000, 50, static_cast<std::uint64_t>(minimum));
    ASSERT_TRUE(listed(bytes, minimum) == plainList(bytes, minimum)) << minimum;
  }
}

TEST(ASCIIStrings, agreeWithThePlainWayOnShortData) {
  GuardedBytes guarded(200);
  for (std::size_t size = 0; size <= 200; ++size) {
    const auto bytes = guarded.atEnd(textWithGaps(size, 6, size));
    for (const std::int64_t minimum : {1, 4, 6}) {
      ASSERT_TRUE(listed(bytes, minimum) == plainList(bytes, minimum)) << size << ' ' << minimum;
    }
  }
}

TEST(ASCIIStrings, handOnAVeryLongStringInPieces) {
  const Bytes bytes(5 * BufferedText::kCapacity + 3, 'A');
  EXPECT_TRUE(listed(bytes, 4) == plainList(bytes, 4));
  for (const std::size_t size : {4095U, 4096U, 4097U}) {
    const std::string text = std::string(size, 'B') + '\0' + std::string(size, 'C');
    EXPECT_TRUE(listed(bytesOf(text), 4) == plainList(bytesOf(text), 4)) << size;
  }
}

TEST(ASCIIStrings, stopInAVeryLongString) {
  const Bytes bytes(5 * BufferedText::kCapacity, 'A');
  TaskProgress progress;
  int pieces = 0;
  const TextSink sink = [&](std::string_view) {
    if (++pieces == 2) progress.requestStop();
  };
  EXPECT_THAT([&] { ASCIIStringsExporter::produce(bytes, 4, sink, progress); },
              testing::Throws<Error>(testing::Property(&Error::isStopped, true)));
  EXPECT_EQ(pieces, 2);
}

TEST(ASCIIStrings, tellTheirProgress) {
  const Bytes bytes(3'000'000, '\0');
  TaskProgress progress;
  ASCIIStringsExporter::produce(
      bytes, 4, [](std::string_view) {}, progress);
  EXPECT_EQ(progress.fraction(), 1);
  TaskProgress viewed;
  ASCIIStringsExporter::extract(bytes, 4, kNoLimit, kNoLimit, viewed);
  EXPECT_EQ(viewed.fraction(), 1);
}

TEST(ASCIIStrings, passOnWhatTheSinkThrows) {
  const TextSink sink = [](std::string_view) { throw Error::quillmor(42, "full"); };
  TaskProgress progress;
  EXPECT_THAT([&] { ASCIIStringsExporter::produce(bytesOf("abcd"), 4, sink, progress); },
              test::failsWith(42, "full"));
}

TEST(ASCIIStringsDeathTest, needAMinimumLength) {
  EXPECT_DEATH(stringsIn("abcd", 0), "a minimum length of 1 or more");
}

TEST(ASCIIStringsViewer, showsAsManyStringsAsAllowed) {
  const auto text = bytesOf("one1\ntwo2\nthree");
  const std::string all =
      "Offset      Length  String\n00000000  4  one1\n00000005  4  two2\n0000000A  5  three\n";
  EXPECT_EQ(extracted(text, 4, kNoLimit, 4), all);
  EXPECT_EQ(extracted(text, 4, kNoLimit, 3), all);
  EXPECT_EQ(
      extracted(text, 4, kNoLimit, 2),
      "Offset      Length  String\n00000000  4  one1\n00000005  4  two2\n"
      "\nOutput truncated to fit the viewer limit. Export ASCII Strings to write the complete "
      "report.\n"
      "Displayed strings: 2\n"
      "Total strings found: 3\n");
  EXPECT_EQ(extracted(text, 4, kNoLimit, 0), std::string(kHeader) + kNote +
                                                 "Displayed strings: 0\n"
                                                 "Total strings found: 3\n");
}

TEST(ASCIIStringsViewer, keepsItsTextWithTheClosingLinesBelowTheLimit) {
  const auto text = bytesOf("one1\ntwo2\nthree");
  const std::string two = "Offset      Length  String\n00000000  4  one1\n00000005  4  two2\n";
  const std::string all = two + "0000000A  5  three\n";
  const auto exact = static_cast<std::int64_t>(all.size()) + kClosingRoom;
  EXPECT_EQ(extracted(text, 4, exact + 1, 10), all);
  EXPECT_EQ(extracted(text, 4, exact, 10), all);
  const std::string cut = extracted(text, 4, exact - 1, 10);
  EXPECT_EQ(cut, two + kNote + "Displayed strings: 2\nTotal strings found: 3\n");
  EXPECT_LT(static_cast<std::int64_t>(cut.size()), exact - 1);
}

TEST(ASCIIStringsViewer, showsNoStringWithoutRoom) {
  const std::string none = std::string(kHeader) + kNote +
                           "Displayed strings: 0\n"
                           "Total strings found: 1\n";
  EXPECT_EQ(extracted(bytesOf("text"), 4, 0, 10), none);
  EXPECT_EQ(extracted(bytesOf("text"), 4, kClosingRoom, 10), none);
}

TEST(ASCIIStringsViewer, endsItsListWithAStringLongerThanTheLimit) {
  const std::string text = "first\n" + std::string(2'000'000, 'A') + "\nthird\nlast";
  const std::string report = extracted(bytesOf(text), 4, 1'000'000, 10);
  EXPECT_EQ(report, std::string(kHeader) + "00000000  5  first\n" + kNote +
                        "Displayed strings: 1\nTotal strings found: 4\n");
}

TEST(ASCIIStringsViewer, countsOnToTheEnd) {
  std::string text;
  for (int i = 0; i < 60'000; ++i) text += "text\n";
  const std::string report =
      extracted(bytesOf(text), 4, 4'194'304, ASCIIStringsExporter::kMaximumReportEntries);
  EXPECT_TRUE(report.ends_with(std::string("0003D08B  4  text\n") + kNote +
                               "Displayed strings: 50000\nTotal strings found: 60000\n"))
      << report.substr(report.size() - 200);
}

TEST(ASCIIStringsViewer, stopsWhenAsked) {
  TaskProgress progress;
  progress.requestStop();
  EXPECT_THAT(
      [&] { ASCIIStringsExporter::extract(bytesOf("text"), 4, kNoLimit, kNoLimit, progress); },
      testing::Throws<Error>(testing::Property(&Error::isStopped, true)));
}

class ASCIIStringsFile : public test::FileAccessTest {
 protected:
  void write(Span bytes) {
    ASCIIStringsExporter::write(bytes, 4, {folder.location("out.txt"), {}}, progress);
  }

  TaskProgress progress;
};

TEST_F(ASCIIStringsFile, holdsEveryString) {
  std::string text;
  for (int i = 0; i < 60'000; ++i) text += "text\n";
  write(bytesOf(text));
  const std::string content = folder.read("out.txt");
  EXPECT_TRUE(content == plainList(bytesOf(text), 4));
  EXPECT_TRUE(content.ends_with("000493DB  4  text\n")) << content.substr(content.size() - 40);
  EXPECT_EQ(progress.fraction(), 1);
}

TEST_F(ASCIIStringsFile, holdsTheSentenceThatThereIsNone) {
  write({});
  EXPECT_EQ(folder.read("out.txt"),
            "No printable ASCII strings with minimum length 4 were found.\n");
}

TEST_F(ASCIIStringsFile, refusesProtectedDestinations) {
  const auto document = folder.write("document.bin", "text");
  EXPECT_THAT(
      [&] {
        ASCIIStringsExporter::write(bytesOf("text"), 4, {document, {document}}, progress);
      },
      test::failsWith(
          1206,
          "Choose a different output destination. Writing to document.bin would overwrite "
          "an open document or another input file."));
  EXPECT_EQ(folder.read("document.bin"), "text");
}

TEST_F(ASCIIStringsFile, isThereWholeOrNotAtAllWheneverAStopComes) {
  const Bytes bytes(BufferedText::kCapacity, 'A');
  const std::string expected = plainList(bytes, 4);
  write(bytes);
  const auto callsMade = calls.log();
  std::map<test::SystemCall, int> counts;
  int stopped = 0;
  for (const test::SystemCall kind : callsMade) {
    std::filesystem::remove(folder.path() / "out.txt");
    TaskProgress stoppable;
    test::FaultySystemCalls stopping;
    const ScopedSystemCalls scope(stopping);
    stopping.before(kind, ++counts[kind], [&] { stoppable.requestStop(); });
    const std::string error = test::errorText([&] {
      ASCIIStringsExporter::write(bytes, 4, {folder.location("out.txt"), {}}, stoppable);
    });
    if (error == "no error") {
      EXPECT_TRUE(folder.read("out.txt") == expected);
    } else {
      EXPECT_TRUE(folder.names().empty());
      ++stopped;
    }
  }
  EXPECT_GT(stopped, 3);
  EXPECT_LT(stopped, static_cast<int>(callsMade.size()));
}

}  // namespace
}  // namespace quillmor
