#include "search/scan/ProbeChoice.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <limits>
#include <string_view>
#include <vector>

#include "base/ByteUnits.h"

namespace quillmor {

namespace {

using Counts = std::array<std::uint32_t, 256>;

/// How many positions at either end of a pattern are looked at before the haystack is known.
constexpr std::int64_t kEndPositions = 256;

bool isLetter(std::uint8_t byte) {
  return (byte & 0xDF) >= 'A' && (byte & 0xDF) <= 'Z';
}

/// How common bytes are where nothing is known: zeros most of all, then text.
constexpr Counts kUsualCounts = [] {
  Counts counts{};
  counts.fill(20);
  for (std::size_t c = 0x21; c < 0x7F; ++c) counts[c] = 60;
  for (std::size_t c = '0'; c <= '9'; ++c) counts[c] = 110;
  std::uint32_t count = 400;
  for (const char letter : std::string_view("etaoinshrdlucmfwypvbgkjqxz")) {
    const auto index = static_cast<std::size_t>(static_cast<unsigned char>(letter));
    counts[index] = count;
    counts[index - 0x20] = count / 6;
    count -= 13;
  }
  counts[','] = counts['.'] = 120;
  counts['\r'] = counts['\t'] = 100;
  counts['\n'] = 150;
  counts[0x01] = 100;
  counts[0xFF] = 300;
  counts[' '] = 500;
  counts[0x00] = 1000;
  return counts;
}();

ScanProbe probeAt(const PatternView& pattern, std::int64_t offset) {
  const std::uint8_t value = pattern.values[offset];
  if (pattern.kind == PatternKind::folded && isLetter(value)) {
    return {offset, static_cast<std::uint8_t>(value & 0xDF), 0xDF};
  }
  return {offset, value, 0xFF};
}

std::uint32_t countOf(const ScanProbe& probe, const Counts& counts) {
  const std::uint32_t count = counts[probe.value];
  return probe.mask == 0xFF ? count : count + counts[probe.value | 0x20U];
}

/// The first and the last positions that ask for a byte, up to `kEndPositions` of each.
std::vector<ScanProbe> probesAtEnds(const PatternView& pattern) {
  std::vector<ScanProbe> probes;
  std::int64_t front = 0;
  for (; front < pattern.length && std::ssize(probes) < kEndPositions; ++front) {
    if (isConcrete(pattern, front)) probes.push_back(probeAt(pattern, front));
  }
  for (std::int64_t back = pattern.length - 1;
       back >= front && std::ssize(probes) < 2 * kEndPositions; --back) {
    if (isConcrete(pattern, back)) probes.push_back(probeAt(pattern, back));
  }
  return probes;
}

bool hasValue(const std::vector<ScanProbe>& probes, std::uint8_t value) {
  return std::ranges::any_of(probes, [&](const ScanProbe& probe) { return probe.value == value; });
}

bool hasOffset(const std::vector<ScanProbe>& probes, std::int64_t offset) {
  return std::ranges::any_of(probes,
                             [&](const ScanProbe& probe) { return probe.offset == offset; });
}

/// At most `limit` of `probes`, which are sorted: each value once, then the others.
std::vector<ScanProbe> differentFirst(const std::vector<ScanProbe>& probes, std::int64_t limit) {
  std::vector<ScanProbe> chosen;
  for (const ScanProbe& probe : probes) {
    if (std::ssize(chosen) < limit && !hasValue(chosen, probe.value)) chosen.push_back(probe);
  }
  for (const ScanProbe& probe : probes) {
    if (std::ssize(chosen) < limit && !hasOffset(chosen, probe.offset)) chosen.push_back(probe);
  }
  return chosen;
}

void sortByCount(std::vector<ScanProbe>& probes, const Counts& counts) {
  std::ranges::stable_sort(probes, {},
                           [&](const ScanProbe& probe) { return countOf(probe, counts); });
}

ScanFilter filterOf(const PatternView& pattern, const std::vector<ScanProbe>& probes) {
  ScanFilter filter;
  filter.count = static_cast<int>(std::min(probes.size(), filter.probes.size()));
  std::copy_n(probes.begin(), filter.count, filter.probes.begin());
  std::int64_t concrete = 0;
  for (std::int64_t at = 0; at < pattern.length && concrete <= kMaxProbes; ++at) {
    if (isConcrete(pattern, at)) ++concrete;
  }
  filter.provesMatch = concrete <= filter.count;
  return filter;
}

/// The positions of a pattern that are examined for values that are rare in the sample: a few
/// milliseconds of work.
constexpr std::int64_t kExaminedPositions = kMiB;

constexpr std::int64_t kSampledPositions = 1024;
constexpr std::int64_t kPiece = 64;

/// Positions of the haystack where the whole pattern has room; half of them in a row at `position`.
std::vector<std::int64_t> sampledPieces(std::int64_t last, std::int64_t position) {
  std::vector<std::int64_t> pieces;
  if (last + 1 < kPiece) return pieces;
  constexpr std::int64_t kHalf = kSampledPositions / 2;
  const std::int64_t near = std::clamp<std::int64_t>(position, 0, std::max(last + 1 - kHalf, {}));
  for (std::int64_t at = near; at < near + kHalf && at + kPiece <= last + 1; at += kPiece) {
    pieces.push_back(at);
  }
  constexpr std::int64_t kFarPieces = kHalf / kPiece;
  for (std::int64_t i = 0; i < kFarPieces; ++i) {
    pieces.push_back((last + 1 - kPiece) / kFarPieces * i);
  }
  return pieces;
}

/// A set of sampled positions.
using Fits = std::array<std::uint64_t, kSampledPositions / 64>;

int countOf(const Fits& fits) {
  int count = 0;
  for (const std::uint64_t word : fits) count += std::popcount(word);
  return count;
}

Fits both(const Fits& a, const Fits& b) {
  Fits result{};
  for (std::size_t i = 0; i < result.size(); ++i) result[i] = a[i] & b[i];
  return result;
}

Fits fitsOf(const ScanProbe& probe, const std::uint8_t* haystack,
            const std::vector<std::int64_t>& pieces) {
  Fits fits{};
  for (std::size_t piece = 0; piece < pieces.size(); ++piece) {
    const std::uint8_t* const bytes = haystack + pieces[piece] + probe.offset;
    for (std::size_t i = 0; i < kPiece; ++i) {
      const std::uint64_t isFit = (bytes[i] & probe.mask) == probe.value ? 1 : 0;
      fits[piece] |= isFit << i;
    }
  }
  return fits;
}

/// The probes worth trying on a sample: the first position of each value that is rare in it, where
/// the comparison failed, the ends and places between them.
std::vector<ScanProbe> probesWorthTrying(const PatternView& pattern, const Counts& counts,
                                         std::int64_t failedOffset) {
  constexpr std::int64_t kRareValues = 10;
  std::array<std::int64_t, 256> firstOffsets{};
  firstOffsets.fill(-1);
  for (std::int64_t at = std::min(pattern.length, kExaminedPositions) - 1; at >= 0; --at) {
    if (isConcrete(pattern, at)) firstOffsets[probeAt(pattern, at).value] = at;
  }
  std::vector<ScanProbe> probes;
  for (const std::int64_t offset : firstOffsets) {
    if (offset >= 0) probes.push_back(probeAt(pattern, offset));
  }
  sortByCount(probes, counts);
  if (std::ssize(probes) > kRareValues) probes.resize(kRareValues);
  const auto add = [&](std::int64_t offset) {
    while (offset < pattern.length && !isConcrete(pattern, offset)) ++offset;
    if (offset < pattern.length && !hasOffset(probes, offset)) {
      probes.push_back(probeAt(pattern, offset));
    }
  };
  add(failedOffset);
  for (std::int64_t i = 0; i < kMaxProbes; ++i) {
    add((pattern.length - 1) / (kMaxProbes - 1) * i);
    if (pattern.length <= std::int64_t{2} * kMaxProbes) add(i);
  }
  return probes;
}

/// Puts the probes into the order in which each leaves the fewest positions that fit all so far.
std::vector<ScanProbe> mostSelective(std::vector<ScanProbe> probes, const std::uint8_t* haystack,
                                     const std::vector<std::int64_t>& pieces) {
  std::vector<Fits> fits;
  fits.reserve(probes.size());
  for (const ScanProbe& probe : probes) fits.push_back(fitsOf(probe, haystack, pieces));
  // The first two are chosen together: two rare bytes may always come together.
  std::array<std::size_t, 2> best{};
  int fewest = std::numeric_limits<int>::max();
  for (std::size_t i = 0; i < probes.size(); ++i) {
    for (std::size_t j = i + 1; j < probes.size(); ++j) {
      const int count = countOf(both(fits[i], fits[j]));
      if (count >= fewest) continue;
      fewest = count;
      best = {i, j};
    }
  }
  if (probes.size() < 2) return probes;
  for (std::size_t i = 0; i < 2; ++i) {
    std::swap(probes[i], probes[best[i]]);
    std::swap(fits[i], fits[best[i]]);
  }
  Fits left = both(fits[0], fits[1]);
  for (std::size_t i = 2; i < std::min<std::size_t>(probes.size(), kMaxProbes); ++i) {
    const auto next =
        std::ranges::min_element(fits.begin() + static_cast<std::ptrdiff_t>(i), fits.end(), {},
                                 [&](const Fits& each) { return countOf(both(left, each)); });
    std::swap(probes[i], probes[static_cast<std::size_t>(next - fits.begin())]);
    std::swap(fits[i], *next);
    left = both(left, fits[i]);
  }
  return probes;
}

}  // namespace

bool isConcrete(const PatternView& pattern, std::int64_t offset) {
  return pattern.kind != PatternKind::masked || pattern.masks[offset] != 0;
}

ScanFilter usualProbes(const PatternView& pattern) {
  std::vector<ScanProbe> probes = probesAtEnds(pattern);
  sortByCount(probes, kUsualCounts);
  return filterOf(pattern, differentFirst(probes, kMaxProbes));
}

ScanFilter sampledProbes(const PatternView& pattern, std::span<const std::uint8_t> haystack,
                         std::int64_t position, std::int64_t failedOffset) {
  const std::int64_t last = std::ssize(haystack) - pattern.length;
  const std::vector<std::int64_t> pieces = sampledPieces(last, position);
  Counts counts{};
  for (const std::int64_t piece : pieces) {
    for (std::int64_t i = 0; i < kPiece; ++i) {
      ++counts[haystack[static_cast<std::size_t>(piece + i)]];
    }
  }
  const auto probes = probesWorthTrying(pattern, counts, failedOffset);
  return filterOf(pattern, mostSelective(probes, haystack.data(), pieces));
}

}  // namespace quillmor
