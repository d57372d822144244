#include "tools/analysis/FileComparison.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <utility>
#include <vector>

#include "base/ByteUnits.h"
#include "base/HexText.h"
#include "base/OrderedPieces.h"
#include "base/VisibleText.h"
#include "fileaccess/StableFile.h"
#include "tools/analysis/ByteDifferences.h"

namespace quillmor {

namespace {

using Bytes = std::span<const std::uint8_t>;

/// Small enough to stay in a core's own cache, twice, between being read and being compared.
constexpr std::int64_t kPieceByteCount = 256 * kKiB;
constexpr std::int64_t kFewPieces = 16;

/// Reads the file beside the document. `onBytes(current, other, offset)` takes equally many bytes
/// of both, in order, up to the end of the shorter one. Returns the size of the file.
template <typename OnBytes>
std::int64_t readBeside(Bytes current, const FileLocation& location, TaskProgress& progress,
                        OnBytes onBytes) {
  const StableFile file(location);
  progress.setTotal(file.size());
  std::size_t place = 0;
  file.forEachChunk(
      [&](Bytes chunk) {
        const Bytes beside = current.subspan(std::min(place, current.size()));
        const std::size_t common = std::min(chunk.size(), beside.size());
        onBytes(beside.first(common), chunk.first(common), place);
        place += chunk.size();
      },
      &progress);
  return file.size();
}

std::int64_t countDiffering(Bytes a, Bytes b) {
  return static_cast<std::int64_t>(
      fastestByteMaskKernels().countDiffering(a.data(), b.data(), a.size()));
}

/// Adds the differences of equally many bytes at `offset`; called with growing offsets.
void addDifferences(Bytes current, Bytes other, std::int64_t offset, FileComparison& found) {
  const std::int64_t differing = countDiffering(current, other);
  if (differing > 0 && !found.firstMismatch) {
    const auto first = std::ranges::mismatch(current, other).in1 - current.begin();
    found.firstMismatch = offset + first;
  }
  found.mismatchCount += differing;
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
    rows_.append(offsetText(static_cast<std::int64_t>(place)));
    rows_.append("  ").append(hexText(current));
    rows_.append("     ").append(hexText(other)).append("\n");
    ++rowCount_;
  }

  const TaskProgress& progress_;
  std::string rows_;
  std::int64_t rowCount_ = 0;
  std::int64_t total_ = 0;
};

/// The result for files whose common part has been compared.
void addLengths(std::int64_t currentCount, std::int64_t otherCount, FileComparison& result) {
  result.currentCount = currentCount;
  result.otherCount = otherCount;
  if (currentCount == otherCount) return;
  result.mismatchCount += std::abs(currentCount - otherCount);
  if (!result.firstMismatch) result.firstMismatch = std::min(currentCount, otherCount);
}

/// The result of one thread for the pieces that it compares.
struct PieceComparer {
  std::vector<std::uint8_t> current;
  std::vector<std::uint8_t> other;
  FileComparison found;

  void compare(const ComparedFile& currentFile, const ComparedFile& otherFile, std::int64_t offset,
               std::int64_t byteCount) {
    current.resize(static_cast<std::size_t>(byteCount));
    other.resize(current.size());
    currentFile.read(offset, current);
    otherFile.read(offset, other);
    addDifferences(current, other, offset, found);
  }
};

}  // namespace

FileComparison compareWithFile(Bytes current, const FileLocation& other, TaskProgress& progress) {
  FileComparison result;
  const std::int64_t otherCount =
      readBeside(current, other, progress, [&](Bytes mine, Bytes theirs, std::size_t place) {
        addDifferences(mine, theirs, static_cast<std::int64_t>(place), result);
      });
  addLengths(std::ssize(current), otherCount, result);
  return result;
}

FileComparison compareFiles(const ComparedFile& current, const ComparedFile& other,
                            TaskProgress& progress) {
  const std::int64_t common = std::min(current.size, other.size);
  const std::int64_t pieceCount = (common + kPieceByteCount - 1) / kPieceByteCount;
  progress.setTotal(common);
  std::array<PieceComparer, kMaximumPieceWorkers> comparers;
  forEachPieceInOrder(
      pieceCount, /*mayShare=*/pieceCount > kFewPieces, [&](std::int64_t index, int worker) {
        progress.checkpoint();
        const std::int64_t offset = index * kPieceByteCount;
        const std::int64_t byteCount = std::min(kPieceByteCount, common - offset);
        comparers.at(static_cast<std::size_t>(worker)).compare(current, other, offset, byteCount);
        progress.advance(byteCount);
        return true;
      });
  FileComparison result;
  for (const auto& [mine, theirs, found] : comparers) {
    result.mismatchCount += found.mismatchCount;
    if (found.firstMismatch)
      result.firstMismatch = std::min(result.firstMismatch.value_or(common), *found.firstMismatch);
  }
  addLengths(current.size, other.size, result);
  return result;
}

std::string comparisonSummary(const FileComparison& comparison, const std::string& name) {
  if (!comparison.firstMismatch) {
    return "Files are identical.\n\nCompared file: " + visibleText(name) +
           "\nSize: " + std::to_string(comparison.currentCount) + " bytes";
  }
  return "Files are different.\n\nCompared file: " + visibleText(name) +
         "\nCurrent size: " + std::to_string(comparison.currentCount) +
         " bytes\nOther size: " + std::to_string(comparison.otherCount) +
         " bytes\nDifference count: " + std::to_string(comparison.mismatchCount) +
         "\nFirst difference: " + offsetText(*comparison.firstMismatch);
}

ComparisonListing compareWindowReport(Bytes current, const FileLocation& comparedFile,
                                      const std::string& name, TaskProgress& progress) {
  Listing listing(progress);
  const std::int64_t otherCount = readBeside(
      current, comparedFile, progress,
      [&](Bytes mine, Bytes theirs, std::size_t place) { listing.add(mine, theirs, place); });
  const auto currentCount = std::ssize(current);
  std::string report = "Compared file: " + visibleText(name) +
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
