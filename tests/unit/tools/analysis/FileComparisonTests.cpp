#include "tools/analysis/FileComparison.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <string>

#include "support/ComparedFileTest.h"
#include "support/ErrorMatchers.h"

namespace quillmor {
namespace {

using test::bytesOf;
using test::failsWith;
using test::failsWithPosix;
using test::SystemCall;

class FileComparisons : public test::ComparedFileTest {
 protected:
  FileComparison compared(std::string_view document, std::string_view file) {
    folder.write("other.bin", file);
    TaskProgress own;
    return compareWithFile(bytesOf(document), other, own);
  }

  std::string summary(std::string_view document, std::string_view file) {
    return comparisonSummary(compared(document, file), "other.bin");
  }

  std::string listing(std::string_view document, std::string_view file) {
    folder.write("other.bin", file);
    TaskProgress own;
    return compareWindowReport(bytesOf(document), other, "other.bin", own).text;
  }

  bool isListedAsIdentical(std::string_view document, std::string_view file) {
    folder.write("other.bin", file);
    TaskProgress own;
    return compareWindowReport(bytesOf(document), other, "other.bin", own).isIdentical;
  }
};

TEST_F(FileComparisons, findIdenticalFilesIdentical) {
  EXPECT_EQ(compared("0123456789", "0123456789"), (FileComparison{10, 10, std::nullopt, 0}));
  EXPECT_EQ(summary("0123456789", "0123456789"),
            "Files are identical.\n\nCompared file: other.bin\nSize: 10 bytes");
  EXPECT_EQ(listing("0123456789", "0123456789"),
            "Compared file: other.bin\n"
            "Current size: 10\n"
            "Other size: 10\n"
            "\n"
            "Offset      Current  Other\n"
            "----------------------------\n"
            "Total differences: 0");
}

TEST_F(FileComparisons, countTheBytesOfALongerFile) {
  EXPECT_EQ(compared("0123456789", "0123456789ab"), (FileComparison{10, 12, 10, 2}));
  EXPECT_EQ(summary("0123456789", "0123456789ab"),
            "Files are different.\n\nCompared file: other.bin\nCurrent size: 10 bytes\n"
            "Other size: 12 bytes\nDifference count: 2\nFirst difference: 0x0000000A");
  EXPECT_EQ(listing("0123456789", "0123456789ab"),
            "Compared file: other.bin\n"
            "Current size: 10\n"
            "Other size: 12\n"
            "\n"
            "Offset      Current  Other\n"
            "----------------------------\n"
            "Size differs by 2 byte(s).\n"
            "Total differences: 0");
}

TEST_F(FileComparisons, countTheBytesOfALongerDocument) {
  EXPECT_EQ(compared("0123456789abc", "0123456789"), (FileComparison{13, 10, 10, 3}));
  EXPECT_EQ(listing("0x23456789abc", "0123456789"),
            "Compared file: other.bin\n"
            "Current size: 13\n"
            "Other size: 10\n"
            "\n"
            "Offset      Current  Other\n"
            "----------------------------\n"
            "0x00000001  0x78     0x31\n"
            "Size differs by 3 byte(s).\n"
            "Total differences: 1");
}

TEST_F(FileComparisons, takeEmptyDocumentsAndFiles) {
  EXPECT_EQ(compared("", ""), (FileComparison{0, 0, std::nullopt, 0}));
  EXPECT_EQ(compared("", "abc"), (FileComparison{0, 3, 0, 3}));
  EXPECT_EQ(compared("abc", ""), (FileComparison{3, 0, 0, 3}));
  EXPECT_EQ(summary("", ""), "Files are identical.\n\nCompared file: other.bin\nSize: 0 bytes");
  EXPECT_EQ(listing("", "a"),
            "Compared file: other.bin\nCurrent size: 0\nOther size: 1\n\n"
            "Offset      Current  Other\n----------------------------\n"
            "Size differs by 1 byte(s).\nTotal differences: 0");
}

TEST_F(FileComparisons, nameTheFirstDifferenceBeforeTheEnd) {
  EXPECT_EQ(compared("abcdef", "abXdeYgh"), (FileComparison{6, 8, 2, 4}));
  EXPECT_EQ(comparisonSummary({1, 1, 0x123456789A, 1}, "x"),
            "Files are different.\n\nCompared file: x\nCurrent size: 1 bytes\nOther size: 1 bytes\n"
            "Difference count: 1\nFirst difference: 0x123456789A");
}

TEST_F(FileComparisons, listTheValuesOfBothSides) {
  EXPECT_EQ(listing(std::string_view("\x00\xAB\x0F", 3), std::string_view("\xFF\xAB\x00", 3)),
            "Compared file: other.bin\n"
            "Current size: 3\n"
            "Other size: 3\n"
            "\n"
            "Offset      Current  Other\n"
            "----------------------------\n"
            "0x00000000  0x00     0xFF\n"
            "0x00000002  0x0F     0x00\n"
            "Total differences: 2");
}

std::string rows(std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    std::array<char, 40> row{};
    std::snprintf(row.data(), row.size(), "0x%08zX  0x61     0x62\n", i);
    text += row.data();
  }
  return text;
}

TEST_F(FileComparisons, listThreeHundredDifferencesAtMost) {
  for (const std::size_t count : {299U, 300U, 301U, 1000U}) {
    const std::string size = std::to_string(count);
    std::string expected = "Compared file: other.bin\nCurrent size: " + size +
                           "\nOther size: " + size +
                           "\n\nOffset      Current  Other\n----------------------------\n" +
                           rows(std::min<std::size_t>(count, 300)) + "Total differences: " + size;
    if (count > 300) expected += "\nShowing first 300 differences.";
    EXPECT_EQ(listing(std::string(count, 'a'), std::string(count, 'b')), expected);
  }
}

TEST_F(FileComparisons, haveTheirClosingLinesInOrder) {
  const std::string report = listing(std::string(301, 'a'), std::string(310, 'b'));
  EXPECT_TRUE(
      report.ends_with("0x0000012B  0x61     0x62\n"
                       "Size differs by 9 byte(s).\n"
                       "Total differences: 301\n"
                       "Showing first 300 differences."));
}

TEST_F(FileComparisons, listTheFirstDifferencesOfManyChunks) {
  std::string document = test::patternedText(3 * kMiB + 100);
  std::string file = document;
  for (std::size_t i = 0; i < document.size(); i += 10'000)
    document[i] = static_cast<char>(~file[i]);
  const std::string report = listing(document, file);
  EXPECT_EQ(std::ranges::count(report, '\n'), 6 + 300 + 1);
  EXPECT_NE(report.find("\n0x002D9FB0  0x"), std::string::npos) << "the 300th: 2,990,000";
  EXPECT_TRUE(report.ends_with("\nTotal differences: 315\nShowing first 300 differences."))
      << report.substr(report.size() - 80);
}

TEST_F(FileComparisons, findDifferencesAtTheBordersOfChunks) {
  const std::string file = test::patternedText(2 * kMiB + 70);
  for (const std::size_t place :
       {std::size_t{0}, kMiB - 1, kMiB, 2 * kMiB - 1, 2 * kMiB, file.size() - 1}) {
    std::string document = file;
    document[place] = static_cast<char>(~document[place]);
    EXPECT_EQ(compared(document, file), (FileComparison{static_cast<std::int64_t>(file.size()),
                                                        static_cast<std::int64_t>(file.size()),
                                                        static_cast<std::int64_t>(place), 1}));
    EXPECT_TRUE(listing(document, file).ends_with("\nTotal differences: 1")) << place;
  }
}

TEST_F(FileComparisons, takeChunksOfAnyLength) {
  const std::string file = test::patternedText(50'000);
  std::string document = file.substr(0, 40'000);
  document[7] = static_cast<char>(~document[7]);
  document[39'999] = static_cast<char>(~document[39'999]);
  calls.limitCount(SystemCall::pread, test::FaultySystemCalls::kEvery, 997);
  EXPECT_EQ(compared(document, file), (FileComparison{40'000, 50'000, 7, 10'002}));
  EXPECT_TRUE(
      listing(document, file).ends_with("\nSize differs by 10000 byte(s).\nTotal differences: 2"));
}

/// The slow obvious way.
FileComparison plainComparison(std::string_view document, std::string_view file) {
  FileComparison result{static_cast<std::int64_t>(document.size()),
                        static_cast<std::int64_t>(file.size()), std::nullopt, 0};
  for (std::size_t i = 0; i < std::max(document.size(), file.size()); ++i) {
    if (i < document.size() && i < file.size() && document[i] == file[i]) continue;
    if (!result.firstMismatch) result.firstMismatch = static_cast<std::int64_t>(i);
    ++result.mismatchCount;
  }
  return result;
}

TEST_F(FileComparisons, agreeWithThePlainWayOnRandomData) {
  for (std::size_t i = 0; i < 60; ++i) {
    std::string document = test::patternedText(i * i * 37);
    std::string file = test::patternedText(i * i * 37 + i % 3);
    for (std::size_t j = i; j < document.size(); j += 1 + i * 31) {
      document[j] = static_cast<char>(document[j] ^ 1);
    }
    if (i % 4 == 0) document.resize(document.size() / 2);
    EXPECT_EQ(compared(document, file), plainComparison(document, file)) << i;
  }
}

TEST_F(FileComparisons, tellWhetherTheListingIsOfEqualFiles) {
  EXPECT_TRUE(isListedAsIdentical("", ""));
  EXPECT_TRUE(isListedAsIdentical("abc", "abc"));
  EXPECT_FALSE(isListedAsIdentical("abc", "abd"));
  EXPECT_FALSE(isListedAsIdentical("abc", "abcd")) << "a longer file";
  EXPECT_FALSE(isListedAsIdentical("abcd", "abc")) << "a shorter file";
  EXPECT_FALSE(isListedAsIdentical("", "a"));
  EXPECT_FALSE(isListedAsIdentical("a", ""));
  EXPECT_FALSE(isListedAsIdentical("xbc", "abcd"));
  const std::string large = test::patternedText(2 * kMiB + 1);
  EXPECT_TRUE(isListedAsIdentical(large, large));
  std::string changed = large;
  changed.back() = static_cast<char>(~changed.back());
  EXPECT_FALSE(isListedAsIdentical(large, changed));
}

TEST_F(FileComparisons, refuseAFileThatChangesMeanwhile) {
  const std::string content = test::patternedText(2 * kMiB);
  folder.write("other.bin", content);
  calls.before(SystemCall::pread, 2, [&] { folder.append("other.bin", "x"); });
  EXPECT_THAT([&] { compareWithFile(bytesOf(content), other, progress); },
              failsWith(1204, kChangedWhileReading));
  folder.write("other.bin", content);
  const int soFar = calls.count(SystemCall::pread);
  calls.before(SystemCall::pread, soFar + 2, [&] { folder.append("other.bin", "x"); });
  EXPECT_THAT([&] { compareWindowReport(bytesOf(content), other, "x", progress); },
              failsWith(1204, kChangedWhileReading));
}

TEST_F(FileComparisons, refuseWhatIsNoFile) {
  EXPECT_THAT([&] { compareWithFile({}, other, progress); }, failsWithPosix(ENOENT));
  EXPECT_THAT([&] { compareWindowReport({}, other, "x", progress); }, failsWithPosix(ENOENT));
  const auto directory = FileLocation::fromPath(folder.path().native());
  EXPECT_THAT([&] { compareWithFile({}, directory, progress); },
              failsWith(1201, "Directories cannot be opened as binary files."));
}

TEST_F(FileComparisons, stopBetweenTwoChunks) {
  const std::string content = test::patternedText(3 * kMiB);
  folder.write("other.bin", content);
  calls.before(SystemCall::pread, 2, [&] { progress.requestStop(); });
  const auto stops = testing::Throws<Error>(testing::Property(&Error::isStopped, true));
  EXPECT_THAT([&] { compareWithFile(bytesOf(content), other, progress); }, stops);
  EXPECT_EQ(calls.count(SystemCall::pread), 2);
  EXPECT_THAT([&] { compareWindowReport(bytesOf(content), other, "x", progress); }, stops);
}

TEST_F(FileComparisons, tellTheirProgress) {
  folder.write("other.bin", test::patternedText(2 * kMiB));
  double half = -1;
  calls.before(SystemCall::pread, 2, [&] { half = progress.fraction(); });
  compareWithFile(bytesOf("abc"), other, progress);
  EXPECT_EQ(half, 0.5);
  EXPECT_EQ(progress.fraction(), 1);
}

}  // namespace
}  // namespace quillmor
