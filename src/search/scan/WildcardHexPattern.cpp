#include "search/scan/WildcardHexPattern.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/ByteUnits.h"
#include "base/HexText.h"
#include "base/Unicode.h"

namespace quillmor {

namespace {

using Bytes = WildcardHexPattern::Bytes;

/// With this many runs, none longer than two bytes, a run says little.
constexpr std::size_t kManyRuns = 65;
constexpr std::int64_t kShortRun = 2;

bool isSeparator(char32_t scalar) {
  return scalar == ',' || scalar == ';' || Unicode::isWhiteSpace(scalar);
}

/// The grammar, fed one scalar at a time.
class PairCollector {
 public:
  /// False when the scalar makes the whole text invalid.
  bool accept(char32_t scalar) {
    if (isSeparator(scalar)) return !hasFirst_;
    if (scalar >= 0x80) return false;
    const char character = static_cast<char>(scalar);
    hasFirst_ = !hasFirst_;
    const char first = std::exchange(first_, character);
    if (hasFirst_) return true;
    if (first == '?' && character == '?') {
      bytes_.emplace_back();
      return true;
    }
    const auto high = hexDigitValue(first);
    const auto low = hexDigitValue(character);
    if (!high || !low) return false;
    bytes_.emplace_back(static_cast<std::uint8_t>(*high << 4 | *low));
    return true;
  }

  /// Absent in the middle of a pair, and when there is none.
  std::optional<Bytes> finish() {
    if (hasFirst_ || bytes_.empty()) return std::nullopt;
    return std::move(bytes_);
  }

 private:
  Bytes bytes_;
  bool hasFirst_ = false;  // whether `first_` is the first character of a pair
  char first_ = 0;
};

using ByteCounts = std::array<std::int64_t, 256>;

constexpr std::size_t kCountedPiece = 4 * kMiB;

/// Four tables in turn, since counting the same byte twice in a row would wait for memory.
void addCounts(std::span<const std::uint8_t> bytes, ByteCounts& counts) {
  std::array<std::array<std::uint32_t, 256>, 4> tables{};
  for (std::size_t i = 0; i < bytes.size(); ++i) ++tables[i % 4][bytes[i]];
  for (const auto& table : tables) {
    for (std::size_t value = 0; value < counts.size(); ++value) counts[value] += table[value];
  }
}

ByteCounts countsOf(std::span<const std::uint8_t> haystack, const TaskProgress& progress) {
  ByteCounts counts{};
  while (!haystack.empty()) {
    progress.checkpoint();
    const auto piece = haystack.first(std::min(haystack.size(), kCountedPiece));
    addCounts(piece, counts);
    haystack = haystack.subspan(piece.size());
  }
  return counts;
}

}  // namespace

std::optional<WildcardHexPattern> WildcardHexPattern::parse(std::string_view text) {
  PairCollector collector;
  while (!text.empty()) {
    const Unicode::DecodedScalar next = Unicode::decodeFirst(text);
    if (!collector.accept(next.scalar)) return std::nullopt;
    text.remove_prefix(next.length);
  }
  std::optional<Bytes> bytes = collector.finish();
  if (!bytes) return std::nullopt;
  return WildcardHexPattern(std::move(*bytes));
}

WildcardHexPattern::WildcardHexPattern(Bytes bytes) : bytes_(std::move(bytes)) {
  values_.reserve(bytes_.size());
  masks_.reserve(bytes_.size());
  for (const auto& byte : bytes_) {
    values_.push_back(byte.value_or(0));
    masks_.push_back(byte ? 0xFF : 0);
  }
  for (std::int64_t at = 0; at < length(); ++at) {
    if (!bytes_[static_cast<std::size_t>(at)]) continue;
    if (concreteRanges_.empty() || concreteRanges_.back().upperBound != at) {
      concreteRanges_.push_back({at, at});
    }
    ++concreteRanges_.back().upperBound;
  }
  for (const Range& range : concreteRanges_) {
    if (!anchorRange_ || range.count() > anchorRange_->count()) anchorRange_ = range;
  }
}

std::vector<std::uint8_t> WildcardHexPattern::anchorBytes() const {
  if (!anchorRange_) return {};
  return {values_.begin() + anchorRange_->lowerBound, values_.begin() + anchorRange_->upperBound};
}

bool WildcardHexPattern::hasManyShortRuns() const {
  return concreteRanges_.size() >= kManyRuns && anchorRange_->count() <= kShortRun;
}

WildcardHexPattern::AnchorPlan WildcardHexPattern::anchorPlan(
    std::span<const std::uint8_t> haystack, const TaskProgress& progress) const {
  if (!hasManyShortRuns()) {
    return Anchored{.exactBytes = anchorBytes(),
                    .patternOffset = anchorRange_ ? anchorRange_->lowerBound : 0,
                    .skippedRange = anchorRange_};
  }
  const ByteCounts counts = countsOf(haystack, progress);
  std::int64_t rarest = anchorRange_->lowerBound;
  for (std::int64_t at = length() - 1; at >= 0; --at) {
    const auto index = static_cast<std::size_t>(at);
    if (masks_[index] != 0 && counts[values_[index]] <= counts[byteAt(rarest)]) rarest = at;
  }
  if (counts[byteAt(rarest)] == 0) return Impossible{};
  return Anchored{
      .exactBytes = {byteAt(rarest)}, .patternOffset = rarest, .skippedRange = std::nullopt};
}

}  // namespace quillmor
