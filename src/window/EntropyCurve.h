#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/analysis/ByteStatistics.h"

namespace quillmor {

/// The arithmetic and the texts of a drawn entropy map. The horizontal axis is the bytes that the
/// map covers, the vertical axis 0 to 8 bits per byte. Chunks are counted from 0.
class EntropyCurve {
 public:
  static constexpr double kMaximumEntropy = 8;

  /// One pixel column: the lowest and the highest entropy of all chunks with a byte in it.
  struct Column {
    double minimum = 0;
    double maximum = 0;

    bool operator==(const Column&) const = default;
  };

  explicit EntropyCurve(EntropyMap map);

  bool isEmpty() const { return chunkCount() == 0; }
  std::int64_t chunkCount() const { return static_cast<std::int64_t>(map_.entropies.size()); }

  /// The number of bytes, from the document's start, that the curve covers.
  std::int64_t coveredByteCount() const { return covered_; }

  /// The columns of a plot `width` pixels wide; none for an empty map. Every chunk is in at least
  /// one of them.
  std::vector<Column> columns(int width) const;

  /// The chunk in a column whose entropy is nearest to `entropy`, so that a spike can be pointed
  /// at; the first of equals. Absent outside the plot and for an empty map.
  std::optional<std::int64_t> chunkAt(int column, int width, double entropy) const;

  /// The column with the middle of the chunk, in a plot `width` pixels wide.
  int columnOf(std::int64_t chunk, int width) const;

  static std::int64_t offsetOf(std::int64_t chunk) { return chunk * EntropyMap::kChunkByteCount; }
  double entropyOf(std::int64_t chunk) const;

  /// At most eight round offsets, rising from 0, for the labels of the axis.
  std::vector<std::int64_t> offsetTicks() const;

  /// "0x00012000: 7.9871 bits/byte".
  std::string description(std::int64_t chunk) const;

  /// The number of bytes and of chunks that the curve covers.
  std::string summary() const;

  /// A sentence saying that the curve covers only part of the document; empty when it covers all.
  std::string coverageNote() const;

 private:
  struct ChunkRange {
    std::int64_t first = 0;
    std::int64_t last = 0;
  };
  ChunkRange chunksIn(int column, int width) const;

  const EntropyMap map_;
  const std::int64_t covered_;
};

}  // namespace quillmor
