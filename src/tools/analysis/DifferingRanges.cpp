#include "tools/analysis/DifferingRanges.h"

#include <algorithm>
#include <optional>

#include "base/HexText.h"
#include "base/VisibleText.h"
#include "tools/analysis/ByteDifferences.h"

namespace quillmor {

namespace {

using Bytes = std::span<const std::uint8_t>;
using OnRange = std::function<void(const DifferingRange&)>;

/// Joins the differing bytes of a file, which come in order, to whole ranges.
class RangeJoiner {
 public:
  explicit RangeJoiner(const OnRange& onRange) : onRange_(onRange) {}

  /// `length` bytes from `offset` on differ.
  void add(std::int64_t offset, std::int64_t length) {
    if (open_ && open_->offset + open_->length == offset) {
      open_->length += length;
      open_->otherLength += length;
      return;
    }
    finish();
    open_ = DifferingRange{offset, length, length};
  }

  void addWhole(const DifferingRange& range) {
    finish();
    open_ = range;
    finish();
  }

  void finish() {
    if (!open_) return;
    ++count_;
    onRange_(*open_);
    open_.reset();
  }

  std::int64_t count() const { return count_; }

 private:
  const OnRange& onRange_;
  std::optional<DifferingRange> open_;
  std::int64_t count_ = 0;
};

std::string lengthText(const DifferingRange& range) {
  std::string text = std::to_string(range.length);
  if (range.length != range.otherLength) text += " -> " + std::to_string(range.otherLength);
  return text + (range.otherLength == 1 ? " byte" : " bytes");
}

std::string bytesText(Bytes bytes, std::int64_t offset, std::int64_t length,
                      std::int64_t maximumByteCount) {
  if (length == 0) return "(none)";
  const auto shown = static_cast<std::size_t>(std::min(length, maximumByteCount));
  std::string text;
  for (const std::uint8_t byte : bytes.subspan(static_cast<std::size_t>(offset), shown)) {
    if (!text.empty()) text += ' ';
    text += uppercaseHexByteStrings[byte];
  }
  return length > maximumByteCount ? text + " ..." : text;
}

}  // namespace

std::int64_t forEachDifferingRange(const ComparedBytes& compared, TaskProgress& progress,
                                   const OnRange& onRange) {
  const std::int64_t count = std::ssize(compared.bytes);
  const std::int64_t otherCount = std::ssize(compared.others);
  const std::int64_t common = std::min(count, otherCount);
  progress.setTotal(common);
  RangeJoiner joiner(onRange);
  constexpr std::int64_t kStep = static_cast<std::int64_t>(kMaskedPieceSize);
  for (std::int64_t begin = 0; begin < common; begin += kStep) {
    const std::int64_t length = std::min(kStep, common - begin);
    forEachDifference(compared.bytes.data() + begin, compared.others.data() + begin,
                      static_cast<std::size_t>(length), progress,
                      [&](std::size_t place, std::uint64_t mask) {
                        forEachRun(mask, [&](int first, int runLength) {
                          joiner.add(begin + static_cast<std::int64_t>(place) + first, runLength);
                        });
                      });
    progress.advance(length);
  }
  if (count != otherCount) joiner.addWhole({common, count - common, otherCount - common});
  joiner.finish();
  return joiner.count();
}

std::string differingRangeLine(const DifferingRange& range, const ComparedBytes& compared,
                               std::int64_t maximumByteCount) {
  return offsetText(range.offset) + "  " + lengthText(range) + "  " +
         bytesText(compared.bytes, range.offset, range.length, maximumByteCount) + " -> " +
         bytesText(compared.others, range.offset, range.otherLength, maximumByteCount);
}

std::string recoveredDifferencesReport(const ComparedBytes& compared, const std::string& name,
                                       TaskProgress& progress) {
  std::string report = "File: " + visibleText(name) +
                       "\nSize of the file: " + std::to_string(compared.bytes.size()) +
                       " bytes\nRecovered size: " + std::to_string(compared.others.size()) +
                       " bytes\n\nOffset, length, bytes of the file -> recovered bytes\n";
  std::int64_t listed = 0;
  const std::int64_t count =
      forEachDifferingRange(compared, progress, [&](const DifferingRange& range) {
        if (listed == kMaximumListedRanges) return;
        ++listed;
        report += differingRangeLine(range, compared) + "\n";
      });
  report += "\nRanges: " + std::to_string(count);
  if (count > listed) report += "\nShowing first " + std::to_string(listed) + " ranges.";
  return report;
}

}  // namespace quillmor
