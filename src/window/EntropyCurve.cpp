#include "window/EntropyCurve.h"

#include <algorithm>
#include <cmath>

#include "base/HexText.h"
#include "tools/analysis/AnalysisText.h"
#include "window/GroupedDecimal.h"

namespace quillmor {

namespace {

constexpr std::int64_t kMostTickSteps = 7;

}  // namespace

EntropyCurve::EntropyCurve(EntropyMap map)
    : map_(std::move(map)),
      covered_(std::min(map_.byteCount, static_cast<std::int64_t>(map_.entropies.size()) *
                                            EntropyMap::kChunkByteCount)) {}

EntropyCurve::ChunkRange EntropyCurve::chunksIn(int column, int width) const {
  const std::int64_t firstByte = column * covered_ / width;
  const std::int64_t lastByte = ((column + 1) * covered_ - 1) / width;
  const std::int64_t lastChunk = chunkCount() - 1;
  return {std::min(firstByte / EntropyMap::kChunkByteCount, lastChunk),
          std::min(lastByte / EntropyMap::kChunkByteCount, lastChunk)};
}

std::vector<EntropyCurve::Column> EntropyCurve::columns(int width) const {
  std::vector<Column> columns;
  if (covered_ <= 0 || width <= 0) return columns;
  columns.reserve(static_cast<std::size_t>(width));
  for (int column = 0; column < width; ++column) {
    const ChunkRange range = chunksIn(column, width);
    const auto [minimum, maximum] = std::minmax_element(map_.entropies.begin() + range.first,
                                                        map_.entropies.begin() + range.last + 1);
    columns.push_back({*minimum, *maximum});
  }
  return columns;
}

std::optional<std::int64_t> EntropyCurve::chunkAt(int column, int width, double entropy) const {
  if (covered_ <= 0 || column < 0 || column >= width) return std::nullopt;
  const ChunkRange range = chunksIn(column, width);
  std::int64_t nearest = range.first;
  for (std::int64_t chunk = range.first; chunk <= range.last; ++chunk) {
    if (std::abs(entropyOf(chunk) - entropy) < std::abs(entropyOf(nearest) - entropy)) {
      nearest = chunk;
    }
  }
  return nearest;
}

int EntropyCurve::columnOf(std::int64_t chunk, int width) const {
  if (covered_ <= 0 || width <= 0) return 0;
  const std::int64_t end = std::min(offsetOf(chunk + 1), covered_);
  const std::int64_t middle = (offsetOf(chunk) + end) / 2;
  return static_cast<int>(std::min<std::int64_t>(middle * width / covered_, width - 1));
}

double EntropyCurve::entropyOf(std::int64_t chunk) const {
  return map_.entropies[static_cast<std::size_t>(chunk)];
}

std::vector<std::int64_t> EntropyCurve::offsetTicks() const {
  std::vector<std::int64_t> ticks;
  if (covered_ <= 0) return ticks;
  std::int64_t step = 1;
  while (step * kMostTickSteps < covered_) step *= 2;
  for (std::int64_t offset = 0; offset <= covered_; offset += step) ticks.push_back(offset);
  return ticks;
}

std::string EntropyCurve::description(std::int64_t chunk) const {
  return offsetText(offsetOf(chunk)) + ": " + bitsPerByteText(entropyOf(chunk));
}

std::string EntropyCurve::summary() const {
  if (isEmpty()) return "The document is empty.";
  return groupedDecimal(covered_) + (covered_ == 1 ? " byte in " : " bytes in ") +
         groupedDecimal(chunkCount()) + (chunkCount() == 1 ? " chunk" : " chunks");
}

std::string EntropyCurve::coverageNote() const {
  if (!map_.isTruncated()) return {};
  return "The map covers the first " + groupedDecimal(covered_) + " of " +
         groupedDecimal(map_.byteCount) + " bytes.";
}

}  // namespace quillmor
