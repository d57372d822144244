#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

#include "search/ScanKernel.h"

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

  /// 0x80 in every byte of `word` that is 0, else 0. No byte's carry reaches its neighbour.
  [[gnu::always_inline]] static std::uint64_t zeroBytes(std::uint64_t word) {
    constexpr std::uint64_t kLowBits = ~kHighBits;
    return ~(((word & kLowBits) + kLowBits) | word | kLowBits);
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

/// The scan of one haystack, the same for every path. `Lanes` is what the path does with a block of
/// neighbouring bytes; every path has its own such type, known in its own file only, so that no
/// function made for one processor can be taken for that of another.
///
/// A block is the comparison of one pattern position with `Lanes::kCount` neighbouring positions of
/// the haystack. Lanes that are 0 fit. Blocks of several pattern positions are laid over each
/// other, so that only candidates that fit all the probes are ever compared byte by byte.
template <class Lanes, PatternKind kKind, bool kHasOneProbe>
class Scan {
 public:
  Scan(const ScanTask& task, ScanState& state)
      : pattern_(task.pattern),
        filter_(*task.filter),
        haystack_(task.haystack),
        last_(task.last),
        list_(task.list),
        state_(state),
        first_(filter_.probes[0]),
        second_(filter_.probes[kHasOneProbe ? 0 : 1]),
        firstAt_(haystack_ + first_.offset),
        secondAt_(haystack_ + second_.offset),
        firstValue_(Lanes::all(first_.value)),
        secondValue_(Lanes::all(second_.value)),
        firstMask_(Lanes::all(first_.mask)),
        secondMask_(Lanes::all(second_.mask)) {}

  ScanResult forward(std::int64_t from, std::int64_t through) {
    start_ = from;
    if (last_ + 1 < Lanes::kCount) return settled(forwardOneByOne(from, through), through);
    std::int64_t at = from;
    while (at <= through) {
      // Matches may be frequent, so the blocks nearby are looked at one by one to begin with.
      for (int block = 0; block < kGroup && at <= through; ++block, at += Lanes::kCount) {
        if (endsInBlockAbove(at, through)) return settled(result_, result_.position);
      }
      while (through - at >= kGroupCount - 1 && !hasCandidates(at)) at += kGroupCount;
    }
    return settled({}, through);
  }

  ScanResult backward(std::int64_t from, std::int64_t through) {
    start_ = through;
    if (last_ + 1 < Lanes::kCount) return settled(backwardOneByOne(from, through), from);
    std::int64_t at = through;
    while (at >= from) {
      for (int block = 0; block < kGroup && at >= from; ++block, at -= Lanes::kCount) {
        if (endsInBlockBelow(at, from)) return settled(result_, result_.position);
      }
      while (at - from >= kGroupCount - 1 && !hasCandidates(at - kGroupCount + 1)) {
        at -= kGroupCount;
      }
    }
    return settled({}, from);
  }

 private:
  using Block = typename Lanes::Block;
  /// A bit for every lane, the first lane in the lowest.
  using Bits = std::uint32_t;
  static constexpr int kGroup = 4;
  static constexpr std::int64_t kGroupCount = kGroup * Lanes::kCount;
  static constexpr std::int64_t kWord = 8;

  static Block difference(const std::uint8_t* at, Block value, Block mask) {
    Block bytes = Lanes::load(at);
    if constexpr (kKind == PatternKind::folded) bytes = Lanes::both(bytes, mask);
    return Lanes::differing(bytes, value);
  }

  Block difference(std::int64_t at) const {
    const Block block = difference(firstAt_ + at, firstValue_, firstMask_);
    if constexpr (kHasOneProbe) return block;
    return Lanes::either(block, difference(secondAt_ + at, secondValue_, secondMask_));
  }

  bool hasCandidates(std::int64_t at) const {
    auto zeros = Lanes::zeros(difference(at));
    for (int block = 1; block < kGroup; ++block) {
      zeros = Lanes::either(zeros, Lanes::zeros(difference(at + block * Lanes::kCount)));
    }
    return Lanes::bits(zeros) != 0;
  }

  Bits candidates(std::int64_t at) const {
    Block block = difference(at);
    Bits bits = Lanes::bits(Lanes::zeros(block));
    for (int i = 2; i < filter_.count && bits != 0; ++i) {
      const ScanProbe& probe = filter_.probes[static_cast<std::size_t>(i)];
      block = Lanes::either(block, difference(haystack_ + probe.offset + at,
                                              Lanes::all(probe.value), Lanes::all(probe.mask)));
      bits = Lanes::bits(Lanes::zeros(block));
    }
    return bits;
  }

  /// The bits of lanes `lowest`...`highest`; both may lie outside.
  static Bits lanesBetween(std::int64_t lowest, std::int64_t highest) {
    Bits bits = ~Bits{0} << (lowest > 0 ? lowest : 0);
    if (highest < 31) bits &= (Bits{2} << highest) - 1;
    return bits;
  }

  /// Looks at the positions of a block from `at` on, which the scan has reached, up to `through`.
  bool endsInBlockAbove(std::int64_t at, std::int64_t through) {
    const std::int64_t highest = last_ - Lanes::kCount + 1;
    const std::int64_t base = at < highest ? at : highest;
    Bits bits = candidates(base);
    if (bits == 0) return false;
    bits &= lanesBetween(at - base, through - base);
    for (; bits != 0; bits &= bits - 1) {
      const std::int64_t position = base + std::countr_zero(bits);
      if (endsAt(position, position + 1)) return true;
    }
    return false;
  }

  bool endsInBlockBelow(std::int64_t at, std::int64_t from) {
    const std::int64_t base = at - Lanes::kCount + 1 > 0 ? at - Lanes::kCount + 1 : 0;
    Bits bits = candidates(base);
    if (bits == 0) return false;
    bits &= lanesBetween(from - base, at - base);
    while (bits != 0) {
      const int lane = 31 - std::countl_zero(bits);
      bits &= ~(Bits{1} << lane);
      if (endsAt(base + lane, base + lane - 1)) return true;
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
    if (allowanceLeft(position) >= 0) return false;
    result_ = {ScanResult::Outcome::exhausted, next};
    return true;
  }

  /// Whether the scan goes on for more matches, behind the one at `position`.
  bool isListed(std::int64_t position) {
    if (list_ == nullptr) return false;
    list_->positions[static_cast<std::size_t>(list_->count)] = position;
    free_ = position + pattern_.length;
    return ++list_->count < MatchList::kCapacity;
  }

  /// Haystacks shorter than a block.
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
    const std::uint64_t bytes = ByteWord::load(haystack_ + position + offset);
    const std::uint64_t wanted = ByteWord::load(pattern_.values + offset);
    if constexpr (kKind == PatternKind::folded) {
      return ByteWord::foldedCase(bytes) ^ ByteWord::foldedCase(wanted);
    } else if constexpr (kKind == PatternKind::masked) {
      return (bytes ^ wanted) & ByteWord::load(pattern_.masks + offset);
    }
    return bytes ^ wanted;
  }

  bool matches(std::int64_t position) {
    spent_ += kCandidateCost;
    const std::int64_t lastWord = pattern_.length - kWord;
    const std::int64_t around = state_.failedOffset - kWord / 2;
    const std::int64_t likely = around < 0 ? 0 : around > lastWord ? lastWord : around;
    if (differsAt(position, likely)) return false;
    if (kKind == PatternKind::masked && isRuined(position)) return false;
    for (std::int64_t offset = 0; offset < lastWord; offset += kWord) {
      if (!differsAt(position, offset)) continue;
      spent_ += offset;
      rememberCulprit(position);
      return false;
    }
    if (!differsAt(position, lastWord)) {
      spent_ -= kCandidateCost;
      return true;
    }
    spent_ += lastWord;
    rememberCulprit(position);
    return false;
  }

  bool differsAt(std::int64_t position, std::int64_t offset) {
    const std::uint64_t difference = wordDifference(position, offset);
    if (difference == 0) return false;
    state_.failedOffset = offset + std::countr_zero(difference) / 8;
    return true;
  }

  void rememberCulprit(std::int64_t position) {
    if constexpr (kKind != PatternKind::masked) return;
    state_.culprits[static_cast<std::size_t>(state_.oldestCulprit)] =
        position + state_.failedOffset;
    state_.oldestCulprit = (state_.oldestCulprit + 1) % kCulprits;
  }

  bool isRuined(std::int64_t position) const {
    for (const std::int64_t culprit : state_.culprits) {
      const std::int64_t offset = culprit - position;
      if (offset < 0 || offset >= pattern_.length) continue;
      if (((haystack_[culprit] ^ pattern_.values[offset]) & pattern_.masks[offset]) != 0) {
        return true;
      }
    }
    return false;
  }

  std::int64_t allowanceLeft(std::int64_t position) const {
    const std::int64_t passed = position > start_ ? position - start_ : start_ - position;
    return state_.allowance + state_.credit * passed - 16 * spent_;
  }

  ScanResult settled(ScanResult result, std::int64_t reached) {
    if (result.outcome != ScanResult::Outcome::absent) reached = result.position;
    state_.allowance = allowanceLeft(reached);
    state_.comparisons += spent_;
    return result;
  }

  const PatternView pattern_;
  const ScanFilter& filter_;
  const std::uint8_t* const haystack_;
  const std::int64_t last_;
  MatchList* const list_;
  ScanState& state_;
  const ScanProbe first_;
  const ScanProbe second_;
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

/// The functions of a path.
template <class Lanes>
struct ScanLoops {
  template <PatternKind kKind, bool kIsForward>
  static ScanResult scanKind(const ScanTask& task, std::int64_t from, std::int64_t through,
                             ScanState& state) {
    if (task.filter->count == 1) {
      Scan<Lanes, kKind, true> scan(task, state);
      return kIsForward ? scan.forward(from, through) : scan.backward(from, through);
    }
    Scan<Lanes, kKind, false> scan(task, state);
    return kIsForward ? scan.forward(from, through) : scan.backward(from, through);
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

  static constexpr ScanKernel kKernel = {.forward = scan<true>, .backward = scan<false>};
};

}  // namespace quillmor
