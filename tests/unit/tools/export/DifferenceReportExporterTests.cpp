#include "tools/export/DifferenceReportExporter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <map>
#include <string>

#include "support/ComparedFileTest.h"
#include "support/ErrorMatchers.h"
#include "tools/export/DifferenceLines.h"

namespace quillmor {
namespace {

using test::bytesOf;
using test::failsWith;
using test::failsWithPosix;
using test::SystemCall;

const auto stops = testing::Throws<Error>(testing::Property(&Error::isStopped, true));

class DifferenceReports : public test::ComparedFileTest {
 protected:
  /// The report of both, whose number of differences is to be what it says.
  std::string report(std::string_view document, std::string_view file) {
    folder.write("other.bin", file);
    std::string text;
    TaskProgress own;
    const std::int64_t count = DifferenceReportExporter::produce(
        bytesOf(document), other, "other.bin",
        [&](std::string_view piece) {
          EXPECT_LE(piece.size(), BufferedText::kCapacity);
          text += piece;
        },
        own);
    EXPECT_EQ(own.fraction(), document.empty() && file.empty() ? -1 : 1);
    EXPECT_NE(text.find("\n\nTotal differences: " + std::to_string(count)), std::string::npos);
    return text;
  }

  std::int64_t write(std::string_view document, const FileLocation& to) {
    return DifferenceReportExporter::write(bytesOf(document), other, "other.bin", {to, {}},
                                           progress);
  }

  const FileLocation destination = folder.location("out.txt");
};

std::string header(std::size_t currentSize, std::size_t comparedSize) {
  return "Quillmor Difference Report\n"
         "Compared file: other.bin\n"
         "Current size: " +
         std::to_string(currentSize) + " bytes\nCompared size: " + std::to_string(comparedSize) +
         " bytes\n"
         "\n"
         "Offset      Current  Compared\n"
         "-----------------------------\n";
}

/// The slow obvious way.
std::string plainReport(std::string_view document, std::string_view file) {
  std::string text = header(document.size(), file.size());
  std::size_t count = 0;
  const auto column = [](std::string_view bytes, std::size_t i) -> std::string {
    if (i >= bytes.size()) return "<EOF>";
    std::array<char, 8> value{};
    std::snprintf(value.data(), value.size(), "0x%02X", bytes[i] & 0xFF);
    return value.data();
  };
  for (std::size_t i = 0; i < std::max(document.size(), file.size()); ++i) {
    if (i < document.size() && i < file.size() && document[i] == file[i]) continue;
    std::array<char, 24> offset{};
    std::snprintf(offset.data(), offset.size(), "%08zX  ", i);
    text += offset.data() + column(document, i) + "     " + column(file, i) + "\n";
    ++count;
  }
  text += "\nTotal differences: " + std::to_string(count);
  if (count == 0) text += "\nResult: files are identical.";
  return text;
}

TEST_F(DifferenceReports, sayThatEqualFilesAreIdentical) {
  EXPECT_EQ(report("0123456789", "0123456789"),
            "Quillmor Difference Report\n"
            "Compared file: other.bin\n"
            "Current size: 10 bytes\n"
            "Compared size: 10 bytes\n"
            "\n"
            "Offset      Current  Compared\n"
            "-----------------------------\n"
            "\n"
            "Total differences: 0\n"
            "Result: files are identical.");
}

TEST_F(DifferenceReports, takeEmptyDocumentsAndFiles) {
  EXPECT_EQ(report("", ""), header(0, 0) +
                                "\n"
                                "Total differences: 0\n"
                                "Result: files are identical.");
  EXPECT_EQ(report("", "\xAB"), header(0, 1) +
                                    "00000000  <EOF>     0xAB\n"
                                    "\n"
                                    "Total differences: 1");
  EXPECT_EQ(report("\x0C", ""), header(1, 0) +
                                    "00000000  0x0C     <EOF>\n"
                                    "\n"
                                    "Total differences: 1");
}

TEST_F(DifferenceReports, listBothValues) {
  EXPECT_EQ(report(std::string_view("\x00\xAB\x0F", 3), std::string_view("\xFF\xAB\x00", 3)),
            "Quillmor Difference Report\n"
            "Compared file: other.bin\n"
            "Current size: 3 bytes\n"
            "Compared size: 3 bytes\n"
            "\n"
            "Offset      Current  Compared\n"
            "-----------------------------\n"
            "00000000  0x00     0xFF\n"
            "00000002  0x0F     0x00\n"
            "\n"
            "Total differences: 2");
}

TEST_F(DifferenceReports, listTheRestOfTheLongerFile) {
  EXPECT_EQ(report("aXc", "abcde"), header(3, 5) +
                                        "00000001  0x58     0x62\n"
                                        "00000003  <EOF>     0x64\n"
                                        "00000004  <EOF>     0x65\n"
                                        "\n"
                                        "Total differences: 3");
}

TEST_F(DifferenceReports, listTheRestOfTheLongerDocument) {
  EXPECT_EQ(report("aXcde", "abc"), header(5, 3) +
                                        "00000001  0x58     0x62\n"
                                        "00000003  0x64     <EOF>\n"
                                        "00000004  0x65     <EOF>\n"
                                        "\n"
                                        "Total differences: 3");
}

TEST_F(DifferenceReports, haveWiderOffsetsFromFourGibibytesOn) {
  std::string text;
  const TextSink sink = [&](std::string_view piece) { text += piece; };
  BufferedText buffer(sink);
  DifferenceLines lines(buffer, progress);
  lines.appendDiffering(bytesOf("ab"), bytesOf("cd"), 0xFFFFFFFF);
  lines.appendOnlyCurrent(bytesOf("e"), 0x123456789A);
  lines.appendOnlyCompared(bytesOf("f"), std::int64_t{0x7FFFFFFFFFFFFFFF});
  buffer.flush();
  EXPECT_EQ(text,
            "FFFFFFFF  0x61     0x63\n"
            "100000000  0x62     0x64\n"
            "123456789A  0x65     <EOF>\n"
            "7FFFFFFFFFFFFFFF  <EOF>     0x66\n");
  EXPECT_EQ(lines.count(), 4);
}

TEST_F(DifferenceReports, findDifferencesAtTheBordersOfChunks) {
  const std::string file = test::patternedText(2 * kMiB + 70);
  std::string document = file;
  for (const std::size_t place :
       {std::size_t{0}, kMiB - 1, kMiB, 2 * kMiB - 1, 2 * kMiB, file.size() - 1}) {
    document[place] = static_cast<char>(~document[place]);
  }
  EXPECT_TRUE(report(document, file) == plainReport(document, file));
}

TEST_F(DifferenceReports, endAtTheBordersOfChunks) {
  const std::string longest = test::patternedText(kMiB + 2);
  const std::string_view all = longest;
  for (const std::size_t size : {kMiB - 1, kMiB, kMiB + 1}) {
    EXPECT_TRUE(report(all, all.substr(0, size)) == plainReport(all, all.substr(0, size)));
    EXPECT_TRUE(report(all.substr(0, size), all) == plainReport(all.substr(0, size), all));
  }
}

TEST_F(DifferenceReports, takeChunksOfAnyLength) {
  const std::string file = test::patternedText(50'000);
  const std::string document = test::patternedText(40'000) + "x";
  calls.limitCount(SystemCall::pread, test::FaultySystemCalls::kEvery, 997);
  EXPECT_TRUE(report(document, file) == plainReport(document, file));
}

TEST_F(DifferenceReports, haveNoLimit) {
  const std::string document(200'000, 'a');
  EXPECT_TRUE(report(document, std::string(200'000, 'b')) ==
              plainReport(document, std::string(200'000, 'b')));
  EXPECT_TRUE(report(document, "") == plainReport(document, ""));
  EXPECT_TRUE(report("", document) == plainReport("", document));
}

TEST_F(DifferenceReports, agreeWithThePlainWayOnRandomData) {
  for (std::size_t i = 0; i < 60; ++i) {
    std::string document = test::patternedText(i * i * 37);
    const std::string file = test::patternedText(i * i * 37 + i % 3);
    for (std::size_t j = i; j < document.size(); j += 1 + i % 7 * 31) {
      document[j] = static_cast<char>(document[j] ^ 1 << i % 8);
    }
    if (i % 4 == 0) document.resize(document.size() / 2);
    EXPECT_TRUE(report(document, file) == plainReport(document, file)) << i;
  }
}

TEST_F(DifferenceReports, areWrittenToFiles) {
  const std::string document = test::patternedText(100'000);
  const std::string file = document.substr(0, 60'000) + std::string(50'000, 'x');
  folder.write("other.bin", file);
  const std::string expected = plainReport(document, file);
  const std::int64_t count = write(document, destination);
  EXPECT_TRUE(folder.read("out.txt") == expected);
  EXPECT_TRUE(expected.ends_with("\nTotal differences: " + std::to_string(count)));
  EXPECT_THAT(folder.names(), testing::ElementsAre("other.bin", "out.txt"));
}

auto wouldOverwrite(const std::string& name) {
  return failsWith(1206, "Choose a different output destination. Writing to " + name +
                             " would overwrite an open document or another input file.");
}

TEST_F(DifferenceReports, doNotOverwriteTheComparedFile) {
  folder.write("other.bin", "abc");
  EXPECT_THAT([&] { write("abd", other); }, wouldOverwrite("other.bin"));
  const auto link = folder.location("link.bin");
  std::filesystem::create_hard_link(other.path(), link.path());
  EXPECT_THAT([&] { write("abd", link); }, wouldOverwrite("link.bin"));
  EXPECT_EQ(folder.read("other.bin"), "abc");
  EXPECT_THAT(folder.names(), testing::ElementsAre("link.bin", "other.bin"));
}

TEST_F(DifferenceReports, doNotOverwriteOtherProtectedFiles) {
  folder.write("other.bin", "abc");
  const auto document = folder.write("document.bin", "abd");
  EXPECT_THAT(
      [&] {
        DifferenceReportExporter::write(bytesOf("abd"), other, "other.bin", {document, {document}},
                                        progress);
      },
      failsWith(1206,
                "Choose a different output destination. Writing to document.bin would overwrite "
                "an open document or another input file."));
  EXPECT_EQ(folder.read("document.bin"), "abd");
}

TEST_F(DifferenceReports, leaveNothingWhenTheFileChangesMeanwhile) {
  const std::string content = test::patternedText(2 * kMiB);
  folder.write("other.bin", content);
  calls.before(SystemCall::pread, 2, [&] { folder.append("other.bin", "x"); });
  EXPECT_THAT([&] { write(content, destination); }, failsWith(1204, kChangedWhileReading));
  EXPECT_THAT(folder.names(), testing::ElementsAre("other.bin"));
}

TEST_F(DifferenceReports, leaveNothingWhenThereIsNoFile) {
  EXPECT_THAT([&] { write("abc", destination); }, failsWithPosix(ENOENT));
  EXPECT_TRUE(folder.names().empty());
}

TEST_F(DifferenceReports, areThereWholeOrNotAtAllWheneverAStopComes) {
  const std::string document = test::patternedText(kMiB + 30'000);
  const std::string file = std::string(20'000, 'x') + document.substr(20'000, kMiB - 15'000);
  folder.write("other.bin", file);
  const std::string expected = plainReport(document, file);
  write(document, destination);
  std::map<SystemCall, int> counts;
  int stopped = 0;
  for (const SystemCall kind : calls.log()) {
    std::filesystem::remove(destination.path());
    TaskProgress stoppable;
    test::FaultySystemCalls stopping;
    const ScopedSystemCalls scope(stopping);
    stopping.before(kind, ++counts[kind], [&] { stoppable.requestStop(); });
    const std::string error = test::errorText([&] {
      DifferenceReportExporter::write(bytesOf(document), other, "other.bin", {destination, {}},
                                      stoppable);
    });
    if (error == "no error") {
      EXPECT_TRUE(folder.read("out.txt") == expected);
    } else {
      EXPECT_THAT(folder.names(), testing::ElementsAre("other.bin"));
      ++stopped;
    }
  }
  EXPECT_GT(stopped, 8);
  EXPECT_LT(stopped, static_cast<int>(calls.log().size()));
}

TEST_F(DifferenceReports, areThereWholeOrNotAtAllWhicheverCallFails) {
  const std::string document = test::patternedText(2000);
  folder.write("other.bin", document + "x");
  const std::string expected = plainReport(document, document + "x");
  write(document, destination);
  const auto callCount = static_cast<int>(calls.log().size());
  for (int nth = 1; nth <= callCount; ++nth) {
    std::filesystem::remove(destination.path());
    test::FaultySystemCalls faulty;
    const ScopedSystemCalls scope(faulty);
    faulty.failCall(nth, EIO);
    if (test::errorText([&] { write(document, destination); }) == "no error") {
      EXPECT_TRUE(folder.read("out.txt") == expected) << nth;
    } else {
      EXPECT_THAT(folder.names(), testing::ElementsAre("other.bin")) << nth;
    }
  }
}

TEST_F(DifferenceReports, stopWithinAChunk) {
  const std::string many(400'000, 'a');
  folder.write("other.bin", std::string(many.size(), 'b'));
  int pieces = 0;
  const TextSink sink = [&](std::string_view) {
    if (++pieces == 1) progress.requestStop();
  };
  const auto compare = [&](std::string_view document) {
    return [&, document] {
      DifferenceReportExporter::produce(bytesOf(document), other, "x", sink, progress);
    };
  };
  EXPECT_THAT(compare(many), stops);
  EXPECT_LE(pieces, 3) << "of ten";
}

TEST_F(DifferenceReports, stopInBothTails) {
  const std::string many(400'000, 'a');
  for (const bool isCurrent : {true, false}) {
    TaskProgress stoppable;
    int pieces = 0;
    const TextSink sink = [&](std::string_view) {
      if (++pieces == 2) stoppable.requestStop();
    };
    BufferedText text(sink);
    DifferenceLines lines(text, stoppable);
    const auto append = [&] {
      if (isCurrent) {
        lines.appendOnlyCurrent(bytesOf(many), 0);
      } else {
        lines.appendOnlyCompared(bytesOf(many), 0);
      }
    };
    EXPECT_THAT(append, stops);
    EXPECT_LE(pieces, 3) << "of ten";
  }
}

}  // namespace
}  // namespace quillmor
