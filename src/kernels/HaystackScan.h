#pragma once

#include <bit>
#include <cstdint>

#include "kernels/ByteWords.h"
#include "kernels/ScanKernel.h"
#include "kernels/ScanWord.h"

namespace quillmor {

/// The scan of one haystack. `Lanes` has a variant's operations on a block of neighbouring bytes;
/// each such type is known in one file only, so no function for one processor is linked for
/// another. A block compares one pattern position with `Lanes::kCount` positions of the haystack;
/// lanes that are 0 fit. Only candidates that fit all probes are compared.
template <class Lanes, PatternKind kKind, bool kHasOneProbe>
class HaystackScan {
 public:
  HaystackScan(const ScanTask& task, ScanState& state)
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
    if (last_ + 1 < kSpan) return settled(forwardOneByOne(from, through), through);
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
    if (last_ + 1 < kSpan) return settled(backwardOneByOne(from, through), from);
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

  /// How many bytes of a sparse pattern are compared before asking what is left.
  static constexpr int kTogether = 8;

  bool isSparse() const { return kKind == PatternKind::masked && pattern_.sparseCount > 0; }

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

  Block alignedDifference(std::int64_t at) const {
    return difference(at, Lanes::loadAligned(firstAt_ + at));
  }

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

  /// Where the first probe's bytes are aligned.
  bool hasCandidates(std::int64_t at) const {
    return Lanes::anyZero(alignedDifference(at), alignedDifference(at + Lanes::kCount),
                          alignedDifference(at + 2 * Lanes::kCount),
                          alignedDifference(at + 3 * Lanes::kCount));
  }

  Bits candidates(std::int64_t at) {
    Bits bits = 0;
    for (std::int64_t lane = 0; lane < kSpan; lane += Lanes::kCount) {
      bits |= Bits{Lanes::bits(Lanes::zeros(difference(at + lane)))} << lane;
    }
    for (int i = 2; i < filter_.count && bits != 0; ++i) {
      bits &= fitting(filter_.probes[static_cast<std::size_t>(i)], at);
    }
    if constexpr (kKind == PatternKind::masked) {
      for (int i = 0; i < state_.culpritCount && bits != 0; ++i) {
        bits &= unruined(state_.culprits[i], at);
      }
    }
    return bits;
  }

  /// The positions from `at` on that `culprit` lets the pattern lie at. One further position is one
  /// place further back in the pattern.
  Bits unruined(const Culprit& culprit, std::int64_t at) const {
    const std::int64_t place = pattern_.length - 1 - (culprit.position - at) + kFitMargin;
    const std::int64_t margin = pattern_.length + kFitMargin;
    const bool isInReach = static_cast<std::uint64_t>(place) < static_cast<std::uint64_t>(margin);
    const auto bit = static_cast<std::uint64_t>(isInReach ? place : margin);
    const std::uint64_t* const words = culprit.fits + bit / 64;
    return words[0] >> (bit % 64) | words[1] << 1 << (63 - bit % 64);
  }

  /// `bits` without those that what has just ruined one of them ruins as well.
  Bits withoutRuined(Bits bits, std::int64_t at) const {
    if (kKind != PatternKind::masked || state_.culpritCount == 0) return bits;
    return bits & unruined(state_.culprits[state_.culpritCount - 1], at);
  }

  /// Keeps the byte at `place`, which is in the way of the pattern at `position`, and of the others
  /// those that may still be, but for the oldest if there is no room for all.
  void rememberCulprit(std::int64_t place, std::int64_t position) {
    if (state_.culpritLimit == 0) return;
    int count = 0;
    for (int i = 0; i < state_.culpritCount; ++i) {
      const std::int64_t distance = state_.culprits[i].position - position;
      if (distance > -kSpan && distance < pattern_.length + kSpan) {
        state_.culprits[count++] = state_.culprits[i];
      }
    }
    if (count == state_.culpritLimit) {
      --count;
      std::memmove(state_.culprits, state_.culprits + 1,
                   static_cast<std::size_t>(count) * sizeof *state_.culprits);
    }
    state_.culprits[count] = {place, state_.fits[haystack_[place]]};
    state_.culpritCount = count + 1;
  }

  /// Those of `bits`, the positions from `at` on, that a sparse pattern may match at: compares all
  /// of them at once as long as there is one left.
  Bits sparselyMatching(Bits bits, std::int64_t at) {
    std::int64_t i = pattern_.sparseCount;
    while (i > 0 && bits != 0) {
      const std::int64_t end = i;
      i = end > kTogether ? end - kTogether : 0;
      const Bits left = bits & sparselyFitting(i, end, at);
      if (left == 0) rememberSparseCulprit(at + std::countr_zero(bits), i, end);
      bits = left;
    }
    spent_ += kCandidateCost + kWord * (pattern_.sparseCount - i);
    return bits;
  }

  Bits sparselyFitting(std::int64_t begin, std::int64_t end, std::int64_t at) const {
    constexpr std::int64_t kBlocks = kSpan / Lanes::kCount;
    Block differences[kBlocks];
    for (Block& difference : differences) difference = Lanes::all(0);
    for (std::int64_t i = begin; i < end; ++i) {
      const std::int64_t offset = pattern_.sparseOffsets[i];
      const Block value = Lanes::all(pattern_.values[offset]);
      const std::uint8_t* bytes = haystack_ + at + offset;
      for (Block& difference : differences) {
        difference = Lanes::either(difference, Lanes::differing(Lanes::load(bytes), value));
        bytes += Lanes::kCount;
      }
    }
    Bits bits = 0;
    for (std::int64_t i = 0; i < kBlocks; ++i) {
      bits |= Bits{Lanes::bits(Lanes::zeros(differences[i]))} << (i * Lanes::kCount);
    }
    return bits;
  }

  void rememberSparseCulprit(std::int64_t position, std::int64_t begin, std::int64_t end) {
    for (std::int64_t i = end - 1; i >= begin; --i) {
      const std::int64_t offset = pattern_.sparseOffsets[i];
      if (haystack_[position + offset] == pattern_.values[offset]) continue;
      state_.failedOffset = offset;
      return rememberCulprit(position + offset, position);
    }
  }

  Bits fitting(const ScanProbe& probe, std::int64_t at) const {
    const Block value = Lanes::all(probe.value);
    const Block mask = Lanes::all(probe.mask);
    const std::uint8_t* const bytes = haystack_ + probe.offset + at;
    Bits bits = 0;
    for (std::int64_t lane = 0; lane < kSpan; lane += Lanes::kCount) {
      bits |= Bits{Lanes::bits(Lanes::zeros(difference(Lanes::load(bytes + lane), value, mask)))}
              << lane;
    }
    return bits;
  }

  /// Looks at the next positions from `at` on, which the scan has reached, up to `through`.
  bool findInSpanForward(std::int64_t at, std::int64_t through) {
    const std::int64_t highest = last_ - kSpan + 1;
    const std::int64_t base = at < highest ? at : highest;
    Bits bits = candidates(base) & ByteWord::bitsBetween(at - base, through - base);
    if (isSparse() && bits != 0) {
      bits = sparselyMatching(bits, base);
      const std::int64_t next = base + kSpan <= through ? base + kSpan : through + 1;
      if (bits == 0) return isOverBefore(next);
    }
    while (bits != 0) {
      const std::int64_t position = base + std::countr_zero(bits);
      if (endsAt(position, position + 1)) return true;
      bits = withoutRuined(withoutOverlapping(bits & (bits - 1), base), base);
    }
    return false;
  }

  bool findInSpanBackward(std::int64_t at, std::int64_t from) {
    const std::int64_t base = at - kSpan + 1 > 0 ? at - kSpan + 1 : 0;
    Bits bits = candidates(base) & ByteWord::bitsBetween(from - base, at - base);
    if (isSparse() && bits != 0) {
      bits = sparselyMatching(bits, base);
      if (bits == 0) return isOverBefore(base > from ? base - 1 : from - 1);
    }
    while (bits != 0) {
      const int lane = 63 - std::countl_zero(bits);
      if (endsAt(base + lane, base + lane - 1)) return true;
      bits = withoutRuined(bits & ~(Bits{1} << lane), base);
    }
    return false;
  }

  /// Whether the scan is over with the candidate `position`.
  bool endsAt(std::int64_t position, std::int64_t next) {
    if (position < free_) return false;
    if (filter_.provesMatch || matches(position)) {
      if (isListed(position)) return false;
      result_ = {ScanResult::Outcome::found, position};
      return true;
    }
    return isOverBefore(next);
  }

  /// Whether the allowance is used up, with `next` as the next position to look at.
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

  /// Whether the scan goes on for more matches, behind the one at `position`.
  bool isListed(std::int64_t position) {
    if (list_ == nullptr) return false;
    list_->positions[static_cast<std::size_t>(list_->count)] = position;
    free_ = position + pattern_.length;
    return ++list_->count < MatchList::kCapacity;
  }

  /// Haystacks with fewer positions than a span.
  ScanResult forwardOneByOne(std::int64_t from, std::int64_t through) {
    for (std::int64_t at = from; at <= through; ++at) {
      if (fitsProbes(at) && endsAt(at, at + 1)) return result_;
    }
    return {};
  }

  ScanResult backwardOneByOne(std::int64_t from, std::int64_t through) {
    for (std::int64_t at = through; at >= from; --at) {
      if (fitsProbes(at) && endsAt(at, at - 1)) return result_;
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
    const std::uint64_t bytes = loadWord(haystack_ + position + offset);
    const std::uint64_t wanted = loadWord(pattern_.values + offset);
    if constexpr (kKind == PatternKind::folded) {
      return ByteWord::foldedCase(bytes) ^ ByteWord::foldedCase(wanted);
    } else if constexpr (kKind == PatternKind::masked) {
      return (bytes ^ wanted) & loadWord(pattern_.masks + offset);
    }
    return bytes ^ wanted;
  }

  bool matches(std::int64_t position) {
    const std::int64_t lastWord = pattern_.length - kWord;
    const std::int64_t around = state_.failedOffset - kWord / 2;
    const std::int64_t likely = around < 0 ? 0 : around > lastWord ? lastWord : around;
    if (differsAt(position, likely)) return failed(position, 0);
    if (differsAt(position, lastWord)) return failed(position, kWord);
    // From the end on, since what differs there goes on to be in the way for longest when scanning
    // forward.
    for (std::int64_t offset = lastWord - kWord; offset > 0; offset -= kWord) {
      if (differsAt(position, offset)) return failed(position, lastWord - offset);
    }
    return !differsAt(position, 0) || failed(position, lastWord);
  }

  bool failed(std::int64_t position, std::int64_t comparisons) {
    spent_ += kCandidateCost + comparisons;
    if constexpr (kKind == PatternKind::masked) {
      rememberCulprit(position + state_.failedOffset, position);
    }
    return false;
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

}  // namespace quillmor
