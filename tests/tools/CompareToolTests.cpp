// Differences beside those that cmp lists: the offset from 1 on in decimal, both values in octal.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <ios>
#include <sstream>
#include <string>
#include <vector>

#include "ToolFixture.h"
#include "support/RandomBytes.h"
#include "tools/analysis/FileComparison.h"
#include "tools/export/DifferenceReportExporter.h"

namespace quillmor::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

class CompareTool : public ToolFixture {
 protected:
  void expectSame(const Bytes& current, const Bytes& other) {
    write("current.bin", current);
    const auto otherFile = write("other.bin", other);
    TaskProgress progress;
    const std::int64_t differences = DifferenceReportExporter::write(
        current, otherFile, "other.bin", {folder.location("ours.txt"), {}}, progress);
    const int status = current == other ? 0 : 1;
    const std::string theirs =
        outputOf("cmp -l current.bin other.bin 2>/dev/null | sed 's/^ *//; s/  */ /g'");
    const auto count = std::ranges::count(theirs, '\n');
    const std::string ours = comparable(folder.read("ours.txt"));
    EXPECT_TRUE(ours == theirs);
    expectSameCounts(current, otherFile, count);
    EXPECT_EQ(differences, count + lengthDifference(current, other));
    outputOf("cmp -s current.bin other.bin", status);
  }

 private:
  static std::int64_t lengthDifference(const Bytes& a, const Bytes& b) {
    return std::abs(static_cast<std::int64_t>(a.size()) - static_cast<std::int64_t>(b.size()));
  }

  /// What the comparisons say of `count` differing bytes below the shorter length.
  void expectSameCounts(const Bytes& current, const FileLocation& other, std::int64_t count) {
    TaskProgress progress;
    const FileComparison comparison = compareWithFile(current, other, progress);
    EXPECT_EQ(comparison.mismatchCount,
              count + std::abs(comparison.currentCount - comparison.otherCount));
    const std::string listing = compareWindowReport(current, other, "other.bin", progress).text;
    EXPECT_NE(listing.find("\nTotal differences: " + std::to_string(count)), std::string::npos);
  }

  /// The report's lines of bytes that both sides have, as cmp writes them.
  static std::string comparable(const std::string& report) {
    std::istringstream lines(report);
    std::ostringstream result;
    std::string line;
    while (std::getline(lines, line) && !line.starts_with("---")) {
    }
    while (std::getline(lines, line) && !line.empty()) {
      if (line.find("<EOF>") != std::string::npos) continue;
      std::istringstream columns(line);
      std::uint64_t offset = 0;
      unsigned current = 0;
      unsigned other = 0;
      columns >> std::hex >> offset >> current >> other;
      result << std::dec << offset + 1 << std::oct << ' ' << current << ' ' << other << '\n';
    }
    return result.str();
  }
};

TEST_F(CompareTool, findsTheSameWhereAFewBytesDiffer) {
  const Bytes current = randomBytes(3'000'001, 1);
  Bytes other = current;
  for (std::size_t i = 17; i < other.size(); i += 4099) other[i] ^= 1;
  other.back() ^= 0x80;
  expectSame(current, other);
}

TEST_F(CompareTool, findsTheSameInRandomData) {
  expectSame(randomBytes(60'000, 1), randomBytes(60'000, 2));
}

TEST_F(CompareTool, findsTheSameInFilesOfOtherLengths) {
  const Bytes longer = randomBytes(1'060'000, 3);
  Bytes shorter(longer.begin(), longer.begin() + 1'048'576);
  shorter[5] ^= 2;
  expectSame(longer, shorter);
  expectSame(shorter, longer);
}

TEST_F(CompareTool, findsNothingInEqualFiles) {
  const Bytes bytes = randomBytes(1'048'577, 4);
  expectSame(bytes, bytes);
  expectSame({}, {});
}

TEST_F(CompareTool, takesEmptyFiles) {
  expectSame({}, {1, 2, 3});
  expectSame({1, 2, 3}, {});
}

}  // namespace
}  // namespace quillmor::test
