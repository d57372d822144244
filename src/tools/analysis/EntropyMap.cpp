#include <algorithm>
#include <cmath>

#include "base/HexText.h"
#include "base/PieceWork.h"
#include "kernels/ByteTally.h"
#include "tools/analysis/AnalysisText.h"
#include "tools/analysis/ByteStatistics.h"

namespace quillmor {
namespace {

constexpr std::int64_t kChunk = EntropyMap::kChunkByteCount;
constexpr std::size_t kLengthColumnWidth = 6;

static_assert(kWorkPieceSize % kChunk == 0);

/// The share of a byte value in the entropy of a whole chunk, by its number of occurrences.
using PartTable = std::array<double, static_cast<std::size_t>(kChunk) + 1>;

const PartTable& partTable() {
  static const PartTable table = [] {
    PartTable parts{};
    for (std::size_t count = 1; count < parts.size(); ++count) {
      const double part = static_cast<double>(count) / static_cast<double>(kChunk);
      parts[count] = part * std::log2(part);
    }
    return parts;
  }();
  return table;
}

/// The same sum as `entropyValue`, in the same order, so that both round alike.
double entropyOfWholeChunk(std::span<const std::uint8_t> chunk) {
  const PartTable& parts = partTable();
  double entropy = 0;
  for (const std::uint32_t count : byteTally(chunk)) entropy -= parts[count];
  return std::min(entropy, 8.0);
}

double entropyOfChunk(std::span<const std::uint8_t> chunk) {
  if (std::ssize(chunk) == kChunk) return entropyOfWholeChunk(chunk);
  ByteCounts counts{};
  addTally(counts, byteTally(chunk));
  return entropyValue(counts);
}

std::string chunkLine(std::int64_t offset, std::int64_t length, double entropy) {
  const std::string lengthText = std::to_string(length);
  std::string line = uppercaseHex(offset, 8) + "  ";
  line.append(kLengthColumnWidth - std::min(lengthText.size(), kLengthColumnWidth), ' ');
  return line + lengthText + "  " + fixedDecimal(entropy, 4);
}

}  // namespace

EntropyMap entropyMap(std::span<const std::uint8_t> bytes, TaskProgress& progress) {
  EntropyMap map;
  map.byteCount = std::ssize(bytes);
  const std::int64_t scanned = std::min(map.byteCount, kChunk * EntropyMap::kMaximumChunkCount);
  progress.setTotal(scanned);
  progress.checkpoint();
  map.entropies.resize(static_cast<std::size_t>((scanned + kChunk - 1) / kChunk));
  forEachPiece(scanned, progress, [&](std::int64_t begin, std::int64_t end) {
    for (std::int64_t offset = begin; offset < end; offset += kChunk) {
      const auto chunk = bytes.subspan(static_cast<std::size_t>(offset),
                                       static_cast<std::size_t>(std::min(kChunk, end - offset)));
      map.entropies[static_cast<std::size_t>(offset / kChunk)] = entropyOfChunk(chunk);
    }
  });
  return map;
}

std::string entropyMapReport(const EntropyMap& map) {
  std::string text = "Offset      Length  Entropy\n------------------------------";
  if (map.byteCount == 0) return text + "\n\nEmpty file.\n";
  std::int64_t offset = 0;
  for (const double entropy : map.entropies) {
    text += '\n';
    text += chunkLine(offset, std::min(kChunk, map.byteCount - offset), entropy);
    offset += kChunk;
  }
  if (map.isTruncated()) {
    text += "\nOutput truncated to first " + std::to_string(EntropyMap::kMaximumChunkCount) +
            " chunk(s) to avoid excessive UI memory use.";
    text += "\nTotal chunks scanned: " + std::to_string(map.entropies.size());
  }
  return text;
}

}  // namespace quillmor
