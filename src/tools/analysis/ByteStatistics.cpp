#include "tools/analysis/ByteStatistics.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "base/HexText.h"
#include "kernels/ByteTally.h"
#include "tools/analysis/AnalysisText.h"

namespace quillmor {
namespace {

constexpr std::size_t kCountColumnWidth = 11;
constexpr std::size_t kPercentColumnWidth = 6;

std::int64_t sumOf(std::span<const std::int64_t> counts) {
  return std::accumulate(counts.begin(), counts.end(), std::int64_t{0});
}

bool isPresent(std::int64_t count) {
  return count > 0;
}

std::string statisticsLines(const ByteCounts& counts, StatisticsScope scope) {
  const auto minimum = std::ranges::find_if(counts, isPresent) - counts.begin();
  const auto maximum = counts.rend() - std::find_if(counts.rbegin(), counts.rend(), isPresent) - 1;
  const auto printable = std::span(counts).subspan(0x20, 0x7E - 0x20 + 1);
  std::string text = "Scope: ";
  text += scope == StatisticsScope::selection ? "Selection" : "Document";
  text += "\nLength: " + std::to_string(sumOf(counts)) + " bytes";
  text += "\nEntropy: " + bitsPerByteText(entropyValue(counts));
  text += "\nUnique byte values: " + std::to_string(std::ranges::count_if(counts, isPresent));
  text += "\nMinimum byte: 0x" + uppercaseHex(minimum, 2);
  text += "\nMaximum byte: 0x" + uppercaseHex(maximum, 2);
  text += "\n00 bytes: " + std::to_string(counts[0x00]);
  text += "\nFF bytes: " + std::to_string(counts[0xFF]);
  text += "\nPrintable ASCII bytes: " + std::to_string(sumOf(printable));
  return text;
}

}  // namespace

ByteCounts byteCounts(std::span<const std::uint8_t> bytes, TaskProgress* progress) {
  TaskProgress unwatched;
  TaskProgress& watched = progress != nullptr ? *progress : unwatched;
  watched.setTotal(std::ssize(bytes));
  return countedInPieces(bytes, watched);
}

double entropyValue(const ByteCounts& counts) {
  const auto total = static_cast<double>(sumOf(counts));
  double entropy = 0;
  for (const std::int64_t count : counts) {
    if (!isPresent(count)) continue;
    const double part = static_cast<double>(count) / total;
    entropy -= part * std::log2(part);
  }
  // The sum of many rounded parts may pass what it cannot pass.
  return std::min(entropy, 8.0);
}

double entropyValue(std::span<const std::uint8_t> bytes) {
  return entropyValue(byteCounts(bytes));
}

std::string selectionStatisticsReport(std::span<const std::uint8_t> bytes, StatisticsScope scope,
                                      TaskProgress& progress) {
  const ByteCounts counts = byteCounts(bytes, &progress);
  return bytes.empty() ? "There are no bytes to analyze." : statisticsLines(counts, scope);
}

std::string frequencyReport(const ByteCounts& counts) {
  const std::int64_t total = sumOf(counts);
  std::string text = "Byte  Count      Percent\n---------------------------";
  for (std::size_t value = 0; value < counts.size(); ++value) {
    const std::string count = std::to_string(counts[value]);
    const double percent =
        total == 0 ? 0 : static_cast<double>(counts[value]) * 100 / static_cast<double>(total);
    const std::string percentText = fixedDecimal(percent, 3);
    text += '\n';
    text += uppercaseHexByteStrings[value];
    text += "  " + count;
    text.append(count.size() < kCountColumnWidth ? kCountColumnWidth - count.size() : 1, ' ');
    text.append(kPercentColumnWidth - std::min(percentText.size(), kPercentColumnWidth), ' ');
    text += percentText;
  }
  return text;
}

}  // namespace quillmor
