#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

#include "kernels/ScanKernel.h"

namespace quillmor {

/// Words of eight bytes, the first byte in the lowest bits whatever the machine.
struct ByteWord {
  static constexpr std::uint64_t kOnes = 0x0101010101010101;
  static constexpr std::uint64_t kHighBits = 0x80 * kOnes;

  [[gnu::always_inline]] static std::uint64_t load(const std::uint8_t* at) {
    std::uint64_t word = 0;
    std::memcpy(&word, at, sizeof word);
    if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap64(word);
    return word;
  }

  /// `word` with 0x20 added to every byte in 'A'...'Z'.
  [[gnu::always_inline]] static std::uint64_t foldedCase(std::uint64_t word) {
    const std::uint64_t low = word & ~kHighBits;
    const std::uint64_t aboveZ = low + (0x7F - 'Z') * kOnes;
    const std::uint64_t fromA = low + (0x80 - 'A') * kOnes;
    const std::uint64_t upper = (fromA ^ aboveZ) & ~word & kHighBits;
    return word | upper >> 2;
  }
};

/// The scan of one haystack, the same for every variant. `Lanes` has a variant's operations on a
/// block of neighbouring bytes. Each variant has its own such type, known in its own file only: so
/// no function compiled for one processor is linked in the place of that for another.
///
/// A block is the comparison of one pattern position with `Lanes::kCount` neighbouring positions of
/// the haystack. Lanes that are 0 fit. Blocks of several pattern positions are combined: only
/// candidates that fit all the probes are compared.
template <class Lanes, PatternKind kKind, bool kHasOneProbe>
class Scan {
 public:
  Scan(const ScanTask& task, ScanState& state)
      : pattern_(task.pattern),
        filter_(task.filter),
        haystack_(task.haystack),
        last_(task.last),
        list_(task.list),
        state_(state),
        firstAt_(haystack_ + first().offset),
        secondAt_(haystack_ + second().offset),
        firstValue_(Lanes::all(first().value)),
        secondValue_(Lanes::all(second().value)),
        firstMask_(Lanes::all(first().mask)),
        secondMask_(Lanes::all(second().mask)) {}

  ScanResult forward(std::int64_t from, std::int64_t through) {
    start_ = from;
    if (last_ + 1 < kSpan) return settled(oneByOne(from, through, 1), through);
    std::int64_t at = from;
    while (at <= through) {
      if (findInSpanForward(at, through)) return settled(result_, result_.position);
      at += kSpan;
      if (through - at >= kGroupCount - 1) at -= misalignment(at);
      while (through - at >= kGroupCount - 1 && !hasCandidates(at)) {
        prefetch(at + kPrefetchDistance);
        at += kGroupCount;
      }
    }
    return settled({}, through);
  }

  ScanResult backward(std::int64_t from, std::int64_t through) {
    start_ = through;
    if (last_ + 1 < kSpan) return settled(oneByOne(through, from, -1), from);
    std::int64_t at = through;
    while (at >= from) {
      if (findInSpanBackward(at, from)) return settled(result_, result_.position);
      at -= kSpan;
      if (at - from >= kGroupCount - 1)
        at += (Lanes::kCount - misalignment(at + 1)) % Lanes::kCount;
      while (at - from >= kGroupCount - 1 && !hasCandidates(at - kGroupCount + 1)) {
        prefetch(at - kPrefetchDistance);
        at -= kGroupCount;
      }
    }
    return settled({}, from);
  }

 private:
  using Block = typename Lanes::Block;
  /// A bit for each of `kSpan` neighbouring positions, the first one in the lowest.
  using Bits = std::uint64_t;
  static constexpr std::int64_t kSpan = 64;
  /// The positions that are passed together as long as none of them is a candidate.
  static constexpr std::int64_t kGroupCount = 4 * Lanes::kCount;
  static constexpr std::int64_t kWord = 8;
  /// A page: the processor itself does not look ahead beyond the one that it reads.
  static constexpr std::int64_t kPrefetchDistance = 4096;
  static constexpr std::int64_t kCacheLine = 64;

  /// How many bytes of a masked pattern are compared before asking what is left.
  static constexpr std::int64_t kBatch = 8;

  const ScanProbe& first() const { return filter_.probes[0]; }
  const ScanProbe& second() const { return filter_.probes[kHasOneProbe ? 0 : 1]; }

  static Block difference(Block bytes, Block value, Block mask) {
    if constexpr (kKind == PatternKind::folded) bytes = Lanes::both(bytes, mask);
    return Lanes::differing(bytes, value);
  }

  /// What keeps the positions from `at` on from being candidates; the first probe's `bytes` are
  /// loaded already.
  Block difference(std::int64_t at, Block bytes) const {
    const Block block = difference(bytes, firstValue_, firstMask_);
    if constexpr (kHasOneProbe) return block;
    return Lanes::either(block, difference(Lanes::load(secondAt_ + at), secondValue_, secondMask_));
  }

  Block difference(std::int64_t at) const { return difference(at, Lanes::load(firstAt_ + at)); }

  /// How far before `at` the first probe's bytes are aligned. A few positions are looked at twice.
  std::int64_t misalignment(std::int64_t at) const {
    return static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(firstAt_ + at) %
                                     static_cast<std::uintptr_t>(Lanes::kCount));
  }

  /// Has the bytes of a group fetched from memory into the second-level cache. They may lie outside
  /// the haystack, so their address is no pointer.
  void prefetch(std::int64_t at) const {
    const std::uintptr_t address =
        reinterpret_cast<std::uintptr_t>(firstAt_) + static_cast<std::uintptr_t>(at);
    for (std::uintptr_t line = 0; line < kGroupCount; line += kCacheLine) {
      // NOLINTNEXTLINE(performance-no-int-to-ptr): nothing is ever read through it.
      __builtin_prefetch(reinterpret_cast<const void*>(address + line), 0, 2);
    }
  }

  /// True if a position of the group from `at` on fits the first probes, whose bytes are aligned.
  bool hasCandidates(std::int64_t at) const {
    const auto block = [&](std::int64_t index) {
      const std::int64_t first = at + index * Lanes::kCount;
      return difference(first, Lanes::loadAligned(firstAt_ + first));
    };
    return Lanes::anyZero(block(0), block(1), block(2), block(3));
  }

  /// The positions of a span, each a lane, where no byte is in the way: `differenceAt` gives the
  /// block for the lanes from one on.
  template <class DifferenceAt>
  static Bits fitting(const DifferenceAt& differenceAt) {
    Bits bits = 0;
    for (std::int64_t lane = 0; lane < kSpan; lane += Lanes::kCount) {
      bits |= Bits{Lanes::bits(Lanes::zeros(differenceAt(lane)))} << lane;
    }
    return bits;
  }

  Bits candidates(std::int64_t at) const {
    Bits bits = fitting([&](std::int64_t lane) { return difference(at + lane); });
    for (int i = 2; i < filter_.count && bits != 0; ++i) {
      const ScanProbe& probe = filter_.probes[static_cast<std::size_t>(i)];
      const Block value = Lanes::all(probe.value);
      const Block mask = Lanes::all(probe.mask);
      const std::uint8_t* const bytes = haystack_ + probe.offset + at;
      bits &= fitting(
          [&](std::int64_t lane) { return difference(Lanes::load(bytes + lane), value, mask); });
    }
    return bits;
  }

  /// Those of `bits`, the positions from `at` on, that a masked pattern matches at. Compares a
  /// batch of its bytes at all of them at once, first the batch that was in the way last time,
  /// until no position is left.
  Bits matchingMasked(Bits bits, std::int64_t at) {
    const std::int64_t batches = (pattern_.offsetCount + kBatch - 1) / kBatch;
    spent_ += kCandidateCost;
    for (std::int64_t left = batches; left > 0; --left) {
      const std::int64_t begin = state_.failedBatch * kBatch;
      bits &= fittingBatch(begin, at);
      spent_ += kWord * kBatch;
      if (bits == 0) {
        state_.failedOffset = pattern_.offsets[begin];
        return bits;
      }
      state_.failedBatch = (state_.failedBatch > 0 ? state_.failedBatch : batches) - 1;
    }
    return bits;
  }

  /// The positions from `at` on where the bytes of a masked pattern fit, from the one at index
  /// `begin` to the end of their batch.
  Bits fittingBatch(std::int64_t begin, std::int64_t at) const {
    const std::int64_t rest = pattern_.offsetCount - begin;
    const std::int64_t end = begin + (rest < kBatch ? rest : kBatch);
    return fitting([&](std::int64_t lane) {
      Block differences = Lanes::all(0);
      for (std::int64_t i = begin; i < end; ++i) {
        const std::int64_t offset = pattern_.offsets[i];
        const Block bytes = Lanes::load(haystack_ + at + offset + lane);
        differences = Lanes::either(differences,
                                    Lanes::differing(bytes, Lanes::all(pattern_.values[offset])));
      }
      return differences;
    });
  }

  /// The bits of positions `lowest`...`highest`. `lowest` may be negative, and `highest` beyond the
  /// span.
  static Bits bitsBetween(std::int64_t lowest, std::int64_t highest) {
    Bits bits = ~Bits{0} << (lowest > 0 ? lowest : 0);
    if (highest < kSpan - 1) bits &= (Bits{2} << highest) - 1;
    return bits;
  }

  /// Looks at a span of positions from `at` on, up to `through`. True if the scan ends there.
  bool findInSpanForward(std::int64_t at, std::int64_t through) {
    const std::int64_t highest = last_ - kSpan + 1;
    const std::int64_t base = at < highest ? at : highest;
    Bits bits = candidates(base) & bitsBetween(at - base, through - base);
    if (kKind == PatternKind::masked && bits != 0 && !filter_.provesMatch) {
      bits = matchingMasked(bits, base);
      if (bits == 0) return isOverBefore(base + kSpan <= through ? base + kSpan : through + 1);
    }
    while (bits != 0) {
      const std::int64_t position = base + std::countr_zero(bits);
      if (endsAt(position, position + 1)) return true;
      bits = withoutOverlapping(bits & (bits - 1), base);
    }
    return false;
  }

  /// The same downward from `at`, to `from`.
  bool findInSpanBackward(std::int64_t at, std::int64_t from) {
    const std::int64_t base = at - kSpan + 1 > 0 ? at - kSpan + 1 : 0;
    Bits bits = candidates(base) & bitsBetween(from - base, at - base);
    while (bits != 0) {
      const int lane = 63 - std::countl_zero(bits);
      if (endsAt(base + lane, base + lane - 1)) return true;
      bits &= ~(Bits{1} << lane);
    }
    return false;
  }

  /// True if the scan ends with the candidate `position`.
  bool endsAt(std::int64_t position, std::int64_t next) {
    if (position < free_) return false;
    if (filter_.provesMatch || matches(position)) {
      if (isListed(position)) return false;
      result_ = {ScanResult::Outcome::found, position};
      return true;
    }
    return isOverBefore(next);
  }

  /// True if the allowance is used up; `next` is the next position to look at.
  bool isOverBefore(std::int64_t next) {
    if (allowanceLeft(next) >= 0) return false;
    result_ = {ScanResult::Outcome::exhausted, next};
    return true;
  }

  /// `bits` without the positions from `at` on at which a match would overlap the last one listed.
  Bits withoutOverlapping(Bits bits, std::int64_t at) const {
    if (list_ == nullptr || free_ <= at) return bits;
    return free_ - at < kSpan ? bits & ~Bits{0} << (free_ - at) : 0;
  }

  /// Lists the match at `position`. True if the scan goes on for more.
  bool isListed(std::int64_t position) {
    if (list_ == nullptr) return false;
    list_->positions[static_cast<std::size_t>(list_->count)] = position;
    free_ = position + pattern_.length;
    return ++list_->count < MatchList::kCapacity;
  }

  /// Scans a haystack with fewer positions than a span, from `first` on in steps of 1 or -1.
  ScanResult oneByOne(std::int64_t first, std::int64_t last, std::int64_t step) {
    for (std::int64_t at = first; at != last + step; at += step) {
      if (fitsProbes(at) && endsAt(at, at + step)) return result_;
    }
    return {};
  }

  bool fitsProbes(std::int64_t at) const {
    for (int i = 0; i < filter_.count; ++i) {
      const ScanProbe& probe = filter_.probes[static_cast<std::size_t>(i)];
      if ((haystack_[at + probe.offset] & probe.mask) != probe.value) return false;
    }
    return true;
  }

  /// What differs between eight bytes of the pattern and of the haystack. A pattern whose probes do
  /// not prove a match is longer than that.
  std::uint64_t wordDifference(std::int64_t position, std::int64_t offset) const {
    const std::uint64_t bytes = ByteWord::load(haystack_ + position + offset);
    const std::uint64_t wanted = ByteWord::load(pattern_.values + offset);
    if constexpr (kKind == PatternKind::folded) {
      return ByteWord::foldedCase(bytes) ^ ByteWord::foldedCase(wanted);
    }
    return bytes ^ wanted;
  }

  bool matches(std::int64_t position) {
    if constexpr (kKind == PatternKind::masked) return matchesOneMasked(position);
    const std::int64_t lastWord = pattern_.length - kWord;
    const std::int64_t around = state_.failedOffset - kWord / 2;
    const std::int64_t likely = around < 0 ? 0 : around > lastWord ? lastWord : around;
    if (differsAt(position, likely)) return failed(0);
    if (differsAt(position, lastWord)) return failed(kWord);
    // From the end on, since what differs there goes on to be in the way for longest when scanning
    // forward.
    for (std::int64_t offset = lastWord - kWord; offset > 0; offset -= kWord) {
      if (differsAt(position, offset)) return failed(lastWord - offset);
    }
    return !differsAt(position, 0) || failed(lastWord);
  }

  bool failed(std::int64_t comparisons) {
    spent_ += kCandidateCost + comparisons;
    return false;
  }

  bool matchesOneMasked(std::int64_t position) {
    for (std::int64_t i = 0; i < pattern_.offsetCount; ++i) {
      const std::int64_t offset = pattern_.offsets[i];
      if (haystack_[position + offset] != pattern_.values[offset]) return failed(i);
    }
    return true;
  }

  bool differsAt(std::int64_t position, std::int64_t offset) {
    const std::uint64_t difference = wordDifference(position, offset);
    if (difference == 0) return false;
    state_.failedOffset = offset + (63 - std::countl_zero(difference)) / 8;
    return true;
  }

  std::int64_t allowanceLeft(std::int64_t position) const {
    const std::int64_t passed = position > start_ ? position - start_ : start_ - position;
    return state_.allowance + state_.credit * passed - 16 * spent_;
  }

  ScanResult settled(ScanResult result, std::int64_t reached) {
    if (result.outcome != ScanResult::Outcome::absent) reached = result.position;
    state_.allowance = allowanceLeft(reached);
    return result;
  }

  const PatternView& pattern_;
  const ScanFilter& filter_;
  const std::uint8_t* const haystack_;
  const std::int64_t last_;
  MatchList* const list_;
  ScanState& state_;
  const std::uint8_t* const firstAt_;
  const std::uint8_t* const secondAt_;
  const Block firstValue_;
  const Block secondValue_;
  const Block firstMask_;
  const Block secondMask_;
  std::int64_t start_ = 0;
  std::int64_t free_ = 0;  // where the last match listed ends
  std::int64_t spent_ = 0;
  ScanResult result_;
};

/// The scan functions of one variant.
template <class Lanes>
struct ScanLoops {
  template <PatternKind kKind, bool kIsForward>
  static ScanResult scanKind(const ScanTask& task, std::int64_t from, std::int64_t through,
                             ScanState& state) {
    const auto run = [&](auto scan) {
      return kIsForward ? scan.forward(from, through) : scan.backward(from, through);
    };
    if (task.filter.count == 1) return run(Scan<Lanes, kKind, true>(task, state));
    return run(Scan<Lanes, kKind, false>(task, state));
  }

  template <bool kIsForward>
  static ScanResult scan(const ScanTask& task, std::int64_t from, std::int64_t through,
                         ScanState& state) {
    switch (task.pattern.kind) {
      case PatternKind::folded:
        return scanKind<PatternKind::folded, kIsForward>(task, from, through, state);
      case PatternKind::masked:
        return scanKind<PatternKind::masked, kIsForward>(task, from, through, state);
      case PatternKind::exact:
        break;
    }
    return scanKind<PatternKind::exact, kIsForward>(task, from, through, state);
  }

  static constexpr ScanKernel kernel(const char* name) { return {name, scan<true>, scan<false>}; }
};

}  // namespace quillmor
