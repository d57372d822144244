#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/analysis/ByteStatistics.h"

namespace quillmor {

/// How a histogram turns counts into heights.
enum class HistogramScale { linear, logarithmic };

/// The arithmetic and the texts of a histogram with one bar for every byte value.
class ByteHistogram {
 public:
  static constexpr int kBarCount = 256;

  explicit ByteHistogram(const ByteCounts& counts);

  std::int64_t total() const { return total_; }
  std::int64_t maximum() const { return maximum_; }

  /// The place of `count` on the axis: 0 for none, 1 for the greatest count of all.
  double fraction(std::int64_t count, HistogramScale scale) const;

  /// The height of the bar for `value` (0...255) in a plot of `plotHeight` pixels; at least one
  /// pixel for a value that occurs.
  int barHeight(int value, HistogramScale scale, int plotHeight) const;

  /// Round counts in rising order at which lines are drawn; none near the axis or the maximum.
  std::vector<std::int64_t> gridCounts(HistogramScale scale) const;

  /// "0x41 'A': 1,234 bytes (5.432 %)"; the character stands there for 0x20...0x7E only.
  std::string description(int value) const;

  /// The number of bytes counted, and of different values among them.
  std::string summary() const;

  /// The width of every bar with the gap after it. Whole pixels, at least 1, so all bars are
  /// equally wide.
  static int barPitch(int availableWidth);

  /// The value whose bar stands at `x` pixels from the first bar's left edge; absent beside the
  /// bars.
  static std::optional<int> valueAt(double x, int pitch);

 private:
  const ByteCounts counts_;
  std::int64_t total_ = 0;
  std::int64_t maximum_ = 0;
  int occurring_ = 0;
};

}  // namespace quillmor
