#include "tools/FileComparison.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <utility>

#include "base/HexText.h"
#include "fileaccess/StableReading.h"
#include "tools/ByteDifferences.h"

namespace quillmor {

namespace {

using Bytes = std::span<const std::uint8_t>;

/// Reads the file beside the document. `onBytes(current, other, offset)` takes equally many bytes
/// of both, in order, up to the end of the shorter one. Returns the size of the file.
template <typename OnBytes>
std::int64_t readBeside(Bytes current, const FileLocation& location, TaskProgress& progress,
                        OnBytes onBytes) {
  const auto read = SecureFileAccess::processStableFile(
      location, std::nullopt, [](std::int64_t) { return std::size_t{0}; },
      [&](std::size_t& place, Bytes chunk) {
        const Bytes beside = current.subspan(std::min(place, current.size()));
        const std::size_t common = std::min(chunk.size(), beside.size());
        onBytes(beside.first(common), chunk.first(common), place);
        place += chunk.size();
      },
      &progress);
  return read.processedByteCount;
}

std::int64_t countDiffering(Bytes a, Bytes b) {
  return static_cast<std::int64_t>(
      fastestByteMaskKernels().countDiffering(a.data(), b.data(), a.size()));
}

/// The rows of a listing, and the number of all differences.
class Listing {
 public:
  explicit Listing(const TaskProgress& progress) : progress_(progress) {}

  void add(Bytes current, Bytes other, std::size_t place) {
    const std::int64_t differing = countDiffering(current, other);
    if (differing > 0 && !isFull()) {
      forEachDifference(current.data(), other.data(), current.size(), progress_,
                        [&](std::size_t begin, std::uint64_t mask) {
                          forEachBit(mask, [&](int bit) {
                            const std::size_t i = begin + static_cast<std::size_t>(bit);
                            if (!isFull()) addRow(place + i, current[i], other[i]);
                          });
                        });
    }
    total_ += differing;
  }

  const std::string& rows() const { return rows_; }
  std::int64_t total() const { return total_; }
  bool isCut() const { return total_ > rowCount_; }

 private:
  bool isFull() const { return rowCount_ == kMaximumListedDifferences; }

  void addRow(std::size_t place, std::uint8_t current, std::uint8_t other) {
    rows_.append("0x").append(uppercaseHex(static_cast<std::int64_t>(place), 8));
    rows_.append("  0x").append(uppercaseHexByteStrings[current]);
    rows_.append("     0x").append(uppercaseHexByteStrings[other]).append("\n");
    ++rowCount_;
  }

  const TaskProgress& progress_;
  std::string rows_;
  std::int64_t rowCount_ = 0;
  std::int64_t total_ = 0;
};

}  // namespace

FileComparison compareWithFile(Bytes current, const FileLocation& other, TaskProgress& progress) {
  FileComparison result;
  result.currentCount = static_cast<std::int64_t>(current.size());
  result.otherCount =
      readBeside(current, other, progress, [&](Bytes mine, Bytes theirs, std::size_t place) {
        const std::int64_t differing = countDiffering(mine, theirs);
        if (differing > 0 && !result.firstMismatch) {
          const auto first = std::ranges::mismatch(mine, theirs).in1 - mine.begin();
          result.firstMismatch = static_cast<std::int64_t>(place) + first;
        }
        result.mismatchCount += differing;
      });
  if (result.currentCount != result.otherCount) {
    result.mismatchCount += std::abs(result.currentCount - result.otherCount);
    if (!result.firstMismatch) {
      result.firstMismatch = std::min(result.currentCount, result.otherCount);
    }
  }
  return result;
}

std::string comparisonSummary(const FileComparison& comparison, const std::string& name) {
  if (!comparison.firstMismatch) {
    return "Files are identical.\n\nCompared file: " + name +
           "\nSize: " + std::to_string(comparison.currentCount) + " bytes";
  }
  return "Files are different.\n\nCompared file: " + name +
         "\nCurrent size: " + std::to_string(comparison.currentCount) +
         " bytes\nOther size: " + std::to_string(comparison.otherCount) +
         " bytes\nDifference count: " + std::to_string(comparison.mismatchCount) +
         "\nFirst difference: 0x" + uppercaseHex(*comparison.firstMismatch, 8);
}

ComparisonListing compareWindowReport(Bytes current, const FileLocation& comparedFile,
                                      const std::string& name, TaskProgress& progress) {
  Listing listing(progress);
  const std::int64_t otherCount = readBeside(
      current, comparedFile, progress,
      [&](Bytes mine, Bytes theirs, std::size_t place) { listing.add(mine, theirs, place); });
  const auto currentCount = static_cast<std::int64_t>(current.size());
  std::string report = "Compared file: " + name +
                       "\nCurrent size: " + std::to_string(currentCount) +
                       "\nOther size: " + std::to_string(otherCount) +
                       "\n\n"
                       "Offset      Current  Other\n"
                       "----------------------------\n";
  report.append(listing.rows());
  if (currentCount != otherCount) {
    report +=
        "Size differs by " + std::to_string(std::abs(currentCount - otherCount)) + " byte(s).\n";
  }
  report += "Total differences: " + std::to_string(listing.total());
  if (listing.isCut()) {
    report += "\nShowing first " + std::to_string(kMaximumListedDifferences) + " differences.";
  }
  return {std::move(report), listing.total() == 0 && currentCount == otherCount};
}

}  // namespace quillmor
