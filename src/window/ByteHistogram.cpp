#include "window/ByteHistogram.h"

#include <algorithm>
#include <cmath>

#include "base/HexText.h"
#include "tools/analysis/AnalysisText.h"
#include "window/GroupedDecimal.h"

namespace quillmor {

namespace {

/// Nearer to the axis or to the maximum than this, a line's label would run into theirs.
constexpr double kClearance = 0.1;
constexpr double kLinearLines = 4;
constexpr int kMostDecades = 6;

std::string bytesText(std::int64_t count) {
  return groupedDecimal(count) + (count == 1 ? " byte" : " bytes");
}

/// The least of 1, 2, 5, 10, 20, 50 … that is at least `distance`.
std::int64_t roundStep(double distance) {
  std::int64_t decade = 1;
  while (static_cast<double>(decade) * 10 <= distance) decade *= 10;
  for (const std::int64_t factor : {1, 2, 5}) {
    if (static_cast<double>(decade * factor) >= distance) return decade * factor;
  }
  return decade * 10;
}

}  // namespace

ByteHistogram::ByteHistogram(const ByteCounts& counts) : counts_(counts) {
  for (const std::int64_t count : counts_) {
    total_ += count;
    maximum_ = std::max(maximum_, count);
    if (count > 0) ++occurring_;
  }
}

double ByteHistogram::fraction(std::int64_t count, HistogramScale scale) const {
  if (count <= 0 || maximum_ <= 0) return 0;
  const auto part = static_cast<double>(count);
  const auto whole = static_cast<double>(maximum_);
  return scale == HistogramScale::linear ? part / whole : std::log1p(part) / std::log1p(whole);
}

int ByteHistogram::barHeight(int value, HistogramScale scale, int plotHeight) const {
  const std::int64_t count = counts_[static_cast<std::size_t>(value)];
  if (count <= 0 || plotHeight <= 0) return 0;
  return std::max(1, static_cast<int>(std::lround(fraction(count, scale) * plotHeight)));
}

std::vector<std::int64_t> ByteHistogram::gridCounts(HistogramScale scale) const {
  std::vector<std::int64_t> grid;
  const auto add = [&](std::int64_t count) {
    const double place = fraction(count, scale);
    if (place >= kClearance && place <= 1 - kClearance) grid.push_back(count);
  };
  if (scale == HistogramScale::linear) {
    const std::int64_t step = roundStep(static_cast<double>(maximum_) / kLinearLines);
    for (std::int64_t count = step; count < maximum_; count += step) add(count);
    return grid;
  }
  const bool skipsDecades = std::log10(static_cast<double>(maximum_) + 1) > kMostDecades;
  const std::int64_t factor = skipsDecades ? 100 : 10;
  for (std::int64_t count = 1; count < maximum_; count *= factor) {
    add(count);
    if (count > maximum_ / factor) break;
  }
  return grid;
}

std::string ByteHistogram::description(int value) const {
  const auto index = static_cast<std::size_t>(value);
  std::string text = "0x" + std::string(uppercaseHexByteStrings[index]);
  if (value >= 0x20 && value <= 0x7E) text += std::string(" '") + static_cast<char>(value) + "'";
  const double percent =
      total_ > 0 ? static_cast<double>(counts_[index]) * 100 / static_cast<double>(total_) : 0;
  return text + ": " + bytesText(counts_[index]) + " (" + fixedDecimal(percent, 3) + " %)";
}

std::string ByteHistogram::summary() const {
  return bytesText(total_) + ", " + std::to_string(occurring_) + " of 256 byte values occur";
}

int ByteHistogram::barPitch(int availableWidth) {
  return std::max(1, availableWidth / kBarCount);
}

std::optional<int> ByteHistogram::valueAt(double x, int pitch) {
  const double value = std::floor(x / pitch);
  if (!(value >= 0 && value < kBarCount)) return std::nullopt;
  return static_cast<int>(value);
}

}  // namespace quillmor
